// A second file of rows beside the records (BatchRequest::sampleRows): one
// row per record, numbered as the sample lines of the input, in file order on
// any number of threads and chunk sizes; a line without a row fails the run
// as a failed write does; the records are those of a run without rows.
#include <gtest/gtest.h>

#include <string>

#include "pipeline/batch_pipeline.h"
#include "tests/support/batch_input.h"
#include "tests/support/files.h"

namespace brinora {
namespace {

class StringSink : public ByteSink {
public:
    bool write(std::string_view bytes) override {
        text.append(bytes);
        return true;
    }
    std::string errorMessage() const override { return "never"; }
    std::string text;
};

class QuietReport : public BatchReport {
public:
    void logLine(std::string_view) override {}
};

// "sample number:editor line:SampleID"; no row for sample `failAt`.
class NumberedRows : public SampleRows {
public:
    explicit NumberedRows(std::size_t failAt = 0) : failAt_(failAt) {}
    bool append(const BatchFields& fields, std::size_t sample, int sourceLine, std::string& out,
                std::string& error) const override {
        if (sample == failAt_) {
            error = "no row for sample " + std::to_string(sample);
            return false;
        }
        out += std::to_string(sample) + ":" + std::to_string(sourceLine) + ":" + std::string(fields[0]) + "\n";
        return true;
    }

private:
    std::size_t failAt_;
};

struct RunResult {
    BatchResult result;
    std::string records, rows;
};

RunResult RunWith(const std::string& input, const SampleRows* rows, unsigned jobs, std::size_t linesPerChunk) {
    StringSink records, rowSink;
    BatchRequest request;
    request.input = input;
    request.options.constants = 13;
    request.options.khso4 = 1;
    request.options.pHScale = 1;
    request.options.flux = 1;
    request.output = &records;
    request.sampleRows = rows;
    request.sampleRowsOutput = rows ? &rowSink : nullptr;
    request.jobs = jobs;
    request.linesPerChunk = linesPerChunk;
    request.sampleLogLines = SampleLogLines::kOmitted;
    QuietReport report;
    RunResult run;
    run.result = runBatch(request, report);
    run.records = records.text;
    run.rows = rowSink.text;
    return run;
}

class SampleRowsTest : public ::testing::Test {
protected:
    brinora::testing::ScratchFolder scratch_{"sample_rows"};
    std::string path = scratch_.path() + "/in.csv";
    std::string expectedRows;

    // 40 samples, an empty line after every fifth, then a line that stops the run.
    void SetUp() override {
        std::string text = brinora::testing::kInputHeader + "\n";
        int line = 1;
        for (int i = 1; i <= 40; ++i) {
            text += "S" + std::to_string(i) + ",n,,,,,35," + std::to_string(i % 25) + ",0,1,10,,,2300," +
                    std::to_string(1950 + i) + ",,,,,,\n";
            ++line;
            expectedRows += std::to_string(i) + ":" + std::to_string(line) + ":S" + std::to_string(i) + "\n";
            if (i % 5 == 0) {
                text += ",,,,,,,,,,,,,,,,,,,,\n";
                ++line;
            }
        }
        text += "T,stop,,,,,,18,0,0,0,,,2300,2000,,,,,,\nU,after,,,,,35,18,0,0,0,,,2300,2000,,,,,,\n";
        brinora::testing::writeFile(path, text);
    }
};

TEST_F(SampleRowsTest, OneRowPerRecordInFileOrderOnAnyThreadsAndChunks) {
    const RunResult plain = RunWith(path, nullptr, 1, 256);
    ASSERT_EQ(plain.result.status, RunStatus::kStopped);
    ASSERT_EQ(plain.result.written, 40);
    const NumberedRows rows;
    for (const unsigned jobs : {1u, 2u, 8u}) {
        for (const std::size_t chunk : {1u, 3u, 7u, 256u}) {
            const RunResult run = RunWith(path, &rows, jobs, chunk);
            EXPECT_EQ(run.result.status, RunStatus::kStopped) << jobs << " " << chunk;
            EXPECT_EQ(run.records, plain.records) << jobs << " " << chunk;
            EXPECT_EQ(run.rows, expectedRows) << jobs << " " << chunk;
        }
    }
}

TEST_F(SampleRowsTest, ALineWithoutARowFailsTheRunAsAFailedWrite) {
    const NumberedRows rows(23);
    for (const unsigned jobs : {1u, 2u, 8u}) {
        const RunResult run = RunWith(path, &rows, jobs, 4);
        EXPECT_EQ(run.result.status, RunStatus::kWriteFailed) << jobs;
        EXPECT_TRUE(run.result.sampleRowsFailed);
        EXPECT_EQ(run.result.writeError, "no row for sample 23");
        EXPECT_EQ(run.result.message, "no row for sample 23");
        EXPECT_EQ(run.result.written, 0);
    }
}

}  // namespace
}  // namespace brinora
