// The batch engine: every batch run (records, preview, KML document) of every
// front (command line, desktop program, benchmarks) runs here.
//
//   input ──► lines ──► line rules ──► workers ──► ordered sink ──► output
//   (read     (the one   (fields,       (board,      (blocks of      (ByteSink:
//    once)     splitter)  checks)        compute,     64 KiB+, in     file, crash
//                                        format)      file order)     protocol)
//
// The input is read once, block by block, from a file, a pipe or standard
// input ("-"). Lines are computed by worker threads, each with a board and
// K0/FugFac of its own, and come back in file order; the bytes written, the
// messages, the stop rules and the log lines are those of the one-line-at-a-
// time batch of BrinoraAppControllerCore. Log lines that follow "The file is
// %d lines long" are held until the input has been read to its end.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include "input/line_reader.h"
#include "app/ui.h"

namespace brinora {

class BrinoraAppControllerCore;

// Which log lines of the sample lines a run writes.
enum class SampleLogLines {
    // Only the run's own lines (the announcement, the file and its length, the
    // header count, a stopping message, the end); constants sets 6 and 7 still
    // write their line per constants call.
    kOmitted,
    // Every line, in the order of the one-line-at-a-time run; the samples are
    // then computed on one thread.
    kEvery,
};

// Where the bytes of a run go (an output file under the crash protocol,
// standard output, a plain appended file).
class ByteSink {
public:
    virtual ~ByteSink() = default;
    // Writes all of `bytes`; false on failure (errorMessage() says why).
    virtual bool write(std::string_view bytes) = 0;
    virtual std::string errorMessage() const = 0;
};

// A remark for the user about the input that is not a log line: a line with
// more than 21 fields, a number beyond the float range, a last KML line
// dropped for lack of a line end.
struct RunNote {
    int sourceLine = 0;  // editor line number of the input, 0 for the whole file
    std::string text;
};

struct BatchRunOptions {
    // Threads that compute: 0 means one per core available, 1 the calling
    // thread alone. Constants sets 6 and 7 and SampleLogLines::kEvery always
    // run on one thread, so that the log keeps its order.
    unsigned jobs = 0;
    SampleLogLines sampleLogLines = SampleLogLines::kEvery;
    std::size_t readBlock = kDefaultReadBlock;
    std::size_t linesPerChunk = 256;
    // Where records and placemarks go. Null: appended to core.fullPathOut (the
    // desktop program's output file, which already holds its header).
    ByteSink* output = nullptr;
    // Remarks about the input, in file order (null: none are made).
    std::function<void(const RunNote&)> note;
};

// Bytes gathered before a write to the output.
inline constexpr std::size_t kOutputBlock = std::size_t{1} << 20;

// Cores this process may run on.
unsigned availableCores();

// core.batchProcess(path, justPreview) over the first of core.filesToOpen
// ("-" is standard input). Returns "" or the message that stopped the run.
std::string runBatchFile(BrinoraAppControllerCore& core, AppUi& ui, const BatchRunOptions& options,
                         bool justPreview);

// core.writeKML(): the open panel, then one placemark per line into the KML
// file chosen on the first line.
void runKmlFile(BrinoraAppControllerCore& core, AppUi& ui, SettingsStore& defaults,
                const BatchRunOptions& options);

// The placemarks of the input already chosen (core.fullPath): the run of
// runKmlFile after its open panel.
void runKmlOfChosenInput(BrinoraAppControllerCore& core, AppUi& ui, SettingsStore& defaults,
                         const BatchRunOptions& options);

}  // namespace brinora
