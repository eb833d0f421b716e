// The desktop program's output file as the destination of a run's records:
// appended to, as it exists with its header; what a run appended is taken
// away again when the run fails.
#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>

#include "pipeline/batch_pipeline.h"

namespace brinora {

class AppendedFile : public ByteSink {
public:
    explicit AppendedFile(std::string path) : path_(std::move(path)) {}
    ~AppendedFile() override;
    AppendedFile(const AppendedFile&) = delete;
    AppendedFile& operator=(const AppendedFile&) = delete;

    // Opens the file on the first write.
    bool write(std::string_view bytes) override;
    std::string errorMessage() const override { return error_; }
    // Cuts the file back to its length before the run.
    void rollBack();

private:
    bool open();

    std::string path_;
    int fd_ = -1;
    off_t startLength_ = 0;
    std::string error_;
};

}  // namespace brinora
