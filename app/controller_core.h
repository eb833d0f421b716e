// The main window controller without its toolkit: the output record and file,
// the batch run with its preview, the KML document and the option operations.
// It reads and sets the window's interface objects through AppUi, the
// user-defaults store through SettingsStore, and the field board through the
// process-wide Engine.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "app/batch_run.h"
#include "pipeline/batch_pipeline.h"
#include "records/output_record.h"
#include "app/preview_table.h"
#include "app/ui.h"

namespace brinora {


// The option titles of the window's menus, as a record carries them.
RecordOptionTitles recordOptionTitlesOf(const OptionMenus& menus);

class BrinoraAppControllerCore {
public:
    BrinoraAppControllerCore(AppUi& ui, SettingsStore& defaults);

    // ---- Process-wide flags and counters (plain globals in the design) ----

    // 0: records come from the form; 1: from a batch file (also while a KML
    // document is written).
    std::uint8_t batchWriteMode = 0;
    // Number of the next form record and KML placemark ("%d").
    std::uint32_t sampleID = 0;
    // 1 when the date (time) picker differs from its value at start-up.
    std::uint8_t cruiseDateCheck = 0;
    std::uint8_t cruiseTimeCheck = 0;
    // 0 until the KML file has been chosen in the current KML run.
    std::uint8_t alreadySaved = 0;
    // Progress of the current full batch run, percent.
    double progressValue = 0.0;

    // ---- Controller state ----

    // Cruise information of the current batch line: "SampleID", "Name",
    // "Time", "Date", "Latitude", "Longitude", "Comment".
    std::map<std::string, std::string, std::less<>> cruiseInformationDictionary;
    // Text of the last "String" record or KML placemark.
    std::string stringToWrite;
    // Batch input file (the first of filesToOpen) and output file.
    std::string fullPath;
    std::string fullPathOut;
    // The chosen batch input files; only the first is read.
    std::vector<std::string> filesToOpen;
    // Values of the date pickers when the window opened.
    CalendarDateTime cruiseDateAtStartup;
    CalendarDateTime cruiseTimeAtStartup;
    // The preview table's data and controls (tableViewController).
    PreviewTableModel previewTableController;

    // Records the date pickers' values as their start-up values (window load).
    void awakeFromNib();

    // ---- Output record and output file ----

    // "String": one comma-separated line (also kept in stringToWrite);
    // "Dict": the named strings of the preview table; any other name logs
    // "Unknown format to return" and gives nothing.
    FormattedRecord formatOutputAs(std::string_view format);
    // Builds a "String" record and appends it to fullPathOut as one
    // journaled append (app/appended_file.h). The file must exist; false when
    // the record could not be written (the reason in lastWriteError).
    bool saveString();
    // Sets cruiseDateCheck and cruiseTimeCheck from the date pickers.
    void checkCruiseInformation();

    // Writes dataFileHeaders as the whole new content of `path`; logs "Error
    // in saving file to disk" on failure (callers carry on regardless).
    bool writeHeaderFile(const std::string& path);
    // Form: a save panel for a new output file, then header, path and check box.
    void newFileForOutput();
    // Form: an open panel for an existing output file that records are added to.
    void openFileForOutput();
    // OK branch of openFileForOutput: records go to the end of `path`.
    void outputFileOpened(const std::string& path);
    // Batch: a save panel for the batch output file, then the preview check.
    // Refused (the "Select..." message, no panel, nothing written) while one
    // of the four option menus is on its placeholder.
    void selectCSVtoOutput();
    // The batch output file at `path` gets its header and becomes fullPathOut;
    // false when the header could not be written.
    bool batchOutputFileCreated(const std::string& path);

    // ---- Batch run ----

    // Batch: an open panel for the input file, then the preview check.
    void selectCSVtoOpen();
    // OK branch of selectCSVtoOpen with the chosen `files`.
    void batchInputFilesChosen(const std::vector<std::string>& files);
    // Runs the first of filesToOpen (`path` is shown in messages only). A
    // preview run fills the preview table and runs the preview window; a full
    // run appends one record per sample line to fullPathOut. Returns "" on
    // success, otherwise the message that stopped the run.
    std::string batchProcess(std::string_view path, bool justPreview);
    // Makes a preview run when both path fields are filled and the options pass.
    void checkIfPreviewNeeded();
    // Preview window buttons.
    void cancelFromPreview();
    void OKFromPreview();
    void refreshTable();

    // Editor line number (1-based) of the batch line that stopped the last
    // run (batch or KML), 0 when the run was not stopped by a line.
    int stoppedAtSourceLine = 0;
    // Index of that line among the normalised lines (header = 0), 0 when none.
    int stoppedAtLine = 0;
    // Records of the last full run that could not be appended (a full run
    // stops at the first), and why.
    int failedWrites = 0;
    std::string lastWriteError;
    // Records appended by the last full run.
    int recordsWritten = 0;
    // How the last batch, preview or KML run ended.
    RunStatus lastRunStatus = RunStatus::kDone;
    // Non-empty names in the header of the last batch run's input.
    int headerNames = 0;

    // ---- KML document ----

    // An open panel for a batch input file, then one placemark per line into
    // the KML file chosen on the first line. A placemark that cannot be
    // appended ends the placemarks (failedWrites 1, lastWriteError with the
    // input line, stoppedAtSourceLine) and the footer is left out.
    void writeKML();
    // Number of placemarks appended by the last KML run.
    int placemarksWritten = 0;

    // ---- Option operations ----

    // Copies the option menus onto board slots 1..4; converts the form's wind
    // speed from knots.
    void updateConstants();
    // False (after presenting the message) when an option is on its
    // placeholder or the flux inputs are incomplete.
    bool checkForConstants();
    // Whether one of the four option menus is on its "Select..." item.
    bool optionOnPlaceholder() const;
    // Constants sets 7 and 8 move the pH-scale menu to NBS.
    void CO2selected();
    // Marks the flux inputs "optional" or "required".
    void CO2FluxRequired();

    // The calculation of each sample on its board (the form's: the
    // process-wide board); empty for BrinoraMain::ComputeCO2. A batch run
    // with a replaced calculation computes its lines one at a time.
    std::function<void(Board&)> computeCO2;

    // How batchProcess and writeKML run: threads, log lines, where the bytes
    // go (by default appended to fullPathOut, every log line written).
    BatchRunOptions runOptions;

    // The user-defaults store the controller was made with.
    SettingsStore& defaultsStore() { return defaults_; }

private:
    // Presents `message` as an error of domain "BrinoraApp", code 0.
    void presentAppError(const std::string& message);
    std::string formatStringRecord();
    DictRecord formatDictRecord();
    // Writes one plain line to the log.
    void logLine(std::string_view line);

    AppUi& ui_;
    SettingsStore& defaults_;
};

}  // namespace brinora
