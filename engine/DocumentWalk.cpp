#include "engine/DocumentWalk.h"

#include "engine/DocumentSource.h"
#include "engine/ParserRegistry.h"

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
            storeAttributes(reader_, attributes_);
            if (event == Event::startTag && collectsText(asText(name))) {
                kept_ = name;
                return State::collecting;
            }
            call(beginParsers_, name);
            if (event == Event::emptyElement) {
                call(endParsers_, name);
            }
            attributes_.clear();
            return State::idle;
        }
        case Event::endTag:
            call(endParsers_, xmlTextReaderConstLocalName(reader_));
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
            if (!content_.empty()) {
                content_.push_back(0);
                attributes_[TagParser::CONTENT] = content_.data();
            }
            call(beginParsers_, kept_);
            attributes_.clear();
            content_.clear();
            call(endParsers_, xmlTextReaderConstLocalName(reader_));
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

    // Hands the attributes to the parser of that name, if there is one. They are its own to change,
    // and gone when it has had them.
    void call(const ParserMap& parsers, const xmlChar* name)
    {
        if (TagParser* const parser = parserFor(asText(name), parsers)) {
            parser->parse(name, attributes_, documentState_, out_);
            attributes_.clear();
        }
    }

    DocumentSource& source_;
    xmlTextReader* reader_;
    const ParserMap& beginParsers_;
    const ParserMap& endParsers_;
    OutputVector& out_;

    State state_ = State::idle;
    unsigned int depth_ = 0;              // skipping: elements open inside the kept one
    const xmlChar* kept_ = nullptr;       // collecting, skipping: waits for its end tag
    AttributeMap attributes_;             // of the element at hand, or of the kept one
    std::vector<unsigned char> content_;  // text collected so far, UTF-8
    std::array<unsigned char, KestrixDispEngine::LANG_BUF_LEN> language_{};
    AttributeMap documentState_;
};

}  // namespace

void storeAttributes(xmlTextReader* reader, AttributeMap& attributes)
{
    const xmlNode* const element = xmlTextReaderCurrentNode(reader);
    const xmlAttr* attribute = element == nullptr ? nullptr : element->properties;
    for (; attribute != nullptr; attribute = attribute->next) {
        // Mostly they come in order.
        attributes.insert_or_assign(attributes.end(), asText(attribute->name),
                                    attribute->children == nullptr ? nullptr
                                                                   : attribute->children->content);
    }
}

void walkDocument(const std::string& data, const ParserMap& beginParsers,
                  const ParserMap& endParsers, OutputVector& out)
{
    DocumentSource source(data);
    if (source.reader() != nullptr) {
        DocumentWalk(source, beginParsers, endParsers, out).run();
    }
}
