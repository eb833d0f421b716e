// The main window's size: the size it opens at shows the whole form on a
// 1366 by 768 screen, the geometry is kept between sessions, the button row
// stays in view when the status bar shows a note, and moving the focus never
// scrolls a tab bar away.
#include <QScrollArea>
#include <QScrollBar>
#include <QStatusBar>
#include <QTabBar>

#include <functional>

#include "engine/slots.h"
#include "gui/window_fit.h"
#include "gui_fixture.h"

namespace brinora::testing {
namespace {

// The part of a 1366 by 768 screen left by a panel of 32 pixels.
const QRect kLaptopScreen(0, 0, 1366, 736);

class WindowSizeTest : public WindowTest {
protected:
    // Whether `widget` lies whole inside the window's client area.
    bool wholeInWindow(const QWidget* widget) const {
        const QRect shown(widget->mapTo(window, QPoint(0, 0)), widget->size());
        return window->rect().contains(shown) && widget->visibleRegion().boundingRect() == widget->rect();
    }
    QScrollArea* scroll(const char* name) const { return window->findChild<QScrollArea*>(QString::fromLatin1(name)); }
};

TEST_F(WindowSizeTest, TheDefaultSizeShowsTheWholeFormOnALaptopScreen) {
    const QSize size = defaultWindowSize(window->sizeHint(), kLaptopScreen);
    EXPECT_LE(size.width(), 1366 - 16);
    EXPECT_LE(size.height(), 736 - 40);
    window->resize(size);
    QApplication::processEvents();
    // Plain calls, not pointers to member functions: GCC's undefined-behaviour
    // sanitizer misreads a call through one as a misaligned member access.
    BrinoraAppController* w = window;
    for (const auto& [show, page] : std::vector<std::pair<std::function<void()>, const char*>>{
             {[w] { w->switchToInput(); }, "inputPageScroll"},
             {[w] { w->switchToConstants(); }, "constantsPageScroll"},
             {[w] { w->switchToResultsOutputConditions(); }, "resultsOutputPageScroll"},
             {[w] { w->switchToBatchProcessing(); }, "batchPageScroll"},
             {[w] { w->switchToUncertainties(); }, "uncertaintyPageScroll"}}) {
        show();
        QApplication::processEvents();
        SCOPED_TRACE(page);
        EXPECT_FALSE(scroll(page)->verticalScrollBar()->isVisible());
        EXPECT_FALSE(scroll(page)->horizontalScrollBar()->isVisible());
        EXPECT_TRUE(wholeInWindow(window->calculateButton()));
    }
}

TEST_F(WindowSizeTest, AFreshWindowOpensAtTheDefaultSize) {
    const QRect available = window->screen()->availableGeometry();
    EXPECT_EQ(window->size(), defaultWindowSize(window->sizeHint(), available));
    EXPECT_GT(window->width(), 504);
    EXPECT_GT(window->height(), 355);
}

TEST_F(WindowSizeTest, TheGeometryIsKeptBetweenSessions) {
    window->resize(1000, 600);
    QApplication::processEvents();
    EXPECT_TRUE(window->close());
    ASSERT_TRUE(store->value("desktopWindowGeometry").has_value());
    delegate.reset();
    BrinoraApp_GUIAppDelegate again(*store);
    again.applicationDidFinishLaunching();
    QApplication::processEvents();
    EXPECT_EQ(again.window()->size(), QSize(1000, 600));
}

TEST_F(WindowSizeTest, AStatusNoteLeavesTheButtonRowInView) {
    window->resize(defaultWindowSize(window->sizeHint(), kLaptopScreen));
    QApplication::processEvents();
    const QPoint before = window->calculateButton()->mapTo(window, QPoint(0, 0));
    type(slot::kSalinity, "x1");
    QApplication::processEvents();
    ASSERT_FALSE(window->statusBar()->currentMessage().isEmpty());
    EXPECT_EQ(window->calculateButton()->mapTo(window, QPoint(0, 0)), before);
    EXPECT_TRUE(wholeInWindow(window->calculateButton()));
    EXPECT_TRUE(wholeInWindow(window->clearButton()));
}

TEST_F(WindowSizeTest, MovingTheFocusKeepsTheTabBarsInView) {
    window->resize(640, 420);
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window));
    window->switchToInput();
    window->textField(TextField::CruiseComment)->setFocus();
    QApplication::processEvents();
    for (TabView view : {TabView::SingleBatch, TabView::DataConstants, TabView::Main}) {
        EXPECT_TRUE(wholeInWindow(window->tabWidget(view)->tabBar())) << static_cast<int>(view);
    }
    EXPECT_TRUE(wholeInWindow(window->calculateButton()));
}

}  // namespace
}  // namespace brinora::testing
