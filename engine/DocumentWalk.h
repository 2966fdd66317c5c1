// Reading of one display document: which parser is called when, with what.
#ifndef KESTRIX_ENGINE_DOCUMENT_WALK_H
#define KESTRIX_ENGINE_DOCUMENT_WALK_H

#include "KestrixDispEngine.h"

#include <string>

// Calls the parsers of the document's elements in document order; their bytes go to out.
//
// data  the XML document, at most INT_MAX bytes. Reading ends at the first error in it
//
// May throw what parsers throw, and std::bad_alloc.
void walkDocument(const std::string& data, const ParserMap& beginParsers,
                  const ParserMap& endParsers, OutputVector& out);

#endif
