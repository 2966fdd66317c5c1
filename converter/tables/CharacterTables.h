// The characters that a handle knows: their bytes in the display's tables and sets, their
// properties, and their decompositions. Built once at the open, then constant.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace ruvo {

inline constexpr std::uint32_t kMaxCodePoint = 0x10FFFF;

struct CharMapping {
    std::uint8_t ucCode;        // the character's byte
    std::uint8_t ucTableParam;  // command parameter of its table, or of its internal character set
};

// One code point of UnicodeData.txt.
struct UnicodeCharInfo {
    std::uint32_t ulFirstMapping;    // index of the first mapping in the CodePointTable's list
    std::uint16_t usMappingCount;    // number of mappings, at most that of the translation tables
    std::uint8_t ucCombiningClass;   // Canonical_Combining_Class, 0..255
    std::uint8_t listed : 1;         // UnicodeData.txt has the code point
    std::uint8_t combiningMark : 1;  // General_Category Mn, Mc or Me
    std::uint8_t ucICSFlag : 1;      // the only mapping is that of an internal character set
};

// The direct characters of one translation table: up to U+FFFF, no combining marks, no characters
// of internal sets. While that table is selected a direct character is sent as its byte alone.
class DirectTable {
public:
    DirectTable() : m_codes(kPageSize) {}

    // Flag in an entry, whose low 8 bits are the byte; an entry without it is no direct character.
    static constexpr std::uint16_t kDirect = 0x100;

    static constexpr std::uint32_t kLast = 0xFFFF;

    // Code points below this one, which UTF-8 writes in one or two bytes, have one flat array.
    static constexpr std::uint32_t kFrontSize = 0x800;

    // The entry of a code point below kFrontSize.
    std::uint16_t front(std::uint32_t codePoint) const { return m_front[codePoint]; }

    // The entry of a code point up to kLast.
    std::uint16_t operator[](std::uint32_t codePoint) const
    {
        return codePoint < kFrontSize
                   ? m_front[codePoint]
                   : m_codes[m_page[codePoint / kPageSize] * kPageSize + codePoint % kPageSize];
    }

    // Adds a character, unless the table already has it.
    void insert(std::uint32_t codePoint, std::uint8_t ucCode);

    // Finds the longest range [begin, end) of ASCII characters whose byte is their code point.
    void finish();
    std::uint8_t identityBegin() const { return m_identityBegin; }
    std::uint8_t identityEnd() const { return m_identityEnd; }

private:
    static constexpr std::size_t kPageSize = 256;

    std::uint16_t& code(std::uint32_t codePoint);

    std::array<std::uint16_t, kFrontSize> m_front{};
    // The number of each page in m_codes; 0 is the empty page that all unused ones share.
    std::array<std::uint16_t, (kLast + 1) / kPageSize> m_page{};
    std::vector<std::uint16_t> m_codes;
    std::uint8_t m_identityBegin = 0;
    std::uint8_t m_identityEnd = 0;
};

// A record per code point, in pages of 256 code points; pages without any record share page 0.
class CodePointTable {
public:
    CodePointTable() : m_pages(kPageSize) {}

    // Makes memory for the records of the Unicode database and for `mappings` mappings; the table
    // takes more of both. Throws std::bad_alloc, as all functions do that add something.
    void reserve(std::size_t mappings);

    // The record of a code point up to U+10FFFF; `listed` is 0 where there is none.
    const UnicodeCharInfo& operator[](std::uint32_t codePoint) const
    {
        return m_pages[m_pageStart[codePoint / kPageSize] + codePoint % kPageSize];
    }

    // The record of a code point up to U+10FFFF, which is then listed. The reference is good until
    // the next insert.
    UnicodeCharInfo& insert(std::uint32_t codePoint);

    // In the order of the sorted table entries; the span is good until the next mapping is set.
    std::span<const CharMapping> mappings(const UnicodeCharInfo& info) const
    {
        return {m_mappings.data() + info.ulFirstMapping, info.usMappingCount};
    }

    // The one mapping of a record with ucICSFlag.
    CharMapping icsMapping(const UnicodeCharInfo& info) const
    {
        return m_mappings[info.ulFirstMapping];
    }

    // Replace the mappings of a listed code point, by at least one or by that of an internal set.
    void setMappings(std::uint32_t codePoint, std::span<const CharMapping> mappings);
    void setICSMapping(std::uint32_t codePoint, CharMapping mapping);

    // Builds the direct tables; nothing may be added afterwards.
    void finish();

    // The direct characters of the table with a command parameter; null without such characters.
    const DirectTable* directTable(std::uint8_t ucTableParam) const
    {
        const std::uint16_t index = m_directIndex[ucTableParam];
        return index == 0 ? nullptr : &m_directTables[index - std::size_t{1}];
    }

private:
    static constexpr std::size_t kPageSize = 256;

    std::array<std::uint32_t, (kMaxCodePoint + 1) / kPageSize> m_pageStart{};  // in m_pages
    std::vector<UnicodeCharInfo> m_pages;
    std::vector<CharMapping> m_mappings;
    std::vector<std::uint32_t> m_mapped;  // code points with mappings, up to finish()
    // Index plus 1 in m_directTables, by command parameter; 0 without a direct table.
    std::array<std::uint16_t, 256> m_directIndex{};
    std::vector<DirectTable> m_directTables;
};

// A row of the decomposition table: the composed character and its components.
struct DecompEntry {
    std::uint32_t firstComponent;  // the sort key; 0 when the row has no component
    std::uint32_t composed;
    std::uint32_t componentStart;
    std::uint32_t componentCount;
};

class DecompositionTable {
public:
    // Makes memory for `rows` rows, but no more than the Unicode database has. Throws
    // std::bad_alloc, as append and finish do.
    void reserve(std::size_t rows);

    void append(std::uint32_t composed, std::span<const std::uint32_t> components);

    // Sorts by first component and indexes the spacing forms. mappingSize is the largest number of
    // components.
    void finish(std::uint8_t mappingSize);

    std::size_t size() const { return m_rows.size(); }

    std::span<const DecompEntry> rows() const { return m_rows; }

    // All rows whose first component is the code point, in table order.
    std::span<const DecompEntry> startingWith(std::uint32_t codePoint) const;

    // Component i, counted from 0; 0 after the last one.
    std::uint32_t component(const DecompEntry& row, std::size_t i) const
    {
        return i < row.componentCount ? m_components[row.componentStart + i] : 0;
    }

    // A row U+0020 + mark. Its composed character, such as U+00B4 for U+0301, shows the mark on its
    // own and is called the mark's spacing form.
    struct SpacingForm {
        std::uint32_t mark;
        std::uint32_t composed;
    };

    std::span<const SpacingForm> spacingForms() const { return m_spacingForms; }

    // The index of the mark's first entry in spacingForms(), or their number if it has none.
    std::size_t findSpacingForm(std::uint32_t mark) const;

private:
    std::vector<DecompEntry> m_rows;
    std::vector<std::uint32_t> m_components;
    std::vector<SpacingForm> m_spacingForms;  // in ascending order of marks
};

struct CharacterTables {
    CodePointTable unicodeTable;
    DecompositionTable decompTable;
};

}  // namespace ruvo
