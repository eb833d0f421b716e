// AppUi and SettingsStore over plain values, for the command line and the
// tests: menus hold an index and take their titles from app/option_titles.h,
// text fields and date pickers hold values, and everything the user would
// answer (panels, alerts, the modal preview window, Calculate) is a callback.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "app/ui.h"

namespace brinora {

// The user-defaults store in memory.
class MemorySettings : public SettingsStore {
public:
    std::optional<std::string> value(std::string_view key) const override;
    void setValue(std::string_view key, std::string_view value) override;
    void removeValue(std::string_view key) override;
    // Counts the calls; nothing to write.
    void synchronize() override { ++synchronizeCount; }

    std::map<std::string, std::string, std::less<>> values;  // key -> value
    int synchronizeCount = 0;                                // calls of synchronize()
};

// The main window's interface objects as plain values.
class PlainUi : public AppUi {
public:
    PlainUi();

    int selectedIndex(Menu menu) const override;
    void selectItem(Menu menu, int index) override;
    // The menu's title list at the selected index ("" outside the list).
    std::string selectedTitle(Menu menu) const override;

    std::string text(TextField field) const override;
    void setText(TextField field, std::string_view text) override;
    void setPlaceholder(TextField field, std::string_view placeholder) override;

    CalendarDateTime dateValue(DatePicker picker) const override;
    CalendarDateTime currentDateTime() const override;

    int checkBoxState() const override { return checkBox; }
    void setCheckBoxState(int state) override { checkBox = state; }

    std::vector<std::string> runOpenPanel(const OpenPanelRequest& request) override;
    std::optional<std::string> runSavePanel(const SavePanelRequest& request) override;
    void presentError(const PresentedError& error) override;
    void runAlert(const Alert& alert) override;

    void setProgressIndicatorHidden(bool hidden) override;
    void setProgressIndicatorValue(double percent) override;

    void setPreviewTableHidden(bool hidden) override { previewTableHidden = hidden; }
    void noteNumberOfRowsChanged() override { ++rowCountChanges; }
    void setStepperValue(int value) override { stepper = value; }
    void runPreviewWindowModal() override;
    void closePreviewWindow() override { previewWindowOpen = false; }
    void stopPreviewModal() override { ++modalStops; }
    void performCalculate() override;

    std::string homeDirectory() const override;

    // State of the interface objects, open to the owner.
    std::map<Menu, int> menus;                         // selected index per menu
    std::map<Menu, std::string> titleOverrides;        // a title that replaces the listed one
    std::map<TextField, std::string> texts;            // text per field
    std::map<TextField, std::string> placeholders;     // placeholder per field
    std::map<DatePicker, CalendarDateTime> dates;      // value per date picker
    CalendarDateTime now;                              // what currentDateTime() returns
    int checkBox = 0;                                  // check box state
    bool progressHidden = true;                        // progress indicator hidden
    double progress = 0.0;                             // last progress value, percent
    bool previewTableHidden = true;                    // preview table view hidden
    int rowCountChanges = 0;                           // calls of noteNumberOfRowsChanged
    int stepper = 0;                                   // stepper value
    bool previewWindowOpen = false;                    // preview window on screen
    int modalRuns = 0;                                 // calls of runPreviewWindowModal
    int modalStops = 0;                                // calls of stopPreviewModal
    std::string home;                                  // "" means the HOME variable

    // Answers to the user's side; an unset callback cancels or just returns.
    std::function<std::vector<std::string>(const OpenPanelRequest&)> onOpenPanel;
    std::function<std::optional<std::string>(const SavePanelRequest&)> onSavePanel;
    std::function<void(const PresentedError&)> onPresentError;
    std::function<void(const Alert&)> onAlert;
    std::function<void(double)> onProgress;            // after each progress value
    std::function<void(bool)> onProgressHidden;        // after each show or hide
    std::function<void()> onPreviewModal;              // while the preview window runs
    std::function<void()> onCalculate;                 // the form's Calculate
};

}  // namespace brinora
