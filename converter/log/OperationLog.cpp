#include "converter/log/OperationLog.h"

#include "converter/profile/HandleSettings.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <span>

namespace ruvo {

namespace {

constexpr std::size_t kDumpWidth = 16;

// ---- Lines ----

// Collects lines and gives them to the log in blocks of whole lines.
class LineWriter {
public:
    explicit LineWriter(LogContext& log) : m_log(log) {}
    ~LineWriter() { flush(); }
    LineWriter(const LineWriter&) = delete;
    LineWriter& operator=(const LineWriter&) = delete;

    void put(std::string_view text)
    {
        text = text.substr(0, m_buffer.size() - m_used);
        std::memcpy(m_buffer.data() + m_used, text.data(), text.size());
        m_used += text.size();
    }

    void put(char c) { put(std::string_view(&c, 1)); }

    template <class Number>
    void putNumber(Number value, int base = 10, std::size_t width = 0, char fill = ' ')
    {
        char digits[24];
        const char* const end = std::to_chars(digits, digits + sizeof digits, value, base).ptr;
        const std::string_view text(digits, static_cast<std::size_t>(end - digits));
        for (std::size_t i = text.size(); i < width; ++i) {
            put(fill);
        }
        put(text);
    }

    void endLine()
    {
        put('\n');
        if (m_used > m_buffer.size() - kMaxLine) {
            flush();
        }
    }

    // Writes bytes as two hexadecimal digits each, with a blank between them. At least one byte.
    void putBytes(std::span<const std::uint8_t> bytes)
    {
        static constexpr char digits[] = "0123456789ABCDEF";
        char* out = m_buffer.data() + m_used;
        for (const std::uint8_t byte : bytes) {
            *out++ = digits[byte >> 4];
            *out++ = digits[byte & 0x0F];
            *out++ = ' ';
        }
        m_used += 3 * bytes.size() - 1;
    }

private:
    // The longest line is a label and a path of 201 bytes.
    static constexpr std::size_t kMaxLine = 256;

    void flush()
    {
        Cutm_WriteLog(m_log, {m_buffer.data(), m_used});
        m_used = 0;
    }

    LogContext& m_log;
    std::size_t m_used = 0;
    std::array<char, 16 * 1024> m_buffer;
};

// "[2026/11/24 21:47:35.  5]": the milliseconds are padded with blanks.
void Cutm_GetTimeInfo(LineWriter& line)
{
    const LocalTime now = localTime();
    if (!now.valid) {
        line.put("[XXXX/XX/XX XX:XX:XX.XXX]");
        return;
    }
    line.put('[');
    line.putNumber(now.parts.tm_year + 1900, 10, 4);
    line.put('/');
    line.putNumber(now.parts.tm_mon + 1, 10, 2, '0');
    line.put('/');
    line.putNumber(now.parts.tm_mday, 10, 2, '0');
    line.put(' ');
    line.putNumber(now.parts.tm_hour, 10, 2, '0');
    line.put(':');
    line.putNumber(now.parts.tm_min, 10, 2, '0');
    line.put(':');
    line.putNumber(now.parts.tm_sec, 10, 2, '0');
    line.put('.');
    line.putNumber(now.millisecond, 10, 3);
    line.put(']');
}

// Writes the next line of a dump, "XX" if there is no data. Returns the bytes that are left.
std::span<const std::uint8_t> Cutm_CreatePrmInfo(std::span<const std::uint8_t> data,
                                                 LineWriter& line)
{
    if (data.empty()) {
        line.put("XX");
        return {};
    }
    const std::size_t width = std::min(data.size(), kDumpWidth);
    line.putBytes(data.first(width));
    return data.subspan(width);
}

// ---- Entries ----

struct Pointer {
    const void* value;
};

// A field of an entry's first line.
struct Field {
    enum class Kind { number, length, pointer };

    Field(short value) : kind(Kind::number), number(value) {}
    Field(long value) : kind(Kind::number), number(value) {}
    Field(unsigned long value) : kind(Kind::length), length(value) {}
    Field(Pointer value) : kind(Kind::pointer), pointer(value.value) {}

    Kind kind;
    union {
        long number;
        unsigned long length;
        const void* pointer;
    };
};

struct Dump {
    std::string_view label;  // at the start of the first line
    std::span<const std::uint8_t> data;
};

void putField(LineWriter& line, const Field& field)
{
    line.put('[');
    switch (field.kind) {
    case Field::Kind::number:
        line.putNumber(field.number);
        break;
    case Field::Kind::length:
        line.putNumber(field.length);
        break;
    case Field::Kind::pointer:  // as printf's %p
        if (field.pointer != nullptr) {
            line.put("0x");
            line.putNumber(reinterpret_cast<std::uintptr_t>(field.pointer), 16);
        } else {
            line.put("(nil)");
        }
        break;
    }
    line.put(']');
}

// The form of every entry:
//
//   [2026/11/24 21:47:35. 45],[IN],[0],[RuvoSetData],[1],[0x7ffd5c0a],[17]     stamp, direction,
//   41 42 43 44 45 46 47 48 49 4A 4B 4C 4D 4E 4F 50                            status, call,
//   fields; 51                                                                         then its
//   dumps
void writeEntry(LineWriter& line, LogDirection direction, short status, std::string_view call,
                std::initializer_list<Field> fields, std::initializer_list<Dump> dumps)
{
    Cutm_GetTimeInfo(line);
    line.put(direction == LogDirection::in ? ",[IN]," : ",[OUT],");
    putField(line, direction == LogDirection::in ? short{0} : status);
    line.put(",[");
    line.put(call);
    line.put(']');
    for (const Field& field : fields) {
        line.put(',');
        putField(line, field);
    }
    line.endLine();

    for (const Dump& dump : dumps) {
        line.put(dump.label);
        std::span<const std::uint8_t> rest = dump.data;
        do {
            rest = Cutm_CreatePrmInfo(rest, line);
            line.endLine();
        } while (!rest.empty());
    }
}

void writeEntry(LogContext& log, LogDirection direction, short status, std::string_view call,
                std::initializer_list<Field> fields, std::initializer_list<Dump> dumps)
{
    if (!log.pLogFile) {
        return;
    }
    LineWriter line(log);
    writeEntry(line, direction, status, call, fields, dumps);
}

// Writes the handle's settings, which follow an entry of RuvoOpenHandle.
void putSettings(LineWriter& line, const HandleSettings& settings)
{
    const auto putText = [&](std::string_view label, std::string_view text) {
        line.put(label);
        line.put(text);
        line.endLine();
    };
    const auto putNumber = [&](std::string_view label, long number) {
        line.put(label);
        line.putNumber(number);
        line.endLine();
    };
    putNumber("EncodeTypeDefault=", settings.sEncodeType);
    putNumber("MissingCharacterCode=", settings.ucMissingCharacterCode);
    putText("DeviceInfoPath=", settings.szDeviceInfoPath);
    putNumber("MaximumHandle=", settings.sMaximumHandle);
    putNumber("OutputBufferBlockSize=", settings.ulOutputBufferBlockSize);
    putNumber("OutputBufferBlockMax=", settings.ucOutputBufferBlockMax);
    putNumber("ICSCommandDefault=", settings.ucICSCommandDefault);
    putNumber("DecompositionClassNumber=", settings.ulDecompositionClassNumber);
    putNumber("GeneralCategorySize=", settings.ucGeneralCategorySize);
    putNumber("CanonicalCombiningClassSize=", settings.ucCanonicalCombiningClassSize);
    putNumber("BidiClassSize=", settings.ucBidiClassSize);
    putNumber("DecompositionMappingSize=", settings.ucDecompositionMappingSize);
}

// The bytes of a buffer; none if there is no buffer or if the top bit of the length is set, as such
// a length is refused.
std::span<const std::uint8_t> readable(const std::uint8_t* data, unsigned long length)
{
    if ((data == nullptr) || length > std::numeric_limits<long>::max()) {
        return {};
    }
    return {data, length};
}

unsigned long lengthValue(const LogBuffer& buffer)
{
    return buffer.length != nullptr ? *buffer.length : 0;
}

std::span<const std::uint8_t> contents(const LogBuffer& buffer)
{
    return readable(buffer.data, std::min(lengthValue(buffer), buffer.room));
}

}  // namespace

void Lutm_RuvoOpenHandle(LogDirection direction, LogContext& log, const HandleSettings& settings,
                         const std::uint8_t* pucDeviceInfo, unsigned long ulDeviceInfoLength,
                         std::string_view deviceInfoName, short status) noexcept
{
    if (direction == LogDirection::in) {
        Cutm_CheckOpenLogFile(log);
    }
    if (!log.pLogFile) {
        return;
    }
    const auto* const name = reinterpret_cast<const std::uint8_t*>(deviceInfoName.data());
    LineWriter line(log);
    writeEntry(line, direction, status, "RuvoOpenHandle",
               {Pointer{pucDeviceInfo}, ulDeviceInfoLength}, {{"", {name, deviceInfoName.size()}}});
    putSettings(line, settings);
}

void Lutm_RuvoCloseHandle(LogDirection direction, LogContext& log, short sHandle,
                          short status) noexcept
{
    writeEntry(log, direction, status, "RuvoCloseHandle", {sHandle}, {});
}

void Lutm_RuvoSetData(LogDirection direction, LogContext& log, short sHandle,
                      const std::uint8_t* pucData, unsigned long ulDataLength,
                      short status) noexcept
{
    writeEntry(log, direction, status, "RuvoSetData", {sHandle, Pointer{pucData}, ulDataLength},
               {{"", readable(pucData, ulDataLength)}});
}

void Lutm_RuvoGetOutputData(LogDirection direction, LogContext& log, short sHandle,
                            const LogBuffer& printData, short status) noexcept
{
    writeEntry(log, direction, status, "RuvoGetOutputData",
               {sHandle, Pointer{printData.data}, lengthValue(printData)},
               {{"", contents(printData)}});
}

void Lutm_RuvoGetRawData(LogDirection direction, LogContext& log, short sHandle,
                         const LogBuffer& charCode, const LogBuffer& tableInfo,
                         const LogBuffer& iSetInfo, short status) noexcept
{
    writeEntry(log, direction, status, "RuvoGetRawData",
               {sHandle, Pointer{charCode.data}, lengthValue(charCode), Pointer{tableInfo.data},
                lengthValue(tableInfo), Pointer{iSetInfo.data}, lengthValue(iSetInfo)},
               {{"CharCode=", contents(charCode)},
                {"TableInfo=", contents(tableInfo)},
                {"ISetInfo=", contents(iSetInfo)}});
}

void Lutm_RuvoSetTargetCodePage(LogDirection direction, LogContext& log, short sHandle,
                                long lCodePage, short status) noexcept
{
    writeEntry(log, direction, status, "RuvoSetTargetCodePage",
               {sHandle, static_cast<short>(lCodePage)}, {});
}

void Lutm_RuvoSetEncodeType(LogDirection direction, LogContext& log, short sHandle,
                            short sEncodeType, short status) noexcept
{
    writeEntry(log, direction, status, "RuvoSetEncodeType", {sHandle, long{sEncodeType}}, {});
}

}  // namespace ruvo
