#include <gtest/gtest.h>

#include "app/settings_keys.h"
#include "records/kml_document.h"
#include "tests/support/controller_fixture.h"

namespace brinora {
namespace {

using testing::ControllerTest;
using testing::kInputHeader;
using testing::readFile;
using testing::writeFile;

const std::string kHeader =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?><kml xmlns=\"http://www.opengis.net/kml/2.2\">"
    "<Document><name>Brinora</name><Style id=\"h\"><LabelStyle><color>5078DCB4</color></LabelStyle>"
    "<BalloonStyle><bgColor>ffd6ffe1</bgColor><text><![CDATA[<p align=center><b><font color=\"#CC0000\" "
    "size=\"+3\">$[name]</font></b></p><br />$[description]]]></text></BalloonStyle></Style><Style id=\"n\" >"
    "<LabelStyle><color>5078DCB4</color></LabelStyle><BalloonStyle><bgColor>ffd6ffe1</bgColor><text><![CDATA["
    "<p align=center><b><font color=\"#CC0000\" size=\"+3\">$[name]</font></b></p><br />$[description]]]>"
    "</text></BalloonStyle></Style><StyleMap id=\"Brinora-style\"><Pair><key>normal</key><styleUrl>#n"
    "</styleUrl></Pair><Pair><key>highlight</key><styleUrl>#h</styleUrl></Pair></StyleMap>"
    "<Folder id=\"CO2Results\"><name>Results</name>";
const std::string kFooter = "</Folder></Document></kml>";

// The placemark of "1,Alpha,10:00,1/2/2023,10.5,-20.25,35,20,0,1,5,,,2300,2000,,,,400,7,ok" as
// sample 0, with the stand-in chemistry's results (slot number + 0.25).
const std::string kAlphaPlacemark =
    "<Placemark><styleUrl>#Brinora-style</styleUrl><Snippet maxLines=\"2\"></Snippet><name>Alpha 0</name>"
    "<address></address>"
    " <description><body background=\"\"><Table cellspacing=\"0\" cellpadding=\"0\" width=\"400\" border=\"2\">"
    "<Tr><Td><p style=\"text-align:center;color:red;font-size:15px\"><b>Results (Input)</b></p></Td>"
    "<Td><p style=\"text-align:center;color:red;font-size:15px\"><b>Results (Output)</b></p></Td></Tr>"
    "</Table><Table cellspacing=\"0\" cellpadding=\"0\" width=\"400\" border= \"1\"><Tr><Td>Salinity</Td>"
    "<Td>35.000</Td><Td>Salinity</Td><Td>35.000</Td></Tr>"
    "<Tr><Td>t(C)</Td><Td>20.000</Td><Td>t(C)</Td><Td>0.000</Td></Tr><Tr><Td>P (dbars) in</Td><Td>0.000</Td>"
    "<Td>P (dbars)</Td><Td>0.000</Td></Tr>"
    "<Tr><Td>Total P (\xC2\xB5mol/kbSW)</Td><Td>1.000</Td><Td>Total P (\xC2\xB5mol/kbSW)</Td><Td>1.000</Td></Tr>"
    "<Tr><Td>Total Si (\xC2\xB5mol/kbSW)</Td><Td>5.000</Td><Td>Total Si (\xC2\xB5mol/kbSW)</Td><Td>5.000</Td></Tr>"
    "<Tr><Td>TA (\xC2\xB5mol/kbSW)</Td><Td>35.250</Td><Td>TA (\xC2\xB5mol/kbSW)</Td><Td>35.250</Td></Tr>"
    "<Tr><Td>TCO2 (\xC2\xB5mol/kbSW)</Td><Td>36.250</Td><Td>TCO2 (\xC2\xB5mol/kbSW)</Td><Td>36.250</Td></Tr>"
    "<Tr><Td>pH</Td><Td>37.250</Td><Td>pH</Td><Td>54.250</Td></Tr>"
    "<Tr><Td>fCO2 (\xC2\xB5" "atm)</Td><Td>38.250</Td><Td>fCO2 (\xC2\xB5" "atm)</Td><Td>55.250</Td></Tr>"
    "<Tr><Td>pCO2 (\xC2\xB5" "atm)</Td><Td>39.250</Td><Td>pCO2 (\xC2\xB5" "atm)</Td><Td>56.250</Td></Tr>"
    "<Tr><Td>HCO3 (\xC2\xB5mol/kbSW)</Td><Td>40.250</Td><Td>HCO3 (\xC2\xB5mol/kgSW)</Td><Td>57.250</Td></Tr>"
    "<Tr><Td>CO3 (\xC2\xB5mol/kbSW)</Td><Td>41.250</Td><Td>CO3 (\xC2\xB5mol/kgSW)</Td><Td>58.250</Td></Tr>"
    "<Tr><Td>CO2 (\xC2\xB5mol/kbSW)</Td><Td>42.250</Td><Td>CO2 out (\xC2\xB5mol/kgSW)</Td><Td>59.250</Td></Tr>"
    "<Tr><Td>B Alk( \xC2\xB5mol/kbSW)</Td><Td>43.250</Td><Td>B Alk (\xC2\xB5mol/kbSW)</Td><Td>60.250</Td></Tr>"
    "<Tr><Td>OH (\xC2\xB5mol/kbSW)</Td><Td>44.250</Td><Td>OH (\xC2\xB5mol/kbSW)</Td><Td>61.250</Td></Tr>"
    "<Tr><Td>P Alk (\xC2\xB5mol/kbSW)</Td><Td>45.250</Td><Td>P Alk (\xC2\xB5mol/kbSW)</Td><Td>62.250</Td></Tr>"
    "<Tr><Td>Si Alk (\xC2\xB5mol/kbSW)</Td><Td>46.250</Td><Td>Si Alk (\xC2\xB5mol/kbSW)</Td><Td>63.250</Td></Tr>"
    "<Tr><Td>Revelle</Td><Td>47.250</Td><Td>Revelle</Td><Td>64.250</Td></Tr>"
    "<Tr><Td>O Ca</Td><Td>48.250</Td><Td>O Ca</Td><Td>65.250</Td></Tr>"
    "<Tr><Td>O Ar</Td><Td>49.250</Td><Td>O Ar</Td><Td>66.250</Td></Tr>"
    "<Tr><Td>xCO2 (dry a1 1atm)(ppm)</Td><Td>50.250</Td><Td>xCO2 dry (ppm)</Td><Td>67.250</Td></Tr>"
    "<Tr><Td>Water Density</Td><Td>70.250</Td><Td>Water Density</Td><Td>72.250</Td></Tr>"
    "<Tr><Td>CO2 Flux</Td><Td>69.250</Td><Td>CO2 Flux</Td><Td>71.250</Td></Tr></Table>"
    "<p><text><font color=\"#1400F0\" size=\"+1.5\">10:00 1/2/2023</font></text>"
    "<br /><text><font color=\"#1400F0\" size=\"+1.5\">7</font></text>"
    "</p></body></description><LookAt><longitude>-20.25</longitude><latitude>10.5</latitude>"
    "<altitude>0</altitude><range>20000</range><tilt>0</tilt>"
    "<heading>0</heading><altitudeMode>relativeToGround</altitudeMode></LookAt>"
    "<styleUrl>#msn_grn-blank</styleUrl><Point><coordinates>-20.25,10.5,0</coordinates></Point></Placemark>";

const std::string kAlpha = "1,Alpha,10:00,1/2/2023,10.5,-20.25,35,20,0,1,5,,,2300,2000,,,,400,7,ok";

// kAlphaPlacemark with each (from, to) of `changes` made; every `from` is
// found exactly once.
std::string alphaPlacemarkWith(const std::vector<std::pair<std::string, std::string>>& changes) {
    std::string text = kAlphaPlacemark;
    for (const auto& [from, to] : changes) {
        const std::size_t at = text.find(from);
        EXPECT_NE(at, std::string::npos) << from;
        if (at == std::string::npos) continue;
        EXPECT_EQ(text.find(from, at + 1), std::string::npos) << from;
        text.replace(at, from.size(), to);
    }
    return text;
}

// The changes of the input columns that both kAlpha and a line without
// phosphate and silicate show.
const std::vector<std::pair<std::string, std::string>> kNoNutrients = {
    {"<Td>1.000</Td><Td>Total P (\xC2\xB5mol/kbSW)</Td><Td>1.000</Td>",
     "<Td>0.000</Td><Td>Total P (\xC2\xB5mol/kbSW)</Td><Td>0.000</Td>"},
    {"<Td>5.000</Td><Td>Total Si (\xC2\xB5mol/kbSW)</Td><Td>5.000</Td>",
     "<Td>0.000</Td><Td>Total Si (\xC2\xB5mol/kbSW)</Td><Td>0.000</Td>"},
    {"size=\"+1.5\">10:00 1/2/2023</font>", "size=\"+1.5\"> </font>"},
};

class KmlTest : public ControllerTest {
protected:
    KmlTest() {
        chooseOptions();
        defaults.setValue(settings::kOpenPath, "/data");
        kmlPath = (dir / "out.kml").string();
        ui.onOpenPanel = [this](const OpenPanelRequest& request) {
            openPanels.push_back(request);
            return std::vector<std::string>{inputPath};
        };
        ui.onSavePanel = [this](const SavePanelRequest& request) -> std::optional<std::string> {
            savePanels.push_back(request);
            return saveAnswer;
        };
        saveAnswer = kmlPath;
    }

    void input(const std::string& text) {
        inputPath = (dir / "leg3.csv").string();
        writeFile(inputPath, text);
    }

    // Names of the placemarks in the KML file, in order.
    std::vector<std::string> placemarkNames() {
        const std::string text = readFile(kmlPath);
        std::vector<std::string> names;
        std::size_t at = 0;
        while ((at = text.find("</Snippet><name>", at)) != std::string::npos) {
            at += 16;
            names.push_back(text.substr(at, text.find("</name>", at) - at));
        }
        return names;
    }

    std::string inputPath;
    std::string kmlPath;
    std::optional<std::string> saveAnswer;
    std::vector<OpenPanelRequest> openPanels;
    std::vector<SavePanelRequest> savePanels;
};

TEST_F(KmlTest, HeaderAndFooterAreExact) {
    EXPECT_EQ(std::string(kmlDocumentHeader()), kHeader);
    EXPECT_EQ(std::string(kmlDocumentFooter()), kFooter);
}

TEST_F(KmlTest, OneSampleDocumentByteForByte) {
    input(kInputHeader + "\n" + kAlpha + "\n");
    core.writeKML();
    EXPECT_EQ(readFile(kmlPath), kHeader + kAlphaPlacemark + kFooter);
    EXPECT_EQ(core.stringToWrite, kAlphaPlacemark);
    EXPECT_TRUE(logged("stringToWrite: " + kAlphaPlacemark));
    EXPECT_TRUE(logged("The file is 3 lines long"));
    EXPECT_TRUE(logged("Dealing with line 1"));
    EXPECT_TRUE(logged("Done with the line!"));
    EXPECT_TRUE(logged("Done with file!"));

    ASSERT_EQ(openPanels.size(), 1u);
    EXPECT_EQ(openPanels[0].allowedTypes, std::vector<std::string>{"csv"});
    EXPECT_EQ(openPanels[0].directory, "/data");
    ASSERT_EQ(savePanels.size(), 1u);
    EXPECT_EQ(savePanels[0].requiredType, "kml");
    EXPECT_EQ(savePanels[0].directory, "/data");
    EXPECT_EQ(savePanels[0].proposedName, "leg3_Brinora.kml");

    ASSERT_EQ(alerts.size(), 1u);
    EXPECT_EQ(alerts[0].messageText, "CSV to KML Processing Completed");
    EXPECT_EQ(alerts[0].informativeText, "Input: " + inputPath + "\n\nOutput: " + kmlPath);
    EXPECT_EQ(alerts[0].buttons, std::vector<std::string>{"OK"});
    EXPECT_EQ(core.alreadySaved, 0);
    EXPECT_EQ(core.batchWriteMode, 0);
    EXPECT_EQ(core.sampleID, 0u);
    EXPECT_EQ(core.fullPath, inputPath);
    EXPECT_EQ(core.fullPathOut, kmlPath);
}

TEST_F(KmlTest, TwoSamplesWithAFinalLineEndGiveTwoPlacemarks) {
    input(kInputHeader + "\n" + kAlpha + "\n2,Beta,,,1,2,34,10,0,0,0,,,2300,2000,,,,,,x\n");
    core.writeKML();
    EXPECT_EQ(placemarkNames(), (std::vector<std::string>{"Alpha 0", "Beta 1"}));
    EXPECT_EQ(savePanels.size(), 1u);  // asked once, on the first line
}

TEST_F(KmlTest, WithoutTheFinalLineEndTheLastSampleIsLost) {
    input(kInputHeader + "\n" + kAlpha + "\n2,Beta,,,1,2,34,10,0,0,0,,,2300,2000,,,,,,x");
    core.writeKML();
    EXPECT_EQ(placemarkNames(), (std::vector<std::string>{"Alpha 0"}));
}

TEST_F(KmlTest, EmptyLinesAreNotSkipped) {
    input(kInputHeader + "\n" + kAlpha + "\n\n\n" + kAlpha + "\n");
    core.writeKML();
    EXPECT_EQ(placemarkNames(), (std::vector<std::string>{"Alpha 0", " 1", "Alpha 2"}));
    EXPECT_EQ(computeCalls, 3);
    EXPECT_EQ(computedSalinities[1], 0.0f);
    EXPECT_NE(readFile(kmlPath).find("<coordinates>,,0</coordinates>"), std::string::npos);
}

TEST_F(KmlTest, NumberingContinuesFromFormRecordsAndRestarts) {
    core.sampleID = 4;
    input(kInputHeader + "\n" + kAlpha + "\n" + kAlpha + "\n");
    core.writeKML();
    EXPECT_EQ(placemarkNames(), (std::vector<std::string>{"Alpha 4", "Alpha 5"}));
    EXPECT_EQ(core.sampleID, 0u);
    core.writeKML();
    EXPECT_EQ(placemarkNames(), (std::vector<std::string>{"Alpha 0", "Alpha 1"}));
}

TEST_F(KmlTest, TheCommentLineShowsTheWindSpeedField) {
    input(kInputHeader + "\n1,Gamma,,,0,0,35,20,0,0,0,,,2300,2000,,,,410,12.5,the real comment\n");
    core.writeKML();
    // The comment line of the placemark shows field 20 (the wind speed);
    // the comment itself is in no part of the document.
    std::vector<std::pair<std::string, std::string>> changes = kNoNutrients;
    changes.insert(changes.end(), {
        {"<name>Alpha 0</name>", "<name>Gamma 0</name>"},
        {"size=\"+1.5\">7</font>", "size=\"+1.5\">12.5</font>"},
        {"<longitude>-20.25</longitude><latitude>10.5</latitude>", "<longitude>0</longitude><latitude>0</latitude>"},
        {"<coordinates>-20.25,10.5,0</coordinates>", "<coordinates>0,0,0</coordinates>"},
    });
    EXPECT_EQ(readFile(kmlPath), kHeader + alphaPlacemarkWith(changes) + kFooter);
}

TEST_F(KmlTest, ShortLinesReadMissingFieldsAsEmpty) {
    input(kInputHeader + "\n1,Short,,,5\n");
    core.writeKML();
    // Fields 5..20 are missing: empty text, and 0 for every number.
    std::vector<std::pair<std::string, std::string>> changes = kNoNutrients;
    changes.insert(changes.end(), {
        {"<name>Alpha 0</name>", "<name>Short 0</name>"},
        {"<Td>35.000</Td><Td>Salinity</Td><Td>35.000</Td>", "<Td>0.000</Td><Td>Salinity</Td><Td>0.000</Td>"},
        {"<Td>t(C)</Td><Td>20.000</Td>", "<Td>t(C)</Td><Td>0.000</Td>"},
        {"size=\"+1.5\">7</font>", "size=\"+1.5\"></font>"},
        {"<longitude>-20.25</longitude><latitude>10.5</latitude>", "<longitude></longitude><latitude>5</latitude>"},
        {"<coordinates>-20.25,10.5,0</coordinates>", "<coordinates>,5,0</coordinates>"},
    });
    EXPECT_EQ(readFile(kmlPath), kHeader + alphaPlacemarkWith(changes) + kFooter);
}

TEST_F(KmlTest, OneSaveCancelledAppendsToTheEarlierOutput) {
    const std::string earlier = (dir / "earlier.kml").string();
    writeFile(earlier, "EARLIER");
    core.fullPathOut = earlier;
    saveAnswer.reset();
    input(kInputHeader + "\n" + kAlpha + "\n");
    core.writeKML();
    EXPECT_EQ(readFile(earlier), "EARLIER" + kAlphaPlacemark + kFooter);
    EXPECT_FALSE(std::filesystem::exists(kmlPath));
}

TEST_F(KmlTest, TheDocumentTakesItsNameOnlyWhenComplete) {
    writeFile(kmlPath, "the previous document");
    input(kInputHeader + "\n" + kAlpha + "\n" + kAlpha + "\n" + kAlpha + "\n");
    // While the placemarks are computed the name still holds the previous
    // document: the new one is written aside and renamed at the end.
    const auto compute = core.computeCO2;
    int calls = 0;
    std::string during;
    core.computeCO2 = [&](Board& board) {
        if (++calls == 2) during = readFile(kmlPath);
        compute(board);
    };
    core.writeKML();
    EXPECT_EQ(calls, 3);
    EXPECT_EQ(during, "the previous document");
    const std::string document = readFile(kmlPath);
    EXPECT_EQ(document.substr(0, kHeader.size()), kHeader);
    EXPECT_EQ(document.substr(document.size() - kFooter.size()), kFooter);
    EXPECT_EQ(core.placemarksWritten, 3);
    EXPECT_EQ(core.failedWrites, 0);
    ASSERT_EQ(alerts.size(), 1u);
    EXPECT_EQ(alerts[0].messageText, "CSV to KML Processing Completed");
}

TEST_F(KmlTest, AnEarlierOutputThatIsGoneLosesThePlacemarks) {
    // The save panel is cancelled and the earlier output named no longer exists.
    core.fullPathOut = (dir / "gone.kml").string();
    saveAnswer.reset();
    input(kInputHeader + "\n" + kAlpha + "\n");
    core.writeKML();
    EXPECT_EQ(core.placemarksWritten, 0);
    EXPECT_EQ(core.failedWrites, 1);
    EXPECT_EQ(core.lastWriteError, "cannot open \"" + core.fullPathOut + "\": No such file or directory");
    EXPECT_FALSE(std::filesystem::exists(core.fullPathOut));
    EXPECT_TRUE(alerts.empty());  // no "Completed" alert for a document that is not complete
}

TEST_F(KmlTest, CancelledOpenPanelDoesNothing) {
    ui.onOpenPanel = [](const OpenPanelRequest&) { return std::vector<std::string>{}; };
    core.writeKML();
    EXPECT_TRUE(alerts.empty());
    EXPECT_EQ(core.batchWriteMode, 0);
    EXPECT_TRUE(logLines.empty());
}

TEST_F(KmlTest, UnreadableInputIsPresented) {
    inputPath = (dir / "missing.csv").string();
    core.writeKML();
    ASSERT_EQ(presented.size(), 1u);
    EXPECT_TRUE(logged("There was an error reading from the file"));
    EXPECT_TRUE(alerts.empty());
    EXPECT_FALSE(std::filesystem::exists(kmlPath));
}

TEST_F(KmlTest, PlaceholderLookalikesInTextAreKeptAsRead) {
    // Fields are inserted as read: a name that looks like a placeholder of a
    // later piece is not filled by that piece.
    input(kInputHeader + "\n1,#TA#,,,0,0,35,20,0,0,0,,,2300,2000,,,,,,\n");
    core.writeKML();
    EXPECT_EQ(placemarkNames(), (std::vector<std::string>{"#TA# 0"}));
}

TEST_F(KmlTest, NestedPlaceholderLookalikesDoNotMultiply) {
    // Time, wind speed, longitude and latitude each full of the placeholder
    // that a later piece fills with the next of them: filled in the whole
    // placemark, 300 bytes of fields would become 200^4 bytes. Inserted as read,
    // the placemark grows with the line only.
    std::string time, wind, longitude, latitude(200, 'x');
    for (int k = 0; k < 200; ++k) {
        time += "#cruiseComment#";
        wind += "#cruiseLongitude#";
        longitude += "#cruiseLatitude#";
    }
    const std::string line = "1,Nest," + time + ",," + latitude + "," + longitude + ",35,20,0,0,0,,,2300,2000,,,,," +
                             wind + ",";
    input(kInputHeader + "\n" + line + "\n");
    core.writeKML();
    const std::string text = readFile(kmlPath);
    EXPECT_LT(text.size(), kHeader.size() + kAlphaPlacemark.size() + 2 * line.size());
    EXPECT_NE(text.find(time + " </font>"), std::string::npos);
    EXPECT_NE(text.find("<coordinates>" + longitude + "," + latitude + ",0</coordinates>"), std::string::npos);
}

}  // namespace
}  // namespace brinora
