// Judges attribute values as the library reads them.
#pragma once

#include "program/lint/Elements.h"

#include <span>
#include <string>
#include <string_view>

// What is wrong with a value: "is none of true, false, 1, 0 and counts as false"; "" if nothing is.
std::string valueFault(const AttributeRow& row, const std::string& value);

// The one of the names that was probably meant, or "".
std::string_view nearest(std::string_view name, std::span<const std::string_view> names);
