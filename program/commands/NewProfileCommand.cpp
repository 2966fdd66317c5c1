// kestrix-disp new-profile: makes the profile of a display out of a description in arguments.
#include "program/check/ProfileCheck.h"
#include "program/commands/Commands.h"
#include "program/commands/Files.h"
#include "program/new-profile/LanguageReport.h"
#include "program/new-profile/ProfileDescription.h"
#include "program/new-profile/ProfileFiles.h"
#include "program/new-profile/ProfileFolder.h"
#include "program/new-profile/ProfilePlan.h"
#include "program/new-profile/TableSource.h"
#include "program/text/CharacterText.h"
#include "program/text/Counted.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <iostream>
#include <memory>
#include <set>

namespace {

namespace fs = std::filesystem;

struct Options {
    ProfileDescription display;
    std::string folder;
    std::string unicodeData;
    std::string path;
    std::string logPath = "log";
    std::string id;
    std::vector<std::string> languages;
    bool list = false;
};

UnicodeDatabase database(const Options& options, const ProfilePlan& plan)
{
    const std::string usual = "/usr/share/unicode/UnicodeData.txt";
    const std::string file = options.unicodeData.empty() ? usual : options.unicodeData;
    const bool fromICU = options.unicodeData.empty() && !fs::exists(usual);
    return reducedDatabase(fromICU ? databaseOfICU() : readFile(file), printable(file), plan);
}

std::string tableLines(const ProfilePlan& plan)
{
    std::string text;
    for (const CodeFile& table : plan.tables) {
        if (table.substitutes) {
            continue;
        }
        text += "table " + std::to_string(table.parameter) + ": code page " +
                std::to_string(table.codePage) + ", " +
                counted(table.characters.size(), "character") + ", " + table.fileName + '\n';
    }
    return text;
}

// How much of the writing of languages the display shows: as itself, or so that it can be read.
std::string languageLines(const ProfilePlan& plan, const std::vector<std::string>& languages)
{
    const std::set<char32_t> asThemselves = plan.characters();
    std::set<char32_t> readable = plan.substituted();
    readable.merge(plan.marks());
    std::string text;
    for (const std::string& language : languages) {
        text += reportLanguage(language, [&](char32_t character) {
            return asThemselves.contains(character) ? Showing::exactly
                   : readable.contains(character)   ? Showing::readably
                                                    : Showing::missing;
        });
    }
    return text;
}

int makeProfile(const Options& options)
{
    if (options.list) {
        writeFile("-", codePageList());
        return kDone;
    }
    std::string folder = options.folder;
    while (folder.size() > 1 && folder.ends_with('/')) {
        folder.pop_back();
    }
    Notes notes;
    ProfilePlan plan = planProfile(options.display, readFile, notes);
    std::error_code ignored;
    const fs::path absolute = fs::absolute(folder, ignored).lexically_normal();
    OutsideFile idFile;
    if (!options.path.empty()) {
        plan.path = options.path;
    } else if (!options.id.empty()) {
        plan.path = absolute.string();
    }
    plan.logPath = options.logPath;
    checkPath("--path", plan.path);
    checkPath("--log-path", plan.logPath);
    if (!options.id.empty()) {
        checkName("--id", options.id);
        idFile = {fs::path(folder).parent_path() / (options.id + ".txt"), idFileText(plan.path)};
    }
    const std::string languages = languageLines(plan, options.languages);
    writeProfileFolder(folder, profileFiles(plan, database(options, plan)), idFile);

    for (const std::string& note : notes) {
        std::cerr << "kestrix-disp: " << note << '\n';
    }
    const CheckedProfile checked = checkProfile(folder, plan.device, folder);
    writeFile("-", tableLines(plan) + languages + reportText(checked, plan.device));
    return checked.status == 0 ? kDone : kWrongInput;
}

int newProfile(const Options& options)
{
    try {
        return makeProfile(options);
    } catch (const UsageError& error) {
        std::cerr << "kestrix-disp: " << printable(error.what()) << '\n';
        return kUsage;
    }
}

}  // namespace

Command newProfileCommand(CLI::App& program)
{
    const auto options = std::make_shared<Options>();
    CLI::App* const arguments = program.add_subcommand(
        "new-profile",
        "Makes the device profile of a display in a new folder, out of the code "
        "pages and sets that the display's manual names, and says what check says of "
        "it");
    CLI::Option* const folder =
        arguments->add_option("DIR", options->folder, "The folder to make")
            ->type_name("")
            ->check([](const std::string& path) { return path.empty() ? "is empty" : ""; });
    arguments
        ->add_option("--device", options->display.device, "Name of the device information file")
        ->type_name("NAME")
        ->capture_default_str();
    const auto repeated = [arguments](const std::string& name, std::vector<std::string>& values,
                                      const std::string& words, const std::string& form) {
        return arguments->add_option(name, values, words)->type_name(form)->allow_extra_args(false);
    };
    CLI::Option* const tables =
        repeated("--table", options->display.tables,
                 "A code table: the n of ESC t n, and a single-byte code page of ICU or a file",
                 "PARAM=SOURCE");
    repeated("--map", options->display.maps, "A byte (hex) of a table shows this character",
             "PARAM:BYTE=U+XXXX");
    repeated("--unmap", options->display.unmaps, "A byte (hex) of a table shows nothing",
             "PARAM:BYTE");
    repeated("--code-page", options->display.codePages,
             "The number of a table's code page, if it is not the one in the name of its source",
             "PARAM=NUMBER");
    repeated("--set", options->display.sets,
             "A set of national characters: the n of ESC R n, and the country or a file",
             "PARAM=NAME|FILE");
    arguments
        ->add_option("--set-default", options->display.defaultSet,
                     "The n of ESC R n after power-on")
        ->type_name("PARAM")
        ->capture_default_str();
    arguments->add_option("--missing", options->display.missing, "Shown for what the display lacks")
        ->type_name("CHARACTER")
        ->capture_default_str();
    arguments
        ->add_option("--unicode-data", options->unicodeData,
                     "UnicodeData.txt of the Unicode Character Database; if not given, that of the "
                     "system, else ICU's data")
        ->type_name("FILE");
    arguments
        ->add_option(
            "--path", options->path,
            "The folder in which programs will find the profile; if not given, the current "
            "one, or with --id DIR")
        ->type_name("PATH");
    arguments->add_option("--log-path", options->logPath, "The folder of the operation log")
        ->type_name("PATH")
        ->capture_default_str();
    arguments->add_option("--id", options->id, "Also writes the ID file NAME.txt, beside DIR")
        ->type_name("NAME");
    repeated("--languages", options->languages,
             "Says how much of the writing of these languages the display shows", "LANGUAGE,...")
        ->delimiter(',');
    arguments->add_flag("--fallback", options->display.fallback,
                        "Show what reads like them for characters that no table has: o for \u0151");
    CLI::Option* const list = arguments->add_flag(
        "--list", options->list, "Lists the code pages that ICU has, and does nothing else");
    arguments->callback([folder, tables, list] {
        if (list->count() == 0) {
            for (const CLI::Option* const needed : {folder, tables}) {
                if (needed->count() == 0) {
                    throw CLI::RequiredError(needed->get_name());
                }
            }
        }
    });
    return {arguments, [options] { return newProfile(*options); }};
}
