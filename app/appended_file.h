// The desktop program's output file as the destination of records and
// placemarks: appended to through the journaled output target, as the
// command line's --append does, so that an append cut short (a crash, a full
// device) is rolled back before the next one. The file is opened at the
// first write; a run that fails takes its bytes away again.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "output/output_target.h"
#include "pipeline/batch_pipeline.h"

namespace brinora {

class AppendedFile : public ByteSink {
public:
    explicit AppendedFile(std::string path) : path_(std::move(path)) {}

    // Opens the file on the first write.
    bool write(std::string_view bytes) override;
    std::string errorMessage() const override { return error_; }
    // Makes the appended bytes part of the file for good; false (and
    // errorMessage()) when that fails. True when nothing was written.
    bool commit();
    // Cuts the file back to its length before the first write.
    void rollBack();

private:
    std::string path_;
    std::unique_ptr<OutputTarget> target_;
    std::string error_;
};

// The desktop program's KML document after its header: appended to with
// plain writes, opened at the first write; what a run appended is cut away
// again when the run fails. (The output target's append would first give
// the header, which has no line end, one.)
class KmlDocumentFile : public ByteSink {
public:
    explicit KmlDocumentFile(std::string path) : path_(std::move(path)) {}
    ~KmlDocumentFile() override;
    KmlDocumentFile(const KmlDocumentFile&) = delete;
    KmlDocumentFile& operator=(const KmlDocumentFile&) = delete;

    bool write(std::string_view bytes) override;
    std::string errorMessage() const override { return error_; }
    // Cuts the file back to its length before the first write.
    void rollBack();

private:
    std::string path_;
    int fd_ = -1;
    long long startLength_ = 0;
    std::string error_;
};

// Appends `bytes` to the existing file at `path` as one all-or-nothing
// append; "" on success, otherwise why not.
std::string appendToOutputFile(const std::string& path, std::string_view bytes);

}  // namespace brinora
