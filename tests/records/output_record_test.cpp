#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string_view>
#include <vector>

#include "records/output_record.h"
#include "tests/support/controller_fixture.h"
#include "tests/support/comma_locale.h"

namespace brinora {
namespace {

using testing::column;
using testing::columnCount;
using testing::ControllerTest;
using testing::readFile;

// A computed sample at the surface: inputs in slots 11..24, results as the
// stand-in chemistry leaves them (slot number + 0.25).
class RecordTest : public ControllerTest {
protected:
    RecordTest() {
        Engine* board = Engine::sharedInstance();
        board->setFieldValueAtPos(11, 35.0f);
        board->setFieldValueAtPos(12, 25.0f);
        board->setFieldValueAtPos(13, 0.0f);
        board->setFieldValueAtPos(14, 1.0f);
        board->setFieldValueAtPos(15, 10.0f);
        board->setFieldValueAtPos(23, 400.0f);
        board->setFieldValueAtPos(24, 8.0f);
        core.computeCO2(board->board());
        chooseOptions(10, 1, 1, 1);
        ui.setText(TextField::CruiseLatitude, "12.5");
        ui.setText(TextField::CruiseLongitude, "45");
        ui.setText(TextField::CruiseComment, "deck sample");
        ui.dates[DatePicker::CruiseDate] = CalendarDateTime{2024, 3, 1, 0, 0, 0};
        ui.dates[DatePicker::CruiseTime] = CalendarDateTime{2024, 3, 1, 9, 41, 7};
        core.awakeFromNib();
    }

    std::string stringRecord() { return std::get<std::string>(core.formatOutputAs("String")); }
    DictRecord dictRecord() { return std::get<DictRecord>(core.formatOutputAs("Dict")); }

    static constexpr const char* kResults =
        "35.000,25.000,0.000,1.000,10.000,35.250,36.250,37.250,38.250,39.250,40.250,41.250,42.250,"
        "43.250,44.250,45.250,46.250,47.250,48.250,49.250,50.250,25.000,0.000,54.250,55.250,56.250,"
        "57.250,58.250,59.250,60.250,61.250,62.250,63.250,64.250,65.250,66.250,67.250,400.000,8.000,"
        "69.250,71.250,";
    static constexpr const char* kTitles =
        "Millero et al. (2002) pK2 corrected for fCO2,Dickson (1990),Total scale,Wanninkhof (1992),";
};

// The header line written out here byte for byte, not taken from the program:
// note the blank at the start of each of the last five names and
// "Temperature(C)" without a space.
constexpr std::string_view kHeaderLine =
    "SampleID,Name,Time,Date,Latitude (decimal degrees),Longitude (decimal degrees),Salinity (ppt),"
    "Temperature(C),Pressure (dbars),Total P (micromol/kgSW),Total Si (micromol/kgSW),TA (micromol/kgSW),"
    "TCO2 (micromol/kgSW),pH,fCO2 (microatm),pCO2 (microatm),HCO3 in (micromol/kgSW),CO3 in (micromol/kgSW),"
    "CO2 in (micromol/kgSW),B Alk in (micromol/kgSW),OH in (micromol/kgSW),P Alk in (micromol/kgSW),"
    "Si Alk in (micromol/kgSW),Revelle in,O Ca,O Ar in,xCO2 in (dry at 1 atm) (ppm),t(C) out,P (dbars) out,"
    "pH out,fCO2 out (microatm),pCO2 out (microatm),HCO3 out (micromol/kgSW),CO3 out (micromol/kgSW),"
    "CO2 out (micromol/kgSW),B Alk out (micromol/kgSW),OH out (micromol/kgSW),P Alk out (micromol/kgSW),"
    "Si Alk out (micromol/kgSW),Revelle out,O Ca out,O Ar out,xCO2 out (dry at 1 atm) (ppm),pCO2_air,"
    "Windspeed,CO2Flux in,CO2Flux out,CO2Constants, KHSO4, pH Scale, Air-Sea Flux, Windspeed Units, Comment\n";

TEST(OutputHeader, TheWholeLineByteForByte) {
    EXPECT_EQ(dataFileHeaders(), kHeaderLine);
    EXPECT_EQ(kHeaderLine.size(), 888u);
    EXPECT_EQ(columnCount(std::string(kHeaderLine)), 53);
}

TEST(OutputHeader, FiftyThreeNamesAndOneLineEnd) {
    const std::string header(dataFileHeaders());
    EXPECT_EQ(columnCount(header), 53);
    EXPECT_EQ(header.back(), '\n');
    EXPECT_EQ(header.find('\n'), header.size() - 1);
}

TEST(OutputNumbers, ThreeDecimalsOfTheWidenedFloat) {
    EXPECT_EQ(formatNumber(35.0f), "35.000");
    EXPECT_EQ(formatNumber(0.0004f), "0.000");
    EXPECT_EQ(formatNumber(-0.0004f), "-0.000");
    EXPECT_EQ(formatNumber(8.0765f), "8.076");  // the float is 8.07649993...
    EXPECT_EQ(formatNumber(1234567.0f), "1234567.000");
    EXPECT_EQ(formatNumber(std::numeric_limits<float>::infinity()), "inf");
    EXPECT_EQ(formatNumber(std::nanf("")), "nan");
    EXPECT_EQ(formatNumber(2.0005f), "2.000");  // the float is 2.000499963...
    EXPECT_EQ(formatNumber(3.4e38f), "339999995214436424907732413799364296704.000");
}

// Under a locale whose decimal point is a comma (printf would write "35,500")
// the numbers keep their point.
TEST(OutputNumbers, SameDigitsUnderADecimalCommaLocale) {
    const test::CommaLocale german;
    ASSERT_TRUE(german.ok()) << german.error();
    const test::ScopedCommaLocale numeric(german, LC_NUMERIC);
    ASSERT_TRUE(numeric.switched()) << "setlocale(LC_NUMERIC, \"" << test::CommaLocale::kName << "\") failed";
    ASSERT_STREQ(std::localeconv()->decimal_point, ",");
    char printed[32];
    std::snprintf(printed, sizeof printed, "%.3f", 35.5);
    ASSERT_STREQ(printed, "35,500");

    EXPECT_EQ(formatNumber(35.5f), "35.500");
    EXPECT_EQ(formatNumber(-0.0004f), "-0.000");
    EXPECT_EQ(formatNumber(8.0765f), "8.076");
    EXPECT_EQ(formatNumber(1234567.0f), "1234567.000");
    EXPECT_EQ(formatNumber(3.4e38f), "339999995214436424907732413799364296704.000");
}

TEST_F(RecordTest, FormRecordWithoutNameHas53ColumnsAndDefaultsForUntouchedPickers) {
    const std::string record = stringRecord();
    EXPECT_EQ(record, std::string("0,-,00:00:00,1/1/1900,12.5,45,") + kResults + kTitles + "m/s,deck sample\n");
    EXPECT_EQ(columnCount(record), 53);
    EXPECT_EQ(core.stringToWrite, record);
    EXPECT_TRUE(logged("BatchWriteMode = NO"));
}

// Every category switched, as a desktop session in Germany has it: the whole
// record keeps its points and its digits.
TEST_F(RecordTest, SameRecordUnderADecimalCommaLocale) {
    const test::CommaLocale german;
    ASSERT_TRUE(german.ok()) << german.error();
    const test::ScopedCommaLocale all(german, LC_ALL);
    ASSERT_TRUE(all.switched()) << "setlocale(LC_ALL, \"" << test::CommaLocale::kName << "\") failed";
    ASSERT_STREQ(std::localeconv()->decimal_point, ",");

    EXPECT_EQ(stringRecord(),
              std::string("0,-,00:00:00,1/1/1900,12.5,45,") + kResults + kTitles + "m/s,deck sample\n");
    const DictRecord dict = dictRecord();
    EXPECT_EQ(dict.at("Salinity"), "35.000");
    EXPECT_EQ(dict.at("TA"), "35.250");
    EXPECT_EQ(dict.at("pCO2 air"), "400.000");
}

TEST_F(RecordTest, FormRecordWithANameLosesTheNameColumn) {
    ui.setText(TextField::CruiseName, "Station Alpha");
    const std::string record = stringRecord();
    EXPECT_EQ(record, std::string("0,00:00:00,1/1/1900,12.5,45,") + kResults + kTitles + "m/s,deck sample\n");
    EXPECT_EQ(columnCount(record), 52);
    EXPECT_EQ(record.find("Station Alpha"), std::string::npos);
}

TEST_F(RecordTest, FormRecordIdsCountUpFromZero) {
    EXPECT_TRUE(stringRecord().starts_with("0,"));
    EXPECT_TRUE(stringRecord().starts_with("1,"));
    EXPECT_TRUE(stringRecord().starts_with("2,"));
    EXPECT_EQ(core.sampleID, 3u);
}

TEST_F(RecordTest, ChangedPickersWriteHourMonthSecondsAndTheDate) {
    ui.dates[DatePicker::CruiseTime] = CalendarDateTime{2024, 7, 1, 14, 35, 9};
    ui.dates[DatePicker::CruiseDate] = CalendarDateTime{2024, 11, 5, 0, 0, 0};
    const std::string record = stringRecord();
    EXPECT_EQ(column(record, 3), "14:07:09");  // hour, month, seconds
    EXPECT_EQ(column(record, 4), "11/05/2024");
    EXPECT_EQ(core.cruiseTimeCheck, 1);
    EXPECT_EQ(core.cruiseDateCheck, 1);
}

TEST_F(RecordTest, OnlyTheChangedPickerIsWritten) {
    ui.dates[DatePicker::CruiseDate] = CalendarDateTime{2024, 3, 2, 0, 0, 0};
    const std::string record = stringRecord();
    EXPECT_EQ(column(record, 3), "00:00:00");
    EXPECT_EQ(column(record, 4), "03/02/2024");
}

TEST_F(RecordTest, HemisphereLettersWithTheirAsymmetricBlanks) {
    ui.selectItem(Menu::CoordinateFormat, 1);
    ui.selectItem(Menu::CruiseLatitudeNS, 0);   // N
    ui.selectItem(Menu::CruiseLongitudeEW, 1);  // W
    const std::string record = stringRecord();
    EXPECT_TRUE(record.starts_with("0,-,00:00:00,1/1/1900,12.5 N,45 W, 35.000,25.000,")) << record;
    EXPECT_EQ(column(record, 5), "12.5 N");
    EXPECT_EQ(column(record, 6), "45 W");
    EXPECT_EQ(column(record, 7), " 35.000");  // the salinity column begins with a blank
}

TEST_F(RecordTest, DecimalDegreesWriteTheCoordinatesAsTyped) {
    ui.selectItem(Menu::CoordinateFormat, 0);
    ui.setText(TextField::CruiseLatitude, "-33.87");
    ui.setText(TextField::CruiseLongitude, "151.21");
    EXPECT_TRUE(stringRecord().starts_with("0,-,00:00:00,1/1/1900,-33.87,151.21,35.000,"));
}

TEST_F(RecordTest, OutputConditionsFallBackToInputConditions) {
    std::string record = stringRecord();
    EXPECT_EQ(column(record, 28), "25.000");
    EXPECT_EQ(column(record, 29), "0.000");

    Engine::sharedInstance()->setFieldValueAtPos(13, 100.0f);
    Engine::sharedInstance()->setFieldValueAtPos(16, 2.0f);
    record = stringRecord();
    EXPECT_EQ(column(record, 28), "2.000");
    EXPECT_EQ(column(record, 29), "100.000");

    Engine::sharedInstance()->setFieldValueAtPos(17, 4000.0f);
    record = stringRecord();
    EXPECT_EQ(column(record, 29), "4000.000");

    // Not a number counts as "not 0".
    Engine::sharedInstance()->setFieldValueAtPos(16, std::nanf(""));
    EXPECT_EQ(column(stringRecord(), 28), "nan");
}

TEST_F(RecordTest, FluxColumnsAreEmptyBelowTheSurface) {
    std::string record = stringRecord();
    EXPECT_EQ(column(record, 46), "69.250");
    EXPECT_EQ(column(record, 47), "71.250");

    Engine::sharedInstance()->setFieldValueAtPos(13, 10.0f);
    record = stringRecord();
    EXPECT_EQ(columnCount(record), 53);
    EXPECT_EQ(column(record, 46), "");
    EXPECT_EQ(column(record, 47), "");
    EXPECT_NE(record.find(",8.000,,,Millero"), std::string::npos);

    Engine::sharedInstance()->setFieldValueAtPos(13, -0.5f);
    EXPECT_EQ(column(stringRecord(), 46), "");
    Engine::sharedInstance()->setFieldValueAtPos(13, std::nanf(""));
    EXPECT_EQ(column(stringRecord(), 46), "");
    Engine::sharedInstance()->setFieldValueAtPos(13, -0.0f);
    EXPECT_EQ(column(stringRecord(), 46), "69.250");
}

TEST_F(RecordTest, TitlesLoseTheirCommas) {
    ui.titleOverrides[Menu::CO2Constants] = "Roy, et al., (1993)";
    ui.titleOverrides[Menu::KHSO4] = ",Dickson,";
    ui.titleOverrides[Menu::pHScale] = "Total, mol/kg";
    ui.titleOverrides[Menu::AirSeaFlux] = "W92,";
    ui.titleOverrides[Menu::WindSpeedUnits] = "m,/s";
    const std::string record = stringRecord();
    EXPECT_TRUE(record.ends_with(",Roy et al. (1993),Dickson,Total mol/kg,W92,m/s,deck sample\n")) << record;
    EXPECT_EQ(columnCount(record), 53);

    const DictRecord dict = dictRecord();
    EXPECT_EQ(dict.at("CO2 Constants"), "Roy et al. (1993)");
    EXPECT_EQ(dict.at("KHSO4"), "Dickson");
    EXPECT_EQ(dict.at("pH Scale"), "Total mol/kg");
    EXPECT_EQ(dict.at("Air-Sea Flux"), "W92");
    EXPECT_EQ(dict.at("Windspeed Units"), "m/s");
}

TEST_F(RecordTest, FormRecordWindUnitsAreTheMenuTitle) {
    ui.selectItem(Menu::WindSpeedUnits, 1);
    EXPECT_EQ(column(stringRecord(), 52), "knots");
}

TEST_F(RecordTest, FormCommentIsWrittenAsTyped) {
    ui.setText(TextField::CruiseComment, "rough\rsea");
    EXPECT_TRUE(stringRecord().ends_with(",m/s,rough\rsea\n"));
}

class BatchRecordTest : public RecordTest {
protected:
    BatchRecordTest() {
        core.batchWriteMode = 1;
        core.cruiseInformationDictionary = {{"SampleID", "7"},        {"Name", "St 7"},
                                            {"Time", "12:30"},        {"Date", "5/6/2021"},
                                            {"Latitude", "-30.5"},    {"Longitude", "120.25"},
                                            {"Comment", "line one\r"}};
        ui.selectItem(Menu::WindSpeedUnits, 1);  // knots on the form; batches are m/s
    }
};

TEST_F(BatchRecordTest, BatchRecordCarriesTheLineAsRead) {
    const std::string record = stringRecord();
    EXPECT_EQ(record, std::string("7,St 7,12:30,5/6/2021,-30.5,120.25,") + kResults + kTitles + "m/s,line one\n");
    EXPECT_EQ(columnCount(record), 53);
    EXPECT_FALSE(logged("BatchWriteMode = NO"));
    EXPECT_EQ(core.sampleID, 0u);  // batch records do not count
}

TEST_F(BatchRecordTest, CarriageReturnsAreStrippedFromTheComment) {
    core.cruiseInformationDictionary["Comment"] = "\rcalm\r\rsea\r";
    EXPECT_TRUE(stringRecord().ends_with(",m/s,calmsea\n"));
}

TEST_F(BatchRecordTest, CommentCommasSpillIntoFurtherColumns) {
    core.cruiseInformationDictionary["Comment"] = "a,b,c";
    const std::string record = stringRecord();
    EXPECT_TRUE(record.ends_with(",m/s,a,b,c\n"));
    EXPECT_EQ(columnCount(record), 55);
}

TEST_F(BatchRecordTest, UnknownWriteModeLeavesThePrefixOut) {
    core.batchWriteMode = 2;
    const std::string record = stringRecord();
    EXPECT_TRUE(logged("Unknown batchWriteMode"));
    EXPECT_TRUE(record.starts_with("35.000,25.000,"));
    // Not exactly 1: the units come from the menu; not 0: the comment from the line.
    EXPECT_TRUE(record.ends_with(",knots,line one\n")) << record;
}

TEST_F(BatchRecordTest, UnknownFormatGivesNothing) {
    EXPECT_TRUE(std::holds_alternative<std::monostate>(core.formatOutputAs("Array")));
    EXPECT_TRUE(logged("Unknown format to return"));
}

TEST_F(BatchRecordTest, DictRecordKeysAndValues) {
    const DictRecord dict = dictRecord();
    EXPECT_EQ(dict.size(), dictRecordKeys().size());
    for (const auto key : dictRecordKeys()) EXPECT_TRUE(dict.contains(key)) << key;
    EXPECT_EQ(dict.at("SampleID"), "7");
    EXPECT_EQ(dict.at("Name"), "St 7");
    EXPECT_EQ(dict.at("Comment"), "line one\r");
    EXPECT_EQ(dict.at("Salinity"), "35.000");
    EXPECT_EQ(dict.at("TA"), "35.250");
    EXPECT_EQ(dict.at("Omega Ar"), "49.250");
    EXPECT_EQ(dict.at("Output Temperature"), "25.000");
    EXPECT_EQ(dict.at("Output Pressure"), "0.000");
    EXPECT_EQ(dict.at("Output xCO2"), "67.250");
    EXPECT_EQ(dict.at("pCO2 air"), "400.000");
    EXPECT_EQ(dict.at("Windspeed"), "8.000");
    EXPECT_EQ(dict.at("CO2 Flux"), "69.250");
    EXPECT_EQ(dict.at("Output CO2 Flux"), "71.250");
    // The last of the three settings of the units stands: the menu's title.
    EXPECT_EQ(dict.at("Windspeed Units"), "knots");
    EXPECT_FALSE(dict.contains("xCO2"));

    Engine::sharedInstance()->setFieldValueAtPos(13, 5.0f);
    const DictRecord deep = dictRecord();
    EXPECT_EQ(deep.at("CO2 Flux"), "");
    EXPECT_EQ(deep.at("Output CO2 Flux"), "");
    EXPECT_EQ(deep.at("Output Pressure"), "5.000");
}

TEST_F(BatchRecordTest, SaveStringAppendsOneRecord) {
    const std::string path = useOutput();
    ASSERT_TRUE(core.saveString());
    ASSERT_TRUE(core.saveString());
    const std::string record = std::string("7,St 7,12:30,5/6/2021,-30.5,120.25,") + kResults + kTitles +
                               "m/s,line one\n";
    EXPECT_EQ(readFile(path), std::string(dataFileHeaders()) + record + record);
    EXPECT_TRUE(logged("stringToWrite: " + record));
}

TEST_F(BatchRecordTest, SaveStringWithoutAFileLosesTheRecordQuietly) {
    core.fullPathOut = (dir / "never-created.csv").string();
    EXPECT_FALSE(core.saveString());
    EXPECT_FALSE(std::filesystem::exists(core.fullPathOut));
    EXPECT_TRUE(presented.empty());
}

}  // namespace
}  // namespace brinora

namespace brinora {
namespace {

// The "Dict" keys in the order they are set; xCO2 at input conditions has no key.
TEST(DictRecordKeys, AreTheCruiseKeysTheQuantitiesInRecordOrderAndTheOptions) {
    const std::vector<std::string_view> expected = {
        "SampleID", "Name", "Time", "Date", "Latitude", "Longitude", "Comment",
        "Salinity", "Temperature", "Pressure", "Total P", "Total Si", "TA", "TCO2", "pH",
        "fCO2", "pCO2", "HCO3", "CO3", "CO2", "B Alk", "OH", "P Alk", "Si Alk", "Revelle",
        "Omega Ca", "Omega Ar", "Output Temperature", "Output Pressure", "Output pH",
        "Output fCO2", "Output pCO2", "Output HCO3", "Output CO3", "Output CO2",
        "Output B Alk", "Output OH", "Output P Alk", "Output Si Alk", "Output Revelle",
        "Output Omega Ca", "Output Omega Ar", "Output xCO2", "pCO2 air", "Windspeed",
        "CO2 Flux", "Output CO2 Flux", "Windspeed Units", "CO2 Constants", "KHSO4",
        "pH Scale", "Air-Sea Flux"};
    const auto keys = dictRecordKeys();
    EXPECT_EQ(std::vector<std::string_view>(keys.begin(), keys.end()), expected);
}

}  // namespace
}  // namespace brinora
