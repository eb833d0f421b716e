// The fast batch runs behind `brinora batch` and `brinora kml`: the input is
// read block by block, its lines are computed on worker threads (each with its
// own board and its own K0 and FugFac) and the records or placemarks are
// written in file order, so that files of any size run in flat memory and at
// the speed of every core. The bytes written, the messages, the stop rules and
// the progress values are those of batchProcess(path, false) and writeKML.
#pragma once

#include <cstddef>
#include <string>

#include "batch/controller_core.h"
#include "batch/stream_reader.h"
#include "batch/ui.h"

namespace brinora {

// Which log lines of the sample lines a fast run writes.
enum class SampleLogLines {
    // None: the run writes only its own lines (the announcement, the file and
    // its length, the header count, a stopping message, the end); constants
    // sets 6 and 7 still write their line per constants call.
    kOmitted,
    // Every line of the one-line-at-a-time run, in its order; the samples are
    // then computed on the calling thread, one at a time.
    kEvery,
};

struct FastRunOptions {
    // Threads that compute: 0 means one per core available, 1 the calling
    // thread alone. Constants sets 6 and 7, whose constants routine writes a
    // log line per call, and SampleLogLines::kEvery always run on one thread,
    // so that the log keeps its order.
    unsigned jobs = 0;
    SampleLogLines sampleLogLines = SampleLogLines::kOmitted;
    // Bytes read from the input at a time.
    std::size_t readBlock = kDefaultReadBlock;
    // Lines handed to a worker at a time.
    std::size_t linesPerChunk = 256;
};

// Cores this process may run on.
unsigned availableCores();

// The full run of core.batchProcess(path, false) over the first of
// core.filesToOpen, writing to core.fullPathOut: the same records, messages,
// progress values and results (stoppedAtLine, stoppedAtSourceLine,
// recordsWritten, failedWrites, lastWriteError), with the chemistry of
// BrinoraMain::ComputeCO2 on boards of its own (core.computeCO2 is not used).
// `ui` is the one `core` was made with; `survey`, when given, is the survey
// of the input file. A batchWriteMode other
// than 1 runs core.batchProcess itself.
std::string fastBatchProcess(BrinoraAppControllerCore& core, AppUi& ui, const FastRunOptions& options,
                             const BatchFileSurvey* survey = nullptr);

// core.writeKML(): the open panel, then one placemark per line into the KML
// file chosen on the first line, as writeKML writes them. `ui` and
// `defaults` are the ones `core` was made with.
void fastWriteKML(BrinoraAppControllerCore& core, AppUi& ui, SettingsStore& defaults,
                  const FastRunOptions& options);

}  // namespace brinora
