// brinora batch, preview and kml, run as a user runs them.
//
// data/cruise_Brinora.csv and data/cruise_Brinora.kml are the example cruise
// as `make run` writes them (options 13, 1, 1, 1), reviewed for plausibility.
// When the chemistry changes on purpose, write them again with
//   brinora batch examples/cruise.csv -o tests/cli/data/cruise_Brinora.csv --force
//     --constants 13 --khso4 1 --ph-scale 1 --flux 1
// and the same with `kml` and cruise_Brinora.kml.
#include <gtest/gtest.h>

#include "records/output_record.h"
#include <sys/stat.h>
#include <unistd.h>

#include <QByteArray>
#include <QXmlStreamReader>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "run_command.h"
#include "tests/support/batch_input.h"
#include "tests/support/files.h"

namespace brinora {
namespace {

using test::CommandResult;
using test::runBrinora;
using test::splitLines;

const std::string kExample = std::string(BRINORA_EXAMPLES_DIR) + "/cruise.csv";
const std::string kData = std::string(BRINORA_CLI_TEST_DATA) + "/data";
const std::vector<std::string> kOptions = {"--constants", "13", "--khso4", "1", "--ph-scale", "1", "--flux", "1"};

const std::string kHeader = brinora::testing::kInputHeader + "\n";
const std::string kSelectMessage =
    "To perform the calculation, Brinora needs constants, scales, and units supplied by the user. "
    "Click \"Select...\" to provide these parameters.";

using brinora::testing::readFile;

using brinora::testing::writeFile;

// What a completed batch run prints on standard output.
std::string batchCompletion(const std::string& input, const std::string& output) {
    return "Batch Processing of File Completed\nFile Input:\n" + input + "\n\nFile Output:\n" + output + "\n";
}

std::string sample(const std::string& id, const std::string& salinity = "35") {
    return id + ",St " + id + ",10:00,1/2/2023,10.5,-20.25," + salinity + ",20,0,1,5,,,2300,2000,,,,400,7,ok\n";
}

class BatchCommandTest : public ::testing::Test {
protected:
    brinora::testing::ScratchFolder scratch_{"cli-test"};

    BatchCommandTest() {
        dir = scratch_.path();
        settingsFile = dir + "/settings.ini";
    }
    ~BatchCommandTest() override {
        std::error_code ignored;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(dir, ignored)) {
            std::filesystem::permissions(entry.path(), std::filesystem::perms::owner_all,
                                         std::filesystem::perm_options::add, ignored);
        }
    }

    // Runs brinora with the stored settings kept in the test's own file.
    CommandResult run(std::vector<std::string> arguments, bool withOptions = true) {
        if (withOptions) arguments.insert(arguments.end(), kOptions.begin(), kOptions.end());
        return runBrinora(arguments, {"BRINORA_SETTINGS_FILE=" + settingsFile});
    }

    // Runs brinora as run() does, as an unprivileged user (see runBrinoraUnprivileged).
    CommandResult runUnprivileged(std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), kOptions.begin(), kOptions.end());
        return test::runBrinoraUnprivileged(arguments, {"BRINORA_SETTINGS_FILE=" + settingsFile}, dir);
    }

    std::string path(const std::string& name) const { return dir + "/" + name; }

    std::string dir;
    std::string settingsFile;
};

// ---------------------------------------------------------------- end to end

TEST_F(BatchCommandTest, ExampleCruiseThroughBatch) {
    const std::string output = path("cruise_Brinora.csv");
    const CommandResult result = run({"batch", kExample, "-o", output});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, "Batch Processing of File Completed\nFile Input:\n" + kExample + "\n\nFile Output:\n" +
                              output + "\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(readFile(output), readFile(kData + "/cruise_Brinora.csv"));
    EXPECT_EQ(splitLines(readFile(output)).size(), 25u);
}

TEST_F(BatchCommandTest, ExampleCruiseThroughKml) {
    const std::string output = path("cruise_Brinora.kml");
    const CommandResult result = run({"kml", kExample, "-o", output});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, "CSV to KML Processing Completed\nInput: " + kExample + "\n\nOutput: " + output + "\n");
    const std::string kml = readFile(output);
    EXPECT_EQ(kml, readFile(kData + "/cruise_Brinora.kml"));

    // The document is well-formed XML with one placemark per sample.
    QXmlStreamReader xml(QByteArray::fromStdString(kml));
    int placemarks = 0;
    QString firstName;
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isStartElement() && xml.name() == QLatin1String("Placemark")) ++placemarks;
        if (xml.isStartElement() && xml.name() == QLatin1String("name") && placemarks == 1 && firstName.isEmpty()) {
            firstName = xml.readElementText();
        }
    }
    EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString() << " at line " << xml.lineNumber();
    EXPECT_EQ(placemarks, 24);
    EXPECT_EQ(firstName.toStdString(), "BATS surface 0");
}

TEST_F(BatchCommandTest, PreviewPrintsTheFirstRecordsAsATable) {
    const CommandResult result =
        run({"preview", kExample, "--lines", "2", "--columns", "SampleID,Name,TA,pH,Output Pressure,Comment"});
    ASSERT_EQ(result.status, 0) << result.err;
    // Same numbers as the batch records: column 12 TA, 14 pH, 29 P out.
    const auto records = splitLines(readFile(kData + "/cruise_Brinora.csv"));
    const auto field = [](const std::string& line, int column) {
        std::stringstream in(line);
        std::string value;
        for (int k = 0; k < column; ++k) std::getline(in, value, ',');
        return value;
    };
    const std::string expected =
        "SampleID  Name                       TA     pH  Output Pressure  Comment\n"
        "1         BATS surface         " + field(records[1], 12) + "  " + field(records[1], 14) +
        "            0.000  Sargasso Sea open ocean TA and TCO2\n"
        "2         BATS surface repeat  " + field(records[2], 12) + "  " + field(records[2], 14) +
        "            0.000  open ocean TA and pH\n";
    EXPECT_EQ(result.out, expected);
}

TEST_F(BatchCommandTest, PreviewDefaultsToTheStoredLengthThenFive) {
    CommandResult result = run({"preview", kExample});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(splitLines(result.out).size(), 6u);  // heading and five rows
    EXPECT_TRUE(result.out.starts_with("SampleID  Name"));

    writeFile(settingsFile, "[General]\nNumberOfLinesInPreview=3\n");
    result = run({"preview", kExample});
    EXPECT_EQ(splitLines(result.out).size(), 4u);

    result = run({"preview", kExample, "--lines", "0"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(splitLines(result.out).size(), 1u);
}

TEST_F(BatchCommandTest, PreviewRejectsAnUnknownColumn) {
    const CommandResult result = run({"preview", kExample, "--columns", "SampleID,Colour"});
    EXPECT_EQ(result.status, 2);
    EXPECT_TRUE(result.err.starts_with("brinora preview: there is no column \"Colour\"; the columns are: SampleID, "))
        << result.err;
}

// ---------------------------------------------------------------- options

TEST_F(BatchCommandTest, OptionsOnTheirPlaceholderGiveTheSelectMessage) {
    const CommandResult result = run({"batch", kExample, "-o", path("out.csv"), "--constants", "13"}, false);
    EXPECT_EQ(result.status, 2);
    const auto lines = splitLines(result.err);
    ASSERT_EQ(lines.size(), 4u) << result.err;
    EXPECT_EQ(lines[0], "brinora batch: " + kSelectMessage);
    EXPECT_EQ(lines[1], "hint: choose the KHSO4 constant with --khso4 1..2 or a title (not given on the command "
                        "line, and there is no stored setting \"khso4Int\" in " + settingsFile + ")");
    EXPECT_NE(lines[2].find("--ph-scale 1..4"), std::string::npos);
    EXPECT_NE(lines[3].find("--flux 1..3"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(path("out.csv")));
}

TEST_F(BatchCommandTest, StoredPlaceholderNamesTheSetting) {
    writeFile(settingsFile, "[General]\nco2constantsInt=0\nkhso4Int=1\npHScaleInt=1\nairSeaFluxInt=1\n");
    const CommandResult result = run({"kml", kExample, "-o", path("out.kml")}, false);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "brinora kml: " + kSelectMessage +
                              "\nhint: choose the carbonic-acid constants set with --constants 1..14 or a title (not "
                              "given on the command line, and the stored setting \"co2constantsInt\" in " +
                              settingsFile + " is 0, which chooses nothing)\n");
}

TEST_F(BatchCommandTest, StoredOptionsAreUsed) {
    writeFile(settingsFile, "[General]\nco2constantsInt=13\nkhso4Int=1\npHScaleInt=1\nairSeaFluxInt=1\n");
    const std::string output = path("out.csv");
    const CommandResult result = run({"batch", kExample, "-o", output}, false);
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, batchCompletion(kExample, output));
    EXPECT_EQ(readFile(output), readFile(kData + "/cruise_Brinora.csv"));
}

TEST_F(BatchCommandTest, StoredIndexOutsideTheMenuIsRefused) {
    writeFile(settingsFile, "[General]\nco2constantsInt=20\n");
    const CommandResult result = run({"preview", kExample, "--khso4", "1", "--ph-scale", "1", "--flux", "1"}, false);
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.err.find("\"co2constantsInt\" holds \"20\""), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("give --constants"), std::string::npos);
}

TEST_F(BatchCommandTest, FlagOutsideTheMenuIsAUsageError) {
    const CommandResult result = runBrinora({"batch", kExample, "-o", path("out.csv"), "--constants", "15"},
                                            {"BRINORA_SETTINGS_FILE=" + settingsFile});
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.err.find("--constants"), std::string::npos);
}

// ---------------------------------------------------------------- output file

TEST_F(BatchCommandTest, ExistingOutputIsNeverReplacedSilently) {
    const std::string output = path("out.csv");
    writeFile(output, "precious\n");
    CommandResult result = run({"batch", kExample, "-o", output});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "brinora batch: the output \"" + output +
                              "\" already exists; give --force to replace it or --append to add the records to it\n");
    EXPECT_EQ(readFile(output), "precious\n");
    EXPECT_EQ(result.out, "");

    result = run({"batch", kExample, "-o", output, "--force"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, batchCompletion(kExample, output));
    EXPECT_EQ(readFile(output), readFile(kData + "/cruise_Brinora.csv"));
}

TEST_F(BatchCommandTest, AppendRefusesAFileThatIsNoOutputFile) {
    const std::string input = path("in.csv");
    writeFile(input, kHeader + sample("1"));
    const std::string output = path("out.csv");
    writeFile(output, "earlier header\nearlier record\n");
    const CommandResult result = run({"batch", input, "-o", output, "--append"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "brinora batch: the output \"" + output +
                              "\" does not start with the header line of an output file; records are only added "
                              "to an output file\n");
    EXPECT_EQ(readFile(output), "earlier header\nearlier record\n");
}

TEST_F(BatchCommandTest, AppendAddsRecordsWithoutAHeader) {
    const std::string input = path("in.csv");
    writeFile(input, kHeader + sample("1") + sample("2"));
    const std::string output = path("out.csv");
    const std::string header(dataFileHeaders());
    writeFile(output, header + "earlier record\n");
    const CommandResult result = run({"batch", input, "-o", output, "--append"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, batchCompletion(input, output));
    const auto lines = splitLines(readFile(output));
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0] + "\n", header);
    EXPECT_EQ(lines[1], "earlier record");
    EXPECT_TRUE(lines[2].starts_with("1,St 1,10:00,1/2/2023,10.5,-20.25,35.000,20.000,"));
    EXPECT_TRUE(lines[3].starts_with("2,St 2,"));
}

TEST_F(BatchCommandTest, AppendNeedsAnExistingFile) {
    const CommandResult result = run({"batch", kExample, "-o", path("out.csv"), "--append"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "brinora batch: the output \"" + path("out.csv") +
                              "\" does not exist; --append adds records to an existing output file\n");
}

TEST_F(BatchCommandTest, AppendAndForceExcludeEachOther) {
    const CommandResult result = run({"batch", kExample, "-o", path("out.csv"), "--append", "--force"});
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.err.find("excludes"), std::string::npos) << result.err;
}

TEST_F(BatchCommandTest, OutputFolderMissing) {
    const std::string output = path("no/such/folder/out.csv");
    for (const std::string command : {"batch", "kml"}) {
        const CommandResult result = run({command, kExample, "-o", output});
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.err, "brinora " + command + ": cannot create \"" + output + "\": the folder \"" +
                                  path("no/such/folder") + "\" does not exist\n");
    }
}

TEST_F(BatchCommandTest, OutputIsAFolder) {
    const CommandResult result = run({"batch", kExample, "-o", dir});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "brinora batch: the output \"" + dir + "\" is a folder; give a file name\n");
}

TEST_F(BatchCommandTest, OutputIsTheInput) {
    const std::string input = path("in.csv");
    writeFile(input, kHeader + sample("1"));
    const CommandResult result = run({"batch", input, "-o", input, "--force"});
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.err.find("is the input file"), std::string::npos);
    EXPECT_EQ(readFile(input), kHeader + sample("1"));
}

// Run as an unprivileged user: permissions do not bind root.
TEST_F(BatchCommandTest, ReadOnlyOutputAndFolder) {
    const std::string input = path("cruise.csv");
    writeFile(input, readFile(kExample));
    const std::string output = path("locked.csv");
    writeFile(output, "locked\n");
    ::chmod(output.c_str(), 0444);
    CommandResult result = runUnprivileged({"batch", input, "-o", output, "--append"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "brinora batch: the output \"" + output + "\" cannot be written: Permission denied\n");
    EXPECT_EQ(readFile(output), "locked\n");

    const std::string folder = path("locked-folder");
    std::filesystem::create_directory(folder);
    ::chmod(folder.c_str(), 0555);
    result = runUnprivileged({"kml", input, "-o", folder + "/out.kml"});
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.err.find("cannot be written: Permission denied"), std::string::npos) << result.err;
    EXPECT_TRUE(std::filesystem::is_empty(folder));
}

// ---------------------------------------------------------------- bad input

TEST_F(BatchCommandTest, MissingInput) {
    const std::string input = path("missing.csv");
    for (const std::string command : {"batch", "kml"}) {
        const CommandResult result = run({command, input, "-o", path("out")});
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.err, "brinora " + command + ": The file \"" + input +
                                  "\" could not be read: No such file or directory\n");
        EXPECT_FALSE(std::filesystem::exists(path("out")));
    }
    const CommandResult result = run({"preview", input});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
}

// Run as an unprivileged user: permissions do not bind root.
TEST_F(BatchCommandTest, UnreadableInput) {
    const std::string input = path("locked.csv");
    writeFile(input, kHeader + sample("1"));
    ::chmod(input.c_str(), 0);
    const CommandResult result = runUnprivileged({"batch", input, "-o", path("out.csv")});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "brinora batch: The file \"" + input + "\" could not be read: Permission denied\n");
    EXPECT_FALSE(std::filesystem::exists(path("out.csv")));
}

TEST_F(BatchCommandTest, InputFolder) {
    const CommandResult result = run({"batch", dir, "-o", path("out.csv")});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "brinora batch: The file \"" + dir + "\" could not be read: Is a directory\n");
}

TEST_F(BatchCommandTest, NonUtf8Input) {
    const std::string input = path("latin1.csv");
    writeFile(input, kHeader + "1,Caf\xE9,,,,,35,20,0,0,0,,,2300,2000,,,,,,\n");
    for (const std::string command : {"batch", "kml", "preview"}) {
        std::vector<std::string> args = {command, input};
        if (command != "preview") args.insert(args.end(), {"-o", path("out")});
        const CommandResult result = run(args);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.err, "brinora " + command + ": The file \"" + input +
                                  "\" could not be read: it is not UTF-8 text (byte 0xE9 at offset " +
                                  std::to_string(kHeader.size() + 5) + ", line 2)\n");
        EXPECT_FALSE(std::filesystem::exists(path("out")));
    }
}

TEST_F(BatchCommandTest, EmptyFileAndHeaderOnly) {
    const std::string input = path("in.csv");
    for (const std::string& text : {std::string(), kHeader.substr(0, kHeader.size() - 1), kHeader}) {
        writeFile(input, text);
        for (const std::string command : {"batch", "kml"}) {
            if (command == "batch" && text == kHeader) continue;  // one empty line: see below
            const CommandResult result = run({command, input, "-o", path("out")});
            EXPECT_EQ(result.status, 1) << command << " " << text;
            EXPECT_TRUE(result.err.starts_with("brinora " + command + ": " + input +
                                               ": There are no datapoints to process."))
                << result.err;
            EXPECT_FALSE(std::filesystem::exists(path("out")));
        }
    }
    // A header and a line end: one empty line, skipped; the run succeeds
    // with the header alone.
    writeFile(input, kHeader);
    const CommandResult headerOnly = run({"batch", input, "-o", path("out"), "-q"});
    EXPECT_EQ(headerOnly.status, 0) << headerOnly.err;
    EXPECT_EQ(readFile(path("out")), std::string(dataFileHeaders()));
    std::filesystem::remove(path("out"));

    writeFile(input, "");
    const CommandResult result = run({"preview", input});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "brinora preview: " + input + ": There are no datapoints to process.\n");
}

TEST_F(BatchCommandTest, KmlSaysWhyASingleSampleWithoutLineEndGivesNothing) {
    const std::string input = path("in.csv");
    writeFile(input, kHeader + sample("1").substr(0, sample("1").size() - 1));
    const CommandResult result = run({"kml", input, "-o", path("out.kml")});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "brinora kml: warning: " + input +
                              ":2: the last line has no line end and is not part of the document (a KML document "
                              "holds only lines that end with a line end)\nbrinora kml: " + input +
                              ": There are no datapoints to process. (A KML document holds the lines between the "
                              "header and the last line end.)\n");
    EXPECT_FALSE(std::filesystem::exists(path("out.kml")));
}

TEST_F(BatchCommandTest, HeaderWithTheWrongNumberOfNames) {
    const std::string input = path("in.csv");
    writeFile(input, "SampleID,Name,Salinity\n" + sample("1"));
    const CommandResult result = run({"batch", input, "-o", path("out.csv")});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "brinora batch: " + input +
                              ":1: There is an incorrect number of data columns in the input CSV. (The header "
                              "names 3 columns; a batch input file has 21.)\n");
    EXPECT_FALSE(std::filesystem::exists(path("out.csv")));

    const CommandResult preview = run({"preview", input});
    EXPECT_EQ(preview.status, 1);
    EXPECT_EQ(preview.err, "brinora preview: " + input +
                               ":1: There is an incorrect number of data columns in the input CSV.\n");
}

TEST_F(BatchCommandTest, LineOfOneFieldStopsTheRunAndKeepsEarlierRecords) {
    const std::string input = path("in.csv");
    writeFile(input, kHeader + sample("1") + sample("2") + "\n\n\n3\n" + sample("4"));
    const std::string output = path("out.csv");
    const CommandResult result = run({"batch", input, "-o", output});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "brinora batch: " + input +
                              ":7: All records require a salinity value. There is a salinity value missing.\n"
                              "2 records written to " + output + " before the stop\n");
    EXPECT_EQ(result.out, "");
    const std::string text = readFile(output);
    const auto lines = splitLines(text);
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0] + "\n", std::string(
        "SampleID,Name,Time,Date,Latitude (decimal degrees),Longitude (decimal degrees),Salinity (ppt),"
        "Temperature(C),Pressure (dbars),Total P (micromol/kgSW),Total Si (micromol/kgSW),TA (micromol/kgSW),"
        "TCO2 (micromol/kgSW),pH,fCO2 (microatm),pCO2 (microatm),HCO3 in (micromol/kgSW),CO3 in (micromol/kgSW),"
        "CO2 in (micromol/kgSW),B Alk in (micromol/kgSW),OH in (micromol/kgSW),P Alk in (micromol/kgSW),"
        "Si Alk in (micromol/kgSW),Revelle in,O Ca,O Ar in,xCO2 in (dry at 1 atm) (ppm),t(C) out,P (dbars) out,"
        "pH out,fCO2 out (microatm),pCO2 out (microatm),HCO3 out (micromol/kgSW),CO3 out (micromol/kgSW),"
        "CO2 out (micromol/kgSW),B Alk out (micromol/kgSW),OH out (micromol/kgSW),P Alk out (micromol/kgSW),"
        "Si Alk out (micromol/kgSW),Revelle out,O Ca out,O Ar out,xCO2 out (dry at 1 atm) (ppm),pCO2_air,"
        "Windspeed,CO2Flux in,CO2Flux out,CO2Constants, KHSO4, pH Scale, Air-Sea Flux, Windspeed Units, "
        "Comment\n"));
    EXPECT_TRUE(lines[1].starts_with("1,St 1,"));
    EXPECT_TRUE(lines[2].starts_with("2,St 2,"));
    EXPECT_TRUE(text.ends_with(",m/s,ok\n"));  // whole records only
}

TEST_F(BatchCommandTest, StoppingMessagesCarryTheLineNumber) {
    const std::string input = path("in.csv");
    const std::string output = path("out.csv");
    writeFile(input, kHeader + sample("1") + "2,,,,,,35,,0,0,0,,,2300,2000,,,,,,\n");
    CommandResult result = run({"batch", input, "-o", output});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(result.err.starts_with("brinora batch: " + input +
                                       ":3: All records require a temperature value. There is a temperature value "
                                       "missing.\n1 record written to "))
        << result.err;

    writeFile(input, kHeader + "1,,,,,,35,20,0,0,0,,,2300,2000,8.1,400,390,,,\r\n");
    result = run({"batch", input, "-o", output, "--force"});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(result.err.starts_with("brinora batch: " + input +
                                       ":2: To batch process records, Brinora needs values for at least two "
                                       "carbonate parameters\n0 records written to "))
        << result.err;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(splitLines(readFile(output)).size(), 1u);  // the header only
}

TEST_F(BatchCommandTest, LineOfFortyFieldsIsComputedWithAWarning) {
    const std::string input = path("in.csv");
    std::string wide = sample("2");
    wide.pop_back();
    for (int k = 21; k < 40; ++k) wide += ",extra";
    writeFile(input, kHeader + sample("1") + wide + "\n");
    for (const std::string command : {"batch", "kml"}) {
        const std::string output = path("out." + command);
        const CommandResult result = run({command, input, "-o", output});
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.out, command == "batch" ? batchCompletion(input, output)
                                                 : "CSV to KML Processing Completed\nInput: " + input +
                                                       "\n\nOutput: " + output + "\n");
        EXPECT_EQ(result.err, "brinora " + command + ": warning: " + input +
                                  ":3: the line has 40 fields; the fields after the 21st are "
                                  "ignored (is there a comma inside a name or comment?)\n");
        ASSERT_TRUE(std::filesystem::exists(output));
    }
    // The extra fields are ignored: the second record is the first one but
    // for its sample id and name.
    const std::vector<std::string> records = splitLines(readFile(path("out.batch")));
    ASSERT_EQ(records.size(), 3u);
    EXPECT_EQ(records[2].substr(0, 7), "2,St 2,");
    EXPECT_EQ(records[1].substr(7), records[2].substr(7));
    EXPECT_EQ(records[2].substr(records[2].size() - 3), ",ok");
}

TEST_F(BatchCommandTest, VerbosePrintsTheLogLines) {
    const std::string input = path("in.csv");
    writeFile(input, kHeader + sample("1"));
    const CommandResult result = run({"batch", input, "-o", path("out.csv"), "--verbose"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, batchCompletion(input, path("out.csv")));  // the log lines go to standard error
    const auto lines = splitLines(result.err);
    const auto has = [&lines](const std::string& line) {
        return std::find(lines.begin(), lines.end(), line) != lines.end();
    };
    EXPECT_TRUE(has("Batch process called, all records"));
    EXPECT_TRUE(has("The file is 3 lines long"));
    EXPECT_TRUE(has("Number of column headers = 21"));
    EXPECT_TRUE(has("Dealing with line 1"));
    EXPECT_TRUE(has("Passed compute"));
    EXPECT_TRUE(has("Nothing on this line"));
    EXPECT_TRUE(has("Done with file!"));
    EXPECT_EQ(result.err.find("\r"), std::string::npos);  // no progress bar when stderr is not a terminal
}

TEST_F(BatchCommandTest, QuietRunPrintsOnlyTheCompletion) {
    const std::string input = path("in.csv");
    writeFile(input, kHeader + sample("1"));
    const CommandResult result = run({"batch", input, "-o", path("out.csv")});
    ASSERT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "Batch Processing of File Completed\nFile Input:\n" + input + "\n\nFile Output:\n" +
                              path("out.csv") + "\n");
    EXPECT_EQ(result.err, "");
}

}  // namespace
}  // namespace brinora
