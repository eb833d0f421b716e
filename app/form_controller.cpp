#include "app/form_controller.h"

#include <algorithm>

#include "input/lenient_number.h"
#include "records/output_record.h"
#include "engine/compute_co2.h"
#include "engine/refusals.h"
#include "engine/slots.h"

namespace brinora {

namespace {

// Highest board position counted by the sufficiency test (pCO2).
constexpr std::uint32_t kLastCountedSlot = slot::kpCO2;

void addOnce(std::vector<BoundField*>& fields, BoundField* field) {
    if (field && std::find(fields.begin(), fields.end(), field) == fields.end()) {
        fields.push_back(field);
    }
}

}  // namespace

std::string refusedSampleMessage(const ComputeOutcome& outcome) {
    const int code = refusalCode(outcome);
    if (code == refusal::kComputed) return {};
    return "Nothing was calculated: " + refusalReason(code) +
           ". The results were cleared and nothing was written to the output file.";
}

FormController::FormController(BrinoraAppControllerCore& core, AppUi& ui, TabViews& tabs,
                               Engine& board)
    : core_(core), ui_(ui), tabs_(tabs), board_(board) {}

void FormController::registerInput(BoundField* field) { addOnce(inputFields_, field); }

void FormController::registerOutput(BoundField* field) { addOnce(outputFields_, field); }

void FormController::pushInputValue(BoundField& field) {
    board_.setFieldValueAtPos(field.tag(), lenientFloat(field.text()));
}

void FormController::pullOutputValue(BoundField& field) {
    field.setText(formatNumber(board_.getFieldValueAtPos(field.tag())));
}

void FormController::clearOutputValue(BoundField& field) { field.setText(""); }

BoundField* FormController::inputFieldWithTag(std::uint32_t tag) const {
    for (BoundField* field : inputFields_) {
        if (field->tag() == tag) return field;
    }
    return nullptr;
}

int FormController::countNonZeroInputSlots() const {
    int count = 0;
    for (std::uint32_t pos = 0; pos <= kLastCountedSlot; ++pos) {
        // A not-a-number value compares unequal to 0 and so counts.
        if (board_.getFieldValueAtPos(pos) != 0.0f) ++count;
    }
    return count;
}

void FormController::presentAppError(std::string_view message) {
    ui_.presentError(PresentedError{"BrinoraApp", 0, std::string(message)});
}

bool FormController::calculate() {
    if (tabs_.selectedTab(TabView::DataConstants) == 1) {
        presentAppError(kReturnToDataInputMessage);
        return false;
    }
    if (tabs_.selectedTab(TabView::SingleBatch) == 1) {
        const std::string message = core_.batchProcess(ui_.text(TextField::PathField), false);
        // A run's stopping message only reaches the log, except when a record
        // could not be written: then the output file is incomplete, and the
        // user is told.
        if (core_.failedWrites > 0) presentAppError(message);
        return false;
    }

    core_.batchWriteMode = 0;
    for (BoundField* field : inputFields_) pushInputValue(*field);
    core_.updateConstants();

    const std::string name = ui_.text(TextField::CruiseName);
    const std::string comment = ui_.text(TextField::CruiseComment);
    if (name.find(',') != std::string::npos || comment.find(',') != std::string::npos) {
        presentAppError(kRemoveCommasMessage);
        return false;
    }

    if (!core_.checkForConstants()) return false;

    const BoundField* salinity = inputFieldWithTag(slot::kSalinity);
    const BoundField* temperature = inputFieldWithTag(slot::kTemperature);
    const bool sufficient = salinity && !salinity->text().empty() && temperature &&
                            !temperature->text().empty() && countNonZeroInputSlots() >= 2;
    if (!sufficient) {
        ui_.logLine(kInsufficientDataLogLine);
        presentAppError(kInsufficientDataMessage);
        return false;
    }

    ComputeOutcome outcome;
    if (core_.computeCO2) {
        core_.computeCO2(board_.board());
    } else {
        outcome = BrinoraMain::ComputeCO2();
    }
    if (!outcome.computed()) {
        // The board still holds the previous sample's results: none of them
        // may stay on screen or reach the output file as this sample's.
        for (BoundField* field : outputFields_) clearOutputValue(*field);
        presentAppError(refusedSampleMessage(outcome));
        return false;
    }
    for (BoundField* field : outputFields_) pullOutputValue(*field);

    tabs_.selectTab(TabView::Main, 1);
    const float outputConditions = board_.getFieldValueAtPos(slot::kTemperatureOut) +
                                   board_.getFieldValueAtPos(slot::kPressureOut);
    tabs_.selectTab(TabView::Sub, outputConditions != 0.0f ? 1 : 0);

    if (ui_.checkBoxState() == 1 && !core_.saveString()) {
        presentAppError("The record could not be written to the output file (" + core_.lastWriteError + ").");
    }
    return true;
}

void FormController::clear() {
    board_.reset();
    for (BoundField* field : outputFields_) clearOutputValue(*field);
    for (BoundField* field : inputFields_) clearOutputValue(*field);
}

void FormController::switchToInput() {
    tabs_.selectTab(TabView::SingleBatch, 0);
    tabs_.selectTab(TabView::DataConstants, 0);
    tabs_.selectTab(TabView::Main, 0);
}

void FormController::switchToResultsInputConditions() {
    tabs_.selectTab(TabView::SingleBatch, 0);
    tabs_.selectTab(TabView::DataConstants, 0);
    tabs_.selectTab(TabView::Main, 1);
    tabs_.selectTab(TabView::Sub, 0);
}

void FormController::switchToResultsOutputConditions() {
    tabs_.selectTab(TabView::SingleBatch, 0);
    tabs_.selectTab(TabView::DataConstants, 0);
    tabs_.selectTab(TabView::Main, 1);
    tabs_.selectTab(TabView::Sub, 1);
}

void FormController::switchToConstants() {
    tabs_.selectTab(TabView::SingleBatch, 0);
    tabs_.selectTab(TabView::DataConstants, 1);
}

void FormController::switchToBatchProcessing() { tabs_.selectTab(TabView::SingleBatch, 1); }

void FormController::awakeFromNib() {
    for (const TabView view : {TabView::SingleBatch, TabView::DataConstants, TabView::Main, TabView::Sub}) {
        tabs_.selectTab(view, 0);
    }
}

}  // namespace brinora
