// The XML reader of a document. It ends the document where reading on would take more time than in
// proportion to the document's length.
#pragma once

#include "engine/MarkupLimits.h"

#include <memory>
#include <string_view>

#include <libxml/xmlreader.h>

// A document ends at the limits of MarkupLimits.h and at these:
class DocumentSource {
public:
    // Attributes with default values: each element gets all that are declared for it.
    static constexpr int kMostDefaults = 64;
    // Namespaces in scope: the reader looks through them at each prefix.
    static constexpr int kMostNamespaces = 4096;
    // Bytes of names that differ: the reader's dictionary becomes slow when it is large.
    static constexpr unsigned int kLargestDictionary = 1048576;

    // Refers to data.
    explicit DocumentSource(std::string_view data);
    DocumentSource(const DocumentSource&) = delete;
    DocumentSource& operator=(const DocumentSource&) = delete;

    // Null without memory.
    xmlTextReader* reader() const { return m_reader.get(); }

    // Goes to the reader's next node and gives its type; 0, which is no node's, at the end of the
    // document or at an error.
    int read();

    // After read has given 0.
    DocumentEnd end() const { return m_end; }

    // Where the reader is: at the end of the latest node, or some hundred bytes after it.
    unsigned long line() const
    {
        return static_cast<unsigned long>(xmlTextReaderGetParserLineNumber(reader()));
    }

private:
    struct FreeReader {
        void operator()(xmlTextReader* reader) const { xmlFreeTextReader(reader); }
    };

    int end(DocumentEnd end)
    {
        m_end = end;
        return 0;
    }

    std::unique_ptr<xmlTextReader, FreeReader> m_reader;
    bool m_atStart = true;
    int m_namespaces = 0;                         // in scope
    DocumentEnd m_end = DocumentEnd::wellFormed;  // as far as is known
};
