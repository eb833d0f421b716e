// Batch and KML runs of the desktop program on a thread of their own, so that
// the window keeps drawing and answering clicks while a large file is worked
// through. The run talks to the window only through AppUi and SettingsStore
// objects that carry each call over to the window's thread: log lines,
// progress and other changes of the window are queued there, while questions
// (menus, fields, panels, alerts, presented errors) wait for their answer.
#pragma once

#include <QObject>
#include <QString>

#include <atomic>
#include <memory>
#include <string>
#include <thread>

#include "app/controller_core.h"
#include "app/ui.h"

namespace brinora {

class BatchRunner : public QObject {
    Q_OBJECT
public:
    enum class Kind {
        Batch,  // the full run of the batch tab over core.filesToOpen into core.fullPathOut
        Kml,    // Write KML: the open panel, the save panel, one placemark per line
    };
    Q_ENUM(Kind)

    // `core` and `defaults` must outlive the runner; `windowUi` is the window
    // the core was made with. The runner lives on the window's thread.
    BatchRunner(BrinoraAppControllerCore& core, AppUi& windowUi, SettingsStore& defaults,
                QObject* parent = nullptr);
    // A run still going is asked to stop and waited for; nothing it asks the
    // window after that reaches the window.
    ~BatchRunner() override;

    BatchRunner(const BatchRunner&) = delete;
    BatchRunner& operator=(const BatchRunner&) = delete;

    // Starts a run; false (and nothing started) while another one is going.
    bool start(Kind kind);
    // Whether a run is going (from start() until finished() is emitted).
    bool running() const { return running_; }
    // Asks the run to stop after whole records; it ends as a stopping line would.
    void requestCancel();

Q_SIGNALS:
    // A run started (true) or ended (false).
    void runningChanged(bool running);
    // The run ended; `message` is what it returned ("" when nothing stopped
    // it; always "" for a KML run). Every call the run made on the window has
    // been carried out by then.
    void finished(brinora::BatchRunner::Kind kind, const QString& message);

private:
    class WorkerUi;
    class WorkerSettings;

    void workerDone(Kind kind, const std::string& message);

    BrinoraAppControllerCore& core_;
    std::unique_ptr<WorkerUi> workerUi_;
    std::unique_ptr<WorkerSettings> workerSettings_;
    std::thread thread_;
    bool running_ = false;
    std::atomic<bool> cancel_{false};
    // Set while the runner is destroyed: the run's calls no longer reach the window.
    std::atomic<bool> closing_{false};
    std::atomic<bool> workerEnded_{false};
};

// The engine run of one kind with the desktop program's options: every core
// computes, and no log line per sample (the run's own lines still go to the
// log). The only place where the desktop program calls the batch engine.
std::string runBatchEngine(BatchRunner::Kind kind, BrinoraAppControllerCore& core, AppUi& ui,
                           SettingsStore& defaults);

}  // namespace brinora
