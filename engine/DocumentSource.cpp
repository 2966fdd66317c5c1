#include "DocumentSource.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

namespace {

constexpr std::size_t largestPiece = 4096;

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
        for (std::size_t i = 0; i < std::size(defaults_); ++i)
            ofHost_[i] = std::exchange(*defaults_[i], 0);
    }
    ~PlainDefaults()
    {
        for (std::size_t i = 0; i < std::size(defaults_); ++i)
            *defaults_[i] = ofHost_[i];
    }
    PlainDefaults(const PlainDefaults&) = delete;
    PlainDefaults& operator=(const PlainDefaults&) = delete;

private:
    int* const defaults_[3] = {&xmlLoadExtDtdDefaultValue, &xmlSubstituteEntitiesDefaultValue,
                               &xmlDoValidityCheckingDefaultValue};
    int ofHost_[3] = {};
};

// Whether the positions of the document's bytes are not those of the text that the parser sees.
bool isEncoded(xmlTextReader* reader)
{
    const xmlChar* const encoding = xmlTextReaderConstEncoding(reader);
    return encoding != nullptr && xmlStrcasecmp(encoding, BAD_CAST "UTF-8") != 0;
}

}  // namespace

DocumentSource::DocumentSource(const std::string& data) : data_(data)
{
    const PlainDefaults defaults;
    reader_.reset(xmlReaderForIO(give, nullptr, this, nullptr, nullptr, 0));
}

bool DocumentSource::read()
{
    if (xmlTextReaderRead(reader()) != 1) {
        return false;
    }
    if (atNode_ == 0) {
        xmlDictSetLimit(xmlTextReaderCurrentNode(reader())->doc->dict, largestDictionary);
    }
    atNode_ = given_;
    return xmlTextReaderNodeType(reader()) != XML_READER_TYPE_DOCUMENT_TYPE ||
           !hasTooManyDefaults(reader());
}

int DocumentSource::give(void* source, char* buffer, int room)
{
    auto& self = *static_cast<DocumentSource*>(source);
    if (room <= 0 || self.stuck()) {
        return 0;
    }
    const std::size_t count = self.data_.copy(
        buffer, std::min(static_cast<std::size_t>(room), largestPiece), self.given_);
    self.given_ += count;
    return static_cast<int>(count);
}

// Whether the reader waits for the end of a tag or a document type that is too long. Text it takes
// in as it comes. Comments, processing instructions and CDATA sections it keeps as well, but these
// cost no more than their length.
bool DocumentSource::stuck() const
{
    // Read, but not yet looked at by the parser.
    constexpr std::size_t ahead = 2 * largestPiece;
    if (given_ - atNode_ <= longestMarkup + ahead) {
        return false;
    }
    // What the parser has taken in. Of some encodings it may be more, up to 32000 bytes before
    // given_: converted back, that is all that the reader looks at.
    const long consumed = xmlTextReaderByteConsumed(reader());
    const std::size_t taken = consumed < 0 ? atNode_ : static_cast<std::size_t>(consumed);
    if (taken + longestMarkup + ahead >= given_) {
        return false;
    }
    const std::string_view document = data_;
    const std::string_view kept = document.substr(std::min(document.rfind('<', taken), taken));
    return isEncoded(reader()) ||
           !(kept.starts_with("<!--") || kept.starts_with("<?") || kept.starts_with("<![CDATA["));
}
