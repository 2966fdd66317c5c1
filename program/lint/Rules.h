// The rules of lint: one row each. The documentation shows this table as `lint --rules` prints it.
#pragma once

#include <string_view>

// A note is about what a reader hardly misses: it changes no exit status, and render says none.
enum class Level { note, warning, error };

enum class Rule {
    file,
    notWellFormed,
    limit,
    unknownElement,
    unknownAttribute,
    value,
    noEffect,
    missingAttribute,
    strayText,
    nested,
    entity,
    command,
    missingCharacter,
    substitute,
    lineBreak,
    rejectedText,
    wrap,
    overflow,
    overwritten,
    offDisplay,
    undefinedWindow,
    openWindow,
    language,
    schema,
};

struct RuleRow {
    Rule rule;
    std::string_view name;
    Level level;
    std::string_view words;
};

inline constexpr RuleRow kRules[] = {
    {Rule::file, "file", Level::error, "the file cannot be read"},
    {Rule::notWellFormed, "not-well-formed", Level::error,
     "the document ends there, as it is no XML from there on"},
    {Rule::limit, "limit", Level::error, "the document ends at a limit of the library"},
    {Rule::unknownElement, "unknown-element", Level::error, "no element of display documents"},
    {Rule::unknownAttribute, "unknown-attribute", Level::error,
     "the element has no such attribute"},
    {Rule::value, "value", Level::error,
     "a value that is not understood, or out of range, and what it counts as"},
    {Rule::noEffect, "no-effect", Level::error,
     "attributes that do nothing, alone or together with others"},
    {Rule::missingAttribute, "missing-attribute", Level::error,
     "the element does nothing without an attribute"},
    {Rule::strayText, "stray-text", Level::error, "text where none is shown"},
    {Rule::nested, "nested", Level::error, "an element inside of text, marquee or command"},
    {Rule::entity, "entity", Level::error, "an entity of the document type, which gives nothing"},
    {Rule::command, "command", Level::error,
     "hexadecimal that ends early, or in the middle of a display command"},
    {Rule::missingCharacter, "missing-character", Level::warning,
     "a character that does not show as itself; told once a text"},
    {Rule::substitute, "substitute", Level::note,
     "a character that shows as another one, which reads like it; told once a text"},
    {Rule::lineBreak, "line-break", Level::warning, "a line break or TAB in a text"},
    {Rule::rejectedText, "rejected-text", Level::error, "a text of which nothing is shown"},
    {Rule::wrap, "wrap", Level::warning, "a text that runs on into another line of the display"},
    {Rule::overflow, "overflow", Level::error,
     "a text that is longer than its place, and runs over itself or another text"},
    {Rule::overwritten, "overwritten", Level::error,
     "a later element takes the place of characters"},
    {Rule::offDisplay, "off-display", Level::error,
     "a position or window that the display does not have"},
    {Rule::undefinedWindow, "undefined-window", Level::error, "a window that is not defined"},
    {Rule::openWindow, "open-window", Level::warning,
     "a window that is selected at the end, so that the next document goes there"},
    {Rule::language, "language", Level::warning,
     "the display's Japanese character set is selected at the end"},
    {Rule::schema, "schema", Level::warning, "something else that the schema does not allow"},
};

constexpr std::string_view nameOf(Level level)
{
    constexpr std::string_view names[] = {"note", "warning", "error"};
    return names[static_cast<int>(level)];
}

constexpr const RuleRow& rowOf(Rule rule)
{
    for (const RuleRow& row : kRules) {
        if (row.rule == rule) {
            return row;
        }
    }
    return kRules[0];
}
