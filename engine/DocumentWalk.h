// Reading of one display document: which parser is called when, with what.
#pragma once

#include "engine/KestrixDispEngine.h"
#include "engine/MarkupLimits.h"

#include <string_view>

#include <libxml/xmlreader.h>

// Enters the attributes of the reader's current element, by local name: of two with one local name
// the later one stays, and namespace declarations are none. A value is the text of the attribute's
// first child node, so an entity reference cuts it short; without a child it is null. Names and
// values belong to the reader, which keeps them until the element's end tag has been handled.
//
// May throw std::bad_alloc.
void storeAttributes(xmlTextReader* reader, AttributeMap& attributes);

// What an element gave: the bytes of the output from begin up to end.
struct ElementBytes {
    const char* name;    // local; belongs to the XML reader
    unsigned long line;  // in which the start tag ends, counted from 1; 65535 also for later ones
    std::size_t begin;
    std::size_t end;
};

class ElementListener {
public:
    ElementListener() = default;
    virtual ~ElementListener() = default;
    ElementListener(const ElementListener&) = delete;
    ElementListener& operator=(const ElementListener&) = delete;

    // Called once for each element that is carried out, with or without a parser: at its start tag,
    // or at its end tag if it collects its text. Elements inside of one that collects are not. If
    // the parser of an end tag gives bytes, that is another call.
    virtual void hear(const ElementBytes& element) = 0;
};

// Calls the parsers of the document's elements in document order; their bytes go to out.
//
// data      the XML document, at most INT_MAX bytes. Reading ends at the first error in it
// listener  told of each element; may be null
// line      set to that at which the document ended because of a limit of DocumentSource
//
// A parser may change the maps while its document runs: they are asked at each tag.
//
// May throw what parsers throw, and std::bad_alloc.
DocumentEnd walkDocument(std::string_view data, const ParserMap& beginParsers,
                         const ParserMap& endParsers, OutputVector& out, ElementListener* listener,
                         unsigned long& line);
