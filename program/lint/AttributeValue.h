// Judges attribute values as the library reads them.
#pragma once

#include "program/lint/Elements.h"

#include <string>

// What is wrong with a value: "is none of true, false, 1, 0 and counts as false"; "" if nothing is.
std::string valueFault(const AttributeRow& row, const std::string& value);

// The one of the names that was probably meant, or "". `names` is a range of string views.
std::string_view nearest(std::string_view name, const std::string_view* begin,
                         const std::string_view* end);
