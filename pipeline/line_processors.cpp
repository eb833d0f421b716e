#include "pipeline/line_processors.h"

#include <cmath>

#include "engine/compute_co2.h"
#include "engine/slots.h"
#include "input/lenient_number.h"

namespace brinora::pipeline {
namespace {

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

// Puts the start board or a cleared one on `board`, the line's values on it,
// and computes it; returns the first value field beyond the float range.
// The calculation's own log lines (constants sets 6 and 7) go to `calculationLog`.
int computeLine(const RunContext& context, const BatchFields& fields, bool firstSample, Worker& worker,
                std::string& calculationLog) {
    Board& board = worker.board;
    if (firstSample) {
        board = context.startBoard;
    } else {
        board.reset();
    }
    const int overflow = putLineOnBoard(fields, context.options, board);
    if (context.compute) {
        context.compute(board);
    } else {
        BrinoraMain::ComputeCO2(board, worker.values, &calculationLog);
    }
    return overflow;
}

}  // namespace

OptionState optionState(const BatchOptions& options) {
    OptionState state;
    state.slots = {static_cast<float>(options.constants - 1), static_cast<float>(options.khso4 - 1),
                   static_cast<float>(options.pHScale - 1), static_cast<float>(options.flux - 1)};
    state.logText = "CO2Constants: " + std::to_string(options.constants) + "\nKHSO4: " +
                    std::to_string(options.khso4) + "\npHScale: " + std::to_string(options.pHScale) +
                    "\nAirSeaFlux: " + std::to_string(options.flux);
    state.constantsItem = options.constants;
    return state;
}

// The lines of `chunk` under the batch line rules: a sample line is computed
// on `worker` and handed to `emit(fields, log, k)`, which writes what the run
// makes of it, false when it cannot (the line then ends the chunk as a stop
// of no reason); a stopping line ends the chunk.
template <typename Emit>
void processSampleLines(const RunContext& context, Chunk& chunk, Worker& worker, const Emit& emit) {
    BatchFields fields;
    HeldLog* log = context.sampleLog;
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
            if (log) logUpdatingConstants(*log, context.options);
            result.overflowField =
                static_cast<std::int8_t>(computeLine(context, fields, k == chunk.firstSampleLine, worker, chunk.calculationLog));
            if (log) log->line("Passed compute");
            if (!emit(fields, log, k)) result.kind = LineKind::kStop;
        }
        result.outputEnd = chunk.output.size();
        result.rowsEnd = chunk.rows.size();
        chunk.results.push_back(result);
        if (result.kind == LineKind::kStop) break;
    }
}

void RecordLines::process(Chunk& chunk, Worker& worker) const {
    std::size_t samples = chunk.samplesBefore;
    processSampleLines(context_, chunk, worker, [&](const BatchFields& fields, HeldLog* log, std::size_t k) {
        const std::size_t start = chunk.output.size();
        appendBatchRecord(chunk.output, fields, worker.board, optionColumns_);
        if (log) log->line("stringToWrite: " + chunk.output.substr(start));
        // Every line of the chunk before this one whose SampleID is not
        // empty was a sample line: a stopping line ends the chunk.
        ++samples;
        if (rows_ && !rows_->append(fields, samples, chunk.sourceLines[k], chunk.rows, chunk.rowsError)) {
            chunk.rowsFailed = true;
            return false;
        }
        return true;
    });
}

void PreviewLines::process(Chunk& chunk, Worker& worker) const {
    processSampleLines(context_, chunk, worker, [&](const BatchFields& fields, HeldLog*, std::size_t) {
        rows_.push_back(dictRecord(cruiseInformation(fields), worker.board, titles_));
        return true;
    });
}

void PlacemarkLines::process(Chunk& chunk, Worker& worker) const {
    BatchFields fields;
    HeldLog* log = context_.sampleLog;
    for (std::size_t k = 0; k < chunk.lineCount(); ++k) {
        const std::size_t index = chunk.firstIndex + k;
        if (log) log->line("Dealing with line " + std::to_string(index));
        LineResult result;
        result.kind = LineKind::kRecord;
        result.fieldCount = static_cast<std::uint32_t>(splitBatchFields(chunk.line(k), fields));
        if (log) logUpdatingConstants(*log, context_.options);
        result.overflowField = static_cast<std::int8_t>(computeLine(context_, fields, index == 1, worker, chunk.calculationLog));
        const std::size_t start = chunk.output.size();
        template_.append(chunk.output, fields, worker.board,
                         firstSampleNumber_ + static_cast<std::uint32_t>(index - 1));
        if (log) log->line("stringToWrite: " + chunk.output.substr(start));
        result.outputEnd = chunk.output.size();
        chunk.results.push_back(result);
    }
}

}  // namespace brinora::pipeline
