// How much of a language's writing a display shows, by the exemplar characters of the CLDR in ICU.
#pragma once

#include <functional>
#include <string>

enum class Showing { exactly, readably, missing };

// How the display shows a character.
using ShowingOf = std::function<Showing(char32_t)>;

// A line for the letters, in both cases, and one for the punctuation of the language, such as
// "uk: 68 letters: 67 exactly; 1 missing: ʼ". Throws UsageError if ICU does not know the language.
std::string reportLanguage(const std::string& language, const ShowingOf& showing);
