// The list of elements, the making of their parsers, and who owns parsers and converter handles.
//
// After the maps of one engine have been assigned to another, both engines hold the same parsers
// and handles. These then belong to both: a parser is deleted, a handle closed, when the last live
// engine that holds it dies or gives it up.
#pragma once

#include "engine/KestrixDispEngine.h"

// Fills funcMapBegin and funcMapEnd with new parsers. On std::bad_alloc the maps hold those made so
// far.
void registerParsers(KestrixDispEngine& engine);

// Deletes every parser of both maps once, except those that a live engine holds, and empties the
// maps.
void deleteParsers(KestrixDispEngine& engine) noexcept;

// Closes every handle of the map, except those that a live engine holds.
void closeHandles(const std::map<const std::string, short>& handles) noexcept;

// An engine is live from addLiveEngine to removeLiveEngine: its constructor's first and its
// destructor's first statement. addLiveEngine throws std::bad_alloc.
void addLiveEngine(const KestrixDispEngine& engine);
void removeLiveEngine(const KestrixDispEngine& engine) noexcept;

// Whether the address is that of a live engine, or of a map in one. Nothing is read through it.
bool isLive(const KestrixDispEngine* engine) noexcept;
bool isLive(const ParserMap* map) noexcept;
bool isLive(const std::map<const std::string, short>* map) noexcept;

// Replace a map of a live engine by a copy of another map. The parsers and handles of the copy
// belong to both maps' engines from now on; what was held before and is held by no live engine any
// more is deleted or closed. The map's own engine may be the same or another one.
void replaceParsers(ParserMap& map, ParserMap copy) noexcept;
void replaceHandles(std::map<const std::string, short>& map,
                    std::map<const std::string, short> copy) noexcept;

// Whether the element's text is collected and its parser called at the end tag.
bool collectsText(const char* name);
