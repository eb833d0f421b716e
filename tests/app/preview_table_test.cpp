#include "app/preview_table.h"

#include <gtest/gtest.h>

#include "app/settings_keys.h"
#include "app/plain_ui.h"
#include "log/log.h"

namespace brinora {
namespace {

class PreviewTableTest : public ::testing::Test {
protected:
    PreviewTableTest() : sink([this](std::string_view line) { logLines.emplace_back(line); }) {
        for (int k = 1; k <= 3; ++k) {
            model.addToPreviewTable({{"SampleID", std::to_string(k)}, {"pH", "8.0" + std::to_string(k)}});
        }
    }
    PlainUi ui;
    MemorySettings defaults;
    PreviewTableModel model{ui, defaults};
    std::vector<std::string> logLines;
    log::ScopedSink sink;
};

TEST_F(PreviewTableTest, FiveRowsForThreeRecordsTheLastTwoEmpty) {
    defaults.setValue(settings::kNumberOfLinesInPreview, "5");
    ASSERT_EQ(model.numberOfRowsInTableView(), 5);
    EXPECT_EQ(model.objectValue("SampleID", 0), "1");
    EXPECT_EQ(model.objectValue("pH", 2), "8.03");
    EXPECT_EQ(model.objectValue("SampleID", 3), "");
    EXPECT_EQ(model.objectValue("pH", 4), "");
    EXPECT_EQ(model.previewTableLengthInt, 5);
    EXPECT_EQ(ui.stepper, 5);
    EXPECT_EQ(ui.text(TextField::PreviewTableLength), "5");
}

TEST_F(PreviewTableTest, LengthZeroShowsFiveEmptyRows) {
    model.clearPreviewTable();
    defaults.setValue(settings::kNumberOfLinesInPreview, "0");
    ASSERT_EQ(model.numberOfRowsInTableView(), 5);
    for (int row = 0; row < 5; ++row) EXPECT_EQ(model.objectValue("SampleID", row), "");
    EXPECT_EQ(ui.text(TextField::PreviewTableLength), "0");
    EXPECT_EQ(ui.stepper, 0);
}

TEST_F(PreviewTableTest, RowCountIsTheLengthNotTheRecordCount) {
    defaults.setValue(settings::kNumberOfLinesInPreview, "2");
    EXPECT_EQ(model.numberOfRowsInTableView(), 2);
    defaults.setValue(settings::kNumberOfLinesInPreview, "12");
    EXPECT_EQ(model.numberOfRowsInTableView(), 12);
}

TEST_F(PreviewTableTest, MissingStoredLengthCountsAsZero) {
    EXPECT_EQ(model.numberOfRowsInTableView(), 5);
    EXPECT_EQ(model.previewTableLengthInt, 0);
}

TEST_F(PreviewTableTest, UnknownColumnShowsEmptyCells) {
    EXPECT_EQ(model.objectValue("No Such Column", 0), "");
    EXPECT_EQ(model.objectValue("SampleID", -1), "");
}

TEST_F(PreviewTableTest, ClearLogsAndEmpties) {
    int changes = 0;
    model.onRecordsChanged = [&changes] { ++changes; };
    model.clearPreviewTable();
    EXPECT_TRUE(model.previewTable().empty());
    EXPECT_EQ(logLines, std::vector<std::string>{"preview Table cleared"});
    EXPECT_EQ(changes, 1);
}

TEST_F(PreviewTableTest, StepperChangesAreOverwrittenByTheNextRowCount) {
    defaults.setValue(settings::kNumberOfLinesInPreview, "5");
    model.controlDidChange(8);
    EXPECT_EQ(model.previewTableLengthInt, 8);
    EXPECT_EQ(ui.stepper, 8);
    EXPECT_EQ(ui.text(TextField::PreviewTableLength), "8");
    // Not stored (only the refresh button stores it), so the table reloads 5.
    EXPECT_EQ(model.numberOfRowsInTableView(), 5);
    EXPECT_EQ(ui.stepper, 5);
}

}  // namespace
}  // namespace brinora
