#include "bench/Rows.h"

#include "bench/References.h"
#include "bench/Texts.h"

#include "converter/RuvoConverter.h"
#include "engine/KestrixDispEngine.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include <unistd.h>

namespace fs = std::filesystem;

namespace {

// Changes a key of HalvoSet.txt, for handles that are opened from now on.
void setSetting(const std::string& key, const std::string& value)
{
    std::ifstream in("HalvoSet.txt", std::ios::binary);
    std::string settings(std::istreambuf_iterator<char>(in), {});
    in.close();
    const std::size_t begin = settings.find(key + "=") + key.size() + 1;
    settings.replace(begin, settings.find('\r', begin) - begin, value);
    std::ofstream("HalvoSet.txt", std::ios::binary) << settings;
}

// Ends the program unless the output of one call is the same as that of a call for each character,
// in which nothing is converted in blocks.
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

struct SizedTarget {
    std::size_t size;
    double target;
};

void addConversion(std::vector<Row>& rows, const std::string& measure, const std::string& phrase,
                   const char* codePage, std::vector<SizedTarget> targets, bool composed = false)
{
    for (const auto& [size, target] : targets) {
        const std::shared_ptr<Work> work = workFor(phrase, size);
        auto handle = std::make_shared<Handle>();
        auto icu = std::make_shared<IcuConverter>(codePage);
        rows.push_back({measure + ", " + sizeName(size),
                        composed ? "ICU unorm2 NFC, ucnv" : std::string("ICU ucnv, ") + codePage,
                        target, [=] { handle->convert(work->text, work->out); },
                        [=] {
                            benchmark::DoNotOptimize(
                                composed ? icu->convertComposed(work->text, work->out)
                                         : icu->convert(work->text, work->out));
                        }});
    }
}

void addIconv(std::vector<Row>& rows, const std::string& measure, const std::string& phrase)
{
    for (const std::size_t size : {40u, 4096u, 1048576u}) {
        const std::shared_ptr<Work> work = workFor(phrase, size);
        auto handle = std::make_shared<Handle>();
        auto reference = std::make_shared<Iconv>("CP850");
        rows.push_back({measure + ", " + sizeName(size), "iconv, CP850", 0.45,
                        [=] { handle->convert(work->text, work->out); },
                        [=] { reference->convert(work->text, work->out); }});
    }
}

void addDocument(std::vector<Row>& rows, std::size_t size, double target)
{
    auto engine = std::make_shared<KestrixDispEngine>();
    auto xml = std::make_shared<std::string>(document(size));
    if (engine->parse(*xml, "default", "local").empty()) {
        fail("a document gives nothing");
    }
    rows.push_back({"document through parse, " + sizeName(size), "bare libxml2 reader walk", target,
                    [=] { benchmark::DoNotOptimize(engine->parse(*xml, "default", "local")); },
                    [=] { walkDocument(*xml); }});
}

void addOpen(std::vector<Row>& rows)
{
    auto files = std::make_shared<std::vector<std::string>>(profileFiles());
    rows.push_back({"open and close a handle", "fgets over the same files", 2.0,
                    [] { const Handle handle; }, [=] { readLines(*files); }});
}

// ---- What must not cost more when something grows ----

void addConversionPair(std::vector<Row>& rows, const std::string& measure,
                       const std::string& reference, double target, std::shared_ptr<Handle> ours,
                       std::shared_ptr<Handle> theirs, const std::shared_ptr<Work>& work)
{
    rows.push_back({measure, reference, target, [=] { ours->convert(work->text, work->out); },
                    [=] { theirs->convert(work->text, work->out); }});
}

void addBlockSizes(std::vector<Row>& rows)
{
    const std::shared_ptr<Work> work = workFor(kWestern, 40);
    setSetting("OutputBufferBlockSize", "4096");
    const auto usual = std::make_shared<Handle>();
    for (const char* size : {"64", "1000000", "100000000"}) {
        setSetting("OutputBufferBlockSize", size);
        addConversionPair(rows, std::string("a small text, blocks of ") + size, "blocks of 4096",
                          1.0, std::make_shared<Handle>(), usual, work);
    }
    setSetting("OutputBufferBlockSize", "1000000");
}

void addLengthQuery(std::vector<Row>& rows)
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
    rows.push_back({"length query, 1 MB", "length query, 40 B", 1.0, query(holding(1048576)),
                    query(holding(40))});
}

// Writes a device of `count` tables. The last one is Cyrillic; no other has a letter of it.
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

void addManyTables(std::vector<Row>& rows)
{
    writeDevice("last", 64);
    writeDevice("only", 1);
    for (const std::size_t size : {40u, 4096u}) {
        addConversionPair(rows, "last of 64 tables, " + sizeName(size), "the only table", 1.05,
                          std::make_shared<Handle>("last"), std::make_shared<Handle>("only"),
                          workFor(kCyrillic, size));
    }
}

// Measures one large text against so many small ones that they have as many characters.
void addScaling(std::vector<Row>& rows, const std::string& measure, const std::string& reference,
                double target, const std::string& large, const std::string& small)
{
    auto handle = std::make_shared<Handle>();
    auto out = std::make_shared<std::vector<unsigned char>>(large.size() * 10 + 16);
    auto largeText = std::make_shared<std::string>(large);
    auto smallText = std::make_shared<std::string>(small);
    const std::size_t times = large.size() / small.size();
    rows.push_back({measure, reference, target, [=] { handle->convert(*largeText, *out); },
                    [=] {
                        for (std::size_t i = 0; i < times; ++i) {
                            handle->convert(*smallText, *out);
                        }
                    }});
}

void addMarks(std::vector<Row>& rows)
{
    const auto times = [](const std::string& text, int count) {
        std::string result;
        for (int i = 0; i < count; ++i) {
            result += text;
        }
        return result;
    };
    const std::string run = "a\xCC\x81\xCC\xA3";  // U+0301 and, of a lower class, U+0323
    addScaling(rows, "100,000 runs of a base and marks, per run", "1,000 runs", 1.1,
               times(run, 100000), times(run, 1000));
    const std::string marks = "\xCC\x81\xCC\xA3";
    addScaling(rows, "a base with 10,000 marks, per mark", "a base with 100 marks", 1.3,
               "a" + times(marks, 5000), "a" + times(marks, 50));
}

// A call logs two entries, and each dumps the text: 65536 lines of 48 bytes.
void addLog(std::vector<Row>& rows)
{
    fs::create_directory("written");
    setSetting("LogFilePath", "written");
    setSetting("OutputBufferBlockMax", "1");  // the output is never read
    auto logged = std::make_shared<Handle>();
    setSetting("LogFilePath", "log");
    setSetting("OutputBufferBlockMax", "255");
    const std::shared_ptr<Work> work = workFor(kAscii, 1048576);
    const auto ours = [=] {
        RuvoSetData(*logged, reinterpret_cast<unsigned char*>(work->text.data()),
                    work->text.size());
    };
    rows.push_back({"log of a 1 MB call", "as much text through fwrite, line by line", 3.0, ours,
                    [] { writeLines(2 * 1048576 / 16); }});
    rows.push_back({"log of a 1 MB call", "its lines through snprintf and fwrite", 0.2, ours,
                    [=] { writeDump(work->text, 2); }});
}

}  // namespace

Handle::Handle(const char* device)
{
    const std::string name = device;
    m_handle = RuvoOpenHandle(reinterpret_cast<const unsigned char*>(name.data()), name.size(),
                              reinterpret_cast<const unsigned char*>("local"), 5);
    if (m_handle < 0) {
        fail("status " + std::to_string(m_handle) + " for device " + name);
    }
}

Handle::~Handle()
{
    RuvoCloseHandle(m_handle);
}

std::size_t Handle::convert(std::string& text, std::vector<unsigned char>& out) const
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

std::vector<std::string> profileFiles()
{
    std::vector<std::string> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(".")) {
        files.push_back(entry.path().string());
    }
    return files;
}

std::string sizeName(std::size_t size)
{
    if (size >= 1000000) {
        return "1 MB";
    }
    return size >= 4000 ? "4 KB" : std::to_string(size) + " B";
}

std::shared_ptr<Work> workFor(const std::string& phrase, std::size_t size)
{
    auto work = std::make_shared<Work>();
    work->text = repeated(phrase, size);
    checkAgainstSingleCharacters(work->text);
    work->out.resize(work->text.size() * 10 + 16);
    return work;
}

std::vector<Row> makeRows()
{
    std::vector<Row> rows;
    setSetting("OutputBufferBlockSize", "1000000");
    addOpen(rows);
    addConversion(rows, "ASCII", kAscii, "ibm-850", {{40, 0.7}, {4096, 0.15}, {1048576, 0.2}});
    addConversion(rows, "Western accents", kWestern, "ibm-850",
                  {{40, 0.9}, {4096, 0.65}, {1048576, 0.65}});
    addConversion(rows, "Cyrillic", kCyrillic, "ibm-866", {{40, 1.0}, {4096, 1.0}, {1048576, 1.0}});
    addConversion(rows, "katakana", kKatakana, "ibm-943", {{40, 0.7}, {4096, 0.7}, {1048576, 0.7}});
    addConversion(rows, "four tables", kFourTables, "LMBCS-1",
                  {{40, 0.5}, {4096, 0.5}, {1048576, 0.5}});
    addConversion(rows, "set characters among digits", kSets, "ibm-850",
                  {{40, 0.85}, {4096, 0.85}, {1048576, 0.85}});
    addConversion(rows, "decomposed Western", kDecomposed, "ibm-850",
                  {{40, 0.35}, {4096, 0.35}, {1048576, 0.35}}, true);
    addIconv(rows, "ASCII", kAscii);
    addIconv(rows, "Western accents", kWestern);
    addDocument(rows, 200, 1.3);
    addDocument(rows, 4096, 1.25);
    addDocument(rows, 1048576, 1.25);
    addBlockSizes(rows);
    addLengthQuery(rows);
    addManyTables(rows);
    addMarks(rows);
    addLog(rows);
    return rows;
}
