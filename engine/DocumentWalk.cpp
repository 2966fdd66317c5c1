#include "engine/DocumentWalk.h"

#include "engine/DocumentSource.h"
#include "engine/ParserRegistry.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

namespace {

const char* asText(const xmlChar* name)
{
    return reinterpret_cast<const char*>(name);
}

TagParser* parserFor(const char* name, const ParserMap& parsers)
{
    const auto entry = parsers.find(name);
    return entry == parsers.end() ? nullptr : entry->second;
}

enum class Event { startTag, emptyElement, endTag, text, other };

Event eventOf(xmlTextReader* reader, int nodeType)
{
    switch (nodeType) {
    case XML_READER_TYPE_ELEMENT:
        return xmlTextReaderIsEmptyElement(reader) == 1 ? Event::emptyElement : Event::startTag;
    case XML_READER_TYPE_END_ELEMENT:
        return Event::endTag;
    case XML_READER_TYPE_TEXT:
    case XML_READER_TYPE_CDATA:
    case XML_READER_TYPE_SIGNIFICANT_WHITESPACE:
        return Event::text;
    default:
        return Event::other;
    }
}

// State       Event                      Action                                    Next state
// ----------  -------------------------  ----------------------------------------  ----------
// idle        startTag, collects text    keep its attributes and name              collecting
//             startTag, any other        begin parser                              idle
//             emptyElement               begin parser, then end parser             idle
//             endTag                     end parser                                idle
//             text                       -                                         idle
// collecting  startTag                   depth = 1                                 skipping
//             emptyElement               -                                         collecting
//             endTag                     kept begin parser, then end parser        idle
//             text                       append to the content                     collecting
// skipping    startTag                   depth + 1                                 skipping
//             emptyElement, text         -                                         skipping
//             endTag                     depth - 1; at 0:                          collecting
// any         other                      -                                         the same
//             end of input               - (a kept element is lost)
enum class State { idle, collecting, skipping };

class DocumentWalk {
public:
    DocumentWalk(DocumentSource& source, const ParserMap& beginParsers, const ParserMap& endParsers,
                 OutputVector& out, ElementListener* listener)
        : m_source(source),
          m_reader(source.reader()),
          m_beginParsers(beginParsers),
          m_endParsers(endParsers),
          m_out(out),
          m_listener(listener)
    {
        static_assert(sizeof(KestrixDispEngine::LANG_DEFAULT) <= KestrixDispEngine::LANG_BUF_LEN);
        std::memcpy(m_language.data(), KestrixDispEngine::LANG_DEFAULT,
                    sizeof(KestrixDispEngine::LANG_DEFAULT));
        m_documentState[TagParser::ATTR_LANG] = m_language.data();
    }

    void run()
    {
        while (const int nodeType = m_source.read()) {
            m_state = next(eventOf(m_reader, nodeType));
        }
    }

private:
    State next(Event event)
    {
        switch (m_state) {
        case State::idle:
            return idle(event);
        case State::collecting:
            return collecting(event);
        case State::skipping:
            return skipping(event);
        }
        return m_state;
    }

    State idle(Event event)
    {
        switch (event) {
        case Event::startTag:
        case Event::emptyElement: {
            const xmlChar* const name = xmlTextReaderConstLocalName(m_reader);
            const std::size_t before = m_out.size();
            storeAttributes(m_reader, m_attributes);
            if (event == Event::startTag && collectsText(asText(name))) {
                m_kept = name;
                return State::collecting;
            }
            call(m_beginParsers, name);
            if (event == Event::emptyElement) {
                call(m_endParsers, name);
            }
            m_attributes.clear();
            tell(name, before);
            return State::idle;
        }
        case Event::endTag:
            endElement();
            return State::idle;
        case Event::text:
        case Event::other:
            return State::idle;
        }
        return State::idle;
    }

    State collecting(Event event)
    {
        switch (event) {
        case Event::startTag:
            m_depth = 1;
            return State::skipping;
        case Event::endTag:
            carryOutKept();
            endElement();
            return State::idle;
        case Event::text:
            appendContent();
            return State::collecting;
        case Event::emptyElement:
        case Event::other:
            return State::collecting;
        }
        return State::collecting;
    }

    State skipping(Event event)
    {
        switch (event) {
        case Event::startTag:
            ++m_depth;
            return State::skipping;
        case Event::endTag:
            --m_depth;
            return m_depth == 0 ? State::collecting : State::skipping;
        case Event::emptyElement:
        case Event::text:
        case Event::other:
            return State::skipping;
        }
        return State::skipping;
    }

    void carryOutKept()
    {
        const std::size_t before = m_out.size();
        if (!m_content.empty()) {
            m_content.push_back(0);
            m_attributes[TagParser::CONTENT] = m_content.data();
        }
        call(m_beginParsers, m_kept);
        m_attributes.clear();
        m_content.clear();
        tell(m_kept, before);
    }

    void endElement()
    {
        const xmlChar* const name = xmlTextReaderConstLocalName(m_reader);
        const std::size_t before = m_out.size();
        call(m_endParsers, name);
        if (m_out.size() != before) {
            tell(name, before);
        }
    }

    void tell(const xmlChar* name, std::size_t before)
    {
        if (m_listener != nullptr) {
            const xmlNode* const node = xmlTextReaderCurrentNode(m_reader);
            const long line = node == nullptr ? 0 : xmlGetLineNo(node);
            m_listener->hear({asText(name), static_cast<unsigned long>(std::max(line, 0L)), before,
                              m_out.size()});
        }
    }

    // A text node, a CDATA section or white space has all its text in the node itself.
    void appendContent()
    {
        const xmlNode* const node = xmlTextReaderCurrentNode(m_reader);
        if (node != nullptr && node->content != nullptr) {
            m_content.insert(m_content.end(), node->content,
                             node->content + xmlStrlen(node->content));
        }
    }

    // Calls the parser of that name, if there is one, with the attributes. It may change them; they
    // are removed after the call.
    void call(const ParserMap& parsers, const xmlChar* name)
    {
        if (TagParser* const parser = parserFor(asText(name), parsers)) {
            parser->parse(name, m_attributes, m_documentState, m_out);
            m_attributes.clear();
        }
    }

    DocumentSource& m_source;
    xmlTextReader* m_reader;
    const ParserMap& m_beginParsers;
    const ParserMap& m_endParsers;
    OutputVector& m_out;
    ElementListener* m_listener;

    State m_state = State::idle;
    unsigned int m_depth = 0;              // skipping: elements open inside the kept one
    const xmlChar* m_kept = nullptr;       // collecting, skipping: waits for its end tag
    AttributeMap m_attributes;             // of the element at hand, or of the kept one
    std::vector<unsigned char> m_content;  // text collected so far, UTF-8
    std::array<unsigned char, KestrixDispEngine::LANG_BUF_LEN> m_language{};
    AttributeMap m_documentState;
};

}  // namespace

void storeAttributes(xmlTextReader* reader, AttributeMap& attributes)
{
    const xmlNode* const element = xmlTextReaderCurrentNode(reader);
    const xmlAttr* attribute = element == nullptr ? nullptr : element->properties;
    for (; attribute != nullptr; attribute = attribute->next) {
        // The hint is right when the attributes are in alphabetical order.
        attributes.insert_or_assign(attributes.end(), asText(attribute->name),
                                    attribute->children == nullptr ? nullptr
                                                                   : attribute->children->content);
    }
}

DocumentEnd walkDocument(std::string_view data, const ParserMap& beginParsers,
                         const ParserMap& endParsers, OutputVector& out, ElementListener* listener,
                         unsigned long& line)
{
    DocumentSource source(data);
    if (source.reader() == nullptr) {
        return DocumentEnd::outOfMemory;
    }
    DocumentWalk(source, beginParsers, endParsers, out, listener).run();
    line = source.line();
    return source.end();
}
