// Measures the library against named references in the same run. See README.md beside this file.
#include "bench/Allocations.h"
#include "bench/Texts.h"

#include "converter/RuvoConverter.h"
#include "engine/KestrixDispEngine.h"

#include <benchmark/benchmark.h>
#include <libxml/xmlreader.h>
#include <unicode/ucnv.h>
#include <unicode/unorm2.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <iconv.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

// ---- Rows ----

// One line of the table: what is measured, against what, and the ratio of costs to reach.
struct Row {
    std::string measure;
    std::string reference;
    double target;
    std::function<void()> ours;
    std::function<void()> theirs;
};

std::string oursOf(const Row& row)
{
    return row.measure + " | " + row.reference + " | ours";
}

std::string theirsOf(const Row& row)
{
    return row.measure + " | " + row.reference + " | reference";
}

std::vector<Row>& rows()
{
    static std::vector<Row> all;
    return all;
}

[[noreturn]] void fail(const std::string& message)
{
    std::fprintf(stderr, "kestrix-bench: %s\n", message.c_str());
    std::exit(1);
}

// ---- Our side ----

class Handle {
public:
    explicit Handle(const char* device = "default")
    {
        const std::string name = device;
        m_handle = RuvoOpenHandle(reinterpret_cast<const unsigned char*>(name.data()), name.size(),
                                  reinterpret_cast<const unsigned char*>("local"), 5);
        if (m_handle < 0) {
            fail("status " + std::to_string(m_handle) + " for device " + name);
        }
    }
    ~Handle() { RuvoCloseHandle(m_handle); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    // A text in, its output out, with both retrieval calls.
    std::size_t convert(std::string& text, std::vector<unsigned char>& out) const
    {
        RuvoSetData(m_handle, reinterpret_cast<unsigned char*>(text.data()), text.size());
        unsigned long length = 0;
        RuvoGetOutputData(m_handle, nullptr, &length);
        if (length > out.size()) {
            fail("an output is longer than its room");
        }
        RuvoGetOutputData(m_handle, out.data(), &length);
        return length;
    }

    operator short() const { return m_handle; }

private:
    short m_handle;
};

// Changes a key of HalvoSet.txt for handles opened from now on.
void set(const std::string& key, const std::string& value)
{
    std::ifstream in("HalvoSet.txt", std::ios::binary);
    std::string settings(std::istreambuf_iterator<char>(in), {});
    in.close();
    const std::size_t begin = settings.find(key + "=") + key.size() + 1;
    settings.replace(begin, settings.find('\r', begin) - begin, value);
    std::ofstream("HalvoSet.txt", std::ios::binary) << settings;
}

// The bytes come first: the output in one call must be the output one character at a time, which
// knows no block, put together. Only the table selection in front differs.
void checkAgainstSingleCharacters(const std::string& text)
{
    const Handle whole;
    const Handle single;
    std::vector<unsigned char> out(text.size() * 10 + 16);
    std::string copy = text;
    const std::size_t length = whole.convert(copy, out);
    const std::string expected(out.begin(), out.begin() + static_cast<std::ptrdiff_t>(length));
    for (std::size_t i = 0; i < text.size();) {
        std::size_t size = 1;
        const auto continues = [&](std::size_t at) {
            // A mark U+0300..U+036F goes with its base.
            const auto byte = static_cast<unsigned char>(text[at]);
            return (byte & 0xC0) == 0x80 || byte == 0xCC || byte == 0xCD;
        };
        while (i + size < text.size() && continues(i + size)) {
            ++size;
        }
        std::string character = text.substr(i, size);
        RuvoSetData(single, reinterpret_cast<unsigned char*>(character.data()), size);
        i += size;
    }
    unsigned long room = out.size();
    RuvoGetOutputData(single, out.data(), &room);
    if (expected != std::string(out.begin(), out.begin() + static_cast<std::ptrdiff_t>(room))) {
        fail("wrong bytes for \"" + text.substr(0, 40) + "...\"");
    }
}

// Runs in a folder of its own, with the default profile in it.
void workInACopyOfTheProfile()
{
    static const struct Folder {
        fs::path path = fs::temp_directory_path() / ("kestrix-bench-" + std::to_string(getpid()));
        ~Folder()
        {
            std::error_code ignored;
            fs::remove_all(path, ignored);
        }
    } folder;
    fs::create_directory(folder.path);
    for (const fs::directory_entry& entry : fs::directory_iterator(KESTRIX_PROFILE_DIR)) {
        fs::copy_file(entry.path(), folder.path / entry.path().filename());
    }
    fs::current_path(folder.path);
}

// ---- References ----

// ICU, UTF-8 to one code page, as its own documentation converts in a stream.
class IcuConverter {
public:
    explicit IcuConverter(const char* codePage)
    {
        UErrorCode error = U_ZERO_ERROR;
        m_utf8 = ucnv_open("UTF-8", &error);
        m_target = ucnv_open(codePage, &error);
        if (U_FAILURE(error)) {
            fail(std::string("ICU has no ") + codePage);
        }
    }
    ~IcuConverter()
    {
        ucnv_close(m_utf8);
        ucnv_close(m_target);
    }
    IcuConverter(const IcuConverter&) = delete;
    IcuConverter& operator=(const IcuConverter&) = delete;

    std::size_t convert(const std::string& text, std::vector<unsigned char>& out) const
    {
        UErrorCode error = U_ZERO_ERROR;
        UChar pivot[1024];
        UChar* pivotSource = pivot;
        UChar* pivotTarget = pivot;
        auto* target = reinterpret_cast<char*>(out.data());
        const char* source = text.data();
        ucnv_convertEx(m_target, m_utf8, &target, target + out.size(), &source,
                       source + text.size(), pivot, &pivotSource, &pivotTarget, pivot + 1024, 1, 1,
                       &error);
        return static_cast<std::size_t>(target - reinterpret_cast<char*>(out.data()));
    }

    // Composed first, through UTF-16.
    std::size_t convertComposed(const std::string& text, std::vector<unsigned char>& out) const
    {
        UErrorCode error = U_ZERO_ERROR;
        static std::vector<UChar> utf16;
        static std::vector<UChar> composed;
        utf16.resize(text.size() + 1);
        composed.resize(text.size() + 1);
        const auto room = static_cast<int32_t>(utf16.size());
        ucnv_resetToUnicode(m_utf8);
        const int32_t length = ucnv_toUChars(m_utf8, utf16.data(), room, text.data(),
                                             static_cast<int32_t>(text.size()), &error);
        const int32_t nfc = unorm2_normalize(unorm2_getNFCInstance(&error), utf16.data(), length,
                                             composed.data(), room, &error);
        ucnv_resetFromUnicode(m_target);
        return static_cast<std::size_t>(
            ucnv_fromUChars(m_target, reinterpret_cast<char*>(out.data()),
                            static_cast<int32_t>(out.size()), composed.data(), nfc, &error));
    }

private:
    UConverter* m_utf8 = nullptr;
    UConverter* m_target = nullptr;
};

class Iconv {
public:
    explicit Iconv(const char* codePage) : m_converter(iconv_open(codePage, "UTF-8")) {}
    ~Iconv() { iconv_close(m_converter); }
    Iconv(const Iconv&) = delete;
    Iconv& operator=(const Iconv&) = delete;

    void convert(std::string& text, std::vector<unsigned char>& out) const
    {
        char* source = text.data();
        std::size_t sourceSize = text.size();
        auto* target = reinterpret_cast<char*>(out.data());
        std::size_t room = out.size();
        benchmark::DoNotOptimize(iconv(m_converter, &source, &sourceSize, &target, &room));
    }

private:
    iconv_t m_converter;
};

// A bare reader walk that touches every name, attribute and text, and does nothing with them.
void walk(const std::string& xml)
{
    xmlTextReaderPtr reader =
        xmlReaderForMemory(xml.data(), static_cast<int>(xml.size()), nullptr, nullptr, 0);
    while (xmlTextReaderRead(reader) == 1) {
        const int type = xmlTextReaderNodeType(reader);
        if (type == XML_READER_TYPE_ELEMENT) {
            benchmark::DoNotOptimize(xmlTextReaderConstLocalName(reader));
            benchmark::DoNotOptimize(xmlTextReaderIsEmptyElement(reader));
            const xmlNode* const node = xmlTextReaderCurrentNode(reader);
            for (const xmlAttr* attribute = node->properties; attribute != nullptr;
                 attribute = attribute->next) {
                benchmark::DoNotOptimize(attribute->name[0]);
                benchmark::DoNotOptimize(attribute->children->content[0]);
            }
        } else if (type == XML_READER_TYPE_END_ELEMENT) {
            benchmark::DoNotOptimize(xmlTextReaderConstLocalName(reader));
        } else if (type == XML_READER_TYPE_TEXT) {
            xmlChar* const value = xmlTextReaderValue(reader);
            benchmark::DoNotOptimize(value[0]);
            xmlFree(value);
        }
    }
    xmlFreeTextReader(reader);
}

void readLines(const std::vector<std::string>& files)
{
    char line[1024];
    for (const std::string& file : files) {
        std::FILE* const stream = std::fopen(file.c_str(), "r");
        while (std::fgets(line, sizeof line, stream) != nullptr) {
            benchmark::DoNotOptimize(line[0]);
        }
        std::fclose(stream);
    }
}

// Lines as long as a dump's, ready-made.
void writeLines(std::size_t count)
{
    static const std::string line = "41 42 43 44 45 46 47 48 49 4A 4B 4C 4D 4E 4F 50\n";
    std::FILE* const file = std::fopen("written/reference.txt", "wb");
    for (std::size_t i = 0; i < count; ++i) {
        std::fwrite(line.data(), 1, line.size(), file);
    }
    std::fclose(file);
}

// The dump's lines, made byte by byte.
void writeDump(const std::string& text, int entries)
{
    std::FILE* const file = std::fopen("written/reference.txt", "wb");
    for (int entry = 0; entry < entries; ++entry) {
        for (std::size_t i = 0; i < text.size(); i += 16) {
            char line[64];
            std::size_t used = 0;
            for (std::size_t k = i; k < std::min(i + 16, text.size()); ++k) {
                const int count = std::snprintf(line + used, sizeof line - used, "%02X ",
                                                static_cast<unsigned char>(text[k]));
                used += static_cast<std::size_t>(count);
            }
            line[used - 1] = '\n';
            std::fwrite(line, 1, used, file);
        }
    }
    std::fclose(file);
}

// ---- The rows ----

struct SizedTarget {
    std::size_t size;
    double target;
};

std::string sizeName(std::size_t size)
{
    if (size >= 1000000) {
        return "1 MB";
    }
    return size >= 4000 ? "4 KB" : std::to_string(size) + " B";
}

struct Work {
    std::string text;
    std::vector<unsigned char> out;
};

std::shared_ptr<Work> workFor(const std::string& phrase, std::size_t size)
{
    auto work = std::make_shared<Work>();
    work->text = repeated(phrase, size);
    checkAgainstSingleCharacters(work->text);
    work->out.resize(work->text.size() * 10 + 16);
    return work;
}

void addConversion(const std::string& measure, const std::string& phrase, const char* codePage,
                   std::vector<SizedTarget> targets, bool composed = false)
{
    for (const auto& [size, target] : targets) {
        const std::shared_ptr<Work> work = workFor(phrase, size);
        auto handle = std::make_shared<Handle>();
        auto icu = std::make_shared<IcuConverter>(codePage);
        rows().push_back({measure + ", " + sizeName(size),
                          composed ? "ICU unorm2 NFC, ucnv" : std::string("ICU ucnv, ") + codePage,
                          target, [=] { handle->convert(work->text, work->out); },
                          [=] {
                              benchmark::DoNotOptimize(
                                  composed ? icu->convertComposed(work->text, work->out)
                                           : icu->convert(work->text, work->out));
                          }});
    }
}

void addIconv(const std::string& measure, const std::string& phrase)
{
    for (const std::size_t size : {40u, 4096u, 1048576u}) {
        const std::shared_ptr<Work> work = workFor(phrase, size);
        auto handle = std::make_shared<Handle>();
        auto reference = std::make_shared<Iconv>("CP850");
        rows().push_back({measure + ", " + sizeName(size), "iconv, CP850", 0.45,
                          [=] { handle->convert(work->text, work->out); },
                          [=] { reference->convert(work->text, work->out); }});
    }
}

void addDocument(std::size_t size, double target)
{
    auto engine = std::make_shared<KestrixDispEngine>();
    auto xml = std::make_shared<std::string>(document(size));
    if (engine->parse(*xml, "default", "local").empty()) {
        fail("a document gives nothing");
    }
    rows().push_back({"document through parse, " + sizeName(size), "bare libxml2 reader walk",
                      target,
                      [=] { benchmark::DoNotOptimize(engine->parse(*xml, "default", "local")); },
                      [=] { walk(*xml); }});
}

std::vector<std::string> profileFiles()
{
    std::vector<std::string> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(".")) {
        files.push_back(entry.path().string());
    }
    return files;
}

void addOpen()
{
    auto files = std::make_shared<std::vector<std::string>>(profileFiles());
    rows().push_back({"open and close a handle", "fgets over the same files", 2.0,
                      [] { const Handle handle; }, [=] { readLines(*files); }});
}

// ---- What must not cost more when something grows ----

void addConversionPair(const std::string& measure, const std::string& reference, double target,
                       std::shared_ptr<Handle> ours, std::shared_ptr<Handle> theirs,
                       const std::shared_ptr<Work>& work)
{
    rows().push_back({measure, reference, target, [=] { ours->convert(work->text, work->out); },
                      [=] { theirs->convert(work->text, work->out); }});
}

void addBlockSizes()
{
    const std::shared_ptr<Work> work = workFor(kWestern, 40);
    set("OutputBufferBlockSize", "4096");
    const auto usual = std::make_shared<Handle>();
    for (const char* size : {"64", "1000000", "100000000"}) {
        set("OutputBufferBlockSize", size);
        addConversionPair(std::string("a small text, blocks of ") + size, "blocks of 4096", 1.0,
                          std::make_shared<Handle>(), usual, work);
    }
    set("OutputBufferBlockSize", "1000000");
}

void addLengthQuery()
{
    const auto holding = [](std::size_t size) {
        auto handle = std::make_shared<Handle>();
        std::string text = repeated(kAscii, size);
        RuvoSetData(*handle, reinterpret_cast<unsigned char*>(text.data()), text.size());
        return handle;
    };
    const auto query = [](const std::shared_ptr<Handle>& handle) {
        return [handle] {
            unsigned long length = 0;
            RuvoGetOutputData(*handle, nullptr, &length);
            benchmark::DoNotOptimize(length);
        };
    };
    rows().push_back({"length query, 1 MB", "length query, 40 B", 1.0, query(holding(1048576)),
                      query(holding(40))});
}

// A device of `count` tables; the last one is the Cyrillic one, which no other shares a letter
// with.
void writeDevice(const std::string& name, int count)
{
    std::ofstream file(name, std::ios::binary);
    std::ifstream in("default", std::ios::binary);
    for (std::string line; std::getline(in, line) && line.rfind("[Table1]", 0) != 0;) {
        const bool isCount = line.rfind("MappingTableNumber", 0) == 0;
        file << (isCount ? "MappingTableNumber=" + std::to_string(count) + "\r" : line) << "\n";
    }
    for (int i = 1; i <= count; ++i) {
        file << "[Table" << i << "]\r\nCodePage=" << i << "\r\nTableCommandParam=" << i - 1
             << "\r\nTableFileName=" << (i == count ? "ibm866.txt" : "ibm850.txt") << "\r\n";
    }
    in.clear();
    in.seekg(0);
    bool inSets = false;
    for (std::string line; std::getline(in, line);) {
        inSets = inSets || line.rfind("[ICS1]", 0) == 0;
        if (inSets) {
            file << line << "\n";
        }
    }
}

void addManyTables()
{
    writeDevice("last", 64);
    writeDevice("only", 1);
    for (const std::size_t size : {40u, 4096u}) {
        addConversionPair("last of 64 tables, " + sizeName(size), "the only table", 1.05,
                          std::make_shared<Handle>("last"), std::make_shared<Handle>("only"),
                          workFor(kCyrillic, size));
    }
}

// As many characters, in one text against in many.
void addScaling(const std::string& measure, const std::string& reference, double target,
                const std::string& large, const std::string& small)
{
    auto handle = std::make_shared<Handle>();
    auto out = std::make_shared<std::vector<unsigned char>>(large.size() * 10 + 16);
    auto largeText = std::make_shared<std::string>(large);
    auto smallText = std::make_shared<std::string>(small);
    const std::size_t times = large.size() / small.size();
    rows().push_back({measure, reference, target, [=] { handle->convert(*largeText, *out); },
                      [=] {
                          for (std::size_t i = 0; i < times; ++i) {
                              handle->convert(*smallText, *out);
                          }
                      }});
}

void addMarks()
{
    const auto times = [](const std::string& text, int count) {
        std::string result;
        for (int i = 0; i < count; ++i) {
            result += text;
        }
        return result;
    };
    const std::string run = "a\xCC\x81\xCC\xA3";  // U+0301 and, of a lower class, U+0323
    addScaling("100,000 runs of a base and marks, per run", "1,000 runs", 1.1, times(run, 100000),
               times(run, 1000));
    const std::string marks = "\xCC\x81\xCC\xA3";
    addScaling("a base with 10,000 marks, per mark", "a base with 100 marks", 1.3,
               "a" + times(marks, 5000), "a" + times(marks, 50));
}

// Both entries of the call dump the text: twice 65536 lines of 48 bytes.
void addLog()
{
    fs::create_directory("written");
    set("LogFilePath", "written");
    set("OutputBufferBlockMax", "1");  // the output is never read
    auto logged = std::make_shared<Handle>();
    set("LogFilePath", "log");
    set("OutputBufferBlockMax", "255");
    const std::shared_ptr<Work> work = workFor(kAscii, 1048576);
    const auto ours = [=] {
        RuvoSetData(*logged, reinterpret_cast<unsigned char*>(work->text.data()),
                    work->text.size());
    };
    rows().push_back({"log of a 1 MB call", "as much text through fwrite, line by line", 3.0, ours,
                      [] { writeLines(2 * 1048576 / 16); }});
    rows().push_back({"log of a 1 MB call", "its lines through snprintf and fwrite", 0.2, ours,
                      [=] { writeDump(work->text, 2); }});
}

void addRows()
{
    addOpen();
    addConversion("ASCII", kAscii, "ibm-850", {{40, 0.7}, {4096, 0.15}, {1048576, 0.2}});
    addConversion("Western accents", kWestern, "ibm-850",
                  {{40, 0.9}, {4096, 0.65}, {1048576, 0.65}});
    addConversion("Cyrillic", kCyrillic, "ibm-866", {{40, 1.0}, {4096, 1.0}, {1048576, 1.0}});
    addConversion("katakana", kKatakana, "ibm-943", {{40, 0.7}, {4096, 0.7}, {1048576, 0.7}});
    addConversion("four tables", kFourTables, "LMBCS-1", {{40, 0.5}, {4096, 0.5}, {1048576, 0.5}});
    addConversion("set characters among digits", kSets, "ibm-850",
                  {{40, 0.85}, {4096, 0.85}, {1048576, 0.85}});
    addConversion("decomposed Western", kDecomposed, "ibm-850",
                  {{40, 0.35}, {4096, 0.35}, {1048576, 0.35}}, true);
    addIconv("ASCII", kAscii);
    addIconv("Western accents", kWestern);
    addDocument(200, 1.15);
    addDocument(4096, 1.2);
    addDocument(1048576, 1.2);
    addBlockSizes();
    addLengthQuery();
    addManyTables();
    addMarks();
    addLog();
}

// ---- The first open of a process ----

constexpr char kFirstOpen[] = "--first-open";

// What a process of its own does: one open and one pass of the reference, and their times.
void timeFirstOpen()
{
    using Clock = std::chrono::steady_clock;
    const std::vector<std::string> files = profileFiles();
    const auto nanoseconds = [](const std::function<void()>& work) {
        const auto start = Clock::now();
        work();
        return std::chrono::duration<double, std::nano>(Clock::now() - start).count();
    };
    const double ours = nanoseconds([] { const Handle handle; });
    std::printf("%f %f\n", ours, nanoseconds([&] { readLines(files); }));
}

double median(std::vector<double> values)
{
    std::ranges::sort(values);
    return values[values.size() / 2];
}

void printFirstOpen(const fs::path& program)
{
    std::vector<double> ours;
    std::vector<double> theirs;
    for (int i = 0; i < 21; ++i) {
        std::FILE* const process = popen((program.string() + " " + kFirstOpen).c_str(), "r");
        double times[2] = {};
        if ((process == nullptr) || std::fscanf(process, "%lf %lf", &times[0], &times[1]) != 2) {
            fail("a process of its own gives no times");
        }
        pclose(process);
        ours.push_back(times[0]);
        theirs.push_back(times[1]);
    }
    std::printf(
        "| first open of a process | fgets over the same files | %.0f | %.0f | %.2f | 2.50 |\n",
        median(ours), median(theirs), median(ours) / median(theirs));
}

// ---- Counted, not timed ----

void printAllocations()
{
    const Handle handle;
    std::printf("\n| heap allocations (C++) | count | at most |\n|---|---|---|\n");
    std::printf("| open | %zu | 60 |\n", allocationsIn([] { new Handle; }));
    for (const std::size_t size : {40u, 1048576u}) {
        const std::shared_ptr<Work> work = workFor(kFourTables, size);
        handle.convert(work->text, work->out);  // the first text makes room
        std::printf("| set data, %s | %zu | 1 |\n", sizeName(size).c_str(), allocationsIn([&] {
                        RuvoSetData(handle, reinterpret_cast<unsigned char*>(work->text.data()),
                                    work->text.size());
                    }));
        unsigned long length = work->out.size();
        std::printf("| get output, %s | %zu | 0 |\n", sizeName(size).c_str(),
                    allocationsIn([&] { RuvoGetOutputData(handle, work->out.data(), &length); }));
    }
}

long residentBytes()
{
    std::ifstream statm("/proc/self/statm");
    long total = 0;
    long resident = 0;
    statm >> total >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

void printMemory()
{
    constexpr long count = 20;
    std::vector<std::unique_ptr<Handle>> handles;
    handles.push_back(std::make_unique<Handle>());
    const long before = residentBytes();
    for (long i = 0; i < count; ++i) {
        handles.push_back(std::make_unique<Handle>());
    }
    const long perHandle = (residentBytes() - before) / count;
    std::ifstream database("UnicodeData.txt");
    const long records = std::count(std::istreambuf_iterator<char>(database), {}, '\n');
    // 11 bytes, 4 for each table but the first, and the two text properties.
    const long packed = records * (11 + 4 * (9 - 1) + 2 + 3);
    std::printf(
        "\n| memory | bytes | packed records | ratio | to reach |\n|---|---|---|---|---|\n");
    std::printf("| one more open handle | %ld | %ld | %.2f | 1.10 |\n", perHandle, packed,
                static_cast<double>(perHandle) / static_cast<double>(packed));
}

// ---- Running and printing ----

// Keeps the median of each benchmark.
class MedianKeeper : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median") {
                m_medians[run.run_name.function_name] = run.GetAdjustedRealTime();
            }
        }
    }
    bool has(const std::string& name) const { return m_medians.contains(name); }
    double median(const std::string& name) const { return m_medians.at(name); }

private:
    std::map<std::string, double> m_medians;
};

void add(const std::string& name, const std::function<void()>& work)
{
    benchmark::RegisterBenchmark(name.c_str(),
                                 [work](benchmark::State& state) {
                                     for (auto _ : state) {
                                         work();
                                     }
                                 })
        ->Unit(benchmark::kNanosecond)
        ->MinTime(0.02)
        ->Repetitions(9)
        ->ReportAggregatesOnly();
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc == 2 && std::string(argv[1]) == kFirstOpen) {
        timeFirstOpen();
        return 0;
    }
    const fs::path self = fs::canonical("/proc/self/exe");
    std::string program = argv[0];
    std::string interleaved = "--benchmark_enable_random_interleaving=true";
    std::vector<char*> arguments = {program.data(), interleaved.data()};
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());

    workInACopyOfTheProfile();
    set("OutputBufferBlockSize", "1000000");
    addRows();
    for (const Row& row : rows()) {
        add(oursOf(row), row.ours);
        add(theirsOf(row), row.theirs);
    }
    MedianKeeper keeper;
    benchmark::RunSpecifiedBenchmarks(&keeper);

    std::printf("| measure | reference | ours, ns | reference, ns | ratio | to reach |\n");
    std::printf("|---|---|---|---|---|---|\n");
    for (const Row& row : rows()) {
        if (!keeper.has(oursOf(row)) || !keeper.has(theirsOf(row))) {  // filtered out
            continue;
        }
        const double ours = keeper.median(oursOf(row));
        const double theirs = keeper.median(theirsOf(row));
        std::printf("| %s | %s | %.0f | %.0f | %.2f | %.2f |\n", row.measure.c_str(),
                    row.reference.c_str(), ours, theirs, ours / theirs, row.target);
    }
    printFirstOpen(self);
    printMemory();
    printAllocations();
}
