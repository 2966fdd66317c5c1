// Reading of one display document: which parser is called when, with what.
#pragma once

#include "engine/KestrixDispEngine.h"

#include <string>

#include <libxml/xmlreader.h>

// Enters the attributes of the reader's current element, by local name: of two with one local name
// the later one stays, and namespace declarations are none. A value is the text of the attribute's
// first child node, so an entity reference cuts it short; without a child it is null. Names and
// values belong to the reader, which keeps them until the element's end tag has been handled.
//
// May throw std::bad_alloc.
void storeAttributes(xmlTextReader* reader, AttributeMap& attributes);

// Calls the parsers of the document's elements in document order; their bytes go to out.
//
// data  the XML document, at most INT_MAX bytes. Reading ends at the first error in it
//
// A parser may change the maps while its document runs: they are asked at each tag.
//
// May throw what parsers throw, and std::bad_alloc.
void walkDocument(const std::string& data, const ParserMap& beginParsers,
                  const ParserMap& endParsers, OutputVector& out);
