#include "program/profile/CharacterReport.h"

#include "base/StatusText.h"
#include "converter/RuvoConverter.h"
#include "program/text/CharacterText.h"

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

#include <cstdio>
#include <optional>
#include <stdexcept>
#include <vector>

namespace {

using Cluster = SentCluster::Characters;

// The byte of a character, the table selected for it, and the set if it came from one.
struct SentCode {
    std::uint8_t byte = 0;
    std::uint8_t table = 0;
    std::optional<std::uint8_t> set;
};

bool isMark(const SourceCharacter& character)
{
    return character.codePoint &&
           (U_GET_GC_MASK(static_cast<UChar32>(*character.codePoint)) & U_GC_M_MASK) != 0;
}

// A character and the marks that follow it, or a character, mark or malformed byte on its own.
std::vector<Cluster> clusters(std::string_view text)
{
    std::vector<Cluster> result;
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    const auto size = static_cast<int32_t>(text.size());
    for (int32_t i = 0; i < size;) {
        const int32_t start = i;
        UChar32 codePoint = 0;
        U8_NEXT(bytes, i, size, codePoint);
        SourceCharacter character{
            {}, text.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(i - start))};
        if (codePoint >= 0) {
            character.codePoint = static_cast<char32_t>(codePoint);
        }
        if (isMark(character) && !result.empty() && result.back().back().codePoint) {
            result.back().push_back(character);
        } else {
            result.push_back({character});
        }
    }
    return result;
}

// A switch of table or set, sent before the character at the position.
struct Switch {
    std::size_t position;
    std::uint8_t parameter;
};

// Reads the records of RuvoGetRawData: a position of four bytes, the lowest first, and a parameter.
std::vector<Switch> switches(const std::vector<unsigned char>& records)
{
    constexpr std::size_t kRecordSize = 5;
    std::vector<Switch> result;
    for (std::size_t i = 0; i + kRecordSize <= records.size(); i += kRecordSize) {
        std::size_t position = 0;
        for (std::size_t byte = 4; byte-- > 0;) {
            position = position << 8 | records[i + byte];
        }
        result.push_back({position, records[i + 4]});
    }
    return result;
}

// Converts a cluster. Returns a code for each character that is sent, which may be fewer.
std::vector<SentCode> send(short handle, const Cluster& cluster)
{
    std::string text;
    for (const SourceCharacter& character : cluster) {
        text += character.bytes;
    }
    RuvoSetData(handle, reinterpret_cast<unsigned char*>(text.data()), text.size());

    unsigned long lengths[3] = {0, 0, 0};
    RuvoGetRawData(handle, nullptr, &lengths[0], nullptr, &lengths[1], nullptr, &lengths[2]);
    std::vector<unsigned char> codes(lengths[0]);
    std::vector<unsigned char> tableRecords(lengths[1]);
    std::vector<unsigned char> setRecords(lengths[2]);
    const short status = RuvoGetRawData(handle, codes.data(), &lengths[0], tableRecords.data(),
                                        &lengths[1], setRecords.data(), &lengths[2]);
    if (status != RUVO_OK) {
        throw std::runtime_error(std::string(statusText(status)));
    }

    std::vector<SentCode> sent;
    for (std::size_t i = 0; i < codes.size(); ++i) {
        SentCode code{codes[i], sent.empty() ? std::uint8_t{0} : sent.back().table, {}};
        for (const Switch& tableSwitch : switches(tableRecords)) {
            if (tableSwitch.position == i) {
                code.table = tableSwitch.parameter;
            }
        }
        // Set switches come in pairs: into the set before a character, and back after it.
        const std::vector<Switch> setSwitches = switches(setRecords);
        for (std::size_t k = 0; k < setSwitches.size(); k += 2) {
            if (setSwitches[k].position == i) {
                code.set = setSwitches[k].parameter;
            }
        }
        sent.push_back(code);
    }
    return sent;
}

// The character that a cluster is; nothing for one that is no single character.
std::optional<char32_t> characterOf(const Cluster& cluster)
{
    if (cluster.size() == 1) {
        return cluster.front().codePoint;
    }
    icu::UnicodeString text;
    for (const SourceCharacter& character : cluster) {
        text.append(static_cast<UChar32>(*character.codePoint));  // marks follow characters only
    }
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* const nfc = icu::Normalizer2::getNFCInstance(status);
    const icu::UnicodeString composed =
        U_SUCCESS(status) != 0 ? nfc->normalize(text, status) : text;
    return composed.countChar32() == 1 ? std::optional(static_cast<char32_t>(composed.char32At(0)))
                                       : std::nullopt;
}

SentCharacter fateOf(const Cluster& cluster, const SentCode& code, const ProfileTables& tables)
{
    const CodeState state{code.table, code.set.value_or(tables.powerOn().set)};
    SentCharacter result{{}, Fate::missing, tables.character(state, code.byte)};
    char place[16];
    std::snprintf(place, sizeof place, "%02X in ", unsigned{code.byte});
    result.place = place + (code.set ? "set " + tables.setName(*code.set)
                                     : "table " + tables.tableName(code.table));
    const std::optional<char32_t> sent = characterOf(cluster);
    const bool has = sent && (code.set ? tables.setHas(*code.set, code.byte, *sent)
                                       : tables.tableHas(code.table, code.byte, *sent));
    if (has && result.shown != sent) {
        result.fate = Fate::like;
    } else if (has && cluster.size() == 1) {
        result.fate = Fate::itself;
    } else if (result.shown && (code.set || code.byte != tables.missingCharacter())) {
        result.fate = cluster.size() > 1 ? Fate::composed : Fate::spacingForm;
    }
    return result;
}

std::string outcome(const SentCharacter& sent)
{
    switch (sent.fate) {
    case Fate::itself:
        return sent.place;
    case Fate::like: {
        std::string shown;
        appendCharacter(shown, sent.shown.value_or(0));
        return "like " + (shown == " " ? "a blank" : shown) + ", " + sent.place;
    }
    case Fate::missing:
        return "missing character, " + sent.place;
    case Fate::composed:
        return "composed to " + describedCharacter(sent.shown.value_or(0)) + ", " + sent.place;
    case Fate::spacingForm:
        return "spacing form " + describedCharacter(sent.shown.value_or(0)) + ", " + sent.place;
    }
    return "";
}

std::string line(const SentCluster& cluster)
{
    std::string codePoints;
    std::string shown;
    std::string names;
    for (const SourceCharacter& character : cluster.characters) {
        const std::string_view plus = codePoints.empty() ? "" : " + ";
        if (!character.codePoint) {
            codePoints += "no UTF-8";
            names += "malformed text";
            continue;
        }
        codePoints.append(plus) += codePointText(*character.codePoint);
        names.append(plus) += characterName(*character.codePoint);
        if (shown.empty() && isMark(character)) {
            shown += "\u25CC";  // a dotted circle, to carry the mark
        }
        appendCharacter(shown, *character.codePoint);
    }
    std::string text = codePoints + "  " + shown + "  " + names + ": ";
    for (const SentCharacter& sent : cluster.sent) {
        text += (&sent == cluster.sent.data() ? "" : "; ") + outcome(sent);
    }
    return text + (cluster.sent.empty() ? "nothing is sent\n" : "\n");
}

}  // namespace

std::vector<SentCluster> sendCharacters(std::string_view text, short handle,
                                        const ProfileTables& tables)
{
    std::vector<SentCluster> result;
    RuvoSetEncodeType(handle, RUVO_UTF8);
    for (const Cluster& cluster : clusters(text)) {
        const std::vector<SentCode> codes = send(handle, cluster);
        // If nothing was composed, each character is on its own.
        if (codes.size() == cluster.size() && cluster.size() > 1) {
            for (std::size_t i = 0; i < codes.size(); ++i) {
                result.push_back({{cluster[i]}, {fateOf({cluster[i]}, codes[i], tables)}});
            }
            continue;
        }
        result.push_back({cluster, {}});
        for (const SentCode& code : codes) {
            result.back().sent.push_back(fateOf(cluster, code, tables));
        }
    }
    return result;
}

std::string reportCharacters(std::string_view text, short handle, const ProfileTables& tables)
{
    std::string report;
    for (const SentCluster& cluster : sendCharacters(text, handle, tables)) {
        report += line(cluster);
    }
    return report;
}
