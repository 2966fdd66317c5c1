#include "program/new-profile/Fallback.h"

#include "converter/profile/HandleSettings.h"
#include "converter/profile/TableFiles.h"
#include "program/text/CharacterText.h"

#include <unicode/normalizer2.h>
#include <unicode/translit.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/uscript.h>

#include <algorithm>
#include <bit>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace {

// For `character` the first of `shown` that the display has.
struct Row {
    char32_t character;
    std::u32string_view shown;
};

// The reviewed rows: punctuation, for which ICU has no or other opinions ("." for an ellipsis would
// make 1.5 of 1…5), and letters that look alike or replace each other in writing. None of a letter
// that stands for two (ß, æ, þ), of a sign that would get another meaning (÷, ±, ½, ²), or of a
// currency.
constexpr Row kRows[] = {
    // Quotes, apostrophes and primes
    {U'‘', U"'"},
    {U'’', U"'"},
    {U'‚', U"'"},
    {U'‛', U"'"},
    {U'‹', U"'"},
    {U'›', U"'"},
    {U'“', U"\""},
    {U'”', U"\""},
    {U'„', U"\""},
    {U'‟', U"\""},
    {U'«', U"\""},
    {U'»', U"\""},
    {U'〝', U"\""},
    {U'〞', U"\""},
    {U'〟', U"\""},
    {U'′', U"'"},
    {U'″', U"\""},
    {U'´', U"'"},
    {U'\u02B9', U"'"},   // modifier prime
    {U'\u02BA', U"\""},  // modifier double prime
    {U'\u02BB', U"‘'"},  // okina
    {U'\u02BC', U"’'"},  // modifier apostrophe
    {U'\u02BD', U"'"},
    {U'\u02BE', U"’'"},
    {U'\u02BF', U"‘'"},
    {U'\u02C8', U"'"},
    {U'\u02EE', U"”\""},
    {U'\uA78C', U"’'"},  // saltillo
    {U'\u055A', U"’'"},  // Armenian apostrophe
    {U'\u05F3', U"'"},   // Hebrew geresh
    {U'\u05F4', U"\""},  // Hebrew gershayim
    // Hyphens and dashes; U+2011 is a U+2010 that does not break.
    {U'\u2010', U"-"},
    {U'\u2012', U"–-"},
    {U'–', U"-"},
    {U'—', U"–-"},
    {U'―', U"—–-"},
    {U'\u2043', U"-"},
    {U'\u2212', U"-"},
    {U'\u05BE', U"-"},
    // Signs that look alike
    {U'·', U"∙⋅•"},
    {U'∙', U"·⋅•"},
    {U'⋅', U"·∙•"},
    {U'•', U"∙·*"},
    {U'‧', U"·∙"},
    {U'・', U"·∙"},
    {U'×', U"x"},
    {U'∗', U"*"},
    {U'⁎', U"*"},
    {U'⁄', U"/"},
    {U'∕', U"/"},
    {U'∖', U"\\"},
    {U'∣', U"|"},
    {U'¦', U"|"},
    {U'∶', U":"},
    {U'ː', U":"},
    {U'ˆ', U"^"},
    {U'˜', U"~"},
    {U'∼', U"~"},
    {U'〜', U"~"},
    {U'¯', U"‾"},
    {U'‾', U"¯"},
    {U'˚', U"°"},
    {U'°', U"˚"},
    {U'º', U"°o"},
    {U'ª', U"a"},
    {U'¡', U"!"},
    {U'¿', U"?"},
    {U'⟨', U"<"},
    {U'⟩', U">"},
    {U'、', U","},
    {U'。', U"."},
    {U'µ', U"μu"},  // the micro sign
    {U'μ', U"µ"},   // the Greek letter
    {U'∆', U"Δ"},
    {U'Δ', U"∆"},
    {U'∑', U"Σ"},
    {U'Σ', U"∑"},
    {U'∏', U"Π"},
    {U'⁊', U"&"},
    {U'ℓ', U"l"},
    {U'℮', U"e"},
    // Letters
    {U'ẞ', U"ß"},
    {U'ς', U"σ"},
    {U'ə', U"e"},
    {U'Ə', U"E"},
    {U'ɔ', U"o"},
    {U'Ɔ', U"O"},
    {U'є', U"е"},
    {U'Є', U"Е"},
    {U'ә', U"əа"},
    {U'Ә', U"ƏА"},
    {U'ө', U"о"},
    {U'Ө', U"О"},
    {U'ү', U"у"},
    {U'Ү', U"У"},
    // Cyrillic letters that look like Latin ones
    {U'А', U"A"},
    {U'В', U"B"},
    {U'Е', U"E"},
    {U'Ѕ', U"S"},
    {U'І', U"I"},
    {U'Ј', U"J"},
    {U'К', U"K"},
    {U'М', U"M"},
    {U'Н', U"H"},
    {U'О', U"O"},
    {U'Р', U"P"},
    {U'С', U"C"},
    {U'Т', U"T"},
    {U'У', U"Y"},
    {U'Х', U"X"},
    {U'Һ', U"H"},
    {U'Ӕ', U"Æ"},
    {U'Ӏ', U"ІI"},  // the palochka, which has the same form in both cases
    {U'ӏ', U"ІI"},
    {U'Ё', U"Ë"},
    {U'Ї', U"Ï"},
    {U'а', U"a"},
    {U'е', U"e"},
    {U'о', U"o"},
    {U'р', U"p"},
    {U'с', U"c"},
    {U'у', U"y"},
    {U'х', U"x"},
    {U'ё', U"ë"},
    {U'ї', U"ï"},
    {U'ѕ', U"s"},
    {U'і', U"i"},
    {U'ј', U"j"},
    {U'һ', U"h"},
    {U'ӕ', U"æ"},
    // Greek letters that look like Latin ones
    {U'Α', U"A"},
    {U'Β', U"B"},
    {U'Ε', U"E"},
    {U'Ζ', U"Z"},
    {U'Η', U"H"},
    {U'Ι', U"I"},
    {U'Κ', U"K"},
    {U'Μ', U"M"},
    {U'Ν', U"N"},
    {U'Ο', U"O"},
    {U'Ρ', U"P"},
    {U'Τ', U"T"},
    {U'Υ', U"Y"},
    {U'Χ', U"X"},
    {U'ο', U"o"},
};

char32_t single(const icu::UnicodeString& text)
{
    return text.countChar32() == 1 ? static_cast<char32_t>(text.char32At(0)) : U'\0';
}

bool isLetter(char32_t character)
{
    return (U_GET_GC_MASK(static_cast<UChar32>(character)) & U_GC_L_MASK) != 0;
}

bool isMark(char32_t character)
{
    return (U_GET_GC_MASK(static_cast<UChar32>(character)) & U_GC_M_MASK) != 0;
}

bool isOfScript(char32_t character, UScriptCode script)
{
    UErrorCode status = U_ZERO_ERROR;
    return uscript_getScript(static_cast<UChar32>(character), &status) == script;
}

// A full-width form of ASCII is its ASCII character, the dollar sign too; but no other currency
// sign gets a substitute.
bool isCurrency(char32_t character)
{
    constexpr char32_t fullWidthDollar = 0xFF04;
    return u_charType(static_cast<UChar32>(character)) == U_CURRENCY_SYMBOL &&
           character != fullWidthDollar;
}

class Substitutes {
public:
    Substitutes(const std::set<char32_t>& tables, const std::set<char32_t>& sets)
        : m_tables(tables), m_sets(sets)
    {
        UErrorCode status = U_ZERO_ERROR;
        m_nfc = icu::Normalizer2::getNFCInstance(status);
        m_nfkc = icu::Normalizer2::getNFKCInstance(status);
        m_latin.reset(icu::Transliterator::createInstance("Latin-ASCII", UTRANS_FORWARD, status));
        if (U_FAILURE(status)) {
            throw std::runtime_error(std::string("ICU's transliteration: ") + u_errorName(status));
        }
        for (const Row& row : kRows) {
            m_rows[row.character] = row.shown;
        }
        for (char32_t form = kFirstWidthForm; form <= kLastWidthForm; ++form) {
            if (decompositionType(form) == U_DT_NARROW) {
                m_narrowForms[decomposition(form)] = form;
            }
        }
    }

    std::vector<Substitute> all() const
    {
        std::vector<Substitute> result;
        constexpr char32_t first = 0xA0;  // ASCII is no substitute's subject
        constexpr char32_t last = 0xFFFF;
        for (char32_t character = first; character <= last; ++character) {
            if (!isExact(character)) {
                if (const std::optional<char32_t> shown = find(character, 0)) {
                    result.push_back({character, *shown});
                }
            }
        }
        return result;
    }

private:
    static constexpr char32_t kFirstWidthForm = 0xFF01;
    static constexpr char32_t kLastWidthForm = 0xFFEE;

    bool isExact(char32_t character) const
    {
        return m_tables.contains(character) || m_sets.contains(character);
    }

    // The first candidate that a table has, or else the first that has such a candidate itself.
    std::optional<char32_t> find(char32_t character, int depth) const
    {
        constexpr int maxDepth = 3;
        const std::u32string candidates = candidatesFor(character);
        for (const char32_t candidate : candidates) {
            if (m_tables.contains(candidate)) {
                return candidate;
            }
        }
        for (const char32_t candidate : candidates) {
            if (depth < maxDepth && !isExact(candidate)) {
                if (const auto shown = find(candidate, depth + 1)) {
                    return shown;
                }
            }
        }
        return std::nullopt;
    }

    std::u32string candidatesFor(char32_t character) const
    {
        if (isMark(character) || isCurrency(character)) {
            return {};
        }
        std::u32string candidates;
        const auto add = [&](char32_t candidate) {
            if (candidate != U'\0' && candidate != character) {
                candidates += candidate;
            }
        };
        if (isSameCharacter(decompositionType(character))) {
            add(decomposition(character));
        }
        if (const auto form = m_narrowForms.find(character); form != m_narrowForms.end()) {
            add(form->second);
        }
        if (const auto row = m_rows.find(character); row != m_rows.end()) {
            candidates += row->second;
        }
        if (isLetter(character)) {
            addWithFewerMarks(character, candidates);
            add(baseLetter(character));
        }
        return candidates;
    }

    // Whether a decomposition to one character is the same one, in another width, size or place in
    // a line; not raised, lowered, or in a circle.
    static bool isSameCharacter(UDecompositionType type)
    {
        return type == U_DT_CANONICAL || type == U_DT_COMPAT || type == U_DT_NOBREAK ||
               type == U_DT_WIDE || type == U_DT_NARROW || type == U_DT_SMALL;
    }

    static UDecompositionType decompositionType(char32_t character)
    {
        return static_cast<UDecompositionType>(
            u_getIntPropertyValue(static_cast<UChar32>(character), UCHAR_DECOMPOSITION_TYPE));
    }

    // The one character that a character decomposes to, or 0.
    char32_t decomposition(char32_t character) const
    {
        icu::UnicodeString text;
        return m_nfkc->getRawDecomposition(static_cast<UChar32>(character), text) != 0
                   ? single(text)
                   : U'\0';
    }

    // The letter without some of its marks: as few as possible, the last one first. The marks of
    // kana make another syllable of it.
    void addWithFewerMarks(char32_t letter, std::u32string& candidates) const
    {
        constexpr std::size_t maxMarks = 4;
        icu::UnicodeString text;
        UErrorCode status = U_ZERO_ERROR;
        if (m_nfc->getDecomposition(static_cast<UChar32>(letter), text) == 0 ||
            isOfScript(letter, USCRIPT_HIRAGANA) || isOfScript(letter, USCRIPT_KATAKANA)) {
            return;
        }
        std::u32string parts;
        for (std::int32_t i = 0; i < text.length(); i = text.moveIndex32(i, 1)) {
            parts += static_cast<char32_t>(text.char32At(i));
        }
        const std::size_t marks = parts.size() - 1;
        if (marks > maxMarks || !isLetter(parts[0]) ||
            !std::all_of(parts.begin() + 1, parts.end(), isMark)) {
            return;
        }
        for (std::size_t kept = marks; kept-- > 0;) {
            for (unsigned choice = 0; choice < 1U << marks; ++choice) {  // bit i: mark i stays
                if (static_cast<std::size_t>(std::popcount(choice)) != kept) {
                    continue;
                }
                icu::UnicodeString rest(static_cast<UChar32>(parts[0]));
                for (std::size_t i = 0; i < marks; ++i) {
                    if ((choice >> i & 1U) != 0) {
                        rest.append(static_cast<UChar32>(parts[i + 1]));
                    }
                }
                if (const char32_t letterLeft = single(m_nfc->normalize(rest, status))) {
                    candidates += letterLeft;
                }
            }
        }
    }

    // Not so the letters of the phonetic extensions, and those from U+A720 on, of medieval
    // manuscripts.
    static bool isInUse(char32_t letter)
    {
        return letter < 0x1D00 || (letter > 0x1DBF && letter < 0xA720);
    }

    // The letter from which another one is made by a stroke, hook or the like: for Latin letters
    // after ICU's transliteration, for Cyrillic ones after their names (GHE WITH UPTURN). 0 for a
    // letter that stands for more than one.
    char32_t baseLetter(char32_t letter) const
    {
        if (isOfScript(letter, USCRIPT_LATIN) && isInUse(letter)) {
            icu::UnicodeString text(static_cast<UChar32>(letter));
            m_latin->transliterate(text);
            const char32_t base = single(text);
            return base < 0x80 ? base : U'\0';
        }
        if (isOfScript(letter, USCRIPT_CYRILLIC)) {
            const std::string name = characterName(letter);
            const std::size_t with = name.find(" WITH ");
            UErrorCode status = U_ZERO_ERROR;
            const UChar32 base =
                with == std::string::npos
                    ? 0
                    : u_charFromName(U_UNICODE_CHAR_NAME, name.substr(0, with).c_str(), &status);
            return U_SUCCESS(status) != 0 ? static_cast<char32_t>(base) : U'\0';
        }
        return U'\0';
    }

    const std::set<char32_t>& m_tables;
    const std::set<char32_t>& m_sets;
    const icu::Normalizer2* m_nfc = nullptr;
    const icu::Normalizer2* m_nfkc = nullptr;
    std::unique_ptr<icu::Transliterator> m_latin;
    std::map<char32_t, std::u32string_view> m_rows;
    std::map<char32_t, char32_t> m_narrowForms;  // of full-width kana and their punctuation
};

// Where the display has a character.
struct Place {
    const CodeFile* table;
    std::uint8_t byte;
};

// The characters of the tables, without those whose bytes show one of a set after power-on.
std::map<char32_t, Place> placesIn(const ProfilePlan& plan)
{
    std::set<std::uint8_t> hidden;
    for (const CodeFile& set : plan.sets) {
        for (const auto& [byte, character] : set.characters) {
            if (set.parameter == plan.defaultSet) {
                hidden.insert(byte);
            }
        }
    }
    std::map<char32_t, Place> places;
    for (const CodeFile& table : plan.tables) {
        for (const auto& [byte, character] : table.characters) {
            const auto known = places.find(character);
            if (!hidden.contains(byte) &&
                (known == places.end() || table.parameter < known->second.table->parameter)) {
                places.insert_or_assign(character, Place{&table, byte});
            }
        }
    }
    return places;
}

std::string unusedFileName(const ProfilePlan& plan, const std::string& stem)
{
    const auto isUsed = [&](const std::string& name) {
        const auto has = [&](const std::vector<CodeFile>& files) {
            return std::ranges::count(files, name, &CodeFile::fileName) != 0;
        };
        return name == plan.device || has(plan.tables) || has(plan.sets);
    };
    std::string name = stem + ".txt";
    for (int number = 2; isUsed(name); ++number) {
        name = stem + "-" + std::to_string(number) + ".txt";
    }
    return name;
}

}  // namespace

std::vector<Substitute> substitutesFor(const std::set<char32_t>& tables,
                                       const std::set<char32_t>& sets)
{
    return Substitutes(tables, sets).all();
}

void addSubstitutes(ProfilePlan& plan)
{
    const std::map<char32_t, Place> places = placesIn(plan);
    std::set<char32_t> tables;
    for (const auto& [character, place] : places) {
        tables.insert(character);
    }
    std::map<int, CodeFile> open;  // by parameter
    std::vector<CodeFile> full;
    for (const Substitute& substitute : substitutesFor(tables, plan.characters())) {
        const Place place = places.at(substitute.shown);
        CodeFile& file = open[place.table->parameter];
        file.parameter = place.table->parameter;
        file.codePage = place.table->codePage;
        file.characters.emplace_back(place.byte, substitute.character);
        if (file.characters.size() == ruvo::kMaxFileEntries) {
            full.push_back(std::exchange(file, {}));
        }
    }
    for (auto& [parameter, file] : open) {
        full.push_back(std::move(file));
    }
    for (CodeFile& file : full) {
        if (!file.characters.empty()) {
            file.substitutes = true;
            file.fileName = unusedFileName(plan, "like-" + std::to_string(file.parameter));
            std::ranges::sort(file.characters);
            plan.tables.push_back(std::move(file));
        }
    }
    if (plan.tables.size() > ruvo::kMaxTables) {
        throw UsageError("--fallback: the tables would take " + std::to_string(plan.tables.size()) +
                         " files, but a profile has at most " + std::to_string(ruvo::kMaxTables));
    }
}
