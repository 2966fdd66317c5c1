#include "engine/ParserRegistry.h"

#include "tags/CursorTagParser.h"
#include "tags/DeviceControlTagParsers.h"
#include "tags/MarqueeTagParser.h"
#include "tags/TextTagParser.h"
#include "tags/WindowTagParser.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <iterator>
#include <memory>
#include <mutex>
#include <span>
#include <type_traits>
#include <vector>

namespace {

template <class Parser>
TagParser* create()
{
    static_assert(std::is_base_of_v<TagParser, Parser>);
    static_assert(std::is_trivially_destructible_v<Parser> && sizeof(Parser) == sizeof(TagParser),
                  "parsers are deleted as TagParser, without running a destructor");
    return new Parser;
}

enum class Text { ignored, collected };

struct Registration {
    ParserMap KestrixDispEngine::*map;
    const char* tag;
    Text text;
    TagParser* (*create)();
};

using Engine = KestrixDispEngine;

// One row per parser. An element with Text::collected has its row in funcMapBegin called at its
// end tag.
constexpr Registration kRegistrations[] = {
    {&Engine::funcMapBegin, Engine::TAG_TEXT, Text::collected, create<TextTagParser>},
    {&Engine::funcMapBegin, Engine::TAG_OVIXD, Text::ignored, create<OVIXDisplayTagParser>},
    {&Engine::funcMapBegin, Engine::TAG_WINDOW, Text::ignored, create<WindowTagParser>},
    {&Engine::funcMapBegin, Engine::TAG_RESET, Text::ignored, create<ResetTagParser>},
    {&Engine::funcMapBegin, Engine::TAG_CURSOR, Text::ignored, create<CursorTagParser>},
    {&Engine::funcMapBegin, Engine::TAG_CLEAR, Text::ignored, create<ClearTagParser>},
    {&Engine::funcMapBegin, Engine::TAG_BLINK, Text::ignored, create<BlinkTagParser>},
    {&Engine::funcMapBegin, Engine::TAG_BRIGHTNESS, Text::ignored, create<BrightnessTagParser>},
    {&Engine::funcMapBegin, Engine::TAG_MARQUEE, Text::collected, create<MarqueeTagParser>},
    {&Engine::funcMapBegin, Engine::TAG_CLOCK, Text::ignored, create<ClockTagParser>},
    {&Engine::funcMapBegin, Engine::TAG_COMMAND, Text::collected, create<CommandTagParser>},
    {&Engine::funcMapEnd, Engine::TAG_OVIXD, Text::ignored, create<OVIXDisplayEndTagParser>},
};

using HandleMap = std::map<const std::string, short>;

// The live engines. The storage exists while there is one, so that an engine may outlive the
// static objects of the library. The lock guards the list alone: a check whether an address is
// live may run beside the construction of another engine.
std::mutex liveEnginesLock;
std::vector<const KestrixDispEngine*>* liveEngines = nullptr;

// Walks the list, locked: for (const KestrixDispEngine *engine : LiveEngines()).
class LiveEngines {
public:
    auto begin() const { return m_engines.begin(); }
    auto end() const { return m_engines.end(); }

private:
    const std::lock_guard<std::mutex> m_lock{liveEnginesLock};
    const std::span<const KestrixDispEngine* const> m_engines =
        liveEngines == nullptr ? std::span<const KestrixDispEngine* const>() : *liveEngines;
};

template <class Condition>
bool anyLiveEngine(Condition condition) noexcept
{
    const LiveEngines engines;
    return std::any_of(engines.begin(), engines.end(), condition);
}

// Takes a parser out of the map, under every name: it is not the map's to delete.
void forget(const TagParser* parser, ParserMap& map) noexcept
{
    for (auto& [name, other] : map) {
        if (other == parser) {
            other = nullptr;
        }
    }
}

// Forgets the parsers that live engines hold. Parsers of one engine lie close together in memory,
// so the range of addresses tells most of the others apart at once.
void forgetHeld(ParserMap& map) noexcept
{
    const auto less = [](const auto& left, const auto& right) {
        return std::less<>()(left.second, right.second);
    };
    const auto [lowest, highest] = std::minmax_element(map.begin(), map.end(), less);
    if (lowest == map.end()) {
        return;
    }
    const TagParser* const first = lowest->second;
    const TagParser* const last = highest->second;
    for (const KestrixDispEngine* engine : LiveEngines()) {
        for (const ParserMap* held : {&engine->funcMapBegin, &engine->funcMapEnd}) {
            for (const auto& [name, parser] : *held) {
                if (!std::less<>()(parser, first) && !std::less<>()(last, parser)) {
                    forget(parser, map);
                }
            }
        }
    }
}

// Deletes the parsers of the map that no live engine holds, and empties it. alsoOwned is a second
// map of the same owner, in which the deleted ones are forgotten.
void deleteUnheld(ParserMap& map, ParserMap& alsoOwned) noexcept
{
    forgetHeld(map);
    for (const auto& [name, entry] : map) {
        TagParser* const parser = entry;
        if (parser != nullptr) {
            forget(parser, map);
            forget(parser, alsoOwned);
            TagParser::operator delete(parser, std::destroying_delete_t{});
        }
    }
    map.clear();
}

}  // namespace

void registerParsers(KestrixDispEngine& engine)
{
    for (const Registration& row : kRegistrations) {
        // The place first: a parser without one would be lost.
        TagParser*& entry = (engine.*row.map)[row.tag];
        entry = row.create();
    }
}

void deleteParsers(KestrixDispEngine& engine) noexcept
{
    deleteUnheld(engine.funcMapBegin, engine.funcMapEnd);
    deleteUnheld(engine.funcMapEnd, engine.funcMapBegin);
}

void closeHandles(const HandleMap& handles) noexcept
{
    for (const auto& [devInfo, handle] : handles) {
        const bool isHeld = anyLiveEngine([handle = handle](const KestrixDispEngine* engine) {
            return std::any_of(engine->ucHandleMap.begin(), engine->ucHandleMap.end(),
                               [handle](const auto& entry) { return entry.second == handle; });
        });
        if (!isHeld) {
            KestrixDispEngine::RuvoCloseHandle(handle);
        }
    }
}

void addLiveEngine(const KestrixDispEngine& engine)
{
    const std::lock_guard lock(liveEnginesLock);
    if (liveEngines != nullptr) {
        liveEngines->push_back(&engine);
        return;
    }
    liveEngines = std::make_unique<std::vector<const KestrixDispEngine*>>(1, &engine).release();
}

void removeLiveEngine(const KestrixDispEngine& engine) noexcept
{
    const std::lock_guard lock(liveEnginesLock);
    std::erase(*liveEngines, &engine);
    if (liveEngines->empty()) {
        delete liveEngines;
        liveEngines = nullptr;
    }
}

bool isLive(const KestrixDispEngine* engine) noexcept
{
    return anyLiveEngine([engine](const KestrixDispEngine* live) { return live == engine; });
}

bool isLive(const ParserMap* map) noexcept
{
    return anyLiveEngine([map](const KestrixDispEngine* live) {
        return map == &live->funcMapBegin || map == &live->funcMapEnd;
    });
}

bool isLive(const HandleMap* map) noexcept
{
    return anyLiveEngine(
        [map](const KestrixDispEngine* live) { return map == &live->ucHandleMap; });
}

void replaceParsers(ParserMap& map, ParserMap copy) noexcept
{
    map.swap(copy);
    ParserMap none;
    deleteUnheld(copy, none);
}

void replaceHandles(HandleMap& map, HandleMap copy) noexcept
{
    map.swap(copy);
    closeHandles(copy);
}

bool collectsText(const char* name)
{
    return std::any_of(std::begin(kRegistrations), std::end(kRegistrations),
                       [name](const Registration& row) {
                           return row.text == Text::collected && std::strcmp(row.tag, name) == 0;
                       });
}
