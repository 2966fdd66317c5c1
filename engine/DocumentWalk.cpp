#include "DocumentWalk.h"

#include "DocumentSource.h"
#include "ElementAttributes.h"
#include "ParserRegistry.h"

#include <array>
#include <cstring>
#include <forward_list>
#include <utility>
#include <vector>

#include <libxml/xmlreader.h>

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

// What the walk does at an element of a name.
struct Element {
    const xmlChar* name = nullptr;
    TagParser* beginParser = nullptr;
    TagParser* endParser = nullptr;
    bool collectsText = false;
    ElementAttributes attributes;
};

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
// idle        startTag, collects text    keep its attributes, name and parser      collecting
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
                 OutputVector& out)
        : source_(source),
          reader_(source.reader()),
          beginParsers_(beginParsers),
          endParsers_(endParsers),
          out_(out)
    {
        static_assert(sizeof(KestrixDispEngine::LANG_DEFAULT) <= KestrixDispEngine::LANG_BUF_LEN);
        std::memcpy(language_.data(), KestrixDispEngine::LANG_DEFAULT,
                    sizeof(KestrixDispEngine::LANG_DEFAULT));
        documentState_[TagParser::ATTR_LANG] = language_.data();
    }

    void run()
    {
        while (const int nodeType = source_.read()) {
            state_ = next(eventOf(reader_, nodeType));
        }
    }

private:
    State next(Event event)
    {
        switch (state_) {
        case State::idle:
            return idle(event);
        case State::collecting:
            return collecting(event);
        case State::skipping:
            return skipping(event);
        }
        return state_;
    }

    State idle(Event event)
    {
        switch (event) {
        case Event::startTag:
        case Event::emptyElement: {
            const xmlChar* const name = xmlTextReaderConstLocalName(reader_);
            if (name == nullptr) {
                return State::idle;
            }
            Element& element = elementOf(name);
            if (element.beginParser != nullptr) {
                element.attributes.read(xmlTextReaderCurrentNode(reader_));
            }
            if (event == Event::startTag && element.collectsText) {
                kept_ = &element;
                return State::collecting;
            }
            callBeginParser(element);
            if (event == Event::emptyElement) {
                callEndParser(element);
            }
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
            depth_ = 1;
            return State::skipping;
        case Event::endTag:
            callBeginParser(*kept_);
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
            ++depth_;
            return State::skipping;
        case Event::endTag:
            --depth_;
            return depth_ == 0 ? State::collecting : State::skipping;
        case Event::emptyElement:
        case Event::text:
        case Event::other:
            return State::skipping;
        }
        return State::skipping;
    }

    // Of a text node, a section or white space the node's content is all there is.
    void appendContent()
    {
        const xmlNode* const node = xmlTextReaderCurrentNode(reader_);
        if (node != nullptr && node->content != nullptr) {
            content_.insert(content_.end(), node->content,
                            node->content + xmlStrlen(node->content));
        }
    }

    // The text collected, terminated by NUL; null when there is none.
    unsigned char* content()
    {
        if (content_.empty()) {
            return nullptr;
        }
        content_.push_back(0);
        return content_.data();
    }

    void endElement()
    {
        if (const xmlChar* const name = xmlTextReaderConstLocalName(reader_)) {
            callEndParser(elementOf(name));
        }
    }

    // The reader gives equal names at one address, so each name of a parser is looked up once.
    Element& elementOf(const xmlChar* name)
    {
        for (Element& element : elements_) {
            if (element.name == name) {
                return element;
            }
        }
        Element element;
        element.name = name;
        element.beginParser = parserFor(asText(name), beginParsers_);
        element.endParser = parserFor(asText(name), endParsers_);
        element.collectsText = collectsText(asText(name));
        if (element.beginParser == nullptr && element.endParser == nullptr &&
            !element.collectsText) {
            return without_;
        }
        return elements_.emplace_front(std::move(element));
    }

    void callBeginParser(Element& element)
    {
        if (element.beginParser != nullptr) {
            element.beginParser->parse(element.name, element.attributes.map(content()),
                                       documentState_, out_);
            element.attributes.release();
        }
        content_.clear();
    }

    // The attributes have been used up by then.
    void callEndParser(Element& element)
    {
        if (element.endParser != nullptr) {
            AttributeMap none;
            element.endParser->parse(element.name, none, documentState_, out_);
        }
    }

    DocumentSource& source_;
    xmlTextReader* reader_;
    const ParserMap& beginParsers_;
    const ParserMap& endParsers_;
    OutputVector& out_;

    State state_ = State::idle;
    unsigned int depth_ = 0;              // skipping: elements open inside the kept one
    Element* kept_ = nullptr;             // collecting, skipping: waits for its end tag
    std::vector<unsigned char> content_;  // text collected so far, UTF-8
    std::array<unsigned char, KestrixDispEngine::LANG_BUF_LEN> language_{};
    AttributeMap documentState_;
    std::forward_list<Element> elements_;  // met so far, those with something to do
    Element without_;                      // stands for all others
};

}  // namespace

void walkDocument(const std::string& data, const ParserMap& beginParsers,
                  const ParserMap& endParsers, OutputVector& out)
{
    DocumentSource source(data);
    if (source.reader() != nullptr) {
        DocumentWalk(source, beginParsers, endParsers, out).run();
    }
}
