// The document as the XML reader gets it: piece by piece, and only as far as reading it takes time
// in proportion to its length.
#ifndef KESTRIX_ENGINE_DOCUMENT_SOURCE_H
#define KESTRIX_ENGINE_DOCUMENT_SOURCE_H

#include <cstddef>
#include <memory>
#include <string>

#include <libxml/xmlreader.h>

// The XML reader compares each attribute of a tag with all others, and gives each element all the
// attributes that the document type declares for it. So a tag or a document type that is longer
// than longestMarkup, by 8192 bytes or more, ends the document in front of it, and so does a
// document type that declares more than mostDefaults attributes. Names that differ are kept in a
// dictionary that becomes slow when it is large; the name that does not fit largestDictionary ends
// the document.
class DocumentSource {
public:
    static constexpr std::size_t longestMarkup = 16384;  // bytes
    static constexpr int mostDefaults = 64;
    static constexpr std::size_t largestDictionary = 1048576;  // bytes

    // Refers to data.
    explicit DocumentSource(const std::string& data);
    DocumentSource(const DocumentSource&) = delete;
    DocumentSource& operator=(const DocumentSource&) = delete;

    // Null without memory.
    xmlTextReader* reader() const { return reader_.get(); }

    // Goes to the reader's next node. False at the end of the document or at an error.
    bool read();

private:
    struct FreeReader {
        void operator()(xmlTextReader* reader) const { xmlFreeTextReader(reader); }
    };

    static int give(void* source, char* buffer, int room);
    bool stuck() const;

    const std::string& data_;
    std::size_t given_ = 0;   // bytes that the reader has got
    std::size_t atNode_ = 0;  // and had when it gave its latest node
    std::unique_ptr<xmlTextReader, FreeReader> reader_;
};

#endif
