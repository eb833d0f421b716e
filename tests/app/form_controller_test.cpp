// The one-sample form without a toolkit: plain fields and tab views around
// the real controller core, field board and chemistry.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "app/form_controller.h"
#include "app/controller_core.h"
#include "records/output_record.h"
#include "app/plain_ui.h"
#include "constants/process_values.h"
#include "engine/compute_co2.h"
#include "engine/engine.h"
#include "engine/slots.h"
#include "log/log.h"
#include "tests/support/files.h"

namespace brinora::testing {
namespace {

class PlainField : public BoundField {
public:
    explicit PlainField(std::uint32_t tag) : tag_(tag) {}
    std::uint32_t tag() const override { return tag_; }
    std::string text() const override { return text_; }
    void setText(std::string_view text) override { text_ = std::string(text); }

private:
    std::uint32_t tag_;
    std::string text_;
};

class PlainTabs : public TabViews {
public:
    int selectedTab(TabView view) const override {
        const auto found = selected.find(view);
        return found == selected.end() ? 0 : found->second;
    }
    void selectTab(TabView view, int index) override { selected[view] = index; }
    std::map<TabView, int> selected;
};

// The input slots of the form and the result slots it shows.
constexpr std::uint32_t kInputTags[] = {11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24};
constexpr std::uint32_t kOutputTags[] = {30, 31, 32, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42, 43, 44, 45,
                                         46, 47, 48, 49, 50, 52, 53, 54, 55, 56, 57, 58, 59, 60, 61, 62,
                                         63, 64, 65, 66, 67, 69, 70, 71, 72};

std::string formatted(float value) {
    char text[64];
    std::snprintf(text, sizeof text, "%.3f", static_cast<double>(value));
    return text;
}

class FormControllerTest : public ::testing::Test {
protected:
    FormControllerTest()
        : core(ui, defaults),
          form(core, ui, tabs, *Engine::sharedInstance()),
          sink([this](std::string_view line) { logLines.emplace_back(line); }) {
        Engine::sharedInstance()->reset();
        for (const auto tag : kInputTags) {
            inputs[tag] = std::make_unique<PlainField>(tag);
            form.registerInput(inputs[tag].get());
        }
        for (const auto tag : kOutputTags) {
            outputs[tag] = std::make_unique<PlainField>(tag);
            form.registerOutput(outputs[tag].get());
        }
        ui.onPresentError = [this](const PresentedError& error) { errors.push_back(error); };
        form.awakeFromNib();
        core.awakeFromNib();
    }
    ~FormControllerTest() override { Engine::sharedInstance()->reset(); }

    void type(std::uint32_t tag, const std::string& text) { inputs.at(tag)->setText(text); }
    std::string shown(std::uint32_t tag) const { return outputs.at(tag)->text(); }
    float slotValue(std::uint32_t pos) const { return Engine::sharedInstance()->getFieldValueAtPos(pos); }

    void chooseOptions(int constants = 13, int khso4 = 1, int scale = 1, int flux = 1) {
        ui.selectItem(Menu::CO2Constants, constants);
        ui.selectItem(Menu::KHSO4, khso4);
        ui.selectItem(Menu::pHScale, scale);
        ui.selectItem(Menu::AirSeaFlux, flux);
    }

    void typeSample() {
        type(11, "35");
        type(12, "25");
        type(13, "0");
        type(14, "1");
        type(15, "10");
        type(18, "2300");
        type(19, "2000");
    }

    std::string onlyMessage() const {
        if (errors.size() != 1) return "<" + std::to_string(errors.size()) + " messages>";
        EXPECT_EQ(errors.front().domain, "BrinoraApp");
        EXPECT_EQ(errors.front().code, 0);
        return errors.front().localizedDescription;
    }

    PlainUi ui;
    MemorySettings defaults;
    PlainTabs tabs;
    BrinoraAppControllerCore core;
    FormController form;
    std::map<std::uint32_t, std::unique_ptr<PlainField>> inputs;
    std::map<std::uint32_t, std::unique_ptr<PlainField>> outputs;
    std::vector<PresentedError> errors;
    std::vector<std::string> logLines;
    log::ScopedSink sink;
};

TEST_F(FormControllerTest, CalculatesAndShowsEveryResultWithThreeDecimals) {
    chooseOptions();
    typeSample();
    form.calculate();
    ASSERT_TRUE(errors.empty()) << errors.front().localizedDescription;

    // The same sample computed on a board of its own.
    Board board;
    board.set(1, 12.0f);
    board.set(2, 0.0f);
    board.set(3, 0.0f);
    board.set(4, 0.0f);
    board.set(11, 35.0f);
    board.set(12, 25.0f);
    board.set(14, 1.0f);
    board.set(15, 10.0f);
    board.set(18, 2300.0f);
    board.set(19, 2000.0f);
    ProcessValues values;
    ASSERT_TRUE(BrinoraMain::ComputeCO2(board, values).computed());
    for (const auto tag : kOutputTags) EXPECT_EQ(shown(tag), formatted(board.get(tag))) << "slot " << tag;
    EXPECT_EQ(shown(35), "2300.000");
    EXPECT_EQ(shown(36), "2000.000");
    const double pH = std::stod(shown(37));
    EXPECT_GT(pH, 7.5);
    EXPECT_LT(pH, 8.5);
}

TEST_F(FormControllerTest, ResultsTabFollowsOutputConditions) {
    chooseOptions();
    typeSample();
    form.calculate();
    EXPECT_EQ(tabs.selectedTab(TabView::Main), 1);
    EXPECT_EQ(tabs.selectedTab(TabView::Sub), 0);

    type(16, "2");
    type(17, "4000");
    form.calculate();
    EXPECT_EQ(tabs.selectedTab(TabView::Main), 1);
    EXPECT_EQ(tabs.selectedTab(TabView::Sub), 1);
    EXPECT_EQ(shown(52), "2.000");
    EXPECT_EQ(shown(53), "4000.000");
}

TEST_F(FormControllerTest, ConstantsTabInFrontOnlyAsksToReturn) {
    chooseOptions();
    typeSample();
    tabs.selectTab(TabView::DataConstants, 1);
    form.calculate();
    EXPECT_EQ(onlyMessage(), "Return to the data input tab to perform the calculation");
    EXPECT_EQ(slotValue(11), 0.0f) << "nothing was pushed";
    EXPECT_EQ(shown(37), "");
}

TEST_F(FormControllerTest, CommaInCommentRefusesEvenWithAllValues) {
    chooseOptions();
    typeSample();
    ui.setText(TextField::CruiseComment, "bottle 3, surface");
    form.calculate();
    EXPECT_EQ(onlyMessage(), "Please remove commas from the sample information text boxes.");
    EXPECT_EQ(slotValue(11), 35.0f) << "the values were pushed before the check";
    EXPECT_EQ(slotValue(1), 12.0f);
    EXPECT_EQ(shown(37), "");
}

TEST_F(FormControllerTest, CommaInNameRefuses) {
    chooseOptions();
    typeSample();
    ui.setText(TextField::CruiseName, "Station 4,5");
    form.calculate();
    EXPECT_EQ(onlyMessage(), "Please remove commas from the sample information text boxes.");
}

TEST_F(FormControllerTest, PlaceholderOptionRefuses) {
    for (const Menu menu : {Menu::CO2Constants, Menu::KHSO4, Menu::pHScale, Menu::AirSeaFlux}) {
        errors.clear();
        chooseOptions();
        ui.selectItem(menu, 0);
        typeSample();
        form.calculate();
        EXPECT_EQ(onlyMessage(),
                  "To perform the calculation, Brinora needs constants, scales, and units supplied by "
                  "the user. Click \"Select...\" to provide these parameters.");
        EXPECT_EQ(shown(37), "");
    }
}

TEST_F(FormControllerTest, FluxInputsMustComeTogether) {
    chooseOptions();
    typeSample();
    type(24, "8");
    ui.setText(TextField::Windspeed, "8");
    form.calculate();
    EXPECT_EQ(onlyMessage(), "pCO2air is required to calculate Air-Sea flux");

    errors.clear();
    type(24, "");
    type(23, "400");
    ui.setText(TextField::Windspeed, "");
    ui.setText(TextField::PCO2Air, "400");
    form.calculate();
    EXPECT_EQ(onlyMessage(), "Windspeed is required to calculate Air-Sea flux");
}

TEST_F(FormControllerTest, MissingSalinityRefusesWithLogLine) {
    chooseOptions();
    typeSample();
    type(11, "");
    form.calculate();
    EXPECT_EQ(onlyMessage(),
              "To perform the calculation, Brinora needs values for salinity, temperature, and at "
              "least two carbonate parameters from the second column.");
    EXPECT_NE(std::find(logLines.begin(), logLines.end(), "Insufficient data to perform the calculation"),
              logLines.end());
}

TEST_F(FormControllerTest, MissingTemperatureRefuses) {
    chooseOptions();
    typeSample();
    type(12, "");
    form.calculate();
    EXPECT_EQ(onlyMessage(),
              "To perform the calculation, Brinora needs values for salinity, temperature, and at "
              "least two carbonate parameters from the second column.");
}

TEST_F(FormControllerTest, SalinityAndTemperatureAloneAreEnoughForTheCount) {
    chooseOptions();
    type(11, "35");
    type(12, "25");
    form.calculate();
    EXPECT_TRUE(errors.empty());
    EXPECT_EQ(tabs.selectedTab(TabView::Main), 1);
    EXPECT_GE(form.countNonZeroInputSlots(), 2);
}

TEST_F(FormControllerTest, CountIncludesOptionSlotsAndNotANumber) {
    Engine* board = Engine::sharedInstance();
    EXPECT_EQ(form.countNonZeroInputSlots(), 0);
    board->setFieldValueAtPos(1, 12.0f);
    board->setFieldValueAtPos(22, std::nanf(""));
    board->setFieldValueAtPos(23, 400.0f);  // beyond the counted range
    EXPECT_EQ(form.countNonZeroInputSlots(), 2);
}

TEST_F(FormControllerTest, LenientPushAndFormattedPull) {
    type(11, "12.5abc");
    form.pushInputValue(*inputs.at(11));
    EXPECT_EQ(slotValue(11), 12.5f);
    type(11, "abc");
    form.pushInputValue(*inputs.at(11));
    EXPECT_EQ(slotValue(11), 0.0f);
    Engine::sharedInstance()->setFieldValueAtPos(35, 35.0f);
    form.pullOutputValue(*outputs.at(35));
    EXPECT_EQ(shown(35), "35.000");
    Engine::sharedInstance()->setFieldValueAtPos(35, 0.0004f);
    form.pullOutputValue(*outputs.at(35));
    EXPECT_EQ(shown(35), "0.000");
}

TEST_F(FormControllerTest, KnotsAreConvertedOnlyForTheForm) {
    chooseOptions();
    typeSample();
    type(23, "400");
    type(24, "10");
    ui.setText(TextField::PCO2Air, "400");
    ui.setText(TextField::Windspeed, "10");
    ui.selectItem(Menu::WindSpeedUnits, 1);
    form.calculate();
    ASSERT_TRUE(errors.empty());
    EXPECT_EQ(slotValue(24), static_cast<float>(10.0 * 0.5144));
    EXPECT_EQ(formatted(slotValue(24)), "5.144");

    ui.selectItem(Menu::WindSpeedUnits, 0);
    form.calculate();
    EXPECT_EQ(slotValue(24), 10.0f);
}

TEST_F(FormControllerTest, ClearEmptiesFieldsAndBoard) {
    chooseOptions();
    typeSample();
    form.calculate();
    ASSERT_EQ(shown(35), "2300.000");
    form.clear();
    for (std::uint32_t pos = 0; pos < Board::kSize; ++pos) EXPECT_EQ(slotValue(pos), 0.0f) << pos;
    for (const auto& [tag, field] : inputs) EXPECT_EQ(field->text(), "") << tag;
    for (const auto& [tag, field] : outputs) EXPECT_EQ(field->text(), "") << tag;
}

TEST_F(FormControllerTest, CheckBoxAppendsTheRecord) {
    const auto folder = std::filesystem::temp_directory_path() /
                        ("brinora-form-" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()));
    std::filesystem::create_directories(folder);
    const auto path = folder / "records.csv";
    ui.onSavePanel = [&](const SavePanelRequest&) { return std::optional<std::string>(path.string()); };
    core.newFileForOutput();
    ASSERT_EQ(ui.checkBoxState(), 1);

    chooseOptions();
    typeSample();
    form.calculate();
    form.calculate();
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    const std::string content = text.str();
    EXPECT_EQ(content.rfind(std::string(dataFileHeaders()), 0), 0u);
    const std::string records = content.substr(dataFileHeaders().size());
    EXPECT_EQ(records.rfind("0,-,00:00:00,1/1/1900,", 0), 0u) << records;
    EXPECT_NE(records.find("\n1,-,00:00:00,1/1/1900,"), std::string::npos) << records;
    std::filesystem::remove_all(folder);
}

TEST_F(FormControllerTest, NoRecordWithCheckBoxOff) {
    testing::ScratchFolder folder("form-test");
    const std::string path = folder.path() + "/records.csv";
    testing::writeFile(path, std::string(dataFileHeaders()));
    chooseOptions();
    typeSample();
    core.outputFileOpened(path);
    ui.setCheckBoxState(0);
    form.calculate();
    // The sample is calculated and shown, and no record is made or written.
    EXPECT_EQ(shown(slot::kTAOut), "2300.000");
    EXPECT_EQ(core.stringToWrite, "");
    EXPECT_EQ(core.sampleID, 0u);
    EXPECT_TRUE(errors.empty());
    EXPECT_EQ(testing::readFile(path), std::string(dataFileHeaders()));
}

TEST_F(FormControllerTest, RecordThatCannotBeWrittenIsShown) {
    chooseOptions();
    typeSample();
    core.outputFileOpened("/nonexistent/records.csv");
    form.calculate();
    EXPECT_EQ(onlyMessage(),
              "The record could not be written to the output file (cannot open \"/nonexistent/records.csv\": "
              "No such file or directory).");
    EXPECT_EQ(shown(slot::kTAOut), "2300.000");  // the results are shown all the same
}

TEST_F(FormControllerTest, BatchRecordThatCannotBeWrittenIsShown) {
    const auto folder = std::filesystem::temp_directory_path() /
                        ("brinora-form-batch-" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()));
    std::filesystem::create_directories(folder);
    const std::string input = (folder / "in.csv").string();
    std::ofstream(input) << "SampleID,Name,Time,Date,Latitude,Longitude,Salinity,Temperature,Pressure,Phosphate,"
                            "Silicate,TempOut,PressureOut,TA,TCO2,pH,fCO2,pCO2,pCO2air,Windspeed,Comment\n"
                            "1,A,,,0,0,35,20,0,0,0,,,2300,2000,,,,,,\n";
    chooseOptions();
    core.batchInputFilesChosen({input});
    core.fullPathOut = (folder / "missing.csv").string();
    tabs.selectTab(TabView::SingleBatch, 1);
    form.calculate();
    EXPECT_EQ(onlyMessage(), "The record could not be written to the output file (cannot open \"" +
                                 core.fullPathOut + "\": No such file or directory).");
    EXPECT_EQ(core.recordsWritten, 0);
    EXPECT_EQ(core.failedWrites, 1);
    std::filesystem::remove_all(folder);
}

TEST_F(FormControllerTest, TabSwitchingActions) {
    form.switchToBatchProcessing();
    EXPECT_EQ(tabs.selectedTab(TabView::SingleBatch), 1);
    form.switchToConstants();
    EXPECT_EQ(tabs.selectedTab(TabView::SingleBatch), 0);
    EXPECT_EQ(tabs.selectedTab(TabView::DataConstants), 1);
    form.switchToResultsOutputConditions();
    EXPECT_EQ(tabs.selectedTab(TabView::DataConstants), 0);
    EXPECT_EQ(tabs.selectedTab(TabView::Main), 1);
    EXPECT_EQ(tabs.selectedTab(TabView::Sub), 1);
    form.switchToResultsInputConditions();
    EXPECT_EQ(tabs.selectedTab(TabView::Sub), 0);
    form.switchToInput();
    EXPECT_EQ(tabs.selectedTab(TabView::Main), 0);
    EXPECT_EQ(tabs.selectedTab(TabView::Sub), 0) << "switchToInput leaves the results tab as it is";
}

TEST_F(FormControllerTest, BatchTabStartsTheBatchRun) {
    chooseOptions();
    tabs.selectTab(TabView::SingleBatch, 1);
    ui.setText(TextField::PathField, "/somewhere/input.csv");
    form.calculate();
    EXPECT_NE(std::find(logLines.begin(), logLines.end(), "Batch process called, all records"),
              logLines.end());
    EXPECT_EQ(core.batchWriteMode, 0);
}

TEST_F(FormControllerTest, RegistersEachFieldOnce) {
    form.registerInput(inputs.at(11).get());
    form.registerOutput(outputs.at(35).get());
    EXPECT_EQ(form.inputFields().size(), std::size(kInputTags));
    EXPECT_EQ(form.outputFields().size(), std::size(kOutputTags));
    EXPECT_EQ(form.inputFieldWithTag(12), inputs.at(12).get());
    EXPECT_EQ(form.inputFieldWithTag(99), nullptr);
}

}  // namespace
}  // namespace brinora::testing
