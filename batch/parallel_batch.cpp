#include "batch/parallel_batch.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <thread>
#include <vector>

#include "app/settings_keys.h"
#include "batch/fast_fields.h"
#include "batch/fast_records.h"
#include "batch/kml_document.h"
#include "batch/text_files.h"
#include "engine/compute_co2.h"
#include "engine/slots.h"

namespace brinora {
namespace {

// ---------------------------------------------------------------- messages

constexpr std::string_view kNoDatapoints = "There are no datapoints to process.";
constexpr std::string_view kWrongColumns = "There is an incorrect number of data columns in the input CSV.";
constexpr std::string_view kReadError = "There was an error reading from the file";

// Why a sample line stops the run, in the order the checks are made.
enum class StopReason : std::uint8_t { kNone, kSalinity, kTemperature, kPairs };

std::string_view stopMessage(StopReason reason) {
    switch (reason) {
        case StopReason::kSalinity:
            return "All records require a salinity value. There is a salinity value missing.";
        case StopReason::kTemperature:
            return "All records require a temperature value. There is a temperature value missing.";
        case StopReason::kPairs:
            return "To batch process records, Brinora needs values for at least two carbonate parameters";
        case StopReason::kNone:
            break;
    }
    return {};
}

// Fields of a batch line and the header's number of column names.
constexpr int kBatchFieldCount = 21;
constexpr std::size_t kSalinityField = 6;
constexpr std::size_t kTemperatureField = 7;
constexpr std::size_t kFirstSampleValueField = 6;  // fields 6..19 go to slots 11..24
constexpr std::size_t kLastSampleValueField = 19;

// Pairs of carbonate fields (TA 13, TCO2 14, pH 15, fCO2 16, pCO2 17) of which
// at least one must be empty on a line; fCO2 with pCO2 is not among them.
constexpr std::array<std::array<std::size_t, 2>, 9> kCarbonatePairs = {{
    {13, 14}, {13, 15}, {13, 16}, {13, 17}, {14, 15}, {14, 16}, {14, 17}, {15, 16}, {15, 17}}};

// Constants sets whose constants routine writes a log line on every call.
bool logsPerConstantsCall(int constantsItem) { return constantsItem == 6 || constantsItem == 7; }

// Input bytes handed to a worker at a time, at most (one line at least).
constexpr std::size_t kChunkInputBytes = std::size_t{1} << 18;

// ---------------------------------------------------------------- options

// What updateConstants puts on the board and in the log, fixed for a run.
struct OptionState {
    std::array<float, 4> slots{};  // slots 1..4: menu index minus 1
    std::string logText;           // the "CO2Constants: ..." log line
    int constantsItem = 0;
};

OptionState optionState(const AppUi& ui) {
    OptionState state;
    const int constants = ui.selectedIndex(Menu::CO2Constants);
    const int khso4 = ui.selectedIndex(Menu::KHSO4);
    const int scale = ui.selectedIndex(Menu::pHScale);
    const int flux = ui.selectedIndex(Menu::AirSeaFlux);
    state.slots = {static_cast<float>(constants - 1), static_cast<float>(khso4 - 1), static_cast<float>(scale - 1),
                   static_cast<float>(flux - 1)};
    state.logText = "CO2Constants: " + std::to_string(constants) + "\nKHSO4: " + std::to_string(khso4) +
                    "\npHScale: " + std::to_string(scale) + "\nAirSeaFlux: " + std::to_string(flux);
    state.constantsItem = constants;
    return state;
}

// ---------------------------------------------------------------- chunks

enum class LineKind : std::uint8_t { kRecord, kSkipped, kStop };

struct LineResult {
    LineKind kind = LineKind::kSkipped;
    StopReason stop = StopReason::kNone;
    std::size_t outputEnd = 0;  // end of the line's record in Chunk::output
};

// Consecutive lines of the input, then their records.
struct Chunk {
    std::size_t firstIndex = 0;  // piece index of the first line (header = 0)
    std::string input;
    std::vector<std::size_t> inputEnds;
    std::vector<int> sourceLines;
    std::string output;
    std::vector<LineResult> results;  // one per processed line; a stop line is the last
    bool done = false;                // guarded by the pipeline's mutex

    std::size_t lineCount() const { return inputEnds.size(); }
    std::string_view line(std::size_t k) const {
        const std::size_t start = k == 0 ? 0 : inputEnds[k - 1];
        return std::string_view(input).substr(start, inputEnds[k] - start);
    }
    std::string_view record(std::size_t k) const {
        const std::size_t start = k == 0 ? 0 : results[k - 1].outputEnd;
        return std::string_view(output).substr(start, results[k].outputEnd - start);
    }
    void clear() {
        input.clear();
        inputEnds.clear();
        sourceLines.clear();
        output.clear();
        results.clear();
        done = false;
    }
};

// The state of one computing thread, on cache lines of its own.
struct alignas(64) Worker {
    Board board;
    ProcessValues values;
};

// Computes the lines of a chunk into its records.
class LineProcessor {
public:
    virtual ~LineProcessor() = default;
    virtual void process(Chunk& chunk, Worker& worker) const = 0;
};

// Puts a line's options and values on a cleared board and computes it, as
// updateConstants, storeSampleValues and ComputeCO2 do on the shared board
// (which the one-line-at-a-time run clears after every computed line).
void computeLine(const BatchFields& fields, const OptionState& options, Worker& worker) {
    Board& board = worker.board;
    board.reset();
    board.set(slot::kConstantsSet, options.slots[0]);
    board.set(slot::kKHSO4, options.slots[1]);
    board.set(slot::kpHScale, options.slots[2]);
    board.set(slot::kAirSeaFlux, options.slots[3]);
    for (std::size_t k = kFirstSampleValueField; k <= kLastSampleValueField; ++k) {
        board.set(static_cast<std::uint32_t>(k + 5), lenientFloatFast(fields[k]));
    }
    BrinoraMain::ComputeCO2(board, worker.values);
}

// Log lines of one sample line, written while it is computed (one thread).
struct LineLog {
    AppUi& ui;
    const OptionState& options;

    void dealingWith(std::size_t index) const { ui.logLine("Dealing with line " + std::to_string(index)); }
    void updatingConstants() const {
        ui.logLine("updating constants...");
        ui.logLine(options.logText);
        ui.logLine("Constants updated!");
    }
};

class BatchLines : public LineProcessor {
public:
    BatchLines(const OptionState& options, std::string optionColumns, const LineLog* log)
        : options_(options), optionColumns_(std::move(optionColumns)), log_(log) {}

    void process(Chunk& chunk, Worker& worker) const override {
        BatchFields fields;
        for (std::size_t k = 0; k < chunk.lineCount(); ++k) {
            LineResult result;
            processLine(chunk.line(k), chunk.firstIndex + k, fields, worker, chunk.output, result);
            result.outputEnd = chunk.output.size();
            chunk.results.push_back(result);
            if (result.kind == LineKind::kStop) break;
        }
    }

private:
    void processLine(std::string_view line, std::size_t index, BatchFields& fields, Worker& worker,
                     std::string& output, LineResult& result) const {
        if (log_) log_->dealingWith(index);
        splitBatchFields(line, fields);
        if (fields[0].empty()) {
            if (log_) log_->ui.logLine("Nothing on this line");
            result.kind = LineKind::kSkipped;
            return;
        }
        result.kind = LineKind::kStop;
        if (fields[kSalinityField].empty()) {
            result.stop = StopReason::kSalinity;
            return;
        }
        if (fields[kTemperatureField].empty()) {
            result.stop = StopReason::kTemperature;
            return;
        }
        bool pairLeftEmpty = false;
        for (const auto& pair : kCarbonatePairs) {
            if (fields[pair[0]].empty() && fields[pair[1]].empty()) {
                pairLeftEmpty = true;
                break;
            }
        }
        if (!pairLeftEmpty) {
            result.stop = StopReason::kPairs;
            return;
        }
        result.kind = LineKind::kRecord;
        if (log_) log_->updatingConstants();
        computeLine(fields, options_, worker);
        if (log_) log_->ui.logLine("Passed compute");
        const std::size_t start = output.size();
        appendBatchRecord(output, fields, worker.board, optionColumns_);
        if (log_) log_->ui.logLine("stringToWrite: " + output.substr(start));
    }

    const OptionState& options_;
    std::string optionColumns_;
    const LineLog* log_;
};

class KmlLines : public LineProcessor {
public:
    KmlLines(const OptionState& options, std::uint32_t firstSampleNumber, const LineLog* log,
             std::function<void()> beforeFirstPlacemark)
        : options_(options),
          firstSampleNumber_(firstSampleNumber),
          log_(log),
          beforeFirstPlacemark_(std::move(beforeFirstPlacemark)) {}

    void process(Chunk& chunk, Worker& worker) const override {
        BatchFields fields;
        for (std::size_t k = 0; k < chunk.lineCount(); ++k) {
            const std::size_t index = chunk.firstIndex + k;
            if (log_) log_->dealingWith(index);
            // No check of any kind: every line, an empty one too, is a placemark.
            splitBatchFields(chunk.line(k), fields);
            if (log_) log_->updatingConstants();
            computeLine(fields, options_, worker);
            if (index == 1 && beforeFirstPlacemark_) beforeFirstPlacemark_();
            const std::size_t start = chunk.output.size();
            template_.append(chunk.output, fields, worker.board,
                             firstSampleNumber_ + static_cast<std::uint32_t>(index - 1));
            if (log_) log_->ui.logLine("stringToWrite: " + chunk.output.substr(start));
            LineResult result;
            result.kind = LineKind::kRecord;
            result.outputEnd = chunk.output.size();
            chunk.results.push_back(result);
        }
    }

private:
    const OptionState& options_;
    std::uint32_t firstSampleNumber_;
    const LineLog* log_;
    std::function<void()> beforeFirstPlacemark_;
    PlacemarkTemplate template_;
};

// ---------------------------------------------------------------- pipeline

// Chunks computed by worker threads and handed back in the order given; with
// no worker, each chunk is computed when it is submitted.
class ChunkPipeline {
public:
    ChunkPipeline(const LineProcessor& processor, unsigned workers, std::size_t chunks)
        : processor_(processor), chunks_(chunks), states_(std::max(1u, workers)) {
        for (std::unique_ptr<Chunk>& chunk : chunks_) {
            chunk = std::make_unique<Chunk>();
            free_.push_back(chunk.get());
        }
        for (unsigned w = 0; w < workers; ++w) threads_.emplace_back([this, w] { work(states_[w]); });
    }

    ~ChunkPipeline() {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            closing_ = true;
        }
        workAvailable_.notify_all();
        for (std::thread& thread : threads_) thread.join();
    }

    ChunkPipeline(const ChunkPipeline&) = delete;
    ChunkPipeline& operator=(const ChunkPipeline&) = delete;

    // A chunk to fill, or nullptr when every chunk is in flight.
    Chunk* freeChunk() {
        if (free_.empty()) return nullptr;
        Chunk* chunk = free_.back();
        free_.pop_back();
        chunk->clear();
        return chunk;
    }

    void submit(Chunk* chunk) {
        inFlight_.push_back(chunk);
        if (threads_.empty()) {
            processor_.process(*chunk, states_[0]);
            chunk->done = true;
            return;
        }
        {
            std::lock_guard<std::mutex> lock(mutex_);
            queue_.push_back(chunk);
        }
        workAvailable_.notify_one();
    }

    void giveBack(Chunk* chunk) { free_.push_back(chunk); }

    bool empty() const { return inFlight_.empty(); }

    // The oldest chunk in flight, once it is computed.
    Chunk* waitForOldest() {
        Chunk* chunk = inFlight_.front();
        inFlight_.pop_front();
        if (!threads_.empty()) {
            std::unique_lock<std::mutex> lock(mutex_);
            chunkDone_.wait(lock, [chunk] { return chunk->done; });
        }
        return chunk;
    }

    // Whether the oldest chunk in flight is computed.
    bool oldestDone() {
        if (inFlight_.empty()) return false;
        if (threads_.empty()) return true;
        std::lock_guard<std::mutex> lock(mutex_);
        return inFlight_.front()->done;
    }

    // Chunks not yet taken are dropped; chunks being computed are waited for.
    void cancel() {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            cancelled_ = true;
        }
        while (!inFlight_.empty()) giveBack(waitForOldest());
    }

private:
    void work(Worker& state) {
        for (;;) {
            Chunk* chunk = nullptr;
            bool skip = false;
            {
                std::unique_lock<std::mutex> lock(mutex_);
                workAvailable_.wait(lock, [this] { return closing_ || !queue_.empty(); });
                if (queue_.empty()) return;
                chunk = queue_.front();
                queue_.pop_front();
                skip = cancelled_;
            }
            if (!skip) processor_.process(*chunk, state);
            {
                std::lock_guard<std::mutex> lock(mutex_);
                chunk->done = true;
            }
            chunkDone_.notify_all();
        }
    }

    const LineProcessor& processor_;
    std::vector<std::unique_ptr<Chunk>> chunks_;
    std::vector<Chunk*> free_;
    std::deque<Chunk*> inFlight_;
    std::vector<Worker> states_;
    std::vector<std::thread> threads_;
    std::mutex mutex_;
    std::condition_variable workAvailable_;
    std::condition_variable chunkDone_;
    std::deque<Chunk*> queue_;
    bool closing_ = false;
    bool cancelled_ = false;
};

// Fills `chunk` with the next lines of `reader`, up to piece `lastIndex`.
// Returns false when there were none.
bool fillChunk(Chunk& chunk, BatchLineReader& reader, std::size_t& nextIndex, std::size_t lastIndex,
               std::size_t linesPerChunk) {
    chunk.firstIndex = nextIndex;
    StreamLine line;
    while (nextIndex <= lastIndex && chunk.lineCount() < linesPerChunk &&
           (chunk.lineCount() == 0 || chunk.input.size() < kChunkInputBytes)) {
        if (!reader.next(line)) break;
        chunk.input.append(line.text);
        chunk.inputEnds.push_back(chunk.input.size());
        chunk.sourceLines.push_back(line.sourceLine);
        ++nextIndex;
    }
    return chunk.lineCount() > 0;
}

// ---------------------------------------------------------------- output

// Appends records to the output file, each record with one write on the file
// opened for appending (opened once per chunk, so that an output file that
// goes away stops the run as it stops the one-line-at-a-time run). A killed
// run therefore leaves only whole records, and records of two runs appending
// to one file never interleave. When a write fails or is short, what it wrote
// is taken away again while it is still the end of the file, and the run
// stops before that record.
class RecordWriter {
public:
    // `path` is read at each write (a KML document is chosen on the first line).
    explicit RecordWriter(const std::string& path) : path_(path) {}

    // Writes the records of `chunk`'s first `count` lines (skipped lines have
    // none); returns how many of those lines are done and, when fewer than
    // `count`, why the record of the next one could not be written.
    std::size_t write(const Chunk& chunk, std::size_t count, std::string& error) const {
        if (count == 0) return 0;
        if (chunk.results[count - 1].outputEnd == 0) return count;
        const int fd = path_.empty() ? -1 : ::open(path_.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
        if (fd < 0) {
            // The reason comes from the appender of single records.
            for (std::size_t k = 0; k < count; ++k) {
                if (chunk.results[k].kind != LineKind::kRecord) continue;
                const WriteResult result = appendToExistingFile(path_, chunk.record(k));
                if (!result.ok) {
                    error = result.message;
                    return k;
                }
            }
            return count;
        }
        std::size_t lastRecord = count;
        for (std::size_t k = 0; k < count; ++k) {
            if (chunk.results[k].kind != LineKind::kRecord) continue;
            const std::string_view record = chunk.record(k);
            ssize_t n = 0;
            do {
                n = ::write(fd, record.data(), record.size());
            } while (n < 0 && errno == EINTR);
            if (n != static_cast<ssize_t>(record.size())) {
                std::size_t done = n > 0 ? static_cast<std::size_t>(n) : 0;
                int writeErrno = n < 0 ? errno : 0;
                if (n >= 0) {
                    // Why it stopped: a write of the next byte fails with the
                    // reason (or, when room has just appeared, adds that byte,
                    // taken away below).
                    const ssize_t probe = ::write(fd, record.data() + done, 1);
                    writeErrno = probe < 0 ? errno : ENOSPC;
                    if (probe == 1) ++done;
                }
                takeBack(fd, done);
                ::close(fd);
                error = "cannot append to \"" + path_ + "\": " + std::strerror(writeErrno);
                return k;
            }
            lastRecord = k;
        }
        if (::close(fd) != 0 && lastRecord < count) {
            // Every record is in the file, but the last one's write was not
            // confirmed: the run ends with it.
            error = "cannot append to \"" + path_ + "\": " + std::strerror(errno);
            return lastRecord;
        }
        return count;
    }

private:
    // Removes the last `written` bytes of a short write while they are still
    // the end of the file.
    static void takeBack(int fd, std::size_t written) {
        if (written == 0) return;
        const off_t end = ::lseek(fd, 0, SEEK_CUR);
        struct stat now {};
        if (end >= static_cast<off_t>(written) && ::fstat(fd, &now) == 0 && S_ISREG(now.st_mode) &&
            now.st_size == end) {
            (void)!::ftruncate(fd, end - static_cast<off_t>(written));
        }
    }

    const std::string& path_;
};

// ---------------------------------------------------------------- runs

// Chunks per worker: enough that a worker never waits for the writer.
constexpr std::size_t kChunksPerWorker = 4;

unsigned computingThreads(const FastRunOptions& options, int constantsItem) {
    if (options.sampleLogLines == SampleLogLines::kEvery || logsPerConstantsCall(constantsItem)) return 1;
    return options.jobs == 0 ? availableCores() : options.jobs;
}

// Computes pieces first..last of `reader` with `processor` and hands each
// chunk to `deliver`, in file order, until it returns false.
void runChunks(BatchLineReader& reader, const LineProcessor& processor, unsigned threads,
               std::size_t linesPerChunk, std::size_t first, std::size_t last,
               const std::function<bool(const Chunk&)>& deliver) {
    const unsigned workers = threads > 1 ? threads : 0;
    ChunkPipeline pipeline(processor, workers, workers == 0 ? 1 : workers * kChunksPerWorker);
    std::size_t nextIndex = first;
    bool inputDone = first > last;
    for (;;) {
        while (!inputDone) {
            Chunk* chunk = pipeline.freeChunk();
            if (chunk == nullptr) break;
            if (!fillChunk(*chunk, reader, nextIndex, last, linesPerChunk)) {
                pipeline.giveBack(chunk);
                inputDone = true;
                break;
            }
            pipeline.submit(chunk);
            if (pipeline.oldestDone()) break;
        }
        if (pipeline.empty()) return;
        Chunk* chunk = pipeline.waitForOldest();
        const bool goOn = deliver(*chunk);
        pipeline.giveBack(chunk);
        if (!goOn) {
            pipeline.cancel();
            return;
        }
    }
}

double progressOf(std::size_t index, std::size_t pieces) {
    return static_cast<double>(index) / static_cast<double>(pieces) * 100.0;
}

}  // namespace

unsigned availableCores() {
    cpu_set_t set;
    CPU_ZERO(&set);
    if (::sched_getaffinity(0, sizeof set, &set) == 0) {
        const int count = CPU_COUNT(&set);
        if (count > 0) return static_cast<unsigned>(count);
    }
    const unsigned hardware = std::thread::hardware_concurrency();
    return hardware == 0 ? 1 : hardware;
}

std::string fastBatchProcess(BrinoraAppControllerCore& core, AppUi& ui, const FastRunOptions& options,
                             const BatchFileSurvey* survey) {
    if (core.batchWriteMode != 1) return core.batchProcess(core.fullPath, false);

    core.stoppedAtLine = 0;
    core.stoppedAtSourceLine = 0;
    core.failedWrites = 0;
    core.recordsWritten = 0;
    core.lastWriteError.clear();
    const auto stopRun = [&ui](std::string_view message) {
        std::string text(message);
        ui.logLine(text);
        ui.setProgressIndicatorHidden(true);
        return text;
    };
    const auto readFailure = [&ui](const PresentedError& error) {
        ui.presentError(error);
        std::string message(kReadError);
        ui.logLine(message);
        return message;
    };

    // 1. Announce the run.
    ui.logLine("Batch process called, all records");
    core.progressValue = 0.0;
    const std::string inputPath = core.filesToOpen.empty() ? std::string() : core.filesToOpen.front();
    ui.logLine("Dealing with file " + inputPath);

    // 2. The file, surveyed in one pass unless the caller did so.
    std::optional<BatchFileSurvey> ownSurvey;
    if (survey == nullptr) {
        ownSurvey = surveyBatchFile(inputPath, options.readBlock);
        survey = &*ownSurvey;
    }
    if (!survey->ok) return readFailure(survey->error);

    // 3. Lines.
    const std::size_t pieces = survey->pieces;
    ui.logLine("The file is " + std::to_string(pieces) + " lines long");

    // 4. Nothing but a header.
    if (pieces - 1 == 0) return stopRun(kNoDatapoints);

    // 5. Every line after the header.
    ui.setProgressIndicatorHidden(false);
    const std::size_t last = pieces - 1;

    // 6. The header must name 21 columns; the names themselves are not examined.
    int headerNames = 0;
    for (const std::string& name : splitFields(survey->header)) {
        if (name.empty()) continue;
        ++headerNames;
        ui.logLine("Number of column headers = " + std::to_string(headerNames));
    }
    if (headerNames != kBatchFieldCount) {
        core.stoppedAtLine = 0;
        core.stoppedAtSourceLine = survey->headerSourceLine;
        return stopRun(kWrongColumns);
    }

    // 7. One sample per line.
    PresentedError openError;
    const int fd = openBatchInput(inputPath, openError);
    if (fd < 0) return readFailure(openError);
    BatchLineReader reader(fd, options.readBlock);
    StreamLine header;
    reader.next(header);

    const OptionState optionsOnBoard = optionState(ui);
    const bool everyLine = options.sampleLogLines == SampleLogLines::kEvery;
    const LineLog lineLog{ui, optionsOnBoard};
    const BatchLines processor(optionsOnBoard, batchRecordOptionColumns(ui), everyLine ? &lineLog : nullptr);
    RecordWriter writer(core.fullPathOut);

    std::string stopMessageText;
    std::string lastRecord;
    std::string lastLine;
    const auto deliver = [&](const Chunk& chunk) {
        const std::size_t processed = chunk.results.size();
        const bool stopsHere = processed > 0 && chunk.results.back().kind == LineKind::kStop;
        std::string writeError;
        const std::size_t written = writer.write(chunk, stopsHere ? processed - 1 : processed, writeError);
        std::size_t lastComputed = processed;  // the chunk's last line with a record, if any
        for (std::size_t k = 0; k < processed; ++k) {
            const LineResult& result = chunk.results[k];
            const std::size_t index = chunk.firstIndex + k;
            core.progressValue = progressOf(index, pieces);
            if (result.kind == LineKind::kSkipped) continue;
            if (result.kind == LineKind::kRecord) lastComputed = k;
            if (result.kind == LineKind::kRecord && k < written) {
                ++core.recordsWritten;
                ui.setProgressIndicatorValue(core.progressValue);
                if (everyLine) ui.logLine("Done with the line!");
                continue;
            }
            core.stoppedAtLine = static_cast<int>(index);
            core.stoppedAtSourceLine = chunk.sourceLines[k];
            if (result.kind == LineKind::kRecord) {
                // The record could not be written: the run ends with it.
                ++core.failedWrites;
                core.lastWriteError = writeError;
                stopMessageText = "The record could not be written to the output file (" + writeError + ").";
            } else {
                stopMessageText = std::string(stopMessage(result.stop));
            }
            break;
        }
        if (lastComputed < processed) {
            lastRecord.assign(chunk.record(lastComputed));
            lastLine.assign(chunk.line(lastComputed));
        }
        return stopMessageText.empty();
    };
    runChunks(reader, processor, computingThreads(options, optionsOnBoard.constantsItem),
              everyLine ? 1 : std::max<std::size_t>(1, options.linesPerChunk), 1, last, deliver);
    ::close(fd);

    // The last computed line's record and cruise information stay with the
    // controller, as after the one-line-at-a-time run.
    if (!lastLine.empty()) {
        core.stringToWrite = lastRecord;
        BatchFields fields;
        splitBatchFields(lastLine, fields);
        core.cruiseInformationDictionary.clear();
        core.cruiseInformationDictionary["SampleID"] = std::string(fields[0]);
        core.cruiseInformationDictionary["Name"] = std::string(fields[1]);
        core.cruiseInformationDictionary["Time"] = std::string(fields[2]);
        core.cruiseInformationDictionary["Date"] = std::string(fields[3]);
        core.cruiseInformationDictionary["Latitude"] = std::string(fields[4]);
        core.cruiseInformationDictionary["Longitude"] = std::string(fields[5]);
        core.cruiseInformationDictionary["Comment"] = std::string(fields[20]);
    }
    if (!stopMessageText.empty()) return stopRun(stopMessageText);
    if (reader.errorNumber() != 0) {
        // Surveyed, but no longer readable to its end.
        return stopRun(kReadError);
    }

    // 8. The end of the file.
    ui.logLine("Done with file!");

    // 9. Report completion.
    ui.runAlert(Alert{"Batch Processing of File Completed",
                      "File Input:\n" + inputPath + "\n" + "\nFile Output:\n" + core.fullPathOut + "\n",
                      {"OK"}});
    ui.setProgressIndicatorHidden(true);
    core.sampleID = 0;
    core.fullPath = "";
    ui.setText(TextField::PathField2, "");
    ui.setCheckBoxState(0);
    return "";
}

void fastWriteKML(BrinoraAppControllerCore& core, AppUi& ui, SettingsStore& defaults,
                  const FastRunOptions& options) {
    core.placemarksWritten = 0;
    core.failedWrites = 0;
    core.stoppedAtSourceLine = 0;
    core.lastWriteError.clear();

    // 1. The input file.
    const auto chosen =
        ui.runOpenPanel(OpenPanelRequest{{"csv"}, defaults.value(settings::kOpenPath).value_or(""), false});
    if (chosen.empty()) return;
    core.batchWriteMode = 1;
    core.filesToOpen = chosen;
    core.fullPath = core.filesToOpen.front();
    core.alreadySaved = 0;

    // 2. Read it.
    const BatchFileSurvey survey = surveyBatchFile(core.fullPath, options.readBlock);
    PresentedError openError;
    const int fd = survey.ok ? openBatchInput(core.fullPath, openError) : -1;
    if (fd < 0) {
        ui.presentError(survey.ok ? openError : survey.error);
        ui.logLine(std::string(kReadError));
        return;
    }

    // 3. Lines.
    const std::size_t pieces = survey.pieces;
    ui.logLine("The file is " + std::to_string(pieces) + " lines long");

    // 4. One placemark per line; the last piece is never a sample here.
    BatchLineReader reader(fd, options.readBlock);
    StreamLine header;
    reader.next(header);
    const OptionState optionsOnBoard = optionState(ui);
    const bool everyLine = options.sampleLogLines == SampleLogLines::kEvery;
    const LineLog lineLog{ui, optionsOnBoard};
    const auto chooseDocument = [&core, &ui, &defaults]() {
        // The save panel of the first line; the header is the new file's whole content.
        const std::string proposed =
            core.fullPath.empty() ? ui.text(TextField::CruiseName) : fileStem(core.fullPath) + "_Brinora.kml";
        const auto kmlPath = ui.runSavePanel(
            SavePanelRequest{"kml", defaults.value(settings::kOpenPath).value_or(""), proposed});
        if (kmlPath) {
            const WriteResult written = writeFileAtomically(*kmlPath, kmlDocumentHeader());
            if (!written.ok) {
                ui.logLine("Error in saving file to disk");
                core.lastWriteError = written.message;
            }
            core.fullPathOut = *kmlPath;
        }
    };
    const std::size_t last = pieces >= 2 ? pieces - 2 : 0;
    // With every log line the panel comes in its place, after the first
    // line's calculation; otherwise before the lines are handed out.
    if (!everyLine && last >= 1) chooseDocument();
    const KmlLines processor(optionsOnBoard, core.sampleID, everyLine ? &lineLog : nullptr,
                             everyLine ? std::function<void()>(chooseDocument) : std::function<void()>());
    RecordWriter writer(core.fullPathOut);

    std::size_t processedLines = 0;
    const auto deliver = [&](const Chunk& chunk) {
        const std::size_t processed = chunk.results.size();
        processedLines += processed;
        std::string writeError;
        const std::size_t written = writer.write(chunk, processed, writeError);
        for (std::size_t k = 0; k < processed; ++k) {
            if (k < written) {
                ++core.placemarksWritten;
                if (everyLine) ui.logLine("Done with the line!");
                if (k + 1 == processed) core.stringToWrite.assign(chunk.record(k));
                continue;
            }
            // The placemarks stop here; the document lacks its footer.
            core.stringToWrite.assign(chunk.record(k));
            ++core.failedWrites;
            core.stoppedAtSourceLine = chunk.sourceLines[k];
            core.lastWriteError = writeError + " (the placemark of input line " +
                                  std::to_string(core.stoppedAtSourceLine) + ")";
            ui.logLine(core.lastWriteError);
            return false;
        }
        return true;
    };
    runChunks(reader, processor, computingThreads(options, optionsOnBoard.constantsItem),
              everyLine ? 1 : std::max<std::size_t>(1, options.linesPerChunk), 1, last, deliver);
    ::close(fd);
    if (processedLines > 0) core.alreadySaved = 1;

    // 5. Close the document.
    if (core.failedWrites == 0) {
        const WriteResult closed = appendToExistingFile(core.fullPathOut, kmlDocumentFooter());
        if (!closed.ok && core.placemarksWritten > 0) {
            ++core.failedWrites;
            core.lastWriteError = closed.message;
        }
    }

    // 6. Report.
    ui.runAlert(Alert{"CSV to KML Processing Completed",
                      "Input: " + core.fullPath + "\n\n" + "Output: " + core.fullPathOut, {"OK"}});

    // 7. Ready for the next run.
    core.alreadySaved = 0;
    core.batchWriteMode = 0;
    core.sampleID = 0;
    ui.logLine("Done with file!");
}

}  // namespace brinora
