#include "converter/profile/SettingsFiles.h"

#include "converter/RuvoConverter.h"
#include "converter/profile/FileSections.h"
#include "converter/profile/LineReader.h"

namespace ruvo {

namespace {

constexpr char kComment = ';';
constexpr long kMaxPathLength = 200;
constexpr long kMaxFileNameLength = 255;

// Functions that store a value: in a field of the settings, of the device information, or of the
// table or set with the target's index.

template <class Field>
void assign(Field& field, long number)
{
    field = static_cast<Field>(number);  // the key's range fits into the field
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

// The keys of each section. A line is searched for them in this order.

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

// HalvoSet.txt, line by line.
//
// The line that ends [Settings] may be the header of [LOG]; the line that ends [LOG] is dropped. A
// line after a fault that has ended a section may be either header.
class SettingsFileLines {
public:
    SettingsFileLines(HandleSettings& settings, const ReportingFile& file)
        : m_settings("[Settings]", kSettingsKeys, {settings, nullptr, 0}, file),
          m_log("[LOG]", kLogKeys, {settings, nullptr, 0}, file),
          m_unread(file)
    {
    }

    void read(std::string_view line)
    {
        m_state = next(line);
        if (m_state == State::outside) {
            tellUnread(line);
        } else {
            m_unread.endRow();
        }
    }

    // The file has ended. Returns whether it is valid.
    bool finish()
    {
        const bool settingsValid = m_settings.finish();
        const bool logValid = m_log.finish();
        return settingsValid && logValid;
    }

private:
    enum class State { outside, settings, log };
    using Reading = FixedSection::Reading;

    State next(std::string_view line)
    {
        switch (m_state) {
        case State::outside:
            return openAny(line);
        case State::settings:
            switch (m_settings.read(line)) {
            case Reading::goesOn:
                return State::settings;
            case Reading::endsHere:
                return openLog(line);
            case Reading::endedBefore:
                return openAny(line);
            }
            break;
        case State::log:
            switch (m_log.read(line)) {
            case Reading::goesOn:
                return State::log;
            case Reading::endsHere:
                return State::outside;
            case Reading::endedBefore:
                return openAny(line);
            }
            break;
        }
        return State::outside;
    }

    State openAny(std::string_view line)
    {
        return m_settings.open(line) ? State::settings : openLog(line);
    }

    State openLog(std::string_view line) { return m_log.open(line) ? State::log : State::outside; }

    void tellUnread(std::string_view line)
    {
        m_settings.noteUnreadHeader(line);
        m_log.noteUnreadHeader(line);
        m_unread.tell(line, [] { return "[Settings], [LOG]"; });
    }

    FixedSection m_settings;
    FixedSection m_log;
    UnreadLines m_unread;
    State m_state = State::outside;
};

// The device information file, line by line.
//
// Its parts are [Common], the tables and the character sets. The line that ends a part may be the
// first header of the next part; any other header in its place is dropped.
class DeviceInfoFileLines {
public:
    DeviceInfoFileLines(HandleSettings& settings, DeviceInfo& deviceInfo, const ReportingFile& file)
        : m_tableCount(settings.sMappingTableNumber),
          m_setCount(deviceInfo.sInternalCharacterSetNumber),
          m_common("[Common]", kCommonKeys, {settings, &deviceInfo, 0}, file),
          m_tables("Table", "MappingTableNumber", kTableKeys, {settings, &deviceInfo, 0}, file),
          m_sets("ICS", "InternalCharacterSetNumber", kICSKeys, {settings, &deviceInfo, 0}, file),
          m_unread(file)
    {
    }

    void read(std::string_view line)
    {
        m_state = next(line);
        if (m_state == State::outside) {
            tellUnread(line);
        } else {
            m_unread.endRow();
        }
    }

    // The file has ended. Returns whether it is valid.
    bool finish()
    {
        if (m_state == State::tables) {
            m_tables.end();
        } else if (m_state == State::sets) {
            m_sets.end();
        }
        const bool commonValid = m_common.finish();
        const bool tablesValid = m_tables.finish(m_tableCount, m_common.seen());
        const bool setsValid = m_sets.finish(m_setCount, m_tables.seen());
        return commonValid && tablesValid && setsValid;
    }

private:
    enum class State { outside, common, tables, sets };

    State next(std::string_view line)
    {
        switch (m_state) {
        case State::outside:
            // After the tables a [Common] is out of order, a line like any other.
            return !m_tables.over() && m_common.open(line) ? State::common : openTables(line);
        case State::common:
            if (m_common.read(line) == FixedSection::Reading::goesOn) {
                return State::common;
            }
            m_common.requireComplete();
            m_commonRead = true;
            return openTables(line);
        case State::tables:
            return m_tables.read(line, m_tableCount) ? State::tables : openSets(line, true);
        case State::sets:
            return m_sets.read(line, m_setCount) ? State::sets : State::outside;
        }
        return State::outside;
    }

    State openTables(std::string_view line)
    {
        return m_tables.open(line, m_commonRead) ? State::tables : openSets(line, m_tables.over());
    }

    State openSets(std::string_view line, bool mayStart)
    {
        return m_sets.open(line, mayStart) ? State::sets : State::outside;
    }

    void tellUnread(std::string_view line)
    {
        m_common.noteUnreadHeader(line);
        m_tables.noteUnreadHeader(line);
        m_sets.noteUnreadHeader(line);
        m_unread.tell(line, [this] {
            return "[Common], " + m_tables.range(m_tableCount) + ", " + m_sets.range(m_setCount);
        });
    }

    const std::int16_t& m_tableCount;  // 0 before [Common] tells them
    const std::int16_t& m_setCount;
    FixedSection m_common;
    NumberedSections m_tables;
    NumberedSections m_sets;
    UnreadLines m_unread;
    State m_state = State::outside;
    bool m_commonRead = false;
};

// Gives every content line of an open file to `lines`. Returns whether the file is valid.
template <class Lines>
bool readLines(ReportingFile& file, Lines lines)
{
    std::string_view line;
    while (file.next(kComment, line)) {
        lines.read(line);
    }
    return lines.finish();
}

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
    const bool valid = readLines(file, SettingsFileLines(settings, file));
    return valid ? short{RUVO_OK} : short{RUVO_SETTINGS_INVALID};
}

short readDeviceInfoFile(const std::string& name, HandleSettings& settings, DeviceInfo& deviceInfo,
                         ProfileListener* listener)
{
    ReportingFile file(listener);
    if (const short status = file.open(settings.szDeviceInfoPath + name, RUVO_DEVICE_INFO_MISSING,
                                       RUVO_DEVICE_INFO_INVALID)) {
        return status;
    }
    const bool valid = readLines(file, DeviceInfoFileLines(settings, deviceInfo, file));
    return valid ? short{RUVO_OK} : short{RUVO_DEVICE_INFO_INVALID};
}

}  // namespace ruvo
