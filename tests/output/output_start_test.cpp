// The one check of an output file's start: what the desktop program's batch
// run asks before it adds records, and what the command line's append
// refuses, read from the same bytes.
#include "output/output_start.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>

#include "output/output_target.h"
#include "records/output_record.h"
#include "tests/support/controller_fixture.h"
#include "tests/support/files.h"

namespace brinora {
namespace {

using testing::writeFile;

const std::string kHeader(dataFileHeaders());

class OutputStartTest : public ::testing::Test {
protected:
    brinora::testing::ScratchFolder scratch_{"output-start-test"};
    std::string file(const std::string& name) const { return scratch_.path() + "/" + name; }
};

TEST_F(OutputStartTest, TheHeaderAloneIsAnEmptyOutputFile) {
    writeFile(file("out.csv"), kHeader);
    const OutputStartCheck check = examineOutputFile(file("out.csv"), kHeader);
    EXPECT_EQ(check.state, OutputStart::kHeaderOnly);
    EXPECT_TRUE(check.beginsWithHeader());
}

TEST_F(OutputStartTest, OneByteAfterTheHeaderMeansRecords) {
    writeFile(file("out.csv"), kHeader + "0");
    EXPECT_EQ(examineOutputFile(file("out.csv"), kHeader).state, OutputStart::kHoldsRecords);
}

TEST_F(OutputStartTest, AnythingElseIsNotAnOutputFile) {
    for (const std::string& content : {std::string(), kHeader.substr(0, kHeader.size() - 1),
                                       "x" + kHeader, std::string("<?xml version=\"1.0\"?><kml></kml>")}) {
        writeFile(file("other.csv"), content);
        const OutputStartCheck check = examineOutputFile(file("other.csv"), kHeader);
        EXPECT_EQ(check.state, OutputStart::kOtherContent) << content;
        EXPECT_FALSE(check.beginsWithHeader());
    }
}

TEST_F(OutputStartTest, AMissingFileIsUnreadableWithItsReason) {
    const OutputStartCheck check = examineOutputFile(file("missing.csv"), kHeader);
    EXPECT_EQ(check.state, OutputStart::kUnreadable);
    EXPECT_EQ(check.errorNumber, ENOENT);
}

TEST_F(OutputStartTest, AnOpenFileIsReadFromItsStartAndKeepsItsOffset) {
    writeFile(file("out.csv"), kHeader + "1,a\n");
    const int fd = ::open(file("out.csv").c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(::lseek(fd, 7, SEEK_SET), 7);
    EXPECT_EQ(examineOutputStart(fd, kHeader).state, OutputStart::kHoldsRecords);
    EXPECT_EQ(::lseek(fd, 0, SEEK_CUR), 7);
    ::close(fd);
}

TEST_F(OutputStartTest, TheCommandLinesAppendRefusesWhatTheCheckCallsOtherContent) {
    writeFile(file("doc.kml"), "<?xml version=\"1.0\"?><kml></kml>");
    ASSERT_EQ(examineOutputFile(file("doc.kml"), kHeader).state, OutputStart::kOtherContent);
    OutputOptions options;
    options.expectedHeader = kHeader;
    OutputError error;
    EXPECT_EQ(OutputTarget::open(file("doc.kml"), OutputMode::kAppend, options, error), nullptr);
    EXPECT_EQ(error.message, "the output \"" + file("doc.kml") +
                                 "\" does not start with the header line of an output file; records are only "
                                 "added to an output file");

    writeFile(file("out.csv"), kHeader);
    ASSERT_EQ(examineOutputFile(file("out.csv"), kHeader).state, OutputStart::kHeaderOnly);
    EXPECT_NE(OutputTarget::open(file("out.csv"), OutputMode::kAppend, options, error), nullptr);
}

}  // namespace
}  // namespace brinora
