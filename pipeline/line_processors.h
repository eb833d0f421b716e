// What the workers of a run do with each line: put the line's options and
// values on a board, compute it, and format a record, a placemark or a
// preview row. Used by the pipeline's runs only.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>

#include "engine/board.h"
#include "pipeline/batch_pipeline.h"
#include "pipeline/chunks.h"
#include "pipeline/held_log.h"

namespace brinora::pipeline {

// The option slots and their log line, fixed for a run.
struct OptionState {
    std::array<float, 4> slots{};  // slots 1..4: menu item minus 1
    std::string logText;           // the "CO2Constants: ..." log line
    int constantsItem = 0;
};

OptionState optionState(const BatchOptions& options);

// What every line processor shares for one run.
struct RunContext {
    const OptionState& options;
    const Board& startBoard;   // the board the run's first sample line starts from
    HeldLog* sampleLog;        // per-sample log lines (kEvery), or null
    const std::function<void(Board&)>& compute;  // empty: BrinoraMain::ComputeCO2
};

// Records of a batch run, on the workers' own boards. The run's first sample
// line starts from the start board; every later line from a cleared board.
class RecordLines : public LineProcessor {
public:
    // `rows`: a sample row per record into Chunk::rows (null: none).
    RecordLines(const RunContext& context, std::string optionColumns, const SampleRows* rows = nullptr)
        : context_(context), optionColumns_(std::move(optionColumns)), rows_(rows) {}
    void process(Chunk& chunk, Worker& worker) const override;

private:
    const RunContext& context_;
    std::string optionColumns_;
    const SampleRows* rows_;
};

// Preview rows of the first lines: the line rules of a records run, then a
// Dict record per computed line, kept beside the chunk's lines.
class PreviewLines : public LineProcessor {
public:
    PreviewLines(const RunContext& context, const RecordOptionTitles& titles, std::vector<DictRecord>& rows)
        : context_(context), titles_(titles), rows_(rows) {}
    // Runs on the calling thread only (a preview computes on one thread).
    void process(Chunk& chunk, Worker& worker) const override;

private:
    const RunContext& context_;
    const RecordOptionTitles& titles_;
    std::vector<DictRecord>& rows_;
};

// Placemarks of a KML run: every line is computed, with no check of any kind.
class PlacemarkLines : public LineProcessor {
public:
    PlacemarkLines(const RunContext& context, std::uint32_t firstSampleNumber)
        : context_(context), firstSampleNumber_(firstSampleNumber) {}
    void process(Chunk& chunk, Worker& worker) const override;

private:
    const RunContext& context_;
    std::uint32_t firstSampleNumber_;
    PlacemarkTemplate template_;
};

}  // namespace brinora::pipeline
