// What a display shows in place of characters that it lacks: something that reads like them.
#pragma once

#include "program/new-profile/ProfilePlan.h"

#include <set>
#include <vector>

struct Substitute {
    char32_t character;  // that the display lacks
    char32_t shown;      // one of its tables
};

// The substitutes for a display whose code tables have the characters `tables`, and whose national
// sets have the characters `sets`: in ascending order, one for each character that is in neither
// but has something readable in a table. docs/decisions.md has the order of preference.
std::vector<Substitute> substitutesFor(const std::set<char32_t>& tables,
                                       const std::set<char32_t>& sets);

// Adds files for them to the tables: each goes to the table with the lowest parameter that has what
// is shown. No table may have a character twice: then texts of the characters that the plan has
// without them are sent as before. Throws UsageError if these are more files than a profile can
// have.
void addSubstitutes(ProfilePlan& plan);
