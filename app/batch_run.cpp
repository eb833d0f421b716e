// The controller's batch, preview and KML runs: a plain request from the
// window's menus and fields, the batch pipeline, then what the window shows.
#include <memory>
#include <optional>

#include "app/appended_file.h"
#include "app/batch_uncertainty_file.h"
#include "app/batch_run.h"
#include "app/controller_core.h"
#include "app/settings_keys.h"
#include "engine/engine.h"
#include "input/lenient_number.h"
#include "output/path_names.h"

namespace brinora {
namespace {

// What the pipeline tells a run of the controller, shown on the window.
class WindowReport : public BatchReport {
public:
    WindowReport(BrinoraAppControllerCore& core, AppUi& ui, const BatchRunOptions& options, RunMode mode)
        : core_(core), ui_(ui), options_(options), mode_(mode) {}

    // kPreview: the preview length as stored ("" when none is).
    std::optional<std::string> storedPreviewLength;

    void logLine(std::string_view line) override { ui_.logLine(line); }
    void samplesBegin(bool sizeKnown) override {
        switch (mode_) {
            case RunMode::kPreview:
                ui_.setText(TextField::PreviewTableLength, storedPreviewLength.value_or("5"));
                ui_.noteNumberOfRowsChanged();
                break;
            case RunMode::kRecords:
                ui_.setProgressIndicatorHidden(false);
                if (!sizeKnown) ui_.setProgressIndicatorIndeterminate(true);
                break;
            case RunMode::kKml:
                if (!sizeKnown) ui_.setProgressIndicatorIndeterminate(true);
                break;
        }
    }
    void progress(double percent) override {
        if (mode_ == RunMode::kRecords) core_.progressValue = percent;
        ui_.setProgressIndicatorValue(percent);
    }
    void note(const RunNote& note) override {
        if (options_.note) options_.note(note);
    }
    void previewRow(DictRecord row) override { core_.previewTableController.addToPreviewTable(std::move(row)); }
    bool cancelRequested() override { return ui_.cancelRequested(); }

private:
    BrinoraAppControllerCore& core_;
    AppUi& ui_;
    const BatchRunOptions& options_;
    RunMode mode_;
};

// The options of the window's menus, with their titles.
BatchOptions batchOptionsOf(const OptionMenus& menus) {
    BatchOptions options;
    options.constants = menus.selectedIndex(Menu::CO2Constants);
    options.khso4 = menus.selectedIndex(Menu::KHSO4);
    options.pHScale = menus.selectedIndex(Menu::pHScale);
    options.flux = menus.selectedIndex(Menu::AirSeaFlux);
    options.titles = recordOptionTitlesOf(menus);
    return options;
}

// The request of a controller's run with the window's options.
BatchRequest requestFrom(const BrinoraAppControllerCore& core, const AppUi& ui, const BatchRunOptions& options,
                         RunMode mode, std::string input) {
    BatchRequest request;
    request.input = std::move(input);
    request.mode = mode;
    request.options = batchOptionsOf(ui);
    request.jobs = options.jobs;
    request.sampleLogLines = options.sampleLogLines;
    request.readBlock = options.readBlock;
    request.linesPerChunk = options.linesPerChunk;
    request.startBoard = &Engine::sharedInstance()->board();
    if (core.computeCO2) request.compute = core.computeCO2;
    return request;
}

}  // namespace

std::string runBatchFile(BrinoraAppControllerCore& core, AppUi& ui, const BatchRunOptions& options,
                         bool justPreview) {
    core.stoppedAtLine = 0;
    core.stoppedAtSourceLine = 0;
    if (!justPreview) {
        core.failedWrites = 0;
        core.recordsWritten = 0;
        core.lastWriteError.clear();
    }

    // Announce the run.
    if (!justPreview) {
        ui.logLine("Batch process called, all records");
        core.progressValue = 0.0;
    } else {
        ui.logLine("Batch process called, just preview");
    }
    const std::string inputPath = core.filesToOpen.empty() ? std::string() : core.filesToOpen.front();
    ui.logLine("Dealing with file " + inputPath);

    const RunMode mode = justPreview ? RunMode::kPreview : RunMode::kRecords;
    WindowReport report(core, ui, options, mode);
    BatchRequest request = requestFrom(core, ui, options, mode, inputPath);
    if (justPreview) {
        report.storedPreviewLength = core.defaultsStore().value(settings::kNumberOfLinesInPreview);
        const int length = report.storedPreviewLength ? lenientInteger(*report.storedPreviewLength) : 5;
        request.previewLines = length < 0 ? 0 : static_cast<std::size_t>(length);
    }
    std::unique_ptr<AppendedFile> appended;
    if (!justPreview) {
        request.output = options.output;
        if (request.output == nullptr) {
            appended = std::make_unique<AppendedFile>(core.fullPathOut);
            request.output = appended.get();
        }
    }
    // The uncertainty file's rows are made beside the records; when it cannot
    // be opened, the records are written without it and the user is told.
    std::unique_ptr<BatchUncertaintyFile> uncertaintyFile;
    std::string uncertaintyError;
    if (!justPreview && options.uncertainty) {
        uncertaintyFile = std::make_unique<BatchUncertaintyFile>();
        if (uncertaintyFile->open(inputPath, core.fullPathOut, *options.uncertainty, ui)) {
            uncertaintyFile->attach(request);
        } else {
            uncertaintyError = uncertaintyFile->error();
        }
    }

    BatchResult result = runBatch(request, report);
    if (result.anyComputed) Engine::sharedInstance()->reset();
    // The records of a run that ended at a line (or at its end) stay in the
    // output file for good.
    const bool keepsRecords = result.status != RunStatus::kReadError && result.status != RunStatus::kWriteFailed;
    if (appended && keepsRecords && !appended->commit()) {
        result.status = RunStatus::kWriteFailed;
        result.writeError = appended->errorMessage();
        result.message = "The record could not be written to the output file (" + result.writeError + ").";
        result.written = 0;
        result.stoppedAtLine = 0;
        result.stoppedAtSourceLine = 0;
    }
    core.lastRunStatus = result.status;
    core.headerNames = result.headerNames;
    core.stoppedAtLine = result.stoppedAtLine;
    core.stoppedAtSourceLine = result.stoppedAtSourceLine;
    if (!justPreview) core.recordsWritten = result.written;
    if (result.haveLastLine) {
        if (!justPreview) core.stringToWrite = std::move(result.lastBytes);
        core.cruiseInformationDictionary = std::move(result.lastCruiseInformation);
    }

    // The uncertainty file has a row for every record kept: it is kept when
    // they are.
    std::string uncertaintyPath;
    if (uncertaintyFile && uncertaintyError.empty()) {
        const bool computed = result.status != RunStatus::kNoDatapoints && result.status != RunStatus::kWrongColumns;
        if (keepsRecords && computed && result.status != RunStatus::kWriteFailed) {
            if (uncertaintyFile->commit()) {
                uncertaintyPath = uncertaintyFile->path();
                ui.logLine("Uncertainty file written: " + uncertaintyPath);
            } else {
                uncertaintyError = uncertaintyFile->error();
            }
        } else {
            uncertaintyFile->abandon();
        }
    }
    if (!uncertaintyError.empty()) {
        ui.logLine("The uncertainty file was not written: " + uncertaintyError);
        ui.presentError(PresentedError{"BrinoraApp", 0,
                                       "The uncertainty file " + uncertaintyFile->path() + " was not written (" +
                                           uncertaintyError + ")." +
                                           (keepsRecords && result.status != RunStatus::kWriteFailed
                                                ? " The records are in the output file."
                                                : "")});
    }

    const auto stopRun = [&ui](const std::string& message) {
        ui.logLine(message);
        ui.setProgressIndicatorHidden(true);
        return message;
    };
    switch (result.status) {
        case RunStatus::kReadError:
            if (appended) appended->rollBack();
            if (!justPreview && result.linesRun) ui.setProgressIndicatorHidden(true);
            ui.presentError(result.readError);
            ui.logLine(kBatchReadErrorMessage);
            return std::string(kBatchReadErrorMessage);
        case RunStatus::kWriteFailed:
            // Nothing of the run is kept: the output is taken back to what it was.
            ++core.failedWrites;
            core.lastWriteError = result.writeError;
            if (appended) appended->rollBack();
            return stopRun(result.message);
        case RunStatus::kStopped:
        case RunStatus::kCancelled:
        case RunStatus::kNoDatapoints:
        case RunStatus::kWrongColumns:
            return stopRun(result.message);
        case RunStatus::kDone:
            break;
    }

    // The end of the file.
    ui.logLine("Done with file!");

    // Show the preview, or report completion.
    if (justPreview) {
        ui.runPreviewWindowModal();
        ui.logLine("back in the batch processing function");
        return "";
    }
    ui.runAlert(Alert{"Batch Processing of File Completed",
                      "File Input:\n" + inputPath + "\n" + "\nFile Output:\n" + core.fullPathOut + "\n" +
                          (uncertaintyPath.empty() ? std::string() : "\nUncertainty File:\n" + uncertaintyPath + "\n"),
                      {"OK"}});
    ui.setProgressIndicatorHidden(true);
    core.sampleID = 0;
    core.fullPath = "";
    ui.setText(TextField::PathField2, "");
    ui.setCheckBoxState(0);
    return "";
}

void runKmlFile(BrinoraAppControllerCore& core, AppUi& ui, SettingsStore& defaults, const BatchRunOptions& options) {
    // The input file.
    const auto chosen =
        ui.runOpenPanel(OpenPanelRequest{{"csv"}, defaults.value(settings::kOpenPath).value_or(""), false});
    if (chosen.empty()) return;
    core.batchWriteMode = 1;
    core.filesToOpen = chosen;
    core.fullPath = core.filesToOpen.front();
    core.alreadySaved = 0;
    runKmlOfChosenInput(core, ui, defaults, options);
}

void runKmlOfChosenInput(BrinoraAppControllerCore& core, AppUi& ui, SettingsStore& defaults,
                         const BatchRunOptions& options) {
    core.placemarksWritten = 0;
    core.failedWrites = 0;
    core.stoppedAtSourceLine = 0;
    core.lastWriteError.clear();

    WindowReport report(core, ui, options, RunMode::kKml);
    BatchRequest request = requestFrom(core, ui, options, RunMode::kKml, core.fullPath);
    request.firstSampleNumber = core.sampleID;
    // The document is chosen on the first line. A chosen file is written as
    // `brinora kml` writes it: aside, header first, and put in place whole at
    // the end. Without a choice the placemarks are appended to the output
    // file named before.
    std::unique_ptr<AppendedFile> appended;
    request.openDocument = [&]() {
        KmlDocument document;
        const std::string proposed =
            core.fullPath.empty() ? ui.text(TextField::CruiseName) : fileStem(core.fullPath) + "_Brinora.kml";
        const auto kmlPath =
            ui.runSavePanel(SavePanelRequest{"kml", defaults.value(settings::kOpenPath).value_or(""), proposed});
        if (kmlPath) core.fullPathOut = *kmlPath;
        document.writeHeader = kmlPath.has_value();
        if (options.output) {
            document.sink = options.output;
            return document;
        }
        if (kmlPath) {
            OutputOptions outputOptions;
            outputOptions.inputPath = core.fullPath;  // never the input it reads
            appended = std::make_unique<AppendedFile>(*kmlPath, OutputMode::kReplace, std::move(outputOptions));
        } else {
            OutputOptions outputOptions;
            outputOptions.endLastLine = false;  // the placemarks follow the file's last byte
            appended = std::make_unique<AppendedFile>(core.fullPathOut, OutputMode::kAppend, std::move(outputOptions));
        }
        document.sink = appended.get();
        return document;
    };

    BatchResult result = runBatch(request, report);
    // A document that the run completed is put in place (or its append made
    // part of the file) before the run is reported.
    if (appended && result.status != RunStatus::kReadError && result.status != RunStatus::kWriteFailed &&
        !appended->commit()) {
        result.status = RunStatus::kWriteFailed;
        result.writeError = appended->errorMessage();
    }
    core.lastRunStatus = result.status;
    if (!result.headerError.empty()) core.lastWriteError = result.headerError;
    if (result.status == RunStatus::kReadError && !result.linesRun) {
        // The input could not be opened, or had no header.
        ui.presentError(result.readError);
        ui.logLine(kBatchReadErrorMessage);
        core.failedWrites = 1;
        core.lastWriteError = std::string(kBatchReadErrorMessage);
        return;
    }
    if (result.haveLastLine) core.stringToWrite = std::move(result.lastBytes);
    core.placemarksWritten = result.written;
    if (result.processedLines > 0) {
        core.alreadySaved = 1;
        Engine::sharedInstance()->reset();
        core.sampleID += static_cast<std::uint32_t>(result.processedLines);
    }
    if (result.status == RunStatus::kReadError) {
        if (appended) appended->rollBack();
        ui.presentError(result.readError);
        ui.logLine(kBatchReadErrorMessage);
        core.failedWrites = 1;
        core.lastWriteError = std::string(kBatchReadErrorMessage);
        core.alreadySaved = 0;
        core.batchWriteMode = 0;
        core.sampleID = 0;
        return;
    }
    if (result.status == RunStatus::kWriteFailed) {
        // Nothing of the run is kept: the document is taken back to what it was.
        ++core.failedWrites;
        core.lastWriteError = result.writeError;
        core.placemarksWritten = 0;
        if (appended) appended->rollBack();
        ui.logLine(core.lastWriteError);
    } else {
        ui.runAlert(Alert{"CSV to KML Processing Completed",
                          "Input: " + core.fullPath + "\n\n" + "Output: " + core.fullPathOut, {"OK"}});
    }

    // Ready for the next run.
    core.alreadySaved = 0;
    core.batchWriteMode = 0;
    core.sampleID = 0;
    ui.logLine("Done with file!");
}

}  // namespace brinora
