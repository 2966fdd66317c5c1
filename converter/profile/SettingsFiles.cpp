#include "converter/profile/SettingsFiles.h"

#include "converter/RuvoConverter.h"
#include "converter/profile/FileSections.h"
#include "converter/profile/LineReader.h"

namespace ruvo {

namespace {

constexpr char kComment = ';';
constexpr long kMaxPathLength = 200;
constexpr long kMaxFileNameLength = 255;

// Where values are stored: a field of the settings, of the device information, or of its table or
// character set at hand.

template <class Field>
void assign(Field& field, long number)
{
    field = static_cast<Field>(number);  // inside the key's range
}

template <auto field>
void inSettings(SectionTarget& target, long number)
{
    assign(target.settings.*field, number);
}

template <auto field>
void pathInSettings(SectionTarget& target, std::string_view path)
{
    (target.settings.*field).assign(path).push_back('/');
}

template <auto field>
void inDeviceInfo(SectionTarget& target, long number)
{
    assign(target.deviceInfo->*field, number);
}

template <auto list, auto field>
void inEntry(SectionTarget& target, long number)
{
    assign((target.deviceInfo->*list)[target.index].*field, number);
}

template <auto list, auto field>
void nameInEntry(SectionTarget& target, std::string_view name)
{
    (target.deviceInfo->*list)[target.index].*field = name;
}

// The tables of keys, in the order in which a line is searched for them.

using Settings = HandleSettings;

constexpr SectionKey kSettingsKeys[] = {
    numberKey("EncodeTypeDefault", 0, 3, inSettings<&Settings::sEncodeType>),
    numberKey("MissingCharacterCode", 32, 255, inSettings<&Settings::ucMissingCharacterCode>),
    textKey("DeviceInfoPath", kMaxPathLength, pathInSettings<&Settings::szDeviceInfoPath>),
    numberKey("MaximumHandle", 1, 254, inSettings<&Settings::sMaximumHandle>),
    numberKey("OutputBufferBlockSize", 5, 1000000000,
              inSettings<&Settings::ulOutputBufferBlockSize>),
    numberKey("OutputBufferBlockMax", 1, 255, inSettings<&Settings::ucOutputBufferBlockMax>),
};

constexpr SectionKey kLogKeys[] = {
    textKey("LogFilePath", kMaxPathLength, pathInSettings<&Settings::szLogFilePath>),
    numberKey("LogMaxSize", 1, 10, inSettings<&Settings::ucLogMaxSize>),
};

constexpr SectionKey kCommonKeys[] = {
    numberKey("MappingTableNumber", 1, kMaxTables, inSettings<&Settings::sMappingTableNumber>),
    numberKey("InternalCharacterSetNumber", 1, kMaxTables,
              inDeviceInfo<&DeviceInfo::sInternalCharacterSetNumber>),
    numberKey("ICSCommandDefault", 0, 255, inSettings<&Settings::ucICSCommandDefault>),
    numberKey("DecompositionClassNumber", 1, 0x110000,
              inSettings<&Settings::ulDecompositionClassNumber>),
    numberKey("GeneralCategorySize", 1, 255, inSettings<&Settings::ucGeneralCategorySize>),
    numberKey("CanonicalCombiningClassSize", 1, 255,
              inSettings<&Settings::ucCanonicalCombiningClassSize>),
    numberKey("BidiClassSize", 1, 255, inSettings<&Settings::ucBidiClassSize>),
    numberKey("DecompositionMappingSize", 1, 255,
              inSettings<&Settings::ucDecompositionMappingSize>),
};

constexpr SectionKey kTableKeys[] = {
    numberKey("CodePage", 0, 32767, inEntry<&DeviceInfo::astTable, &TableEntry::sCodePage>),
    numberKey("TableCommandParam", 0, 255,
              inEntry<&DeviceInfo::astTable, &TableEntry::ucTableCommandParam>),
    textKey("TableFileName", kMaxFileNameLength,
            nameInEntry<&DeviceInfo::astTable, &TableEntry::szTableFileName>),
};

constexpr SectionKey kICSKeys[] = {
    numberKey("ICSCommandParam", 0, 255,
              inEntry<&DeviceInfo::astICS, &ICSEntry::ucICSCommandParam>),
    textKey("ICSFileName", kMaxFileNameLength,
            nameInEntry<&DeviceInfo::astICS, &ICSEntry::szICSFileName>),
};

}  // namespace

int Lutm_ModuleFileFullPath(const std::string& root, const std::string& id, std::string& modulePath)
{
    LineReader reader;
    if (reader.open(root + id + ".txt", -1) != 0) {
        return -1;
    }
    constexpr std::string_view key = "ModulePath";
    std::string_view line;
    while (nextContentLine(reader, kComment, line)) {
        if (!line.starts_with(key)) {
            continue;
        }
        std::string_view value;
        if (!Lutm_ExistEqualCheck(line.substr(key.size()), value)) {
            return -1;
        }
        value = withoutLineBreak(value);
        if (value.empty()) {
            return -1;
        }
        modulePath.assign(value).push_back('/');
        return 0;
    }
    return -1;
}

short readSettingsFile(const std::string& modulePath, HandleSettings& settings,
                       ProfileListener* listener)
{
    ReportingFile file(listener);
    if (const short status =
            file.open(modulePath + "HalvoSet.txt", RUVO_SETTINGS_MISSING, RUVO_SETTINGS_INVALID)) {
        return status;
    }

    const SectionTarget target{settings, nullptr, 0};
    FixedSection settingsSection("[Settings]", kSettingsKeys, target, file);
    FixedSection logSection("[LOG]", kLogKeys, target, file);
    UnreadLines unread(file);

    // The line that ends [Settings] may be the header of [LOG]; the one that ends [LOG] is dropped.
    enum class State { outside, settings, log };
    State state = State::outside;
    const auto openAny = [&](std::string_view line) {
        if (settingsSection.open(line)) {
            return State::settings;
        }
        return logSection.open(line) ? State::log : State::outside;
    };
    std::string_view line;
    while (file.next(kComment, line)) {
        switch (state) {
        case State::outside:
            state = openAny(line);
            break;
        case State::settings:
            if (settingsSection.read(line)) {
                break;
            }
            if (settingsSection.endedBefore()) {
                state = openAny(line);
            } else {
                state = logSection.open(line) ? State::log : State::outside;
            }
            break;
        case State::log:
            if (!logSection.read(line)) {
                state = logSection.endedBefore() ? openAny(line) : State::outside;
            }
            break;
        }
        if (state == State::outside) {
            settingsSection.noteUnreadHeader(line);
            logSection.noteUnreadHeader(line);
            unread.tell(line, [] { return "[Settings], [LOG]"; });
        } else {
            unread.endRow();
        }
    }
    const bool settingsValid = settingsSection.finish();
    const bool logValid = logSection.finish();
    return settingsValid && logValid ? short{RUVO_OK} : short{RUVO_SETTINGS_INVALID};
}

short readDeviceInfoFile(const std::string& name, HandleSettings& settings, DeviceInfo& deviceInfo,
                         ProfileListener* listener)
{
    ReportingFile file(listener);
    if (const short status = file.open(settings.szDeviceInfoPath + name, RUVO_DEVICE_INFO_MISSING,
                                       RUVO_DEVICE_INFO_INVALID)) {
        return status;
    }

    const SectionTarget target{settings, &deviceInfo, 0};
    FixedSection common("[Common]", kCommonKeys, target, file);
    NumberedSections tables("Table", "MappingTableNumber", kTableKeys, target, file);
    NumberedSections sets("ICS", "InternalCharacterSetNumber", kICSKeys, target, file);
    UnreadLines unread(file);

    // The line that ends a part may be the first header of the next part, in the order [Common],
    // tables, character sets; any other header in its place is dropped.
    enum class State { outside, common, tables, sets };
    State state = State::outside;
    bool commonRead = false;
    const auto openNext = [&](std::string_view line) {
        if (tables.open(line, commonRead)) {
            return State::tables;
        }
        return sets.open(line, tables.over()) ? State::sets : State::outside;
    };
    const auto order = [&] {
        return "[Common], " + tables.range(settings.sMappingTableNumber) + ", " +
               sets.range(deviceInfo.sInternalCharacterSetNumber);
    };
    std::string_view line;
    while (file.next(kComment, line)) {
        switch (state) {
        case State::outside:
            // Behind the tables a [Common] is out of order, a line like any other.
            state = !tables.over() && common.open(line) ? State::common : openNext(line);
            break;
        case State::common:
            if (!common.read(line)) {
                common.requireComplete();
                commonRead = true;
                state = openNext(line);
            }
            break;
        case State::tables:
            if (!tables.read(line, settings.sMappingTableNumber)) {
                state = sets.open(line, true) ? State::sets : State::outside;
            }
            break;
        case State::sets:
            if (!sets.read(line, deviceInfo.sInternalCharacterSetNumber)) {
                state = State::outside;
            }
            break;
        }
        if (state == State::outside) {
            common.noteUnreadHeader(line);
            tables.noteUnreadHeader(line);
            sets.noteUnreadHeader(line);
            unread.tell(line, order);
        } else {
            unread.endRow();
        }
    }
    if (state == State::tables) {
        tables.end();
    } else if (state == State::sets) {
        sets.end();
    }

    const bool commonValid = common.finish();
    const bool tablesValid = tables.finish(settings.sMappingTableNumber, common.seen());
    const bool setsValid = sets.finish(deviceInfo.sInternalCharacterSetNumber, tables.seen());
    return commonValid && tablesValid && setsValid ? short{RUVO_OK}
                                                   : short{RUVO_DEVICE_INFO_INVALID};
}

}  // namespace ruvo
