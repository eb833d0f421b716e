// The desktop program's output files as destinations of records and
// placemarks, written through the same output target as the command line's:
// records are appended with the journaled append (as --append does), so that
// an append cut short (a crash, a full device) is rolled back before the next
// one; a KML document is written aside and renamed into place when complete
// (as `brinora kml` does). The file is opened at the first write; a run that
// fails takes its bytes away again.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "output/output_target.h"
#include "pipeline/batch_pipeline.h"

namespace brinora {

class AppendedFile : public ByteSink {
public:
    explicit AppendedFile(std::string path, OutputMode mode = OutputMode::kAppend, OutputOptions options = {})
        : path_(std::move(path)), mode_(mode), options_(std::move(options)) {}

    // Opens the file on the first write (once: a file that could not be
    // opened fails every later write with the same message).
    bool write(std::string_view bytes) override;
    std::string errorMessage() const override { return error_; }
    // Makes the written bytes part of the file for good; false (and
    // errorMessage()) when that fails. True when nothing was written.
    bool commit();
    // Takes the run's bytes away: an append is cut back to the file's length
    // before the first write, a new or replaced file is not put in place.
    void rollBack();

private:
    std::string path_;
    OutputMode mode_;
    OutputOptions options_;
    std::unique_ptr<OutputTarget> target_;
    bool openFailed_ = false;
    std::string error_;
};

// Appends `bytes` to the existing file at `path` as one all-or-nothing
// append; "" on success, otherwise why not.
std::string appendToOutputFile(const std::string& path, std::string_view bytes);

}  // namespace brinora
