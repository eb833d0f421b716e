// The batch tab's runs as the window starts and ends them: the checks of the
// output file before a full run, the KML button, Cancel, and the report of a
// run that a line stopped or the user cancelled.
#include <QAction>
#include <QCloseEvent>

#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include "app/option_titles.h"
#include "output/output_start.h"
#include "records/output_record.h"
#include "gui/brinora_app_controller.h"
#include "gui/window_fit.h"

namespace brinora {
namespace {

constexpr std::string_view kErrorDomain = "BrinoraApp";

// "1 record of this run is", "9 records of this run are".
std::string recordsOfThisRun(int count) {
    return count == 1 ? std::string("1 record of this run is")
                      : std::to_string(count) + " records of this run are";
}

}  // namespace

bool BrinoraAppController::refuseWithoutOptions() {
    for (const Menu option : {Menu::CO2Constants, Menu::KHSO4, Menu::pHScale, Menu::AirSeaFlux}) {
        if (selectedIndex(option) != 0) continue;
        const std::string message(options::kChooseOptionsMessage);
        logLine(message);
        presentError(PresentedError{std::string(kErrorDomain), 0, message});
        return true;
    }
    return false;
}

void BrinoraAppController::startBatchRun() {
    if (batchRunning()) return;
    // A record computed with an option on "Select..." holds no number.
    if (refuseWithoutOptions()) return;
    const std::string input = text(TextField::PathField);
    const std::string output = text(TextField::PathFieldOut);
    const auto refuse = [this](const std::string& message) {
        logLine(message);
        presentError(PresentedError{std::string(kErrorDomain), 0, message});
    };
    if (input.empty()) {
        refuse("Choose the batch input file before running the batch.");
        return;
    }
    if (output.empty()) {
        refuse("Choose the output file before running the batch.");
        return;
    }

    // Records go only after the header line of an output file: never into a
    // KML document or any other file that a path once named.
    const OutputStartCheck check = examineOutputFile(output, dataFileHeaders());
    switch (check.state) {
        case OutputStart::kUnreadable:
            refuse("The output file \"" + output + "\" cannot be opened (" + std::strerror(check.errorNumber) +
                   "). Choose the output file again.");
            return;
        case OutputStart::kOtherContent:
            refuse("The output file \"" + output +
                   "\" does not begin with the header line of a Brinora output file, so no records are "
                   "added to it. Choose a new output file.");
            return;
        case OutputStart::kHoldsRecords:
            // A second Calculate would add the whole batch a second time.
            if (!dialogs_->askQuestion(
                    this, Question{"The output file already holds records.",
                                   output + "\n\nCalculate adds one record for every sample of " + input +
                                       " after them; samples already in the file would then be in it twice.",
                                   "Add Records", "Cancel"})) {
                logLine("The batch run was not started: the output file already holds records.");
                return;
            }
            break;
        case OutputStart::kHeaderOnly:
            break;
    }

    // The run reads and writes exactly the files that the path fields show;
    // during a batch the records are batch records.
    core_->filesToOpen = {input};
    core_->fullPath = input;
    core_->fullPathOut = output;
    core_->batchWriteMode = 1;
    // A run from a pipe may have left the bar busy; this one starts at 0 %.
    setProgressIndicatorIndeterminate(false);
    batchRunner_->start(BatchRunner::Kind::Batch);
}

void BrinoraAppController::writeKML() {
    if (batchRunning()) return;
    if (refuseWithoutOptions()) return;
    filesBeforeKml_ = FilesBeforeKml{core_->filesToOpen, core_->fullPath, core_->fullPathOut};
    setProgressIndicatorIndeterminate(false);
    batchRunner_->start(BatchRunner::Kind::Kml);
}

void BrinoraAppController::cancelBatch() {
    if (!batchRunning()) return;
    batchRunner_->requestCancel();
    cancelBatchButton_->setEnabled(false);
}

void BrinoraAppController::closeEvent(QCloseEvent* event) {
    if (batchRunning()) {
        event->ignore();
        if (closeAfterRun_) return;  // already stopping
        const std::string output = core_->fullPathOut;
        if (!dialogs_->askQuestion(
                this, Question{"A run is still going.",
                               "Quit stops it after whole records, as Cancel does: what it has written so far "
                               "stays in " + (output.empty() ? std::string("the output file") : output) +
                                   ", nothing after it.",
                               "Stop and Quit", "Keep Running"})) {
            return;
        }
        closeAfterRun_ = true;
        cancelBatch();
        return;
    }
    storeWindowGeometry(*this, defaults_);
    QMainWindow::closeEvent(event);
}

void BrinoraAppController::batchRunFinished(BatchRunner::Kind kind, const QString& message) {
    if (closeAfterRun_) {
        // The report below says what was kept; then the window closes.
        QMetaObject::invokeMethod(this, [this] {
            closeAfterRun_ = false;
            close();
        }, Qt::QueuedConnection);
    }
    if (kind == BatchRunner::Kind::Kml) {
        core_->filesToOpen = std::move(filesBeforeKml_.filesToOpen);
        core_->fullPath = std::move(filesBeforeKml_.fullPath);
        core_->fullPathOut = std::move(filesBeforeKml_.fullPathOut);
        filesBeforeKml_ = FilesBeforeKml{};
        Q_EMIT batchRunEnded();
        return;
    }

    const std::string stop = message.toStdString();
    const BrinoraAppControllerCore& core = *core_;
    if (core.lastRunStatus == RunStatus::kCancelled) {
        setProgressIndicatorHidden(true);
        runAlert(Alert{stop, recordsOfThisRun(core.recordsWritten) + " in the output file:\n" + core.fullPathOut,
                       {"OK"}});
    } else if (!stop.empty() && core.lastRunStatus != RunStatus::kReadError) {
        // (A reading error has been presented by the run itself.)
        // A line stopped the run: which one, and what the output holds now.
        std::string report = stop + "\n\n";
        if (core.stoppedAtSourceLine > 0) {
            const std::string input = core.filesToOpen.empty() ? std::string() : core.filesToOpen.front();
            report += "The run stopped at line " + std::to_string(core.stoppedAtSourceLine) +
                      " of the input file " + input + ".\n";
        }
        report += recordsOfThisRun(core.recordsWritten) + " in the output file " + core.fullPathOut + ".";
        presentError(PresentedError{std::string(kErrorDomain), 0, report});
    }
    Q_EMIT batchRunEnded();
}

Alert BrinoraAppController::withCounts(const Alert& alert) const {
    // The run waits on its thread while its alert is shown, so its counts
    // can be read here.
    if (!batchRunning()) return alert;
    Alert counted = alert;
    if (alert.messageText == "Batch Processing of File Completed") {
        const int records = core_->recordsWritten;
        counted.informativeText += "\n" + (records == 1 ? std::string("1 record was") : std::to_string(records) + " records were") +
                                   " written.";
    } else if (alert.messageText == "CSV to KML Processing Completed") {
        const int placemarks = core_->placemarksWritten;
        counted.informativeText += "\n\n" + (placemarks == 1 ? std::string("1 placemark was")
                                                             : std::to_string(placemarks) + " placemarks were") +
                                   " written.";
    }
    return counted;
}

void BrinoraAppController::setBatchControlsEnabled(bool enabled) {
    // The graph tab has nothing to calculate or clear.
    const bool formOrBatch = tabs_.at(TabView::SingleBatch)->currentIndex() != kGraphTab;
    calculateButton_->setEnabled(enabled && formOrBatch);
    clearButton_->setEnabled(enabled && formOrBatch);
    for (const char* name : {"selectCSVtoOpen", "selectCSVtoOutput", "writeKML"}) {
        if (auto* button = findChild<QPushButton*>(QLatin1String(name))) button->setEnabled(enabled);
    }
    for (QAction* action : coreActions_) action->setEnabled(enabled);
    cancelBatchButton_->setEnabled(!enabled);
    // Cancel stands beside the progress bar only while a run goes.
    cancelBatchButton_->setVisible(!enabled);
}

}  // namespace brinora
