#include "program/lint/DocumentLint.h"

#include "engine/MarkupLimits.h"
#include "engine/ParserRegistry.h"
#include "engine/ReaderErrors.h"
#include "program/lint/LayoutLint.h"
#include "program/lint/MarkupLint.h"
#include "program/lint/Schema.h"
#include "program/stream/CommandStream.h"
#include "program/stream/Rendering.h"
#include "program/text/CharacterText.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

#include <libxml/parser.h>

namespace {

class Recorder : public ElementListener {
public:
    void hear(const ElementBytes& element) override
    {
        CarriedElement& carried = elements.emplace_back();
        carried.name = element.name;
        carried.begin = element.begin;
        carried.end = element.end;
    }

    std::vector<CarriedElement> elements;  // without their nodes
};

using Tree = std::unique_ptr<xmlDoc, void (*)(xmlDoc*)>;

// The document as far as it can be read.
Tree treeOf(const std::string& document)
{
    const ReaderErrors silence;
    const std::size_t length = readablePart(document).length;
    return {xmlReadMemory(document.data(), static_cast<int>(length), nullptr, nullptr,
                          XML_PARSE_RECOVER | XML_PARSE_NONET),
            xmlFreeDoc};
}

// What the parser of an element that collects gets as its text.
std::string collectedText(const xmlNode* element)
{
    std::string text;
    for (const xmlNode* node = element->children; node != nullptr; node = node->next) {
        if ((node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE) &&
            node->content != nullptr) {
            text += reinterpret_cast<const char*>(node->content);
        }
    }
    return text;
}

// A value ends at the first reference to an entity.
void readAttributes(CarriedElement& element)
{
    for (const xmlAttr* attribute = element.node->properties; attribute != nullptr;
         attribute = attribute->next) {
        const bool hasText =
            attribute->children != nullptr && attribute->children->content != nullptr;
        element.attributes[reinterpret_cast<const char*>(attribute->name)] =
            hasText ? reinterpret_cast<const char*>(attribute->children->content) : "";
    }
}

// Finds the nodes of the elements that were carried out: both come in the order of the document.
class Matcher {
public:
    explicit Matcher(std::vector<CarriedElement>& heard) : m_heard(heard) {}

    void run(xmlNode* root)
    {
        visit(root);
        m_heard.resize(m_next);
    }

private:
    void visit(xmlNode* node)
    {
        for (; node != nullptr && m_next < m_heard.size(); node = node->next) {
            if (node->type != XML_ELEMENT_NODE) {
                continue;
            }
            CarriedElement& element = m_heard[m_next];
            if (element.name != reinterpret_cast<const char*>(node->name)) {
                return;
            }
            ++m_next;
            element.node = node;
            element.line = lineOf(node);
            readAttributes(element);
            if (collectsText(element.name.c_str())) {
                element.text = collectedText(node);
            } else {
                visit(node->children);
            }
        }
    }

    std::vector<CarriedElement>& m_heard;
    std::size_t m_next = 0;
};

// Judges the elements of a run, whose nodes are in the tree.
void lintElements(std::vector<CarriedElement>& elements, ByteSpan stream, xmlDoc* tree,
                  const ProfileTables& tables, const LintDisplay& display,
                  std::vector<LintFinding>& findings)
{
    Matcher(elements).run(xmlDocGetRootElement(tree));
    const Schema schema;
    for (CarriedElement& element : elements) {
        const std::size_t before = findings.size();
        lintMarkup(element, stream.subspan(element.begin, element.end - element.begin), findings);
        // A line break has its finding as a character.
        const bool judged =
            findings.size() != before || element.text.find_first_of("\t\r\n") != std::string::npos;
        const xmlNode* const root = elements.front().node;
        // In the namespace of a root that has one, the schema allows nothing.
        const bool comparable = element.node->parent == root && root->ns == nullptr;
        const std::string fault = judged || !comparable ? "" : schema.fault(element.node);
        if (!fault.empty()) {
            findings.push_back({element.line, Rule::schema,
                                "the schema does not allow <" + element.name +
                                    "> as it is written: " + printable(fault)});
        }
    }
    lintLayout(elements, stream, tables, display, KestrixDispEngine::getUCHandle(), findings);
}

// A damaged document without its damage.
std::string repaired(xmlDoc* tree)
{
    xmlChar* text = nullptr;
    int size = 0;
    xmlDocDumpMemoryEnc(tree, &text, &size, "UTF-8");
    const std::unique_ptr<xmlChar, void (*)(void*)> owner(text, xmlFree);
    return text == nullptr
               ? std::string()
               : std::string(reinterpret_cast<const char*>(text), static_cast<std::size_t>(size));
}

}  // namespace

LintedDocument lintDocument(const std::string& document, const ProfileOptions& profile,
                            const LintDisplay& display)
{
    KestrixDispEngine engine;
    Recorder recorder;
    LintedDocument result{carryOut(engine, document, profile, &recorder), {}};
    const DocumentRun& run = result.run;
    const bool damaged = run.end == DocumentEnd::damaged;
    if (run.end != DocumentEnd::wellFormed) {
        result.findings.push_back(
            {run.line, damaged ? Rule::notWellFormed : Rule::limit, run.reason});
    }
    const bool isReadable = damaged || run.end == DocumentEnd::wellFormed;
    const Tree tree = isReadable ? treeOf(document) : Tree(nullptr, xmlFreeDoc);
    if (tree != nullptr && xmlDocGetRootElement(tree.get()) != nullptr) {
        OutputVector bytes = run.bytes;
        if (damaged) {
            recorder.elements.clear();
            bytes = carryOut(engine, repaired(tree.get()), profile, &recorder).bytes;
        }
        lintElements(recorder.elements, bytes, tree.get(), ProfileTables(profile), display,
                     result.findings);
    }
    std::ranges::stable_sort(result.findings, {}, &LintFinding::line);
    return result;
}
