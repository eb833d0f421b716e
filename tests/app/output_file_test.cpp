#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>

#include "app/appended_file.h"
#include "output/output_target.h"

#include "app/settings_keys.h"
#include "records/output_record.h"
#include "tests/support/controller_fixture.h"

namespace brinora {
namespace {

using testing::ControllerTest;
using testing::readFile;
using testing::writeFile;

class OutputFileTest : public ControllerTest {
protected:
    OutputFileTest() {
        defaults.setValue(settings::kOpenPath, "~/Documents");
        ui.home = "/home/ann";
        ui.onSavePanel = [this](const SavePanelRequest& request) -> std::optional<std::string> {
            savePanels.push_back(request);
            return answer;
        };
        ui.onOpenPanel = [this](const OpenPanelRequest& request) {
            openPanels.push_back(request);
            return answer ? std::vector<std::string>{*answer} : std::vector<std::string>{};
        };
    }
    std::optional<std::string> answer;
    std::vector<SavePanelRequest> savePanels;
    std::vector<OpenPanelRequest> openPanels;
};

TEST_F(OutputFileTest, NewFileProposesADatedNameWhenTheSampleHasNoName) {
    ui.now = CalendarDateTime{2024, 2, 9, 15, 7, 30};
    answer = (dir / "new.csv").string();
    core.newFileForOutput();
    ASSERT_EQ(savePanels.size(), 1u);
    EXPECT_EQ(savePanels[0].proposedName, "Brinora 02-09-24 03.07.csv");
    EXPECT_EQ(savePanels[0].requiredType, "csv");
    EXPECT_EQ(savePanels[0].directory, "~/Documents");
    EXPECT_EQ(readFile(*answer), std::string(dataFileHeaders()));
    EXPECT_EQ(core.fullPathOut, *answer);
    EXPECT_EQ(ui.checkBox, 1);
    EXPECT_EQ(ui.text(TextField::PathField2), *answer);  // not below the home folder
}

TEST_F(OutputFileTest, NewFileProposesTheSampleName) {
    ui.setText(TextField::CruiseName, "Station 4");
    core.newFileForOutput();  // cancelled
    ASSERT_EQ(savePanels.size(), 1u);
    EXPECT_EQ(savePanels[0].proposedName, "Station 4.csv");
    EXPECT_EQ(core.fullPathOut, "");
    EXPECT_EQ(ui.checkBox, 0);
}

TEST_F(OutputFileTest, NewFileReplacesAnEarlierFile) {
    answer = (dir / "new.csv").string();
    writeFile(*answer, "old records\n");
    core.newFileForOutput();
    EXPECT_EQ(readFile(*answer), std::string(dataFileHeaders()));
}

TEST_F(OutputFileTest, HeaderWriteFailureIsLoggedAndTheActionCarriesOn) {
    answer = (dir / "missing-folder" / "new.csv").string();
    core.newFileForOutput();
    EXPECT_TRUE(logged("Error in saving file to disk"));
    EXPECT_TRUE(presented.empty());
    EXPECT_EQ(core.fullPathOut, *answer);
    EXPECT_EQ(ui.checkBox, 1);
}

TEST_F(OutputFileTest, OpenedFileKeepsItsRecordsAndGetsNoHeader) {
    answer = "/home/ann/cruise/out.csv";
    core.openFileForOutput();
    ASSERT_EQ(openPanels.size(), 1u);
    EXPECT_EQ(openPanels[0].allowedTypes, std::vector<std::string>{"csv"});
    EXPECT_EQ(openPanels[0].directory, "~/Documents");
    EXPECT_EQ(core.fullPathOut, "/home/ann/cruise/out.csv");
    EXPECT_EQ(ui.text(TextField::PathField2), "~/cruise/out.csv");
    EXPECT_EQ(ui.checkBox, 1);

    const std::string existing = (dir / "existing.csv").string();
    writeFile(existing, "header\nrecord 1\n");
    core.outputFileOpened(existing);
    core.batchWriteMode = 1;
    ASSERT_TRUE(core.saveString());
    EXPECT_TRUE(readFile(existing).starts_with("header\nrecord 1\n,,,,,,0.000,"));
}

TEST_F(OutputFileTest, BatchOutputIsProposedBesideTheInput) {
    chooseOptions();
    const std::string input = useInput(testing::kInputHeader + "\n", "leg2.csv");
    answer = (dir / "leg2_out.csv").string();
    core.selectCSVtoOutput();
    ASSERT_EQ(savePanels.size(), 1u);
    EXPECT_EQ(savePanels[0].proposedName, "leg2_Brinora.csv");
    EXPECT_EQ(savePanels[0].directory, dir.string());
    EXPECT_EQ(core.fullPath, input);
    EXPECT_EQ(core.fullPathOut, *answer);
    EXPECT_EQ(ui.text(TextField::PathFieldOut), *answer);
    EXPECT_EQ(readFile(*answer), std::string(dataFileHeaders()));
}

TEST_F(OutputFileTest, BatchOutputIsRefusedWhileAnOptionIsOnSelect) {
    chooseOptions();
    ui.selectItem(Menu::AirSeaFlux, 0);
    useInput(testing::kInputHeader + "\n", "leg2.csv");
    answer = (dir / "leg2_out.csv").string();
    core.selectCSVtoOutput();
    EXPECT_TRUE(savePanels.empty()) << "refused before the panel";
    EXPECT_FALSE(std::filesystem::exists(*answer)) << "no header is written";
    EXPECT_EQ(core.fullPathOut, "");
    EXPECT_EQ(ui.text(TextField::PathFieldOut), "");
    ASSERT_EQ(presented.size(), 1u);
    EXPECT_EQ(presented[0].domain, "BrinoraApp");
    EXPECT_EQ(presented[0].code, 0);
    EXPECT_EQ(presented[0].localizedDescription,
              "To perform the calculation, Brinora needs constants, scales, and units supplied by the user. "
              "Click \"Select...\" to provide these parameters.");
    EXPECT_TRUE(logged(presented[0].localizedDescription));
}

// ---------------------------------------------------------------- the KML document

TEST_F(OutputFileTest, AKmlDocumentCutShortLeavesThePreviousDocumentAsItWas) {
    chooseOptions();
    std::string text = testing::kInputHeader + "\n";
    for (int k = 1; k <= 20; ++k) {
        text += std::to_string(k) + ",St " + std::to_string(k) + ",08:00:00,03/14/2024,26.5,-80.1,35,25,0,0,0,,,2300,2000,,,,,,\n";
    }
    const std::string input = useInput(text, "leg.csv");
    const std::string kml = (dir / "leg.kml").string();
    writeFile(kml, "the previous document\n");
    ui.onOpenPanel = [&](const OpenPanelRequest&) { return std::vector<std::string>{input}; };
    answer = kml;
    // The document may not grow past 8000 bytes: its header fits, its
    // placemarks do not.
    rlimit saved{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &saved), 0);
    const auto previousHandler = ::signal(SIGXFSZ, SIG_IGN);
    rlimit limited = saved;
    limited.rlim_cur = 8000;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limited), 0);
    core.writeKML();
    ::setrlimit(RLIMIT_FSIZE, &saved);
    ::signal(SIGXFSZ, previousHandler);
    ASSERT_EQ(savePanels.size(), 1u);
    EXPECT_EQ(readFile(kml), "the previous document\n") << "nothing of the run is kept";
    EXPECT_TRUE(alerts.empty()) << alerts.front().messageText;
    EXPECT_EQ(core.failedWrites, 1);
    EXPECT_EQ(core.placemarksWritten, 0);
    EXPECT_NE(core.lastWriteError.find("File too large"), std::string::npos) << core.lastWriteError;
    // No temporary file or journal is left beside it.
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(dir)) names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"leg.csv", "leg.kml"}));
}

TEST_F(OutputFileTest, AKmlDocumentIsWrittenWholeOverThePreviousOne) {
    chooseOptions();
    const std::string input = useInput(testing::kInputHeader + "\n1,a,,,,,35,25,0,0,0,,,2300,2000,,,,,,\n", "leg.csv");
    const std::string kml = (dir / "leg.kml").string();
    writeFile(kml, "the previous document\n");
    ui.onOpenPanel = [&](const OpenPanelRequest&) { return std::vector<std::string>{input}; };
    answer = kml;
    core.writeKML();
    ASSERT_EQ(alerts.size(), 1u);
    EXPECT_EQ(alerts[0].messageText, "CSV to KML Processing Completed");
    const std::string document = readFile(kml);
    EXPECT_EQ(document.rfind("<?xml version=\"1.0\" encoding=\"UTF-8\"?>", 0), 0u);
    EXPECT_NE(document.find("<name>Results</name><Placemark><styleUrl>#Brinora-style</styleUrl>"), std::string::npos);
    EXPECT_EQ(document.substr(document.size() - 26), "</Folder></Document></kml>");
    EXPECT_EQ(document.find("previous"), std::string::npos);
}

// ---------------------------------------------------------------- the journaled append

TEST_F(OutputFileTest, AppendNeedsAnExistingFile) {
    const std::string path = (dir / "out.csv").string();
    EXPECT_EQ(appendToOutputFile(path, "r1\n"), "cannot open \"" + path + "\": No such file or directory");
    EXPECT_FALSE(std::filesystem::exists(path));
    writeFile(path, "h\n");
    EXPECT_EQ(appendToOutputFile(path, "r1\n"), "");
    EXPECT_EQ(appendToOutputFile(path, "r2\n"), "");
    EXPECT_EQ(readFile(path), "h\nr1\nr2\n");
    // No journal stays beside the file.
    EXPECT_FALSE(std::filesystem::exists(appendJournalPath(path)));
}

TEST_F(OutputFileTest, AppendPastAFileSizeLimitLeavesNoPartialRecord) {
    // The file may grow by 5 bytes only (its journal, a file of its own, is
    // smaller than the limit): the record is written in part, then taken away
    // again, and the reason is that of the failed write.
    const std::string path = (dir / "out.csv").string();
    const std::string header = std::string(250, 'h') + "\n";
    writeFile(path, header);
    rlimit saved{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &saved), 0);
    const auto previousHandler = ::signal(SIGXFSZ, SIG_IGN);
    rlimit limited = saved;
    limited.rlim_cur = header.size() + 5;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limited), 0);
    const std::string failed = appendToOutputFile(path, "a record of 24 bytes...\n");
    const std::string small = appendToOutputFile(path, "r1\n");
    ::setrlimit(RLIMIT_FSIZE, &saved);
    ::signal(SIGXFSZ, previousHandler);
    EXPECT_EQ(failed, "cannot append to \"" + path +
                          "\": File too large; no record of this run was added, the file is as it was");
    EXPECT_EQ(small, "");
    EXPECT_EQ(readFile(path), header + "r1\n");
}

TEST_F(OutputFileTest, AppendCutShortIsRolledBackBeforeTheNextOne) {
    // A run that was killed after its journal and part of its records.
    const std::string path = (dir / "out.csv").string();
    writeFile(path, "h\nr1\n");
    {
        OutputError error;
        auto target = OutputTarget::open(path, OutputMode::kAppend, OutputOptions{}, error);
        ASSERT_TRUE(target) << error.message;
        ASSERT_TRUE(target->write("half a rec"));
        // Left as a killed run leaves it: the journal stays.
        const std::string journal = appendJournalPath(path);
        ASSERT_TRUE(std::filesystem::exists(journal));
        std::filesystem::copy_file(journal, dir / "journal.copy");
        target->abandon();
        std::filesystem::copy_file(dir / "journal.copy", journal);
        writeFile(path, "h\nr1\nhalf a rec");
    }
    EXPECT_EQ(appendToOutputFile(path, "r2\n"), "");
    EXPECT_EQ(readFile(path), "h\nr1\nr2\n");
}

TEST_F(OutputFileTest, FormRecordGoesThroughTheJournaledAppend) {
    const std::string path = (dir / "form.csv").string();
    writeFile(path, std::string(dataFileHeaders()));
    core.outputFileOpened(path);
    chooseOptions();
    core.batchWriteMode = 0;
    ASSERT_TRUE(core.saveString());
    EXPECT_EQ(readFile(path), std::string(dataFileHeaders()) + core.stringToWrite);
    EXPECT_FALSE(std::filesystem::exists(appendJournalPath(path)));
}

}  // namespace
}  // namespace brinora
