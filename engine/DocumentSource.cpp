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
        defaults += declaration->defaultValue != nullptr;
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
        for (std::size_t i = 0; i < std::size(defaults_); ++i) {
            ofHost_[i] = std::exchange(*defaults_[i], 0);
        }
    }
    ~PlainDefaults()
    {
        for (std::size_t i = 0; i < std::size(defaults_); ++i) {
            *defaults_[i] = ofHost_[i];
        }
    }
    PlainDefaults(const PlainDefaults&) = delete;
    PlainDefaults& operator=(const PlainDefaults&) = delete;

private:
    int* const defaults_[3] = {&xmlLoadExtDtdDefaultValue, &xmlSubstituteEntitiesDefaultValue,
                               &xmlDoValidityCheckingDefaultValue};
    int ofHost_[3] = {};
};

}  // namespace

DocumentSource::DocumentSource(const std::string& data)
{
    const PlainDefaults defaults;
    const ReadablePart part = readablePart(data);
    end_ = part.end;
    reader_.reset(
        xmlReaderForMemory(data.data(), static_cast<int>(part.length), nullptr, nullptr, 0));
}

int DocumentSource::read()
{
    const int result = xmlTextReaderRead(reader());
    if (result != 1) {
        return end(result < 0 && end_ == DocumentEnd::wellFormed ? DocumentEnd::damaged : end_);
    }
    // Not by way of the document: who asks for it has to free it.
    xmlNode* const node = xmlTextReaderCurrentNode(reader());
    if (std::exchange(atStart_, false)) {
        xmlDictSetLimit(node->doc->dict, largestDictionary);
    }
    const int type = xmlTextReaderNodeType(reader());
    if (type == XML_READER_TYPE_DOCUMENT_TYPE) {
        if (settleDeclarations(node) > mostDefaults) {
            return end(DocumentEnd::manyDefaults);
        }
    } else if (type == XML_READER_TYPE_ELEMENT && node->nsDef != nullptr) {
        const int count = countNamespaces(node);
        if (namespaces_ + count > mostNamespaces) {
            return end(DocumentEnd::manyNamespaces);
        }
        namespaces_ += xmlTextReaderIsEmptyElement(reader()) == 1 ? 0 : count;
    } else if (type == XML_READER_TYPE_END_ELEMENT && node->nsDef != nullptr) {
        namespaces_ -= countNamespaces(node);
    }
    return type;
}
