// Every Alt+letter accelerator of the main window is claimed once in the
// whole window (every page, the menu bar and the button row), every number
// field of the form has one, and pressing it reaches its own target: a
// label's buddy takes the focus, a button is pressed, a menu of the menu bar
// opens. The preview and help windows claim each of their keys once.
#include <QAbstractButton>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QSignalSpy>
#include <QTabBar>

#include <map>
#include <set>

#include "engine/slots.h"
#include "gui/help_viewer.h"
#include "gui/preview_window.h"
#include "gui_fixture.h"

namespace brinora::testing {
namespace {

// One accelerator: its key, the widget or action that claims it, and the
// page it lies on ("" for the menu bar and the button row under the tabs).
struct Accelerator {
    QKeySequence key;
    QString text;
    QObject* owner = nullptr;
    QString page;
};

const QStringList kPages = {QStringLiteral("inputPage"),         QStringLiteral("resultsInputPage"),
                            QStringLiteral("resultsOutputPage"), QStringLiteral("constantsPage"),
                            QStringLiteral("batchPage"),         QStringLiteral("graphPage"),
                            QStringLiteral("uncertaintyPage")};

QString pageOf(const QWidget* widget) {
    for (const QWidget* w = widget; w; w = w->parentWidget()) {
        if (kPages.contains(w->objectName())) return w->objectName();
        if (w->isWindow()) break;
    }
    return {};
}

// The accelerators of the labels with buddies, the buttons, check boxes and
// radio buttons, the group box titles, the tab titles and the menu bar
// titles that belong to `window` itself (not to its other windows).
std::vector<Accelerator> acceleratorsOf(QWidget* window) {
    std::vector<Accelerator> found;
    const auto add = [&](const QString& text, QObject* owner, const QWidget* widget) {
        const QKeySequence key = QKeySequence::mnemonic(text);
        if (key.isEmpty()) return;
        found.push_back({key, text, owner, widget ? pageOf(widget) : QString()});
    };
    for (QLabel* label : window->findChildren<QLabel*>()) {
        if (label->window() != window) continue;
        if (label->buddy()) {
            add(label->text(), label, label);
        } else {
            EXPECT_TRUE(QKeySequence::mnemonic(label->text()).isEmpty())
                << label->text().toStdString() << " has an accelerator but no buddy";
        }
    }
    for (QAbstractButton* button : window->findChildren<QAbstractButton*>()) {
        if (button->window() == window) add(button->text(), button, button);
    }
    for (QGroupBox* group : window->findChildren<QGroupBox*>()) {
        if (group->window() == window) add(group->title(), group, group);
    }
    for (QTabBar* bar : window->findChildren<QTabBar*>()) {
        if (bar->window() != window) continue;
        for (int i = 0; i < bar->count(); ++i) add(bar->tabText(i), bar, bar);
    }
    if (auto* main = qobject_cast<QMainWindow*>(window)) {
        for (QAction* action : main->menuBar()->actions()) add(action->text(), action, nullptr);
    }
    return found;
}

// Each key at most once among all of `accelerators`.
void expectUnique(const std::vector<Accelerator>& accelerators) {
    std::map<QString, QStringList> claims;
    for (const Accelerator& a : accelerators) {
        claims[a.key.toString()].append(a.text + QStringLiteral(" (") + (a.page.isEmpty() ? QStringLiteral("window") : a.page) + QLatin1Char(')'));
    }
    for (const auto& [key, texts] : claims) {
        EXPECT_EQ(texts.size(), 1) << key.toStdString() << ": " << texts.join(QStringLiteral(" | ")).toStdString();
    }
}

// Within each menu, no two items share an accelerator.
void expectUniqueInMenus(QWidget* window) {
    for (QMenu* menu : window->findChildren<QMenu*>()) {
        std::map<QString, QStringList> claims;
        for (QAction* action : menu->actions()) {
            const QKeySequence key = QKeySequence::mnemonic(action->text());
            if (!key.isEmpty()) claims[key.toString()].append(action->text());
        }
        for (const auto& [key, texts] : claims) {
            EXPECT_EQ(texts.size(), 1) << menu->title().toStdString() << " " << key.toStdString() << ": "
                                       << texts.join(QStringLiteral(" | ")).toStdString();
        }
    }
}

void press(const QKeySequence& key) {
    QWidget* target = QApplication::focusWidget() ? QApplication::focusWidget() : QApplication::activeWindow();
    ASSERT_NE(target, nullptr);
    const QKeyCombination combination = key[0];
    QTest::keyClick(target, combination.key(), combination.keyboardModifiers());
}

class AcceleratorTest : public WindowTest {
protected:
    void SetUp() override {
        WindowTest::SetUp();
        window->resize(1200, 700);
        window->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window));
    }
    // Brings `page` to the front of the window.
    void showPage(const QString& page) {
        if (page == QLatin1String("inputPage")) window->switchToInput();
        if (page == QLatin1String("resultsInputPage")) window->switchToResultsInputConditions();
        if (page == QLatin1String("resultsOutputPage")) window->switchToResultsOutputConditions();
        if (page == QLatin1String("constantsPage")) window->switchToConstants();
        if (page == QLatin1String("batchPage")) window->switchToBatchProcessing();
        if (page == QLatin1String("graphPage")) window->switchToGraph();
        if (page == QLatin1String("uncertaintyPage")) window->switchToUncertainties();
        QApplication::processEvents();
    }
};

TEST_F(AcceleratorTest, EveryAcceleratorOfTheMainWindowIsClaimedOnceInTheWholeWindow) {
    const std::vector<Accelerator> accelerators = acceleratorsOf(window);
    expectUnique(accelerators);
    expectUniqueInMenus(window);
    std::map<QString, QString> keys;
    for (const Accelerator& a : accelerators) keys[a.key.toString()] += a.text + QLatin1Char(' ');
    EXPECT_EQ(keys[QStringLiteral("Alt+C")].toStdString(), "&Calculate ");
    EXPECT_EQ(keys[QStringLiteral("Alt+F")].toStdString(), "&File ");
    EXPECT_EQ(keys[QStringLiteral("Alt+H")].toStdString(), "&Help ");
    EXPECT_EQ(keys[QStringLiteral("Alt+N")].toStdString(), "Sali&nity ");
    EXPECT_EQ(keys[QStringLiteral("Alt+B")].toStdString(), "Colour &by ");
    // Every key, in order: 24 of the 26 letters (J and Q are in no label).
    QStringList all;
    for (const auto& [key, texts] : keys) all.append(key);
    EXPECT_EQ(all.join(QLatin1Char(' ')).toStdString(),
              "Alt+A Alt+B Alt+C Alt+D Alt+E Alt+F Alt+G Alt+H Alt+I Alt+K Alt+L Alt+M Alt+N Alt+O Alt+P Alt+R "
              "Alt+S Alt+T Alt+U Alt+V Alt+W Alt+X Alt+Y Alt+Z");
}

TEST_F(AcceleratorTest, EveryNumberFieldOfTheFormHasOne) {
    std::set<InputTextField*> reached;
    for (const Accelerator& a : acceleratorsOf(window)) {
        const auto* label = qobject_cast<QLabel*>(a.owner);
        if (!label) continue;
        if (auto* field = dynamic_cast<InputTextField*>(label->buddy())) reached.insert(field);
    }
    int fields = 0;
    for (BoundField* field : window->form().inputFields()) {
        auto* widget = dynamic_cast<InputTextField*>(field);
        ++fields;
        EXPECT_TRUE(reached.count(widget)) << widget->objectName().toStdString() << " has no accelerator";
    }
    EXPECT_EQ(fields, 14);
}

TEST_F(AcceleratorTest, EachAcceleratorReachesItsOwnTarget) {
    chooseOptions();
    const std::vector<Accelerator> accelerators = acceleratorsOf(window);
    std::size_t fired = 0;
    for (const Accelerator& a : accelerators) {
        SCOPED_TRACE(a.text.toStdString() + " (" + a.key.toString().toStdString() + ")");
        showPage(a.page.isEmpty() ? QStringLiteral("inputPage") : a.page);
        window->inputField(slot::kSalinity)->setFocus();
        if (auto* label = qobject_cast<QLabel*>(a.owner)) {
            if (!label->buddy()->isVisible()) continue;
            press(a.key);
            EXPECT_EQ(QApplication::focusWidget(), label->buddy());
            ++fired;
        } else if (auto* button = qobject_cast<QAbstractButton*>(a.owner)) {
            if (!button->isEnabled() || !button->isVisible()) continue;
            QSignalSpy clicked(button, &QAbstractButton::clicked);
            press(a.key);
            EXPECT_TRUE(clicked.count() == 1 || clicked.wait(1000));
            ++fired;
            QApplication::processEvents();
            ASSERT_TRUE(waitForBatchRun());
        } else if (auto* action = qobject_cast<QAction*>(a.owner)) {
            press(a.key);
            QApplication::processEvents();
            EXPECT_EQ(QApplication::activePopupWidget(), action->menu());
            ++fired;
            if (QWidget* popup = QApplication::activePopupWidget()) popup->close();
            QApplication::processEvents();
        }
        // A panel or help window opened by a button goes away before the next key.
        window->helpViewer()->hide();
        window->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window));
    }
    // Four menus, Calculate and Clear, 14 number fields, four on the graph tab.
    EXPECT_EQ(accelerators.size(), 24u);
    EXPECT_EQ(fired, 24u);
}

TEST_F(AcceleratorTest, AKeyOfAHiddenPageDoesNothingOnAnother) {
    chooseOptions();
    // Alt+N is salinity's: on the constants page it moves the focus nowhere.
    window->switchToConstants();
    QApplication::processEvents();
    QComboBox* constants = window->menu(Menu::CO2Constants);
    window->menu(Menu::KHSO4)->setFocus();
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_N, Qt::AltModifier);
    QApplication::processEvents();
    EXPECT_EQ(QApplication::focusWidget(), window->menu(Menu::KHSO4));
    EXPECT_NE(QApplication::focusWidget(), constants);
    // Back on the input page it reaches the salinity field.
    window->switchToInput();
    QApplication::processEvents();
    window->inputField(slot::kTA)->setFocus();
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_N, Qt::AltModifier);
    QApplication::processEvents();
    EXPECT_EQ(QApplication::focusWidget(), window->inputField(slot::kSalinity));
}

TEST_F(AcceleratorTest, TheGraphPageAndTheMenusAnswerTheirKeys) {
    window->switchToGraph();
    QApplication::processEvents();
    window->activateWindow();
    QWidget* start = QApplication::focusWidget() ? QApplication::focusWidget() : window;
    QTest::keyClick(start, Qt::Key_B, Qt::AltModifier);
    QApplication::processEvents();
    ASSERT_NE(QApplication::focusWidget(), nullptr);
    EXPECT_EQ(QApplication::focusWidget()->objectName().toStdString(), "graphColour");
    // Alt+F opens the File menu from the graph page too.
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_F, Qt::AltModifier);
    QApplication::processEvents();
    QWidget* popup = QApplication::activePopupWidget();
    ASSERT_NE(popup, nullptr);
    EXPECT_EQ(static_cast<QMenu*>(popup)->title().toStdString(), "&File");
    popup->close();
}

TEST_F(AcceleratorTest, AltCPressesCalculateInsteadOfTypingIntoTheField) {
    chooseOptions();
    typeSample();
    window->inputField(slot::kTA)->setFocus();
    QTest::keyClick(window->inputField(slot::kTA), Qt::Key_C, Qt::AltModifier);
    QTest::qWait(300);
    EXPECT_EQ(window->inputField(slot::kTA)->QLineEdit::text().toStdString(), "2300");
    EXPECT_EQ(shown(slot::kpHIn), "8.043") << "Calculate was pressed";
}

TEST_F(AcceleratorTest, ThePreviewAndHelpWindowsClaimEachKeyOnce) {
    for (QWidget* other : {static_cast<QWidget*>(window->previewWindow()),
                           static_cast<QWidget*>(window->helpViewer())}) {
        expectUnique(acceleratorsOf(other));
    }
    std::vector<std::string> preview;
    for (const Accelerator& a : acceleratorsOf(window->previewWindow())) preview.push_back(a.text.toStdString());
    std::sort(preview.begin(), preview.end());
    EXPECT_EQ(preview, (std::vector<std::string>{"&Lines in preview:", "&Refresh"}));
}

}  // namespace
}  // namespace brinora::testing
