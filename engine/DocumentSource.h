// The document's XML reader, kept to what takes time in proportion to the document's length.
#ifndef KESTRIX_ENGINE_DOCUMENT_SOURCE_H
#define KESTRIX_ENGINE_DOCUMENT_SOURCE_H

#include "engine/MarkupLimits.h"

#include <memory>
#include <string>

#include <libxml/xmlreader.h>

// A document ends at the limits of MarkupLimits.h and at these:
class DocumentSource {
public:
    // Attributes with default values: each element gets all that are declared for it.
    static constexpr int mostDefaults = 64;
    // Namespaces in scope: the reader looks through them at each prefix.
    static constexpr int mostNamespaces = 4096;
    // Bytes of names that differ: the reader's dictionary becomes slow when it is large.
    static constexpr unsigned int largestDictionary = 1048576;

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
    DocumentEnd end() const { return end_; }

private:
    struct FreeReader {
        void operator()(xmlTextReader* reader) const { xmlFreeTextReader(reader); }
    };

    int end(DocumentEnd end)
    {
        end_ = end;
        return 0;
    }

    std::unique_ptr<xmlTextReader, FreeReader> reader_;
    bool atStart_ = true;
    int namespaces_ = 0;                         // in scope
    DocumentEnd end_ = DocumentEnd::wellFormed;  // as far as is known
};

#endif
