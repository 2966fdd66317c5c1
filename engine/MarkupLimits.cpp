// How the limits are found without slowing down ordinary documents:
//
// 1. Tags cannot be found in the raw bytes, because in several encodings the bytes of "<" and of
//    quotes occur inside other characters: in ISO-2022-JP 3C 21 is a kanji, not "<!". So the
//    document is decoded to UTF-8 first, by the same libxml2 functions that the reader uses.
// 2. In UTF-8 a well-formed tag has no "<" after its first byte, and 4097 attributes take more than
//    20 KB. So the scan jumps from "<" to "<" and looks into a tag only if the next "<" is more
//    than 20 KB away.
// 3. A document that is not well-formed may be cut at the wrong place by this. That changes
//    nothing: the reader stops before that place.
#include "engine/MarkupLimits.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>

#include <libxml/parser.h>
#include <libxml/parserInternals.h>

namespace {

// The shortest attribute is a blank, a letter, "=" and two quotes.
constexpr std::size_t kShortTag = 5 * kMostAttributes;

// A document is decoded in pieces, as the XML library counts some sizes in 32 bits. An XML
// declaration that is not whole in the first one is one that the reader cannot read.
constexpr std::size_t kPieceSize = kLargestTag;

// ---- Decoding ----

struct FreeContext {
    void operator()(xmlParserCtxt* context) const
    {
        xmlFreeDoc(context->myDoc);
        xmlFreeParserCtxt(context);
    }
};
using Context = std::unique_ptr<xmlParserCtxt, FreeContext>;

Context contextFor(std::string_view text)
{
    Context context(xmlCreateMemoryParserCtxt(text.data(), static_cast<int>(text.size())));
    if (context == nullptr) {
        throw std::bad_alloc();
    }
    return context;
}

// Silences libxml2 while it lives: the reader reports what is wrong with a document, once.
class Silence {
public:
    Silence()
    {
        xmlSetStructuredErrorFunc(nullptr, [](void*, xmlErrorPtr) {});
    }
    ~Silence() { xmlSetStructuredErrorFunc(m_context, m_function); }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;

private:
    const xmlStructuredErrorFunc m_function = xmlStructuredError;
    void* const m_context = xmlStructuredErrorContext;
};

// A document in UTF-8, without its XML declaration, as far as it can be decoded.
class Decoded {
public:
    // data must not be empty.
    explicit Decoded(std::string_view data)
        : m_context(contextFor(data.substr(0, kPieceSize))), m_input(*m_context->input)
    {
        if (data.size() >= 4) {
            const xmlCharEncoding encoding =
                xmlDetectCharEncoding(reinterpret_cast<const unsigned char*>(data.data()), 4);
            if (encoding != XML_CHAR_ENCODING_NONE) {
                xmlSwitchEncoding(m_context.get(), encoding);
            }
        }
        const char* const start = reinterpret_cast<const char*>(m_input.cur);
        if (std::strncmp(start, "<?xml", 5) == 0 && std::strchr(" \t\r\n", start[5]) != nullptr) {
            xmlParseXMLDecl(m_context.get());
        }
        const auto begin = static_cast<std::size_t>(m_input.cur - m_input.base);
        if (isReadable()) {
            decode(data.substr(std::min(kPieceSize, data.size())));
            const std::size_t size = xmlBufUse(m_input.buf->buffer);
            m_text = {reinterpret_cast<const char*>(xmlBufContent(m_input.buf->buffer)) + begin,
                      size - begin};
        }
    }

    // False when the reader gives up at the XML declaration.
    bool isReadable() const { return m_context->wellFormed != 0; }

    std::string_view text() const { return m_text; }

private:
    void decode(std::string_view rest)
    {
        std::size_t before = 0;
        do {
            before = xmlBufUse(m_input.buf->buffer);
            const std::string_view piece = rest.substr(0, kPieceSize);
            rest.remove_prefix(piece.size());
            if (xmlParserInputBufferPush(m_input.buf, static_cast<int>(piece.size()),
                                         piece.data()) < 0) {
                return;
            }
        } while (!rest.empty() || xmlBufUse(m_input.buf->buffer) > before);
    }

    const Silence m_silence;
    Context m_context;
    xmlParserInput& m_input;
    std::string_view m_text;
};

// ---- Document types ----

struct Passage {
    std::string_view begin;
    std::string_view end;
};

// Text to the reader up to its end, whatever it holds.
constexpr Passage kPassages[] = {{"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}};

// After the passage that begins at i; i when none does, and the text's size without an end.
std::size_t endOfPassage(std::string_view text, std::size_t i)
{
    const std::string_view rest = text.substr(i);
    for (const Passage& passage : kPassages) {
        if (rest.starts_with(passage.begin)) {
            const std::size_t end = rest.find(passage.end, passage.begin.size());
            return end == std::string_view::npos ? text.size() : i + end + passage.end.size();
        }
    }
    return i;
}

constexpr std::string_view kDoctype = "<!DOCTYPE";

// The document type at the beginning of the text, up to its end or that of the text, as the reader
// looks for it: in quotes and comments nothing counts, in brackets no ">". Quotes in an instruction
// count, although they should not: up to the second one the reader waits, and for nothing else.
std::string_view documentType(std::string_view text)
{
    bool inBrackets = false;
    for (std::size_t i = 1; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '"' || c == '\'') {
            i = std::min(text.find(c, i + 1), text.size());
        } else if (text.substr(i, 4) == "<!--") {
            i = endOfPassage(text, i) - 1;
        } else if (c == '[' || c == ']') {
            inBrackets = c == '[';
        } else if (c == '>' && !inBrackets) {
            return text.substr(0, i + 1);
        }
    }
    return text;
}

// Counts the parameter entities that a document type refers to; after too many the trial ends.
xmlEntity* countParameterEntity(void* context, const xmlChar* name)
{
    auto* const trial = static_cast<xmlParserCtxt*>(context);
    xmlEntity* const entity = xmlSAX2GetParameterEntity(context, name);
    auto& size = *static_cast<std::size_t*>(trial->_private);
    size += entity == nullptr ? 0 : static_cast<std::size_t>(entity->length);
    if (size > kLargestDocumentType) {
        xmlStopParser(trial);
        return nullptr;
    }
    return entity;
}

// The size of a document type with its parameter entities replaced at each reference. Entities may
// refer to each other, so that a few hundred bytes become gigabytes; above the limit the result is
// only known to be above it.
std::size_t expandedSize(std::string_view type)
{
    std::size_t size = type.size();
    if (size > kLargestDocumentType || type.find('%') == std::string_view::npos) {
        return size;
    }
    const Silence silence;
    const Context trial = contextFor(type);
    trial->_private = &size;
    trial->sax->getParameterEntity = countParameterEntity;
    trial->sax->attributeDecl = nullptr;  // takes long, and says nothing of entities
    xmlParseDocument(trial.get());
    return size;
}

// ---- Markup ----

struct Excess {
    DocumentEnd end = DocumentEnd::wellFormed;
    std::size_t place = 0;  // up to where the text is readable
};

// Of the tag at i, after which the next "<" is at next.
Excess excessOfTag(std::string_view text, std::size_t i, std::size_t next)
{
    const std::string_view tag = text.substr(i, next - i);
    std::size_t attributes = 0;
    std::size_t k = 0;
    while ((k = tag.find_first_of("'\">", k)) < std::min(tag.size(), kLargestTag) &&
           tag[k] != '>') {
        if (++attributes > kMostAttributes) {
            return {DocumentEnd::manyAttributes, i + k};
        }
        k = std::min(tag.find(tag[k], k + 1), tag.size() - 1) + 1;
    }
    const std::size_t size = k < tag.size() ? k + 1 : tag.size();
    return {size > kLargestTag ? DocumentEnd::largeTag : DocumentEnd::wellFormed, i + kLargestTag};
}

Excess firstExcess(std::string_view text)
{
    bool inProlog = true;
    std::size_t i = text.find('<');
    while (i < text.size()) {
        const char kind = i + 1 < text.size() ? text[i + 1] : '\0';
        if (kind == '!' || kind == '?') {
            std::size_t end = endOfPassage(text, i);
            if (inProlog && text.substr(i).starts_with(kDoctype)) {
                const std::string_view type = documentType(text.substr(i));
                if (expandedSize(type) > kLargestDocumentType) {
                    return {DocumentEnd::largeDocumentType, i};
                }
                end = i + type.size();
            }
            i = text.find('<', std::max(end, i + 1));
            continue;
        }
        inProlog = false;
        if (text.size() - i <= kShortTag) {
            break;
        }
        const std::size_t next = std::min(text.find('<', i + 1), text.size());
        if (next - i > kShortTag) {
            const Excess excess = excessOfTag(text, i, next);
            if (excess.end != DocumentEnd::wellFormed) {
                return excess;
            }
        }
        i = next;
    }
    return {DocumentEnd::wellFormed, text.size()};
}

// The length of the document's beginning that decodes to at most decodedLength bytes, or up to a
// step less. That is exact enough: a tag exceeds a limit far from its own beginning, and a document
// type is preceded by nothing that is shown.
std::size_t encodedLength(std::string_view data, std::size_t decodedLength)
{
    constexpr std::size_t step = 1024;
    std::size_t fits = 0;
    std::size_t fitsNot = data.size();
    while (fitsNot - fits > step) {
        const std::size_t middle = fits + (fitsNot - fits) / 2;
        const bool isShort = Decoded(data.substr(0, middle)).text().size() <= decodedLength;
        (isShort ? fits : fitsNot) = middle;
    }
    return fits;
}

// Whether the beginning shows that the document is UTF-8, as nearly all are.
bool isPlainUtf8(std::string_view data)
{
    if (data.size() < 2 || data[0] != '<' || data[1] == '\0') {  // UTF-16, UTF-32
        return false;
    }
    constexpr std::string_view usual[] = {"<?xml version=\"1.0\" encoding=\"UTF-8\"?>",
                                          "<?xml version=\"1.0\" encoding=\"utf-8\"?>",
                                          "<?xml version=\"1.0\"?>"};
    return data[1] != '?' || std::ranges::any_of(usual, [&](std::string_view declaration) {
               return data.starts_with(declaration);
           });
}

}  // namespace

ReadablePart readablePart(std::string_view data)
{
    if (isPlainUtf8(data)) {
        const Excess excess = firstExcess(data);
        return {excess.end == DocumentEnd::wellFormed ? data.size() : excess.place, excess.end};
    }
    if (data.empty()) {
        return {};
    }
    const Decoded decoded(data);
    if (!decoded.isReadable()) {
        return {std::min(data.size(), kPieceSize), DocumentEnd::wellFormed};
    }
    const Excess excess = firstExcess(decoded.text());
    return {excess.end == DocumentEnd::wellFormed ? data.size() : encodedLength(data, excess.place),
            excess.end};
}
