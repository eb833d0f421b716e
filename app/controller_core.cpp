// Output record, output file and option operations of the controller core.
#include "app/controller_core.h"

#include "app/appended_file.h"

#include "records/batch_record.h"
#include "records/dict_record.h"

#include "app/option_titles.h"
#include "app/settings_keys.h"
#include "records/calendar_format.h"
#include "output/atomic_write.h"
#include "output/path_names.h"
#include "engine/compute_co2.h"
#include "engine/engine.h"
#include "engine/slots.h"

namespace brinora {
namespace {

constexpr std::string_view kErrorDomain = "BrinoraApp";

// Value of `key` in `dictionary` ("" when missing).
std::string entry(const std::map<std::string, std::string, std::less<>>& dictionary,
                  std::string_view key) {
    const auto found = dictionary.find(key);
    return found == dictionary.end() ? std::string() : found->second;
}

std::string withoutCarriageReturns(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (const char c : text) {
        if (c != '\r') result.push_back(c);
    }
    return result;
}

}  // namespace

RecordOptionTitles recordOptionTitlesOf(const OptionMenus& menus) {
    return RecordOptionTitles{menus.selectedTitle(Menu::CO2Constants), menus.selectedTitle(Menu::KHSO4),
                              menus.selectedTitle(Menu::pHScale), menus.selectedTitle(Menu::AirSeaFlux),
                              menus.selectedTitle(Menu::WindSpeedUnits)};
}

BrinoraAppControllerCore::BrinoraAppControllerCore(AppUi& ui, SettingsStore& defaults)
    : previewTableController(ui, defaults),
      ui_(ui),
      defaults_(defaults) {}

void BrinoraAppControllerCore::awakeFromNib() {
    cruiseDateAtStartup = ui_.dateValue(DatePicker::CruiseDate);
    cruiseTimeAtStartup = ui_.dateValue(DatePicker::CruiseTime);
}

void BrinoraAppControllerCore::logLine(std::string_view line) { ui_.logLine(line); }

void BrinoraAppControllerCore::presentAppError(const std::string& message) {
    ui_.presentError(PresentedError{std::string(kErrorDomain), 0, message});
}

// ---------------------------------------------------------------- records

void BrinoraAppControllerCore::checkCruiseInformation() {
    cruiseDateCheck = ui_.dateValue(DatePicker::CruiseDate) == cruiseDateAtStartup ? 0 : 1;
    cruiseTimeCheck = ui_.dateValue(DatePicker::CruiseTime) == cruiseTimeAtStartup ? 0 : 1;
}

FormattedRecord BrinoraAppControllerCore::formatOutputAs(std::string_view format) {
    if (format == "String") return formatStringRecord();
    if (format == "Dict") return formatDictRecord();
    logLine("Unknown format to return");
    return std::monostate{};
}

std::string BrinoraAppControllerCore::formatStringRecord() {
    std::string record;

    // Columns 1..6: the cruise prefix.
    if (batchWriteMode == 0) {
        logLine("BatchWriteMode = NO");
        record += std::to_string(sampleID) + ",";
        ++sampleID;
        checkCruiseInformation();
        // A named form record carries neither the name nor its comma: the
        // record has always been written that way, one column short.
        if (ui_.text(TextField::CruiseName).empty()) record += "-,";
        record += cruiseTimeCheck == 1
                      ? formatCalendar(ui_.dateValue(DatePicker::CruiseTime), kRecordTimeFormat) + ","
                      : std::string("00:00:00,");
        record += cruiseDateCheck == 1
                      ? formatCalendar(ui_.dateValue(DatePicker::CruiseDate), kRecordDateFormat) + ","
                      : std::string("1/1/1900,");
        const bool hemispheres = ui_.selectedIndex(Menu::CoordinateFormat) == 1;
        record += ui_.text(TextField::CruiseLatitude);
        record += hemispheres ? " " + ui_.selectedTitle(Menu::CruiseLatitudeNS) + "," : std::string(",");
        record += ui_.text(TextField::CruiseLongitude);
        record += hemispheres ? " " + ui_.selectedTitle(Menu::CruiseLongitudeEW) + ", " : std::string(",");
    } else if (batchWriteMode == 1) {
        for (const std::string_view key : {"SampleID", "Name", "Time", "Date", "Latitude", "Longitude"}) {
            record += entry(cruiseInformationDictionary, key) + ",";
        }
    } else {
        logLine("Unknown batchWriteMode");
    }

    // Columns 7..47.
    appendRecordNumbers(record, Engine::sharedInstance()->board());

    // Columns 48..53.
    record += "," + withoutCommas(ui_.selectedTitle(Menu::CO2Constants));
    record += "," + withoutCommas(ui_.selectedTitle(Menu::KHSO4));
    record += "," + withoutCommas(ui_.selectedTitle(Menu::pHScale));
    record += "," + withoutCommas(ui_.selectedTitle(Menu::AirSeaFlux));
    // Batch wind speeds are always in m/s.
    record += batchWriteMode == 1 ? std::string(",m/s")
                                  : "," + withoutCommas(ui_.selectedTitle(Menu::WindSpeedUnits));
    const std::string comment = batchWriteMode != 0
                                    ? withoutCarriageReturns(entry(cruiseInformationDictionary, "Comment"))
                                    : ui_.text(TextField::CruiseComment);
    record += ',';
    record += comment;
    record += '\n';

    stringToWrite = record;
    return record;
}

DictRecord BrinoraAppControllerCore::formatDictRecord() {
    return dictRecord(cruiseInformationDictionary, Engine::sharedInstance()->board(), recordOptionTitlesOf(ui_));
}

bool BrinoraAppControllerCore::saveString() {
    formatStringRecord();  // the record is kept in stringToWrite
    logLine("stringToWrite: " + stringToWrite);
    const std::string error = appendToOutputFile(fullPathOut, stringToWrite);
    if (!error.empty()) lastWriteError = error;
    return error.empty();
}

// ---------------------------------------------------------------- output file

bool BrinoraAppControllerCore::writeHeaderFile(const std::string& path) {
    const WriteResult written = writeFileAtomically(path, dataFileHeaders());
    if (!written.ok) {
        logLine("Error in saving file to disk");
        lastWriteError = written.message;
    }
    return written.ok;
}

void BrinoraAppControllerCore::newFileForOutput() {
    const std::string name = ui_.text(TextField::CruiseName);
    const std::string proposed =
        name.empty() ? "Brinora " + formatCalendar(ui_.currentDateTime(), kFileNameDateFormat) + ".csv"
                     : name + ".csv";
    const auto chosen = ui_.runSavePanel(
        SavePanelRequest{"csv", defaults_.value(settings::kOpenPath).value_or(""), proposed});
    if (!chosen) return;
    writeHeaderFile(*chosen);
    fullPathOut = *chosen;
    ui_.setText(TextField::PathField2, abbreviateWithTilde(fullPathOut, ui_.homeDirectory()));
    ui_.setCheckBoxState(1);
}

void BrinoraAppControllerCore::openFileForOutput() {
    const auto chosen = ui_.runOpenPanel(
        OpenPanelRequest{{"csv"}, defaults_.value(settings::kOpenPath).value_or(""), false});
    if (chosen.empty()) return;
    outputFileOpened(chosen.front());
}

void BrinoraAppControllerCore::outputFileOpened(const std::string& path) {
    fullPathOut = path;
    ui_.setText(TextField::PathField2, abbreviateWithTilde(fullPathOut, ui_.homeDirectory()));
    ui_.setCheckBoxState(1);
}

void BrinoraAppControllerCore::selectCSVtoOutput() {
    // The header is not written for a run that could not start: a batch
    // refuses every option still on "Select...".
    if (optionOnPlaceholder()) {
        const std::string message(options::kChooseOptionsMessage);
        presentAppError(message);
        logLine(message);
        return;
    }
    fullPath = filesToOpen.empty() ? std::string() : filesToOpen.front();
    const auto chosen =
        ui_.runSavePanel(SavePanelRequest{"csv", directoryOf(fullPath), fileStem(fullPath) + "_Brinora.csv"});
    if (!chosen) return;
    batchOutputFileCreated(*chosen);
    checkIfPreviewNeeded();
}

bool BrinoraAppControllerCore::batchOutputFileCreated(const std::string& path) {
    const bool written = writeHeaderFile(path);
    fullPathOut = path;
    ui_.setText(TextField::PathFieldOut, fullPathOut);
    return written;
}

// ---------------------------------------------------------------- options

void BrinoraAppControllerCore::updateConstants() {
    logLine("updating constants...");
    const int constants = ui_.selectedIndex(Menu::CO2Constants);
    const int khso4 = ui_.selectedIndex(Menu::KHSO4);
    const int scale = ui_.selectedIndex(Menu::pHScale);
    const int flux = ui_.selectedIndex(Menu::AirSeaFlux);
    logLine("CO2Constants: " + std::to_string(constants) + "\nKHSO4: " + std::to_string(khso4) +
                "\npHScale: " + std::to_string(scale) + "\nAirSeaFlux: " + std::to_string(flux));
    Engine* board = Engine::sharedInstance();
    board->setFieldValueAtPos(slot::kConstantsSet, static_cast<float>(constants - 1));
    board->setFieldValueAtPos(slot::kKHSO4, static_cast<float>(khso4 - 1));
    board->setFieldValueAtPos(slot::kpHScale, static_cast<float>(scale - 1));
    board->setFieldValueAtPos(slot::kAirSeaFlux, static_cast<float>(flux - 1));
    if (ui_.selectedIndex(Menu::WindSpeedUnits) == 1 && batchWriteMode == 0) {
        // knots to m/s
        const double knots = board->getFieldValueAtPos(slot::kWindSpeed);
        board->setFieldValueAtPos(slot::kWindSpeed, static_cast<float>(knots * 0.5144));
    }
    logLine("Constants updated!");
}

bool BrinoraAppControllerCore::optionOnPlaceholder() const {
    return ui_.selectedIndex(Menu::CO2Constants) == 0 || ui_.selectedIndex(Menu::KHSO4) == 0 ||
           ui_.selectedIndex(Menu::AirSeaFlux) == 0 || ui_.selectedIndex(Menu::pHScale) == 0;
}

bool BrinoraAppControllerCore::checkForConstants() {
    if (optionOnPlaceholder()) {
        const std::string message(options::kChooseOptionsMessage);
        presentAppError(message);
        logLine(message);
        return false;
    }
    const bool noAirPCO2 = ui_.text(TextField::PCO2Air).empty();
    const bool noWind = ui_.text(TextField::Windspeed).empty();
    if (noAirPCO2 && !noWind) {
        const std::string message = "pCO2air is required to calculate Air-Sea flux";
        presentAppError(message);
        logLine(message);
        return false;
    }
    if (noAirPCO2) return true;
    if (noWind) {
        const std::string message = "Windspeed is required to calculate Air-Sea flux";
        presentAppError(message);
        logLine(message);
        return false;
    }
    return true;
}

void BrinoraAppControllerCore::CO2selected() {
    const int set = ui_.selectedIndex(Menu::CO2Constants) - 1;
    if (set == 6 || set == 7) ui_.selectItem(Menu::pHScale, options::kNBSpHScaleItem);
}

void BrinoraAppControllerCore::CO2FluxRequired() {
    logLine("CO2FluxRequired function called");
    const bool bothEmpty = ui_.text(TextField::PCO2Air).empty() && ui_.text(TextField::Windspeed).empty();
    const std::string_view placeholder = bothEmpty ? "optional" : "required";
    ui_.setPlaceholder(TextField::PCO2Air, placeholder);
    ui_.setPlaceholder(TextField::Windspeed, placeholder);
}

}  // namespace brinora
