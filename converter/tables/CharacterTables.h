// What a handle knows of characters: their bytes in the display's tables and sets, their
// properties, and their decompositions.
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
    std::uint32_t ulFirstMapping;  // index of its first CharMapping
    std::uint16_t usMappingCount;  // translation tables that hold it
    std::uint8_t ucCombiningClass;
    std::uint8_t listed : 1;  // UnicodeData.txt has the code point
    std::uint8_t combiningMark : 1;
    std::uint8_t ucICSFlag : 1;  // its one mapping is that of an internal character set
};

// The characters of one translation table that need nothing but their byte while that table is in
// force: no combining mark, no character of an internal set. By code point up to U+FFFF.
class DirectTable {
public:
    DirectTable() : m_codes(kPageSize) {}

    static constexpr std::uint16_t kDirect = 0x100;  // flag beside the byte; without it, not plain

    static constexpr std::uint32_t kLast = 0xFFFF;

    // Code points below this one stand in one piece: those of one or two bytes in UTF-8.
    static constexpr std::uint32_t kFrontSize = 0x800;

    std::uint16_t front(std::uint32_t codePoint) const { return m_front[codePoint]; }

    std::uint16_t operator[](std::uint32_t codePoint) const
    {
        return codePoint < kFrontSize
                   ? m_front[codePoint]
                   : m_codes[m_page[codePoint / kPageSize] * kPageSize + codePoint % kPageSize];
    }

    // Enters a character, unless it is there already.
    void insert(std::uint32_t codePoint, std::uint8_t ucCode);

    // Finds the range of ASCII characters whose byte is their code point.
    void finish();
    std::uint8_t identityBegin() const { return m_identityBegin; }
    std::uint8_t identityEnd() const { return m_identityEnd; }  // behind the last one

private:
    static constexpr std::size_t kPageSize = 256;

    std::uint16_t& code(std::uint32_t codePoint);

    std::array<std::uint16_t, kFrontSize> m_front{};
    std::array<std::uint16_t, (kLast + 1) / kPageSize> m_page{};  // 0: a page without characters
    std::vector<std::uint16_t> m_codes;
    std::uint8_t m_identityBegin = 0;
    std::uint8_t m_identityEnd = 0;
};

// The records by code point. Pages of 256 code points; those without a record share page 0.
class CodePointTable {
public:
    CodePointTable() : m_pages(kPageSize) {}

    // Makes memory for the database and for as many mappings. More of both may come.
    void reserve(std::size_t mappings);

    // The record of a code point up to U+10FFFF; `listed` is 0 where there is none.
    const UnicodeCharInfo& operator[](std::uint32_t codePoint) const
    {
        return m_pages[m_pageStart[codePoint / kPageSize] + codePoint % kPageSize];
    }

    // The record of a code point up to U+10FFFF, made when there is none.
    UnicodeCharInfo& insert(std::uint32_t codePoint);

    std::span<const CharMapping> mappings(const UnicodeCharInfo& info) const
    {
        return {m_mappings.data() + info.ulFirstMapping, info.usMappingCount};
    }

    // The byte and the parameter of a record with ucICSFlag.
    CharMapping icsMapping(const UnicodeCharInfo& info) const
    {
        return m_mappings[info.ulFirstMapping];
    }

    // Of a code point that has a record.
    void setMappings(std::uint32_t codePoint, std::span<const CharMapping> mappings);
    void setICSMapping(std::uint32_t codePoint, CharMapping mapping);

    // Ends the building.
    void finish();

    // The plain characters of the table with a command parameter; null without such characters.
    const DirectTable* directTable(std::uint8_t ucTableParam) const
    {
        const std::uint16_t index = m_directIndex[ucTableParam];
        return index == 0 ? nullptr : &m_directTables[index - std::size_t{1}];
    }

private:
    static constexpr std::size_t kPageSize = 256;

    std::array<std::uint32_t, (kMaxCodePoint + 1) / kPageSize> m_pageStart{};
    std::vector<UnicodeCharInfo> m_pages;
    std::vector<CharMapping> m_mappings;
    std::vector<std::uint32_t> m_mapped;  // code points with mappings, while they are built
    std::array<std::uint16_t, 256> m_directIndex{};  // by command parameter, from 1
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
    // Makes memory for rows of the usual size, at most `rows`. More of both may come.
    void reserve(std::size_t rows);

    void append(std::uint32_t composed, std::span<const std::uint32_t> components);

    // Sorts by first component and indexes the spacing forms. mappingSize is the largest number of
    // components.
    void finish(std::uint8_t mappingSize);

    std::size_t size() const { return m_rows.size(); }

    std::span<const DecompEntry> rows() const { return m_rows; }

    // All rows whose first component is the code point, in table order.
    std::span<const DecompEntry> startingWith(std::uint32_t codePoint) const;

    // Component i, counted from 0; 0 behind the last one.
    std::uint32_t component(const DecompEntry& row, std::size_t i) const
    {
        return i < row.componentCount ? m_components[row.componentStart + i] : 0;
    }

    // The composed character of a row U+0020 + mark.
    struct SpacingForm {
        std::uint32_t mark;
        std::uint32_t composed;
    };

    std::span<const SpacingForm> spacingForms() const { return m_spacingForms; }

    // The index of the first row of a mark; the number of spacing forms without one.
    std::size_t findSpacingForm(std::uint32_t mark) const;

private:
    std::vector<DecompEntry> m_rows;
    std::vector<std::uint32_t> m_components;
    std::vector<SpacingForm> m_spacingForms;  // by mark
};

struct CharacterTables {
    CodePointTable unicodeTable;
    DecompositionTable decompTable;
};

}  // namespace ruvo
