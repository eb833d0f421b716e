// The batch preview as the window starts it: choosing the files, the preview
// window's Refresh, and the message of a line that stops the preview, which
// names that line.
#include <string>

#include "app/settings_keys.h"
#include "gui/brinora_app_controller.h"

namespace brinora {

void BrinoraAppController::previewing(const std::function<void()>& choose) {
    const bool outer = previewStopReported_;
    previewStopReported_ = false;
    // A line number left by an earlier run names no line of this preview.
    core_->stoppedAtSourceLine = 0;
    choose();
    previewStopReported_ = outer;
}

void BrinoraAppController::refreshPreview() {
    logLine("refresh from preview clicked");
    defaults_.setValue(settings::kNumberOfLinesInPreview, text(TextField::PreviewTableLength));
    closePreviewWindow();
    core_->previewTableController.clearPreviewTable();
    stopPreviewModal();
    previewing([this] {
        const std::string message = core_->batchProcess(text(TextField::PathField), true);
        if (message.empty()) return;
        // The preview window is closed: the batch tab says why.
        setPreviewTableHidden(true);
        presentError(PresentedError{"BrinoraApp", 0, message});
        setProgressIndicatorHidden(true);
    });
}

PresentedError BrinoraAppController::withPreviewStop(const PresentedError& error) const {
    const BrinoraAppControllerCore& core = *core_;
    const std::string& message = error.localizedDescription;
    // Messages about the whole file, not one of its lines.
    if (core.stoppedAtSourceLine <= 0 || message == kWrongColumnsMessage || message == kNoDatapointsMessage ||
        message == kBatchReadErrorMessage) {
        return error;
    }
    PresentedError named = error;
    named.localizedDescription += "\n\nThe preview stopped at line " + std::to_string(core.stoppedAtSourceLine) +
                                  " of the input file " + text(TextField::PathField) + ".";
    return named;
}

}  // namespace brinora
