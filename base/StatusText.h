// What the converter's status codes mean, in words for messages.
#pragma once

#include "converter/RuvoConverter.h"

#include <algorithm>
#include <iterator>

struct StatusText {
    short status;
    const char* text;
};

inline constexpr StatusText kStatusTexts[] = {
    {RUVO_OK, "done"},
    {RUVO_INVALID_HANDLE, "the handle is not open"},
    {RUVO_INVALID_ARGUMENT, "an argument is missing, empty or too long"},
    {RUVO_FILE_NOT_OPENED, "a file of the device profile cannot be opened"},
    {RUVO_BUFFER_TOO_SMALL, "the buffer is too small"},
    {RUVO_NO_FREE_HANDLE, "as many handles are open as \"MaximumHandle\" allows"},
    {RUVO_OUT_OF_MEMORY, "memory is exhausted"},
    {RUVO_SETTINGS_MISSING, "the settings file HalvoSet.txt is missing"},
    {RUVO_SETTINGS_INVALID, "the settings file HalvoSet.txt is invalid"},
    {RUVO_DEVICE_INFO_MISSING, "the device information file is missing"},
    {RUVO_DEVICE_INFO_INVALID, "the device information file is invalid"},
    {RUVO_TABLE_MISSING, "a translation table file is missing"},
    {RUVO_ICS_MISSING, "an internal character set file is missing"},
    {RUVO_UNICODE_DATA_MISSING, "UnicodeData.txt is missing"},
    {RUVO_TABLE_INVALID, "a translation table file is invalid"},
    {RUVO_ICS_INVALID, "an internal character set file is invalid"},
    {RUVO_ODD_LENGTH, "UTF-16 text has an odd number of bytes"},
    {RUVO_UNPAIRED_SURROGATE, "UTF-16 text has an unpaired surrogate"},
    {RUVO_MALFORMED_UTF8, "UTF-8 text is malformed"},
    {RUVO_INPUT_TOO_LONG, "the text is too long and has been cut"},
    {RUVO_OUTPUT_FULL, "the output is full"},
};

inline const char* statusText(short status)
{
    const auto* const row = std::ranges::find(kStatusTexts, status, &StatusText::status);
    return row != std::end(kStatusTexts) ? row->text : "unknown status";
}
