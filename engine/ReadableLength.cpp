#include "ReadableLength.h"

#include <algorithm>
#include <array>

namespace {

// What the XML declaration's "<" looks like in its encoding decides how wide characters are, before
// anything is known of the encoding itself (XML 1.0, appendix F).
struct Layout {
    std::string_view start;
    std::size_t width;   // bytes a character of markup
    std::size_t offset;  // of the byte that tells it
    bool ebcdic;
};

constexpr Layout layouts[] = {
    {{"\0\0\0<", 4}, 4, 3, false},      {{"<\0\0\0", 4}, 4, 0, false},
    {{"\0\0\xFE\xFF", 4}, 4, 3, false}, {{"\xFF\xFE\0\0", 4}, 4, 0, false},
    {{"\0<", 2}, 2, 1, false},          {{"<\0", 2}, 2, 0, false},
    {"\xFE\xFF", 2, 1, false},          {"\xFF\xFE", 2, 0, false},
    {"\x4C\x6F\xA7\x94", 1, 0, true},   {"", 1, 0, false},
};

// The characters of markup that all code pages of EBCDIC have at one place. Its brackets and "!"
// wander, so that there a comment, a section and a document type count like a tag.
constexpr std::array<char, 256> fromEbcdic = [] {
    std::array<char, 256> characters{};
    characters[0x4C] = '<';
    characters[0x6E] = '>';
    characters[0x6F] = '?';
    characters[0x7D] = '\'';
    characters[0x7F] = '"';
    return characters;
}();

// The document's characters, as far as markup is made of them; NUL for others.
class Characters {
public:
    explicit Characters(std::string_view document)
        : document_(document), layout_(*std::ranges::find_if(layouts, [&](const Layout& layout) {
              return document.starts_with(layout.start);
          }))
    {
    }

    std::size_t size() const { return document_.size() / layout_.width; }
    std::size_t byteOffset(std::size_t i) const { return i * layout_.width; }

    char operator[](std::size_t i) const
    {
        const std::string_view bytes = document_.substr(i * layout_.width, layout_.width);
        for (std::size_t k = 0; k < layout_.width; ++k) {
            if (k != layout_.offset && bytes[k] != '\0') {
                return '\0';
            }
        }
        const char byte = bytes[layout_.offset];
        return layout_.ebcdic ? fromEbcdic[static_cast<unsigned char>(byte)] : byte;
    }

    bool hasAt(std::size_t i, std::string_view text) const
    {
        for (std::size_t k = 0; k < text.size(); ++k) {
            if (i + k >= size() || (*this)[i + k] != text[k]) {
                return false;
            }
        }
        return true;
    }

    // Where the text next begins, from i on; size() when it does not.
    std::size_t find(std::size_t i, std::string_view text) const
    {
        if (layout_.width == 1 && !layout_.ebcdic) {
            return std::min(document_.find(text, i), size());
        }
        while (i < size() && !hasAt(i, text)) {
            ++i;
        }
        return i;
    }

private:
    std::string_view document_;
    const Layout& layout_;
};

// Markup whose length does not matter: text to the reader, up to its end.
struct Passage {
    std::string_view begin;
    std::string_view end;
};

constexpr Passage passages[] = {{"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}};

// The passage that begins at i; null when none does.
const Passage* passageAt(const Characters& characters, std::size_t i)
{
    const auto* const passage = std::ranges::find_if(
        passages, [&](const Passage& candidate) { return characters.hasAt(i, candidate.begin); });
    return passage == std::end(passages) ? nullptr : passage;
}

// Behind the tag or document type that begins at i; size() without an end. Stops looking when it is
// too long. In quotes and passages nothing counts, in brackets no ">".
std::size_t endOfMarkup(const Characters& characters, std::size_t i)
{
    const std::size_t last = std::min(characters.size() - i, longestMarkup + 1) + i;
    char quote = '\0';
    bool inBrackets = false;
    while (++i < last) {
        const char c = characters[i];
        if (quote != '\0') {
            quote = c == quote ? '\0' : quote;
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (const Passage* const passage = passageAt(characters, i)) {
            i = characters.find(i + passage->begin.size(), passage->end);
        } else if (c == '[' || c == ']') {
            inBrackets = c == '[';
        } else if (c == '>' && !inBrackets) {
            return i + 1;
        }
    }
    return i;
}

}  // namespace

std::size_t readableLength(std::string_view document)
{
    if (document.size() <= longestMarkup) {
        return document.size();
    }
    const Characters characters(document);
    std::size_t i = 0;
    while ((i = characters.find(i, "<")) < characters.size()) {
        // A tag ends in front of the next "<", wherever that is.
        const char kind = i + 1 < characters.size() ? characters[i + 1] : '\0';
        const std::size_t next = characters.find(i + 1, "<");
        if (kind != '!' && kind != '?' && next - i <= longestMarkup) {
            i = next;
            continue;
        }
        if (const Passage* const passage = passageAt(characters, i)) {
            i = characters.find(i + passage->begin.size(), passage->end);
            continue;
        }
        const std::size_t end = endOfMarkup(characters, i);
        if (end - i > longestMarkup) {
            return characters.byteOffset(i);
        }
        i = end;
    }
    return document.size();
}
