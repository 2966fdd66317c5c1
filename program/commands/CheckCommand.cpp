// kestrix-disp check: the faults of a device profile, line by line.
#include "converter/RuvoConverter.h"
#include "program/check/ProfileCheck.h"
#include "program/commands/Commands.h"
#include "program/commands/Files.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>
#include <string>

namespace {

struct Options {
    std::string directory;
    std::string device = "default";
    bool strict = false;
};

int check(const Options& options)
{
    const CheckedProfile profile = checkProfile(options.directory, options.device);
    writeFile("-", reportText(profile, options.device));
    const bool warned =
        std::ranges::count(profile.findings, Finding::Kind::warning, &Finding::kind) != 0;
    return profile.status != RUVO_OK || (options.strict && warned) ? kWrongInput : kDone;
}

// An open drops unprintable bytes of a name and refuses a longer name. "" for a good name.
std::string deviceNameFault(const std::string& name)
{
    const bool good = !name.empty() && name.size() <= 127 && std::ranges::all_of(name, [](char c) {
        return c >= 0x20;  // bytes above 0x7F are negative
    });
    return good ? "" : "a device name has 1 to 127 printable ASCII characters";
}

}  // namespace

Command checkCommand(CLI::App& program)
{
    const auto options = std::make_shared<Options>();
    CLI::App* const arguments = program.add_subcommand(
        "check",
        "Reports every fault of a device profile, and what is legal but hardly meant, as "
        "\"FILE:LINE: error: RULE (status CODE)\" or \"FILE:LINE: warning: ...\", and whether "
        "the profile opens. The exit status is 1 if it does not");
    arguments->add_option("PROFILE-DIR", options->directory, "The folder that holds HalvoSet.txt")
        ->required()
        ->check([](const std::string& path) { return path.empty() ? "is empty" : ""; });
    arguments->add_option("--device", options->device, "Device information file of the profile")
        ->type_name("NAME")
        ->capture_default_str()
        ->check(deviceNameFault);
    arguments->add_flag("--strict", options->strict, "Exit with status 1 for a warning, too");
    return {arguments, [options] { return check(*options); }};
}
