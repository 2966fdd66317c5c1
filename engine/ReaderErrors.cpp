#include "engine/ReaderErrors.h"

#include "engine/DocumentSource.h"

#include <string_view>

#include <libxml/parser.h>
#include <libxml/parserInternals.h>

namespace {

constexpr std::string_view kTooLong = "a text, comment, tag or value of more than 10 MB";
constexpr std::string_view kOtherEncoding =
    "bytes that are not in the encoding that the document declares";

struct Wording {
    int code;                   // an xmlParserErrors
    std::string_view message;   // how the XML library's message begins; codes are used for several
    std::string_view sentence;  // "$1", "$2" and "$n" are the strings and the number of the error
};

// The mistakes that people make. Any other is told in the XML library's words.
constexpr Wording kWordings[] = {
    {XML_ERR_NAME_REQUIRED, "xmlParseEntityRef", "an & that begins no entity; write &amp;"},
    {XML_ERR_NAME_REQUIRED, "StartTag", "a < that begins no tag; write &lt;"},
    {XML_ERR_NAME_REQUIRED, "error parsing attribute", "something in a tag that is no attribute"},
    {XML_ERR_ENTITYREF_SEMICOL_MISSING, "", "an & without the ; of an entity; write &amp;"},
    {XML_ERR_UNDECLARED_ENTITY, "",
     "the entity &$1; is not known; XML knows &amp; &lt; &gt; &quot; &apos; and numbers like "
     "&#233;"},
    {XML_ERR_LT_IN_ATTRIBUTE, "",
     "a < in the value of an attribute: end its quotes, or write &lt;"},
    {XML_ERR_ATTRIBUTE_NOT_STARTED, "", "an attribute whose value is not in quotes"},
    {XML_ERR_ATTRIBUTE_NOT_FINISHED, "", "an attribute whose value has no closing quote"},
    {XML_ERR_ATTRIBUTE_WITHOUT_VALUE, "", "the attribute $1 has no value"},
    {XML_ERR_ATTRIBUTE_REDEFINED, "", "the attribute $1 stands twice in one tag"},
    {XML_ERR_SPACE_REQUIRED, "attributes construct", "attributes without a blank between them"},
    {XML_ERR_GT_REQUIRED, "Couldn't find end of Start Tag", "the tag <$1 does not end in >"},
    {XML_ERR_TAG_NAME_MISMATCH, "", "</$2> stands where <$1> of line $n must end first"},
    {XML_ERR_INVALID_CHAR, "Input is not proper UTF-8",
     "bytes that are not UTF-8; if the document is in another encoding, its first line must say "
     "so"},
    {XML_ERR_INVALID_CHAR, "", "a character that XML does not allow"},
    {XML_ERR_INVALID_ENCODING, "", kOtherEncoding},
    {XML_I18N_CONV_FAILED, "", kOtherEncoding},
    {XML_ERR_UNSUPPORTED_ENCODING, "", "the encoding $1 is not known"},
    {XML_ERR_RESERVED_XML_NAME, "XML declaration", "an <?xml that is not at the very start"},
    {XML_ERR_HYPHEN_IN_COMMENT, "", "a -- in a comment"},
    {XML_ERR_COMMENT_NOT_FINISHED, "", "a comment without its end, -->"},
    {XML_ERR_DOCUMENT_EMPTY, "", "a document must begin with <"},
    {XML_ERR_INTERNAL_ERROR, "internal error: detected an error in element content",
     "a <! that begins no comment"},
    {XML_ERR_INTERNAL_ERROR, "Excessive depth", "more than $n elements inside each other"},
    {XML_ERR_INTERNAL_ERROR, "internal error: Huge input", kTooLong},
    {XML_ERR_NO_MEMORY, "xmlSAX2Characters: huge text node", kTooLong},
};

void ignore(void*, const char*, ...) {}

std::string_view text(const char* string)
{
    return string == nullptr ? std::string_view() : string;
}

std::string filledIn(std::string_view sentence, const xmlError& error)
{
    std::string filled;
    while (!sentence.empty()) {
        const std::size_t place = std::min(sentence.find('$'), sentence.size());
        filled += sentence.substr(0, place);
        sentence.remove_prefix(place);
        if (!sentence.empty()) {
            const char key = sentence[1];
            filled += key == '1'   ? std::string(text(error.str1))
                      : key == '2' ? std::string(text(error.str2))
                                   : std::to_string(error.int1);
            sentence.remove_prefix(2);
        }
    }
    return filled;
}

// The XML library has one error for all that is missing or left over at the end.
std::string atTheEnd(const xmlParserCtxt* parser)
{
    if (parser == nullptr || parser->instate == XML_PARSER_EPILOG) {
        return "there is more after the end of the root element";
    }
    if (parser->node != nullptr) {
        return "the end tag of <" +
               std::string(text(reinterpret_cast<const char*>(parser->node->name))) + "> of line " +
               std::to_string(xmlGetLineNo(parser->node)) + " is missing";
    }
    return "there is no root element";
}

// To the XML library a full dictionary of names is exhausted memory. It gets no room for one more
// name, so it can be short of its limit by that name.
bool isFullDictionary(const xmlError& error)
{
    constexpr std::size_t full = DocumentSource::kLargestDictionary - XML_MAX_NAME_LENGTH;
    const auto* const parser = static_cast<const xmlParserCtxt*>(error.ctxt);
    return error.code == XML_ERR_NO_MEMORY && parser != nullptr && parser->dict != nullptr &&
           xmlDictGetUsage(parser->dict) > full;
}

std::string sentenceOf(const xmlError& error)
{
    if (isFullDictionary(error)) {
        return "the names that differ have more than " +
               std::to_string(DocumentSource::kLargestDictionary) + " bytes";
    }
    if (error.code == XML_ERR_DOCUMENT_END) {
        return atTheEnd(static_cast<const xmlParserCtxt*>(error.ctxt));
    }
    const std::string_view message = text(error.message);
    for (const Wording& wording : kWordings) {
        if (error.code == wording.code && message.starts_with(wording.message)) {
            return filledIn(wording.sentence, error);
        }
    }
    return std::string(message.substr(0, message.find('\n')));
}

// Whether the reader cannot go on after the error; after one of a namespace it mostly can.
bool endsDocument(const xmlError& error)
{
    return error.level == XML_ERR_FATAL || error.code == XML_ERR_NO_MEMORY;
}

}  // namespace

ReaderErrors::ReaderErrors()
{
    xmlSetStructuredErrorFunc(this, hear);
    xmlSetGenericErrorFunc(nullptr, ignore);
}

ReaderErrors::~ReaderErrors()
{
    xmlSetStructuredErrorFunc(m_hostContext, m_hostFunction);
    xmlSetGenericErrorFunc(m_hostGenericContext, m_hostGenericFunction);
}

void ReaderErrors::hear(void* self, xmlErrorPtr error)
{
    // No exception may pass through the XML library.
    auto* const errors = static_cast<ReaderErrors*>(self);
    try {
        errors->keep(*error);
    } catch (...) {
        errors->m_outOfMemory = true;
    }
}

void ReaderErrors::keep(const xmlError& error)
{
    if (m_ended) {
        // The text of an entity has a parser of its own, with its own lines. When that one has
        // ended, the parser of the text around it has an error, too, where the entity is used.
        if (error.ctxt != m_parser) {
            if (error.code == XML_ERR_UNDECLARED_ENTITY) {
                m_reason = "in the entity &" + std::string(text(error.str1)) + ";: " + m_reason;
            }
            m_line = error.line;
            m_parser = error.ctxt;
        }
        return;
    }
    if (!m_reason.empty() && !endsDocument(error)) {
        return;
    }
    m_ended = endsDocument(error);
    m_reason = sentenceOf(error);
    m_line = error.line;
    m_parser = error.ctxt;
    m_outOfMemory =
        error.code == XML_ERR_NO_MEMORY && m_reason != kTooLong && !isFullDictionary(error);
    const auto* const parser = static_cast<const xmlParserCtxt*>(error.ctxt);
    m_atEnd =
        parser != nullptr && parser->input != nullptr && parser->input->cur == parser->input->end;
}
