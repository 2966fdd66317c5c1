// Judges what becomes of the characters of elements on the display.
#pragma once

#include "program/lint/CarriedElement.h"
#include "program/lint/DocumentLint.h"
#include "program/stream/CommandStream.h"

// Appends the findings. `elements` have their bytes in `stream`, in this order; `handle` is an open
// handle of the converter without buffered output.
void lintLayout(const std::vector<CarriedElement>& elements, ByteSpan stream,
                const ProfileTables& tables, const LintDisplay& display, short handle,
                std::vector<LintFinding>& findings);
