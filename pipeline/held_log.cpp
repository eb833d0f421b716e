#include "pipeline/held_log.h"

#include <cstdint>
#include <cstring>
#include <vector>

namespace brinora {
namespace {

void appendRecord(std::string& out, std::string_view line) {
    const std::uint64_t size = line.size();
    char prefix[sizeof size];
    std::memcpy(prefix, &size, sizeof size);
    out.append(prefix, sizeof size);
    out.append(line);
}

}  // namespace

HeldLog::HeldLog(Writer write, std::size_t memoryLimit) : write_(std::move(write)), memoryLimit_(memoryLimit) {}

HeldLog::~HeldLog() {
    if (file_) std::fclose(file_);
}

void HeldLog::line(std::string_view line) {
    if (!holding_) {
        write_(line);
        return;
    }
    if (file_ == nullptr && memory_.size() + line.size() + 8 > memoryLimit_) spill();
    if (file_ != nullptr) {
        std::string record;
        appendRecord(record, line);
        if (!fileFailed_ && std::fwrite(record.data(), 1, record.size(), file_) == record.size()) return;
        // The temporary file failed: the line and those after it stay in
        // memory, written after the file's lines.
        fileFailed_ = true;
        tail_.append(record);
        return;
    }
    appendRecord(memory_, line);
}

void HeldLog::spill() {
    file_ = std::tmpfile();
    if (file_ == nullptr) return;
    // Lines already in memory stay there and are written first.
}

void HeldLog::release(std::string_view first) {
    if (!holding_) return;
    holding_ = false;
    if (!first.empty()) write_(first);
    const auto replay = [this](std::string_view bytes) {
        std::size_t at = 0;
        while (at + 8 <= bytes.size()) {
            std::uint64_t size = 0;
            std::memcpy(&size, bytes.data() + at, sizeof size);
            at += sizeof size;
            write_(bytes.substr(at, size));
            at += size;
        }
    };
    // Lines held in memory came before the spill, those in the file after it,
    // and those of tail_ after a failed file write.
    replay(memory_);
    std::string().swap(memory_);
    if (file_ != nullptr) {
        std::rewind(file_);
        std::vector<char> buffer;
        std::uint64_t size = 0;
        while (std::fread(&size, 1, sizeof size, file_) == sizeof size) {
            buffer.resize(size);
            if (std::fread(buffer.data(), 1, size, file_) != size) break;
            write_(std::string_view(buffer.data(), size));
        }
        std::fclose(file_);
        file_ = nullptr;
    }
    replay(tail_);
    std::string().swap(tail_);
}

void HeldLog::discard() {
    holding_ = false;
    std::string().swap(memory_);
    std::string().swap(tail_);
    if (file_ != nullptr) {
        std::fclose(file_);
        file_ = nullptr;
    }
}

}  // namespace brinora
