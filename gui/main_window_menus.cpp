// The main window's menu bar: File, Sample, View and Help, each title and
// item with an accelerator of its own within its menu.
#include <QAction>
#include <QKeySequence>
#include <QMenu>
#include <QMenuBar>

#include "gui/brinora_app_controller.h"
#include "gui/help_viewer.h"

namespace brinora {

void BrinoraAppController::buildMenus() {
    QMenu* file = menuBar()->addMenu(tr("&File"));
    coreActions_.push_back(file->addAction(tr("&New Output File…"), this, [this] { core_->newFileForOutput(); }));
    coreActions_.push_back(file->addAction(tr("&Add to Output File…"), this, [this] { core_->openFileForOutput(); }));
    file->addSeparator();
    coreActions_.push_back(file->addAction(tr("Choose Batch &Input File…"), this, [this] {
        switchToBatchProcessing();
        previewing([this] { core_->selectCSVtoOpen(); });
    }));
    coreActions_.push_back(file->addAction(tr("Choose Batch &Output File…"), this, [this] {
        switchToBatchProcessing();
        previewing([this] { core_->selectCSVtoOutput(); });
    }));
    coreActions_.push_back(file->addAction(tr("Write &KML…"), this, &BrinoraAppController::writeKML));
    file->addSeparator();
    QAction* quit = file->addAction(tr("&Quit"), this, &QWidget::close);
    quit->setShortcut(QKeySequence::Quit);

    QMenu* sample = menuBar()->addMenu(tr("&Sample"));
    coreActions_.push_back(sample->addAction(tr("&Calculate"), this, &BrinoraAppController::calculate));
    coreActions_.push_back(sample->addAction(tr("C&lear"), this, &BrinoraAppController::clear));
    sample->addSeparator();
    sample->addAction(tr("&Date Now"), this, &BrinoraAppController::getCurrentDate);
    sample->addAction(tr("&Time Now"), this, &BrinoraAppController::getCurrentTime);

    QMenu* view = menuBar()->addMenu(tr("&View"));
    const auto addView = [this, view](const QString& title, void (BrinoraAppController::*slot)(), int key) {
        QAction* action = view->addAction(title, this, slot);
        action->setShortcut(QKeySequence(Qt::CTRL | key));
    };
    addView(tr("&Input"), &BrinoraAppController::switchToInput, Qt::Key_1);
    addView(tr("&Results at Input Conditions"), &BrinoraAppController::switchToResultsInputConditions, Qt::Key_2);
    addView(tr("Results at &Output Conditions"), &BrinoraAppController::switchToResultsOutputConditions, Qt::Key_3);
    addView(tr("&Constants"), &BrinoraAppController::switchToConstants, Qt::Key_4);
    addView(tr("&Batch Processing"), &BrinoraAppController::switchToBatchProcessing, Qt::Key_5);
    addView(tr("&Graph"), &BrinoraAppController::switchToGraph, Qt::Key_6);
    addView(tr("&Uncertainties"), &BrinoraAppController::switchToUncertainties, Qt::Key_7);

    QMenu* help = menuBar()->addMenu(tr("&Help"));
    QAction* main = help->addAction(tr("Brinora &Help"), this, &BrinoraAppController::showHelp_MainHelp);
    main->setShortcut(QKeySequence::HelpContents);
    help->addSeparator();
    for (const HelpPage& page : helpPages()) {
        if (page.name.isEmpty() || page.name == QLatin1String("index")) continue;
        QAction* action = help->addAction(page.title, this, &BrinoraAppController::showHelpFor);
        action->setProperty("alternateTitle", page.name);
    }
}

}  // namespace brinora
