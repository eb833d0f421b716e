// brinora batch, kml and preview on pipes, named pipes and standard input and
// output; KML documents that stay XML whatever the fields hold; stored preview
// lengths of every kind; remarks about odd input.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QByteArray>
#include <QXmlStreamReader>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "run_command.h"
#include "tests/support/batch_input.h"
#include "tests/support/files.h"

namespace brinora::test {
namespace {

const std::string kExample = std::string(BRINORA_EXAMPLES_DIR) + "/cruise.csv";
const std::string kData = std::string(BRINORA_CLI_TEST_DATA) + "/data";
const std::string kOptionText = "--constants 13 --khso4 1 --ph-scale 1 --flux 1 -q";
const std::string kHeader = brinora::testing::kInputHeader + "\n";

using brinora::testing::readFile;

using brinora::testing::writeFile;

class StreamsTest : public ::testing::Test {
protected:
    brinora::testing::ScratchFolder scratch_{"streams"};

    StreamsTest() {
        dir = scratch_.path();
        settingsFile = dir + "/settings.conf";
    }

    // Runs `command` in a shell, with BRINORA standing for the program;
    // returns its exit status.
    int shell(const std::string& command) {
        const std::string full = "cd '" + dir + "' && BRINORA_SETTINGS_FILE='" + settingsFile + "' BRINORA='" +
                                 std::string(BRINORA_BINARY) + "' /bin/bash -c '" + command + "' 2> '" + dir +
                                 "/stderr.txt'";
        const int status = std::system(full.c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    std::string err() const { return readFile(dir + "/stderr.txt"); }
    std::string path(const std::string& name) const { return dir + "/" + name; }

    std::string dir;
    std::string settingsFile;
};

TEST_F(StreamsTest, BatchFromStandardInputToAFile) {
    EXPECT_EQ(shell("cat " + kExample + " | $BRINORA batch - -o out.csv " + kOptionText), 0) << err();
    EXPECT_EQ(readFile(path("out.csv")), readFile(kData + "/cruise_Brinora.csv"));
}

TEST_F(StreamsTest, BatchToStandardOutput) {
    EXPECT_EQ(shell("$BRINORA batch " + kExample + " -o - " + kOptionText + " > out.csv"), 0) << err();
    EXPECT_EQ(readFile(path("out.csv")), readFile(kData + "/cruise_Brinora.csv"));
    // The completion goes to standard error, away from the records.
    EXPECT_NE(err().find("Batch Processing of File Completed"), std::string::npos) << err();
}

TEST_F(StreamsTest, BatchFromANamedPipe) {
    ASSERT_EQ(::mkfifo(path("fifo").c_str(), 0600), 0);
    EXPECT_EQ(shell("(cat " + kExample + " > fifo &) ; $BRINORA batch fifo -o out.csv " + kOptionText), 0) << err();
    EXPECT_EQ(readFile(path("out.csv")), readFile(kData + "/cruise_Brinora.csv"));
}

TEST_F(StreamsTest, KmlAndPreviewFromProcessSubstitution) {
    EXPECT_EQ(shell("$BRINORA kml <(cat " + kExample + ") -o out.kml " + kOptionText), 0) << err();
    EXPECT_EQ(readFile(path("out.kml")), readFile(kData + "/cruise_Brinora.kml"));
    EXPECT_EQ(shell("$BRINORA preview <(cat " + kExample + ") -n 2 --columns SampleID,pH " + kOptionText +
                    " > table.txt"),
              0)
        << err();
    EXPECT_EQ(readFile(path("table.txt")), "SampleID     pH\n1         8.084\n2         8.061\n");
}

TEST_F(StreamsTest, KmlToStandardOutputFromStandardInput) {
    EXPECT_EQ(shell("cat " + kExample + " | $BRINORA kml - -o - " + kOptionText + " > out.kml"), 0) << err();
    EXPECT_EQ(readFile(path("out.kml")), readFile(kData + "/cruise_Brinora.kml"));
}

TEST_F(StreamsTest, AStopFromAPipeKeepsTheRecordsBeforeIt) {
    // Line 3 has no salinity: the run ends there, after the first sample.
    const std::string text = kHeader + "1,A,,,0,0,35,20,0,0,0,,,2300,2000,,,,,,\n" +
                             "2,B,,,0,0,,20,0,0,0,,,2300,2000,,,,,,\n" + "3,C,,,0,0,35,20,0,0,0,,,2300,2000,,,,,,\n";
    writeFile(path("in.csv"), text);
    EXPECT_EQ(shell("cat in.csv | $BRINORA batch - -o out.csv " + kOptionText), 1);
    EXPECT_EQ(err(),
              "brinora batch: -:3: All records require a salinity value. There is a salinity value missing.\n"
              "1 record written to out.csv before the stop\n");
    const std::string out = readFile(path("out.csv"));
    EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 2);
}

// Every character XML reserves, in every field a placemark shows.
TEST_F(StreamsTest, KmlOfFieldsWithReservedCharactersIsXml) {
    const std::string text = kHeader + "1,R&D <\"deep\"> 'cast',10:00 & more,<1/2/2023>,10.5&,-20.25<,35,20,0,0,0,,,"
                                       "2300,2000,,,,400,7<&>,a & b < c\n" +
                             "2,Plain,10:00,1/2/2023,10.5,-20.25,35,20,0,0,0,,,2300,2000,,,,400,7,ok\n";
    writeFile(path("in.csv"), text);
    ASSERT_EQ(shell("$BRINORA kml in.csv -o out.kml " + kOptionText), 0) << err();
    const std::string document = readFile(path("out.kml"));
    QXmlStreamReader xml(QByteArray::fromStdString(document));
    int placemarks = 0;
    QStringList names;
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isStartElement() && xml.name() == QStringLiteral("Placemark")) ++placemarks;
        if (xml.isStartElement() && xml.name() == QStringLiteral("name")) names << xml.readElementText();
    }
    EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
    EXPECT_EQ(placemarks, 2);
    ASSERT_EQ(names.size(), 4);  // the document, the folder and two placemarks
    EXPECT_EQ(names[2].toStdString(), "R&D <\"deep\"> 'cast' 0");
    EXPECT_NE(document.find("<name>R&amp;D &lt;&quot;deep&quot;&gt; &apos;cast&apos; 0</name>"), std::string::npos);
    EXPECT_NE(document.find("<coordinates>-20.25&lt;,10.5&amp;,0</coordinates>"), std::string::npos);
}

TEST_F(StreamsTest, KmlWarnsWhenTheLastSampleLacksALineEnd) {
    writeFile(path("in.csv"), kHeader + "1,A,,,0,0,35,20,0,0,0,,,2300,2000,,,,,,\n" +
                                  "2,B,,,0,0,35,20,0,0,0,,,2300,2000,,,,,,");
    ASSERT_EQ(shell("$BRINORA kml in.csv -o out.kml --constants 13 --khso4 1 --ph-scale 1 --flux 1"), 0) << err();
    EXPECT_NE(err().find("brinora kml: warning: in.csv:3: the last line has no line end and is not part of the "
                         "document"),
              std::string::npos)
        << err();
}

TEST_F(StreamsTest, NumbersBeyondTheFloatRangeAreNamed) {
    writeFile(path("in.csv"), kHeader + "1,A,,,0,0,35,20,0,0,0,,,1e999,2000,,,,,,\n");
    ASSERT_EQ(shell("$BRINORA batch in.csv -o out.csv --constants 13 --khso4 1 --ph-scale 1 --flux 1"), 0) << err();
    EXPECT_NE(err().find("brinora batch: warning: in.csv:2: field 14 (TA) is a number beyond the single-precision "
                         "range; it is taken as infinite"),
              std::string::npos)
        << err();
}

TEST_F(StreamsTest, StoredPreviewLengthsOfEveryKind) {
    writeFile(path("in.csv"), readFile(kExample));
    const std::string preview = "$BRINORA preview in.csv --columns SampleID " + std::string("--constants 13 "
                                "--khso4 1 --ph-scale 1 --flux 1");
    for (const std::string& stored : {"-1", "abc", "99999999999", "0"}) {
        writeFile(settingsFile, "[General]\nNumberOfLinesInPreview=" + stored + "\n");
        const int status = shell(preview + " > table.txt");
        EXPECT_EQ(status, 0) << stored << ": " << err();
        const std::string table = readFile(path("table.txt"));
        const long rows = std::count(table.begin(), table.end(), '\n') - 1;
        if (stored == "0") {
            EXPECT_EQ(rows, 0) << table;  // no line is previewed
        } else {
            EXPECT_EQ(rows, 5) << stored << ": " << table;
            EXPECT_NE(err().find("warning: the stored setting \"NumberOfLinesInPreview\" holds \"" + stored +
                                 "\", which is not a number of lines; showing 5 (give -n to choose)"),
                      std::string::npos)
                << err();
        }
    }
}

}  // namespace
}  // namespace brinora::test
