// Judges the markup of elements: names, attributes, values and text in the wrong place.
#pragma once

#include "program/lint/CarriedElement.h"
#include "program/lint/DocumentLint.h"
#include "program/stream/CommandStream.h"

// Appends the findings of the element itself and of what it holds, but not those of elements in it
// that are carried out by themselves.
void lintMarkup(CarriedElement& element, ByteSpan bytes, std::vector<LintFinding>& findings);
