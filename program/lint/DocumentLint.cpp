#include "program/lint/DocumentLint.h"

#include "engine/MarkupLimits.h"
#include "engine/ParserRegistry.h"
#include "program/lint/LayoutLint.h"
#include "program/lint/MarkupLint.h"
#include "program/lint/Schema.h"

#include <algorithm>
#include <memory>
#include <new>
#include <stdexcept>
#include <string_view>
#include <utility>

#include <libxml/parser.h>

namespace {

class Recorder : public ElementListener {
public:
    void hear(const ElementBytes& element) override
    {
        elements.push_back({nullptr, {}, 0, element.begin, element.end, element.name});
    }

    std::vector<CarriedElement> elements;  // the name is in `text` until the node is known
};

using Tree = std::unique_ptr<xmlDoc, void (*)(xmlDoc*)>;

// The document as far as it can be read.
Tree treeOf(const std::string& document)
{
    const std::size_t length = readablePart(document).length;
    return {xmlReadMemory(document.data(), static_cast<int>(length), nullptr, nullptr,
                          XML_PARSE_RECOVER | XML_PARSE_NOERROR | XML_PARSE_NOWARNING |
                              XML_PARSE_NONET),
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
            const char* const name = reinterpret_cast<const char*>(node->name);
            if (element.text != name) {
                return;
            }
            ++m_next;
            element.node = node;
            element.name = name;
            element.line = static_cast<unsigned long>(std::max(xmlGetLineNo(node), 0L));
            if (collectsText(name)) {
                element.text = collectedText(node);
                continue;
            }
            element.text.clear();
            visit(node->children);
        }
    }

    std::vector<CarriedElement>& m_heard;
    std::size_t m_next = 0;
};

void lintTree(std::vector<CarriedElement>& elements, std::string_view bytes,
              std::vector<LintFinding>& findings)
{
    const Schema schema;
    for (CarriedElement& element : elements) {
        const std::size_t before = findings.size();
        lintMarkup(element, bytes.substr(element.begin, element.end - element.begin), findings);
        // A line break has its finding as a character.
        const bool judged =
            findings.size() != before || element.text.find_first_of("\t\r\n") != std::string::npos;
        const bool inRoot = element.node->parent == elements.front().node;
        if (!judged && inRoot && !schema.allows(element.node)) {
            findings.push_back(
                {element.line, Rule::schema,
                 "the schema does not allow <" + std::string(element.name) + "> as it is written"});
        }
    }
}

// Judges a document that the library carries out as a whole.
void lintElements(KestrixDispEngine& engine, const std::string& document, xmlDoc* tree,
                  const ProfileOptions& profile, const LintDisplay& display,
                  std::vector<LintFinding>& findings)
{
    Recorder recorder;
    const DocumentRun run =
        explainedRun(engine, document, profile.device, profile.setting, &recorder);
    std::vector<CarriedElement>& elements = recorder.elements;
    Matcher(elements).run(xmlDocGetRootElement(tree));
    if (elements.empty()) {
        return;
    }
    const ByteSpan stream(run.bytes);
    lintTree(elements, {reinterpret_cast<const char*>(run.bytes.data()), run.bytes.size()},
             findings);
    lintLayout(elements, stream, ProfileTables(profile), display, KestrixDispEngine::getUCHandle(),
               findings);
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
    LintedDocument result{explainedRun(engine, document, profile.device, profile.setting), {}};
    const DocumentRun& run = result.run;
    if (run.status < 0) {
        throw std::runtime_error(openFailure(profile, run.status));
    }
    if (run.end == DocumentEnd::outOfMemory) {
        throw std::bad_alloc();
    }
    const bool damaged = run.end == DocumentEnd::damaged;
    if (run.end != DocumentEnd::wellFormed) {
        result.findings.push_back(
            {run.line, damaged ? Rule::notWellFormed : Rule::limit, run.reason});
    }
    if (damaged || run.end == DocumentEnd::wellFormed) {
        const Tree tree = treeOf(document);
        if (tree != nullptr && xmlDocGetRootElement(tree.get()) != nullptr) {
            lintElements(engine, damaged ? repaired(tree.get()) : document, tree.get(), profile,
                         display, result.findings);
        }
    }
    std::ranges::stable_sort(result.findings, {}, &LintFinding::line);
    return result;
}
