#include "Rendering.h"

#include "StatusText.h"
#include "converter/RuvoConverter.h"
#include "converter/SettingsFiles.h"
#include "engine/KestrixDispEngine.h"

#include <CLI/CLI.hpp>

#include <libxml/xmlerror.h>

#include <iostream>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace {

// Hears what the XML reader says, which parse keeps to itself.
class XmlErrors {
public:
    XmlErrors() { xmlSetStructuredErrorFunc(this, hear); }
    ~XmlErrors() { xmlSetStructuredErrorFunc(nullptr, nullptr); }
    XmlErrors(const XmlErrors&) = delete;
    XmlErrors& operator=(const XmlErrors&) = delete;

    // The reader could not go on.
    bool ended() const { return m_ended; }

private:
    static void hear(void* errors, xmlErrorPtr error)
    {
        const bool fatal = error->level == XML_ERR_FATAL;
        std::string_view message = error->message ? error->message : "XML error";
        message = message.substr(0, message.find_last_not_of('\n') + 1);
        std::cerr << "kestrix-disp: line " << error->line << ": " << message
                  << (fatal ? "; the document ends there\n" : "\n");
        static_cast<XmlErrors*>(errors)->m_ended |= fatal;
    }

    bool m_ended = false;
};

}  // namespace

void ProfileOptions::addTo(CLI::App& arguments)
{
    arguments.add_option("--device", device, "Device information file of the profile")
        ->type_name("NAME")
        ->capture_default_str();
    arguments
        .add_option("--setting", setting,
                    "ID file that names the profile's folder; without such a file the profile of "
                    "the current folder is used")
        ->type_name("ID")
        ->capture_default_str();
}

std::string profileFolder(const ProfileOptions& profile)
{
    std::string folder;
    const bool named =
        ruvo::Lutm_ModuleFileFullPath(ruvo::kModuleRoot, profile.setting, folder) == 0;
    return named ? folder : "";
}

std::string openFailure(const ProfileOptions& profile, short status)
{
    std::string text = "cannot open device \"" + profile.device + "\" with setting \"" +
                       profile.setting + "\": status " + std::to_string(status) + ", " +
                       std::string(statusText(status));
    if (status == RUVO_SETTINGS_MISSING) {
        const std::string folder = profileFolder(profile);
        const std::string idFile = ruvo::kModuleRoot + profile.setting + ".txt";
        text += folder.empty() ? " in the current folder, as " + idFile + " names no other"
                               : " in " + folder + ", which " + idFile + " names";
    }
    return text;
}

CommandBytes renderDocument(const std::string& document, const ProfileOptions& profile)
{
    KestrixDispEngine engine;
    const XmlErrors errors;
    std::string bytes = engine.parse(document, profile.device, profile.setting);
    const short status = KestrixDispEngine::getUCHandle();
    if (status < 0)
        throw std::runtime_error(openFailure(profile, status));
    return {std::move(bytes), !errors.ended()};
}
