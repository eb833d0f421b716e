#include "gui/graph_page.h"

#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QVBoxLayout>

#include "app/settings_keys.h"
#include "graph/graph_errors.h"
#include "gui/qt_text.h"
#include "uncertainty_io/uncertainty_path.h"

namespace brinora {

namespace {

// Items of the colour menu before the columns.
constexpr int kColourNone = 0;
constexpr int kColourByName = 1;
constexpr int kFirstColourColumn = 2;

}  // namespace

GraphPage::GraphPage(SettingsStore& defaults, std::function<UserDialogs*()> dialogs, QWidget* parent)
    : QWidget(parent), defaults_(defaults), dialogs_(std::move(dialogs)) {
    setObjectName("graphPage");
    xMenu_ = new QComboBox(this);
    xMenu_->setObjectName("xGraphParameter");
    yMenu_ = new QComboBox(this);
    yMenu_->setObjectName("yGraphParameter");
    colourMenu_ = new QComboBox(this);
    colourMenu_->setObjectName("graphColour");
    for (QComboBox* menu : {xMenu_, yMenu_, colourMenu_}) {
        menu->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
        menu->setMinimumContentsLength(18);
    }

    graph_ = new GraphWidget(this);
    graph_->setScene(&scene_);
    note_ = new QLabel(this);
    note_->setObjectName("graphNote");
    note_->setWordWrap(true);
    file_ = new QLabel(tr("No file plotted yet."), this);
    file_->setObjectName("graphFile");
    file_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    errorBars_ = new QLabel(this);
    errorBars_->setObjectName("graphErrorBars");
    errorBars_->setTextInteractionFlags(Qt::TextSelectableByMouse);

    open_ = new QPushButton(tr("Open File…"), this);
    open_->setObjectName("graphOpen");
    open_->setToolTip(tr("Plot a Brinora output file or batch input file"));
    reset_ = new QPushButton(tr("Reset View"), this);
    reset_->setObjectName("graphReset");
    reset_->setToolTip(tr("Show every point again after zooming (wheel) or panning (drag)"));
    format_ = new QComboBox(this);
    format_->setObjectName("graphExportFormat");
    format_->addItems({QStringLiteral("PNG"), QStringLiteral("SVG")});
    width_ = new QSpinBox(this);
    width_->setObjectName("graphExportWidth");
    height_ = new QSpinBox(this);
    height_->setObjectName("graphExportHeight");
    for (QSpinBox* box : {width_, height_}) {
        box->setRange(100, 20000);
        box->setSuffix(QStringLiteral(" px"));
    }
    width_->setValue(1200);
    height_->setValue(800);
    export_ = new QPushButton(tr("Export…"), this);
    export_->setObjectName("graphExport");
    export_->setToolTip(tr("Write the graph as a PNG image or an SVG drawing of the chosen size"));

    errorSpace_ = new QPushButton(tr("Error Space…"), this);
    errorSpace_->setObjectName("graphErrorSpace");
    errorSpace_->setToolTip(tr("The error-space diagram of the sample calculated on the one-sample form: u of a "
                               "result over the uncertainties of its two carbonate parameters (Orr et al. 2018)"));
    connect(errorSpace_, &QPushButton::clicked, this, &GraphPage::errorSpaceRequested);

    auto* xLabel = new QLabel(tr("&x axis"), this);
    xLabel->setBuddy(xMenu_);
    auto* yLabel = new QLabel(tr("&y axis"), this);
    yLabel->setBuddy(yMenu_);
    auto* colourLabel = new QLabel(tr("Colour &by"), this);
    colourLabel->setBuddy(colourMenu_);
    auto* sizeLabel = new QLabel(tr("Si&ze"), this);
    sizeLabel->setBuddy(width_);

    auto* choices = new QHBoxLayout;
    choices->addWidget(xLabel);
    choices->addWidget(xMenu_, 1);
    choices->addWidget(yLabel);
    choices->addWidget(yMenu_, 1);
    choices->addWidget(colourLabel);
    choices->addWidget(colourMenu_, 1);

    auto* actions = new QHBoxLayout;
    actions->addWidget(open_);
    actions->addWidget(reset_);
    actions->addWidget(errorSpace_);
    actions->addStretch(1);
    actions->addWidget(sizeLabel);
    actions->addWidget(width_);
    actions->addWidget(new QLabel(QStringLiteral("×"), this));
    actions->addWidget(height_);
    actions->addWidget(format_);
    actions->addWidget(export_);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(choices);
    layout->addWidget(graph_, 1);
    layout->addWidget(note_);
    layout->addWidget(file_);
    layout->addWidget(errorBars_);
    layout->addLayout(actions);

    setTabOrder(xMenu_, yMenu_);
    setTabOrder(yMenu_, colourMenu_);
    setTabOrder(colourMenu_, open_);
    setTabOrder(open_, reset_);
    setTabOrder(reset_, errorSpace_);
    setTabOrder(errorSpace_, width_);
    setTabOrder(width_, height_);
    setTabOrder(height_, format_);
    setTabOrder(format_, export_);

    fillMenus(graph::FileKind::Output);

    connect(xMenu_, &QComboBox::currentIndexChanged, this, [this] {
        if (filling_) return;
        defaults_.setValue(settings::kXGraphParameter, xMenu_->currentData().toString().toStdString());
        replot();
    });
    connect(yMenu_, &QComboBox::currentIndexChanged, this, [this] {
        if (filling_) return;
        defaults_.setValue(settings::kYGraphParameter, yMenu_->currentData().toString().toStdString());
        replot();
    });
    connect(colourMenu_, &QComboBox::currentIndexChanged, this, [this] {
        if (!filling_) replot();
    });
    connect(open_, &QPushButton::clicked, this, &GraphPage::openFile);
    connect(reset_, &QPushButton::clicked, graph_, &GraphWidget::resetView);
    connect(export_, &QPushButton::clicked, this, &GraphPage::exportGraphFile);
}

GraphPage::~GraphPage() { graph_->setScene(nullptr); }

void GraphPage::fillMenus(graph::FileKind kind) {
    filling_ = true;
    const QString colourChoice = colourMenu_->currentData().toString();
    xMenu_->clear();
    yMenu_->clear();
    colourMenu_->clear();
    colourMenu_->addItem(tr("None"), QStringLiteral("none"));
    colourMenu_->addItem(tr("Station (sample name)"), QStringLiteral("station"));
    for (const graph::GraphColumn& column : graph::columnsOf(kind)) {
        const QString label = toQString(graph::axisLabel(column));
        const QString name = toQString(column.name);
        xMenu_->addItem(label, name);
        yMenu_->addItem(label, name);
        colourMenu_->addItem(label, name);
    }
    const auto columns = graph::columnsOf(kind);
    const auto stored = [&](std::string_view key, std::string_view fallback, int otherwise) {
        const std::string name = defaults_.value(key).value_or(std::string(fallback));
        const auto index = graph::columnNamed(columns, name);
        return index ? static_cast<int>(*index) : otherwise;
    };
    xMenu_->setCurrentIndex(stored(settings::kXGraphParameter, "Salinity", 0));
    yMenu_->setCurrentIndex(stored(settings::kYGraphParameter, "Temperature", 1));
    const int colourIndex = colourMenu_->findData(colourChoice);
    colourMenu_->setCurrentIndex(colourIndex >= 0 ? colourIndex : kColourNone);
    filling_ = false;
}

bool GraphPage::loadFile(const QString& path, bool quiet) {
    graph::GraphTableLoad load = graph::readGraphTable(path.toStdString());
    if (!load.ok) {
        if (quiet) {
            note_->setText(toQString(load.message));
        } else {
            present(load.message);
        }
        return false;
    }
    table_ = std::make_unique<graph::GraphTable>(std::move(load.table));
    scene_.table = nullptr;
    // Error bars from the uncertainty file a batch run wrote beside an output file.
    scene_.errors.clear();
    errorBars_->clear();
    if (table_->kind == graph::FileKind::Output) {
        const std::string uncertaintyPath = uncertainty::DefaultUncertaintyPath(path.toStdString());
        if (QFileInfo::exists(QString::fromStdString(uncertaintyPath))) {
            graph::ErrorBarsLoad bars = graph::readErrorBars(uncertaintyPath, *table_);
            if (bars.ok) {
                scene_.errors = std::move(bars.byColumn);
                errorBars_->setText(tr("Error bars: ± u from %1").arg(QString::fromStdString(uncertaintyPath)));
            } else {
                errorBars_->setText(toQString(bars.message));
            }
        }
    }
    fillMenus(table_->kind);
    scene_.table = table_.get();
    file_->setText(tr("%1: %2 samples from %3")
                       .arg(table_->kind == graph::FileKind::Output ? tr("Output file") : tr("Batch input file"))
                       .arg(table_->rows())
                       .arg(path));
    replot();
    return true;
}

void GraphPage::replot() {
    if (!table_) return;
    scene_.table = table_.get();
    scene_.xColumn = static_cast<std::size_t>(std::max(0, xMenu_->currentIndex()));
    scene_.yColumn = static_cast<std::size_t>(std::max(0, yMenu_->currentIndex()));
    const int colour = colourMenu_->currentIndex();
    if (colour == kColourByName) {
        scene_.colour = {graph::ColourMode::SampleName, 0};
    } else if (colour >= kFirstColourColumn) {
        scene_.colour = {graph::ColourMode::Column, static_cast<std::size_t>(colour - kFirstColourColumn)};
    } else {
        scene_.colour = {};
    }
    scene_.update();
    note_->setText(toQString(graph::leftOutNote(scene_.series)));
    graph_->sceneChanged();
}

void GraphPage::present(const std::string& message) {
    dialogs_()->presentError(window(), PresentedError{"BrinoraApp", 0, message});
}

void GraphPage::openFile() {
    OpenPanelRequest request;
    request.allowedTypes = {"csv"};
    request.directory = defaults_.value(settings::kOpenPath).value_or("~/Documents");
    const std::vector<std::string> chosen = dialogs_()->runOpenPanel(window(), request);
    if (chosen.empty()) return;
    loadFile(QString::fromStdString(chosen.front()));
}

void GraphPage::exportGraphFile() {
    if (!table_) {
        present("There is no graph to export yet: run a batch or open a file first.");
        return;
    }
    const bool svg = format_->currentIndex() == 1;
    SavePanelRequest request;
    request.requiredType = svg ? "svg" : "png";
    request.directory = defaults_.value(settings::kOpenPath).value_or("~/Documents");
    const std::string x(table_->columns()[scene_.xColumn].name);
    const std::string y(table_->columns()[scene_.yColumn].name);
    request.proposedName = y + " against " + x + "." + request.requiredType;
    const auto path = dialogs_()->runSavePanel(window(), request);
    if (!path) return;
    const std::string failure =
        exportGraph(scene_, QString::fromStdString(*path), QSize(width_->value(), height_->value()));
    if (!failure.empty()) present("The graph could not be exported: " + failure + ".");
}

}  // namespace brinora
