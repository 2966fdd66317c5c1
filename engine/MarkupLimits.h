// What markup of a document the XML reader would take too long for, found before it gets it.
//
// The reader compares each attribute of a tag with all others, looks through an unfinished tag
// again at each ">" in its values, and compares the declarations of a document type with each
// other. So its time grows with the square of the sizes that are limited here.
#pragma once

#include <cstddef>
#include <string_view>

inline constexpr std::size_t kMostAttributes = 4096;        // of a tag, namespaces among them
inline constexpr std::size_t kLargestTag = 1048576;         // bytes in UTF-8
inline constexpr std::size_t kLargestDocumentType = 32768;  // bytes in UTF-8; see readablePart

// Why there is nothing more to read of a document. The limits of many defaults and namespaces are
// DocumentSource's.
enum class DocumentEnd {
    wellFormed,
    damaged,  // or above a limit of the XML reader
    outOfMemory,
    tooLong,
    manyAttributes,
    largeTag,
    largeDocumentType,
    manyDefaults,
    manyNamespaces,
};

struct ReadablePart {
    std::size_t length;  // in bytes of the document
    DocumentEnd end;     // wellFormed, as far as is known, when no limit is exceeded
};

// The part of a document up to the first markup that exceeds a limit; all of it without one. The
// part ends within that tag, where it exceeds the limit, or before the document type. What the
// parameter entities of a document type stand for counts with it, at each reference.
//
// data  at most INT_MAX bytes, in any encoding that the XML reader knows
//
// Throws std::bad_alloc.
ReadablePart readablePart(std::string_view data);
