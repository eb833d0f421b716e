// The window and the graph at 200 % scaling (QT_SCALE_FACTOR=2, set by this
// test program's main before the application starts): labels with sub- and superscripts keep all their
// ink inside the label, and the graph draws its markers at the screen's
// pixel density.
#include <QGroupBox>
#include <QImage>
#include <QLabel>
#include <QPainter>

#include <algorithm>
#include <cmath>

#include "gui/graph_page.h"
#include "gui_fixture.h"

namespace brinora::testing {
namespace {

const std::string kCruiseOutput = BRINORA_CLI_TEST_DATA "/cruise_Brinora.csv";

// Rows and columns of an image that hold ink: pixels much darker than the
// image's top left pixel (the background).
struct Ink {
    int top = -1;
    int bottom = -1;
    int left = -1;
    int right = -1;
    bool any() const { return top >= 0; }
};

Ink inkOf(const QImage& picture) {
    const QImage image = picture.convertToFormat(QImage::Format_RGB32);
    const int background = qGray(image.pixel(0, 0));
    Ink ink;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (background - qGray(image.pixel(x, y)) < 96) continue;
            if (ink.top < 0) ink.top = y;
            ink.bottom = y;
            ink.left = ink.left < 0 ? x : std::min(ink.left, x);
            ink.right = std::max(ink.right, x);
        }
    }
    return ink;
}

class ScaledWindowTest : public WindowTest {
protected:
    void SetUp() override {
        WindowTest::SetUp();
        window->resize(1040, 760);
        window->show();
        QApplication::processEvents();
    }

    QLabel* label(const char* text) const {
        for (QLabel* found : window->findChildren<QLabel*>()) {
            if (found->isVisible() && found->text() == QString::fromUtf8(text)) return found;
        }
        return nullptr;
    }

    // The label's ink lies inside it, clear of every edge: nothing is cut off.
    void expectWhole(QLabel* shown, const char* text) {
        ASSERT_NE(shown, nullptr) << text;
        QApplication::processEvents();
        const QImage picture = shown->grab().toImage();
        ASSERT_EQ(picture.devicePixelRatio(), 2.0) << text;
        ASSERT_EQ(picture.size(), shown->size() * 2) << text;
        const Ink ink = inkOf(picture);
        ASSERT_TRUE(ink.any()) << text;
        EXPECT_GT(ink.top, 0) << text;
        EXPECT_LT(ink.bottom, picture.height() - 1) << text;
        EXPECT_LT(ink.right, picture.width() - 1) << text;
        // A label gets at least the room its text asks for.
        EXPECT_GE(shown->height(), shown->sizeHint().height()) << text;
        EXPECT_GE(shown->width(), shown->sizeHint().width()) << text;
    }
};

TEST_F(ScaledWindowTest, TheWindowIsDrawnAtTwiceItsSize) {
    EXPECT_EQ(window->devicePixelRatioF(), 2.0);
    EXPECT_EQ(window->grab().toImage().size(), QSize(2080, 1520));
}

TEST_F(ScaledWindowTest, SubAndSuperscriptedLabelsAreNotClipped) {
    window->switchToInput();
    for (const char* text : {"&TCO₂", "fC&O₂", "pCO₂", "pCO₂ of the a&ir"}) expectWhole(label(text), text);
    window->switchToConstants();
    for (const char* text : {"CO₂ constants", "KHSO₄"}) expectWhole(label(text), text);
    window->switchToResultsOutputConditions();
    for (const char* text : {"CO₃²⁻", "HCO₃⁻", "CO₂*"}) expectWhole(label(text), text);
    window->switchToInput();
    QGroupBox* flux = nullptr;
    for (QGroupBox* box : window->findChildren<QGroupBox*>()) {
        if (box->title() == QStringLiteral("Air-sea CO₂ flux")) flux = box;
    }
    ASSERT_NE(flux, nullptr);
    const QFontMetrics metrics(flux->font());
    EXPECT_GE(flux->width(), metrics.horizontalAdvance(flux->title()));
}

TEST_F(ScaledWindowTest, TheGraphsAxisTitleIsWholeAndItsMarkersAreSharp) {
    dialogs.openAnswers.push_back({kCruiseOutput});
    GraphPage* page = window->graphPage();
    click(page->openButton());
    page->xMenu()->setCurrentIndex(page->xMenu()->findData(QStringLiteral("CO3 (in)")));
    page->yMenu()->setCurrentIndex(page->yMenu()->findData(QStringLiteral("Pressure")));
    window->switchToGraph();
    QApplication::processEvents();
    GraphWidget* graph = page->graph();
    const QImage picture = graph->grab().toImage();
    ASSERT_EQ(picture.devicePixelRatio(), 2.0);
    ASSERT_EQ(picture.size(), graph->size() * 2);

    // The x axis title "CO₃²⁻ (in) (µmol/kg)" under the plot area: its ink
    // lies inside the graph, clear of the bottom edge.
    const QRectF area = GraphRenderer::plotArea(page->scene(), QSizeF(graph->size()));
    const int below = static_cast<int>(std::ceil(area.bottom() * 2)) + 2;
    const Ink title = inkOf(picture.copy(0, below, picture.width(), picture.height() - below));
    ASSERT_TRUE(title.any());
    EXPECT_LT(below + title.bottom, picture.height() - 1);

    // A marker drawn at twice the density is not a 1x marker with every pixel
    // doubled: along its rows, neighbouring device pixels of one 1x pixel
    // differ at its rounded edge. (The grid lines under it are horizontal and
    // vertical lines of whole pixels, which keep such pairs equal.)
    const graph::PlotTransform t = GraphRenderer::transform(page->scene(), QSizeF(graph->size()));
    const std::vector<std::uint32_t> drawn = GraphRenderer::drawnPoints(page->scene(), QSizeF(graph->size()));
    ASSERT_FALSE(drawn.empty());
    // The deepest sample (4500 dbar) stands alone.
    std::uint32_t deepest = drawn.front();
    for (const std::uint32_t i : drawn) {
        if (page->scene().series.y[i] > page->scene().series.y[deepest]) deepest = i;
    }
    EXPECT_EQ(page->scene().series.y[deepest], 4500.0f);
    const int cx = static_cast<int>(std::lround(t.px(page->scene().series.x[deepest]) * 2));
    const int cy = static_cast<int>(std::lround(t.py(page->scene().series.y[deepest]) * 2));
    // Markers are placed at whole pixels: pairs start at even device pixels.
    const QImage marker = picture.copy((cx - 8) & ~1, (cy - 8) & ~1, 16, 16).convertToFormat(QImage::Format_RGB32);
    const Ink ink = inkOf(marker);
    ASSERT_TRUE(ink.any());
    EXPECT_GE(ink.right - ink.left + 1, 8);
    int differingPairs = 0;
    for (int y = 0; y < marker.height(); ++y) {
        for (int x = 0; x + 1 < marker.width(); x += 2) {
            if (marker.pixel(x, y) != marker.pixel(x + 1, y)) ++differingPairs;
        }
    }
    EXPECT_GE(differingPairs, 8);
}

}  // namespace
}  // namespace brinora::testing
