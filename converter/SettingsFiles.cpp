#include "SettingsFiles.h"

#include "HandleTable.h"
#include "LineReader.h"
#include "RuvoConverter.h"
#include "SectionReader.h"

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
    assign(target.deviceInfo.*field, number);
}

template <auto list, auto field>
void inEntry(SectionTarget& target, long number)
{
    assign((target.deviceInfo.*list)[target.index].*field, number);
}

template <auto list, auto field>
void nameInEntry(SectionTarget& target, std::string_view name)
{
    (target.deviceInfo.*list)[target.index].*field = name;
}

// In force for the process at once.
void maximumHandle(SectionTarget& target, long number)
{
    assign(target.deviceInfo.sMaximumHandle, number);
    assign(g_stHandlelinkMngInfTbl.sMaximumHandle, number);
}

// The tables of keys, in the order in which a line is searched for them.

using Settings = HandleSettings;

constexpr SectionKey kSettingsKeys[] = {
    numberKey("EncodeTypeDefault", 0, 3, inSettings<&Settings::sEncodeType>),
    numberKey("MissingCharacterCode", 32, 255, inSettings<&Settings::ucMissingCharacterCode>),
    textKey("DeviceInfoPath", kMaxPathLength, pathInSettings<&Settings::szDeviceInfoPath>),
    numberKey("MaximumHandle", 1, 254, maximumHandle),
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

bool holdsBracket(std::string_view line)
{
    return line.find('[') != std::string_view::npos;
}

// A section with a fixed header: [Settings], [LOG] or [Common].
class FixedSection {
public:
    FixedSection(std::string_view header, std::span<const SectionKey> keys, SectionTarget target)
        : m_header(header), m_section(keys, target)
    {
    }

    // Opens the section when the line is its header.
    bool open(std::string_view line)
    {
        const bool isHeader = line.starts_with(m_header);
        m_seen = m_seen || isHeader;
        return isHeader;
    }

    // Reads a line inside the section. False when the line ends it.
    bool read(std::string_view line)
    {
        const Section::Line result = m_section.read(line);
        if (result == Section::Line::noKey && !holdsBracket(line))
            m_error = true;
        return result == Section::Line::stored;
    }

    // Every key must be set where the section ends: a later section of the same name cannot help.
    void requireComplete() { m_error = m_error || !m_section.complete(); }

    bool valid() const { return m_seen && !m_error && m_section.complete(); }

private:
    std::string_view m_header;
    Section m_section;
    bool m_seen = false;
    bool m_error = false;
};

// A part made of sections [<name>1], [<name>2] and so on: the tables or the character sets.
//
//   waiting --[<name>1]--> reading --a line that is no next section--> over
class NumberedSections {
public:
    NumberedSections(std::string_view name, std::span<const SectionKey> keys, SectionTarget target)
        : m_prefix(std::string("[").append(name)), m_section(keys, target)
    {
    }

    // Tests a line outside all sections. True when it opens the part, which it can only when the
    // part before it has been read.
    bool open(std::string_view line, bool mayStart)
    {
        if (line.starts_with(m_prefix + "]"))
            m_invalid = true;
        return mayStart && !m_over && line.starts_with(header());
    }

    // Reads a line inside the part, which is to have `count` sections. False when the line ends
    // the part.
    bool read(std::string_view line, int count)
    {
        switch (m_section.read(line)) {
        case Section::Line::stored:
            return true;
        case Section::Line::rejected:
            m_invalid = true;
            break;
        case Section::Line::noKey:
            if (readHeader(line, count))
                return true;
            break;
        }
        m_over = true;
        return false;
    }

    // The file ends inside the part.
    void end()
    {
        if (m_section.complete())
            ++m_number;
        else
            m_invalid = true;
    }

    bool over() const { return m_over; }
    bool valid(int count) const { return !m_invalid && m_number > count; }

private:
    std::string header() const { return m_prefix + std::to_string(m_number) + "]"; }

    bool readHeader(std::string_view line, int count)
    {
        if (!m_section.complete()) {
            m_invalid = true;
            return false;
        }
        ++m_number;
        if (m_number > count)
            return false;
        if (line.starts_with(header())) {
            m_section.startNext();
            return true;
        }
        if (line.starts_with(m_prefix) || !holdsBracket(line))
            m_invalid = true;
        return false;
    }

    std::string m_prefix;
    Section m_section;
    int m_number = 1;  // of the section that is read or looked for
    bool m_over = false;
    bool m_invalid = false;
};

}  // namespace

int Lutm_ModuleFileFullPath(const std::string& root, const std::string& id, std::string& modulePath)
{
    LineReader reader;
    if (reader.open(root + id + ".txt", -1) != 0)
        return -1;
    constexpr std::string_view key = "ModulePath";
    std::string_view line;
    while (nextContentLine(reader, kComment, line)) {
        if (!line.starts_with(key))
            continue;
        std::string_view value;
        if (!Lutm_ExistEqualCheck(line.substr(key.size()), value))
            return -1;
        value = withoutLineBreak(value);
        if (value.empty())
            return -1;
        modulePath.assign(value).push_back('/');
        return 0;
    }
    return -1;
}

short readSettingsFile(const std::string& modulePath, HandleSettings& settings,
                       DeviceInfo& deviceInfo)
{
    LineReader reader;
    if (const short status = reader.open(modulePath + "HalvoSet.txt", RUVO_SETTINGS_MISSING))
        return status;

    const SectionTarget target{settings, deviceInfo, 0};
    FixedSection settingsSection("[Settings]", kSettingsKeys, target);
    FixedSection logSection("[LOG]", kLogKeys, target);

    // The line that ends [Settings] may be the header of [LOG]; the one that ends [LOG] is dropped.
    enum class State { outside, settings, log };
    State state = State::outside;
    std::string_view line;
    while (nextContentLine(reader, kComment, line)) {
        switch (state) {
        case State::outside:
            if (settingsSection.open(line))
                state = State::settings;
            else if (logSection.open(line))
                state = State::log;
            break;
        case State::settings:
            if (!settingsSection.read(line))
                state = logSection.open(line) ? State::log : State::outside;
            break;
        case State::log:
            if (!logSection.read(line))
                state = State::outside;
            break;
        }
    }
    const bool valid = settingsSection.valid() && logSection.valid();
    return valid ? short{RUVO_OK} : short{RUVO_SETTINGS_INVALID};
}

short readDeviceInfoFile(const std::string& name, HandleSettings& settings, DeviceInfo& deviceInfo)
{
    LineReader reader;
    if (const short status =
            reader.open(settings.szDeviceInfoPath + name, RUVO_DEVICE_INFO_MISSING))
        return status;

    const SectionTarget target{settings, deviceInfo, 0};
    FixedSection common("[Common]", kCommonKeys, target);
    NumberedSections tables("Table", kTableKeys, target);
    NumberedSections sets("ICS", kICSKeys, target);

    // The line that ends a part may be the first header of the next part, in the order [Common],
    // tables, character sets; any other header in its place is dropped.
    enum class State { outside, common, tables, sets };
    State state = State::outside;
    bool commonRead = false;
    const auto openNext = [&](std::string_view line) {
        if (tables.open(line, commonRead))
            return State::tables;
        return sets.open(line, tables.over()) ? State::sets : State::outside;
    };
    std::string_view line;
    while (nextContentLine(reader, kComment, line)) {
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
            if (!tables.read(line, settings.sMappingTableNumber))
                state = sets.open(line, true) ? State::sets : State::outside;
            break;
        case State::sets:
            if (!sets.read(line, deviceInfo.sInternalCharacterSetNumber))
                state = State::outside;
            break;
        }
    }
    if (state == State::tables)
        tables.end();
    else if (state == State::sets)
        sets.end();

    const bool valid = common.valid() && tables.valid(settings.sMappingTableNumber) &&
                       sets.valid(deviceInfo.sInternalCharacterSetNumber);
    return valid ? short{RUVO_OK} : short{RUVO_DEVICE_INFO_INVALID};
}

}  // namespace ruvo
