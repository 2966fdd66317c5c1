#include "program/commands/PictureOptions.h"

#include "program/commands/LintOptions.h"
#include "program/text/CharacterText.h"

#include <CLI/CLI.hpp>

#include <ctime>
#include <iostream>
#include <string_view>

#include <langinfo.h>
#include <locale.h>

namespace {

// Whether the user's locale has UTF-8. One that is not installed counts as the locale C.
bool localeHasUtf8()
{
    const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr);
    if (locale == nullptr) {
        return false;
    }
    const bool utf8 = std::string_view(nl_langinfo_l(CODESET, locale)) == "UTF-8";
    freelocale(locale);
    return utf8;
}

std::string localTime(Milliseconds later)
{
    const std::time_t time = std::time(nullptr) + later / 1000;
    std::tm fields{};
    char text[16];
    return (localtime_r(&time, &fields) != nullptr) &&
                   std::strftime(text, sizeof text, "%H:%M", &fields) != 0
               ? text
               : "00:00";
}

// The two digits at a place of HH:MM.
int numberAt(const std::string& time, std::size_t place)
{
    return (time[place] - '0') * 10 + time[place + 1] - '0';
}

// "" for a time of the form HH:MM, else a message.
std::string checkTime(const std::string& time)
{
    const bool valid = time.size() == 5 && time[2] == ':' &&
                       time.find_first_not_of("0123456789:") == std::string::npos &&
                       time.rfind(':') == 2 && time.find(':') == 2 && numberAt(time, 0) < 24 &&
                       numberAt(time, 3) < 60;
    return valid ? "" : "a time is HH:MM, not " + time;
}

}  // namespace

void PictureOptions::addTo(CLI::App& arguments)
{
    addDisplayOptions(arguments, size, origin);
    arguments
        .add_option("--clock", clock, "Time that the clock shows; the local time if not given")
        ->check(checkTime)
        ->type_name("HH:MM");
    arguments.add_flag("--ascii", ascii, "Draw the frame in ASCII, as in a locale without UTF-8");
}

std::string PictureOptions::clockAfter(Milliseconds time) const
{
    constexpr Milliseconds kMinute = 60'000;
    if (clock.empty()) {
        return localTime(time);
    }
    const Milliseconds minutes =
        (60 * numberAt(clock, 0) + numberAt(clock, 3) + time / kMinute) % (24 * 60);
    char text[16];
    std::snprintf(text, sizeof text, "%02d:%02d", static_cast<int>(minutes / 60),
                  static_cast<int>(minutes % 60));
    return text;
}

Frame PictureOptions::frame() const
{
    return ascii || !localeHasUtf8() ? Frame::ascii : Frame::lines;
}

std::string checkSeconds(const std::string& text)
{
    constexpr double kLongest = 1e9;
    double seconds = 0;
    // "nan" is a number to the library, and within any range.
    const bool valid =
        CLI::detail::lexical_cast(text, seconds) && seconds >= 0 && seconds <= kLongest;
    return valid ? ""
                 : "a number of seconds from 0 to 1000000000 is needed, not " + printable(text);
}

void tellIgnored(const VirtualDisplay::Ignored& ignored)
{
    const auto [count, first] = ignored;
    if (count != 0) {
        std::cerr << "kestrix-disp: without effect on this display: " << count
                  << (count == 1 ? " command" : " commands") << ", the first at offset " << std::hex
                  << first << std::dec << " (hex); explain says what it is\n";
    }
}
