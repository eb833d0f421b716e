#include "gui/screenshot_tour.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QPixmap>
#include <QTextStream>

#include <cstdio>

#include "app/option_titles.h"
#include "app/ui.h"
#include "engine/slots.h"
#include "gui/bound_fields.h"
#include "gui/brinora_app_controller.h"
#include "gui/graph_page.h"
#include "gui/help_viewer.h"
#include "gui/preview_window.h"
#include "gui/window_fit.h"

namespace brinora {

namespace {

// A small cruise: the batch input file of the tour (21 columns).
constexpr const char* kTourInput =
    "SampleID,Name,Time,Date,Latitude,Longitude,Salinity,Temperature,Pressure,Phosphate,Silicate,"
    "Temperature out,Pressure out,TA,TCO2,pH,fCO2,pCO2,pCO2 air,Wind speed,Comment\n"
    "1,Station 12,08:15:00,03/14/2024,26.512,-80.104,36.12,26.4,5,0.12,1.8,25,0,2381.5,2049.3,,,,415,6.2,surface\n"
    "2,Station 12,08:40:00,03/14/2024,26.512,-80.104,36.20,22.9,100,0.35,2.9,25,0,2379.8,2091.6,,,,415,6.2,chlorophyll max\n"
    "3,Station 12,09:30:00,03/14/2024,26.512,-80.104,35.41,12.1,500,1.45,12.4,25,0,2318.4,2168.7,,,,415,6.2,thermocline\n"
    "4,Station 13,14:05:00,03/14/2024,26.830,-79.650,36.05,26.8,5,0.10,1.6,25,0,2378.9,,8.052,,,415,7.9,surface\n"
    "5,Station 13,14:30:00,03/14/2024,26.830,-79.650,35.10,8.4,1000,2.10,21.7,25,0,2306.2,2212.0,,,,415,7.9,intermediate water\n"
    "6,Station 13,15:20:00,03/14/2024,26.830,-79.650,34.98,4.6,2000,1.62,38.5,25,0,2330.1,2200.6,,,,415,7.9,deep water\n";

// Answers every panel and dialog of the tour.
class TourDialogs : public UserDialogs {
public:
    TourDialogs(QString inputPath, QString outputFolder)
        : inputPath_(std::move(inputPath)), outputFolder_(std::move(outputFolder)) {}

    // The file the next open panel answers with.
    void setInputPath(QString path) { inputPath_ = std::move(path); }

    std::vector<std::string> runOpenPanel(QWidget*, const OpenPanelRequest&) override {
        return {inputPath_.toStdString()};
    }
    std::optional<std::string> runSavePanel(QWidget*, const SavePanelRequest& request) override {
        return QDir(outputFolder_).filePath(QString::fromStdString(request.proposedName)).toStdString();
    }
    void presentError(QWidget*, const PresentedError& error) override {
        std::fprintf(stderr, "brinora-gui: %s\n", error.localizedDescription.c_str());
        ++errors;
    }
    void runAlert(QWidget*, const Alert& alert) override {
        std::fprintf(stderr, "brinora-gui: %s\n", alert.messageText.c_str());
    }
    bool askQuestion(QWidget*, const Question& question) override {
        std::fprintf(stderr, "brinora-gui: %s\n", question.messageText.c_str());
        return true;
    }

    int errors = 0;

private:
    QString inputPath_;
    QString outputFolder_;
};

bool savePicture(QWidget* widget, const QString& folder, const QString& name) {
    QApplication::processEvents();
    const QString path = QDir(folder).filePath(name);
    const bool saved = widget->grab().save(path, "PNG");
    std::fprintf(stderr, "%s %s\n", saved ? "saved" : "could not save", qPrintable(path));
    return saved;
}

void type(BrinoraAppController& window, std::uint32_t tag, const char* text) {
    window.inputField(tag)->QLineEdit::setText(QString::fromLatin1(text));
}

// Runs the batch over the input file the open panel answers with, its preview
// accepted, and waits until the run has ended.
void runBatch(BrinoraAppController& window) {
    window.switchToBatchProcessing();
    window.core().selectCSVtoOpen();
    window.core().selectCSVtoOutput();
    while (window.batchRunning()) QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    QCoreApplication::processEvents();
}

bool choose(QComboBox* menu, const QString& name) {
    const int index = menu->findData(name);
    if (index < 0) {
        std::fprintf(stderr, "brinora-gui: the graph has no column \"%s\"\n", qPrintable(name));
        return false;
    }
    menu->setCurrentIndex(index);
    return true;
}

// The graph tab with a depth profile of the whole cruise of `cruiseInput`
// (the tour's own batch when empty): carbonate ion against pressure, the
// pressure increasing downwards, coloured by the in-situ temperature.
bool pictureGraph(BrinoraAppController& window, TourDialogs& dialogs, const QString& cruiseInput,
                  const QString& folder) {
    GraphPage* page = window.graphPage();
    if (!cruiseInput.isEmpty()) {
        dialogs.setInputPath(cruiseInput);
        runBatch(window);
    }
    if (!page->scene().table || page->scene().series.x.empty()) {
        std::fprintf(stderr, "brinora-gui: the graph tab shows no batch output\n");
        return false;
    }
    bool chosen = choose(page->xMenu(), QStringLiteral("CO3 (in)"));
    chosen &= choose(page->yMenu(), QStringLiteral("Pressure"));
    chosen &= choose(page->colourMenu(), QStringLiteral("Temperature"));
    window.switchToGraph();
    return chosen && savePicture(&window, folder, QStringLiteral("graph.png"));
}

}  // namespace

int runScreenshotTour(BrinoraAppController& window, const QString& folder, const QString& cruiseInput) {
    QDir().mkpath(folder);
    // A folder of a fixed name, so that the pictures show the same paths each time.
    QDir work(QDir::temp().filePath(QStringLiteral("brinora-tour")));
    work.removeRecursively();
    QDir().mkpath(work.path());
    const QString inputPath = work.filePath(QStringLiteral("cruise-2024.csv"));
    {
        QFile file(inputPath);
        if (!file.open(QIODevice::WriteOnly)) return 1;
        file.write(kTourInput);
    }
    TourDialogs dialogs(inputPath, work.path());
    window.setUserDialogs(&dialogs);
    // The size the window opens at on a 1366 by 768 screen: every control
    // shows without scrolling.
    window.resize(defaultWindowSize(window.sizeHint(), QRect(0, 0, 1366, 736)));
    window.show();
    bool saved = true;

    // One sample from the Florida Straits, with its cruise information.
    type(window, slot::kSalinity, "36.12");
    type(window, slot::kTemperature, "26.4");
    type(window, slot::kPressure, "5");
    type(window, slot::kPhosphate, "0.12");
    type(window, slot::kSilicate, "1.8");
    type(window, slot::kTemperatureOut, "25");
    type(window, slot::kPressureOut, "0");
    type(window, slot::kTA, "2381.5");
    type(window, slot::kTCO2, "2049.3");
    type(window, slot::kpCO2Air, "415");
    type(window, slot::kWindSpeed, "12");
    window.menu(Menu::WindSpeedUnits)->setCurrentIndex(1);
    window.textField(TextField::CruiseName)->setText(QStringLiteral("Station 12"));
    window.textField(TextField::CruiseComment)->setText(QStringLiteral("surface bottle 24"));
    window.textField(TextField::CruiseLatitude)->setText(QStringLiteral("26.512"));
    window.textField(TextField::CruiseLongitude)->setText(QStringLiteral("80.104"));
    window.menu(Menu::CoordinateFormat)->setCurrentIndex(1);
    window.menu(Menu::CruiseLatitudeNS)->setCurrentIndex(0);
    window.menu(Menu::CruiseLongitudeEW)->setCurrentIndex(1);
    const QDateTime sampled(QDate(2024, 3, 14), QTime(8, 15, 0));
    window.datePicker(DatePicker::CruiseDate)->setDateTime(sampled);
    window.datePicker(DatePicker::CruiseTime)->setDateTime(sampled);
    window.menu(Menu::CO2Constants)->setCurrentIndex(13);
    window.menu(Menu::KHSO4)->setCurrentIndex(1);
    window.menu(Menu::pHScale)->setCurrentIndex(1);
    window.menu(Menu::AirSeaFlux)->setCurrentIndex(1);
    window.core().CO2FluxRequired();

    window.switchToInput();
    saved &= savePicture(&window, folder, QStringLiteral("input.png"));
    window.switchToConstants();
    saved &= savePicture(&window, folder, QStringLiteral("constants.png"));

    window.switchToInput();
    window.calculate();
    saved &= savePicture(&window, folder, QStringLiteral("results-output.png"));
    window.switchToResultsInputConditions();
    saved &= savePicture(&window, folder, QStringLiteral("results-input.png"));

    // A batch: input and output files chosen, the preview shown, then the whole file.
    window.switchToBatchProcessing();
    bool batchPictured = false;
    QObject::connect(&window, &BrinoraAppController::progressChanged, &window, [&](double percent) {
        if (!batchPictured && percent >= 70.0) {
            batchPictured = true;
            saved &= savePicture(&window, folder, QStringLiteral("batch.png"));
        }
    });
    bool previewPictured = false;
    QObject::connect(&window, &BrinoraAppController::previewWindowShown, &window, [&] {
        if (!previewPictured) {
            previewPictured = true;
            saved &= savePicture(window.previewWindow(), folder, QStringLiteral("preview.png"));
        }
        window.previewWindow()->okButton()->click();
    });
    // The batch runs on its own thread: the window keeps drawing meanwhile.
    runBatch(window);
    if (!batchPictured) saved &= savePicture(&window, folder, QStringLiteral("batch.png"));
    batchPictured = true;

    saved &= pictureGraph(window, dialogs, cruiseInput, folder);

    window.showHelpPage(QStringLiteral("batch-input"));
    window.helpViewer()->resize(760, 640);
    saved &= savePicture(window.helpViewer(), folder, QStringLiteral("help.png"));

    window.setUserDialogs(nullptr);
    work.removeRecursively();
    return saved && dialogs.errors == 0 ? 0 : 1;
}

}  // namespace brinora
