// Log lines held back until they can be written in their proper order.
//
// A batch run logs "The file is N lines long" before any other line about the
// file, but N is known only when the input has been read to its end, and the
// input is read once, as the samples are computed. The lines that follow it
// are therefore held here and written after it. Memory stays bounded: past a
// few megabytes the held lines go to an unnamed temporary file.
#pragma once

#include <cstdio>
#include <functional>
#include <string>
#include <string_view>

namespace brinora {

class HeldLog {
public:
    using Writer = std::function<void(std::string_view)>;

    explicit HeldLog(Writer write, std::size_t memoryLimit = std::size_t{4} << 20);
    ~HeldLog();
    HeldLog(const HeldLog&) = delete;
    HeldLog& operator=(const HeldLog&) = delete;

    // Holds `line` (written at once after release()).
    void line(std::string_view line);
    // Writes `first` (unless empty), then every held line in order; later
    // lines are written at once.
    void release(std::string_view first = {});
    // Forgets the held lines (the run failed before they would be written).
    void discard();

private:
    void spill();

    Writer write_;
    std::size_t memoryLimit_;
    bool holding_ = true;
    std::string memory_;      // held lines, each as its length (8 bytes) then its bytes
    std::FILE* file_ = nullptr;  // spilled held lines, same format, after memory_'s
    bool fileFailed_ = false;
    std::string tail_;           // held lines after a failed write to file_
};

}  // namespace brinora
