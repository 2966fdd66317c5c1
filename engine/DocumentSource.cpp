#include "engine/DocumentSource.h"

#include <iterator>
#include <utility>

namespace {

// Counts the default values that a document type declares. The reader keeps a list of all
// references to an ID, in which it looks for each new one; nothing here asks for it, so that
// attributes declared as references become plain ones.
int settleDeclarations(xmlNode* type)
{
    int defaults = 0;
    for (xmlNode* node = type->children; node != nullptr; node = node->next) {
        if (node->type != XML_ATTRIBUTE_DECL) {
            continue;
        }
        auto* const declaration = reinterpret_cast<xmlAttribute*>(node);
        defaults += static_cast<int>(declaration->defaultValue != nullptr);
        if (declaration->atype == XML_ATTRIBUTE_IDREF ||
            declaration->atype == XML_ATTRIBUTE_IDREFS) {
            declaration->atype = XML_ATTRIBUTE_CDATA;
        }
    }
    return defaults;
}

int countNamespaces(const xmlNode* element)
{
    int count = 0;
    for (const xmlNs* declaration = element->nsDef; declaration != nullptr;
         declaration = declaration->next) {
        ++count;
    }
    return count;
}

// A new reader takes over the thread's defaults, which are the host's, whatever its options say.
// With some of them documents would have files read. While this lives there are none of these.
class PlainDefaults {
public:
    PlainDefaults()
    {
        for (std::size_t i = 0; i < std::size(m_defaults); ++i) {
            m_ofHost[i] = std::exchange(*m_defaults[i], 0);
        }
    }
    ~PlainDefaults()
    {
        for (std::size_t i = 0; i < std::size(m_defaults); ++i) {
            *m_defaults[i] = m_ofHost[i];
        }
    }
    PlainDefaults(const PlainDefaults&) = delete;
    PlainDefaults& operator=(const PlainDefaults&) = delete;

private:
    int* const m_defaults[3] = {&xmlLoadExtDtdDefaultValue, &xmlSubstituteEntitiesDefaultValue,
                                &xmlDoValidityCheckingDefaultValue};
    int m_ofHost[3] = {};
};

}  // namespace

DocumentSource::DocumentSource(const std::string& data)
{
    const PlainDefaults defaults;
    const ReadablePart part = readablePart(data);
    m_end = part.end;
    m_reader.reset(
        xmlReaderForMemory(data.data(), static_cast<int>(part.length), nullptr, nullptr, 0));
}

int DocumentSource::read()
{
    const int result = xmlTextReaderRead(reader());
    if (result != 1) {
        return end(result < 0 && m_end == DocumentEnd::wellFormed ? DocumentEnd::damaged : m_end);
    }
    // Not by way of the document: who asks for it has to free it.
    xmlNode* const node = xmlTextReaderCurrentNode(reader());
    if (std::exchange(m_atStart, false)) {
        xmlDictSetLimit(node->doc->dict, kLargestDictionary);
    }
    const int type = xmlTextReaderNodeType(reader());
    if (type == XML_READER_TYPE_DOCUMENT_TYPE) {
        if (settleDeclarations(node) > kMostDefaults) {
            return end(DocumentEnd::manyDefaults);
        }
    } else if (type == XML_READER_TYPE_ELEMENT && node->nsDef != nullptr) {
        const int count = countNamespaces(node);
        if (m_namespaces + count > kMostNamespaces) {
            return end(DocumentEnd::manyNamespaces);
        }
        m_namespaces += xmlTextReaderIsEmptyElement(reader()) == 1 ? 0 : count;
    } else if (type == XML_READER_TYPE_END_ELEMENT && node->nsDef != nullptr) {
        m_namespaces -= countNamespaces(node);
    }
    return type;
}
