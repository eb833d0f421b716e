// Benchmarks of the batch pipeline: the output record and its "%.3f"
// numbers, and whole batch runs (read, split, compute, format, write) over
// synthetic cruise files of 10^4, 10^5 and 10^6 lines with one and two
// computing threads, beside the run that writes every log line on the smallest file.
// The files are made once in BRINORA_BENCH_DIR (default /tmp/brinora-bench).
#include <benchmark/benchmark.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "app/controller_core.h"
#include "input/fields.h"
#include "records/batch_record.h"
#include "records/fixed_format.h"
#include "records/output_record.h"
#include "pipeline/batch_pipeline.h"
#include "app/plain_ui.h"
#include "bench/cruise_file.h"
#include "engine/compute_co2.h"
#include "engine/engine.h"
#include "engine/slots.h"
#include "log/log.h"

namespace brinora {
namespace {

// The run's log lines go nowhere here (the command line sends them to the
// system log; the benchmark measures the run).
const log::ScopedSink kQuietLog{[](std::string_view) {}};

std::string benchDirectory() {
    const char* dir = std::getenv("BRINORA_BENCH_DIR");
    std::string path = dir != nullptr && *dir != '\0' ? dir : "/tmp/brinora-bench";
    ::mkdir(path.c_str(), 0755);
    return path;
}

// A cruise file of `lines` lines, made on first use.
std::string cruiseFile(std::size_t lines) {
    const std::string path = benchDirectory() + "/cruise-" + std::to_string(lines) + ".csv";
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0) {
        if (!bench::writeCruiseFile(path + ".part", lines) || std::rename((path + ".part").c_str(), path.c_str()) != 0) {
            return {};
        }
    }
    return path;
}

void chooseOptions(PlainUi& ui, int constants = 13) {
    ui.selectItem(Menu::CO2Constants, constants);
    ui.selectItem(Menu::KHSO4, 1);
    ui.selectItem(Menu::pHScale, 1);
    ui.selectItem(Menu::AirSeaFlux, 1);
}

// A board as a computed sample leaves it.
Board computedBoard() {
    Board board;
    const float inputs[][2] = {{1, 12.0f}, {11, 35.1f}, {12, 18.4f}, {13, 0.0f}, {14, 0.8f}, {15, 12.5f},
                               {18, 2301.5f}, {19, 2034.2f}, {23, 415.0f}, {24, 7.2f}};
    for (const auto& input : inputs) board.set(static_cast<std::uint32_t>(input[0]), input[1]);
    ProcessValues values;
    BrinoraMain::ComputeCO2(board, values);
    return board;
}

void formatNumbersFast(benchmark::State& state) {
    const Board board = computedBoard();
    char buffer[kFixed3MaxLength];
    std::uint32_t pos = 30;
    for (auto _ : state) {
        benchmark::DoNotOptimize(writeFixed3(board.get(pos), buffer));
        pos = pos == 67 ? 30 : pos + 1;
    }
}

void formatNumbersPrintf(benchmark::State& state) {
    const Board board = computedBoard();
    char buffer[64];
    std::uint32_t pos = 30;
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::snprintf(buffer, sizeof buffer, "%.3f", static_cast<double>(board.get(pos))));
        pos = pos == 67 ? 30 : pos + 1;
    }
}

void formatRecordFast(benchmark::State& state) {
    PlainUi ui;
    chooseOptions(ui);
    const Board board = computedBoard();
    const std::string optionColumns = batchRecordOptionColumns(recordOptionTitlesOf(ui));
    BatchFields fields;
    splitBatchFields("17,St00003-04,02:17,06/03/2023,12.3456,-45.6789,,,,,,,,,,,,,,,bottle 17", fields);
    std::string record;
    for (auto _ : state) {
        record.clear();
        appendBatchRecord(record, fields, board, optionColumns);
        benchmark::DoNotOptimize(record.data());
    }
}

void formatRecordController(benchmark::State& state) {
    PlainUi ui;
    MemorySettings defaults;
    chooseOptions(ui);
    BrinoraAppControllerCore core(ui, defaults);
    core.batchWriteMode = 1;
    core.cruiseInformationDictionary = {{"SampleID", "17"}, {"Name", "St00003-04"}, {"Time", "02:17"},
                                        {"Date", "06/03/2023"}, {"Latitude", "12.3456"}, {"Longitude", "-45.6789"},
                                        {"Comment", "bottle 17"}};
    Engine::sharedInstance()->board() = computedBoard();
    for (auto _ : state) benchmark::DoNotOptimize(core.formatOutputAs("String"));
}

// One whole batch run over a cruise file of `lines` lines; `jobs` 0 is the
// controller's own run, which writes every log line (on one thread).
// Constants sets 6 and 7 write a log line per constants evaluation, collected
// by the workers and written in file order.
void batchRun(benchmark::State& state, std::size_t lines, unsigned jobs, int constants) {
    const std::string input = cruiseFile(lines);
    if (input.empty()) {
        state.SkipWithError("cannot write the cruise file");
        return;
    }
    const std::string output = benchDirectory() + "/out-" + std::to_string(lines) + "-" + std::to_string(jobs) + ".csv";
    for (auto _ : state) {
        state.PauseTiming();
        PlainUi ui;
        MemorySettings defaults;
        chooseOptions(ui, constants);
        BrinoraAppControllerCore core(ui, defaults);
        core.batchInputFilesChosen({input});
        core.batchOutputFileCreated(output);
        Engine::sharedInstance()->reset();
        state.ResumeTiming();
        std::string message;
        if (jobs == 0) {
            message = core.batchProcess(input, false);
        } else {
            core.runOptions.jobs = jobs;
            core.runOptions.sampleLogLines = SampleLogLines::kOmitted;
            message = core.batchProcess(input, false);
        }
        if (!message.empty()) state.SkipWithError(message.c_str());
        if (core.recordsWritten <= 0) state.SkipWithError("no record written");
    }
    std::remove(output.c_str());
    state.counters["lines/s"] =
        benchmark::Counter(static_cast<double>(lines), benchmark::Counter::kIsIterationInvariantRate);
}

const bool kRegistered = [] {
    benchmark::RegisterBenchmark("FormatNumber/fast", formatNumbersFast);
    benchmark::RegisterBenchmark("FormatNumber/printf", formatNumbersPrintf);
    benchmark::RegisterBenchmark("FormatRecord/fast", formatRecordFast);
    benchmark::RegisterBenchmark("FormatRecord/controller", formatRecordController);
    benchmark::RegisterBenchmark("BatchRun/every-log-line/10000", batchRun, std::size_t{10000}, 0u, 13)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    for (const std::size_t lines : {std::size_t{10000}, std::size_t{100000}, std::size_t{1000000}}) {
        for (const unsigned jobs : {1u, 2u}) {
            benchmark::internal::Benchmark* run = benchmark::RegisterBenchmark(
                ("BatchRun/jobs" + std::to_string(jobs) + "/" + std::to_string(lines)).c_str(), batchRun, lines, jobs,
                13);
            run->Unit(benchmark::kMillisecond)->UseRealTime();
            // A run of a million lines takes seconds: once per repetition.
            if (lines >= 1000000) run->Iterations(1);
        }
    }
    for (const int constants : {6, 7}) {
        for (const unsigned jobs : {1u, 2u}) {
            benchmark::RegisterBenchmark(
                ("BatchRun/set" + std::to_string(constants) + "/jobs" + std::to_string(jobs) + "/100000").c_str(),
                batchRun, std::size_t{100000}, jobs, constants)
                ->Unit(benchmark::kMillisecond)
                ->UseRealTime();
        }
    }
    return true;
}();

}  // namespace
}  // namespace brinora

BENCHMARK_MAIN();
