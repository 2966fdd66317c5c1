// How much of a document can be read in time proportional to its length.
#ifndef KESTRIX_ENGINE_READABLE_LENGTH_H
#define KESTRIX_ENGINE_READABLE_LENGTH_H

#include <cstddef>
#include <string_view>

// A tag or a document type of more than so many characters is not read: the XML reader compares
// each attribute of a tag with all others, and looks through unfinished markup again whenever more
// of it comes in.
inline constexpr std::size_t longestMarkup = 16 * 1024;

// Where the first markup begins that is longer; the document's length, in bytes, without one.
std::size_t readableLength(std::string_view document);

#endif
