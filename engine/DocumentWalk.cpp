#include "DocumentWalk.h"

#include "ParserRegistry.h"

#include <array>
#include <cstring>
#include <memory>

#include <libxml/xmlreader.h>

namespace {

struct FreeReader {
    void operator()(xmlTextReader* reader) const { xmlFreeTextReader(reader); }
};

struct FreeText {
    void operator()(xmlChar* text) const { xmlFree(text); }
};

using Reader = std::unique_ptr<xmlTextReader, FreeReader>;
using ReaderText = std::unique_ptr<xmlChar, FreeText>;

const char* asText(const xmlChar* name)
{
    return reinterpret_cast<const char*>(name);
}

// The attribute map of one element after the other; a cleared map's nodes serve the next one.
class Attributes {
public:
    AttributeMap& map() { return map_; }

    void set(const char* name, unsigned char* value)
    {
        if (spare_.empty()) {
            map_[name] = value;
            return;
        }
        AttributeMap::node_type node = std::move(spare_.back());
        spare_.pop_back();
        node.key() = name;
        node.mapped() = value;
        auto result = map_.insert(std::move(node));
        if (!result.inserted) {
            result.position->second = value;
            spare_.push_back(std::move(result.node));
        }
    }

    void clear()
    {
        while (!map_.empty() && spare_.size() < mostSpare) {
            spare_.push_back(map_.extract(map_.begin()));
        }
        map_.clear();
    }

private:
    static constexpr std::size_t mostSpare = 8;

    AttributeMap map_;
    std::vector<AttributeMap::node_type> spare_;
};

// Adds the attributes of the reader's current element, by local name; of two with one local name
// the later stays. A value is the text of the attribute's first child node, so an entity reference
// cuts it short, and null without a child. Keys and values belong to the reader and are valid
// until the element's end tag has been handled.
void storeAttributes(xmlTextReader* reader, Attributes& attributes)
{
    const xmlNode* const node = xmlTextReaderCurrentNode(reader);
    if (node == nullptr || node->type != XML_ELEMENT_NODE) {
        return;
    }
    for (const xmlAttr* attribute = node->properties; attribute != nullptr;
         attribute = attribute->next) {
        attributes.set(asText(attribute->name),
                       attribute->children == nullptr ? nullptr : attribute->children->content);
    }
}

TagParser* parserFor(const char* name, const ParserMap& parsers)
{
    const auto entry = parsers.find(name);
    return entry == parsers.end() ? nullptr : entry->second;
}

// What the walk does at an element of a name.
struct Element {
    const xmlChar* name;
    TagParser* beginParser;  // or null
    TagParser* endParser;    // or null
    bool collectsText;
};

enum class Event { startTag, emptyElement, endTag, text, other };

Event eventOf(xmlTextReader* reader)
{
    switch (xmlTextReaderNodeType(reader)) {
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
    DocumentWalk(xmlTextReader* reader, const ParserMap& beginParsers, const ParserMap& endParsers,
                 OutputVector& out)
        : reader_(reader), beginParsers_(beginParsers), endParsers_(endParsers), out_(out)
    {
        static_assert(sizeof(KestrixDispEngine::LANG_DEFAULT) <= KestrixDispEngine::LANG_BUF_LEN);
        std::memcpy(language_.data(), KestrixDispEngine::LANG_DEFAULT,
                    sizeof(KestrixDispEngine::LANG_DEFAULT));
        documentState_[TagParser::ATTR_LANG] = language_.data();
    }

    void run()
    {
        while (xmlTextReaderRead(reader_) == 1) {
            state_ = next(eventOf(reader_));
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
            storeAttributes(reader_, attributes_);
            const Element element = elementOf(name);
            if (event == Event::startTag && element.collectsText) {
                kept_ = element;
                return State::collecting;
            }
            call(element.beginParser, name);
            if (event == Event::emptyElement) {
                call(element.endParser, name);
            }
            return State::idle;
        }
        case Event::endTag:
            callEndParser();
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
            callKeptParser();
            callEndParser();
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

    void appendContent()
    {
        const ReaderText text(xmlTextReaderValue(reader_));
        if (text != nullptr) {
            content_.insert(content_.end(), text.get(), text.get() + xmlStrlen(text.get()));
        }
    }

    void callKeptParser()
    {
        if (!content_.empty()) {
            content_.push_back(0);
            attributes_.set(TagParser::CONTENT, content_.data());
        }
        call(kept_.beginParser, kept_.name);
        content_.clear();
    }

    void callEndParser()
    {
        if (const xmlChar* const name = xmlTextReaderConstLocalName(reader_)) {
            call(elementOf(name).endParser, name);
        }
    }

    // The reader gives equal names at one address, so each name of a parser is looked up once.
    Element elementOf(const xmlChar* name)
    {
        for (const Element& element : elements_) {
            if (element.name == name) {
                return element;
            }
        }
        const Element element{name, parserFor(asText(name), beginParsers_),
                              parserFor(asText(name), endParsers_), collectsText(asText(name))};
        if (element.beginParser != nullptr || element.endParser != nullptr) {
            elements_.push_back(element);
        }
        return element;
    }

    // No attribute passes from one call to the next, whether there is a parser or not.
    void call(TagParser* parser, const xmlChar* name)
    {
        if (parser != nullptr) {
            parser->parse(name, attributes_.map(), documentState_, out_);
        }
        attributes_.clear();
    }

    xmlTextReader* reader_;
    const ParserMap& beginParsers_;
    const ParserMap& endParsers_;
    OutputVector& out_;

    State state_ = State::idle;
    unsigned int depth_ = 0;              // skipping: elements open inside the kept one
    Element kept_{};                      // collecting, skipping: waits for its end tag
    Attributes attributes_;               // of the current or the kept element
    std::vector<unsigned char> content_;  // text collected so far, UTF-8
    std::array<unsigned char, KestrixDispEngine::LANG_BUF_LEN> language_{};
    AttributeMap documentState_;
    std::vector<Element> elements_;  // met so far, those with a parser
};

}  // namespace

void walkDocument(const std::string& data, const ParserMap& beginParsers,
                  const ParserMap& endParsers, OutputVector& out)
{
    const Reader reader(
        xmlReaderForMemory(data.data(), static_cast<int>(data.size()), nullptr, nullptr, 0));
    if (reader != nullptr) {
        DocumentWalk(reader.get(), beginParsers, endParsers, out).run();
    }
}
