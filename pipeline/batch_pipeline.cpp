#include "pipeline/batch_pipeline.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "app/settings_keys.h"
#include "app/controller_core.h"
#include "input/fields.h"
#include "records/batch_record.h"
#include "pipeline/held_log.h"
#include "records/kml_document.h"
#include "input/lenient_number.h"
#include "input/line_rules.h"
#include "output/file_writes.h"
#include "engine/compute_co2.h"
#include "engine/engine.h"
#include "engine/slots.h"
#include "log/log.h"

namespace brinora {
namespace {

constexpr std::string_view kNoDatapoints = kNoDatapointsMessage;
constexpr std::string_view kWrongColumns = kWrongColumnsMessage;
constexpr std::string_view kReadError = kBatchReadErrorMessage;

// Input bytes handed to a worker at a time, at most (one line at least).
constexpr std::size_t kChunkInputBytes = std::size_t{1} << 18;
// Chunks per worker: enough that a worker never waits for the writer.
constexpr std::size_t kChunksPerWorker = 4;

// ---------------------------------------------------------------- input

// The input of a run, opened once: a file, or standard input for "-".
struct RunInput {
    int fd = -1;
    bool ownsDescriptor = false;
    std::uint64_t size = 0;  // bytes, when known
    bool sizeKnown = false;

    ~RunInput() {
        if (ownsDescriptor && fd >= 0) ::close(fd);
    }
};

bool openRunInput(const std::string& path, RunInput& input, PresentedError& error) {
    if (path == "-") {
        input.fd = STDIN_FILENO;
        input.ownsDescriptor = false;
    } else {
        input.fd = openBatchInput(path, error);
        if (input.fd < 0) return false;
        input.ownsDescriptor = true;
    }
    struct stat info {};
    if (::fstat(input.fd, &info) == 0 && S_ISREG(info.st_mode)) {
        input.size = static_cast<std::uint64_t>(info.st_size);
        input.sizeKnown = true;
    }
    return true;
}

// Why the input could not be read to its end, as a presented error.
PresentedError readError(const std::string& path, const BatchLineReader& reader) {
    return batchInputError(path, reader);
}

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
    std::uint32_t fieldCount = 0;  // fields of the whole line
    std::int8_t overflowField = -1;  // first value field beyond the float range, -1 when none
    std::size_t outputEnd = 0;     // end of the line's bytes in Chunk::output
};

// Consecutive lines of the input, then what they produce.
struct Chunk {
    std::size_t firstIndex = 0;        // piece index of the first line (header = 0)
    std::size_t firstSampleLine = ~std::size_t{0};  // line of the chunk that is the run's first sample line
    std::vector<std::uint64_t> endOffsets;  // input bytes consumed after each line
    std::string input;
    std::vector<std::size_t> inputEnds;
    std::vector<int> sourceLines;
    std::string output;
    std::vector<LineResult> results;  // one per processed line; a stop line is the last
    // The calculation's own log lines ("peng" lines of constants sets 6 and
    // 7) of the chunk's lines, in line order, each ending in a newline; the
    // delivery writes them, so that they reach the log in file order.
    std::string calculationLog;
    bool done = false;                // guarded by the pipeline's mutex

    std::size_t lineCount() const { return inputEnds.size(); }
    std::string_view line(std::size_t k) const {
        const std::size_t start = k == 0 ? 0 : inputEnds[k - 1];
        return std::string_view(input).substr(start, inputEnds[k] - start);
    }
    std::string_view bytes(std::size_t k) const {
        const std::size_t start = k == 0 ? 0 : results[k - 1].outputEnd;
        return std::string_view(output).substr(start, results[k].outputEnd - start);
    }
    void clear() {
        firstSampleLine = ~std::size_t{0};
        input.clear();
        inputEnds.clear();
        sourceLines.clear();
        endOffsets.clear();
        output.clear();
        results.clear();
        calculationLog.clear();
        done = false;
    }
};

// The last computed line of a run and its bytes, kept by taking over the
// buffers of its chunk (no copy, whatever the length of the line) until the
// run ends and they go to the controller.
struct KeptLine {
    std::string input;
    std::string output;
    std::size_t lineStart = 0, lineEnd = 0;
    std::size_t bytesStart = 0, bytesEnd = 0;
    bool any = false;

    // Keeps line `k` of `chunk`; the chunk's text and bytes are gone after.
    void keep(Chunk& chunk, std::size_t k) {
        lineStart = k == 0 ? 0 : chunk.inputEnds[k - 1];
        lineEnd = chunk.inputEnds[k];
        bytesStart = k == 0 ? 0 : chunk.results[k - 1].outputEnd;
        bytesEnd = chunk.results[k].outputEnd;
        std::swap(input, chunk.input);
        std::swap(output, chunk.output);
        any = true;
    }
    // The line's bytes (a record or a placemark), cut out in place.
    std::string takeBytes() {
        output.erase(bytesEnd);
        output.erase(0, bytesStart);
        return std::move(output);
    }
    // The line's cruise information: fields 0..5 and 20 under their keys.
    void takeCruiseInformation(std::map<std::string, std::string, std::less<>>& dictionary) {
        BatchFields fields;
        splitBatchFields(std::string_view(input).substr(lineStart, lineEnd - lineStart), fields);
        dictionary.clear();
        static constexpr std::array<std::string_view, 6> kKeys = {"SampleID", "Name", "Time",
                                                                  "Date", "Latitude", "Longitude"};
        for (std::size_t f = 0; f < kKeys.size(); ++f) dictionary[std::string(kKeys[f])] = std::string(fields[f]);
        const std::string_view comment = fields[kCommentField];
        const std::size_t start = comment.empty() ? 0 : static_cast<std::size_t>(comment.data() - input.data());
        input.erase(start + comment.size());
        input.erase(0, start);
        dictionary["Comment"] = std::move(input);
    }
};

// The state of one computing thread, on cache lines of its own.
struct alignas(64) Worker {
    Board board;
    ProcessValues values;
};

// What every line processor shares for one run.
struct RunContext {
    const OptionState& options;
    const Board& startBoard;   // the process-wide board when the run began
    HeldLog* sampleLog;        // per-sample log lines (kEvery), or null
};

// Added to a field number in LineResult::overflowField when the field is a
// word ("nan", "inf") read as 0 rather than a number beyond the float range.
constexpr int kWordNote = 64;

// Puts a line's options and values on `board` and reads the numbers; returns
// the first value field whose number is beyond the float range or that is
// "nan" or "inf" read as 0 (field + kWordNote) (-1: none).
int putLineOnBoard(const BatchFields& fields, const OptionState& options, Board& board) {
    board.set(slot::kConstantsSet, options.slots[0]);
    board.set(slot::kKHSO4, options.slots[1]);
    board.set(slot::kpHScale, options.slots[2]);
    board.set(slot::kAirSeaFlux, options.slots[3]);
    int overflow = -1;
    for (std::size_t k = kFirstSampleValueField; k <= kLastSampleValueField; ++k) {
        const float value = lenientFloat(fields[k]);
        if (overflow < 0 && std::isinf(value)) overflow = static_cast<int>(k);
        // "nan" or "inf" as text reads as 0: noted as field + kWordNote.
        if (overflow < 0 && value == 0.0f && namesNonFinite(fields[k])) overflow = static_cast<int>(k + kWordNote);
        board.set(static_cast<std::uint32_t>(k + 5), value);
    }
    return overflow;
}

void logUpdatingConstants(HeldLog& log, const OptionState& options) {
    log.line("updating constants...");
    log.line(options.logText);
    log.line("Constants updated!");
}

// Computes the lines of a chunk into its output.
class LineProcessor {
public:
    virtual ~LineProcessor() = default;
    virtual void process(Chunk& chunk, Worker& worker) const = 0;
};

// Records of a batch run, on the workers' own boards. The run's first sample
// line starts from the process-wide board as the run found it; every later
// line from a cleared board, as on the process-wide board, which the
// one-line-at-a-time run clears after every computed line.
class RecordLines : public LineProcessor {
public:
    RecordLines(const RunContext& context, std::string optionColumns)
        : context_(context), optionColumns_(std::move(optionColumns)) {}

    void process(Chunk& chunk, Worker& worker) const override {
        BatchFields fields;
        HeldLog* log = context_.sampleLog;
        for (std::size_t k = 0; k < chunk.lineCount(); ++k) {
            const std::size_t index = chunk.firstIndex + k;
            LineResult result;
            if (log) log->line("Dealing with line " + std::to_string(index));
            result.fieldCount = static_cast<std::uint32_t>(splitBatchFields(chunk.line(k), fields));
            const LineCheck check = checkBatchLine(fields);
            if (check.verdict == LineVerdict::kNothing) {
                if (log) log->line("Nothing on this line");
            } else if (check.verdict == LineVerdict::kStop) {
                result.kind = LineKind::kStop;
                result.stop = check.reason;
            } else {
                result.kind = LineKind::kRecord;
                if (log) logUpdatingConstants(*log, context_.options);
                Board& board = worker.board;
                if (k == chunk.firstSampleLine) {
                    board = context_.startBoard;
                } else {
                    board.reset();
                }
                result.overflowField = static_cast<std::int8_t>(putLineOnBoard(fields, context_.options, board));
                BrinoraMain::ComputeCO2(board, worker.values, &chunk.calculationLog);
                if (log) log->line("Passed compute");
                const std::size_t start = chunk.output.size();
                appendBatchRecord(chunk.output, fields, board, optionColumns_);
                if (log) log->line("stringToWrite: " + chunk.output.substr(start));
            }
            result.outputEnd = chunk.output.size();
            chunk.results.push_back(result);
            if (result.kind == LineKind::kStop) break;
        }
    }

private:
    const RunContext& context_;
    std::string optionColumns_;
};

// Placemarks of a KML run: every line is computed, with no check of any kind.
class PlacemarkLines : public LineProcessor {
public:
    PlacemarkLines(const RunContext& context, std::uint32_t firstSampleNumber)
        : context_(context), firstSampleNumber_(firstSampleNumber) {}

    void process(Chunk& chunk, Worker& worker) const override {
        BatchFields fields;
        HeldLog* log = context_.sampleLog;
        for (std::size_t k = 0; k < chunk.lineCount(); ++k) {
            const std::size_t index = chunk.firstIndex + k;
            if (log) log->line("Dealing with line " + std::to_string(index));
            LineResult result;
            result.kind = LineKind::kRecord;
            result.fieldCount = static_cast<std::uint32_t>(splitBatchFields(chunk.line(k), fields));
            if (log) logUpdatingConstants(*log, context_.options);
            Board& board = worker.board;
            if (index == 1) {
                board = context_.startBoard;
            } else {
                board.reset();
            }
            result.overflowField = static_cast<std::int8_t>(putLineOnBoard(fields, context_.options, board));
            BrinoraMain::ComputeCO2(board, worker.values, &chunk.calculationLog);
            const std::size_t start = chunk.output.size();
            template_.append(chunk.output, fields, board,
                             firstSampleNumber_ + static_cast<std::uint32_t>(index - 1));
            if (log) log->line("stringToWrite: " + chunk.output.substr(start));
            result.outputEnd = chunk.output.size();
            chunk.results.push_back(result);
        }
    }

private:
    const RunContext& context_;
    std::uint32_t firstSampleNumber_;
    PlacemarkTemplate template_;
};

// Lines computed on the process-wide board through the controller itself:
// its calculation (which tests may replace) and its record formats. Used for
// previews, for records while the controller is not in batch mode, and
// whenever the controller's calculation has been replaced. One thread.
class ControllerLines : public LineProcessor {
public:
    enum class Product { kRecord, kPreviewRow, kPlacemark };

    ControllerLines(BrinoraAppControllerCore& core, const RunContext& context, Product product)
        : core_(core), context_(context), product_(product) {}

    void process(Chunk& chunk, Worker& /*worker*/) const override {
        BatchFields fields;
        HeldLog* log = context_.sampleLog;
        Engine* engine = Engine::sharedInstance();
        for (std::size_t k = 0; k < chunk.lineCount(); ++k) {
            const std::size_t index = chunk.firstIndex + k;
            LineResult result;
            if (log) log->line("Dealing with line " + std::to_string(index));
            result.fieldCount = static_cast<std::uint32_t>(splitBatchFields(chunk.line(k), fields));
            if (product_ != Product::kPlacemark) {
                const LineCheck check = checkBatchLine(fields);
                if (check.verdict == LineVerdict::kNothing) {
                    if (log) log->line("Nothing on this line");
                    result.outputEnd = chunk.output.size();
                    chunk.results.push_back(result);
                    continue;
                }
                if (check.verdict == LineVerdict::kStop) {
                    result.kind = LineKind::kStop;
                    result.stop = check.reason;
                    result.outputEnd = chunk.output.size();
                    chunk.results.push_back(result);
                    break;
                }
                core_.cruiseInformationDictionary.clear();
                static constexpr std::array<std::string_view, 6> kKeys = {"SampleID", "Name", "Time",
                                                                          "Date", "Latitude", "Longitude"};
                for (std::size_t f = 0; f < kKeys.size(); ++f) {
                    core_.cruiseInformationDictionary[std::string(kKeys[f])] = std::string(fields[f]);
                }
                core_.cruiseInformationDictionary["Comment"] = std::string(fields[kCommentField]);
            }
            result.kind = LineKind::kRecord;
            core_.updateConstants();
            result.overflowField = static_cast<std::int8_t>(putLineOnBoard(fields, context_.options, engine->board()));
            if (core_.computeCO2) {
                core_.computeCO2();
            } else {
                BrinoraMain::ComputeCO2();
            }
            const std::size_t start = chunk.output.size();
            switch (product_) {
                case Product::kRecord:
                    if (log) log->line("Passed compute");
                    chunk.output += std::get<std::string>(core_.formatOutputAs("String"));
                    if (log) log->line("stringToWrite: " + chunk.output.substr(start));
                    break;
                case Product::kPreviewRow:
                    if (log) log->line("Passed compute");
                    core_.previewTableController.addToPreviewTable(
                        std::get<DictRecord>(core_.formatOutputAs("Dict")));
                    break;
                case Product::kPlacemark:
                    placemarks_.append(chunk.output, fields, engine->board(),
                                       core_.sampleID + static_cast<std::uint32_t>(index - 1));
                    if (log) log->line("stringToWrite: " + chunk.output.substr(start));
                    break;
            }
            engine->reset();
            result.outputEnd = chunk.output.size();
            chunk.results.push_back(result);
        }
    }

private:
    BrinoraAppControllerCore& core_;
    const RunContext& context_;
    Product product_;
    PlacemarkTemplate placemarks_;
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

    void giveBack(Chunk* chunk) {
        // A chunk that grew for one long line gives its memory back.
        if (chunk->input.capacity() > 4 * kChunkInputBytes) std::string().swap(chunk->input);
        if (chunk->output.capacity() > 16 * kChunkInputBytes) std::string().swap(chunk->output);
        free_.push_back(chunk);
    }

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

// The lines of the input as a run takes them: pieces 1..lastIndex, counted;
// with `dropLastPiece` the last piece of the file is never handed out (a KML
// run never processes it).
class LineFeed {
public:
    LineFeed(BatchLineReader& reader, std::size_t lastIndex, bool dropLastPiece)
        : reader_(reader), lastIndex_(lastIndex), dropLastPiece_(dropLastPiece) {}

    // Fills `chunk` with the next lines; false when there were none.
    bool fill(Chunk& chunk, std::size_t linesPerChunk) {
        chunk.firstIndex = nextIndex_;
        StreamLine line;
        while (nextIndex_ <= lastIndex_ && chunk.lineCount() < linesPerChunk &&
               (chunk.lineCount() == 0 || chunk.input.size() < kChunkInputBytes)) {
            if (!reader_.next(line)) break;
            ++pieces_;
            if (dropLastPiece_ && reader_.finished()) {
                droppedText_ = !line.text.empty();
                droppedLine_ = line.sourceLine;
                break;
            }
            if (!seenSample_ && !line.text.empty() && line.text.front() != ',') {
                seenSample_ = true;
                chunk.firstSampleLine = chunk.lineCount();
            }
            chunk.input.append(line.text);
            chunk.inputEnds.push_back(chunk.input.size());
            chunk.sourceLines.push_back(line.sourceLine);
            chunk.endOffsets.push_back(reader_.bytesConsumed());
            ++nextIndex_;
            // A long line is held once, by the chunk.
            if (line.text.size() > kChunkInputBytes) reader_.trim();
        }
        return chunk.lineCount() > 0;
    }

    // Reads the rest of the input, counting its pieces.
    void drain() {
        StreamLine line;
        while (reader_.next(line)) ++pieces_;
    }

    std::size_t pieces() const { return pieces_; }
    bool droppedText() const { return droppedText_; }
    int droppedLine() const { return droppedLine_; }

    void countHeader() { ++pieces_; }

private:
    BatchLineReader& reader_;
    std::size_t lastIndex_;
    bool dropLastPiece_;
    std::size_t nextIndex_ = 1;
    std::size_t pieces_ = 0;
    bool seenSample_ = false;
    bool droppedText_ = false;
    int droppedLine_ = 0;
};

// Computes the lines of `feed` with `processor` and hands each chunk to
// `deliver`, in file order, until it returns false.
template <typename Deliver>
void runChunks(LineFeed& feed, const LineProcessor& processor, unsigned threads, std::size_t linesPerChunk,
               Deliver&& deliver) {
    const unsigned workers = threads > 1 ? threads : 0;
    ChunkPipeline pipeline(processor, workers, workers == 0 ? 1 : workers * kChunksPerWorker);
    bool inputDone = false;
    for (;;) {
        while (!inputDone) {
            Chunk* chunk = pipeline.freeChunk();
            if (chunk == nullptr) break;
            if (!feed.fill(*chunk, linesPerChunk)) {
                pipeline.giveBack(chunk);
                inputDone = true;
                break;
            }
            pipeline.submit(chunk);
            if (pipeline.oldestDone()) break;
        }
        if (pipeline.empty()) return;
        Chunk* chunk = pipeline.waitForOldest();
        // The calculation's log lines of the chunk, in file order, as a run
        // on one thread writes them while it computes.
        for (std::string_view rest = chunk->calculationLog; !rest.empty();) {
            const std::size_t end = rest.find('\n');
            log::line(rest.substr(0, end));
            rest.remove_prefix(end + 1);
        }
        const bool goOn = deliver(*chunk);
        pipeline.giveBack(chunk);
        if (!goOn) {
            pipeline.cancel();
            return;
        }
    }
}

// Every line's log lines go through the held log in line order on one thread;
// the calculation's own lines (constants sets 6 and 7) are written in file
// order by runChunks whatever the number of threads.
unsigned computingThreads(const BatchRunOptions& options, int /*constantsItem*/) {
    if (options.sampleLogLines == SampleLogLines::kEvery) return 1;
    return options.jobs == 0 ? availableCores() : options.jobs;
}

// ---------------------------------------------------------------- output

// Appends to the desktop program's output file, which exists with its
// header. What a run appended is taken away again when the run fails.
class AppendedFile : public ByteSink {
public:
    explicit AppendedFile(std::string path) : path_(std::move(path)) {}
    ~AppendedFile() override {
        if (fd_ >= 0) ::close(fd_);
    }

    bool write(std::string_view bytes) override {
        if (fd_ < 0 && !open()) return false;
        while (!bytes.empty()) {
            const ssize_t n = ::write(fd_, bytes.data(), bytes.size());
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) {
                error_ = "cannot append to \"" + path_ + "\": " + std::strerror(n < 0 ? errno : ENOSPC);
                return false;
            }
            bytes.remove_prefix(static_cast<std::size_t>(n));
        }
        return true;
    }

    std::string errorMessage() const override { return error_; }

    // Cuts the file back to its length before the run.
    void rollBack() {
        if (fd_ >= 0) (void)!::ftruncate(fd_, startLength_);
    }

private:
    bool open() {
        fd_ = ::open(path_.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
        if (fd_ < 0) {
            error_ = "cannot open \"" + path_ + "\": " + std::strerror(errno);
            return false;
        }
        struct stat info {};
        if (::fstat(fd_, &info) == 0) startLength_ = info.st_size;
        return true;
    }

    std::string path_;
    int fd_ = -1;
    off_t startLength_ = 0;
    std::string error_;
};

// Gathers the bytes of consecutive chunks and writes them in blocks.
class BlockWriter {
public:
    explicit BlockWriter(ByteSink& sink) : sink_(sink) {}

    bool add(std::string_view bytes) {
        if (pending_.empty() && bytes.size() >= kOutputBlock) return sink_.write(bytes);
        pending_.append(bytes);
        if (pending_.size() < kOutputBlock) return true;
        return flush();
    }

    bool flush() {
        if (pending_.empty()) return true;
        const bool ok = sink_.write(pending_);
        pending_.clear();
        if (pending_.capacity() > 4 * kOutputBlock) std::string().swap(pending_);
        return ok;
    }

private:
    ByteSink& sink_;
    std::string pending_;
};

double percentOf(std::uint64_t done, const RunInput& input) {
    if (!input.sizeKnown || input.size == 0) return 0.0;
    return static_cast<double>(done) / static_cast<double>(input.size) * 100.0;
}

std::string overflowNote(int field) {
    static constexpr std::array<std::string_view, 14> kNames = {
        "salinity", "temperature", "pressure",  "total phosphate", "total silicate", "output temperature",
        "output pressure", "TA", "TCO2", "pH", "fCO2", "pCO2", "atmospheric pCO2", "wind speed"};
    const bool word = field >= kWordNote;
    if (word) field -= kWordNote;
    return "field " + std::to_string(field + 1) + " (" +
           std::string(kNames[static_cast<std::size_t>(field) - kFirstSampleValueField]) +
           (word ? ") is a word that names no number (\"nan\" or \"inf\"); it is taken as 0"
                 : ") is a number beyond the single-precision range; it is taken as infinite");
}

// Notes about a delivered line: more fields than a batch line has, numbers
// beyond the float range.
void noteLine(const BatchRunOptions& options, const LineResult& result, int sourceLine) {
    if (!options.note) return;
    if (result.fieldCount > kBatchLineFields) {
        options.note(RunNote{sourceLine, "the line has " + std::to_string(result.fieldCount) +
                                             " fields; the fields after the 21st are ignored (is there a comma "
                                             "inside a name or comment?)"});
    }
    if (result.overflowField >= 0) options.note(RunNote{sourceLine, overflowNote(result.overflowField)});
}

// Routes the controller's own log lines into `log` while it lives.
class ControllerLogRoute {
public:
    ControllerLogRoute(BrinoraAppControllerCore& core, HeldLog* log) : core_(core) {
        core_.logOverride = [log](std::string_view line) {
            if (log) log->line(line);
        };
    }
    ~ControllerLogRoute() { core_.logOverride = nullptr; }

private:
    BrinoraAppControllerCore& core_;
};

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

std::string runBatchFile(BrinoraAppControllerCore& core, AppUi& ui, const BatchRunOptions& options,
                         bool justPreview) {
    core.stoppedAtLine = 0;
    core.stoppedAtSourceLine = 0;
    if (!justPreview) {
        core.failedWrites = 0;
        core.recordsWritten = 0;
        core.lastWriteError.clear();
    }

    // 1. Announce the run.
    if (!justPreview) {
        ui.logLine("Batch process called, all records");
        core.progressValue = 0.0;
    } else {
        ui.logLine("Batch process called, just preview");
    }
    const std::string inputPath = core.filesToOpen.empty() ? std::string() : core.filesToOpen.front();
    ui.logLine("Dealing with file " + inputPath);

    // 2. The input, read once from here on. The lines below wait for its length.
    const auto readFailure = [&ui](const PresentedError& error) {
        ui.presentError(error);
        std::string message(kReadError);
        ui.logLine(message);
        return message;
    };
    RunInput input;
    PresentedError openError;
    if (!openRunInput(inputPath, input, openError)) return readFailure(openError);
    BatchLineReader reader(input.fd, options.readBlock, true);
    HeldLog held([&ui](std::string_view line) { ui.logLine(line); });
    const bool everyLine = options.sampleLogLines == SampleLogLines::kEvery;

    // Ends the run: the file's length first, then every held line.
    const auto release = [&](std::size_t pieces) {
        held.release("The file is " + std::to_string(pieces) + " lines long");
    };
    const auto stopRun = [&](std::string_view message) {
        std::string text(message);
        ui.logLine(text);
        ui.setProgressIndicatorHidden(true);
        return text;
    };

    // 3. The header line.
    StreamLine headerLine;
    if (!reader.next(headerLine)) return readFailure(readError(inputPath, reader));
    const std::string header(headerLine.text);
    const int headerSourceLine = headerLine.sourceLine;
    const bool onlyHeader = reader.finished();

    // 4. Nothing but a header.
    if (onlyHeader) {
        release(1);
        return stopRun(kNoDatapoints);
    }

    // 5. Last line to process.
    std::size_t lastIndex = ~std::size_t{0};
    if (justPreview) {
        const auto stored = core.defaultsStore().value(settings::kNumberOfLinesInPreview);
        int length = 5;
        if (stored) {
            length = lenientInteger(*stored);
            ui.setText(TextField::PreviewTableLength, *stored);
        } else {
            ui.setText(TextField::PreviewTableLength, "5");
        }
        lastIndex = length < 0 ? 0 : static_cast<std::size_t>(length);
        ui.noteNumberOfRowsChanged();
    } else {
        ui.setProgressIndicatorHidden(false);
        if (!input.sizeKnown) ui.setProgressIndicatorIndeterminate(true);
    }

    // 6. The header must name 21 columns; the names themselves are not examined.
    std::size_t headerNames = 0;
    for (std::size_t start = 0;;) {
        const std::size_t comma = header.find(',', start);
        const std::size_t end = comma == std::string::npos ? header.size() : comma;
        if (end > start) held.line("Number of column headers = " + std::to_string(++headerNames));
        if (comma == std::string::npos) break;
        start = comma + 1;
    }
    LineFeed feed(reader, lastIndex, false);
    feed.countHeader();
    core.headerNames = static_cast<int>(headerNames);
    if (headerNames != static_cast<std::size_t>(kBatchHeaderNames)) {
        feed.drain();
        if (reader.failed()) {
            held.discard();
            return readFailure(readError(inputPath, reader));
        }
        release(feed.pieces());
        core.stoppedAtSourceLine = headerSourceLine;
        return stopRun(kWrongColumns);
    }

    // 7. One sample per line.
    const OptionState optionsOnBoard = optionState(ui);
    const Board startBoard = Engine::sharedInstance()->board();
    const RunContext context{optionsOnBoard, startBoard, everyLine ? &held : nullptr};
    const bool throughController = justPreview || core.batchWriteMode != 1 || static_cast<bool>(core.computeCO2);
    std::unique_ptr<LineProcessor> processor;
    if (throughController) {
        processor = std::make_unique<ControllerLines>(
            core, context, justPreview ? ControllerLines::Product::kPreviewRow : ControllerLines::Product::kRecord);
    } else {
        processor = std::make_unique<RecordLines>(context, batchRecordOptionColumns(ui));
    }
    ControllerLogRoute route(core, everyLine ? &held : nullptr);

    std::unique_ptr<AppendedFile> appended;
    ByteSink* sink = options.output;
    if (!justPreview && sink == nullptr) {
        appended = std::make_unique<AppendedFile>(core.fullPathOut);
        sink = appended.get();
    }
    std::optional<BlockWriter> writer;
    if (sink) writer.emplace(*sink);

    std::string stopText;
    bool writeFailed = false;
    bool anyComputed = false;
    KeptLine kept;
    const auto deliver = [&](Chunk& chunk) {
        const std::size_t processed = chunk.results.size();
        std::size_t lastComputed = processed;
        std::size_t linesDone = 0;  // lines dealt with before any stop
        for (std::size_t k = 0; k < processed; ++k) {
            const LineResult& result = chunk.results[k];
            const std::size_t index = chunk.firstIndex + k;
            noteLine(options, result, chunk.sourceLines[k]);
            if (result.kind == LineKind::kSkipped) {
                linesDone = k + 1;
                continue;
            }
            if (result.kind == LineKind::kStop) {
                core.stoppedAtLine = static_cast<int>(index);
                core.stoppedAtSourceLine = chunk.sourceLines[k];
                stopText = std::string(stopMessage(result.stop));
                break;
            }
            anyComputed = true;
            lastComputed = k;
            if (everyLine) held.line("Done with the line!");
            linesDone = k + 1;
        }
        // The records of the lines dealt with lie one after the other: one write.
        if (writer && linesDone > 0) {
            const std::size_t bytes = chunk.results[linesDone - 1].outputEnd;
            if (writer->add(std::string_view(chunk.output).substr(0, bytes))) {
                for (std::size_t k = 0; k < linesDone; ++k) {
                    if (chunk.results[k].kind == LineKind::kRecord) ++core.recordsWritten;
                }
            } else {
                writeFailed = true;
            }
        }
        if (lastComputed < processed && !justPreview) {
            kept.keep(chunk, lastComputed);
        }
        if (!justPreview && input.sizeKnown && linesDone > 0) {
            core.progressValue = percentOf(chunk.endOffsets[linesDone - 1], input);
            ui.setProgressIndicatorValue(core.progressValue);
        }
        if (!stopText.empty() || writeFailed) return false;
        if (!justPreview && ui.cancelRequested()) {
            stopText = std::string(kBatchCancelledMessage);
            return false;
        }
        return true;
    };
    runChunks(feed, *processor, throughController ? 1 : computingThreads(options, optionsOnBoard.constantsItem),
              everyLine || throughController ? 1 : std::max<std::size_t>(1, options.linesPerChunk), deliver);
    if (writer && !writeFailed && !writer->flush()) {
        writeFailed = true;
    }
    if (anyComputed) Engine::sharedInstance()->reset();

    if (writeFailed) {
        // A block of records could not be written: nothing of the run is
        // kept (the output is taken back to what it was), and no input line
        // is to blame.
        ++core.failedWrites;
        core.lastWriteError = sink->errorMessage();
        core.recordsWritten = 0;
        core.stoppedAtLine = 0;
        core.stoppedAtSourceLine = 0;
        if (appended) appended->rollBack();
        held.release();
        return stopRun("The record could not be written to the output file (" + core.lastWriteError + ").");
    }
    const bool cancelled = stopText == kBatchCancelledMessage;
    if (!cancelled) feed.drain();
    if (reader.failed()) {
        held.discard();
        if (appended) appended->rollBack();
        if (!justPreview) ui.setProgressIndicatorHidden(true);
        return readFailure(readError(inputPath, reader));
    }
    if (cancelled) {
        held.release();
    } else {
        release(feed.pieces());
    }

    // The last computed line's record and cruise information stay with the
    // controller, as after the one-line-at-a-time run.
    if (kept.any && !throughController) {
        core.stringToWrite = kept.takeBytes();
        kept.takeCruiseInformation(core.cruiseInformationDictionary);
    }
    if (!stopText.empty()) return stopRun(stopText);

    // 8. The end of the file.
    ui.logLine("Done with file!");

    // 9. Show the preview, or report completion.
    if (justPreview) {
        ui.runPreviewWindowModal();
        ui.logLine("back in the batch processing function");
        return "";
    }
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

void runKmlFile(BrinoraAppControllerCore& core, AppUi& ui, SettingsStore& defaults, const BatchRunOptions& options) {
    // 1. The input file.
    const auto chosen =
        ui.runOpenPanel(OpenPanelRequest{{"csv"}, defaults.value(settings::kOpenPath).value_or(""), false});
    if (chosen.empty()) return;
    core.batchWriteMode = 1;
    core.filesToOpen = chosen;
    core.fullPath = core.filesToOpen.front();
    core.alreadySaved = 0;
    runKmlOfChosenInput(core, ui, defaults, options);
}

void runKmlOfChosenInput(BrinoraAppControllerCore& core, AppUi& ui, SettingsStore& defaults,
                         const BatchRunOptions& options) {
    core.placemarksWritten = 0;
    core.failedWrites = 0;
    core.stoppedAtSourceLine = 0;
    core.lastWriteError.clear();
    const bool everyLine = options.sampleLogLines == SampleLogLines::kEvery;

    // 2. Read it, once.
    RunInput input;
    PresentedError openError;
    if (!openRunInput(core.fullPath, input, openError)) {
        ui.presentError(openError);
        ui.logLine(std::string(kReadError));
        core.failedWrites = 1;
        core.lastWriteError = std::string(kReadError);
        return;
    }
    BatchLineReader reader(input.fd, options.readBlock, true);
    HeldLog held([&ui](std::string_view line) { ui.logLine(line); });
    StreamLine headerLine;
    const bool haveHeader = reader.next(headerLine);
    if (!haveHeader) {
        ui.presentError(readError(core.fullPath, reader));
        ui.logLine(std::string(kReadError));
        core.failedWrites = 1;
        core.lastWriteError = std::string(kReadError);
        return;
    }
    LineFeed feed(reader, ~std::size_t{0}, true);
    feed.countHeader();
    if (!input.sizeKnown) ui.setProgressIndicatorIndeterminate(true);

    // 3. The document is chosen on the first line: its header is the new
    // file's whole content.
    std::unique_ptr<AppendedFile> appended;
    ByteSink* sink = options.output;
    std::optional<BlockWriter> writer;
    const auto chooseDocument = [&]() {
        const std::string proposed =
            core.fullPath.empty() ? ui.text(TextField::CruiseName) : fileStem(core.fullPath) + "_Brinora.kml";
        const auto kmlPath =
            ui.runSavePanel(SavePanelRequest{"kml", defaults.value(settings::kOpenPath).value_or(""), proposed});
        if (kmlPath) {
            core.fullPathOut = *kmlPath;
            if (options.output) {
                if (!options.output->write(kmlDocumentHeader())) {
                    held.line("Error in saving file to disk");
                    core.lastWriteError = options.output->errorMessage();
                }
            } else {
                const WriteResult written = writeFileAtomically(*kmlPath, kmlDocumentHeader());
                if (!written.ok) {
                    held.line("Error in saving file to disk");
                    core.lastWriteError = written.message;
                }
            }
        }
        if (sink == nullptr) {
            appended = std::make_unique<AppendedFile>(core.fullPathOut);
            sink = appended.get();
        }
        writer.emplace(*sink);
    };

    const OptionState optionsOnBoard = optionState(ui);
    const Board startBoard = Engine::sharedInstance()->board();
    const RunContext context{optionsOnBoard, startBoard, everyLine ? &held : nullptr};
    const bool throughController = static_cast<bool>(core.computeCO2);
    std::unique_ptr<LineProcessor> processor;
    if (throughController) {
        processor = std::make_unique<ControllerLines>(core, context, ControllerLines::Product::kPlacemark);
    } else {
        processor = std::make_unique<PlacemarkLines>(context, core.sampleID);
    }
    ControllerLogRoute route(core, everyLine ? &held : nullptr);

    // 4. One placemark per line; the last piece is never a sample here.
    bool writeFailed = false;
    std::size_t processedLines = 0;
    KeptLine kept;
    const auto deliver = [&](Chunk& chunk) {
        if (!writer) chooseDocument();
        const std::size_t processed = chunk.results.size();
        processedLines += processed;
        for (std::size_t k = 0; k < processed; ++k) {
            noteLine(options, chunk.results[k], chunk.sourceLines[k]);
            if (everyLine) held.line("Done with the line!");
        }
        // The placemarks lie one after the other: one write.
        if (processed > 0 && !writer->add(std::string_view(chunk.output).substr(0, chunk.results[processed - 1].outputEnd))) {
            // The placemarks stop here; the document lacks its footer.
            writeFailed = true;
            kept.keep(chunk, processed - 1);
            return false;
        }
        core.placemarksWritten += static_cast<int>(processed);
        if (input.sizeKnown && processed > 0) {
            ui.setProgressIndicatorValue(percentOf(chunk.endOffsets[processed - 1], input));
        }
        if (processed > 0) kept.keep(chunk, processed - 1);
        return true;
    };
    runChunks(feed, *processor, throughController ? 1 : computingThreads(options, optionsOnBoard.constantsItem),
              everyLine || throughController ? 1 : std::max<std::size_t>(1, options.linesPerChunk), deliver);
    if (kept.any) core.stringToWrite = kept.takeBytes();
    if (processedLines > 0) {
        core.alreadySaved = 1;
        Engine::sharedInstance()->reset();
        core.sampleID += static_cast<std::uint32_t>(processedLines);
    }

    // 5. Close the document.
    if (writer && !writeFailed) writeFailed = !writer->add(kmlDocumentFooter()) || !writer->flush();
    if (!writeFailed) feed.drain();
    if (reader.failed() && !writeFailed) {
        held.discard();
        if (appended) appended->rollBack();
        ui.presentError(readError(core.fullPath, reader));
        ui.logLine(std::string(kReadError));
        core.failedWrites = 1;
        core.lastWriteError = std::string(kReadError);
        core.alreadySaved = 0;
        core.batchWriteMode = 0;
        core.sampleID = 0;
        return;
    }
    held.release("The file is " + std::to_string(feed.pieces()) + " lines long");
    if (feed.droppedText() && options.note) {
        options.note(RunNote{feed.droppedLine(),
                             "the last line has no line end and is not part of the document (a KML document "
                             "holds only lines that end with a line end)"});
    }
    if (writeFailed) {
        // Nothing of the run is kept: the document is taken back to what it was.
        ++core.failedWrites;
        core.lastWriteError = sink->errorMessage();
        core.placemarksWritten = 0;
        if (appended) appended->rollBack();
        ui.logLine(core.lastWriteError);
    } else {
        // 6. Report.
        ui.runAlert(Alert{"CSV to KML Processing Completed",
                          "Input: " + core.fullPath + "\n\n" + "Output: " + core.fullPathOut, {"OK"}});
    }

    // 7. Ready for the next run.
    core.alreadySaved = 0;
    core.batchWriteMode = 0;
    core.sampleID = 0;
    ui.logLine("Done with file!");
}

}  // namespace brinora
