// Runs cut short at random moments and writes that run out of room, through
// OutputTarget in a separate process (brinora_output_writer): whatever the
// moment, a new file is absent or complete, a replaced file is the old one or
// the new one whole with its permission bits, and an append leaves the old
// bytes intact and, after the next run's rollback, exactly one run added.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "output/output_target.h"
#include "output_writer.h"
#include "tests/support/files.h"

extern char** environ;

namespace brinora::faults {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int kKills = 20;   // kills per mode
constexpr int kBlocks = 256;  // 16 MiB a run

using brinora::testing::readFile;

using brinora::testing::writeFile;

// Whether two file contents are equal; a failure says where they part
// (the contents are megabytes, too large for a printed comparison).
::testing::AssertionResult sameBytes(const std::string& actual, const std::string& expected) {
    if (actual == expected) return ::testing::AssertionSuccess();
    std::size_t at = 0;
    while (at < actual.size() && at < expected.size() && actual[at] == expected[at]) ++at;
    return ::testing::AssertionFailure() << actual.size() << " bytes where " << expected.size()
                                         << " were expected; they differ from byte " << at;
}

mode_t permissionBits(const fs::path& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 ? (info.st_mode & 07777) : 0;
}

// One run of the writer program.
class Writer {
public:
    Writer(const fs::path& folder, const std::vector<std::string>& arguments,
           const std::vector<std::string>& environment = {}) {
        outPath_ = folder / "writer.out";
        errPath_ = folder / "writer.err";
        std::vector<std::string> all{BRINORA_OUTPUT_WRITER};
        all.insert(all.end(), arguments.begin(), arguments.end());
        std::vector<char*> argv;
        for (std::string& argument : all) argv.push_back(argument.data());
        argv.push_back(nullptr);
        std::vector<std::string> variables = environment;
        for (char** entry = environ; *entry != nullptr; ++entry) {
            const std::string inherited = *entry;
            const std::string name = inherited.substr(0, inherited.find('=') + 1);
            bool replaced = false;
            for (const std::string& given : environment) replaced = replaced || given.starts_with(name);
            if (!replaced) variables.push_back(inherited);
        }
        std::vector<char*> envp;
        for (std::string& variable : variables) envp.push_back(variable.data());
        envp.push_back(nullptr);

        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outPath_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errPath_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        started_ = Clock::now();
        if (::posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), envp.data()) != 0) pid_ = -1;
        posix_spawn_file_actions_destroy(&actions);
    }
    ~Writer() {
        if (pid_ > 0 && !waited_) {
            ::kill(pid_, SIGKILL);
            wait();
        }
    }
    void kill() {
        if (pid_ > 0) ::kill(pid_, SIGKILL);
    }
    // Waits for the end; the exit status, or -signal.
    int wait() {
        int status = 0;
        while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
        }
        waited_ = true;
        seconds_ = std::chrono::duration<double>(Clock::now() - started_).count();
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }
    bool started() const { return pid_ > 0; }
    double seconds() const { return seconds_; }
    std::string out() const { return readFile(outPath_); }
    std::string err() const { return readFile(errPath_); }

private:
    pid_t pid_ = -1;
    bool waited_ = false;
    Clock::time_point started_;
    double seconds_ = 0.0;
    fs::path outPath_, errPath_;
};

class OutputKills : public ::testing::Test {
protected:
    brinora::testing::ScratchFolder scratch_{"kills-test"};

    OutputKills() : random_(std::random_device{}()) {
        dir = scratch_.path();
        fs::create_directory(dir / "out");
        target = (dir / "out" / "target.csv").string();
    }
    ~OutputKills() override { fs::remove_all(dir); }

    // Names in the output folder other than the target.
    std::set<std::string> strays() const {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(dir / "out")) {
            if (entry.path().filename() != "target.csv") names.insert(entry.path().filename().string());
        }
        return names;
    }

    // How long an uninterrupted run of `mode` takes, seconds: the shortest
    // of three, so that a busy moment does not push the kills past the end.
    double timeOneRun(const std::string& mode) {
        double shortest = 1e9;
        for (int k = 0; k < 3; ++k) {
            if (mode == "create") fs::remove(target);
            Writer writer(dir, {mode, target, "Z", std::to_string(kBlocks)});
            EXPECT_EQ(writer.wait(), 0) << writer.err();
            shortest = std::min(shortest, writer.seconds());
        }
        return shortest;
    }

    // A kill moment from the start to a little after the usual end.
    std::chrono::microseconds killDelay(double runSeconds) {
        std::uniform_real_distribution<double> share(0.0, 1.2);
        return std::chrono::microseconds(static_cast<long long>(share(random_) * runSeconds * 1e6));
    }

    // Starts a run and kills it after `delay`; the exit status or -signal.
    int runAndKill(const std::string& mode, char tag, std::chrono::microseconds delay) {
        Writer writer(dir, {mode, target, std::string(1, tag), std::to_string(kBlocks)});
        EXPECT_TRUE(writer.started());
        std::this_thread::sleep_for(delay);
        writer.kill();
        return writer.wait();
    }

    fs::path dir;
    std::string target;
    std::mt19937_64 random_;
};

TEST_F(OutputKills, AKilledNewFileIsAbsentOrComplete) {
    const double seconds = timeOneRun("create");
    const std::string complete = writerRun('A', kBlocks, true);
    int cutShort = 0;
    for (int kill = 0; kill < kKills; ++kill) {
        fs::remove(target);
        const auto delay = killDelay(seconds);
        SCOPED_TRACE("kill " + std::to_string(kill) + " after " + std::to_string(delay.count()) + " us");
        const int status = runAndKill("create", 'A', delay);
        if (status == 0) {
            ASSERT_TRUE(sameBytes(readFile(target), complete));
        } else {
            ASSERT_EQ(status, -SIGKILL);
            if (fs::exists(target)) {
                ASSERT_TRUE(sameBytes(readFile(target), complete));  // killed after the rename
            } else {
                ++cutShort;
            }
        }
        // A nameless temporary file vanishes with the process.
        EXPECT_EQ(strays(), std::set<std::string>{});
    }
    // Kills land over the whole run; some of them before its end.
    EXPECT_GT(cutShort, 0);
}

TEST_F(OutputKills, AKilledReplacementLeavesTheOldOrTheNewFileWhole) {
    const std::string old = writerRun('O', 3, true);
    writeFile(target, old);
    ASSERT_EQ(::chmod(target.c_str(), 0640), 0);
    const double seconds = timeOneRun("replace");
    const std::string complete = writerRun('N', kBlocks, true);
    int cutShort = 0;
    for (int kill = 0; kill < kKills; ++kill) {
        writeFile(target, old);
        const auto delay = killDelay(seconds);
        SCOPED_TRACE("kill " + std::to_string(kill) + " after " + std::to_string(delay.count()) + " us");
        const int status = runAndKill("replace", 'N', delay);
        ASSERT_TRUE(status == 0 || status == -SIGKILL) << status;
        const std::string now = readFile(target);
        ASSERT_TRUE(now == old || now == complete) << now.size() << " bytes";
        if (status == 0) {
            ASSERT_TRUE(sameBytes(now, complete));
        }
        cutShort += now == old;
        EXPECT_EQ(permissionBits(target), 0640u);
        // Only a kill between naming the written file and the rename can
        // leave it under a hidden name; it is complete then.
        for (const std::string& stray : strays()) {
            EXPECT_TRUE(stray.starts_with(".brinora-t")) << stray;
            EXPECT_TRUE(sameBytes(readFile(dir / "out" / stray), complete));
            fs::remove(dir / "out" / stray);
        }
    }
    EXPECT_GT(cutShort, 0);
}

TEST_F(OutputKills, AKilledAppendKeepsTheOldBytesAndTheNextRunAddsExactlyOneRun) {
    const std::string old = writerRun('O', 3, true);
    writeFile(target, old);
    const double seconds = timeOneRun("append");
    const std::string run = writerRun('B', kBlocks, false);
    int cutShort = 0;
    for (int kill = 0; kill < kKills; ++kill) {
        writeFile(target, old);
        const auto delay = killDelay(seconds);
        SCOPED_TRACE("kill " + std::to_string(kill) + " after " + std::to_string(delay.count()) + " us");
        const int status = runAndKill("append", 'B', delay);
        ASSERT_TRUE(status == 0 || status == -SIGKILL) << status;
        const std::string afterKill = readFile(target);
        const bool journal = fs::exists(appendJournalPath(target));
        ASSERT_TRUE(sameBytes(afterKill.substr(0, old.size()), old));
        if (!journal) {
            ASSERT_TRUE(afterKill == old || afterKill == old + run) << afterKill.size() << " bytes";
        }
        if (status == 0) {
            ASSERT_TRUE(sameBytes(afterKill, old + run));
        }
        cutShort += journal;

        // The same append again: the cut-short run is rolled back first.
        Writer again(dir, {"append", target, "B", std::to_string(kBlocks)});
        ASSERT_EQ(again.wait(), 0) << again.err();
        if (journal) {
            EXPECT_EQ(again.out(), target + ": an append cut short was rolled back to " + std::to_string(old.size()) +
                                       " bytes\n");
            ASSERT_TRUE(sameBytes(readFile(target), old + run));
        } else {
            EXPECT_EQ(again.out(), "");
            ASSERT_TRUE(sameBytes(readFile(target), afterKill + run));
        }
        EXPECT_EQ(strays(), std::set<std::string>{});
    }
    EXPECT_GT(cutShort, 0);
}

// The sanitizer options of a sanitized writer with the library preloaded
// ahead of the sanitizer's own.
std::string asanOptions() {
    const char* given = std::getenv("ASAN_OPTIONS");
    std::string options = "ASAN_OPTIONS=";
    if (given != nullptr && *given != '\0') options += std::string(given) + ":";
    return options + "verify_asan_link_order=0";
}

// Real partial writes: the preloaded library lets the writes reach the file
// up to a byte count, cuts the write that crosses it short and fails every
// later one with ENOSPC.
TEST_F(OutputKills, WritesThatRunOutOfRoomLeaveTheTargetIntact) {
    const std::string old = writerRun('O', 3, true);
    for (const long long room : {0LL, 1LL, 15LL, 200LL, 65536LL + 7, 300001LL}) {
        SCOPED_TRACE("room " + std::to_string(room));
        const std::vector<std::string> environment = {
            "LD_PRELOAD=" BRINORA_WRITE_FAULT_SHIM, "BRINORA_FAIL_WRITES_AFTER=" + std::to_string(room),
            asanOptions()};

        fs::remove(target);
        Writer create(dir, {"create", target, "A", "16"}, environment);
        EXPECT_EQ(create.wait(), 1);
        EXPECT_EQ(create.err(), "cannot write \"" + target + "\": No space left on device; the file was not created\n");
        EXPECT_FALSE(fs::exists(target));
        EXPECT_EQ(strays(), std::set<std::string>{});

        writeFile(target, old);
        ASSERT_EQ(::chmod(target.c_str(), 0640), 0);
        Writer replace(dir, {"replace", target, "N", "16"}, environment);
        EXPECT_EQ(replace.wait(), 1);
        EXPECT_EQ(replace.err(),
                  "cannot write \"" + target + "\": No space left on device; the previous file is unchanged\n");
        EXPECT_TRUE(sameBytes(readFile(target), old));
        EXPECT_EQ(permissionBits(target), 0640u);
        EXPECT_EQ(strays(), std::set<std::string>{});

        Writer append(dir, {"append", target, "B", "16"}, environment);
        EXPECT_EQ(append.wait(), 1);
        // The journal (about 270 bytes) is the first thing an append writes.
        const std::string expected =
            room < 300 ? "cannot append to \"" + target + "\": its journal cannot be written: No space left on device\n"
                      : "cannot append to \"" + target +
                            "\": No space left on device; no record of this run was added, the file is as it was\n";
        EXPECT_EQ(append.err(), expected);
        EXPECT_TRUE(sameBytes(readFile(target), old));
        EXPECT_EQ(strays(), std::set<std::string>{});
    }
}

}  // namespace
}  // namespace brinora::faults
