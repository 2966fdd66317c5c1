#include "program/lint/MarkupLint.h"

#include "engine/ParserRegistry.h"
#include "engine/TagParser.h"
#include "program/lint/AttributeValue.h"
#include "program/lint/Elements.h"
#include "program/text/CharacterText.h"
#include "program/text/HexText.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <set>

namespace {

// The attributes that decide where something is shown.
constexpr std::string_view kPlace[] = {"x", "y", "width", "height", "number", "moveto", "destroy"};

bool isPlace(std::string_view attribute)
{
    return std::ranges::find(kPlace, attribute) != std::end(kPlace);
}

constexpr std::string_view kBlanks = " \t\r\n\v\f";

const char* asText(const xmlChar* text)
{
    return text == nullptr ? "" : reinterpret_cast<const char*>(text);
}

std::string quoted(std::string_view text)
{
    constexpr std::size_t most = 60;  // bytes, about a line
    const bool isLong = text.size() > most;
    if (isLong) {
        std::size_t size = most - 3;
        while ((static_cast<unsigned char>(text[size]) & 0xC0) == 0x80) {
            --size;  // not within a character
        }
        text = text.substr(0, size);
    }
    return "\"" + printable(std::string(text)) + (isLong ? "..." : "") + "\"";
}

std::string suggestion(std::string_view meant)
{
    return meant.empty() ? "" : "; did you mean \"" + std::string(meant) + "\"?";
}

class MarkupLint {
public:
    MarkupLint(CarriedElement& element, ByteSpan bytes, std::vector<LintFinding>& findings)
        : m_element(element), m_bytes(bytes), m_findings(findings)
    {
    }

    void run()
    {
        const bool isRoot =
            m_element.node->parent != nullptr && m_element.node->parent->type != XML_ELEMENT_NODE;
        if (isRoot && m_element.name != kRoot) {
            add(Rule::schema,
                "the root element is <" + m_element.name + ">, not <" + std::string(kRoot) + ">");
        } else if (isRoot && m_element.node->ns != nullptr) {
            add(Rule::schema, "the root element is in the namespace " +
                                  quoted(asText(m_element.node->ns->href)) +
                                  "; display documents have none");
        }
        if (!isRoot && std::ranges::find(kElements, m_element.name) == std::end(kElements)) {
            m_element.misplaced = true;
            m_element.meant = nearest(m_element.name, kElements);
            add(Rule::unknownElement,
                "<" + m_element.name + "> is no element" + suggestion(m_element.meant));
            return;
        }
        if (!isRoot || m_element.name == kRoot) {
            judgeEntities();
            judgeAttributes();
            judgeTogether();
        }
        judgeContent();
        if (m_element.name == "command") {
            judgeCommand();
        }
    }

private:
    void add(Rule rule, const std::string& message)
    {
        m_findings.push_back({m_element.line, rule, message});
    }

    // An attribute whose name is written wrong has its finding, and none because it is missing.
    bool has(const char* name) const { return m_element.has(name) || m_meant.contains(name); }
    bool isYes(const char* name) const { return isTrue(m_element.value(name)); }
    static bool isTrue(std::string_view value) { return value == "true" || value == "1"; }

    void judgeEntities()
    {
        for (const xmlAttr* attribute = m_element.node->properties; attribute != nullptr;
             attribute = attribute->next) {
            const xmlNode* const value = attribute->children;
            if (value != nullptr && (value->next != nullptr || value->type != XML_TEXT_NODE)) {
                add(Rule::entity, std::string(asText(attribute->name)) +
                                      ": the value ends before an entity of the document type");
            }
        }
    }

    void judgeAttributes()
    {
        judgeNames();
        std::string missing;
        for (const AttributeRow& row : kAttributes) {
            if (row.element != m_element.name) {
                continue;
            }
            const auto entry = m_element.attributes.find(row.name);
            if (entry == m_element.attributes.end()) {
                missing += !row.needed || m_meant.contains(row.name)
                               ? ""
                               : (missing.empty() ? "" : " and ") + std::string(row.name);
                continue;
            }
            if (const std::string fault = valueFault(row, entry->second); !fault.empty()) {
                add(Rule::value, entry->first + "=" + quoted(entry->second) + " " + fault);
                m_element.misplaced = m_element.misplaced || isPlace(row.name);
            }
        }
        if (!missing.empty()) {
            add(Rule::missingAttribute,
                "<" + m_element.name + "> without " + missing + " does nothing");
            m_element.misplaced = true;
        }
    }

    void judgeNames()
    {
        std::vector<std::string_view> names;
        for (const AttributeRow& row : kAttributes) {
            if (row.element == m_element.name) {
                names.push_back(row.name);
            }
        }
        for (const xmlAttr* attribute = m_element.node->properties; attribute != nullptr;
             attribute = attribute->next) {
            const std::string name = asText(attribute->name);
            const bool hasPrefix = attribute->ns != nullptr && attribute->ns->prefix != nullptr;
            if (std::ranges::find(names, name) == names.end()) {
                const std::string_view meant = nearest(name, names);
                add(Rule::unknownAttribute,
                    "<" + m_element.name + "> has no attribute " +
                        (hasPrefix ? std::string(asText(attribute->ns->prefix)) + ":" : "") + name +
                        suggestion(meant));
                m_meant.insert(meant);
                m_element.misplaced = m_element.misplaced || isPlace(meant);
            }
        }
    }

    // Attributes that have an effect only together with others, or without them.
    void judgeTogether()
    {
        const bool isWindow = m_element.name == "window";
        const bool isCursor = m_element.name == "cursor";
        const bool whole = has("x") && has("y") && has("width") && has("height");
        const bool any = has("x") || has("y") || has("width") || has("height");
        if (isWindow && any && isYes("destroy")) {
            add(Rule::noEffect, whole ? "a position and size with destroy: nothing is done"
                                      : "a position or size has no effect with destroy");
        } else if (isWindow && any && !whole) {
            add(Rule::noEffect, "x, y, width and height have an effect only together");
        } else if (isWindow && has("scrollmode") && (!whole || isYes("destroy"))) {
            add(Rule::noEffect, "scrollmode has an effect only with x, y, width and height");
        } else if (isCursor && has("moveto") && (has("x") || has("y"))) {
            add(Rule::noEffect, has("x") && has("y") ? "x and y together with moveto move nothing"
                                                     : "x or y without the other has no effect");
        } else if ((isCursor || m_element.name == "text") && has("x") != has("y")) {
            add(Rule::noEffect,
                std::string(has("x") ? "x without y" : "y without x") + " has no effect");
        } else if (m_element.name == "marquee" && m_element.text.empty() && !has("CONTENT")) {
            add(Rule::noEffect, "<marquee> without a text does nothing");
        } else if (isCursor && !has("x") && !has("moveto") && !has("type")) {
            add(Rule::missingAttribute, "<cursor> without x and y, moveto or type does nothing");
        } else {
            return;
        }
        m_element.misplaced = true;
    }

    // What the element holds beside the elements that are carried out.
    void judgeContent()
    {
        const bool collects = collectsText(m_element.name.c_str());
        for (const xmlNode* node = m_element.node->children; node != nullptr; node = node->next) {
            const std::string_view text =
                node->content != nullptr ? asText(node->content) : std::string_view();
            const bool isText = node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE;
            if (node->type == XML_ENTITY_REF_NODE) {
                m_findings.push_back({lineOf(node), Rule::entity,
                                      std::string("&") + asText(node->name) + "; gives nothing"});
            } else if (collects && node->type == XML_ELEMENT_NODE) {
                m_findings.push_back({lineOf(node), Rule::nested,
                                      "<" + std::string(asText(node->name)) + "> inside of <" +
                                          m_element.name +
                                          "> gives nothing, nor does what it holds"});
            } else if (!collects && isText && text.find_first_not_of(kBlanks) != text.npos) {
                addStrayText(node, text);
            }
        }
    }

    // The line of the first character that is no blank. The XML library gives the line of the tag
    // before or after a text exactly, that of a text only if it is all ASCII.
    static unsigned long lineOfText(const xmlNode* node, std::string_view text)
    {
        const std::size_t begin = text.find_first_not_of(kBlanks);
        const auto before =
            static_cast<unsigned long>(std::ranges::count(text.substr(0, begin), '\n'));
        const auto after = static_cast<unsigned long>(std::ranges::count(text.substr(begin), '\n'));
        if (node->prev == nullptr) {
            return lineOf(node->parent) + before;
        }
        if (node->prev->type == XML_ELEMENT_NODE && node->prev->children == nullptr) {
            return lineOf(node->prev) + before;
        }
        const unsigned long end = lineOf(node->next == nullptr ? node : node->next);
        return end - std::min(after, end);
    }

    void addStrayText(const xmlNode* node, std::string_view text)
    {
        const unsigned long line = lineOfText(node, text);
        text.remove_prefix(text.find_first_not_of(kBlanks));
        const std::size_t end = text.find_last_not_of(kBlanks) + 1;
        m_findings.push_back({line, Rule::strayText,
                              quoted(text.substr(0, end)) + " is in <" + m_element.name +
                                  ">, where no text is shown"});
    }

    void judgeCommand()
    {
        std::string_view text = m_element.text;
        text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
        text = text.substr(0, text.find_last_not_of(kBlanks) + 1);
        StreamReader reader(m_bytes);
        for (StreamItem item; reader.next(item);) {
            m_element.misplaced = item.kind == StreamItem::Kind::cut;
        }
        if (m_bytes.size() * 2 != text.size() || text.empty()) {
            constexpr std::size_t most = 8;
            const std::string sent = hexBytes(m_bytes.first(std::min(m_bytes.size(), most))) +
                                     (m_bytes.size() > most ? " ..." : "");
            add(Rule::command,
                text.empty() ? "<command> without hexadecimal text sends nothing"
                : m_bytes.empty()
                    ? quoted(text) + " sends nothing: it is no hexadecimal text"
                    : "of " + quoted(text) + " only " + sent +
                          " goes out: write pairs of hexadecimal digits, without white "
                          "space between them");
        } else if (m_element.misplaced) {
            add(Rule::command,
                "<command> ends in the middle of a display command, which takes what "
                "follows for its rest");
        }
    }

    CarriedElement& m_element;
    ByteSpan m_bytes;
    std::vector<LintFinding>& m_findings;
    std::set<std::string_view> m_meant;  // attributes whose names are perhaps written wrong
};

}  // namespace

void lintMarkup(CarriedElement& element, ByteSpan bytes, std::vector<LintFinding>& findings)
{
    MarkupLint(element, bytes, findings).run();
}
