// kestrix-disp which: the code tables and sets that the characters of a text come from.
#include "converter/RuvoConverter.h"
#include "program/commands/Commands.h"
#include "program/commands/Files.h"
#include "program/profile/CharacterReport.h"
#include "program/stream/Rendering.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <stdexcept>

namespace {

struct Options {
    std::string text;
    ProfileOptions profile;
};

class OpenHandle {
public:
    explicit OpenHandle(const ProfileOptions& profile)
        : m_handle(RuvoOpenHandle(bytes(profile.device), profile.device.size(),
                                  bytes(profile.setting), profile.setting.size()))
    {
        if (m_handle < 0) {
            throw std::runtime_error(openFailure(profile, m_handle));
        }
    }
    ~OpenHandle() { RuvoCloseHandle(m_handle); }
    OpenHandle(const OpenHandle&) = delete;
    OpenHandle& operator=(const OpenHandle&) = delete;

    short number() const { return m_handle; }

private:
    static const unsigned char* bytes(const std::string& text)
    {
        return reinterpret_cast<const unsigned char*>(text.data());
    }

    short m_handle;
};

int which(const Options& options)
{
    const OpenHandle handle(options.profile);
    writeFile("-", reportCharacters(options.text, handle.number(), ProfileTables(options.profile)));
    return kDone;
}

}  // namespace

Command whichCommand(CLI::App& program)
{
    const auto options = std::make_shared<Options>();
    CLI::App* const arguments = program.add_subcommand(
        "which", "Says of each character of a text in which code table or set it is sent, or that "
                 "the display has none for it");
    arguments->add_option("TEXT", options->text, "The text, in UTF-8")->required()->type_name("");
    options->profile.addTo(*arguments);
    return {arguments, [options] { return which(*options); }};
}
