// Shared set-up of the widget tests: the real main window made by the
// application delegate over a temporary INI settings file, with every panel,
// error and alert answered by the test.
#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engine/engine.h"
#include "gui/app_delegate.h"
#include "gui/bound_fields.h"
#include "gui/brinora_app_controller.h"
#include "gui/qsettings_store.h"
#include "gui/user_dialogs.h"
#include "log/log.h"

namespace brinora::testing {

// Panels, errors and alerts answered from queues, with every request kept.
class ScriptedDialogs : public UserDialogs {
public:
    std::vector<std::string> runOpenPanel(QWidget*, const OpenPanelRequest& request) override {
        openRequests.push_back(request);
        if (openAnswers.empty()) return {};
        auto answer = openAnswers.front();
        openAnswers.pop_front();
        return answer;
    }
    std::optional<std::string> runSavePanel(QWidget*, const SavePanelRequest& request) override {
        saveRequests.push_back(request);
        if (saveAnswers.empty()) return std::nullopt;
        auto answer = saveAnswers.front();
        saveAnswers.pop_front();
        return answer;
    }
    void presentError(QWidget*, const PresentedError& error) override { errors.push_back(error); }
    void runAlert(QWidget*, const Alert& alert) override { alerts.push_back(alert); }
    bool askQuestion(QWidget*, const Question& question) override {
        questions.push_back(question);
        if (questionAnswers.empty()) return false;
        const bool answer = questionAnswers.front();
        questionAnswers.pop_front();
        return answer;
    }

    std::deque<std::vector<std::string>> openAnswers;
    std::deque<std::optional<std::string>> saveAnswers;
    std::deque<bool> questionAnswers;  // none left: the question is declined
    std::vector<OpenPanelRequest> openRequests;
    std::vector<SavePanelRequest> saveRequests;
    std::vector<PresentedError> errors;
    std::vector<Alert> alerts;
    std::vector<Question> questions;
};

inline std::string readText(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return "<unreadable>";
    return file.readAll().toStdString();
}

inline void writeText(const QString& path, const std::string& text) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(text.data(), static_cast<qint64>(text.size()));
}

class WindowTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(folder.isValid());
        Engine::sharedInstance()->reset();
        store = std::make_unique<QSettingsStore>(folder.filePath(QStringLiteral("settings.ini")));
        delegate = std::make_unique<BrinoraApp_GUIAppDelegate>(*store);
        delegate->applicationDidFinishLaunching();
        window = delegate->window();
        ASSERT_NE(window, nullptr);
        window->setUserDialogs(&dialogs);
        QApplication::processEvents();
    }

    void TearDown() override {
        delegate.reset();
        store.reset();
        Engine::sharedInstance()->reset();
    }

    // Types `text` into the input field of board slot `tag`, key by key.
    void type(std::uint32_t tag, const QString& text) {
        InputTextField* field = window->inputField(tag);
        ASSERT_NE(field, nullptr) << "no input field with tag " << tag;
        field->QLineEdit::clear();
        QTest::keyClicks(field, text);
    }
    void typeInto(TextField which, const QString& text) {
        QLineEdit* field = window->textField(which);
        field->clear();
        QTest::keyClicks(field, text);
    }
    // Text of the first output field of board slot `tag`.
    std::string shown(std::uint32_t tag) const {
        const auto fields = window->outputFields(tag);
        return fields.empty() ? "<no field>" : fields.front()->QLineEdit::text().toStdString();
    }
    void choose(Menu menu, int index) { window->menu(menu)->setCurrentIndex(index); }
    void chooseOptions(int constants = 13, int khso4 = 1, int scale = 1, int flux = 1) {
        choose(Menu::CO2Constants, constants);
        choose(Menu::KHSO4, khso4);
        choose(Menu::pHScale, scale);
        choose(Menu::AirSeaFlux, flux);
    }
    void typeSample() {
        type(11, "35");
        type(12, "25");
        type(13, "0");
        type(14, "1");
        type(15, "10");
        type(18, "2300");
        type(19, "2000");
    }
    void click(QAbstractButton* button) {
        ASSERT_NE(button, nullptr);
        QTest::mouseClick(button, Qt::LeftButton);
    }
    // Lets the window's event loop run until no batch or KML run is going
    // (60 s at most); false when one is still going then.
    bool waitForBatchRun(int timeoutMs = 60000) {
        QDeadlineTimer deadline(timeoutMs);
        while (window->batchRunning() && !deadline.hasExpired()) {
            QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 50);
        }
        return !window->batchRunning();
    }
    template <typename T = QPushButton>
    T* child(const char* name) const {
        return window->findChild<T*>(QString::fromLatin1(name));
    }
    std::vector<std::string> messages() const {
        std::vector<std::string> texts;
        for (const auto& error : dialogs.errors) texts.push_back(error.localizedDescription);
        return texts;
    }
    float slotValue(std::uint32_t pos) const { return Engine::sharedInstance()->getFieldValueAtPos(pos); }
    QString path(const char* name) const { return folder.filePath(QString::fromLatin1(name)); }

    QTemporaryDir folder;
    std::unique_ptr<QSettingsStore> store;
    std::unique_ptr<BrinoraApp_GUIAppDelegate> delegate;
    BrinoraAppController* window = nullptr;
    ScriptedDialogs dialogs;
    std::vector<std::string> logLines;
    log::ScopedSink sink{[this](std::string_view line) { logLines.emplace_back(line); }};
};

}  // namespace brinora::testing
