// The option flags of batch, preview and kml as a user meets them: numbers or
// titles, the notes on options taken from the stored settings, -q/--quiet,
// and the command-line errors every subcommand reports the same way.
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "run_command.h"
#include "tests/support/files.h"

extern char** environ;

namespace brinora {
namespace {

using test::CommandResult;
using test::runBrinora;

const std::string kExample = std::string(BRINORA_EXAMPLES_DIR) + "/cruise.csv";
const std::string kData = std::string(BRINORA_CLI_TEST_DATA) + "/data";

using brinora::testing::readFile;

using brinora::testing::writeFile;

// "Run brinora COMMAND --help for more information.\n" ("brinora --help" without a command).
std::string helpLine(const std::string& command) {
    return "Run brinora " + (command.empty() ? "" : command + " ") + "--help for more information.\n";
}

// Runs brinora with standard output and standard error on a pseudo-terminal
// and returns everything written there.
std::string runOnTerminal(const std::vector<std::string>& arguments, const std::string& settingsFile) {
    std::vector<std::string> args{BRINORA_BINARY};
    args.insert(args.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& a : args) argv.push_back(a.data());
    argv.push_back(nullptr);
    std::vector<std::string> env;
    for (char** e = environ; *e != nullptr; ++e) env.emplace_back(*e);
    env.push_back("BRINORA_SETTINGS_FILE=" + settingsFile);
    std::vector<char*> envp;
    for (std::string& e : env) envp.push_back(e.data());
    envp.push_back(nullptr);

    int master = -1;
    const pid_t pid = ::forkpty(&master, nullptr, nullptr, nullptr);
    if (pid == 0) {
        ::execve(argv[0], argv.data(), envp.data());
        ::_exit(127);
    }
    std::string text;
    char buffer[4096];
    for (;;) {
        // Read until the program has closed the terminal (EIO) and exited.
        const ssize_t n = ::read(master, buffer, sizeof buffer);
        if (n <= 0) break;
        text.append(buffer, static_cast<std::size_t>(n));
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    ::close(master);
    return text;
}

class OptionFlagsTest : public ::testing::Test {
protected:
    brinora::testing::ScratchFolder scratch_{"options-test"};

    OptionFlagsTest() {
        dir = scratch_.path();
        settingsFile = dir + "/settings.ini";
    }

    CommandResult run(const std::vector<std::string>& arguments) {
        return runBrinora(arguments, {"BRINORA_SETTINGS_FILE=" + settingsFile});
    }
    std::string path(const std::string& name) const { return dir + "/" + name; }

    // The note for an option taken from the stored settings.
    std::string note(const std::string& command, const std::string& flag, const std::string& value,
                     const std::string& key) const {
        return "brinora " + command + ": " + flag + " not given: using " + value + " from the stored setting \"" +
               key + "\" in " + settingsFile + "\n";
    }

    std::string dir;
    std::string settingsFile;
};

const char* const kStoredOptions = "[General]\nco2constantsInt=13\nkhso4Int=1\npHScaleInt=1\nairSeaFluxInt=1\n";

// ---------------------------------------------------------------- numbers and titles

TEST_F(OptionFlagsTest, TitlesGiveTheSameRecordsAsNumbers) {
    const std::string output = path("out.csv");
    const CommandResult result = run({"batch", kExample, "-o", output, "--constants", "Lueker et al. (2000)",
                                      "--khso4", "dick", "--ph-scale", "TOTAL SCALE", "--flux", "wanninkhof"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(readFile(output), readFile(kData + "/cruise_Brinora.csv"));
}

TEST_F(OptionFlagsTest, ABadChoiceIsAUsageErrorOfEverySubcommand) {
    for (const std::string command : {"batch", "preview", "kml"}) {
        std::vector<std::string> args{command, kExample, "--ph-scale", "kelvin", "--constants", "13"};
        if (command != "preview") args.insert(args.end(), {"-o", path("out")});
        const CommandResult result = run(args);
        EXPECT_EQ(result.status, 2) << command;
        EXPECT_EQ(result.err, "brinora " + command +
                                  ": --ph-scale: \"kelvin\" is neither an item number (1..4) nor the beginning of "
                                  "a title\n" + helpLine(command));
        EXPECT_EQ(result.out, "");
    }
    EXPECT_FALSE(std::filesystem::exists(path("out")));
}

// ---------------------------------------------------------------- stored settings

TEST_F(OptionFlagsTest, OptionsFromTheStoredSettingsAreNoted) {
    writeFile(settingsFile, kStoredOptions);
    const std::string output = path("out.csv");
    CommandResult result = run({"batch", kExample, "-o", output, "--khso4", "1"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err,
              note("batch", "--constants", "13 (Lueker et al. (2000) total scale)", "co2constantsInt") +
                  note("batch", "--ph-scale", "1 (Total scale)", "pHScaleInt") +
                  note("batch", "--flux", "1 (Wanninkhof (1992))", "airSeaFluxInt"));
    EXPECT_EQ(readFile(output), readFile(kData + "/cruise_Brinora.csv"));

    result = run({"preview", kExample, "--constants", "13", "--khso4", "1", "--ph-scale", "1"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, note("preview", "--flux", "1 (Wanninkhof (1992))", "airSeaFluxInt"));

    result = run({"kml", kExample, "-o", path("out.kml"), "--constants", "1", "--khso4", "2", "--flux", "3"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, note("kml", "--ph-scale", "1 (Total scale)", "pHScaleInt"));
}

TEST_F(OptionFlagsTest, QuietLeavesTheNotesOut) {
    writeFile(settingsFile, kStoredOptions);
    CommandResult result = run({"batch", kExample, "-o", path("out.csv"), "-q"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(readFile(path("out.csv")), readFile(kData + "/cruise_Brinora.csv"));
    result = run({"preview", kExample, "--quiet"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    result = run({"kml", kExample, "-o", path("out.kml"), "-q"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    // Errors are still printed.
    result = run({"batch", kExample, "-o", path("out.csv"), "-q"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "brinora batch: the output \"" + path("out.csv") +
                              "\" already exists; give --force to replace it or --append to add the records to it\n");
}

TEST_F(OptionFlagsTest, QuietLeavesTheProgressBarOut) {
    const std::vector<std::string> options = {"--constants", "13", "--khso4", "1", "--ph-scale", "1", "--flux", "1"};
    std::vector<std::string> args{"batch", kExample, "-o", path("bar.csv")};
    args.insert(args.end(), options.begin(), options.end());
    const std::string shown = runOnTerminal(args, settingsFile);
    // The bar is drawn from the start of a line; how far it gets before the
    // run ends depends on the redraw rate.
    EXPECT_NE(shown.find("\r["), std::string::npos) << shown;
    EXPECT_NE(shown.find('%'), std::string::npos) << shown;
    EXPECT_NE(shown.find("Batch Processing of File Completed"), std::string::npos) << shown;

    args[3] = path("quiet.csv");
    args.push_back("--quiet");
    const std::string quiet = runOnTerminal(args, settingsFile);
    EXPECT_EQ(quiet.find("\r["), std::string::npos) << quiet;
    EXPECT_EQ(quiet.find('%'), std::string::npos) << quiet;
    EXPECT_NE(quiet.find("Batch Processing of File Completed"), std::string::npos) << quiet;
    EXPECT_EQ(readFile(path("quiet.csv")), readFile(kData + "/cruise_Brinora.csv"));
}

TEST_F(OptionFlagsTest, AStoredValueThatIsNoChoiceNamesTheFlag) {
    writeFile(settingsFile, "[General]\nco2constantsInt=13\nkhso4Int=Dickson\npHScaleInt=1\nairSeaFluxInt=1\n");
    CommandResult result = run({"preview", kExample});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "brinora preview: the stored setting \"khso4Int\" holds \"Dickson\", which is no choice of "
                          "--khso4 (1..2); give --khso4 with a number or a title, or correct the setting in " +
                              settingsFile + "\n");

    writeFile(settingsFile, "[General]\nco2constantsInt=13\nkhso4Int=1\npHScaleInt=-1\nairSeaFluxInt=1\n");
    result = run({"batch", kExample, "-o", path("out.csv")});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "brinora batch: the stored setting \"pHScaleInt\" holds \"-1\", which is no choice of "
                          "--ph-scale (1..4); give --ph-scale with a number or a title, or correct the setting in " +
                              settingsFile + "\n");
    EXPECT_FALSE(std::filesystem::exists(path("out.csv")));

    // A stored value of 300 digits is not repeated whole; the flag overrides it.
    writeFile(settingsFile, "[General]\nco2constantsInt=1" + std::string(299, '0') +
                                "\nkhso4Int=1\npHScaleInt=1\nairSeaFluxInt=1\n");
    result = run({"kml", kExample, "-o", path("out.kml")});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "brinora kml: the stored setting \"co2constantsInt\" holds "
                          "\"10000000000000000000000000000000...\" (300 characters), which is no choice of "
                          "--constants (1..14); give --constants with a number or a title, or correct the setting "
                          "in " + settingsFile + "\n");
    result = run({"kml", kExample, "-o", path("out.kml"), "--constants", "13", "-q"});
    EXPECT_EQ(result.status, 0) << result.err;
}

// ---------------------------------------------------------------- command-line errors

TEST_F(OptionFlagsTest, UnknownOptionSuggestsTheNearestInEverySubcommand) {
    const struct {
        std::vector<std::string> args;
        std::string message;
    } cases[] = {
        {{"batch", kExample, "-o", path("out.csv"), "--ph-scal", "1"},
         "brinora batch: unknown option --ph-scal; did you mean --ph-scale?\n" + helpLine("batch")},
        {{"batch", kExample, "-o", path("out.csv"), "--apend"},
         "brinora batch: unknown option --apend; did you mean --append?\n" + helpLine("batch")},
        {{"preview", kExample, "--colums=TA"},
         "brinora preview: unknown option --colums; did you mean --columns?\n" + helpLine("preview")},
        {{"preview", kExample, "--line", "3"},
         "brinora preview: unknown option --line; did you mean --lines?\n" + helpLine("preview")},
        {{"kml", kExample, "-o", path("out.kml"), "--frce"},
         "brinora kml: unknown option --frce; did you mean --force?\n" + helpLine("kml")},
        // Named even when a required option is missing too.
        {{"kml", kExample, "--KHSO4", "1"},
         "brinora kml: unknown option --KHSO4; did you mean --khso4?\n" + helpLine("kml")},
        {{"bach", kExample}, "brinora: unknown command \"bach\"; did you mean batch?\n" + helpLine("")},
        {{"--verison"}, "brinora: unknown option --verison; did you mean --version?\n" + helpLine("")},
    };
    for (const auto& c : cases) {
        const CommandResult result = run(c.args);
        EXPECT_EQ(result.status, 2) << c.args[0];
        EXPECT_EQ(result.err, c.message);
        EXPECT_EQ(result.out, "");
    }
    EXPECT_FALSE(std::filesystem::exists(path("out.csv")));
    EXPECT_FALSE(std::filesystem::exists(path("out.kml")));
}

TEST_F(OptionFlagsTest, OutOfRangeNumbersAreReportedBriefly) {
    const std::string digits = "9" + std::string(299, '9');
    const std::string shown = "\"99999999999999999999999999999999...\" (300 characters)";
    const struct {
        std::vector<std::string> args;
        std::string message;
    } cases[] = {
        {{"batch", kExample, "-o", path("out.csv"), "--jobs", digits},
         "brinora batch: --jobs: " + shown + " is out of range 1..4096\n" + helpLine("batch")},
        {{"kml", kExample, "-o", path("out.kml"), "-j", "0"},
         "brinora kml: --jobs: \"0\" is out of range 1..4096\n" + helpLine("kml")},
        {{"preview", kExample, "--lines", digits},
         "brinora preview: --lines: " + shown + " is out of range 0..2147483647\n" + helpLine("preview")},
        {{"preview", kExample, "-n", "2.5"},
         "brinora preview: --lines: \"2.5\" is not a whole number\n" + helpLine("preview")},
        {{"preview", kExample, "--flux", digits},
         "brinora preview: --flux: there is no item " + shown + "; the items are 1..3\n" + helpLine("preview")},
        {{"batch", kExample, "-o", path("out.csv"), digits},
         "brinora batch: unexpected argument " + shown + "\n" + helpLine("batch")},
    };
    for (const auto& c : cases) {
        const CommandResult result = run(c.args);
        EXPECT_EQ(result.status, 2) << c.args[0];
        EXPECT_EQ(result.err, c.message);
    }
}

TEST_F(OptionFlagsTest, HelpListsTheTitlesAndTheSettingsFile) {
    CommandResult result = run({"--help"});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.out.find("Environment:\n  BRINORA_SETTINGS_FILE=FILE\n"), std::string::npos) << result.out;
    for (const std::string command : {"batch", "preview", "kml"}) {
        result = run({command, "--help"});
        EXPECT_EQ(result.status, 0);
        EXPECT_NE(result.out.find("-q,--quiet"), std::string::npos) << command;
        EXPECT_NE(result.out.find("\nfile that BRINORA_SETTINGS_FILE names; a note on stderr says which value was "
                                  "used (-q leaves\nit out).\n"),
                  std::string::npos)
            << result.out;
        EXPECT_NE(result.out.find("\n  --ph-scale\n     1  Total scale\n     2  Seawater scale\n     3  Free scale\n"
                                  "     4  NBS scale\n"),
                  std::string::npos)
            << result.out;
    }
}

}  // namespace
}  // namespace brinora
