// Shared set-up of the fault tests: a scratch folder that the user "nobody"
// may use as well, batch input files made of numbered samples, and checks that
// an output file holds only whole records.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "records/output_record.h"
#include "process.h"
#include "tests/support/batch_input.h"
#include "tests/support/files.h"

namespace brinora::faults {

using brinora::testing::kInputHeader;

// The option flags every run here uses.
inline const std::vector<std::string> kOptions = {"--constants", "13", "--khso4", "1",
                                                 "--ph-scale", "1", "--flux", "1"};

// One surface sample whose id is `prefix` followed by `n`.
inline std::string sampleLine(int n, const std::string& prefix = "") {
    return prefix + std::to_string(n) + ",St " + std::to_string(n) + ",10:00,1/2/2023,10.5,-20.25," +
           std::to_string(30 + n % 10) + "," + std::to_string(n % 30) + ",0,1,5,,,2300,2000,,,,400,7,ok";
}

// A batch input of `count` samples numbered from 1.
inline std::string batchInput(int count, const std::string& prefix = "") {
    std::string text = kInputHeader + "\n";
    for (int n = 1; n <= count; ++n) text += sampleLine(n, prefix) + "\n";
    return text;
}

using brinora::testing::readFile;

using brinora::testing::writeFile;

// The lines of `text`, each with its "\n"; a last line without one is kept as it is.
inline std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find('\n', start);
        end = end == std::string::npos ? text.size() : end + 1;
        lines.push_back(text.substr(start, end - start));
        start = end;
    }
    return lines;
}

// Number of comma-separated columns of a record line.
inline int columnCount(const std::string& line) {
    int count = 1;
    for (const char c : line) count += c == ',';
    return count;
}

// First column of a record line.
inline std::string firstColumn(const std::string& line) { return line.substr(0, line.find(',')); }

// Checks that `text` is an output file of whole records: the header line, then
// lines that end with "\n" and have the 53 columns of a record. Returns the
// records' sample ids in file order.
inline std::vector<std::string> wholeRecordIds(const std::string& text) {
    std::vector<std::string> ids;
    const std::vector<std::string> lines = linesOf(text);
    EXPECT_FALSE(lines.empty());
    if (lines.empty()) return ids;
    EXPECT_EQ(lines[0], std::string(dataFileHeaders()));
    for (std::size_t i = 1; i < lines.size(); ++i) {
        const std::string& line = lines[i];
        EXPECT_TRUE(line.ends_with('\n')) << "line " << i + 1 << " is cut short: " << line;
        EXPECT_EQ(columnCount(line), 53) << "line " << i + 1 << ": " << line;
        EXPECT_TRUE(line.ends_with(",m/s,ok\n")) << "line " << i + 1 << ": " << line;
        ids.push_back(firstColumn(line));
    }
    return ids;
}

class FaultTest : public ::testing::Test {
protected:
    brinora::testing::ScratchFolder scratch_{"faults"};

    FaultTest() {
        dir = scratch_.path();
        // Open to every user, for the runs as "nobody".
        ::chmod(dir.c_str(), 0777);
    }

    // Writes `text` to a file of the scratch folder; returns its path.
    std::string input(const std::string& text, const std::string& name = "input.csv") {
        const std::filesystem::path path = dir / name;
        writeFile(path, text);
        ::chmod(path.c_str(), 0644);
        return path.string();
    }
    std::string path(const std::string& name) const { return (dir / name).string(); }

    // `brinora batch INPUT -o OUTPUT` with the options and `extra` flags.
    static std::vector<std::string> batchArgs(const std::string& in, const std::string& out,
                                              const std::vector<std::string>& extra = {"--force"}) {
        std::vector<std::string> args{"batch", in, "-o", out};
        args.insert(args.end(), kOptions.begin(), kOptions.end());
        args.insert(args.end(), extra.begin(), extra.end());
        return args;
    }

    std::filesystem::path dir;
};

// Time allowance: sanitizer builds run several times slower.
inline double slowdown() { return sanitized() ? 10.0 : 1.0; }

}  // namespace brinora::faults
