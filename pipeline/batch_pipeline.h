// The batch pipeline: every batch run (records, preview, KML document) of every
// front (command line, desktop program, benchmarks) runs here.
//
//   input ──► lines ──► line rules ──► workers ──► ordered sink ──► output
//   (read     (the one   (fields,       (board,      (blocks of      (ByteSink:
//    once)     splitter)  checks)        compute,     64 KiB+, in     an output
//                                        format)      file order)     target)
//
// A run is asked for with a plain request (the input, where the bytes go, the
// options as values, the mode) and tells how it goes through a BatchReport:
// log lines, progress, remarks about the input, preview rows. It reads no
// window and asks the user nothing; how it ended is its result, with a status.
//
// The input is read once, block by block, from a file, a pipe or standard
// input ("-"). Lines are computed by worker threads, each with a board and
// K0/FugFac of its own, and come back in file order. Log lines that follow
// "The file is %d lines long" are held until the input has been read to its end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "engine/board.h"
#include "input/line_reader.h"
#include "records/batch_record.h"
#include "records/dict_record.h"

namespace brinora {

// What a run makes of the sample lines.
enum class RunMode {
    kRecords,  // one output record per sample line, after the line rules
    kPreview,  // preview rows (Dict records) of the first lines, nothing written
    kKml,      // one KML placemark per line between the header and the last line end
};

// Which log lines of the sample lines a run writes.
enum class SampleLogLines {
    // Only the run's own lines (the file and its length, the header count);
    // constants sets 6 and 7 still write their line per constants call.
    kOmitted,
    // Every line, in the order of the one-line-at-a-time run; the samples are
    // then computed on one thread.
    kEvery,
};

// Where the bytes of a run go (an output file under the crash protocol,
// standard output).
class ByteSink {
public:
    virtual ~ByteSink() = default;
    // Writes all of `bytes`; false on failure (errorMessage() says why).
    virtual bool write(std::string_view bytes) = 0;
    virtual std::string errorMessage() const = 0;
};

// A second file of a records run, one row per record (the uncertainty file):
// made by the same workers from the same single read of the input, and
// written in file order beside the records.
class SampleRows {
public:
    virtual ~SampleRows() = default;
    // Appends to `out` the row of the `sample`-th sample line of the input
    // (counted from 1), at editor line `sourceLine`, with fields `fields`.
    // False with `error` when the line can have no row: the run then fails
    // as on a failed write. Called on the worker threads, several at a time.
    virtual bool append(const BatchFields& fields, std::size_t sample, int sourceLine, std::string& out,
                        std::string& error) const = 0;
};

// A remark for the user about the input that is not a log line: a line with
// more than 21 fields, a number beyond the float range, a last KML line
// dropped for lack of a line end.
struct RunNote {
    int sourceLine = 0;  // editor line number of the input, 0 for the whole file
    std::string text;
};

// The options of a run as plain values.
struct BatchOptions {
    // Items of the four option menus: constants set 1..14, KHSO4 1..2, pH
    // scale 1..4, flux formula item 1..3 (formula item - 1).
    int constants = 0;
    int khso4 = 0;
    int pHScale = 0;
    int flux = 0;
    // Their titles, which records and preview rows carry.
    RecordOptionTitles titles;
};

// The KML document of a KML run, opened when its first placemark is ready.
struct KmlDocument {
    ByteSink* sink = nullptr;  // where the placemarks go; null: nowhere
    bool writeHeader = true;   // the run writes the document's header first
    std::string headerError;   // the header was written elsewhere and failed: why
};

struct BatchRequest {
    std::string input;  // a file, or "-" for standard input
    RunMode mode = RunMode::kRecords;
    BatchOptions options;
    // kRecords: where the records go (null: nowhere).
    ByteSink* output = nullptr;
    // kRecords: the rows of a second file beside the records, and where they
    // go (both null: none).
    const SampleRows* sampleRows = nullptr;
    ByteSink* sampleRowsOutput = nullptr;
    // kPreview: index of the last line shown (the header is line 0).
    std::size_t previewLines = 5;
    // kKml: number of the first placemark, and the document, asked for once
    // when the first placemark is ready (never for an input without one).
    std::uint32_t firstSampleNumber = 0;
    std::function<KmlDocument()> openDocument;
    // Threads that compute: 0 means one per core available, 1 the calling
    // thread alone. Constants sets 6 and 7, SampleLogLines::kEvery, a preview
    // and a replaced calculation always run on one thread, so that the log
    // keeps its order.
    unsigned jobs = 0;
    SampleLogLines sampleLogLines = SampleLogLines::kEvery;
    std::size_t readBlock = kDefaultReadBlock;
    std::size_t linesPerChunk = 256;
    // The board the run's first sample line starts from (null: a cleared
    // board); every later line starts from a cleared board.
    const Board* startBoard = nullptr;
    // Replaces the calculation of each line on its board (tests); empty for
    // BrinoraMain::ComputeCO2. Such a run computes one line at a time.
    std::function<void(Board&)> compute;
};

// What a run tells while it goes. Every call comes from the thread that
// called runBatch, in the order of the events.
class BatchReport {
public:
    virtual ~BatchReport() = default;
    // One plain line for the system log.
    virtual void logLine(std::string_view line) = 0;
    // The header has been read and sample lines follow; `sizeKnown` tells
    // whether the input's length is known (a file, not a pipe).
    virtual void samplesBegin(bool sizeKnown) { (void)sizeKnown; }
    // Share of the input dealt with, percent (files only).
    virtual void progress(double percent) { (void)percent; }
    // A remark about the input, in file order.
    virtual void note(const RunNote& note) { (void)note; }
    // One preview row (kPreview), in file order.
    virtual void previewRow(DictRecord row) { (void)row; }
    // Whether the user asked the run to stop. A records run checks it
    // between blocks of lines and ends as a stopping line would: the records
    // before the stop are in the output, nothing after it.
    virtual bool cancelRequested() { return false; }
};

// How a run ended.
enum class RunStatus {
    kDone,          // every line dealt with
    kStopped,       // a line stopped the run (message); the records before it are written
    kCancelled,     // the user stopped the run (kRecords)
    kReadError,     // the input could not be opened or read (readError)
    kNoDatapoints,  // nothing but a header (kRecords, kPreview)
    kWrongColumns,  // the header does not name 21 columns (kRecords, kPreview)
    kWriteFailed,   // the output, or the second file of sample rows, could not be written (writeError);
                    // nothing of the run counts
};

struct BatchResult {
    RunStatus status = RunStatus::kDone;
    // kStopped, kCancelled, kNoDatapoints, kWrongColumns: the message for the user.
    std::string message;
    // kReadError: why.
    PresentedError readError;
    // kWriteFailed: why (the output's own message, or that of the second
    // file's rows or their output when sampleRowsFailed).
    std::string writeError;
    bool sampleRowsFailed = false;
    // kKml: the header of a new document could not be written (the output's message).
    std::string headerError;
    // Editor line number (1-based) and index among the lines (header = 0)
    // of the line that stopped the run; 0 when none did.
    int stoppedAtSourceLine = 0;
    int stoppedAtLine = 0;
    // Records (kRecords) or placemarks (kKml) written.
    int written = 0;
    // Non-empty names in the header.
    int headerNames = 0;
    // Lines of the input, the header included ("The file is %d lines long").
    std::size_t lines = 0;
    // The sample lines were handed to the workers: a read error came after
    // the header (and after any record written).
    bool linesRun = false;
    // A line was computed; kKml: the lines computed.
    bool anyComputed = false;
    std::size_t processedLines = 0;
    // The last computed line's record or placemark and its cruise information
    // (kRecords, kKml; kPreview: the cruise information only).
    bool haveLastLine = false;
    std::string lastBytes;
    CruiseInformation lastCruiseInformation;
};

// Messages of a run that ended before its last line.
inline constexpr std::string_view kBatchCancelledMessage = "The batch run was cancelled.";
inline constexpr std::string_view kBatchReadErrorMessage = "There was an error reading from the file";
inline constexpr std::string_view kNoDatapointsMessage = "There are no datapoints to process.";
inline constexpr std::string_view kWrongColumnsMessage =
    "There is an incorrect number of data columns in the input CSV.";

// Bytes gathered before a write to the output.
inline constexpr std::size_t kOutputBlock = std::size_t{1} << 20;

// Cores this process may run on.
unsigned availableCores();

// Runs `request`, telling `report` how it goes.
BatchResult runBatch(const BatchRequest& request, BatchReport& report);

}  // namespace brinora
