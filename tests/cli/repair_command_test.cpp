// brinora repair: the rollback of an append cut short, from the command line.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "output/output_target.h"
#include "run_command.h"
#include "tests/support/files.h"

namespace brinora::test {
namespace {

using brinora::testing::readFile;

class RepairCommandTest : public ::testing::Test {
protected:
    brinora::testing::ScratchFolder scratch_{"repair-test"};

    RepairCommandTest() {
        dir = scratch_.path();
    }
    ~RepairCommandTest() override { std::filesystem::remove_all(dir); }
    std::string dir;
};

TEST_F(RepairCommandTest, RollsBackAnAppendCutShortThenHasNothingToDo) {
    const std::string out = dir + "/out.csv";
    std::ofstream(out, std::ios::binary) << "h\n1\n";
    // An append whose process ends in the middle of the run.
    const pid_t child = ::fork();
    if (child == 0) {
        OutputError error;
        OutputTarget* target = OutputTarget::open(out, OutputMode::kAppend, {}, error).release();
        if (target != nullptr) target->write("2\n3");
        ::_exit(target != nullptr ? 0 : 1);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    ASSERT_EQ(readFile(out), "h\n1\n2\n3");

    CommandResult result = runBrinora({"repair", out});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, out + ": an append cut short was rolled back to 4 bytes\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(readFile(out), "h\n1\n");
    EXPECT_FALSE(std::filesystem::exists(appendJournalPath(out)));

    result = runBrinora({"repair", out});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, out + ": nothing to repair (no journal of an append cut short was found beside it or where "
                                "the file was before)\n");
    EXPECT_EQ(readFile(out), "h\n1\n");
}

TEST_F(RepairCommandTest, AMissingFileIsAnError) {
    const CommandResult result = runBrinora({"repair", dir + "/none.csv"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "brinora repair: cannot repair \"" + dir + "/none.csv\": No such file or directory\n");
}

}  // namespace
}  // namespace brinora::test
