// Benchmarks of the graph of a large batch: reading an output file of 10^6
// records into the graph table, choosing the points of two columns, drawing
// them into an image of the graph tab's size (Qt's offscreen platform), and
// panning (drawing again after the view moved). The first plot is the
// reading, the choosing and the first drawing together.
//
// The output file is made once in BRINORA_BENCH_DIR (default
// /tmp/brinora-bench): a synthetic cruise file run through the batch.
#include <benchmark/benchmark.h>
#include <sys/stat.h>

#include <QGuiApplication>
#include <QImage>
#include <QPainter>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "app/controller_core.h"
#include "app/plain_ui.h"
#include "bench/cruise_file.h"
#include "engine/engine.h"
#include "graph/graph_table.h"
#include "gui/graph_renderer.h"
#include "log/log.h"

namespace brinora {
namespace {

const log::ScopedSink kQuietLog{[](std::string_view) {}};

// The graph tab's picture in a 1040 by 760 window.
const QSize kPictureSize(1000, 470);

std::string benchDirectory() {
    const char* dir = std::getenv("BRINORA_BENCH_DIR");
    std::string path = dir != nullptr && *dir != '\0' ? dir : "/tmp/brinora-bench";
    ::mkdir(path.c_str(), 0755);
    return path;
}

bool exists(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0;
}

// An output file of `lines` records, made on first use: a cruise file of as
// many lines run through the batch with constants set 13.
std::string outputFile(std::size_t lines) {
    const std::string dir = benchDirectory();
    const std::string path = dir + "/graph-output-" + std::to_string(lines) + ".csv";
    if (exists(path)) return path;
    const std::string input = dir + "/graph-input-" + std::to_string(lines) + ".csv";
    if (!bench::writeCruiseFile(input, lines)) return {};
    const std::string part = path + ".part";
    {
        PlainUi ui;
        MemorySettings defaults;
        ui.selectItem(Menu::CO2Constants, 13);
        ui.selectItem(Menu::KHSO4, 1);
        ui.selectItem(Menu::pHScale, 1);
        ui.selectItem(Menu::AirSeaFlux, 1);
        BrinoraAppControllerCore core(ui, defaults);
        core.batchInputFilesChosen({input});
        core.batchOutputFileCreated(part);
        Engine::sharedInstance()->reset();
        core.runOptions.jobs = 2;
        core.runOptions.sampleLogLines = SampleLogLines::kOmitted;
        const std::string message = core.batchProcess(input, false);
        if (!message.empty() || core.recordsWritten != static_cast<int>(lines)) return {};
    }
    std::remove(input.c_str());
    if (std::rename(part.c_str(), path.c_str()) != 0) return {};
    return path;
}

// The table of the output file of `lines` records, read once.
const graph::GraphTable* sharedTable(std::size_t lines) {
    static std::size_t loadedLines = 0;
    static graph::GraphTable table;
    if (loadedLines != lines) {
        const std::string path = outputFile(lines);
        if (path.empty()) return nullptr;
        graph::GraphTableLoad load = graph::readGraphTable(path);
        if (!load.ok) return nullptr;
        table = std::move(load.table);
        loadedLines = lines;
    }
    return &table;
}

// The two graphs measured: the first graph (salinity against temperature, one
// colour) and a profile (pH against pressure, coloured by temperature).
enum class Kind { FirstGraph, Profile };

void choose(GraphScene& scene, const graph::GraphTable& table, Kind kind) {
    const auto columns = table.columns();
    const auto column = [&](std::string_view name) { return *graph::columnNamed(columns, name); };
    scene.table = &table;
    if (kind == Kind::FirstGraph) {
        scene.xColumn = column("Salinity");
        scene.yColumn = column("Temperature");
        scene.colour = {};
    } else {
        scene.xColumn = column("pH (in)");
        scene.yColumn = column("Pressure");
        scene.colour = {graph::ColourMode::Column, column("Temperature")};
    }
}

void drawInto(QImage& image, const GraphScene& scene) {
    QPainter painter(&image);
    GraphRenderer::render(painter, scene, QSizeF(image.size()));
}

void counters(benchmark::State& state, std::size_t lines) {
    state.counters["points/s"] =
        benchmark::Counter(static_cast<double>(lines), benchmark::Counter::kIsIterationInvariantRate);
}

// Reading the output file into the graph table.
void load(benchmark::State& state, std::size_t lines) {
    const std::string path = outputFile(lines);
    if (path.empty()) {
        state.SkipWithError("cannot write the output file");
        return;
    }
    for (auto _ : state) {
        graph::GraphTableLoad loaded = graph::readGraphTable(path);
        if (!loaded.ok || loaded.table.rows() != lines) state.SkipWithError("the output file was not read");
        benchmark::DoNotOptimize(loaded.table.values.data());
    }
    counters(state, lines);
}

// The points of two columns and the view of them all.
void series(benchmark::State& state, std::size_t lines, Kind kind) {
    const graph::GraphTable* table = sharedTable(lines);
    if (!table) {
        state.SkipWithError("cannot read the output file");
        return;
    }
    GraphScene scene;
    choose(scene, *table, kind);
    for (auto _ : state) {
        scene.update();
        benchmark::DoNotOptimize(scene.series.x.data());
    }
    counters(state, lines);
}

// Drawing the whole graph, every point in view.
void render(benchmark::State& state, std::size_t lines, Kind kind) {
    const graph::GraphTable* table = sharedTable(lines);
    if (!table) {
        state.SkipWithError("cannot read the output file");
        return;
    }
    GraphScene scene;
    choose(scene, *table, kind);
    scene.update();
    QImage image(kPictureSize, QImage::Format_ARGB32_Premultiplied);
    for (auto _ : state) {
        drawInto(image, scene);
        benchmark::DoNotOptimize(image.constBits());
    }
    state.SetLabel(std::to_string(GraphRenderer::drawnPoints(scene, image.size()).size()) + " points drawn");
    counters(state, lines);
}

// Dragging: the view zoomed in twice about its centre, then moved by a few
// pixels (1 % of the plot area's width and height) before each drawing, back
// and forth.
void pan(benchmark::State& state, std::size_t lines, Kind kind) {
    const graph::GraphTable* table = sharedTable(lines);
    if (!table) {
        state.SkipWithError("cannot read the output file");
        return;
    }
    GraphScene scene;
    choose(scene, *table, kind);
    scene.update();
    scene.view = scene.view.zoomedAbout((scene.view.x.min + scene.view.x.max) / 2,
                                        (scene.view.y.min + scene.view.y.max) / 2, 2.0);
    const graph::GraphView start = scene.view;
    const double dx = start.x.span() * 0.01;
    const double dy = start.y.span() * 0.01;
    QImage image(kPictureSize, QImage::Format_ARGB32_Premultiplied);
    int step = 0;
    for (auto _ : state) {
        const double direction = (step++ / 20) % 2 == 0 ? 1.0 : -1.0;
        scene.view = scene.view.movedBy(direction * dx, direction * dy);
        drawInto(image, scene);
        benchmark::DoNotOptimize(image.constBits());
    }
    counters(state, lines);
}

// From the file to the first picture: reading, choosing and drawing.
void firstPlot(benchmark::State& state, std::size_t lines, Kind kind) {
    const std::string path = outputFile(lines);
    if (path.empty()) {
        state.SkipWithError("cannot write the output file");
        return;
    }
    QImage image(kPictureSize, QImage::Format_ARGB32_Premultiplied);
    for (auto _ : state) {
        graph::GraphTableLoad loaded = graph::readGraphTable(path);
        if (!loaded.ok) {
            state.SkipWithError("the output file was not read");
            break;
        }
        GraphScene scene;
        choose(scene, loaded.table, kind);
        scene.update();
        drawInto(image, scene);
        benchmark::DoNotOptimize(image.constBits());
    }
    counters(state, lines);
}

const bool kRegistered = [] {
    constexpr std::size_t kLines = 1000000;
    const auto named = [](const char* what, Kind kind) {
        return std::string(what) + (kind == Kind::FirstGraph ? "/salinity-temperature/" : "/pH-pressure/") +
               std::to_string(kLines);
    };
    benchmark::RegisterBenchmark(("GraphLoad/" + std::to_string(kLines)).c_str(), load, kLines)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    for (const Kind kind : {Kind::FirstGraph, Kind::Profile}) {
        benchmark::RegisterBenchmark(named("GraphSeries", kind).c_str(), series, kLines, kind)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
        benchmark::RegisterBenchmark(named("GraphRender", kind).c_str(), render, kLines, kind)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
        benchmark::RegisterBenchmark(named("GraphPan", kind).c_str(), pan, kLines, kind)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
        benchmark::RegisterBenchmark(named("GraphFirstPlot", kind).c_str(), firstPlot, kLines, kind)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
    }
    return true;
}();

}  // namespace
}  // namespace brinora

int main(int argc, char** argv) {
    // Text is drawn with the fonts of the offscreen platform; no display is needed.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
