// What the XML library has against a document, in words for those who write documents.
#pragma once

#include <string>

#include <libxml/xmlerror.h>

// While this lives, it hears the errors of the XML library in this thread, and the host's handler
// does not.
class ReaderErrors {
public:
    ReaderErrors();
    ~ReaderErrors();
    ReaderErrors(const ReaderErrors&) = delete;
    ReaderErrors& operator=(const ReaderErrors&) = delete;

    // Of the first error that ends a document, or else of the first one. The reason is one sentence
    // without a full stop, "" without an error.
    const std::string& reason() const { return m_reason; }
    int line() const { return m_line; }

    // Whether the error ended the document.
    bool isEnd() const { return m_ended; }

    // Whether the reader was at the end of the text that it had, such as where a limit cut it.
    bool isAtEnd() const { return m_atEnd; }
    bool isOutOfMemory() const { return m_outOfMemory; }

private:
    static void hear(void* self, xmlErrorPtr error);
    void keep(const xmlError& error);

    const xmlStructuredErrorFunc m_hostFunction = xmlStructuredError;
    void* const m_hostContext = xmlStructuredErrorContext;
    // The XML library writes a few messages past the function for errors.
    const xmlGenericErrorFunc m_hostGenericFunction = xmlGenericError;
    void* const m_hostGenericContext = xmlGenericErrorContext;
    std::string m_reason;
    int m_line = 0;
    const void* m_parser = nullptr;  // that counts the line
    bool m_ended = false;            // by the error that is kept
    bool m_atEnd = false;
    bool m_outOfMemory = false;
};
