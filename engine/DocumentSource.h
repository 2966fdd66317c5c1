// The document's XML reader, kept to what takes time in proportion to the document's length.
#ifndef KESTRIX_ENGINE_DOCUMENT_SOURCE_H
#define KESTRIX_ENGINE_DOCUMENT_SOURCE_H

#include <memory>
#include <string>

#include <libxml/xmlreader.h>

// The document ends in front of markup that is too long (see readableLength), and in front of a
// document type that declares more than mostDefaults attributes: each element gets all that are
// declared for it. Names that differ are kept in a dictionary that becomes slow when it is large;
// the name that does not fit largestDictionary ends the document.
class DocumentSource {
public:
    static constexpr int mostDefaults = 64;
    static constexpr unsigned int largestDictionary = 1048576;  // bytes

    // Why there is nothing more to read.
    enum class End { wellFormed, damaged, longMarkup, manyDefaults };

    // Refers to data.
    explicit DocumentSource(const std::string& data);
    DocumentSource(const DocumentSource&) = delete;
    DocumentSource& operator=(const DocumentSource&) = delete;

    // Null without memory.
    xmlTextReader* reader() const { return reader_.get(); }

    // Goes to the reader's next node and gives its type; 0, which is no node's, at the end of the
    // document or at an error.
    int read();

    // After read has given 0.
    End end() const { return end_; }

private:
    struct FreeReader {
        void operator()(xmlTextReader* reader) const { xmlFreeTextReader(reader); }
    };

    std::unique_ptr<xmlTextReader, FreeReader> reader_;
    bool atStart_ = true;
    End end_ = End::wellFormed;  // as far as is known
};

#endif
