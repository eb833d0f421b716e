// What brinora_output_writer writes: a header line and blocks of 64 KiB of
// numbered 64-byte records, the same bytes every time for the same tag, so a
// test can tell a complete run from a torn one byte for byte.
#pragma once

#include <cstdio>
#include <string>

namespace brinora::faults {

inline const std::string kWriterHeader = "id,run,padding\n";
constexpr int kRecordsPerBlock = 1024;  // 1024 records of 64 bytes: 64 KiB

// Block `index` of the run `tag` (one letter).
inline std::string writerBlock(char tag, int index) {
    std::string block;
    block.reserve(kRecordsPerBlock * 64);
    char record[96];
    for (int k = 0; k < kRecordsPerBlock; ++k) {
        std::snprintf(record, sizeof record, "%08d,%c,%052d\n", index * kRecordsPerBlock + k, tag, 0);
        block += record;
    }
    return block;
}

// Everything a run writes: the header (`withHeader`) and `blocks` blocks.
inline std::string writerRun(char tag, int blocks, bool withHeader) {
    std::string text = withHeader ? kWriterHeader : std::string();
    for (int i = 0; i < blocks; ++i) text += writerBlock(tag, i);
    return text;
}

}  // namespace brinora::faults
