#include "program/lint/Schema.h"

#include "program/lint/Elements.h"

#include <new>
#include <string_view>

namespace {

#include "schema.inc"

// Keeps the first message of a validation, which is the nearest to the cause.
void keepFirst(void* text, xmlErrorPtr error)
{
    auto& first = *static_cast<std::string*>(text);
    if (first.empty() && error->message != nullptr) {
        first = error->message;
        first.erase(first.find_last_not_of('\n') + 1);
    }
}

}  // namespace

Schema::Schema()
{
    xmlRelaxNGParserCtxt* const parser =
        xmlRelaxNGNewMemParserCtxt(kSchema, static_cast<int>(sizeof kSchema - 1));
    m_schema.reset(parser == nullptr ? nullptr : xmlRelaxNGParse(parser));
    xmlRelaxNGFreeParserCtxt(parser);
    if (m_schema == nullptr) {
        throw std::bad_alloc();
    }
}

std::string Schema::fault(xmlNode* element) const
{
    const std::unique_ptr<xmlDoc, void (*)(xmlDoc*)> document(xmlNewDoc(nullptr), xmlFreeDoc);
    const std::unique_ptr<xmlRelaxNGValidCtxt, void (*)(xmlRelaxNGValidCtxt*)> validation(
        xmlRelaxNGNewValidCtxt(m_schema.get()), xmlRelaxNGFreeValidCtxt);
    if (document == nullptr || validation == nullptr) {
        throw std::bad_alloc();
    }
    const std::string root(kRoot);
    xmlNode* const parent = xmlNewDocNode(document.get(), nullptr,
                                          reinterpret_cast<const xmlChar*>(root.c_str()), nullptr);
    xmlDocSetRootElement(document.get(), parent);
    xmlNode* const copy = xmlDocCopyNode(element, document.get(), 1);
    if (parent == nullptr || copy == nullptr || xmlAddChild(parent, copy) == nullptr) {
        throw std::bad_alloc();
    }
    std::string message;
    xmlRelaxNGSetValidStructuredErrors(validation.get(), keepFirst, &message);
    const bool valid = xmlRelaxNGValidateDoc(validation.get(), document.get()) == 0;
    return valid ? "" : message.empty() ? "invalid" : message;
}
