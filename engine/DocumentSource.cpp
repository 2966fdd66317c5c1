#include "DocumentSource.h"

#include "ReadableLength.h"

#include <iterator>
#include <utility>

namespace {

// Of the document type that is the reader's current node.
bool hasTooManyDefaults(xmlTextReader* reader)
{
    // Not by way of the document: who asks for it has to free it.
    const xmlNode* const type = xmlTextReaderCurrentNode(reader);
    int count = 0;
    for (const xmlNode* node = type->children; node != nullptr; node = node->next) {
        count += node->type == XML_ATTRIBUTE_DECL;
    }
    return count > DocumentSource::mostDefaults;
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
    const std::size_t length = readableLength(data);
    end_ = length < data.size() ? End::longMarkup : End::wellFormed;
    reader_.reset(xmlReaderForMemory(data.data(), static_cast<int>(length), nullptr, nullptr, 0));
}

int DocumentSource::read()
{
    const int result = xmlTextReaderRead(reader());
    if (result != 1) {
        end_ = result < 0 && end_ == End::wellFormed ? End::damaged : end_;
        return 0;
    }
    if (std::exchange(atStart_, false)) {
        xmlDictSetLimit(xmlTextReaderCurrentNode(reader())->doc->dict, largestDictionary);
    }
    const int type = xmlTextReaderNodeType(reader());
    if (type == XML_READER_TYPE_DOCUMENT_TYPE && hasTooManyDefaults(reader())) {
        end_ = End::manyDefaults;
        return 0;
    }
    return type;
}
