// What lint says of documents, from tests/cases/lint.txt, and its table of elements.
#include "CaseFile.h"
#include "program/commands/LintOptions.h"
#include "program/lint/Elements.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <libxml/parser.h>

namespace {

class Lint : public testing::Test {
protected:
    Lint() { std::filesystem::current_path(KESTRIX_PROFILE_DIR); }
    ~Lint() override { std::filesystem::current_path(before_); }

    // A line for each finding, without the name of the file.
    static std::string said(const std::string& document)
    {
        std::string text;
        for (const LintFinding& finding :
             lintDocument(document, {"default", "KESTRIX-TEST-NO-SUCH-ID"}, {}).findings) {
            text += lintLine("", finding).substr(1);
        }
        return text;
    }

private:
    const std::filesystem::path before_ = std::filesystem::current_path();
};

TEST_F(Lint, Rows)
{
    for (const Case& row : readCases("lint.txt")) {
        for (auto line = row.lines.begin(); line != row.lines.end();) {
            const int number = line->number;
            const std::string keyword = line->keyword;
            std::string document = keyword == "line" ? "<ovix-display>" : "";
            const std::string end = keyword == "line" ? "</ovix-display>" : "";
            for (; line != row.lines.end() && line->keyword == keyword; ++line) {
                document += (line->number == number ? "" : "\n") + expandText(line->value);
            }
            std::string expected;
            for (; line != row.lines.end() && line->keyword != "line" && line->keyword != "root";
                 ++line) {
                expected += line->keyword == "clean" ? "" : expandText(line->value) + "\n";
            }
            EXPECT_EQ(expected, said(document + end)) << "lint.txt:" << number;
        }
    }
}

using Names = std::set<std::pair<std::string, std::string>>;  // element and attribute

Names namesOfTable()
{
    Names names;
    for (const AttributeRow& row : kAttributes) {
        names.emplace(row.element, row.name);
    }
    for (const std::string_view element : kElements) {
        names.emplace(element, "");
    }
    return names;
}

// The content of the child "name", or the attribute "name".
std::string nameOf(xmlNode* node)
{
    for (xmlNode* child = node->children; child != nullptr; child = child->next) {
        if (xmlStrEqual(child->name, reinterpret_cast<const xmlChar*>("name")) != 0) {
            return reinterpret_cast<const char*>(child->children->content);
        }
    }
    const std::unique_ptr<xmlChar, void (*)(void*)> name(
        xmlGetProp(node, reinterpret_cast<const xmlChar*>("name")), xmlFree);
    return name ? reinterpret_cast<const char*>(name.get()) : "";
}

// Elements and attributes that a part of the schema leads to, through its references.
void collect(xmlNode* part, const std::string& element, Names& names)
{
    for (xmlNode* node = part->children; node != nullptr; node = node->next) {
        const std::string kind = reinterpret_cast<const char*>(node->name);
        const std::string name = node->type == XML_ELEMENT_NODE ? nameOf(node) : "";
        if (kind == "attribute") {
            names.emplace(element, name);
        } else if (kind == "element") {
            names.emplace(name, "");
            collect(node, name, names);
        } else if (kind == "ref") {
            xmlNode* define = xmlDocGetRootElement(node->doc)->children;
            while (define != nullptr &&
                   (define->type != XML_ELEMENT_NODE || nameOf(define) != name)) {
                define = define->next;
            }
            ASSERT_NE(nullptr, define) << name;
            collect(define, element, names);
        } else {
            collect(node, element, names);
        }
    }
}

// catches: an element or attribute that the schema, README or lint knows, and another does not
TEST(LintTable, IsThatOfTheSchemaAndOfReadme)
{
    const std::filesystem::path root = std::filesystem::path(KESTRIX_CASES_DIR) / "../..";
    const std::unique_ptr<xmlDoc, void (*)(xmlDoc*)> schema(
        xmlReadFile((root / "docs/ovix-display.rng").c_str(), nullptr, XML_PARSE_NONET),
        xmlFreeDoc);
    ASSERT_NE(nullptr, schema);
    Names ofSchema;
    for (xmlNode* node = xmlDocGetRootElement(schema.get())->children; node != nullptr;
         node = node->next) {
        if (xmlStrEqual(node->name, reinterpret_cast<const xmlChar*>("start")) != 0) {
            collect(node, "", ofSchema);
        }
    }
    EXPECT_EQ(namesOfTable(), ofSchema);

    // Rows "| `element` | `attribute`, `attribute` ("value") ... | commands |".
    Names ofReadme;
    std::ifstream readme(root / "README.md");
    for (std::string line; std::getline(readme, line);) {
        std::istringstream cells(line);
        std::string cell;
        std::vector<std::vector<std::string>> ticked;
        for (std::getline(cells, cell, '|'); std::getline(cells, cell, '|');) {
            ticked.emplace_back();
            for (std::size_t at = 0; (at = cell.find('`', at)) != std::string::npos;) {
                const std::size_t end = cell.find('`', at + 1);
                ticked.back().push_back(cell.substr(at + 1, end - at - 1));
                at = end + 1;
            }
        }
        if (line.starts_with("| `") && ticked.size() == 3 && line.find("PREFIX") == line.npos) {
            for (const std::string& element : ticked[0]) {
                ofReadme.emplace(element, "");
                for (const std::string& attribute : ticked[1]) {
                    ofReadme.emplace(element, attribute);
                }
            }
        }
    }
    EXPECT_EQ(namesOfTable(), ofReadme);
}

}  // namespace
