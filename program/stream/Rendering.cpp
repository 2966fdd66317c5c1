#include "program/stream/Rendering.h"

#include "engine/DocumentSource.h"
#include "engine/KestrixDispEngine.h"
#include "engine/MarkupLimits.h"

#include <libxml/xmlerror.h>

#include <climits>
#include <iostream>
#include <new>
#include <stdexcept>
#include <string_view>

namespace {

// Sends the messages of the XML library to a function while this lives.
class XmlListener {
public:
    explicit XmlListener(void (*hear)(void*, xmlErrorPtr))
    {
        xmlSetStructuredErrorFunc(nullptr, hear);
    }
    ~XmlListener() { xmlSetStructuredErrorFunc(nullptr, nullptr); }
    XmlListener(const XmlListener&) = delete;
    XmlListener& operator=(const XmlListener&) = delete;
};

void tell(void*, xmlErrorPtr error)
{
    std::string_view message = error->message != nullptr ? error->message : "XML error";
    message = message.substr(0, message.find_last_not_of('\n') + 1);
    std::cerr << "kestrix-disp: line " << error->line << ": " << message
              << (error->code == XML_ERR_DOCUMENT_END ? ", or an end tag is missing\n" : "\n");
}

std::string moreThan(const std::string& what, std::size_t limit, const std::string& unit)
{
    return what + " more than " + std::to_string(limit) + " " + unit;
}

// Why the library carries out only a part of the document, which it does not tell; "" if it carries
// out all of it. Reads the document a second time. Throws std::bad_alloc.
std::string whyCutShort(const std::string& document)
{
    const XmlListener silence([](void*, xmlErrorPtr) {});
    DocumentSource source(document);
    if (source.reader() == nullptr) {
        throw std::bad_alloc();
    }
    while (source.read() != 0) {
        continue;
    }
    switch (source.end()) {
    case DocumentEnd::wellFormed:
        return "";
    case DocumentEnd::damaged:
        return "it is not well-formed, or exceeds a limit of the XML reader";
    case DocumentEnd::manyAttributes:
        return moreThan("an element has", kMostAttributes, "attributes");
    case DocumentEnd::largeTag:
        return moreThan("a tag has", kLargestTag, "bytes");
    case DocumentEnd::largeDocumentType:
        return moreThan("the document type, with what its parameter entities stand for, has",
                        kLargestDocumentType, "bytes");
    case DocumentEnd::manyDefaults:
        return moreThan("the document type declares", DocumentSource::kMostDefaults,
                        "attributes with default values");
    case DocumentEnd::manyNamespaces:
        return moreThan("an element has", DocumentSource::kMostNamespaces, "namespaces in scope");
    }
    return "";
}

}  // namespace

CommandBytes renderDocument(const std::string& document, const ProfileOptions& profile)
{
    if (document.size() > INT_MAX) {
        throw std::runtime_error("a document has at most 2147483647 bytes");
    }
    KestrixDispEngine engine;
    CommandBytes commands;
    {
        const XmlListener listener(tell);
        commands.bytes = engine.parse(document, profile.device, profile.setting);
    }
    const short status = KestrixDispEngine::getUCHandle();
    if (status < 0) {
        throw std::runtime_error(openFailure(profile, status));
    }
    if (const std::string why = whyCutShort(document); !why.empty()) {
        std::cerr << "kestrix-disp: the document ends early: " << why << "\n";
        commands.whole = false;
    }
    return commands;
}
