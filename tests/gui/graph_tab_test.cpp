// The graph tab on the offscreen platform: menus bound to the stored axes,
// opening files, profile orientation, hovering, zooming and export.
#include <QImage>
#include <QWheelEvent>

#include "gui/graph_page.h"
#include "gui_fixture.h"

namespace brinora::testing {
namespace {

const std::string kCruiseOutput = BRINORA_CLI_TEST_DATA "/cruise_Brinora.csv";

class GraphTabTest : public WindowTest {
protected:
    GraphPage* page() const { return window->graphPage(); }
    void open(const std::string& file) {
        dialogs.openAnswers.push_back({file});
        click(page()->openButton());
    }
};

TEST_F(GraphTabTest, TheFirstGraphIsSalinityAgainstTemperature) {
    EXPECT_EQ(store->value("xGraphParameter"), "Salinity");
    EXPECT_EQ(store->value("yGraphParameter"), "Temperature");
    EXPECT_EQ(page()->xMenu()->currentText().toStdString(), "Salinity");
    EXPECT_EQ(page()->yMenu()->currentText().toStdString(), "Temperature (°C)");
    EXPECT_EQ(window->tabWidget(TabView::SingleBatch)->tabText(BrinoraAppController::kGraphTab).toStdString(),
              "Graph");
}

TEST_F(GraphTabTest, ChangingTheMenusWritesTheStoredKeysAndARestartShowsThem) {
    open(kCruiseOutput);
    page()->xMenu()->setCurrentIndex(page()->xMenu()->findData(QStringLiteral("pH (in)")));
    page()->yMenu()->setCurrentIndex(page()->yMenu()->findData(QStringLiteral("Pressure")));
    EXPECT_EQ(store->value("xGraphParameter"), "pH (in)");
    EXPECT_EQ(store->value("yGraphParameter"), "Pressure");
    EXPECT_EQ(page()->scene().xColumn, 7u);
    EXPECT_TRUE(page()->scene().yDown);

    delegate.reset();
    BrinoraApp_GUIAppDelegate again(*store);
    again.applicationDidFinishLaunching();
    GraphPage* second = again.window()->graphPage();
    EXPECT_EQ(second->xMenu()->currentText().toStdString(), "pH (in)");
    EXPECT_EQ(second->yMenu()->currentText().toStdString(), "Pressure (dbar)");
}

TEST_F(GraphTabTest, OpeningAnOutputFilePlotsEverySample) {
    open(kCruiseOutput);
    EXPECT_TRUE(dialogs.errors.empty());
    EXPECT_EQ(dialogs.openRequests.at(0).allowedTypes, std::vector<std::string>{"csv"});
    EXPECT_EQ(page()->scene().series.x.size(), 24u);
    EXPECT_EQ(page()->noteLabel()->text().toStdString(), "");
    EXPECT_EQ(page()->fileLabel()->text().toStdString(), "Output file: 24 samples from " + kCruiseOutput);
    // Forty-one columns and the two colour choices without a column.
    EXPECT_EQ(page()->xMenu()->count(), 41);
    EXPECT_EQ(page()->colourMenu()->count(), 43);
}

TEST_F(GraphTabTest, LeftOutSamplesAreCountedUnderTheGraph) {
    open(kCruiseOutput);
    page()->xMenu()->setCurrentIndex(page()->xMenu()->findData(QStringLiteral("CO2 flux (out)")));
    EXPECT_EQ(page()->noteLabel()->text().toStdString(), "6 of 24 samples not shown: 6 with no value.");
}

TEST_F(GraphTabTest, AFileThatCannotBePlottedIsRefusedAndTheGraphStays) {
    open(kCruiseOutput);
    const QString other = path("other.csv");
    writeText(other, "station,depth\n1,10\n");
    open(other.toStdString());
    EXPECT_EQ(messages(), std::vector<std::string>{other.toStdString() +
                                                   ": not a Brinora output file or batch input file (the first "
                                                   "line is neither the output file header nor a header of 21 "
                                                   "names)."});
    EXPECT_EQ(page()->scene().series.x.size(), 24u);
}

TEST_F(GraphTabTest, HoveringAPointDescribesIt) {
    window->resize(1000, 760);
    window->switchToGraph();
    open(kCruiseOutput);
    QApplication::processEvents();
    GraphWidget* graph = page()->graph();
    const GraphScene& scene = page()->scene();
    const graph::PlotTransform t = GraphRenderer::transform(scene, QSizeF(graph->size()));
    const QPoint at(static_cast<int>(std::lround(t.px(scene.series.x[0]))),
                    static_cast<int>(std::lround(t.py(scene.series.y[0]))));
    const auto text = graph->pointDescription(at);
    ASSERT_TRUE(text);
    EXPECT_EQ(text->toStdString(), "BATS surface, line 2\nSalinity: 36.620\nTemperature (°C): 23.450");
    EXPECT_FALSE(graph->pointDescription(QPoint(2, 2)));
}

TEST_F(GraphTabTest, TheWheelZoomsAndResetShowsEveryPoint) {
    window->resize(1000, 760);
    window->switchToGraph();
    open(kCruiseOutput);
    QApplication::processEvents();
    const graph::GraphView before = page()->scene().view;
    GraphWidget* graph = page()->graph();
    const QPointF centre(graph->width() / 2.0, graph->height() / 2.0);
    QWheelEvent wheel(centre, graph->mapToGlobal(centre), QPoint(), QPoint(0, 240), Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(graph, &wheel);
    const graph::GraphView zoomed = page()->scene().view;
    EXPECT_NEAR(zoomed.x.span(), before.x.span() / (1.25 * 1.25), 1e-9);
    click(page()->resetButton());
    EXPECT_EQ(page()->scene().view.x.min, before.x.min);
    EXPECT_EQ(page()->scene().view.x.max, before.x.max);
}

TEST_F(GraphTabTest, ExportWritesAPngOfTheChosenSize) {
    open(kCruiseOutput);
    page()->exportWidth()->setValue(500);
    page()->exportHeight()->setValue(400);
    dialogs.saveAnswers.push_back(path("graph.png").toStdString());
    click(page()->exportButton());
    EXPECT_TRUE(dialogs.errors.empty());
    EXPECT_EQ(dialogs.saveRequests.at(0).requiredType, "png");
    EXPECT_EQ(dialogs.saveRequests.at(0).proposedName, "Temperature against Salinity.png");
    const QImage image(path("graph.png"));
    EXPECT_EQ(image.size(), QSize(500, 400));
}

TEST_F(GraphTabTest, ExportWithoutAGraphSaysSo) {
    click(page()->exportButton());
    EXPECT_EQ(messages(), std::vector<std::string>{"There is no graph to export yet: run a batch or open a file first."});
    EXPECT_TRUE(dialogs.saveRequests.empty());
}

}  // namespace
}  // namespace brinora::testing
