// The batch run over an input file, its preview and the preview window's buttons.
#include <array>
#include <utility>

#include "app/settings_keys.h"
#include "batch/controller_core.h"
#include "batch/lenient_number.h"
#include "batch/text_files.h"
#include "engine/engine.h"
#include "engine/slots.h"

namespace brinora {
namespace {

// Fields of a batch line.
constexpr std::size_t kBatchFieldCount = 21;
constexpr std::size_t kFirstSampleValueField = 6;  // salinity; fields 6..19 go to slots 11..24
constexpr std::size_t kLastSampleValueField = 19;  // wind speed
constexpr std::size_t kCommentField = 20;

// Pairs of carbonate fields (TA 13, TCO2 14, pH 15, fCO2 16, pCO2 17) of which
// at least one must be empty on a line. fCO2 with pCO2 is not among them.
constexpr std::array<std::array<std::size_t, 2>, 9> kCarbonatePairs = {{
    {13, 14}, {13, 15}, {13, 16}, {13, 17}, {14, 15}, {14, 16}, {14, 17}, {15, 16}, {15, 17}}};

}  // namespace

void BrinoraAppControllerCore::storeSampleValues(const std::vector<std::string>& fields) {
    Engine* board = Engine::sharedInstance();
    for (std::size_t k = kFirstSampleValueField; k <= kLastSampleValueField; ++k) {
        const float value = k < fields.size() ? lenientFloat(fields[k]) : 0.0f;
        board->setFieldValueAtPos(static_cast<std::uint32_t>(k + 5), value);
    }
}

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
    ui_.logLine("filename = " + first);
    ui_.setText(TextField::PathField, first);
    defaults_.setValue(settings::kOpenPath, directoryOf(withoutExtension(first)));
    defaults_.synchronize();
    ui_.setText(TextField::PathFieldOut, "");
    checkIfPreviewNeeded();
}

std::string BrinoraAppControllerCore::stopRun(const std::string& message) {
    ui_.logLine(message);
    ui_.setProgressIndicatorHidden(true);
    return message;
}

std::string BrinoraAppControllerCore::batchProcess(std::string_view /*path*/, bool justPreview) {
    stoppedAtLine = 0;
    stoppedAtSourceLine = 0;
    if (!justPreview) {
        failedWrites = 0;
        recordsWritten = 0;
        lastWriteError.clear();
    }

    // 1. Announce the run.
    if (!justPreview) {
        ui_.logLine("Batch process called, all records");
        progressValue = 0.0;
    } else {
        ui_.logLine("Batch process called, just preview");
    }
    const std::string inputPath = filesToOpen.empty() ? std::string() : filesToOpen.front();
    ui_.logLine("Dealing with file " + inputPath);

    // 2. Read the whole file.
    TextFileContents contents = readUTF8TextFile(inputPath);
    if (!contents.ok) {
        ui_.presentError(contents.error);
        const std::string message = "There was an error reading from the file";
        ui_.logLine(message);
        return message;
    }

    // 3. Lines. The text itself is not needed once it is cut into lines.
    const std::vector<TextLine> lines = splitBatchLines(contents.text);
    std::string().swap(contents.text);
    const int pieces = static_cast<int>(lines.size());
    ui_.logLine("The file is " + std::to_string(pieces) + " lines long");

    // 4. Nothing but a header.
    if (pieces - 1 == 0) return stopRun("There are no datapoints to process.");

    // 5. Last line to process.
    int last = 0;
    if (justPreview) {
        const auto stored = defaults_.value(settings::kNumberOfLinesInPreview);
        if (stored) {
            last = lenientInteger(*stored);
            ui_.setText(TextField::PreviewTableLength, *stored);
        } else {
            last = 5;
            ui_.setText(TextField::PreviewTableLength, "5");
        }
        if (last > pieces - 1) last = pieces - 1;
        ui_.noteNumberOfRowsChanged();
    } else {
        ui_.setProgressIndicatorHidden(false);
        last = pieces - 1;
    }

    // 6. The header must name 21 columns; the names themselves are not examined.
    int headerNames = 0;
    for (const std::string& name : splitFields(lines[0].text)) {
        if (name.empty()) continue;
        ++headerNames;
        ui_.logLine("Number of column headers = " + std::to_string(headerNames));
    }
    if (headerNames != static_cast<int>(kBatchFieldCount)) {
        stoppedAtLine = 0;
        stoppedAtSourceLine = lines[0].sourceLine;
        return stopRun("There is an incorrect number of data columns in the input CSV.");
    }

    // 7. One sample per line.
    Engine* board = Engine::sharedInstance();
    for (int i = 1; i <= last; ++i) {
        ui_.logLine("Dealing with line " + std::to_string(i));
        if (!justPreview) progressValue = static_cast<double>(i) / static_cast<double>(pieces) * 100.0;

        std::vector<std::string> fields = splitFields(lines[static_cast<std::size_t>(i)].text);
        if (fields.size() < kBatchFieldCount) fields.resize(kBatchFieldCount);

        if (fields[0].empty()) {
            ui_.logLine("Nothing on this line");
            continue;
        }

        const auto stopAtLine = [&](const std::string& message) {
            stoppedAtLine = i;
            stoppedAtSourceLine = lines[static_cast<std::size_t>(i)].sourceLine;
            return stopRun(message);
        };
        if (fields[6].empty()) {
            return stopAtLine("All records require a salinity value. There is a salinity value missing.");
        }
        if (fields[7].empty()) {
            return stopAtLine(
                "All records require a temperature value. There is a temperature value missing.");
        }
        bool pairLeftEmpty = false;
        for (const auto& pair : kCarbonatePairs) {
            if (fields[pair[0]].empty() && fields[pair[1]].empty()) {
                pairLeftEmpty = true;
                break;
            }
        }
        if (!pairLeftEmpty) {
            return stopAtLine("To batch process records, Brinora needs values for at least two carbonate parameters");
        }

        // Fields 0..5 and 20 are text only: they move into the dictionary
        // (storeSampleValues reads fields 6..19).
        cruiseInformationDictionary.clear();
        cruiseInformationDictionary["SampleID"] = std::move(fields[0]);
        cruiseInformationDictionary["Name"] = std::move(fields[1]);
        cruiseInformationDictionary["Time"] = std::move(fields[2]);
        cruiseInformationDictionary["Date"] = std::move(fields[3]);
        cruiseInformationDictionary["Latitude"] = std::move(fields[4]);
        cruiseInformationDictionary["Longitude"] = std::move(fields[5]);
        cruiseInformationDictionary["Comment"] = std::move(fields[kCommentField]);

        // The options go on the board before the wind speed, which a batch
        // therefore always takes as m/s.
        updateConstants();
        storeSampleValues(fields);
        computeCO2();
        ui_.logLine("Passed compute");

        if (justPreview) {
            previewTableController.addToPreviewTable(std::get<DictRecord>(formatOutputAs("Dict")));
            board->reset();
        } else {
            if (!saveString()) {
                // The output device is full or the file can no longer be
                // written: stop here, so that the output holds the records of
                // every line before this one and nothing else.
                ++failedWrites;
                board->reset();
                return stopAtLine("The record could not be written to the output file (" + lastWriteError +
                                  ").");
            }
            ++recordsWritten;
            board->reset();
            ui_.setProgressIndicatorValue(progressValue);
        }
        ui_.logLine("Done with the line!");
    }

    // 8. The end of the file.
    ui_.logLine("Done with file!");

    // 9. Show the preview, or report completion.
    if (justPreview) {
        ui_.runPreviewWindowModal();
        ui_.logLine("back in the batch processing function");
    } else {
        ui_.runAlert(Alert{"Batch Processing of File Completed",
                           "File Input:\n" + inputPath + "\n" + "\nFile Output:\n" + fullPathOut + "\n",
                           {"OK"}});
        ui_.setProgressIndicatorHidden(true);
        sampleID = 0;
        fullPath = "";
        ui_.setText(TextField::PathField2, "");
        ui_.setCheckBoxState(0);
    }
    return "";
}

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
    ui_.logLine("cancel from preview clicked");
    ui_.closePreviewWindow();
    ui_.stopPreviewModal();
}

void BrinoraAppControllerCore::OKFromPreview() {
    ui_.logLine("ok from preview clicked");
    ui_.closePreviewWindow();
    ui_.stopPreviewModal();
    ui_.performCalculate();
}

void BrinoraAppControllerCore::refreshTable() {
    ui_.logLine("refresh from preview clicked");
    defaults_.setValue(settings::kNumberOfLinesInPreview, ui_.text(TextField::PreviewTableLength));
    ui_.closePreviewWindow();
    previewTableController.clearPreviewTable();
    ui_.stopPreviewModal();
    batchProcess(ui_.text(TextField::PathField), true);
}

}  // namespace brinora
