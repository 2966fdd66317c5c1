// What is shown in place of characters that a display lacks.
#include "CaseFile.h"
#include "ConverterHandle.h"
#include "ProfileFixture.h"
#include "program/new-profile/Fallback.h"
#include "program/new-profile/ProfileFiles.h"
#include "program/new-profile/TableSource.h"
#include "program/profile/CharacterReport.h"
#include "program/profile/ProfileOptions.h"
#include "program/text/CharacterText.h"

#include <gtest/gtest.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/ulocdata.h>
#include <unicode/uniset.h>
#include <unicode/usetiter.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

// 1 to 40 of the characters, in UTF-8.
std::string randomText(const std::u32string& characters, std::mt19937& random)
{
    std::u32string text;
    for (std::size_t length = 1 + random() % 40; length > 0; --length) {
        text += characters[random() % characters.size()];
    }
    return utf8(text);
}

std::set<char32_t> charactersOf(const std::string& codePage)
{
    std::set<char32_t> result;
    for (const auto& character : readCodePage(codePage).characters) {
        if (character) {
            result.insert(*character);
        }
    }
    return result;
}

// catches: a sign or letter without what everybody would write for it, or with something else
TEST(Fallback, Rows)
{
    constexpr char32_t none = U'\u2205';
    struct Row {
        std::string codePage;
        std::u32string more;  // characters of another table
        std::u32string characters;
        std::u32string shown;  // in their places; `none` for nothing
    };
    const Row rows[] = {
        {"us-ascii", U"", U"ÄéøđłħıŋȘżĶŵſ", U"AeodlhinSzKws"},
        {"us-ascii", U"", U"‘’‚‛‹›′ʼʻ´“”„‟«»″", U"''''''''''\"\"\"\"\"\"\""},
        {"us-ascii", U"", U"‐‑‒–—―−\u2043", U"--------"},
        {"us-ascii", U"", U"\u00A0\u2002\u2009\u202F\u205F\u3000", U"      "},
        {"us-ascii", U"", U"！Ａｚ０＄～﹐×⁄˜", U"!Az0$~,x/~"},
        {"us-ascii", U"", U"АВєіїЇјѕΑος\u212A", U"ABeiiIjsAo∅K"},
        {"us-ascii", U"", U"ɔƆɛӏӀӕ", std::u32string(U"oOeII") + none},
        {"windows-1251", U"Ææ", U"ӀӏӔӕ", U"ІІÆæ"},
        // Two letters, another meaning, a currency, another syllable, a mark by itself
        {"us-ascii", U"", U"ßæœþĳÆ", std::u32string(6, none)},
        {"us-ascii", U"", U"½²³₂¹…±÷≠≤→№™©§①㎏", std::u32string(17, none)},
        {"us-ascii", U"", U"€£¥¢₴₺￥￡", std::u32string(8, none)},
        {"us-ascii", U"", U"Жяαω漢あ\u0301\u00AD", std::u32string(8, none)},
        // As few marks lost as possible; the nearest of several signs
        {"ibm-852", U"", U"ấậǘẞǻ", U"ââüßá"},
        {"ibm-852", U"ẹă", U"ệắặ", U"ẹăă"},
        {"ibm-737", U"", U"ΐΰἀᾳῬὈ\u2126", U"ϊϋααΡΟΩ"},
        {"ibm-866", U"", U"ґҐғөүӣәіЈ", U"гГгоуиаiJ"},
        {"windows-1252", U"", U"―‐ʼʻ″⋅ˉ", U"—-’‘\"·∅"},
        {"us-ascii", U"ｱｶ､｡｢･ﾞｰ", U"アカガ、。「・ー゛", U"ｱｶ∅､｡｢･ｰ∅"},
        {"us-ascii", U"∙", U"·•⋅・", U"∙∙∙∙"},
        {"us-ascii", U"", U"°˚ºª", U"∅∅oa"},
        {"us-ascii", U"–", U"‒—―−", U"–––-"},
    };
    for (const Row& row : rows) {
        std::set<char32_t> tables = charactersOf(row.codePage);
        tables.insert(row.more.begin(), row.more.end());
        std::map<char32_t, char32_t> shown;
        for (const Substitute& substitute : substitutesFor(tables, {})) {
            shown[substitute.character] = substitute.shown;
        }
        ASSERT_EQ(row.characters.size(), row.shown.size()) << utf8(row.characters);
        std::u32string actual;
        for (const char32_t character : row.characters) {
            actual += shown.contains(character) ? shown[character] : none;
        }
        EXPECT_EQ(utf8(row.shown), utf8(actual)) << row.codePage << ' ' << utf8(row.characters);
    }
}

// catches: a character of a set that is taken from a table
TEST(Fallback, CharactersOfSetsStay)
{
    for (const Substitute& substitute : substitutesFor(charactersOf("us-ascii"), {U'é', U'‐'})) {
        EXPECT_NE(U'é', substitute.character);
        EXPECT_NE(U'‐', substitute.character);
    }
}

CodeFile tableOf(int parameter, const CharacterOfByte& characters)
{
    CodeFile table{parameter, 1000 + parameter, std::to_string(parameter) + ".txt", "", {}};
    for (std::size_t byte = 0; byte < characters.size(); ++byte) {
        if (characters[byte]) {
            table.characters.emplace_back(static_cast<std::uint8_t>(byte), *characters[byte]);
        }
    }
    return table;
}

void writeProfile(const ProfilePlan& plan, const std::string& folder)
{
    static const std::string database = databaseOfICU();
    std::filesystem::create_directory(folder);
    for (const auto& [name, text] : profileFiles(plan, reducedDatabase(database, "ICU", plan))) {
        std::ofstream(folder + "/" + name, std::ios::binary) << text;
    }
}

class FallbackProfile : public ProfileFixture {};

// catches: a substitute that changes how texts of other characters are sent
TEST_F(FallbackProfile, TextsOfOtherCharactersKeepTheirBytes)
{
    const std::vector<std::vector<CodeFile>> displays = {
        {tableOf(0, readCodePage("ibm-437").characters)},
        {tableOf(0, readCodePage("ibm-850").characters),
         tableOf(7, readCodePage("windows-1252").characters)},
        {tableOf(1, readCodePage("windows-1258").characters),
         tableOf(2, readCodePage("ibm-737").characters),
         tableOf(3, readCodePage("windows-1253").characters),
         tableOf(200, readCodePage("ibm-852").characters)},
    };
    for (const std::vector<CodeFile>& tables : displays) {
        ProfilePlan plan;
        plan.device = "DEVICE";
        plan.tables = tables;
        plan.sets = {{8, 0, "set.txt", "", {{std::uint8_t{0x7E}, U'‾'}}}};
        std::u32string shown;
        for (const std::set<char32_t>& some : {plan.characters(), plan.marks(), plan.marks()}) {
            shown.append(some.begin(), some.end());
        }
        writeProfile(plan, "exact");
        addSubstitutes(plan);
        EXPECT_LT(500U, plan.substituted().size());
        writeProfile(plan, "readable");
        std::filesystem::current_path("exact");
        const ConverterHandle exact;
        std::filesystem::current_path("../readable");
        const ConverterHandle readable;
        std::filesystem::current_path("..");
        ASSERT_LT(0, exact);
        ASSERT_LT(0, readable);

        std::mt19937 random(static_cast<unsigned>(tables.size()));
        for (int i = 0; i < 3000; ++i) {
            std::string bytes = randomText(shown, random);
            exact.setData(bytes);
            readable.setData(bytes);
            ASSERT_EQ(exact.output(), readable.output()) << bytes;
        }
        for (const char32_t character : plan.substituted()) {
            std::string bytes = utf8({character == U'？' || character == U'﹖' ? U'a' : character});
            readable.setData(bytes);
            EXPECT_EQ(std::string::npos, readable.output().find('?')) << codePointText(character);
        }
    }
}

// In the folder of the default profile as long as it lives.
struct ProfileFolder {
    ProfileFolder() { std::filesystem::current_path(KESTRIX_PROFILE_DIR); }
    ~ProfileFolder() { std::filesystem::current_path(before); }
    const std::filesystem::path before = std::filesystem::current_path();
};

// What the CLDR lists for a language, letters in both cases, composed and decomposed.
std::set<std::string> exemplars(const std::string& language, ULocaleDataExemplarSetType type)
{
    UErrorCode status = U_ZERO_ERROR;
    const icu::LocalULocaleDataPointer data(ulocdata_open(language.c_str(), &status));
    icu::UnicodeSet characters;
    ulocdata_getExemplarSet(data.getAlias(), characters.toUSet(), USET_ADD_CASE_MAPPINGS, type,
                            &status);
    std::set<std::string> result;
    for (icu::UnicodeSetIterator it(characters); it.next();) {
        for (const auto* form :
             {icu::Normalizer2::getNFCInstance(status), icu::Normalizer2::getNFDInstance(status)}) {
            std::string text;
            form->normalize(it.getString(), status).toUTF8String(text);
            result.insert(text);
        }
    }
    EXPECT_TRUE(U_SUCCESS(status)) << language;
    return result;
}

// catches: a letter of Europe that a display of the default profile does not show
TEST(DefaultProfile, ShowsTheWritingOfEurope)
{
    const ProfileFolder folder;
    const ConverterHandle handle("default");
    const ProfileTables tables({"default", "KESTRIX-TEST-NO-SUCH-ID"});
    std::set<std::string> missing;
    std::set<std::string> substituted;
    std::size_t letters = 0;
    for (const std::string language :
         {"bg", "hr", "cs", "da", "nl", "en",      "et", "fi", "fr", "de", "el", "hu", "ga",
          "it", "lv", "lt", "mt", "pl", "pt",      "ro", "sk", "sl", "es", "sv", "uk", "sr",
          "mk", "be", "bs", "sq", "is", "sr_Latn", "nb", "nn", "tr", "ca", "eu", "gl", "cy"}) {
        for (const auto type : {ULOCDATA_ES_STANDARD, ULOCDATA_ES_PUNCTUATION}) {
            for (const std::string& text : exemplars(language, type)) {
                for (const SentCluster& cluster : sendCharacters(text, handle, tables)) {
                    letters += type == ULOCDATA_ES_STANDARD ? 1 : 0;
                    for (const SentCharacter& sent : cluster.sent) {
                        if (sent.fate == Fate::missing) {
                            missing.insert(text);
                        } else if (sent.fate == Fate::like && type == ULOCDATA_ES_STANDARD) {
                            substituted.insert(text);
                        }
                    }
                }
            }
        }
    }
    EXPECT_LT(3000U, letters);
    EXPECT_EQ(std::set<std::string>{"⁒"}, missing);
    EXPECT_EQ(std::set<std::string>{"ʼ"}, substituted);
}

std::string textOf(const std::filesystem::path& file)
{
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

class DefaultProfileCopy : public ProfileFixture {};

// catches: a table for more letters that takes characters away from those that had them before
TEST_F(DefaultProfileCopy, MoreTablesChangeNoTextOfTheFirstNine)
{
    std::filesystem::copy(KESTRIX_PROFILE_DIR, ".");
    std::string device = textOf("default");
    const std::size_t number = device.find("MappingTableNumber=");
    device.replace(number, device.find('\r', number) - number, "MappingTableNumber=9");
    const std::size_t tenth = device.find("[Table10]");
    device.erase(tenth, device.find("[ICS1]") - tenth);
    std::ofstream("nine", std::ios::binary) << device;
    const ConverterHandle nine("nine");
    const ConverterHandle all("default");
    ASSERT_LT(0, nine);
    ASSERT_LT(0, all);

    std::u32string characters;
    for (char32_t character = 0x20; character < 0x10000; ++character) {
        if ((U_GET_GC_MASK(static_cast<UChar32>(character)) & (U_GC_M_MASK | U_GC_CS_MASK)) != 0) {
            continue;  // a mark may get a letter to go with, and a surrogate is no character
        }
        std::string bytes = utf8({character});
        nine.setData(bytes);
        if (nine.output().find('?') == std::string::npos || character == U'?') {
            characters += character;
        }
    }
    EXPECT_EQ(543U, characters.size());
    std::mt19937 random(9);
    for (int i = 0; i < 20000; ++i) {
        std::string bytes = randomText(characters, random);
        nine.setData(bytes);
        all.setData(bytes);
        ASSERT_EQ(nine.output(), all.output()) << bytes;
    }
}

}  // namespace
