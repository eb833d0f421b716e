// The runs of the batch pipeline (runBatch chooses one) and what they share.
#pragma once

#include <cstddef>

#include "pipeline/batch_pipeline.h"

namespace brinora::pipeline {

// kRecords and kPreview.
BatchResult runRecords(const BatchRequest& request, BatchReport& report);
// kKml.
BatchResult runKml(const BatchRequest& request, BatchReport& report);

// Threads that compute the lines of `request` (1: the calling thread alone).
unsigned computingThreads(const BatchRequest& request, int constantsItem);
// Lines handed to a worker at a time.
std::size_t linesPerChunk(const BatchRequest& request);

}  // namespace brinora::pipeline
