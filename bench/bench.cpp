// Measures the library against named references in the same run, and prints the tables of
// bench/README.md.
#include "bench/Allocations.h"
#include "bench/References.h"
#include "bench/Rows.h"
#include "bench/Texts.h"

#include "converter/RuvoConverter.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

#include <unistd.h>

namespace fs = std::filesystem;

namespace {

// ---- The first open of a process ----

constexpr char kFirstOpen[] = "--first-open";

// Runs in a process of its own, which printFirstOpen starts: prints the times of one open and of
// one pass of the reference, in nanoseconds.
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
    std::printf("| open | %zu | 80 |\n", allocationsIn([] { new Handle; }));
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
    // A packed record: 11 bytes, 4 for each table but the first, and 2 and 3 for the text
    // properties.
    const long packed = records * (11 + 4 * (9 - 1) + 2 + 3);
    std::printf(
        "\n| memory | bytes | packed records | ratio | to reach |\n|---|---|---|---|---|\n");
    std::printf("| one more open handle | %ld | %ld | %.2f | 1.10 |\n", perHandle, packed,
                static_cast<double>(perHandle) / static_cast<double>(packed));
}

// ---- Running and printing ----

// The names of the two benchmarks of a row.
std::string oursOf(const Row& row)
{
    return row.measure + " | " + row.reference + " | ours";
}

std::string theirsOf(const Row& row)
{
    return row.measure + " | " + row.reference + " | reference";
}

// Keeps the median time of each benchmark, by its name.
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
    const std::vector<Row> rows = makeRows();
    for (const Row& row : rows) {
        add(oursOf(row), row.ours);
        add(theirsOf(row), row.theirs);
    }
    MedianKeeper keeper;
    benchmark::RunSpecifiedBenchmarks(&keeper);

    std::printf("| measure | reference | ours, ns | reference, ns | ratio | to reach |\n");
    std::printf("|---|---|---|---|---|---|\n");
    for (const Row& row : rows) {
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
