// Details of the graph tab that a cruise of many stations shows: a colour of
// its own for every station, a legend as long as the plot's height allows,
// the depth arrow upright, and a vector export of a large file that holds one
// point per pixel, as the screen does.
#include <QFile>

#include <set>

#include "graph/graph_decimate.h"
#include "gui/graph_page.h"
#include "gui/graph_renderer.h"
#include "gui_fixture.h"

namespace brinora::testing {
namespace {

const std::string kInputHeader =
    "SampleID,Name,Time,Date,Latitude,Longitude,Salinity,Temperature,Pressure,Phosphate,Silicate,"
    "TempOut,PressureOut,TA,TCO2,pH,fCO2,pCO2,pCO2air,Windspeed,Comment\n";

// `lines` samples, sample k at station k % `stations`.
std::string cruise(int lines, int stations) {
    std::string text = kInputHeader;
    char line[200];
    for (int k = 0; k < lines; ++k) {
        std::snprintf(line, sizeof line, "%d,Station %d,,,,,%.3f,%.3f,%d,0,0,,,2300,2000,,,,,,\n", k + 1,
                      k % stations + 1, 30.0 + (k % 997) * 0.01, (k % 613) * 0.05, (k % 41) * 100);
        text += line;
    }
    return text;
}

class GraphDetailsTest : public WindowTest {
protected:
    GraphPage* page() const { return window->graphPage(); }
    void open(const QString& file) {
        dialogs.openAnswers.push_back({file.toStdString()});
        click(page()->openButton());
        ASSERT_NE(page()->scene().table, nullptr);
    }
    void plot(const char* x, const char* y) {
        page()->xMenu()->setCurrentIndex(page()->xMenu()->findData(QString::fromLatin1(x)));
        page()->yMenu()->setCurrentIndex(page()->yMenu()->findData(QString::fromLatin1(y)));
        ASSERT_EQ(page()->xMenu()->currentData().toString().toStdString(), x);
        ASSERT_EQ(page()->yMenu()->currentData().toString().toStdString(), y);
    }
    std::string exported(const char* name, QSize size) {
        const QString svg = path(name);
        const std::string error = exportGraph(page()->scene(), svg, size);
        EXPECT_EQ(error, "");
        return readText(svg);
    }
};

int count(const std::string& text, const std::string& what) {
    int n = 0;
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
    return n;
}

TEST_F(GraphDetailsTest, ThirtyStationsHaveThirtyColoursAndAllStandInTheLegend) {
    writeText(path("stations.csv"), cruise(60, 30));
    open(path("stations.csv"));
    plot("Salinity", "Temperature");
    page()->colourMenu()->setCurrentIndex(1);  // by sample name
    const GraphScene& scene = page()->scene();
    ASSERT_EQ(scene.series.x.size(), 60u);
    std::set<QRgb> colours;
    for (std::size_t i = 0; i < scene.series.x.size(); ++i) colours.insert(GraphRenderer::pointColour(scene, i).rgba());
    EXPECT_EQ(colours.size(), 30u);

    const std::string svg = exported("stations.svg", QSize(1200, 900));
    EXPECT_NE(svg.find(">Station 30</text>"), std::string::npos);
    EXPECT_EQ(svg.find("more</text>"), std::string::npos);
}

TEST_F(GraphDetailsTest, TheDepthArrowIsDrawnUprightAndPointsDown) {
    writeText(path("stations.csv"), cruise(60, 30));
    open(path("stations.csv"));
    plot("Salinity", "Pressure");
    ASSERT_TRUE(page()->scene().yDown);
    const std::string svg = exported("profile.svg", QSize(900, 700));
    const std::size_t arrow = svg.find(">↓</text>");
    ASSERT_NE(arrow, std::string::npos);
    const std::size_t group = svg.rfind("transform=\"", arrow);
    ASSERT_NE(group, std::string::npos);
    EXPECT_EQ(svg.substr(group, 28), "transform=\"matrix(1,0,0,1,0,");
    EXPECT_NE(svg.find(">Pressure (dbar)</text>"), std::string::npos);
}

TEST_F(GraphDetailsTest, AVectorExportOfALargeFileKeepsOnePointPerPixel) {
    writeText(path("large.csv"), cruise(50000, 40));
    open(path("large.csv"));
    plot("Salinity", "Temperature");
    const QSize size(600, 400);
    const std::string svg = exported("large.svg", size);
    const std::size_t drawn = GraphRenderer::drawnPoints(page()->scene(), size).size();
    EXPECT_LT(drawn, 50000u);
    EXPECT_EQ(count(svg, "<ellipse") + count(svg, "<circle"), static_cast<int>(drawn));
}

}  // namespace
}  // namespace brinora::testing
