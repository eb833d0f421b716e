// brinora-gui: the desktop program. Registers the stored settings, opens the
// main window and runs until it is closed.
#include <QApplication>
#include <QCommandLineParser>

#include <memory>

#include "gui/app_delegate.h"
#include "gui/qsettings_store.h"
#include "gui/screenshot_tour.h"

int main(int argc, char* argv[]) {
    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Brinora"));
    QApplication::setApplicationName(QStringLiteral("Brinora"));
    QApplication::setApplicationVersion(QStringLiteral(BRINORA_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Brinora: the carbonate chemistry of seawater, one sample or a whole file."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption settingsOption(
        QStringLiteral("settings"),
        QStringLiteral("Keep the stored settings in the INI file <file> instead of the user's own."),
        QStringLiteral("file"));
    const QCommandLineOption screenshotsOption(
        QStringLiteral("screenshots"),
        QStringLiteral("Fill in a sample, calculate, run a small batch and save a picture of each "
                       "tab as PNG files in <folder>, then quit."),
        QStringLiteral("folder"));
    const QCommandLineOption graphCruiseOption(
        QStringLiteral("graph-cruise"),
        QStringLiteral("With --screenshots: run the batch input file <file> through the batch tab and "
                       "picture the graph of its output (default: the tour's small batch)."),
        QStringLiteral("file"));
    parser.addOption(settingsOption);
    parser.addOption(screenshotsOption);
    parser.addOption(graphCruiseOption);
    parser.process(app);

    std::unique_ptr<brinora::QSettingsStore> defaults =
        parser.isSet(settingsOption)
            ? std::make_unique<brinora::QSettingsStore>(parser.value(settingsOption))
            : std::make_unique<brinora::QSettingsStore>();

    brinora::BrinoraApp_GUIAppDelegate delegate(*defaults);
    delegate.applicationDidFinishLaunching();

    if (parser.isSet(screenshotsOption)) {
        return brinora::runScreenshotTour(*delegate.window(), parser.value(screenshotsOption),
                                         parser.value(graphCruiseOption));
    }
    return app.exec();
}
