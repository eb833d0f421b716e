// Entry of the widget tests: a QApplication on the offscreen platform and a
// settings location of its own, so no test touches the user's settings.
#include <gtest/gtest.h>

#include <QApplication>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>

namespace {

// The offscreen platform warns about window features it lacks; those lines
// carry no information for the tests.
void quietHandler(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    if (message.startsWith(QLatin1String("This plugin does not support"))) return;
    if (message.startsWith(QLatin1String("QStandardPaths: XDG_RUNTIME_DIR"))) return;
    qt_message_output(type, context, message);
}

}  // namespace

int main(int argc, char* argv[]) {
    qInstallMessageHandler(quietHandler);
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
#ifdef BRINORA_GUI_TEST_SCALE
    // The scaled widget tests: every window at this scale factor.
    qputenv("QT_SCALE_FACTOR", BRINORA_GUI_TEST_SCALE);
#endif
    QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", home.filePath(QStringLiteral("config")).toUtf8());
    QStandardPaths::setTestModeEnabled(true);
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, home.filePath(QStringLiteral("settings")));
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, home.filePath(QStringLiteral("settings")));

    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Brinora"));
    QApplication::setApplicationName(QStringLiteral("Brinora"));
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
