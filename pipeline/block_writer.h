// The bytes of consecutive chunks gathered and written to a run's output in
// blocks of kOutputBlock or more. Used by the pipeline's runs only.
#pragma once

#include <string>
#include <string_view>

#include "pipeline/batch_pipeline.h"

namespace brinora::pipeline {

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

}  // namespace brinora::pipeline
