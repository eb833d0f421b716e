// Runs on several threads against runs on one thread that write every log
// line: the same input, the same options, the real chemistry; the output
// files must be equal byte for byte, and the messages, results and log lines
// the same.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "app/controller_core.h"
#include "records/output_record.h"
#include "pipeline/batch_pipeline.h"
#include "app/plain_ui.h"
#include "engine/engine.h"
#include "log/log.h"
#include "tests/support/controller_fixture.h"
#include "tests/support/files.h"

namespace brinora {
namespace {

using testing::kInputHeader;
using testing::readFile;
using testing::writeFile;

// Everything a run leaves behind that a user or a caller can see.
struct RunOutcome {
    std::string message;
    std::string output;
    std::vector<std::string> log;
    std::vector<double> progress;
    std::vector<std::string> alerts;
    std::vector<std::string> errors;
    int stoppedAtLine = 0;
    int stoppedAtSourceLine = 0;
    int recordsWritten = 0;
    int placemarksWritten = 0;
    int failedWrites = 0;
    std::string lastWriteError;
    double progressValue = 0.0;
    bool progressHidden = false;
    std::string stringToWrite;
    std::map<std::string, std::string, std::less<>> cruiseInformation;
    std::uint32_t sampleID = 0;
    std::string fullPath;
    std::string fullPathOut;
};

// The per-sample lines of a batch or KML run, which a fast run writes only
// with SampleLogLines::kEvery.
bool isSampleLogLine(const std::string& line) {
    return line.starts_with("Dealing with line ") || line == "Nothing on this line" ||
           line == "updating constants..." || line.starts_with("CO2Constants: ") || line == "Constants updated!" ||
           line == "Passed compute" || line.starts_with("stringToWrite: ") || line == "Done with the line!";
}

// A run on several threads that writes only the run's own log lines.
struct FastRunOptions : BatchRunOptions {
    FastRunOptions() { sampleLogLines = SampleLogLines::kOmitted; }
};

std::string parallelBatchProcess(BrinoraAppControllerCore& core, AppUi& /*ui*/, const BatchRunOptions& options) {
    core.runOptions = options;
    return core.batchProcess(core.fullPath, false);
}

void parallelWriteKML(BrinoraAppControllerCore& core, AppUi& /*ui*/, SettingsStore& /*defaults*/,
                  const BatchRunOptions& options) {
    core.runOptions = options;
    core.writeKML();
}

struct Options {
    int constants = 13, khso4 = 1, scale = 1, flux = 1;
};

class FastBatchTest : public ::testing::Test {
protected:
    brinora::testing::ScratchFolder scratch_{"fast-test"};

    FastBatchTest() {
        dir = scratch_.path();
    }

    std::string input(const std::string& text) {
        const std::string path = dir + "/in.csv";
        writeFile(path, text);
        return path;
    }

    // One full batch run over `inputPath`: the reference run when `fast` is
    // empty. `output` names an existing file to append to instead of a new one.
    RunOutcome batch(const std::string& inputPath, const std::optional<FastRunOptions>& fast,
                     const Options& options = {}, bool captureLog = true, const std::string& output = "") {
        RunOutcome outcome;
        PlainUi ui;
        MemorySettings defaults;
        BrinoraAppControllerCore core(ui, defaults);
        choose(ui, options);
        ui.onProgress = [&](double percent) { outcome.progress.push_back(percent); };
        const std::string outputPath = output.empty() ? dir + "/out-" + std::to_string(++runs) + ".csv" : output;
        ui.onAlert = [&](const Alert& alert) {
            outcome.alerts.push_back(alert.messageText + "|" + withoutPath(alert.informativeText, outputPath));
        };
        ui.onPresentError = [&](const PresentedError& error) {
            outcome.errors.push_back(error.domain + "|" + std::to_string(error.code) + "|" + error.localizedDescription);
        };
        core.batchInputFilesChosen({inputPath});
        if (output.empty()) {
            core.batchOutputFileCreated(outputPath);
        } else {
            core.outputFileOpened(outputPath);
        }
        Engine::sharedInstance()->reset();
        {
            const log::ScopedSink sink([&](std::string_view line) {
                if (captureLog) outcome.log.emplace_back(line);
            });
            outcome.message = fast ? parallelBatchProcess(core, ui, *fast) : core.batchProcess(inputPath, false);
        }
        if (output.empty()) outcome.output = readFile(outputPath);
        collect(core, ui, outcome);
        outcome.lastWriteError = withoutPath(outcome.lastWriteError, outputPath);
        outcome.message = withoutPath(outcome.message, outputPath);
        for (std::string& line : outcome.log) line = withoutPath(line, outputPath);
        return outcome;
    }

    // One KML run over `inputPath`.
    RunOutcome kml(const std::string& inputPath, const std::optional<FastRunOptions>& fast,
                   const Options& options = {}) {
        RunOutcome outcome;
        PlainUi ui;
        MemorySettings defaults;
        BrinoraAppControllerCore core(ui, defaults);
        choose(ui, options);
        const std::string outputPath = dir + "/out-" + std::to_string(++runs) + ".kml";
        ui.onOpenPanel = [&](const OpenPanelRequest&) { return std::vector<std::string>{inputPath}; };
        ui.onSavePanel = [&](const SavePanelRequest&) -> std::optional<std::string> { return outputPath; };
        ui.onAlert = [&](const Alert& alert) {
            outcome.alerts.push_back(alert.messageText + "|" + withoutPath(alert.informativeText, outputPath));
        };
        ui.onPresentError = [&](const PresentedError& error) { outcome.errors.push_back(error.localizedDescription); };
        core.sampleID = 3;
        Engine::sharedInstance()->reset();
        {
            const log::ScopedSink sink([&](std::string_view line) { outcome.log.emplace_back(line); });
            if (fast) {
                parallelWriteKML(core, ui, defaults, *fast);
            } else {
                core.writeKML();
            }
        }
        outcome.output = readFile(outputPath);
        collect(core, ui, outcome);
        outcome.fullPathOut = withoutPath(core.fullPathOut, outputPath);
        outcome.lastWriteError = withoutPath(outcome.lastWriteError, outputPath);
        return outcome;
    }

    // `text` with the output path, which differs from run to run, as "OUT".
    static std::string withoutPath(std::string text, const std::string& path) {
        for (std::size_t at = text.find(path); at != std::string::npos; at = text.find(path, at + 3)) {
            text.replace(at, path.size(), "OUT");
        }
        return text;
    }

    static void choose(PlainUi& ui, const Options& options) {
        ui.selectItem(Menu::CO2Constants, options.constants);
        ui.selectItem(Menu::KHSO4, options.khso4);
        ui.selectItem(Menu::pHScale, options.scale);
        ui.selectItem(Menu::AirSeaFlux, options.flux);
    }

    static void collect(const BrinoraAppControllerCore& core, const PlainUi& ui, RunOutcome& outcome) {
        outcome.stoppedAtLine = core.stoppedAtLine;
        outcome.stoppedAtSourceLine = core.stoppedAtSourceLine;
        outcome.recordsWritten = core.recordsWritten;
        outcome.placemarksWritten = core.placemarksWritten;
        outcome.failedWrites = core.failedWrites;
        outcome.lastWriteError = core.lastWriteError;
        outcome.progressValue = core.progressValue;
        outcome.progressHidden = ui.progressHidden;
        outcome.stringToWrite = core.stringToWrite;
        outcome.cruiseInformation = core.cruiseInformationDictionary;
        outcome.sampleID = core.sampleID;
        outcome.fullPath = core.fullPath;
    }

    // The fast run with every log line must match the reference run in
    // everything; without them, in everything but the per-sample lines.
    static void expectSame(const RunOutcome& reference, const RunOutcome& fast, bool everyLogLine,
                           const std::string& what) {
        SCOPED_TRACE(what);
        EXPECT_EQ(fast.message, reference.message);
        EXPECT_TRUE(fast.output == reference.output) << "outputs differ (" << fast.output.size() << " and "
                                                      << reference.output.size() << " bytes)";
        // Progress comes once per block of lines, so its steps differ; it
        // never goes back and ends where the reference ends.
        EXPECT_TRUE(std::is_sorted(fast.progress.begin(), fast.progress.end()));
        EXPECT_EQ(fast.progress.empty(), reference.progress.empty());
        if (!fast.progress.empty() && !reference.progress.empty()) {
            EXPECT_EQ(fast.progress.back(), reference.progress.back());
        }
        EXPECT_EQ(fast.alerts, reference.alerts);
        EXPECT_EQ(fast.errors, reference.errors);
        EXPECT_EQ(fast.stoppedAtLine, reference.stoppedAtLine);
        EXPECT_EQ(fast.stoppedAtSourceLine, reference.stoppedAtSourceLine);
        EXPECT_EQ(fast.recordsWritten, reference.recordsWritten);
        EXPECT_EQ(fast.placemarksWritten, reference.placemarksWritten);
        EXPECT_EQ(fast.failedWrites, reference.failedWrites);
        EXPECT_EQ(fast.lastWriteError, reference.lastWriteError);
        EXPECT_EQ(fast.progressValue, reference.progressValue);
        EXPECT_EQ(fast.progressHidden, reference.progressHidden);
        EXPECT_EQ(fast.stringToWrite, reference.stringToWrite);
        EXPECT_EQ(fast.cruiseInformation, reference.cruiseInformation);
        EXPECT_EQ(fast.sampleID, reference.sampleID);
        EXPECT_EQ(fast.fullPath, reference.fullPath);
        EXPECT_EQ(fast.fullPathOut, reference.fullPathOut);
        if (everyLogLine) {
            EXPECT_EQ(fast.log, reference.log);
        } else {
            std::vector<std::string> runLines;
            for (const std::string& line : reference.log) {
                if (!isSampleLogLine(line)) runLines.push_back(line);
            }
            EXPECT_EQ(fast.log, runLines);
        }
    }

    // The batch run of `text` made every way: one thread, several, small
    // blocks and chunks, every log line.
    void expectFastBatchSame(const std::string& text, const Options& options = {}) {
        const std::string path = input(text);
        const RunOutcome reference = batch(path, std::nullopt, options);
        struct Variant {
            unsigned jobs;
            std::size_t block, chunk;
            SampleLogLines log;
        };
        for (const Variant v : {Variant{1, kDefaultReadBlock, 256, SampleLogLines::kOmitted},
                                Variant{2, kDefaultReadBlock, 256, SampleLogLines::kOmitted},
                                Variant{8, 7, 3, SampleLogLines::kOmitted}, Variant{2, 1, 1, SampleLogLines::kOmitted},
                                Variant{1, 5, 2, SampleLogLines::kEvery}, Variant{4, 64, 2, SampleLogLines::kEvery}}) {
            FastRunOptions fast;
            fast.jobs = v.jobs;
            fast.readBlock = v.block;
            fast.linesPerChunk = v.chunk;
            fast.sampleLogLines = v.log;
            expectSame(reference, batch(path, fast, options), v.log == SampleLogLines::kEvery,
                       "jobs " + std::to_string(v.jobs) + ", block " + std::to_string(v.block) + ", chunk " +
                           std::to_string(v.chunk) + (v.log == SampleLogLines::kEvery ? ", every log line" : ""));
        }
    }

    void expectFastKmlSame(const std::string& text, const Options& options = {}) {
        const std::string path = input(text);
        const RunOutcome reference = kml(path, std::nullopt, options);
        for (const unsigned jobs : {1u, 2u, 8u}) {
            FastRunOptions fast;
            fast.jobs = jobs;
            fast.readBlock = jobs == 8 ? 5 : kDefaultReadBlock;
            fast.linesPerChunk = jobs == 8 ? 2 : 256;
            expectSame(reference, kml(path, fast, options), false, "kml, jobs " + std::to_string(jobs));
            fast.sampleLogLines = SampleLogLines::kEvery;
            expectSame(reference, kml(path, fast, options), true, "kml, every log line, jobs " + std::to_string(jobs));
        }
    }

    std::string dir;
    int runs = 0;
};

// One sample line; `carbonate` holds fields 13..17 (TA, TCO2, pH, fCO2, pCO2).
std::string sample(int id, const std::string& carbonate = "2300,2000,,,", const std::string& salinity = "35",
                   const std::string& pressure = "0") {
    return std::to_string(id) + ",St " + std::to_string(id) + ",10:00,1/2/2023,10.5,-20.25," + salinity + ",20," +
           pressure + ",1,5,,," + carbonate + ",400,7,comment " + std::to_string(id);
}

const std::string kHeader = kInputHeader;

TEST_F(FastBatchTest, ExampleCruise) {
    expectFastBatchSame(readFile(std::string(BRINORA_EXAMPLES_DIR) + "/cruise.csv"));
    expectFastKmlSame(readFile(std::string(BRINORA_EXAMPLES_DIR) + "/cruise.csv"));
}

TEST_F(FastBatchTest, LineEndsOfEveryKind) {
    const std::string a = sample(1), b = sample(2, "2300,,8.1,,"), c = sample(3, ",2000,,400,");
    for (const std::string& text :
         {kHeader + "\r\n" + a + "\r\n" + b + "\r\n" + c + "\r\n", kHeader + "\r" + a + "\r" + b + "\r" + c + "\r",
          kHeader + "\n" + a + "\n\n" + b + "\n\n\n" + c + "\n\n\n\n", kHeader + "\r\n" + a + "\r\n\r\n" + b + "\n" + c,
          kHeader + "\n" + a + "\n" + b + "\n" + c, kHeader + "\n\n" + a, kHeader + "\n" + a + "\r\n\r\n\r\n",
          "\xEF\xBB\xBF" + kHeader + "\n" + a + "\n"}) {
        expectFastBatchSame(text);
        expectFastKmlSame(text);
    }
}

TEST_F(FastBatchTest, EmptyLinesAndLinesWithoutSampleId) {
    expectFastBatchSame(kHeader + "\n" + sample(1) + "\n,St x,,,,,35,20\n" + sample(2) + "\n,\n\n\n" + sample(3) +
                        "\n,,,,,,,,,,,,,,,,,,,,,,,,,\n");
}

TEST_F(FastBatchTest, StopsOnLineThreeAndOnTheLastLine) {
    // Salinity, temperature and the pair rule, each on line 3 and on the last line.
    const std::string noSalinity = sample(9, "2300,2000,,,", "");
    const std::string noTemperature = "9,x,,,,,35,,0,0,0,,,2300,2000,,,,,,";
    const std::string allFive = sample(9, "2300,2000,8.1,400,390");
    for (const std::string& bad : {noSalinity, noTemperature, allFive}) {
        expectFastBatchSame(kHeader + "\n" + sample(1) + "\n" + sample(2) + "\n" + bad + "\n" + sample(4) + "\n");
        expectFastBatchSame(kHeader + "\n" + sample(1) + "\n" + sample(2) + "\n" + sample(3) + "\n" + bad + "\n");
        expectFastBatchSame(kHeader + "\n" + sample(1) + "\n" + sample(2) + "\n" + sample(3) + "\n" + bad);
    }
    // A stop on the first line, before any record.
    expectFastBatchSame(kHeader + "\n" + noSalinity + "\n" + sample(2) + "\n");
}

TEST_F(FastBatchTest, HeaderAndFileProblems) {
    expectFastBatchSame("");
    expectFastBatchSame(kHeader);
    expectFastBatchSame(kHeader + "\n");
    expectFastBatchSame("a,b,c\n" + sample(1) + "\n");
    expectFastBatchSame(kHeader + ",\n" + sample(1) + "\n");
    expectFastBatchSame(kHeader + "\n" + sample(1) + "\n\xFF\n");
    const RunOutcome reference = batch(dir + "/missing.csv", std::nullopt);
    expectSame(reference, batch(dir + "/missing.csv", FastRunOptions{}), false, "missing input");
}

TEST_F(FastBatchTest, LinesLongerThanABlockAndFieldsOfEveryKind) {
    std::string longComment(300000, 'c');
    std::string wide = sample(5);
    for (int k = 0; k < 5000; ++k) wide += ",x";
    expectFastBatchSame(kHeader + "\n" + sample(1, "2300,2000,,,") + longComment + "\n" + wide + "\n" +
                        "6,n,t,d,la,lo, 35.5,+20,1e1,abc,-0,-999,-9,2.3e3,2000,,,,1e999,-1e999,c\r\n" +
                        "7,n,t,d,la,lo,-9,20,0,0,0,0,0,2300,2000,,,,,,\n" +
                        "8,n,t,d,la,lo,35,-999,0,0,0,0,0,2300,2000,,,,,,\n" +
                        "9,n,t,d,la,lo,35,20,0,0,0,0,0,2300,-2000,,,,,,\n" +
                        "10,n,t,d,la,lo,35,20,0,0,0,0,0,2300,,,,,,,\n" + "11,short\n");
}

TEST_F(FastBatchTest, EveryInputPairAndConstantsSet) {
    const std::vector<std::string> pairs = {"2300,2000,,,", "2300,,8.05,,", "2300,,,400,", "2300,,,,400",
                                            ",2000,8.05,,", ",2000,,400,",  ",2000,,,400", ",,8.05,400,",
                                            ",,8.05,,400",  ",,,400,390",    "2300,,,,"};
    std::string text = kHeader + "\n";
    int id = 1;
    for (const std::string& pair : pairs) {
        for (const std::string pressure : {"0", "3000"}) text += sample(id++, pair, "34.5", pressure) + "\n";
    }
    for (int constants = 1; constants <= 14; ++constants) {
        expectFastBatchSame(text, Options{constants, 1 + constants % 2, 1 + constants % 4, 1 + constants % 3});
    }
    expectFastKmlSame(text, Options{7, 2, 4, 3});
}

TEST_F(FastBatchTest, SetsSixAndSevenWriteTheirLogLinesInFileOrderOnSeveralThreads) {
    // Three "peng" lines a TA-TCO2 sample, two for the other pairs, with
    // values that differ from line to line: the runs on 2 and 8 threads must
    // write them in the one-thread run's order.
    const std::vector<std::string> pairs = {"2300,2000,,,", "2300,,8.05,,", ",2000,,400,", ",,8.05,,400"};
    std::string text = kHeader + "\n";
    for (int id = 1; id <= 1500; ++id) {
        const std::string salinity = std::to_string(30 + id % 70 / 10.0);
        text += sample(id, pairs[static_cast<std::size_t>(id) % pairs.size()], salinity, id % 3 == 0 ? "2500" : "0") +
                "\n";
    }
    for (const int constants : {6, 7}) {
        const RunOutcome reference = batch(input(text), std::nullopt, Options{constants, 1, 4, 1});
        const auto peng = std::count_if(reference.log.begin(), reference.log.end(),
                                        [](const std::string& line) { return line.starts_with("peng "); });
        EXPECT_EQ(peng, 375 * 3 + 1125 * 2) << "set " << constants;
        expectFastBatchSame(text, Options{constants, 1, 4, 1});
    }
}

TEST_F(FastBatchTest, KmlOfAwkwardLines) {
    expectFastKmlSame(kHeader + "\n" + sample(1) + "\n\n" + "x,#SALINITY# #tC#,#a#,##,la,lo,35,20\n" +
                      "only\n" + sample(2) + "\n" + sample(3));
    expectFastKmlSame(kHeader + "\n");
    expectFastKmlSame(kHeader + "\n" + sample(1));
    expectFastKmlSame("");
}

TEST_F(FastBatchTest, HundredThousandRandomLines) {
    std::mt19937_64 random(424242);
    const std::vector<std::string> lineEnds = {"\n", "\n", "\n", "\r\n", "\r", "\n\n\n"};
    const std::vector<std::string> pairs = {"2300,2000,,,", "2300,,8.05,,", "2300,,,400,", ",2000,8.05,,",
                                            ",2000,,400,", ",,8.05,,400", "2300,,,,"};
    std::string text = kHeader + "\n";
    for (int i = 1; i <= 100000; ++i) {
        if (random() % 50 == 0) {
            text += ",empty id," + std::to_string(i);
        } else {
            const double S = 30.0 + static_cast<double>(random() % 8000) / 1000.0;
            const double T = static_cast<double>(random() % 3000) / 100.0;
            const bool deep = random() % 3 == 0;
            char line[256];
            std::snprintf(line, sizeof line, "%d,Stn %d,12:00,01/02/2023,31.5,-64.2,%.3f,%.2f,%s,%.2f,%.1f,%s,%s,%s,415,%.1f,c%d",
                          i, i / 24, S, T, deep ? "2500" : "0", static_cast<double>(random() % 300) / 100.0,
                          static_cast<double>(random() % 600) / 10.0, random() % 4 == 0 ? "25" : "",
                          random() % 5 == 0 ? "100" : "", pairs[random() % pairs.size()].c_str(),
                          static_cast<double>(random() % 120) / 10.0, i);
            text += line;
        }
        text += lineEnds[random() % lineEnds.size()];
    }
    const std::string path = input(text);
    const RunOutcome reference = batch(path, std::nullopt, Options{}, false);
    ASSERT_EQ(reference.message, "");
    ASSERT_GT(reference.recordsWritten, 95000);
    for (const unsigned jobs : {1u, 2u, 8u}) {
        FastRunOptions fast;
        fast.jobs = jobs;
        const RunOutcome outcome = batch(path, fast, Options{}, false);
        EXPECT_TRUE(outcome.output == reference.output) << "jobs " << jobs;
        EXPECT_EQ(outcome.recordsWritten, reference.recordsWritten);
        EXPECT_TRUE(std::is_sorted(outcome.progress.begin(), outcome.progress.end()));
        EXPECT_EQ(outcome.progress.back(), 100.0);
        EXPECT_EQ(outcome.message, reference.message);
    }
}

TEST_F(FastBatchTest, RecordsAppendedToAnExistingFile) {
    const std::string path = input(kHeader + "\n" + sample(1) + "\n" + sample(2) + "\n");
    const std::string first = dir + "/first.csv", second = dir + "/second.csv";
    writeFile(first, "earlier content\n");
    writeFile(second, "earlier content\n");
    batch(path, std::nullopt, Options{}, true, first);
    FastRunOptions fast;
    fast.jobs = 2;
    batch(path, fast, Options{}, true, second);
    EXPECT_EQ(readFile(second), readFile(first));
}

TEST_F(FastBatchTest, DeviceFullKeepsNoRecord) {
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
    const std::string path = input(kHeader + "\n,\n" + sample(1) + "\n" + sample(2) + "\n");
    const RunOutcome reference = batch(path, std::nullopt, Options{}, true, "/dev/full");
    ASSERT_EQ(reference.failedWrites, 1);
    ASSERT_EQ(reference.recordsWritten, 0);
    // The desktop's output file is appended to as the command line's --append
    // does: a device is refused before anything is written.
    ASSERT_EQ(reference.message, "The record could not be written to the output file (the output \"OUT\" is "
                                 "not a plain file).");
    for (const unsigned jobs : {1u, 2u}) {
        FastRunOptions fast;
        fast.jobs = jobs;
        expectSame(reference, batch(path, fast, Options{}, true, "/dev/full"), false, "device full");
    }
}

TEST_F(FastBatchTest, FileSizeLimitKeepsNoRecordOfTheRun) {
    // In a child process, whose file size limit cuts the output after a few
    // records: both runs must take their records back, leaving the header.
    std::string text = kHeader + "\n";
    for (int i = 1; i <= 40; ++i) text += sample(i) + "\n";
    const std::string path = input(text);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        ::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{6000, 6000};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        const RunOutcome reference = batch(path, std::nullopt, Options{}, false);
        FastRunOptions fast;
        fast.jobs = 2;
        const RunOutcome outcome = batch(path, fast, Options{}, false);
        const bool same = reference.output == outcome.output && reference.message == outcome.message &&
                          reference.stoppedAtLine == outcome.stoppedAtLine &&
                          reference.recordsWritten == outcome.recordsWritten && reference.recordsWritten == 0 &&
                          reference.failedWrites == 1 && reference.output == std::string(dataFileHeaders()) &&
                          reference.lastWriteError == outcome.lastWriteError;
        std::_Exit(same ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

}  // namespace
}  // namespace brinora
