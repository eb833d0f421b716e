// brinora plot, run as a user runs it: the SVG parsed as XML with its markers
// counted, the PNG's size read from its header, and the refusals.
#include <gtest/gtest.h>

#include <QFile>
#include <QXmlStreamReader>

#include <filesystem>
#include <fstream>

#include "run_command.h"

namespace brinora::test {
namespace {

namespace fs = std::filesystem;

const std::string kCruiseOutput = BRINORA_CLI_TEST_DATA "/data/cruise_Brinora.csv";
const std::string kCruiseInput = BRINORA_EXAMPLES_DIR "/cruise.csv";

class PlotCommandTest : public ::testing::Test {
protected:
    void SetUp() override {
        dir_ = fs::temp_directory_path() /
               ("brinora_plot_" + std::to_string(::getpid()) + "_" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::create_directories(dir_);
        // The stored settings of the desktop program are not read from the user's own.
        settings_ = write("settings.ini", "");
    }
    void TearDown() override { fs::remove_all(dir_); }

    std::string path(const std::string& name) const { return (dir_ / name).string(); }
    std::string write(const std::string& name, const std::string& content) {
        std::ofstream(path(name), std::ios::binary) << content;
        return path(name);
    }
    CommandResult plot(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "plot");
        return runBrinora(arguments, {"BRINORA_SETTINGS_FILE=" + settings_, "QT_QPA_PLATFORM=offscreen"});
    }

    fs::path dir_;
    std::string settings_;
};

// The markers and the texts of an SVG document; fails the test if it is not XML.
struct SvgContents {
    int ellipses = 0;
    std::string text;  // every text element's content, each followed by "\n"
};

SvgContents readSvg(const std::string& file) {
    SvgContents contents;
    QFile device(QString::fromStdString(file));
    EXPECT_TRUE(device.open(QIODevice::ReadOnly));
    QXmlStreamReader xml(&device);
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement) continue;
        if (xml.name() == QLatin1String("ellipse") || xml.name() == QLatin1String("circle")) ++contents.ellipses;
        if (xml.name() == QLatin1String("text")) contents.text += xml.readElementText().toStdString() + "\n";
    }
    EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
    return contents;
}

TEST_F(PlotCommandTest, SvgHasOneMarkerPerPointAndTheAxisTitles) {
    const CommandResult result = plot({kCruiseOutput, "--x", "Salinity", "--y", "pH (in)", "-o", path("f.svg")});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    const SvgContents svg = readSvg(path("f.svg"));
    EXPECT_EQ(svg.ellipses, 24);
    EXPECT_NE(svg.text.find("Salinity\n"), std::string::npos) << svg.text;
    EXPECT_NE(svg.text.find("pH (in)\n"), std::string::npos) << svg.text;
}

TEST_F(PlotCommandTest, SamplesWithoutAValueAreLeftOutAndCounted) {
    // Six of the 24 samples are below the surface: no air-sea flux.
    const CommandResult result =
        plot({kCruiseOutput, "--x", "co2 flux (in)", "--y", "pressure", "-o", path("flux.svg")});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "brinora plot: 6 of 24 samples not shown: 6 with no value.\n");
    const SvgContents svg = readSvg(path("flux.svg"));
    EXPECT_EQ(svg.ellipses, 18);
    EXPECT_NE(svg.text.find("Air-sea CO₂ flux (in) (mmol/m²/d)\n"), std::string::npos) << svg.text;
    // The arrow stands upright beside the turned title, pointing down.
    EXPECT_NE(svg.text.find("Pressure (dbar)\n"), std::string::npos) << svg.text;
    EXPECT_NE(svg.text.find("↓\n"), std::string::npos) << svg.text;
    EXPECT_NE(svg.text.find("6 of 24 samples not shown: 6 with no value.\n"), std::string::npos);
}

TEST_F(PlotCommandTest, ColouredByStationOrByAColumn) {
    ASSERT_EQ(plot({kCruiseOutput, "--x", "Omega Ar (in)", "--y", "Pressure", "--color", "STATION", "-o",
                    path("s.svg")}).status, 0);
    const SvgContents byStation = readSvg(path("s.svg"));
    EXPECT_EQ(byStation.ellipses, 24);
    EXPECT_NE(byStation.text.find("BATS surface\n"), std::string::npos) << byStation.text;
    ASSERT_EQ(plot({kCruiseOutput, "--x", "Omega Ar (in)", "--y", "Pressure", "--colour", "TCO2", "-o",
                    path("c.svg")}).status, 0);
    const SvgContents byColumn = readSvg(path("c.svg"));
    EXPECT_EQ(byColumn.ellipses, 24);
    EXPECT_NE(byColumn.text.find("TCO₂ (µmol/kg)\n"), std::string::npos) << byColumn.text;
}

TEST_F(PlotCommandTest, PngHasTheRequestedSize) {
    const CommandResult result = plot({kCruiseOutput, "--y", "Pressure", "--x", "TA", "--width", "640",
                                       "--height", "480", "-o", path("f.png")});
    ASSERT_EQ(result.status, 0) << result.err;
    std::ifstream in(path("f.png"), std::ios::binary);
    unsigned char head[24] = {};
    in.read(reinterpret_cast<char*>(head), sizeof head);
    ASSERT_EQ(in.gcount(), 24);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(head) + 1, 3), "PNG");
    EXPECT_EQ(std::string(reinterpret_cast<char*>(head) + 12, 4), "IHDR");
    const auto big = [&](int at) { return (head[at] << 24) | (head[at + 1] << 16) | (head[at + 2] << 8) | head[at + 3]; };
    EXPECT_EQ(big(16), 640);
    EXPECT_EQ(big(20), 480);
}

TEST_F(PlotCommandTest, ABatchInputFilePlotsItsInputColumns) {
    const CommandResult result = plot({kCruiseInput, "--x", "TA", "--y", "pH", "-o", path("in.svg")});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "brinora plot: 21 of 24 samples not shown: 21 with no value.\n");
    EXPECT_EQ(readSvg(path("in.svg")).ellipses, 3);
}

TEST_F(PlotCommandTest, TheStoredAxesAreTheDefault) {
    settings_ = write("stored.ini", "[General]\nxGraphParameter=TA\nyGraphParameter=TCO2\n");
    ASSERT_EQ(plot({kCruiseOutput, "-o", path("d.svg")}).status, 0);
    const SvgContents svg = readSvg(path("d.svg"));
    EXPECT_NE(svg.text.find("TA (µmol/kg)\n"), std::string::npos) << svg.text;
    EXPECT_NE(svg.text.find("TCO₂ (µmol/kg)\n"), std::string::npos) << svg.text;
}

TEST_F(PlotCommandTest, AnUnknownOrAmbiguousNameListsTheColumns) {
    CommandResult result = plot({kCruiseInput, "--x", "oxygen", "-o", path("x.svg")});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err,
              "brinora plot: --x: \"oxygen\" matches no column. Available: \"Salinity\", \"Temperature\", "
              "\"Pressure\", \"Total P\", \"Total Si\", \"Temperature (out)\", \"Pressure (out)\", \"TA\", "
              "\"TCO2\", \"pH (in)\", \"fCO2 (in)\", \"pCO2 (in)\", \"pCO2 air\", \"Wind speed\".\n");
    result = plot({kCruiseOutput, "--y", "omega", "-o", path("x.svg")});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err,
              "brinora plot: --y: \"omega\" matches several columns: \"Omega Ca (in)\", \"Omega Ar (in)\", "
              "\"Omega Ca (out)\", \"Omega Ar (out)\".\n");
    EXPECT_FALSE(fs::exists(path("x.svg")));
}

TEST_F(PlotCommandTest, FilesThatCannotBePlottedAreRefused) {
    const std::string empty = write("empty.csv", "");
    CommandResult result = plot({empty, "-o", path("e.svg")});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "brinora plot: " + empty + ": the file is empty.\n");

    const std::string header = write("header.csv", "SampleID,Name,Time,Date,Lat,Lon,S,T,P,PO4,Si,Tout,Pout,"
                                                   "TA,TCO2,pH,fCO2,pCO2,pCO2air,Wind,Comment\n");
    result = plot({header, "-o", path("h.svg")});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "brinora plot: " + header + ": the file has a header line but no samples.\n");

    const std::string other = write("other.csv", "station,depth,oxygen\n1,10,250\n");
    result = plot({other, "-o", path("o.svg")});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "brinora plot: " + other +
                              ": not a Brinora output file or batch input file (the first line is neither the "
                              "output file header nor a header of 21 names).\n");

    result = plot({kCruiseOutput, "-o", path("f.jpg")});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "brinora plot: the file name must end in .png or .svg: " + path("f.jpg") + "\n");
    EXPECT_FALSE(fs::exists(path("e.svg")) || fs::exists(path("h.svg")) || fs::exists(path("o.svg")));
}

TEST_F(PlotCommandTest, AColumnThatIsAllNotANumberGivesAnEmptyGraphAndANote) {
    std::ifstream source(kCruiseOutput);
    std::string header, line, content;
    std::getline(source, header);
    content = header + "\n";
    for (int i = 0; i < 2 && std::getline(source, line); ++i) {
        // Column 25 (Omega Ca) made "nan".
        std::size_t at = 0;
        for (int comma = 0; comma < 24; ++comma) at = line.find(',', at) + 1;
        const std::size_t end = line.find(',', at);
        content += line.substr(0, at) + "nan" + line.substr(end) + "\n";
    }
    const std::string file = write("nan.csv", content);
    const CommandResult result = plot({file, "--x", "Salinity", "--y", "Omega Ca (in)", "-o", path("n.svg")});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "brinora plot: 2 of 2 samples not shown: 2 not a number.\n");
    EXPECT_EQ(readSvg(path("n.svg")).ellipses, 0);
}

}  // namespace
}  // namespace brinora::test
