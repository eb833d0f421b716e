// The records and preview runs of the batch pipeline, and the choice of run.
#include "pipeline/batch_pipeline.h"

#include <sched.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

#include "pipeline/block_writer.h"
#include "pipeline/chunks.h"
#include "pipeline/held_log.h"
#include "pipeline/line_processors.h"
#include "pipeline/run_input.h"
#include "pipeline/runs.h"

namespace brinora {
namespace pipeline {

unsigned computingThreads(const BatchRequest& request, int constantsItem) {
    // Every line's log lines go through the held log in line order on one
    // thread; the calculation's own lines (constants sets 6 and 7) are
    // written in file order by runChunks whatever the number of threads.
    (void)constantsItem;
    if (request.sampleLogLines == SampleLogLines::kEvery || request.compute) return 1;
    return request.jobs == 0 ? availableCores() : request.jobs;
}

std::size_t linesPerChunk(const BatchRequest& request) {
    if (request.sampleLogLines == SampleLogLines::kEvery || request.compute) return 1;
    return std::max<std::size_t>(1, request.linesPerChunk);
}

BatchResult runRecords(const BatchRequest& request, BatchReport& report) {
    const bool justPreview = request.mode == RunMode::kPreview;
    BatchResult result;
    const auto readFailure = [&result](PresentedError error) {
        result.status = RunStatus::kReadError;
        result.readError = std::move(error);
        return std::move(result);
    };

    // The input, read once from here on. The log lines wait for its length.
    RunInput input;
    PresentedError openError;
    if (!openRunInput(request.input, input, openError)) return readFailure(std::move(openError));
    BatchLineReader reader(input.fd, request.readBlock, true);
    HeldLog held([&report](std::string_view line) { report.logLine(line); });
    const bool everyLine = request.sampleLogLines == SampleLogLines::kEvery;

    // Ends the run: the file's length first, then every held line.
    const auto release = [&](std::size_t pieces) {
        result.lines = pieces;
        held.release("The file is " + std::to_string(pieces) + " lines long");
    };
    const auto stop = [&result](RunStatus status, std::string_view message) {
        result.status = status;
        result.message = std::string(message);
        return std::move(result);
    };

    // The header line.
    StreamLine headerLine;
    if (!reader.next(headerLine)) return readFailure(batchInputError(request.input, reader));
    const std::string header(headerLine.text);
    const int headerSourceLine = headerLine.sourceLine;

    // Nothing but a header.
    if (reader.finished()) {
        release(1);
        return stop(RunStatus::kNoDatapoints, kNoDatapointsMessage);
    }

    // The last line to process.
    const std::size_t lastIndex = justPreview ? request.previewLines : ~std::size_t{0};
    report.samplesBegin(input.sizeKnown);

    // The header must name 21 columns; the names themselves are not examined.
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
    result.headerNames = static_cast<int>(headerNames);
    if (headerNames != static_cast<std::size_t>(kBatchHeaderNames)) {
        feed.drain();
        if (reader.failed()) {
            held.discard();
            return readFailure(batchInputError(request.input, reader));
        }
        release(feed.pieces());
        result.stoppedAtSourceLine = headerSourceLine;
        return stop(RunStatus::kWrongColumns, kWrongColumnsMessage);
    }

    // One sample per line.
    const OptionState optionsOnBoard = optionState(request.options);
    const Board clearedBoard;
    const RunContext context{optionsOnBoard, request.startBoard ? *request.startBoard : clearedBoard,
                             everyLine ? &held : nullptr, request.compute};
    std::vector<DictRecord> rows;
    std::unique_ptr<LineProcessor> processor;
    if (justPreview) {
        processor = std::make_unique<PreviewLines>(context, request.options.titles, rows);
    } else {
        processor = std::make_unique<RecordLines>(context, batchRecordOptionColumns(request.options.titles),
                                                  request.sampleRows);
    }
    ByteSink* sink = justPreview ? nullptr : request.output;
    std::optional<BlockWriter> writer;
    if (sink) writer.emplace(*sink);
    // The second file's rows, written as the records are.
    ByteSink* rowsSink = justPreview || request.sampleRows == nullptr ? nullptr : request.sampleRowsOutput;
    std::optional<BlockWriter> rowsWriter;
    if (rowsSink) rowsWriter.emplace(*rowsSink);
    bool rowsFailed = false;  // a line had no row, or the rows could not be written
    std::string rowsError;    // why

    std::string stopText;
    RunStatus stopStatus = RunStatus::kStopped;
    bool writeFailed = false;
    KeptLine kept;
    const auto deliver = [&](Chunk& chunk) {
        for (DictRecord& row : rows) report.previewRow(std::move(row));
        rows.clear();
        const std::size_t processed = chunk.results.size();
        std::size_t lastComputed = processed;
        std::size_t linesDone = 0;  // lines dealt with before any stop
        for (std::size_t k = 0; k < processed; ++k) {
            const LineResult& line = chunk.results[k];
            const std::size_t index = chunk.firstIndex + k;
            noteLine(report, line, chunk.sourceLines[k]);
            if (line.kind == LineKind::kSkipped) {
                linesDone = k + 1;
                continue;
            }
            if (line.kind == LineKind::kStop && line.stop == StopReason::kNone && chunk.rowsFailed) {
                rowsError = chunk.rowsError;
                rowsFailed = writeFailed = true;
                break;
            }
            if (line.kind == LineKind::kStop) {
                result.stoppedAtLine = static_cast<int>(index);
                result.stoppedAtSourceLine = chunk.sourceLines[k];
                stopText = std::string(stopMessage(line.stop));
                break;
            }
            result.anyComputed = true;
            lastComputed = k;
            if (everyLine) held.line("Done with the line!");
            linesDone = k + 1;
        }
        // The records of the lines dealt with lie one after the other: one write.
        if (writer && linesDone > 0) {
            const std::size_t bytes = chunk.results[linesDone - 1].outputEnd;
            if (writer->add(std::string_view(chunk.output).substr(0, bytes))) {
                for (std::size_t k = 0; k < linesDone; ++k) {
                    if (chunk.results[k].kind == LineKind::kRecord) ++result.written;
                }
            } else {
                writeFailed = true;
            }
        }
        if (rowsWriter && linesDone > 0 && !writeFailed) {
            const std::size_t bytes = chunk.results[linesDone - 1].rowsEnd;
            if (!rowsWriter->add(std::string_view(chunk.rows).substr(0, bytes))) {
                rowsError = rowsSink->errorMessage();
                rowsFailed = writeFailed = true;
            }
        }
        if (lastComputed < processed) kept.keep(chunk, lastComputed);
        if (!justPreview && input.sizeKnown && linesDone > 0) {
            report.progress(percentOf(chunk.endOffsets[linesDone - 1], input));
        }
        if (!stopText.empty() || writeFailed) return false;
        if (!justPreview && report.cancelRequested()) {
            stopText = std::string(kBatchCancelledMessage);
            stopStatus = RunStatus::kCancelled;
            return false;
        }
        return true;
    };
    result.linesRun = true;
    runChunks(feed, *processor, justPreview ? 1 : computingThreads(request, optionsOnBoard.constantsItem),
              justPreview ? 1 : linesPerChunk(request), deliver);
    if (writer && !writeFailed && !writer->flush()) writeFailed = true;
    if (rowsWriter && !writeFailed && !rowsWriter->flush()) {
        rowsError = rowsSink->errorMessage();
        rowsFailed = writeFailed = true;
    }

    if (writeFailed) {
        // A block of records could not be written: nothing of the run
        // counts, and no input line is to blame.
        result.status = RunStatus::kWriteFailed;
        result.sampleRowsFailed = rowsFailed;
        result.writeError = result.sampleRowsFailed ? rowsError : sink->errorMessage();
        result.message = result.sampleRowsFailed
                             ? rowsError
                             : "The record could not be written to the output file (" + result.writeError + ").";
        result.written = 0;
        result.stoppedAtLine = 0;
        result.stoppedAtSourceLine = 0;
        held.release();
        return result;
    }
    const bool cancelled = stopStatus == RunStatus::kCancelled;
    if (!cancelled) feed.drain();
    if (reader.failed()) {
        held.discard();
        return readFailure(batchInputError(request.input, reader));
    }
    if (cancelled) {
        held.release();
    } else {
        release(feed.pieces());
    }

    // The last computed line's record and cruise information.
    if (kept.any) {
        result.haveLastLine = true;
        result.lastBytes = kept.takeBytes();
        kept.takeCruiseInformation(result.lastCruiseInformation);
    }
    if (!stopText.empty()) return stop(stopStatus, stopText);
    return result;
}

}  // namespace pipeline

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

BatchResult runBatch(const BatchRequest& request, BatchReport& report) {
    if (request.mode == RunMode::kKml) return pipeline::runKml(request, report);
    return pipeline::runRecords(request, report);
}

}  // namespace brinora
