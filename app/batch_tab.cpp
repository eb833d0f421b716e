// Choosing the batch input, the preview check and the preview window's buttons;
// the runs themselves are in app/batch_run.cpp.
#include "app/batch_run.h"
#include "app/controller_core.h"
#include "app/settings_keys.h"
#include "output/path_names.h"

namespace brinora {
void BrinoraAppControllerCore::selectCSVtoOpen() {
    const auto chosen = ui_.runOpenPanel(
        OpenPanelRequest{{"csv"}, defaults_.value(settings::kOpenPath).value_or(""), false});
    if (chosen.empty()) return;
    batchInputFilesChosen(chosen);
}

void BrinoraAppControllerCore::batchInputFilesChosen(const std::vector<std::string>& files) {
    batchWriteMode = 1;
    filesToOpen = files;
    const std::string& first = filesToOpen.front();
    logLine("filename = " + first);
    ui_.setText(TextField::PathField, first);
    defaults_.setValue(settings::kOpenPath, directoryOf(withoutExtension(first)));
    defaults_.synchronize();
    ui_.setText(TextField::PathFieldOut, "");
    checkIfPreviewNeeded();
}

std::string BrinoraAppControllerCore::batchProcess(std::string_view /*path*/, bool justPreview) {
    return runBatchFile(*this, ui_, runOptions, justPreview);
}

void BrinoraAppControllerCore::writeKML() { runKmlFile(*this, ui_, defaults_, runOptions); }

void BrinoraAppControllerCore::checkIfPreviewNeeded() {
    if (!checkForConstants()) return;
    const std::string input = ui_.text(TextField::PathField);
    if (!input.empty() && !ui_.text(TextField::PathFieldOut).empty()) {
        previewTableController.clearPreviewTable();
        ui_.setPreviewTableHidden(false);
        const std::string message = batchProcess(input, true);
        if (!message.empty()) {
            ui_.setPreviewTableHidden(true);
            presentAppError(message);
            ui_.setProgressIndicatorHidden(true);
        }
    } else {
        ui_.setPreviewTableHidden(true);
    }
}

void BrinoraAppControllerCore::cancelFromPreview() {
    logLine("cancel from preview clicked");
    ui_.closePreviewWindow();
    ui_.stopPreviewModal();
}

void BrinoraAppControllerCore::OKFromPreview() {
    logLine("ok from preview clicked");
    ui_.closePreviewWindow();
    ui_.stopPreviewModal();
    ui_.performCalculate();
}

void BrinoraAppControllerCore::refreshTable() {
    logLine("refresh from preview clicked");
    defaults_.setValue(settings::kNumberOfLinesInPreview, ui_.text(TextField::PreviewTableLength));
    ui_.closePreviewWindow();
    previewTableController.clearPreviewTable();
    ui_.stopPreviewModal();
    batchProcess(ui_.text(TextField::PathField), true);
}

}  // namespace brinora
