#include "program/commands/StreamInput.h"

#include "program/commands/Files.h"
#include "program/text/CharacterText.h"
#include "program/text/HexText.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <exception>
#include <iostream>
#include <string_view>
#include <utility>

namespace {

// True for a character byte, TAB, CR or LF.
bool isTextByte(char c)
{
    return isText(static_cast<std::uint8_t>(c)) || c == '\n' || c == '\r' || c == '\t';
}

}  // namespace

bool isDocument(std::string_view bytes)
{
    if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) {
        return true;
    }
    if (bytes.starts_with("\xEF\xBB\xBF")) {
        bytes.remove_prefix(3);
    }
    if (bytes.starts_with(std::string_view("<\0", 2)) ||
        bytes.starts_with(std::string_view("\0<", 2))) {
        return true;
    }
    bytes.remove_prefix(std::min(bytes.find_first_not_of(" \t\r\n"), bytes.size()));
    if (bytes.starts_with("<?xml")) {
        return true;
    }
    const auto beginsName = [](char c) {
        return c == ':' || c == '_' || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
               static_cast<unsigned char>(c) >= 0x80;
    };
    const bool isMarkup = bytes.size() > 1 && bytes[0] == '<' &&
                          (bytes[1] == '?' || bytes[1] == '!' || beginsName(bytes[1]));
    return isMarkup && std::ranges::all_of(bytes, isTextByte);
}

void tellIfNoDocument(const std::string& bytes)
{
    if (!isDocument(bytes) && !std::ranges::all_of(bytes, isTextByte)) {
        std::cerr << "kestrix-disp: the input holds control codes and is no document; explain and "
                     "preview read command streams\n";
    }
}

CommandBytes renderInput(const std::string& bytes, const ProfileOptions& profile)
{
    CommandBytes commands = renderDocument(bytes, profile);
    if (!commands.whole) {
        tellIfNoDocument(bytes);
    }
    return commands;
}

void StreamInput::addTo(CLI::App& arguments)
{
    arguments
        .add_option(
            "FILE", file,
            "A command stream, raw or in hexadecimal, or a document; \"-\", or no FILE, is the "
            "standard input")
        ->type_name("");
    CLI::Option* const documentFlag =
        arguments.add_flag("--document", document, "FILE is a document, whatever it looks like");
    CLI::Option* const hexFlag =
        arguments.add_flag("--hex", hex, "FILE is hexadecimal text, such as render --hex writes");
    CLI::Option* const rawFlag = arguments.add_flag("--raw", raw, "FILE is raw bytes");
    hexFlag->excludes(documentFlag);
    rawFlag->excludes(documentFlag)->excludes(hexFlag);
    profile.addTo(arguments);
}

CommandBytes StreamInput::readStream() const
{
    std::string bytes = readFile(file);
    const bool detect = !document && !hex && !raw;
    if (document || (detect && isDocument(bytes))) {
        CommandBytes commands = renderInput(bytes, profile);
        if (detect && !commands.whole) {
            std::cerr
                << "kestrix-disp: the input was taken for a document; --raw reads it as it is\n";
        }
        return commands;
    }
    if (hex || (detect && isHexText(bytes))) {
        return {bytesOfHexText(bytes)};
    }
    if (detect && !bytes.empty() && std::ranges::all_of(bytes, isTextByte)) {
        std::cerr << "kestrix-disp: the input holds no command and is taken for text; --hex and "
                     "--document read it otherwise\n";
    }
    return {std::move(bytes)};
}

ProfileTables readTables(const ProfileOptions& profile)
{
    try {
        return ProfileTables(profile);
    } catch (const std::exception& error) {
        std::cerr << "kestrix-disp: " << printable(error.what()) << "; only ASCII is decoded\n";
        return {};
    }
}
