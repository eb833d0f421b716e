// The lines of a run in chunks: what a chunk holds and produces, the feed
// that fills chunks from the line reader, and the worker threads that compute
// them and hand them back in file order. Used by the pipeline's runs only.
#pragma once

#include <algorithm>
#include <array>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "log/log.h"
#include "engine/board.h"
#include "engine/compute_co2.h"
#include "input/fields.h"
#include "input/line_reader.h"
#include "input/line_rules.h"
#include "records/dict_record.h"

namespace brinora::pipeline {

// Input bytes handed to a worker at a time, at most (one line at least).
inline constexpr std::size_t kChunkInputBytes = std::size_t{1} << 18;
// Chunks per worker: enough that a worker never waits for the writer.
inline constexpr std::size_t kChunksPerWorker = 4;

enum class LineKind : std::uint8_t { kRecord, kSkipped, kStop };

struct LineResult {
    LineKind kind = LineKind::kSkipped;
    StopReason stop = StopReason::kNone;
    std::uint32_t fieldCount = 0;  // fields of the whole line
    // First value field beyond the float range, or + kWordNote a field that
    // is "nan" or "inf" read as 0; -1 when none.
    std::int8_t overflowField = -1;
    std::size_t outputEnd = 0;     // end of the line's bytes in Chunk::output
    std::size_t rowsEnd = 0;       // end of the line's sample row in Chunk::rows
};

// Added to a field number in LineResult::overflowField when the field is a
// word ("nan", "inf") read as 0 rather than a number beyond the float range.
constexpr int kWordNote = 64;

// Consecutive lines of the input, then what they produce.
struct Chunk {
    std::size_t firstIndex = 0;        // piece index of the first line (header = 0)
    std::size_t firstSampleLine = ~std::size_t{0};  // line of the chunk that is the run's first sample line
    std::size_t samplesBefore = 0;     // lines of the run before the chunk whose SampleID is not empty
    std::vector<std::uint64_t> endOffsets;  // input bytes consumed after each line
    std::string input;
    std::vector<std::size_t> inputEnds;
    std::vector<int> sourceLines;
    std::string output;
    std::string rows;                 // the sample rows of the lines (BatchRequest::sampleRows)
    // A line could have no sample row: the line that ends the chunk (kStop,
    // StopReason::kNone), and why.
    bool rowsFailed = false;
    std::string rowsError;
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
        rows.clear();
        rowsFailed = false;
        rowsError.clear();
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
    void takeCruiseInformation(CruiseInformation& dictionary) {
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


// Computes the lines of a chunk into its output.
class LineProcessor {
public:
    virtual ~LineProcessor() = default;
    virtual void process(Chunk& chunk, Worker& worker) const = 0;
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
        chunk.samplesBefore = samples_;
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
            // Field 0 is empty exactly when the line is empty or starts with ",".
            if (!line.text.empty() && line.text.front() != ',') ++samples_;
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
    std::size_t samples_ = 0;
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


}  // namespace brinora::pipeline
