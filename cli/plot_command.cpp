// `brinora plot FILE --x NAME --y NAME [--color NAME] -o figure.svg|png`
#include "cli/plot_command.h"

#include <QGuiApplication>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/sendfile.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "app/settings_keys.h"
#include "cli/batch_support.h"
#include "output/output_target.h"
#include "cli/stored_settings.h"
#include "graph/graph_columns.h"
#include "graph/graph_table.h"
#include "gui/graph_renderer.h"

namespace brinora::cli {
namespace {

struct PlotArgs {
    std::string input;
    std::string output;
    std::string x;
    std::string y;
    std::string colour;
    int width = 900;
    int height = 650;
};

// Qt's notice that it made its own runtime folder says nothing to a user of the command.
void quietRuntimeNotice(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    if (message.startsWith(QLatin1String("QStandardPaths: XDG_RUNTIME_DIR not set"))) return;
    const QByteArray text = qFormatLogMessage(type, context, message).toLocal8Bit();
    std::fprintf(stderr, "%s\n", text.constData());
}

void error(const std::string& message) { commandError("plot", message); }

// The axis stored for the desktop program's graph, or its default.
std::string storedAxis(std::string_view key, std::string_view fallback) {
    const MemorySettings settings = loadStoredSettings();
    return settings.value(key).value_or(std::string(fallback));
}

bool isNameColouring(const std::string& text) {
    std::string lower;
    for (const char c : text) lower += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return lower == "station" || lower == "name" || lower == "sample";
}

// The first `length` bytes of `path` as a file of their own in memory; -1
// when that cannot be had.
int copyOfTheStart(const std::string& path, std::uint64_t length) {
    const int in = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (in < 0) return -1;
    const int copy = ::memfd_create("brinora-plot", MFD_CLOEXEC);
    off_t at = 0;
    bool ok = copy >= 0;
    while (ok && static_cast<std::uint64_t>(at) < length) {
        const ssize_t n = ::sendfile(copy, in, &at, static_cast<std::size_t>(length - static_cast<std::uint64_t>(at)));
        ok = n > 0;
    }
    ::close(in);
    if (!ok && copy >= 0) ::close(copy);
    return ok ? copy : -1;
}

int runPlot(const PlotArgs& args) {
    // Records of an append that is going on, or that was cut short, are not
    // part of the file yet: only the bytes before that run are drawn.
    const PendingAppend pending = pendingAppend(args.input);
    int copy = -1;
    if (pending.pending) {
        copy = copyOfTheStart(args.input, pending.length);
        error(std::string(pending.running ? "an append to " : "an append cut short to ") + args.input + " (run " +
              std::to_string(pending.pid) + ") " +
              (pending.running ? "is going on" : "is not rolled back yet (`brinora repair " + args.input + "` does it)") +
              (copy >= 0 ? "; its records are left out" : "; its records are drawn as they are"));
    }
    const graph::GraphTableLoad load =
        graph::readGraphTable(copy >= 0 ? "/proc/self/fd/" + std::to_string(copy) : args.input);
    if (copy >= 0) ::close(copy);
    if (!load.ok) {
        error(load.message);
        return 1;
    }
    const graph::GraphTable& table = load.table;
    const auto columns = table.columns();
    const auto pick = [&](const std::string& wanted, const char* what) -> std::optional<std::size_t> {
        const graph::ColumnMatch match = graph::findColumn(columns, wanted, table.headerNames);
        if (!match.index) error(std::string(what) + ": " + match.message);
        return match.index;
    };
    const auto x = pick(args.x.empty() ? storedAxis(settings::kXGraphParameter, "Salinity") : args.x, "--x");
    if (!x) return 2;
    const auto y = pick(args.y.empty() ? storedAxis(settings::kYGraphParameter, "Temperature") : args.y, "--y");
    if (!y) return 2;

    GraphScene scene;
    scene.table = &table;
    scene.xColumn = *x;
    scene.yColumn = *y;
    if (!args.colour.empty() && args.colour != "none") {
        if (isNameColouring(args.colour)) {
            scene.colour = {graph::ColourMode::SampleName, 0};
        } else {
            const auto c = pick(args.colour, "--color");
            if (!c) return 2;
            scene.colour = {graph::ColourMode::Column, *c};
        }
    }
    scene.update();

    // Drawing text needs a Gui application; without a display, the offscreen platform.
    if (std::getenv("DISPLAY") == nullptr && std::getenv("WAYLAND_DISPLAY") == nullptr &&
        std::getenv("QT_QPA_PLATFORM") == nullptr) {
        ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    }
    qInstallMessageHandler(quietRuntimeNotice);
    int argc = 1;
    char name[] = "brinora";
    char* argv[] = {name, nullptr};
    QGuiApplication application(argc, argv);

    const std::string failure =
        exportGraph(scene, QString::fromStdString(args.output), QSize(args.width, args.height));
    if (!failure.empty()) {
        error(failure);
        return 1;
    }
    const std::string note = graph::leftOutNote(scene.series);
    if (!note.empty()) std::fprintf(stderr, "brinora plot: %s\n", note.c_str());
    return 0;
}

}  // namespace

void addPlotCommand(CLI::App& app, int& exitStatus) {
    auto args = std::make_shared<PlotArgs>();
    CLI::App* command = app.add_subcommand(
        "plot", "Draw one column of an output file or batch input file against another, as SVG or PNG");
    command->add_option("FILE", args->input, "Brinora output file, or batch input file (its input columns)")
        ->required();
    command->add_option("-o,--output", args->output, "picture to write: a name ending in .svg or .png")->required();
    command->add_option("--x", args->x,
                        "column on the x axis: a name such as Salinity or \"pH (in)\", any case, or a unique "
                        "beginning of one (default: the desktop program's stored choice, else Salinity)");
    command->add_option("--y", args->y,
                        "column on the y axis (default: the stored choice, else Temperature); pressures are "
                        "drawn increasing downwards");
    command->add_option("--color,--colour", args->colour,
                        "colour the points by STATION (the sample name) or by a numeric column");
    command->add_option("--width", args->width, "picture width in pixels")->check(CLI::Range(100, 20000));
    command->add_option("--height", args->height, "picture height in pixels")->check(CLI::Range(100, 20000));
    command->callback([args, &exitStatus] { exitStatus = runPlot(*args); });
}

}  // namespace brinora::cli
