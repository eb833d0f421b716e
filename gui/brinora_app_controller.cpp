#include "gui/brinora_app_controller.h"

#include <QApplication>
#include <QEventLoop>
#include <QDir>

#include <algorithm>
#include <cmath>

#include "gui/bound_fields.h"
#include "gui/graph_page.h"
#include "gui/help_viewer.h"
#include "gui/preview_window.h"
#include "gui/qt_text.h"
#include "gui/window_fit.h"

namespace brinora {

namespace {

CalendarDateTime toCalendar(const QDateTime& value) {
    const QDate date = value.date();
    const QTime time = value.time();
    return CalendarDateTime{date.year(), date.month(), date.day(),
                            time.hour(), time.minute(), time.second()};
}

// Current date and time to the second, as the pickers hold it.
QDateTime nowToTheSecond() {
    QDateTime now = QDateTime::currentDateTime();
    const QTime time = now.time();
    now.setTime(QTime(time.hour(), time.minute(), time.second()));
    return now;
}

}  // namespace

BrinoraAppController::BrinoraAppController(SettingsStore& defaults, QWidget* parent)
    : QMainWindow(parent),
      defaults_(defaults),
      core_(std::make_unique<BrinoraAppControllerCore>(*this, defaults)),
      form_(*core_, *this, *this, *Engine::sharedInstance()) {
    setObjectName("BrinoraAppController");
    setWindowTitle(tr("Brinora"));
    buildWindow();
    buildMenus();

    core_->previewTableController.onRecordsChanged = [this] { previewModel_->reload(); };
    previewModel_->reload();

    batchRunner_ = std::make_unique<BatchRunner>(*core_, *this, defaults_);
    connect(batchRunner_.get(), &BatchRunner::runningChanged, this,
            [this](bool running) { setBatchControlsEnabled(!running); });
    connect(batchRunner_.get(), &BatchRunner::finished, this, &BrinoraAppController::batchRunFinished);

    // The window load of the design: start-up values of the date pickers,
    // the first item of every tab view, the batch widgets hidden.
    core_->awakeFromNib();
    form_.awakeFromNib();
    setProgressIndicatorHidden(true);
    setPreviewTableHidden(true);
    restoreWindowGeometry(*this, defaults_);
}

BrinoraAppController::~BrinoraAppController() {
    // A run still going ends before the widgets it reports to are gone.
    batchRunner_.reset();
    core_->previewTableController.onRecordsChanged = nullptr;
}

void BrinoraAppController::setUserDialogs(UserDialogs* dialogs) {
    dialogs_ = dialogs ? dialogs : &qtDialogs_;
}

// ---------------------------------------------------------------- AppUi

QComboBox* BrinoraAppController::menu(Menu which) const {
    const auto found = menus_.find(which);
    return found == menus_.end() ? nullptr : found->second;
}

QLineEdit* BrinoraAppController::textField(TextField which) const {
    const auto found = textFields_.find(which);
    return found == textFields_.end() ? nullptr : found->second;
}

QDateTimeEdit* BrinoraAppController::datePicker(DatePicker picker) const {
    return picker == DatePicker::CruiseDate ? cruiseDate_ : cruiseTime_;
}

QTabWidget* BrinoraAppController::tabWidget(TabView view) const { return tabs_.at(view); }

InputTextField* BrinoraAppController::inputField(std::uint32_t tag) const {
    return dynamic_cast<InputTextField*>(form_.inputFieldWithTag(tag));
}

std::vector<OutputTextField*> BrinoraAppController::outputFields(std::uint32_t tag) const {
    std::vector<OutputTextField*> fields;
    for (BoundField* field : form_.outputFields()) {
        if (field->tag() == tag) fields.push_back(dynamic_cast<OutputTextField*>(field));
    }
    return fields;
}

int BrinoraAppController::selectedIndex(Menu which) const {
    const QComboBox* box = menu(which);
    return box ? std::max(0, box->currentIndex()) : 0;
}

void BrinoraAppController::selectItem(Menu which, int index) {
    if (QComboBox* box = menu(which)) box->setCurrentIndex(index);
}

std::string BrinoraAppController::selectedTitle(Menu which) const {
    const QComboBox* box = menu(which);
    return box ? box->currentText().toStdString() : std::string();
}

std::string BrinoraAppController::text(TextField which) const {
    const QLineEdit* field = textField(which);
    return field ? field->QLineEdit::text().toStdString() : std::string();
}

void BrinoraAppController::setText(TextField which, std::string_view value) {
    if (QLineEdit* field = textField(which)) field->QLineEdit::setText(toQString(value));
}

void BrinoraAppController::setPlaceholder(TextField which, std::string_view placeholder) {
    if (QLineEdit* field = textField(which)) field->setPlaceholderText(toQString(placeholder));
}

CalendarDateTime BrinoraAppController::dateValue(DatePicker picker) const {
    return toCalendar(datePicker(picker)->dateTime());
}

CalendarDateTime BrinoraAppController::currentDateTime() const {
    return toCalendar(QDateTime::currentDateTime());
}

int BrinoraAppController::checkBoxState() const { return checkBox_->isChecked() ? 1 : 0; }

void BrinoraAppController::setCheckBoxState(int state) { checkBox_->setChecked(state == 1); }

std::vector<std::string> BrinoraAppController::runOpenPanel(const OpenPanelRequest& request) {
    return dialogs_->runOpenPanel(this, request);
}

std::optional<std::string> BrinoraAppController::runSavePanel(const SavePanelRequest& request) {
    return dialogs_->runSavePanel(this, request);
}

void BrinoraAppController::presentError(const PresentedError& error) {
    dialogs_->presentError(this, previewStopReported_ ? error : withPreviewStop(error));
}

void BrinoraAppController::runAlert(const Alert& alert) {
    // The run is over: the bar shows where it ended before the alert comes.
    if (progressRedrawThrottle_.pending()) {
        progressRedrawThrottle_.flush();
        drawProgress(pendingProgress_);
    }
    dialogs_->runAlert(this, withCounts(alert));
}

void BrinoraAppController::setProgressIndicatorHidden(bool hidden) {
    progressIndicator_->setVisible(!hidden);
    if (hidden) progressRedrawThrottle_.reset();
}

void BrinoraAppController::setProgressIndicatorValue(double percent) {
    const double clamped = std::isfinite(percent) ? std::clamp(percent, 0.0, 100.0) : 0.0;
    pendingProgress_ = static_cast<int>(std::lround(clamped * kProgressStepsPerPercent));
    // A run reports every record from its own thread; the bar is redrawn
    // when it moves, a few dozen times a second, by the window's event loop.
    if (progressRedrawThrottle_.redraw(pendingProgress_)) drawProgress(pendingProgress_);
    Q_EMIT progressChanged(percent);
}

void BrinoraAppController::drawProgress(int value) {
    progressIndicator_->setValue(value);
    ++progressRedraws_;
}

void BrinoraAppController::setProgressIndicatorIndeterminate(bool indeterminate) {
    // A range of 0..0 is the toolkit's busy display.
    progressIndicator_->setRange(0, indeterminate ? 0 : 100 * kProgressStepsPerPercent);
}

void BrinoraAppController::setPreviewTableHidden(bool hidden) {
    batchPreviewTable_->setVisible(!hidden);
}

void BrinoraAppController::noteNumberOfRowsChanged() { previewModel_->reload(); }

void BrinoraAppController::setStepperValue(int value) { previewWindow_->stepper()->setValue(value); }

void BrinoraAppController::runPreviewWindowModal() {
    PreviewSession session;
    previewSessions_.push_back(&session);
    previewModel_->reload();
    previewWindow_->show();
    previewWindow_->raise();
    previewWindow_->activateWindow();
    Q_EMIT previewWindowShown();
    // A button may already have ended the session (a test answering at once).
    if (!session.stopped) {
        QEventLoop loop;
        session.loop = &loop;
        loop.exec(QEventLoop::DialogExec);
        session.loop = nullptr;
    }
    previewSessions_.erase(std::find(previewSessions_.begin(), previewSessions_.end(), &session));
}

void BrinoraAppController::closePreviewWindow() { previewWindow_->hide(); }

void BrinoraAppController::stopPreviewModal() {
    // Ends the innermost session still running; a new preview started from a
    // button (Refresh) then runs its own session inside it.
    for (auto it = previewSessions_.rbegin(); it != previewSessions_.rend(); ++it) {
        if ((*it)->stopped) continue;
        (*it)->stopped = true;
        if ((*it)->loop) (*it)->loop->exit(0);
        return;
    }
}

void BrinoraAppController::performCalculate() { calculate(); }

// ---------------------------------------------------------------- TabViews

int BrinoraAppController::selectedTab(TabView view) const { return tabs_.at(view)->currentIndex(); }

void BrinoraAppController::selectTab(TabView view, int index) { tabs_.at(view)->setCurrentIndex(index); }

// ---------------------------------------------------------------- actions

void BrinoraAppController::calculate() {
    if (batchRunning()) return;
    const int front = tabs_.at(TabView::SingleBatch)->currentIndex();
    // The graph tab has nothing to calculate.
    if (front == kGraphTab) return;
    // The batch tab's Calculate runs the batch on its own thread, whichever
    // page the one-sample tab was left on (its Constants... button shows the
    // constants page there). When the run ends, the graph shows its output file.
    if (front == 1) {
        graphFileAfterRun_ = text(TextField::PathFieldOut);
        startBatchRun();
        return;
    }
    // The form: a field whose text is no number is read as 0; the user says
    // whether to calculate with that 0.
    if (selectedTab(TabView::DataConstants) != 1 && !confirmFieldsReadAsZero()) return;
    if (form_.calculate()) {
        showFormUncertainties();
    } else if (!form_.outputFields().empty() && form_.outputFields().front()->text().empty()) {
        // The results were cleared (a refused sample): so are their uncertainties.
        clearFormUncertainties(tr("No sample calculated."));
    }
}

bool BrinoraAppController::confirmFieldsReadAsZero() {
    QStringList notes;
    for (BoundField* bound : form_.inputFields()) {
        const auto* field = dynamic_cast<InputTextField*>(bound);
        if (field && field->readAsZero()) notes.append(field->fieldName() + QStringLiteral(": ") + field->lenientReadingNote());
    }
    if (notes.isEmpty()) return true;
    const std::string which = notes.join(QLatin1Char('\n')).toStdString();
    return dialogs_->askQuestion(
        this, Question{notes.size() == 1 ? "A field holds no number." : "Some fields hold no number.",
                       which + "\n\nCalculate with 0 in place of " + (notes.size() == 1 ? "it" : "them") + "?",
                       "Calculate with 0", "Cancel"});
}

void BrinoraAppController::clear() {
    if (batchRunning()) return;
    const int front = tabs_.at(TabView::SingleBatch)->currentIndex();
    if (front == kGraphTab) return;
    if (front != 1) {
        form_.clear();
        clearFormUncertainties(tr("Calculate a sample to see its budget."));
        return;
    }
    // The batch tab: its files, its preview and its progress; the form keeps its values.
    const std::string output = text(TextField::PathFieldOut);
    if (!output.empty() && core_->fullPathOut == output) {
        core_->fullPathOut.clear();
        setText(TextField::PathField2, "");
        setCheckBoxState(0);
    }
    setText(TextField::PathField, "");
    setText(TextField::PathFieldOut, "");
    core_->filesToOpen.clear();
    core_->fullPath.clear();
    core_->previewTableController.clearPreviewTable();
    previewModel_->reload();
    setPreviewTableHidden(true);
    setProgressIndicatorHidden(true);
}

void BrinoraAppController::switchToInput() { form_.switchToInput(); }
void BrinoraAppController::switchToResultsInputConditions() { form_.switchToResultsInputConditions(); }
void BrinoraAppController::switchToResultsOutputConditions() { form_.switchToResultsOutputConditions(); }
void BrinoraAppController::switchToConstants() { form_.switchToConstants(); }
void BrinoraAppController::switchToBatchProcessing() { form_.switchToBatchProcessing(); }
void BrinoraAppController::switchToGraph() { tabs_.at(TabView::SingleBatch)->setCurrentIndex(kGraphTab); }

void BrinoraAppController::getCurrentTime() { cruiseTime_->setDateTime(nowToTheSecond()); }

void BrinoraAppController::getCurrentDate() { cruiseDate_->setDateTime(nowToTheSecond()); }

void BrinoraAppController::showHelp_MainHelp() { showHelpPage(QString()); }

void BrinoraAppController::showHelpFor() {
    const QObject* origin = sender();
    showHelpPage(origin ? origin->property("alternateTitle").toString() : QString());
}

void BrinoraAppController::showHelpPage(const QString& page) {
    helpViewer_->openPage(page);
    helpViewer_->show();
    helpViewer_->raise();
    helpViewer_->activateWindow();
}

}  // namespace brinora
