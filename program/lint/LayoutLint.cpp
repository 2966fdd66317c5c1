#include "program/lint/LayoutLint.h"

#include "engine/TagParser.h"
#include "program/display/VirtualDisplay.h"
#include "program/profile/CharacterReport.h"
#include "program/text/CharacterText.h"
#include "program/text/Counted.h"

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <optional>
#include <set>
#include <utility>

namespace {

constexpr std::size_t kNoElement = static_cast<std::size_t>(-1);

// The offsets of the character bytes among the bytes of an element, those of a marquee's text too.
void findCharacters(ByteSpan bytes, std::size_t offset, StreamReader::Commands commands,
                    std::vector<std::size_t>& offsets)
{
    StreamReader reader(bytes, commands);
    for (StreamItem item; reader.next(item);) {
        if (item.kind == StreamItem::Kind::text) {
            for (std::size_t i = 0; i < item.bytes.size(); ++i) {
                offsets.push_back(offset + item.offset + i);
            }
        } else if (item.kind == StreamItem::Kind::command &&
                   item.command->action == Action::marquee) {
            findCharacters(item.text(),
                           offset + item.offset + item.bytes.size() - item.text().size(),
                           StreamReader::Commands::switches, offsets);
        }
    }
}

// Whether the display shows a cluster as itself by the one character.
bool isItself(const SentCluster& cluster, char32_t shown)
{
    icu::UnicodeString text;
    for (const SourceCharacter& character : cluster.characters) {
        if (!character.codePoint) {
            return false;
        }
        text.append(static_cast<UChar32>(*character.codePoint));
    }
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* const nfc = icu::Normalizer2::getNFCInstance(status);
    const icu::UnicodeString one(static_cast<UChar32>(shown));
    return U_SUCCESS(status) != 0 && nfc->normalize(text, status) == nfc->normalize(one, status) &&
           U_SUCCESS(status) != 0;
}

// The characters whose place an element takes.
struct Losses {
    std::size_t own = 0;                        // that it wrote itself
    std::size_t scrolled = 0;                   // its own, out of the window
    std::size_t hidden = 0;                     // its own, under the clock or a marquee
    std::map<std::size_t, std::size_t> others;  // by the element that wrote them
};

struct Place {
    bool wrong;              // or follows from one that is
    std::size_t lostBlanks;  // elements so far that did not blank, but may have been meant to
};

class LayoutLint {
public:
    LayoutLint(const std::vector<CarriedElement>& elements, ByteSpan stream,
               const LintDisplay& display, std::vector<LintFinding>& findings)
        : m_elements(elements), m_stream(stream), m_display(display), m_findings(findings)
    {
    }

    void run(const ProfileTables& tables, short handle)
    {
        for (const CarriedElement& element : m_elements) {
            m_trace.ends.push_back(element.end);
        }
        VirtualDisplay(tables, m_display.size, m_display.origin).run(m_stream, &m_trace);
        for (const CarriedElement& element : m_elements) {
            if (element.showsText()) {
                judgeCharacters(element, tables, handle);
            }
        }
        findPlaces();
        sortLosses();
        for (std::size_t i = 0; i < m_elements.size(); ++i) {
            judgePlace(i);
        }
        judgeEnd();
    }

private:
    void add(const CarriedElement& element, Rule rule, const std::string& message)
    {
        m_findings.push_back({element.line, rule, message});
    }

    std::vector<std::size_t> charactersOf(const CarriedElement& element) const
    {
        std::vector<std::size_t> offsets;
        findCharacters(m_stream.subspan(element.begin, element.end - element.begin), element.begin,
                       StreamReader::Commands::all, offsets);
        return offsets;
    }

    void judgeCharacters(const CarriedElement& element, const ProfileTables& tables, short handle)
    {
        const std::vector<std::size_t> offsets = charactersOf(element);
        if (element.begin == element.end && !(element.has("uwait") && element.has("rwait"))) {
            return;
        }
        if (offsets.empty() && !element.text.empty()) {
            add(element, Rule::rejectedText, "nothing of the text is shown: it is too long");
            return;
        }
        std::set<std::string> told;
        std::size_t at = 0;
        for (const SentCluster& cluster : sendCharacters(element.text, handle, tables)) {
            bool itself = cluster.sent.size() == 1;
            bool alike = itself;
            std::string shownAs;
            bool missing = false;
            for (const SentCharacter& sent : cluster.sent) {
                const DisplayTrace::Shown* const shown =
                    at < offsets.size() ? m_trace.find(offsets[at]) : nullptr;
                ++at;
                const char32_t character =
                    shown == nullptr ? sent.shown.value_or(0xFFFD) : shown->character;
                itself = itself && sent.fate != Fate::missing && isItself(cluster, character);
                alike = alike && sent.fate == Fate::like && sent.shown == character;
                missing = missing || sent.fate == Fate::missing;
                appendCharacter(shownAs, character);
            }
            if (alike) {
                tell(element, Rule::substitute, cluster, missing, shownAs, told);
            } else if (!itself) {
                tell(element, Rule::missingCharacter, cluster, missing, shownAs, told);
            }
        }
    }

    void tell(const CarriedElement& element, Rule rule, const SentCluster& cluster, bool missing,
              const std::string& shownAs, std::set<std::string>& told)
    {
        constexpr char32_t dottedCircle = 0x25CC;  // carries a mark without a base
        const char32_t first = cluster.characters.front().codePoint.value_or(0xFFFD);
        const bool isBreak = first < 0x20;
        std::string what = isBreak ? "a line break or TAB" : "\"";
        if (u_getCombiningClass(static_cast<UChar32>(first)) != 0) {
            appendCharacter(what, dottedCircle);
        }
        std::string codes;
        for (const SourceCharacter& character : cluster.characters) {
            if (!isBreak) {
                const char32_t codePoint = character.codePoint.value_or(0xFFFD);
                appendCharacter(what, codePoint);
                codes += (codes.empty() ? "" : " ") + (isPrintable(codePoint)
                                                           ? codePointText(codePoint)
                                                           : describedCharacter(codePoint));
            }
        }
        what += isBreak ? "" : "\" (" + codes + ")";
        what += missing && !isBreak ? " has no byte in this profile and" : "";
        what += shownAs.empty() ? " does not show" : " shows as \"" + shownAs + "\"";
        what += isBreak ? "; write a text on one line" : "";
        if (told.insert(what).second) {
            add(element, isBreak ? Rule::lineBreak : rule, what);
        }
    }

    std::size_t elementAt(std::size_t offset) const
    {
        const auto after = std::ranges::upper_bound(m_elements, offset, {}, &CarriedElement::begin);
        for (auto element = after; element != m_elements.begin();) {
            --element;
            if (element->end > offset) {
                return static_cast<std::size_t>(element - m_elements.begin());
            }
            if (element->begin != element->end) {
                break;
            }
        }
        return kNoElement;
    }

    // Tells the elements whose place is wrong, and finds those whose place follows from it.
    void findPlaces()
    {
        auto ignored = m_trace.ignored.begin();
        auto shared = m_trace.shared.begin();
        std::size_t taken = 0;  // where the rest of a command ends that an element cut off
        for (const CarriedElement& element : m_elements) {
            bool wrong = element.misplaced || element.begin < taken;
            for (; ignored != m_trace.ignored.end() && ignored->offset < element.end; ++ignored) {
                wrong = judgeIgnored(element, wrong, *ignored) || wrong;
            }
            for (; shared != m_trace.shared.end() && shared->begin < element.end; ++shared) {
                taken = shared->end;
            }
            const auto selection = std::ranges::lower_bound(m_trace.selections, element.begin);
            const bool selects = selection != m_trace.selections.end() && *selection < element.end;
            followWindow(element, wrong, selects);
            followCursor(element, wrong, selects);
            m_cursorStray = m_cursorStray || taken > element.end;
            const bool destroys = element.name == "window" && element.has("destroy");
            if (taken > element.end || (destroys && wrong) || element.meant == "clear" ||
                element.meant == "reset" || element.meant == "window") {
                ++m_lostBlanks;
            }
            m_places.push_back(
                {wrong || (element.showsText() && (m_windowMeant || m_cursorStray)), m_lostBlanks});
        }
    }

    // Whether an element has a command that names a place which there is not; tells it, if it is
    // not known.
    bool judgeIgnored(const CarriedElement& element, bool known,
                      const DisplayTrace::Ignored& ignored)
    {
        if (ignored.command == nullptr) {
            return false;
        }
        switch (ignored.command->action) {
        case Action::position:
            if (!known && !m_windowMeant) {
                add(element, Rule::offDisplay, offDisplay(ignored));
            }
            return true;
        case Action::defineWindow:
            if (!known) {
                add(element, Rule::offDisplay, "the window is not within the " + displayText());
            }
            return true;
        case Action::selectWindow:
            m_windowMeant = std::to_string(m_stream[ignored.offset + 2]);
            [[fallthrough]];
        case Action::destroyWindow:
            if (!known && !m_notDefined.contains("") &&
                !m_notDefined.contains(element.value("number"))) {
                add(element, Rule::undefinedWindow,
                    "window " + std::to_string(m_stream[ignored.offset + 2]) + " is not defined");
            }
            return true;
        default:
            return false;
        }
    }

    // Which windows are not there, and whether another one is selected than was meant.
    void followWindow(const CarriedElement& element, bool wrong, bool selects)
    {
        if (selects) {
            m_windowMeant.reset();
            m_notDestroyed = false;
        }
        if (element.name == "reset") {
            m_notDefined.clear();
        }
        if (element.name != "window" && !(element.has("number") && !element.meant.empty())) {
            return;
        }
        const std::string number = element.value("number");
        const long counted = std::strtol(number.c_str(), nullptr, 10);
        const bool ends = element.value("destroy") == "true" || element.value("destroy") == "1";
        const bool defines = !ends && (element.has("x") || element.has("y") ||
                                       element.has("width") || element.has("height"));
        if (defines && !wrong) {
            m_notDefined.erase(number);
        } else if (defines) {
            m_notDefined.insert(counted >= 1 && counted <= 255 ? number : "");
        } else if (wrong) {
            const bool wasMeant = m_windowMeant == number;
            m_notDestroyed = element.has("destroy") && !wasMeant;
            m_windowMeant =
                element.has("destroy") && wasMeant ? std::nullopt : std::optional(number);
        }
    }

    // Whether the cursor is elsewhere than was meant.
    void followCursor(const CarriedElement& element, bool wrong, bool selects)
    {
        const bool places = element.name != "window" &&
                            (element.has("x") || element.has("y") || element.has("moveto"));
        if (!element.meant.empty() || (element.name == "cursor" && wrong)) {
            m_cursorStray = true;
        } else if (places || selects || element.name == "clear") {
            m_cursorStray = wrong;
        }
    }

    std::string displayText() const
    {
        return "display of " + counted(static_cast<std::size_t>(m_display.size.columns), "column") +
               " and " + counted(static_cast<std::size_t>(m_display.size.lines), "line");
    }

    std::string offDisplay(const DisplayTrace::Ignored& ignored) const
    {
        const auto number = [&](std::size_t index) {
            return std::to_string(m_stream[ignored.offset + index]);
        };
        const Size size = ignored.window.size;
        return "column " + number(2) + " of line " + number(3) + " is off the " +
               (ignored.windowNumber == 0
                    ? displayText()
                    : "window " + std::to_string(ignored.windowNumber) + " of " +
                          counted(static_cast<std::size_t>(size.columns), "column") + " and " +
                          counted(static_cast<std::size_t>(size.lines), "line"));
    }

    // By the element that takes the place, and by the one that loses it.
    void sortLosses()
    {
        for (const DisplayTrace::Loss& loss : m_trace.losses) {
            const std::size_t by = elementAt(loss.by);
            const std::size_t of = elementAt(loss.lost);
            const bool scrolled = loss.cause == DisplayTrace::Cause::scrolled;
            if (by == kNoElement || of == kNoElement || (scrolled && by != of) ||
                !m_elements[of].showsText()) {
                continue;
            }
            // What a wrong place leads to has its finding, and so has an element that may have been
            // meant to blank the character.
            if (by != of &&
                (m_places[of].wrong || m_places[of].lostBlanks != m_places[by].lostBlanks)) {
                continue;
            }
            Losses& losses = m_losses[by];
            if (loss.cause == DisplayTrace::Cause::hidden) {
                ++losses.hidden;
            } else if (by == of) {
                ++(scrolled ? losses.scrolled : losses.own);
            } else {
                ++losses.others[of];
            }
        }
    }

    void judgePlace(std::size_t index)
    {
        const CarriedElement& element = m_elements[index];
        const auto entry = m_losses.find(index);
        const Losses losses = entry == m_losses.end() ? Losses() : entry->second;
        if (m_places[index].wrong) {
            return;
        }
        std::string lines;
        if (element.name == "text") {
            lines = otherLines(element);
        }
        const std::string over = overOthers(losses);
        if (!lines.empty() || losses.own + losses.scrolled != 0) {
            tellRun(element, losses, lines, over);
        } else if (!over.empty()) {
            add(element, Rule::overwritten, "<" + element.name + "> stands over " + over);
        }
        if (losses.hidden != 0) {
            add(element, Rule::overwritten,
                counted(losses.hidden, "character") + " of the " + element.name +
                    (losses.hidden == 1 ? " is" : " are") + " hidden by the clock" +
                    (element.name == "marquee" ? "" : " or a marquee"));
        }
    }

    // "text of 52 characters from column 1 of display line 2 runs over display line 1 and over its
    // own first 12 characters". Other lines in findings are those of the document.
    void tellRun(const CarriedElement& element, const Losses& losses, const std::string& lines,
                 const std::string& over)
    {
        const std::vector<std::size_t> offsets = charactersOf(element);
        const DisplayTrace::Shown* const first = m_trace.find(offsets.front());
        if (first == nullptr) {
            return;
        }
        std::vector<std::string> parts;
        if (!lines.empty()) {
            parts.push_back("over " + lines);
        }
        if (!over.empty()) {
            parts.push_back("over " + over);
        }
        if (losses.own != 0) {
            parts.push_back("over its own first " +
                            (losses.own == 1 ? "character" : counted(losses.own, "character")));
        }
        const bool loses = losses.own + losses.scrolled != 0 || !over.empty();
        std::string text = "text of " + counted(offsets.size(), "character") + " from column " +
                           std::to_string(first->place.column + m_display.origin) +
                           " of display line " +
                           std::to_string(first->place.line + m_display.origin);
        if (losses.scrolled != 0) {
            text += " is too long for its window: the first " +
                    counted(losses.scrolled, "character") +
                    (losses.scrolled == 1 ? " scrolls" : " scroll") + " away";
            text += over.empty() ? "" : ", and it stands over " + over;
        } else {
            text += loses ? " runs " : " runs on into " + lines;
            for (std::size_t i = 0; loses && i < parts.size(); ++i) {
                text += (i == 0 ? "" : i + 1 == parts.size() ? " and " : ", ") + parts[i];
            }
        }
        add(element, loses ? Rule::overflow : Rule::wrap, text);
    }

    // "display line 1", "display lines 1, 3": where a text of the whole display runs on to. In a
    // window it may.
    std::string otherLines(const CarriedElement& element)
    {
        std::set<int> lines;
        int first = -1;
        for (const std::size_t offset : charactersOf(element)) {
            const DisplayTrace::Shown* const shown = m_trace.find(offset);
            if (shown == nullptr || shown->window != 0) {
                return "";
            }
            const int line = shown->place.line;
            first = first < 0 ? line : first;
            lines.insert(line);
        }
        lines.erase(first);
        std::string text;
        for (const int line : lines) {
            text += (text.empty() ? "" : ", ") + std::to_string(line + m_display.origin);
        }
        return text.empty() ? "" : (lines.size() == 1 ? "display line " : "display lines ") + text;
    }

    // "5 characters of the text of line 7"
    std::string overOthers(const Losses& losses) const
    {
        std::string text;
        for (const auto& [of, count] : losses.others) {
            text += (text.empty() ? "" : ", ") + counted(count, "character") + " of the " +
                    m_elements[of].name + " of line " + std::to_string(m_elements[of].line);
        }
        return text;
    }

    void judgeEnd()
    {
        const CarriedElement* japanese = nullptr;
        for (const CarriedElement& element : m_elements) {
            const auto language = element.attributes.find("lang");
            if (element.showsText() && element.begin != element.end &&
                language != element.attributes.end()) {
                japanese = TagParser::isLangJP(language->second.c_str()) ? &element : nullptr;
            }
        }
        if (japanese != nullptr && !m_trace.hasOwnSet) {
            add(*japanese, Rule::language,
                "the Japanese character set stays selected; end with a text in another language");
        }
        if (m_trace.selected != 0 && !m_notDestroyed) {
            add(m_elements[elementAt(m_trace.selections.back())], Rule::openWindow,
                "window " + std::to_string(m_trace.selected) +
                    " is still selected at the end, and the next document would go there");
        }
    }

    const std::vector<CarriedElement>& m_elements;
    ByteSpan m_stream;
    const LintDisplay& m_display;
    std::vector<LintFinding>& m_findings;
    DisplayTrace m_trace;
    std::map<std::size_t, Losses> m_losses;  // by the element that takes the place
    std::vector<Place> m_places;             // by element
    // While the places are found:
    std::set<std::string> m_notDefined;        // windows by number, or all, "", with a definition
                                               // that is wrong
    std::optional<std::string> m_windowMeant;  // the number, if another window is selected
    bool m_notDestroyed = false;               // a wrong element was to end a window
    bool m_cursorStray = false;                // the cursor is elsewhere than was meant
    std::size_t m_lostBlanks = 0;
};

}  // namespace

void lintLayout(const std::vector<CarriedElement>& elements, ByteSpan stream,
                const ProfileTables& tables, const LintDisplay& display, short handle,
                std::vector<LintFinding>& findings)
{
    LayoutLint(elements, stream, display, findings).run(tables, handle);
}
