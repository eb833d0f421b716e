// The input of a run, opened once (a file, or standard input for "-"), its
// share dealt with, and the remarks about its lines. Used by the pipeline's
// runs only.
#pragma once

#include <cstdint>
#include <string>

#include "input/line_reader.h"
#include "pipeline/batch_pipeline.h"
#include "pipeline/chunks.h"

namespace brinora::pipeline {

struct RunInput {
    int fd = -1;
    bool ownsDescriptor = false;
    std::uint64_t size = 0;  // bytes, when known
    bool sizeKnown = false;

    RunInput() = default;
    RunInput(const RunInput&) = delete;
    RunInput& operator=(const RunInput&) = delete;
    ~RunInput();
};

// Opens `path` ("-": standard input); false with `error` when it cannot be read.
bool openRunInput(const std::string& path, RunInput& input, PresentedError& error);

// `done` bytes of `input` as a percentage (0 when its size is unknown or 0).
double percentOf(std::uint64_t done, const RunInput& input);

// Remarks about a delivered line: more fields than a batch line has, numbers
// beyond the float range.
void noteLine(BatchReport& report, const LineResult& result, int sourceLine);

}  // namespace brinora::pipeline
