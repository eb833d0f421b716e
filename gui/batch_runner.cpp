#include "gui/batch_runner.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QThread>

#include <chrono>
#include <exception>
#include <type_traits>
#include <utility>

#include "app/batch_run.h"

namespace brinora {

namespace {

// Carries calls from the run's thread over to the thread of `context` (the
// window's). On that thread itself a call is made at once. While the window
// is being closed, its menus, fields and bar still answer (the run goes on
// with the options it was started with), but nothing asks the user any more:
// a panel is cancelled, an alert or an error is not shown.
class WindowThread {
public:
    WindowThread(QObject& context, const std::atomic<bool>& closing) : context_(context), closing_(closing) {}

    // Makes the call there and waits for its result.
    template <typename F>
    auto ask(F&& call) const {
        if (QThread::currentThread() == context_.thread()) return call();
        std::invoke_result_t<F&> result{};
        QMetaObject::invokeMethod(&context_, [&] { result = call(); }, Qt::BlockingQueuedConnection);
        return result;
    }

    // Asks the user there and waits for the answer; `fallback` once the
    // window is being closed.
    template <typename F, typename R = std::invoke_result_t<F&>>
    R askUser(F&& call, R answer) const {
        if (closing_.load()) return answer;
        if (QThread::currentThread() == context_.thread()) return call();
        QMetaObject::invokeMethod(
            &context_, [&] { if (!closing_) answer = call(); }, Qt::BlockingQueuedConnection);
        return answer;
    }

    // Shows something to the user there and waits until it is dismissed;
    // nothing once the window is being closed.
    template <typename F>
    void showUser(F&& call) const {
        askUser([&] { call(); return true; }, false);
    }

    // Queues the call there and returns at once; calls queued from one
    // thread are made in the order queued. `call` holds copies of its values.
    template <typename F>
    void tell(F&& call) const {
        if (QThread::currentThread() == context_.thread()) {
            call();
            return;
        }
        QMetaObject::invokeMethod(&context_, std::forward<F>(call), Qt::QueuedConnection);
    }

private:
    QObject& context_;
    const std::atomic<bool>& closing_;
};

}  // namespace

// ---------------------------------------------------------------- the window, seen from the run

class BatchRunner::WorkerUi : public AppUi {
public:
    WorkerUi(AppUi& window, QObject& context, const std::atomic<bool>& cancel, const std::atomic<bool>& closing)
        : window_(window), thread_(context, closing), cancel_(cancel) {}

    int selectedIndex(Menu menu) const override {
        return thread_.ask([&] { return window_.selectedIndex(menu); });
    }
    void selectItem(Menu menu, int index) override {
        thread_.tell([this, menu, index] { window_.selectItem(menu, index); });
    }
    std::string selectedTitle(Menu menu) const override {
        return thread_.ask([&] { return window_.selectedTitle(menu); });
    }
    std::string text(TextField field) const override {
        return thread_.ask([&] { return window_.text(field); });
    }
    void setText(TextField field, std::string_view text) override {
        thread_.tell([this, field, value = std::string(text)] { window_.setText(field, value); });
    }
    void setPlaceholder(TextField field, std::string_view placeholder) override {
        thread_.tell([this, field, value = std::string(placeholder)] { window_.setPlaceholder(field, value); });
    }
    CalendarDateTime dateValue(DatePicker picker) const override {
        return thread_.ask([&] { return window_.dateValue(picker); });
    }
    CalendarDateTime currentDateTime() const override {
        return thread_.ask([&] { return window_.currentDateTime(); });
    }
    int checkBoxState() const override {
        return thread_.ask([&] { return window_.checkBoxState(); });
    }
    void setCheckBoxState(int state) override {
        thread_.tell([this, state] { window_.setCheckBoxState(state); });
    }
    std::vector<std::string> runOpenPanel(const OpenPanelRequest& request) override {
        return thread_.askUser([&] { return window_.runOpenPanel(request); }, std::vector<std::string>());
    }
    std::optional<std::string> runSavePanel(const SavePanelRequest& request) override {
        std::string chosen;
        bool saved = false;
        thread_.showUser([&] {
            if (auto path = window_.runSavePanel(request)) {
                chosen = std::move(*path);
                saved = true;
            }
        });
        return saved ? std::optional<std::string>(std::move(chosen)) : std::nullopt;
    }
    void presentError(const PresentedError& error) override {
        thread_.showUser([&] { window_.presentError(error); });
    }
    void runAlert(const Alert& alert) override {
        thread_.showUser([&] { window_.runAlert(alert); });
    }
    void setProgressIndicatorHidden(bool hidden) override {
        thread_.tell([this, hidden] { window_.setProgressIndicatorHidden(hidden); });
    }
    void setProgressIndicatorValue(double percent) override {
        // A run reports every record; the window is told the latest value
        // once per pass of its event loop, not once per record.
        latestPercent_.store(percent);
        if (progressQueued_.exchange(true)) return;
        thread_.tell([this] {
            progressQueued_.store(false);
            window_.setProgressIndicatorValue(latestPercent_.load());
        });
    }
    void setProgressIndicatorIndeterminate(bool indeterminate) override {
        thread_.tell([this, indeterminate] { window_.setProgressIndicatorIndeterminate(indeterminate); });
    }
    bool cancelRequested() const override { return cancel_.load(); }
    void setPreviewTableHidden(bool hidden) override {
        thread_.tell([this, hidden] { window_.setPreviewTableHidden(hidden); });
    }
    void noteNumberOfRowsChanged() override {
        thread_.tell([this] { window_.noteNumberOfRowsChanged(); });
    }
    void setStepperValue(int value) override {
        thread_.tell([this, value] { window_.setStepperValue(value); });
    }
    void runPreviewWindowModal() override {
        thread_.showUser([&] { window_.runPreviewWindowModal(); });
    }
    void closePreviewWindow() override {
        thread_.tell([this] { window_.closePreviewWindow(); });
    }
    void stopPreviewModal() override {
        thread_.tell([this] { window_.stopPreviewModal(); });
    }
    void performCalculate() override {
        thread_.showUser([&] { window_.performCalculate(); });
    }
    std::string homeDirectory() const override {
        return thread_.ask([&] { return window_.homeDirectory(); });
    }
    void logLine(std::string_view line) override {
        thread_.tell([this, text = std::string(line)] { window_.logLine(text); });
    }

private:
    AppUi& window_;
    WindowThread thread_;
    const std::atomic<bool>& cancel_;
    std::atomic<double> latestPercent_{0.0};
    std::atomic<bool> progressQueued_{false};
};

// ---------------------------------------------------------------- the stored settings, seen from the run

class BatchRunner::WorkerSettings : public SettingsStore {
public:
    WorkerSettings(SettingsStore& store, QObject& context, const std::atomic<bool>& closing)
        : store_(store), thread_(context, closing) {}

    std::optional<std::string> value(std::string_view key) const override {
        return thread_.ask([&] { return store_.value(key); });
    }
    void setValue(std::string_view key, std::string_view value) override {
        thread_.tell([this, k = std::string(key), v = std::string(value)] { store_.setValue(k, v); });
    }
    void removeValue(std::string_view key) override {
        thread_.tell([this, k = std::string(key)] { store_.removeValue(k); });
    }
    void synchronize() override {
        thread_.tell([this] { store_.synchronize(); });
    }

private:
    SettingsStore& store_;
    WindowThread thread_;
};

// ---------------------------------------------------------------- runner

BatchRunner::BatchRunner(BrinoraAppControllerCore& core, AppUi& windowUi, SettingsStore& defaults,
                         QObject* parent)
    : QObject(parent),
      core_(core),
      workerUi_(std::make_unique<WorkerUi>(windowUi, *this, cancel_, closing_)),
      workerSettings_(std::make_unique<WorkerSettings>(defaults, *this, closing_)) {}

BatchRunner::~BatchRunner() {
    if (!thread_.joinable()) return;
    closing_.store(true);
    cancel_.store(true);
    // The run may be waiting for an answer from this thread: answer every
    // question with its fallback until the run has ended.
    while (!workerEnded_.load()) {
        QCoreApplication::sendPostedEvents(this);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    thread_.join();
}

bool BatchRunner::start(Kind kind) {
    if (running_) return false;
    running_ = true;
    cancel_.store(false);
    workerEnded_.store(false);
    Q_EMIT runningChanged(true);
    thread_ = std::thread([this, kind] {
        std::string message;
        try {
            message = runBatchEngine(kind, core_, *workerUi_, *workerSettings_);
        } catch (const std::exception& error) {
            message = error.what();
        }
        // Queued after every call the run made, so it arrives after them.
        QMetaObject::invokeMethod(
            this, [this, kind, message] { workerDone(kind, message); }, Qt::QueuedConnection);
        workerEnded_.store(true);
    });
    return true;
}

void BatchRunner::requestCancel() {
    if (running_) cancel_.store(true);
}

void BatchRunner::workerDone(Kind kind, const std::string& message) {
    if (closing_.load()) return;
    if (thread_.joinable()) thread_.join();
    running_ = false;
    Q_EMIT runningChanged(false);
    Q_EMIT finished(kind, QString::fromStdString(message));
}

std::string runBatchEngine(BatchRunner::Kind kind, BrinoraAppControllerCore& core, AppUi& ui,
                           SettingsStore& defaults) {
    BatchRunOptions options;
    options.jobs = 0;
    options.sampleLogLines = SampleLogLines::kOmitted;
    if (kind == BatchRunner::Kind::Batch) {
        // The batch tab's check box: the uncertainty file with the panel's uncertainties.
        if (const UncertaintyChoice choice = loadUncertaintyChoice(defaults); choice.batchFile) {
            options.uncertainty = choice;
        }
        return runBatchFile(core, ui, options, false);
    }
    runKmlFile(core, ui, defaults, options);
    return {};
}

}  // namespace brinora
