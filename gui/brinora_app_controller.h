// The main window of the desktop program and its controller: the one-sample
// form, the constants choice, the results at input and output conditions, and
// the batch tab. The toolkit-free parts (the form's checks, the batch run, the
// output file, the option operations) live in FormController and
// BrinoraAppControllerCore; this class gives them Qt widgets.
#pragma once

#include <QCheckBox>
#include <QComboBox>
#include <QDateTimeEdit>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QProgressBar>
#include <QPushButton>
#include <QTabWidget>
#include <QTableView>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "app/form_controller.h"
#include "app/controller_core.h"
#include "app/redraw_throttle.h"
#include "app/ui.h"
#include "gui/batch_runner.h"
#include "gui/user_dialogs.h"
#include "uncertainty_io/sample_uncertainty.h"

class QAction;
class QEventLoop;

namespace brinora {

class InputTextField;
class OutputTextField;
class GraphPage;
class PreviewTableItemModel;
class PreviewWindow;
class HelpViewer;
class UncertaintyPanel;
class ErrorSpaceWindow;

class BrinoraAppController : public QMainWindow, public AppUi, public TabViews {
    Q_OBJECT
public:
    // The window reads and writes the stored settings in `defaults`, which
    // must outlive it.
    explicit BrinoraAppController(SettingsStore& defaults, QWidget* parent = nullptr);
    ~BrinoraAppController() override;

    // ---- Field delegate (the bound text fields call these) ----
    void registerInput(BoundField* field) { form_.registerInput(field); }
    void registerOutput(BoundField* field) { form_.registerOutput(field); }
    void pushInputValue(BoundField* field) { form_.pushInputValue(*field); }
    void pullOutputValue(BoundField* field) { form_.pullOutputValue(*field); }
    void clearOutputValue(BoundField* field) { form_.clearOutputValue(*field); }

    // ---- AppUi ----
    int selectedIndex(Menu menu) const override;
    void selectItem(Menu menu, int index) override;
    std::string selectedTitle(Menu menu) const override;
    std::string text(TextField field) const override;
    void setText(TextField field, std::string_view text) override;
    void setPlaceholder(TextField field, std::string_view placeholder) override;
    CalendarDateTime dateValue(DatePicker picker) const override;
    CalendarDateTime currentDateTime() const override;
    int checkBoxState() const override;
    void setCheckBoxState(int state) override;
    std::vector<std::string> runOpenPanel(const OpenPanelRequest& request) override;
    std::optional<std::string> runSavePanel(const SavePanelRequest& request) override;
    void presentError(const PresentedError& error) override;
    void runAlert(const Alert& alert) override;
    void setProgressIndicatorHidden(bool hidden) override;
    void setProgressIndicatorValue(double percent) override;
    void setProgressIndicatorIndeterminate(bool indeterminate) override;
    void setPreviewTableHidden(bool hidden) override;
    void noteNumberOfRowsChanged() override;
    void setStepperValue(int value) override;
    void runPreviewWindowModal() override;
    void closePreviewWindow() override;
    void stopPreviewModal() override;
    void performCalculate() override;

    // ---- TabViews ----
    int selectedTab(TabView view) const override;
    void selectTab(TabView view, int index) override;

    // Replaces the dialogs that answer panels, errors and alerts (not owned;
    // nullptr restores the real dialogs).
    void setUserDialogs(UserDialogs* dialogs);

    // ---- Parts, for the tests and the screenshot tour ----
    BrinoraAppControllerCore& core() { return *core_; }
    FormController& form() { return form_; }
    QComboBox* menu(Menu menu) const;
    QLineEdit* textField(TextField field) const;
    QDateTimeEdit* datePicker(DatePicker picker) const;
    QTabWidget* tabWidget(TabView view) const;
    // The first input field with board slot `tag`, or nullptr.
    InputTextField* inputField(std::uint32_t tag) const;
    // Every output field showing board slot `tag`.
    std::vector<OutputTextField*> outputFields(std::uint32_t tag) const;
    QCheckBox* checkBox() const { return checkBox_; }
    QProgressBar* progressIndicator() const { return progressIndicator_; }
    QTableView* batchPreviewTable() const { return batchPreviewTable_; }
    PreviewWindow* previewWindow() const { return previewWindow_; }
    HelpViewer* helpViewer() const { return helpViewer_; }
    QPushButton* calculateButton() const { return calculateButton_; }
    QPushButton* clearButton() const { return clearButton_; }
    // Stops the batch or KML run that is going; enabled only while one goes.
    QPushButton* cancelBatchButton() const { return cancelBatchButton_; }
    // Whether a batch or KML run is going on its own thread.
    bool batchRunning() const { return batchRunner_ && batchRunner_->running(); }
    GraphPage* graphPage() const { return graphPage_; }
    // The Uncertainties page of the one-sample tab (index kUncertaintyTab of
    // the data / constants tab view).
    UncertaintyPanel* uncertaintyPanel() const { return uncertaintyPanel_; }
    static constexpr int kUncertaintyTab = 2;
    // The "± u" labels beside the output fields of board slot `tag`.
    std::vector<QLabel*> uncertaintyLabels(std::uint32_t tag) const;
    // The propagation of the form's last calculated sample, when the panel asked for it.
    const std::optional<uncertainty::SampleUncertainty>& formUncertainty() const { return formUncertainty_; }
    // The batch tab's check box: the run also writes the uncertainty file.
    QCheckBox* batchUncertaintyBox() const { return batchUncertaintyBox_; }
    // The error-space window of the form's last sample (made on first use).
    ErrorSpaceWindow* errorSpaceWindow() const { return errorSpaceWindow_; }
    // Index of the graph tab in the one-sample / batch tab view.
    static constexpr int kGraphTab = 2;
    // Depth of nested preview window sessions now running.
    int previewSessionDepth() const { return static_cast<int>(previewSessions_.size()); }

    // Steps of the progress bar per percent, so that long files still move it.
    static constexpr int kProgressStepsPerPercent = 10;
    // Redraws of the progress bar per second at most, so that a long batch is
    // bounded by its calculation, not by drawing.
    static constexpr int kProgressRedrawsPerSecond = 30;
    // Times the progress bar was redrawn since the window opened.
    int progressRedraws() const { return progressRedraws_; }

public Q_SLOTS:
    // ---- Actions of the form ----
    void calculate();
    void clear();
    void switchToInput();
    void switchToResultsInputConditions();
    void switchToResultsOutputConditions();
    void switchToConstants();
    void switchToBatchProcessing();
    void switchToGraph();
    // The Uncertainties page of the one-sample tab.
    void switchToUncertainties();
    void getCurrentTime();
    void getCurrentDate();
    // Opens the help book at its start page.
    void showHelp_MainHelp();
    // Opens the help book at the page named by the sender's "alternateTitle" property.
    void showHelpFor();
    // Opens the help book at `page` (a page name such as "batch-input").
    void showHelpPage(const QString& page);
    // Write KML: the run of the batch tab's KML button, on its own thread.
    void writeKML();
    // Asks the batch or KML run that is going to stop after whole records.
    void cancelBatch();
    // Shows the error-space diagram of the form's last calculated sample.
    void showErrorSpace();

Q_SIGNALS:
    // The preview window is on screen and its modal session is about to run.
    void previewWindowShown();
    // A full batch run moved its progress indicator to `percent`.
    void progressChanged(double percent);
    // A batch or KML run ended and its closing alert or message has been shown.
    void batchRunEnded();

protected:
    // Quitting while a run goes asks first; a quit stops the run as Cancel
    // does, says what was kept, then closes. The window's geometry is stored.
    void closeEvent(QCloseEvent* event) override;

private:
    struct PreviewSession {
        bool stopped = false;
        QEventLoop* loop = nullptr;
    };

    void buildWindow();
    QWidget* buildInputPage();
    QWidget* buildConstantsPage();
    QWidget* buildResultsPage(bool outputConditions);
    QWidget* buildBatchPage();
    // The uncertainty panel's page, the batch tab's uncertainty check box,
    // a "± u" label beside every output field, and the graph tab's
    // error-space button (gui/form_uncertainty.cpp).
    QWidget* buildUncertaintyPage();
    QCheckBox* buildBatchUncertaintyBox(QWidget* parent);
    void wireUncertainties();
    // After Calculate: the propagation of the sample on the board with the
    // panel's uncertainties, its "± u" labels and its budget; or none.
    void showFormUncertainties();
    void clearFormUncertainties(const QString& why);
    void buildMenus();
    void bindMenuToSetting(QComboBox* menu, std::string_view indexKey, std::string_view titleKey = {});
    QPushButton* helpButton(const QString& page);

    // The batch tab's Calculate: the full run over the files its path fields
    // show, after checking that the output file is one that records may be
    // added to.
    void startBatchRun();
    // Presents the message of an option menu still on "Select..." and
    // returns true; false (nothing shown) when all four options are chosen.
    bool refuseWithoutOptions();
    // `alert` with the number of records or placemarks that the run going
    // wrote, when it is that run's completion alert.
    Alert withCounts(const Alert& alert) const;
    // True when no input field holds text read as 0, or the user chose to
    // calculate with 0 in those fields.
    bool confirmFieldsReadAsZero();
    // Runs `choose` (choosing a batch file, which may start the preview) so
    // that a line stopping the preview is named in the message presented.
    void previewing(const std::function<void()>& choose);
    // The preview window's Refresh: the preview again with the number of
    // lines in its field; a line that stops it is presented with its number.
    void refreshPreview();
    // `error` with the input line that stopped the preview, while a preview
    // started by previewing() or refreshPreview() reports its stop.
    PresentedError withPreviewStop(const PresentedError& error) const;
    // Reports how a run ended and gives the window back its controls.
    void batchRunFinished(BatchRunner::Kind kind, const QString& message);
    // Enables the controls that reach the controller core (off while a run goes).
    void setBatchControlsEnabled(bool enabled);

    SettingsStore& defaults_;
    std::unique_ptr<BrinoraAppControllerCore> core_;
    FormController form_;
    QtUserDialogs qtDialogs_;
    UserDialogs* dialogs_ = &qtDialogs_;

    std::map<Menu, QComboBox*> menus_;
    std::map<TextField, QLineEdit*> textFields_;
    std::map<TabView, QTabWidget*> tabs_;
    QDateTimeEdit* cruiseDate_ = nullptr;
    QDateTimeEdit* cruiseTime_ = nullptr;
    QCheckBox* checkBox_ = nullptr;
    QProgressBar* progressIndicator_ = nullptr;
    QTableView* batchPreviewTable_ = nullptr;
    QPushButton* calculateButton_ = nullptr;
    QPushButton* clearButton_ = nullptr;
    PreviewTableItemModel* previewModel_ = nullptr;
    GraphPage* graphPage_ = nullptr;
    // The output file of the batch run that is going, shown on the graph tab when it ends.
    std::string graphFileAfterRun_;
    UncertaintyPanel* uncertaintyPanel_ = nullptr;
    std::vector<std::pair<BoundField*, QLabel*>> uncertaintyLabels_;
    std::optional<uncertainty::SampleUncertainty> formUncertainty_;
    QCheckBox* batchUncertaintyBox_ = nullptr;
    ErrorSpaceWindow* errorSpaceWindow_ = nullptr;
    PreviewWindow* previewWindow_ = nullptr;
    HelpViewer* helpViewer_ = nullptr;
    std::vector<PreviewSession*> previewSessions_;
    std::unique_ptr<BatchRunner> batchRunner_;
    // False while a preview started by previewing() or refreshPreview() may present its stop.
    bool previewStopReported_ = true;
    // The user quit during a run: the window closes when the run has ended.
    bool closeAfterRun_ = false;
    QPushButton* cancelBatchButton_ = nullptr;
    // Menu actions that reach the controller core.
    std::vector<QAction*> coreActions_;
    // The core's files before a KML run, given back when it ends, so that the
    // batch tab and the form keep writing to the files they show.
    struct FilesBeforeKml {
        std::vector<std::string> filesToOpen;
        std::string fullPath;
        std::string fullPathOut;
    } filesBeforeKml_;
    // Draws the progress bar at `value` steps and lets the window repaint.
    void drawProgress(int value);
    RedrawThrottle progressRedrawThrottle_{kProgressRedrawsPerSecond};
    int pendingProgress_ = 0;
    int progressRedraws_ = 0;
};

}  // namespace brinora
