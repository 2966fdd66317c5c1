#include "engine/DocumentSource.h"

#include <iterator>
#include <utility>

namespace {

// Counts the default values that a document type declares, and declares references to IDs as plain
// text: the reader searches a list of all references for each new one, and nothing here uses it.
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

// A new reader copies the thread's defaults, which the host may have set, whatever its options say.
// Some of these make libxml2 open files that a document names; all are off while this object lives.
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

DocumentSource::DocumentSource(std::string_view data)
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
    // The node leads to the document. xmlTextReaderCurrentDoc would make us its owner.
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
