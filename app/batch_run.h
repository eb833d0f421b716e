// The application controller's batch and KML runs: what the window (or a
// stand-in for it) shows and asks around a run of the batch pipeline. The
// controller builds a plain request from its menus and fields, runs the
// pipeline, and then shows the outcome: the preview window, the completion
// alert, a presented error, the controller's fields.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

#include "app/ui.h"
#include "app/uncertainty_choice.h"
#include "pipeline/batch_pipeline.h"

namespace brinora {

class BrinoraAppControllerCore;

// How the controller's runs go: threads, log lines, where the bytes go.
struct BatchRunOptions {
    // Threads that compute: 0 means one per core available (see BatchRequest::jobs).
    unsigned jobs = 0;
    SampleLogLines sampleLogLines = SampleLogLines::kEvery;
    std::size_t readBlock = kDefaultReadBlock;
    std::size_t linesPerChunk = 256;
    // Where records, or a KML document's bytes, go. Null: records are
    // appended to the controller's output file (fullPathOut), which already
    // holds its header; a KML document is written to the file chosen for it.
    ByteSink* output = nullptr;
    // Remarks about the input, in file order (null: none are made).
    std::function<void(const RunNote&)> note;
    // When set, a full run whose records are kept (to its end or to a line
    // that stops it) also writes the uncertainty file beside the output
    // file, as `brinora batch --u-...` does.
    std::optional<UncertaintyChoice> uncertainty;
};

// core.batchProcess(path, justPreview) over the first of core.filesToOpen
// ("-" is standard input), with `ui` as the window. Returns "" or the
// message that stopped the run (core.lastRunStatus says which end it was).
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
