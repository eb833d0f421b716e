// The interface objects of the main window as the toolkit-free controller sees
// them, one small interface per role: the option menus, the text fields, the
// form's date pickers and check box, the open and save panels, alerts and
// presented errors, the progress indicator, the preview table and its modal
// window; and the user-defaults store. AppUi gathers the roles.
//
// The desktop program implements AppUi and SettingsStore with its widgets and
// its settings; the tests implement them with plain values (app/plain_ui.h).
// Every call happens on the one user-interface thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "input/presented_error.h"
#include "records/calendar_format.h"

namespace brinora {

// The pop-up menus whose selection the controller reads or sets.
enum class Menu {
    CO2Constants,       // constants set: item 0 placeholder, item k = set k (1..14)
    KHSO4,              // bisulfate constant: item 0 placeholder, item k = choice k (1..2)
    pHScale,            // pH scale: item 0 placeholder, item k = scale k (1..4)
    AirSeaFlux,         // flux formula: item 0 placeholder, item k = formula k - 1 (0..2)
    WindSpeedUnits,     // item 0 m/s, item 1 knots
    CoordinateFormat,   // item 1 = coordinates written with hemisphere letters
    CruiseLatitudeNS,   // latitude hemisphere; its title is the letter N or S
    CruiseLongitudeEW,  // longitude hemisphere; its title is the letter E or W
};

// The text fields (and text field cells) whose text the controller reads or sets.
enum class TextField {
    CruiseName,          // sample name of the form
    CruiseComment,       // sample comment of the form
    CruiseLatitude,      // latitude as typed
    CruiseLongitude,     // longitude as typed
    PCO2Air,             // atmospheric pCO2 cell of the form (microatmosphere)
    Windspeed,           // wind speed cell of the form (in the units of the WindSpeedUnits menu)
    PathField,           // batch input path
    PathFieldOut,        // batch output path, shown in full
    PathField2,          // output path with the home directory shown as "~"
    PreviewTableLength,  // number of preview lines, beside the stepper of the preview window
};

// The two date pickers of the form.
enum class DatePicker {
    CruiseDate,  // sample date
    CruiseTime,  // sample time of day
};

// What an open panel is asked to show.
struct OpenPanelRequest {
    std::vector<std::string> allowedTypes;  // file name extensions without the point, e.g. "csv"
    std::string directory;                  // starting folder as stored (may begin with "~")
    bool allowsMultipleSelection = false;   // always false here: one existing file
};

// What a save panel is asked to show.
struct SavePanelRequest {
    std::string requiredType;  // extension without the point, e.g. "csv" or "kml"
    std::string directory;     // starting folder; empty for the panel's own choice
    std::string proposedName;  // proposed file name, extension included
};

// An informational alert with its buttons; runs modally until dismissed.
struct Alert {
    std::string messageText;               // bold first line
    std::string informativeText;           // smaller text below it
    std::vector<std::string> buttons;      // button titles, first one the default
};

// The user-defaults store: string keys with string values (keys in app/settings_keys.h).
class SettingsStore {
public:
    virtual ~SettingsStore() = default;
    // The value stored under `key`, or nothing when the key is missing.
    virtual std::optional<std::string> value(std::string_view key) const = 0;
    // Stores `value` under `key`, replacing any earlier value.
    virtual void setValue(std::string_view key, std::string_view value) = 0;
    // Removes `key`; nothing happens when it is missing.
    virtual void removeValue(std::string_view key) = 0;
    // Writes pending changes to permanent storage now.
    virtual void synchronize() = 0;
};

// The option menus (pop-up menus) of the window.
class OptionMenus {
public:
    virtual ~OptionMenus() = default;
    // Index of the selected item of `menu` (0 when nothing is selected).
    virtual int selectedIndex(Menu menu) const = 0;
    // Selects item `index` of `menu`.
    virtual void selectItem(Menu menu, int index) = 0;
    // Title of the selected item of `menu`, exactly as the menu shows it.
    virtual std::string selectedTitle(Menu menu) const = 0;
};

// The text fields of the window.
class TextFields {
public:
    virtual ~TextFields() = default;
    // Current text of `field` ("" when empty).
    virtual std::string text(TextField field) const = 0;
    // Replaces the text of `field`.
    virtual void setText(TextField field, std::string_view text) = 0;
    // Replaces the grey placeholder text that `field` shows while empty.
    virtual void setPlaceholder(TextField field, std::string_view placeholder) = 0;
};

// The form's date pickers and the "write to the output file" check box.
class FormControls {
public:
    virtual ~FormControls() = default;
    // Value that date picker `picker` holds now.
    virtual CalendarDateTime dateValue(DatePicker picker) const = 0;
    // The current date and time in the system time zone.
    virtual CalendarDateTime currentDateTime() const = 0;
    // State of the "write to the output file" check box: 1 on, 0 off.
    virtual int checkBoxState() const = 0;
    // Switches the check box on (1) or off (0).
    virtual void setCheckBoxState(int state) = 0;
};

// The open and save panels.
class FilePanels {
public:
    virtual ~FilePanels() = default;
    // Runs an open panel; the chosen files as full paths, empty on Cancel.
    virtual std::vector<std::string> runOpenPanel(const OpenPanelRequest& request) = 0;
    // Runs a save panel; the chosen full path, nothing on Cancel.
    virtual std::optional<std::string> runSavePanel(const SavePanelRequest& request) = 0;
};

// Errors and alerts shown to the user.
class Dialogs {
public:
    virtual ~Dialogs() = default;
    // Presents an error to the user; returns when it has been acknowledged.
    virtual void presentError(const PresentedError& error) = 0;
    // Runs an informational alert modally; returns when it has been dismissed.
    virtual void runAlert(const Alert& alert) = 0;
};

// The progress indicator of the batch tab and its Cancel.
class ProgressIndicator {
public:
    virtual ~ProgressIndicator() = default;
    // Shows (false) or hides (true) the progress indicator of the batch tab.
    virtual void setProgressIndicatorHidden(bool hidden) = 0;
    // Sets the progress indicator to `percent` (0..100) and redraws it at once.
    virtual void setProgressIndicatorValue(double percent) = 0;
    // Switches the progress indicator to an indeterminate display (true) while
    // the size of the input is unknown, as when it comes from a pipe.
    virtual void setProgressIndicatorIndeterminate(bool indeterminate);
    // Whether the user asked the running batch to stop. A run checks it
    // between blocks of lines and ends as a stopping line would: the records
    // before the stop are in the output, nothing after it.
    virtual bool cancelRequested() const;
};

// The preview table's view, its stepper and the modal preview window.
class PreviewControls {
public:
    virtual ~PreviewControls() = default;
    // Shows (false) or hides (true) the preview table's view on the batch tab.
    virtual void setPreviewTableHidden(bool hidden) = 0;
    // Tells the preview table that its row count may have changed.
    virtual void noteNumberOfRowsChanged() = 0;
    // Sets the stepper beside the preview length field.
    virtual void setStepperValue(int value) = 0;
    // Runs the preview window modally; returns when one of its buttons has
    // ended the modal session (BrinoraAppControllerCore::cancelFromPreview,
    // OKFromPreview or refreshTable, which call the two members below).
    virtual void runPreviewWindowModal() = 0;
    // Closes the preview window.
    virtual void closePreviewWindow() = 0;
    // Ends the preview window's modal session.
    virtual void stopPreviewModal() = 0;
};

// The main window's interface objects, seen from the controller: every role
// above, the form's Calculate, the home folder and the log.
class AppUi : public OptionMenus,
              public TextFields,
              public FormControls,
              public FilePanels,
              public Dialogs,
              public ProgressIndicator,
              public PreviewControls {
public:
    ~AppUi() override = default;

    // The form's Calculate action; with the batch tab in front it starts the
    // full batch run (BrinoraAppControllerCore::batchProcess with justPreview false).
    virtual void performCalculate() = 0;

    // The user's home directory, for showing paths with "~".
    virtual std::string homeDirectory() const;
    // Writes one plain line to the system log (by default through log/log.h).
    virtual void logLine(std::string_view line);
};

}  // namespace brinora
