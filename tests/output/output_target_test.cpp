// The output file of a run: new files made visible only when complete,
// replaced files that keep their permission bits (through symbolic links),
// appends that are all or nothing under a rollback journal, the refusals
// made before any byte is written, and their messages.
#include "output/output_target.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <set>

#include "records/output_record.h"
#include "output/atomic_write.h"
#include "tests/support/controller_fixture.h"
#include "tests/support/unprivileged.h"
#include "tests/support/files.h"

namespace brinora {
namespace {

using testing::readFile;
using testing::writeFile;
namespace fs = std::filesystem;

const std::string kHeader(dataFileHeaders());

// A block of `count` lines "<tag>,<n>\n" as a run writes them.
std::string records(const std::string& tag, int first, int count) {
    std::string text;
    for (int n = first; n < first + count; ++n) text += tag + "," + std::to_string(n) + "\n";
    return text;
}

mode_t permissionBits(const fs::path& path) {
    struct stat info {};
    EXPECT_EQ(::stat(path.c_str(), &info), 0) << path;
    return info.st_mode & 07777;
}

class OutputTargetTest : public ::testing::Test {
protected:
    brinora::testing::ScratchFolder scratch_{"output-test"};

    OutputTargetTest() {
        dir = scratch_.path();
        oldMask = ::umask(022);
    }
    ~OutputTargetTest() override {
        ::umask(oldMask);
    }
    std::string path(const std::string& name) const { return (dir / name).string(); }

    // Names in the scratch folder (hidden ones included).
    std::set<std::string> names(const fs::path& folder) const {
        std::set<std::string> result;
        for (const auto& entry : fs::directory_iterator(folder)) result.insert(entry.path().filename().string());
        return result;
    }
    std::set<std::string> names() const { return names(dir); }

    std::unique_ptr<OutputTarget> open(const std::string& target, OutputMode mode, const OutputOptions& options = {}) {
        error = OutputError{};
        return OutputTarget::open(target, mode, options, error, &note);
    }

    fs::path dir;
    mode_t oldMask = 022;
    OutputError error;
    std::string note;
};

// ---------------------------------------------------------------- new file

TEST_F(OutputTargetTest, NewFileAppearsOnlyWhenCommitted) {
    const std::string out = path("out.csv");
    auto target = open(out, OutputMode::kCreate);
    ASSERT_TRUE(target) << error.message;
    ASSERT_TRUE(target->write(kHeader));
    ASSERT_TRUE(target->write(records("A", 1, 5000)));
    EXPECT_FALSE(fs::exists(out));
    EXPECT_EQ(names(), std::set<std::string>{});  // the temporary file has no name
    EXPECT_EQ(target->bytesWritten(), kHeader.size() + records("A", 1, 5000).size());
    ASSERT_TRUE(target->commit()) << target->error().message;
    EXPECT_EQ(readFile(out), kHeader + records("A", 1, 5000));
    EXPECT_EQ(permissionBits(out), 0644u);  // 0666 under the umask 022
    EXPECT_EQ(names(), std::set<std::string>{"out.csv"});
    EXPECT_EQ(target->path(), out);
}

TEST_F(OutputTargetTest, AbandonedNewFileLeavesNothing) {
    const std::string out = path("out.csv");
    {
        auto target = open(out, OutputMode::kCreate);
        ASSERT_TRUE(target);
        ASSERT_TRUE(target->write(records("A", 1, 100)));
        target->abandon();
        EXPECT_FALSE(target->write("x\n"));
        EXPECT_EQ(target->error().message, "the output \"" + out + "\" is already closed");
    }
    {
        auto target = open(out, OutputMode::kCreate);
        ASSERT_TRUE(target);
        ASSERT_TRUE(target->write(records("A", 1, 100)));
    }  // destroyed without commit
    EXPECT_EQ(names(), std::set<std::string>{});
}

TEST_F(OutputTargetTest, NewFileRefusesAnExistingName) {
    const std::string out = path("out.csv");
    writeFile(out, "kept\n");
    EXPECT_FALSE(open(out, OutputMode::kCreate));
    EXPECT_EQ(error.message, "the output \"" + out +
                                 "\" already exists; give --force to replace it or --append to add the records to it");
    EXPECT_EQ(error.errorNumber, EEXIST);
    EXPECT_EQ(readFile(out), "kept\n");

    // A symbolic link that leads nowhere is an existing name too.
    const std::string dangling = path("dangling.csv");
    fs::create_symlink(dir / "nothing.csv", dangling);
    EXPECT_FALSE(open(dangling, OutputMode::kCreate));
    EXPECT_EQ(error.message, "the output \"" + dangling +
                                 "\" already exists; give --force to replace it or --append to add the records to it");
    EXPECT_TRUE(fs::is_symlink(dangling));
    EXPECT_FALSE(fs::exists(dir / "nothing.csv"));
    EXPECT_EQ(names(), (std::set<std::string>{"dangling.csv", "out.csv"}));
}

TEST_F(OutputTargetTest, OfTwoRunsCreatingOneFileExactlyOneWins) {
    const std::string out = path("out.csv");
    auto first = open(out, OutputMode::kCreate);
    auto second = open(out, OutputMode::kCreate);
    ASSERT_TRUE(first && second);
    ASSERT_TRUE(first->write(records("A", 1, 10)));
    ASSERT_TRUE(second->write(records("B", 1, 20)));
    ASSERT_TRUE(second->commit());
    EXPECT_FALSE(first->commit());
    EXPECT_EQ(first->error().message,
              "cannot create \"" + out +
                  "\": it already exists (another run made it meanwhile); it was left as it is and the records of "
                  "this run were not written");
    EXPECT_EQ(first->error().errorNumber, EEXIST);
    EXPECT_EQ(readFile(out), records("B", 1, 20));
    EXPECT_EQ(names(), std::set<std::string>{"out.csv"});
}

// ---------------------------------------------------------------- replace

TEST_F(OutputTargetTest, ReplaceKeepsTheOldFileUntilCommitAndKeepsItsPermissionBits) {
    const std::string out = path("out.csv");
    writeFile(out, "old\n");
    ASSERT_EQ(::chmod(out.c_str(), 0640), 0);
    auto target = open(out, OutputMode::kReplace);
    ASSERT_TRUE(target) << error.message;
    ASSERT_TRUE(target->write(kHeader + records("N", 1, 3000)));
    EXPECT_EQ(readFile(out), "old\n");
    ASSERT_TRUE(target->commit());
    EXPECT_EQ(readFile(out), kHeader + records("N", 1, 3000));
    EXPECT_EQ(permissionBits(out), 0640u);
    EXPECT_EQ(names(), std::set<std::string>{"out.csv"});
}

TEST_F(OutputTargetTest, ReplaceOfAMissingFileMakesIt) {
    const std::string out = path("out.csv");
    auto target = open(out, OutputMode::kReplace);
    ASSERT_TRUE(target);
    ASSERT_TRUE(target->write("new\n"));
    ASSERT_TRUE(target->commit());
    EXPECT_EQ(readFile(out), "new\n");
    EXPECT_EQ(permissionBits(out), 0644u);
}

TEST_F(OutputTargetTest, ReplaceThroughASymbolicLinkReplacesTheFileItNames) {
    fs::create_directory(dir / "real");
    const std::string real = path("real/data.csv");
    writeFile(real, "old\n");
    ASSERT_EQ(::chmod(real.c_str(), 0600), 0);
    const std::string link = path("link.csv");
    fs::create_symlink("real/data.csv", link);  // relative, as users make them
    auto target = open(link, OutputMode::kReplace);
    ASSERT_TRUE(target) << error.message;
    ASSERT_TRUE(target->write("new\n"));
    ASSERT_TRUE(target->commit());
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(fs::read_symlink(link), fs::path("real/data.csv"));
    EXPECT_EQ(readFile(real), "new\n");
    EXPECT_EQ(permissionBits(real), 0600u);
    EXPECT_EQ(names(dir / "real"), std::set<std::string>{"data.csv"});
}

TEST_F(OutputTargetTest, AbandonedReplaceLeavesThePreviousFile) {
    const std::string out = path("out.csv");
    writeFile(out, "old\n");
    {
        auto target = open(out, OutputMode::kReplace);
        ASSERT_TRUE(target);
        ASSERT_TRUE(target->write(records("N", 1, 1000)));
    }
    EXPECT_EQ(readFile(out), "old\n");
    EXPECT_EQ(names(), std::set<std::string>{"out.csv"});
}

// A write that stops part way (here the file-size limit: a short write, then
// EFBIG) leaves the target as it was and says what is kept.
TEST_F(OutputTargetTest, FailedWriteKeepsThePreviousFileAndSaysSo) {
    const std::string out = path("out.csv");
    writeFile(out, "old\n");
    const std::string fresh = path("fresh.csv");
    auto replace = open(out, OutputMode::kReplace);
    auto create = open(fresh, OutputMode::kCreate);
    ASSERT_TRUE(replace && create);

    struct sigaction ignore {}, previous {};
    ignore.sa_handler = SIG_IGN;
    ::sigaction(SIGXFSZ, &ignore, &previous);
    struct rlimit limit {}, saved {};
    ::getrlimit(RLIMIT_FSIZE, &saved);
    limit = saved;
    limit.rlim_cur = 100000;
    ::setrlimit(RLIMIT_FSIZE, &limit);
    const std::string block(65536, 'x');
    const bool replaced = replace->write(block) && replace->write(block);
    const bool created = create->write(block) && create->write(block);
    ::setrlimit(RLIMIT_FSIZE, &saved);
    ::sigaction(SIGXFSZ, &previous, nullptr);

    EXPECT_FALSE(replaced);
    EXPECT_EQ(replace->error().message, "cannot write \"" + out + "\": File too large; the previous file is unchanged");
    EXPECT_EQ(replace->error().errorNumber, EFBIG);
    EXPECT_EQ(replace->bytesWritten(), 65536u);
    EXPECT_FALSE(replace->commit());
    EXPECT_FALSE(created);
    EXPECT_EQ(create->error().message, "cannot write \"" + fresh + "\": File too large; the file was not created");
    EXPECT_EQ(readFile(out), "old\n");
    EXPECT_EQ(names(), std::set<std::string>{"out.csv"});
}

// ---------------------------------------------------------------- refusals

TEST_F(OutputTargetTest, RefusalsNameTheOutputAndChangeNothing) {
    const std::string missingFolder = path("no/such/out.csv");
    for (const OutputMode mode : {OutputMode::kCreate, OutputMode::kReplace}) {
        EXPECT_FALSE(open(missingFolder, mode));
        EXPECT_EQ(error.message,
                  "cannot create \"" + missingFolder + "\": the folder \"" + path("no/such") + "\" does not exist");
        EXPECT_EQ(error.errorNumber, ENOENT);
    }
    EXPECT_FALSE(open(missingFolder, OutputMode::kAppend));
    EXPECT_EQ(error.message,
              "the output \"" + missingFolder + "\" does not exist; --append adds records to an existing output file");

    fs::create_directory(dir / "folder");
    for (const OutputMode mode : {OutputMode::kCreate, OutputMode::kReplace, OutputMode::kAppend}) {
        EXPECT_FALSE(open(path("folder"), mode));
        EXPECT_EQ(error.message, "the output \"" + path("folder") + "\" is a folder; give a file name");
    }
    for (const OutputMode mode : {OutputMode::kCreate, OutputMode::kReplace, OutputMode::kAppend}) {
        EXPECT_FALSE(open("/dev/null", mode));
        EXPECT_EQ(error.message, "the output \"/dev/null\" is not a plain file");
    }
    EXPECT_FALSE(open("", OutputMode::kReplace));
    EXPECT_EQ(error.message, "no output file given");

    const std::string file = path("file.csv");
    writeFile(file, "x\n");
    EXPECT_FALSE(open(path("file.csv/out.csv"), OutputMode::kCreate));
    EXPECT_EQ(error.message, "cannot write \"" + path("file.csv/out.csv") + "\": Not a directory");
    EXPECT_EQ(names(), (std::set<std::string>{"file.csv", "folder"}));
    EXPECT_EQ(names(dir / "folder"), std::set<std::string>{});
}

TEST_F(OutputTargetTest, TheInputIsRefusedAsOutputUnderAnyName) {
    const std::string input = path("in.csv");
    writeFile(input, kHeader);
    fs::create_symlink("in.csv", dir / "link.csv");
    fs::create_hard_link(input, dir / "hard.csv");
    OutputOptions options;
    options.inputPath = input;
    for (const std::string& name : {input, path("link.csv"), path("hard.csv"), path("./in.csv")}) {
        for (const OutputMode mode : {OutputMode::kReplace, OutputMode::kAppend}) {
            EXPECT_FALSE(open(name, mode, options)) << name;
            EXPECT_EQ(error.message, "the output \"" + name + "\" is the input file; give another output file");
        }
    }
    EXPECT_EQ(readFile(input), kHeader);
}

// Runs `check` as the user "nobody" (no supplementary groups) when the tests
// run as root (permissions do not bind root), else as ourselves; returns what
// it returned.
std::string withoutRootRights(const std::function<std::string()>& check) {
    if (::geteuid() != 0) return check();
    int channel[2];
    if (::pipe(channel) != 0) return "no pipe";
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(channel[0]);
        std::string result = "cannot become nobody";
        if (test::dropRootRights()) result = check();
        (void)!::write(channel[1], result.data(), result.size());
        ::_exit(0);
    }
    ::close(channel[1]);
    std::string result;
    char buffer[512];
    ssize_t n;
    while ((n = ::read(channel[0], buffer, sizeof buffer)) > 0) result.append(buffer, static_cast<std::size_t>(n));
    ::close(channel[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    return result;
}

TEST_F(OutputTargetTest, PermissionsAreCheckedBeforeAnyByte) {
    ASSERT_EQ(::chmod(dir.c_str(), 0777), 0);
    // A read-only file: not appended to, not replaced.
    const std::string readOnly = path("read-only.csv");
    writeFile(readOnly, kHeader);
    ASSERT_EQ(::chmod(readOnly.c_str(), 0444), 0);
    // A folder that may not be written: no new file, no journal for an append.
    fs::create_directory(dir / "locked");
    const std::string lockedFile = path("locked/out.csv");
    writeFile(lockedFile, kHeader);
    ASSERT_EQ(::chmod(lockedFile.c_str(), 0666), 0);
    ASSERT_EQ(::chmod((dir / "locked").c_str(), 0555), 0);

    const auto attempt = [](const std::string& target, OutputMode mode) {
        return [target, mode] {
            OutputError error;
            auto opened = OutputTarget::open(target, mode, {}, error);
            return opened ? std::string("opened") : error.message;
        };
    };
    EXPECT_EQ(withoutRootRights(attempt(readOnly, OutputMode::kAppend)),
              "the output \"" + readOnly + "\" cannot be written: Permission denied");
    EXPECT_EQ(withoutRootRights(attempt(readOnly, OutputMode::kReplace)),
              "the output \"" + readOnly + "\" cannot be written: Permission denied");
    EXPECT_EQ(withoutRootRights(attempt(path("locked/new.csv"), OutputMode::kCreate)),
              "cannot create \"" + path("locked/new.csv") + "\": the folder \"" + path("locked") +
                  "\" cannot be written: Permission denied");
    EXPECT_EQ(withoutRootRights(attempt(lockedFile, OutputMode::kAppend)),
              "cannot append to \"" + lockedFile + "\": the folder \"" + path("locked") +
                  "\" cannot be written (the append keeps its journal there): Permission denied");
    EXPECT_EQ(readFile(readOnly), kHeader);
    EXPECT_EQ(readFile(lockedFile), kHeader);
    EXPECT_EQ(names(dir / "locked"), std::set<std::string>{"out.csv"});
}

// ---------------------------------------------------------------- append

TEST_F(OutputTargetTest, AppendAddsTheRunAtCommitAndRemovesItsJournal) {
    const std::string out = path("out.csv");
    writeFile(out, kHeader + records("A", 1, 3));
    OutputOptions options;
    options.expectedHeader = kHeader;
    auto target = open(out, OutputMode::kAppend, options);
    ASSERT_TRUE(target) << error.message;
    EXPECT_EQ(note, "");
    const std::string journal = appendJournalPath(out);
    // A hidden name: ".brinora-j", 16 hex digits of the file's identity and the user id.
    EXPECT_EQ(fs::path(journal).filename().string().size(), 26u + 1u + std::to_string(::geteuid()).size());
    EXPECT_TRUE(fs::path(journal).filename().string().starts_with(".brinora-j"));
    EXPECT_TRUE(fs::exists(journal));
    ASSERT_TRUE(target->write(records("B", 1, 4000)));
    ASSERT_TRUE(target->commit());
    EXPECT_FALSE(fs::exists(journal));
    EXPECT_EQ(readFile(out), kHeader + records("A", 1, 3) + records("B", 1, 4000));
    EXPECT_EQ(names(), std::set<std::string>{"out.csv"});
}

TEST_F(OutputTargetTest, AbandonedAppendLeavesTheOldBytes) {
    const std::string out = path("out.csv");
    writeFile(out, kHeader + records("A", 1, 3));
    {
        auto target = open(out, OutputMode::kAppend);
        ASSERT_TRUE(target);
        ASSERT_TRUE(target->write(records("B", 1, 4000)));
        EXPECT_EQ(readFile(out), kHeader + records("A", 1, 3) + records("B", 1, 4000));
    }
    EXPECT_EQ(readFile(out), kHeader + records("A", 1, 3));
    EXPECT_EQ(names(), std::set<std::string>{"out.csv"});
}

TEST_F(OutputTargetTest, FailedAppendTakesTheRunAwayAndSaysSo) {
    const std::string out = path("out.csv");
    writeFile(out, kHeader + records("A", 1, 3));
    auto target = open(out, OutputMode::kAppend);
    ASSERT_TRUE(target);
    struct sigaction ignore {}, previous {};
    ignore.sa_handler = SIG_IGN;
    ::sigaction(SIGXFSZ, &ignore, &previous);
    struct rlimit limit {}, saved {};
    ::getrlimit(RLIMIT_FSIZE, &saved);
    limit = saved;
    limit.rlim_cur = 100000;
    ::setrlimit(RLIMIT_FSIZE, &limit);
    const std::string block(65536, 'x');
    const bool written = target->write(block) && target->write(block);
    ::setrlimit(RLIMIT_FSIZE, &saved);
    ::sigaction(SIGXFSZ, &previous, nullptr);
    EXPECT_FALSE(written);
    EXPECT_EQ(target->error().message,
              "cannot append to \"" + out + "\": File too large; no record of this run was added, the file is as it was");
    EXPECT_EQ(readFile(out), kHeader + records("A", 1, 3));
    EXPECT_EQ(names(), std::set<std::string>{"out.csv"});
}

TEST_F(OutputTargetTest, AppendRefusesAFileWithoutTheHeader) {
    const std::string out = path("out.csv");
    OutputOptions options;
    options.expectedHeader = kHeader;
    for (const std::string& text : {std::string("SampleID,Name\n1,a\n"), std::string(""),
                                    kHeader.substr(0, kHeader.size() - 1)}) {
        writeFile(out, text);
        EXPECT_FALSE(open(out, OutputMode::kAppend, options));
        EXPECT_EQ(error.message, "the output \"" + out +
                                     "\" does not start with the header line of an output file; records are only "
                                     "added to an output file");
        EXPECT_EQ(readFile(out), text);
        EXPECT_EQ(names(), std::set<std::string>{"out.csv"});
    }
}

TEST_F(OutputTargetTest, AppendCanFollowTheLastByteWithoutALineEnd) {
    const std::string out = path("doc.kml");
    writeFile(out, "<kml><Document>");
    OutputOptions options;
    options.endLastLine = false;
    auto target = open(out, OutputMode::kAppend, options);
    ASSERT_TRUE(target);
    ASSERT_TRUE(target->write("<Placemark/>"));
    ASSERT_TRUE(target->commit());
    EXPECT_EQ(readFile(out), "<kml><Document><Placemark/>");
}

TEST_F(OutputTargetTest, AppendEndsALastLineWithoutItsLineEndFirst) {
    const std::string out = path("out.csv");
    writeFile(out, kHeader + "A,1");
    OutputOptions options;
    options.expectedHeader = kHeader;
    {
        auto target = open(out, OutputMode::kAppend, options);
        ASSERT_TRUE(target);
        ASSERT_TRUE(target->write("B,1\n"));
        EXPECT_EQ(target->bytesWritten(), 4u);
    }  // abandoned: the added line end goes too
    EXPECT_EQ(readFile(out), kHeader + "A,1");
    auto target = open(out, OutputMode::kAppend, options);
    ASSERT_TRUE(target);
    ASSERT_TRUE(target->write("B,1\n"));
    ASSERT_TRUE(target->commit());
    EXPECT_EQ(readFile(out), kHeader + "A,1\nB,1\n");
}

// A run cut short (its process ends without commit or abandon) leaves its
// bytes and the journal; repair, or the next append, cuts them away.
void appendAndDie(const std::string& out, const std::string& bytes) {
    const pid_t child = ::fork();
    if (child == 0) {
        OutputError error;
        auto* target = OutputTarget::open(out, OutputMode::kAppend, {}, error).release();
        if (target != nullptr) target->write(bytes);
        ::_exit(target != nullptr ? 0 : 1);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

TEST_F(OutputTargetTest, RepairRollsBackAnAppendCutShort) {
    const std::string out = path("out.csv");
    const std::string old = kHeader + records("A", 1, 3);
    writeFile(out, old);
    appendAndDie(out, records("B", 1, 500) + "B,50");
    EXPECT_EQ(readFile(out), old + records("B", 1, 500) + "B,50");
    EXPECT_TRUE(fs::exists(appendJournalPath(out)));

    std::string line;
    OutputError repairError;
    ASSERT_TRUE(repairOutput(out, line, repairError)) << repairError.message;
    EXPECT_EQ(line, out + ": an append cut short was rolled back to " + std::to_string(old.size()) + " bytes");
    EXPECT_EQ(readFile(out), old);
    EXPECT_EQ(names(), std::set<std::string>{"out.csv"});
    // Nothing more to do.
    ASSERT_TRUE(repairOutput(out, line, repairError));
    EXPECT_EQ(line, "");
}

TEST_F(OutputTargetTest, TheNextAppendRollsBackFirstSoRecordsAreNeverDoubled) {
    const std::string out = path("out.csv");
    const std::string old = kHeader + records("A", 1, 3);
    writeFile(out, old);
    appendAndDie(out, records("B", 1, 500));
    OutputOptions options;
    options.expectedHeader = kHeader;
    auto target = open(out, OutputMode::kAppend, options);
    ASSERT_TRUE(target) << error.message;
    EXPECT_EQ(note, out + ": an append cut short was rolled back to " + std::to_string(old.size()) + " bytes");
    ASSERT_TRUE(target->write(records("B", 1, 500)));
    ASSERT_TRUE(target->commit());
    EXPECT_EQ(readFile(out), old + records("B", 1, 500));
    EXPECT_EQ(names(), std::set<std::string>{"out.csv"});
}

TEST_F(OutputTargetTest, RepairLeavesARunningAppendAlone) {
    const std::string out = path("out.csv");
    writeFile(out, kHeader);
    auto target = open(out, OutputMode::kAppend);
    ASSERT_TRUE(target);
    ASSERT_TRUE(target->write("A,1\n"));
    std::string line;
    OutputError repairError;
    EXPECT_FALSE(repairOutput(out, line, repairError));
    EXPECT_EQ(repairError.message,
              "cannot repair \"" + out + "\": another run (" + std::to_string(::getpid()) + ") is appending to it now");
    ASSERT_TRUE(target->commit());
    EXPECT_EQ(readFile(out), kHeader + "A,1\n");
}

TEST_F(OutputTargetTest, RepairOfAMissingFileFails) {
    std::string line;
    OutputError repairError;
    EXPECT_FALSE(repairOutput(path("none.csv"), line, repairError));
    EXPECT_EQ(repairError.message, "cannot repair \"" + path("none.csv") + "\": No such file or directory");
}

// ---------------------------------------------------------------- long names

TEST_F(OutputTargetTest, AFileNameOf255BytesWorksInEveryMode) {
    const std::string name = std::string(251, 'n') + ".csv";
    ASSERT_EQ(name.size(), 255u);
    const std::string out = path(name);
    auto created = open(out, OutputMode::kCreate);
    ASSERT_TRUE(created) << error.message;
    ASSERT_TRUE(created->write(kHeader));
    ASSERT_TRUE(created->commit()) << created->error().message;
    auto replaced = open(out, OutputMode::kReplace);
    ASSERT_TRUE(replaced) << error.message;
    ASSERT_TRUE(replaced->write(kHeader + "A,1\n"));
    ASSERT_TRUE(replaced->commit()) << replaced->error().message;
    appendAndDie(out, "B,1\n");
    auto appended = open(out, OutputMode::kAppend);
    ASSERT_TRUE(appended) << error.message;
    EXPECT_EQ(note, out + ": an append cut short was rolled back to " + std::to_string(kHeader.size() + 4) + " bytes");
    ASSERT_TRUE(appended->write("A,2\n"));
    ASSERT_TRUE(appended->commit()) << appended->error().message;
    EXPECT_EQ(readFile(out), kHeader + "A,1\nA,2\n");
    EXPECT_EQ(names(), std::set<std::string>{name});
    ASSERT_TRUE(writeFileAtomically(out, "whole\n").ok);
    EXPECT_EQ(readFile(out), "whole\n");
}

// ---------------------------------------------------------------- standard output

TEST_F(OutputTargetTest, StandardOutputTakesTheBytesAsTheyComeAndReportsAClosedPipe) {
    int pipeEnds[2];
    ASSERT_EQ(::pipe(pipeEnds), 0);
    const int savedOut = ::dup(STDOUT_FILENO);
    ::dup2(pipeEnds[1], STDOUT_FILENO);
    ::close(pipeEnds[1]);
    struct sigaction ignore {}, previous {};
    ignore.sa_handler = SIG_IGN;
    ::sigaction(SIGPIPE, &ignore, &previous);

    auto target = open("-", OutputMode::kStandardOutput);
    ASSERT_TRUE(target);
    const bool first = target->write("A,1\n");
    char received[16] = {};
    const ssize_t n = ::read(pipeEnds[0], received, sizeof received);  // there before commit
    ::close(pipeEnds[0]);
    const bool second = target->write("A,2\n");

    ::dup2(savedOut, STDOUT_FILENO);
    ::close(savedOut);
    ::sigaction(SIGPIPE, &previous, nullptr);
    EXPECT_TRUE(first);
    EXPECT_EQ(std::string(received, n > 0 ? static_cast<std::size_t>(n) : 0), "A,1\n");
    EXPECT_FALSE(second);
    EXPECT_EQ(target->error().message, "cannot write to standard output: Broken pipe");
    EXPECT_EQ(target->error().errorNumber, EPIPE);
    EXPECT_EQ(target->bytesWritten(), 4u);
}

// ---------------------------------------------------------------- whole-file writes

TEST_F(OutputTargetTest, WholeFileWriteKeepsPermissionBitsAndLeavesNoTemporaryFile) {
    const std::string out = path("doc.kml");
    writeFile(out, "old\n");
    ASSERT_EQ(::chmod(out.c_str(), 0604), 0);
    ASSERT_TRUE(writeFileAtomically(out, "new\n").ok);
    EXPECT_EQ(readFile(out), "new\n");
    EXPECT_EQ(permissionBits(out), 0604u);
    EXPECT_EQ(names(), std::set<std::string>{"doc.kml"});
}

}  // namespace
}  // namespace brinora
