#include "gui/preview_window.h"
#include "gui/qt_text.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QIntValidator>
#include <QLabel>
#include <QVBoxLayout>

#include <algorithm>

namespace brinora {

const std::vector<PreviewColumn>& previewColumns() {
    static const std::vector<PreviewColumn> columns = {
        {"SampleID", "Sample ID", false},
        {"Name", "Name", false},
        {"Salinity", "Salinity", true},
        {"Temperature", "t\n(°C)", true},
        {"Pressure", "P\n(dbar)", true},
        {"TA", "TA\n(µmol/kg)", true},
        {"TCO2", "TCO2\n(µmol/kg)", true},
        {"pH", "pH", true},
        {"fCO2", "fCO2\n(µatm)", true},
        {"pCO2", "pCO2\n(µatm)", true},
        {"HCO3", "HCO3\n(µmol/kg)", true},
        {"CO3", "CO3\n(µmol/kg)", true},
        {"CO2", "CO2\n(µmol/kg)", true},
        {"Revelle", "Revelle", true},
        {"Omega Ca", "Ω calcite", true},
        {"Omega Ar", "Ω aragonite", true},
        {"Output Temperature", "t out\n(°C)", true},
        {"Output Pressure", "P out\n(dbar)", true},
        {"Output pH", "pH out", true},
        {"Output fCO2", "fCO2 out\n(µatm)", true},
        {"Output pCO2", "pCO2 out\n(µatm)", true},
        {"Output CO3", "CO3 out\n(µmol/kg)", true},
        {"Output Revelle", "Revelle out", true},
        {"Output Omega Ca", "Ω calcite out", true},
        {"Output Omega Ar", "Ω aragonite out", true},
        {"Total P", "Total P\n(µmol/kg)", true},
        {"Total Si", "Total Si\n(µmol/kg)", true},
        {"pCO2 air", "pCO2 air\n(µatm)", true},
        {"Windspeed", "Wind\n(m/s)", true},
        {"CO2 Flux", "CO2 flux\n(mmol/m²/d)", true},
        {"Output CO2 Flux", "CO2 flux out\n(mmol/m²/d)", true},
        {"Date", "Date", false},
        {"Time", "Time", false},
        {"Latitude", "Latitude", false},
        {"Longitude", "Longitude", false},
        {"CO2 Constants", "CO2 constants", false},
        {"KHSO4", "KHSO4", false},
        {"pH Scale", "pH scale", false},
        {"Air-Sea Flux", "Air-sea flux", false},
        {"Comment", "Comment", false},
    };
    return columns;
}

PreviewTableItemModel::PreviewTableItemModel(PreviewTableModel& table, QObject* parent)
    : QAbstractTableModel(parent), table_(table) {}

void PreviewTableItemModel::reload() {
    beginResetModel();
    rows_ = std::max(0, table_.numberOfRowsInTableView());
    endResetModel();
}

int PreviewTableItemModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : rows_;
}

int PreviewTableItemModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(previewColumns().size());
}

QVariant PreviewTableItemModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    const auto& column = previewColumns()[static_cast<std::size_t>(index.column())];
    if (role == Qt::DisplayRole) {
        return toQString(table_.objectValue(column.identifier, index.row()));
    }
    if (role == Qt::TextAlignmentRole) {
        return static_cast<int>((column.numeric ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    }
    return {};
}

QVariant PreviewTableItemModel::headerData(int section, Qt::Orientation orientation,
                                           int role) const {
    if (role != Qt::DisplayRole) return {};
    if (orientation == Qt::Vertical) return section + 1;
    if (section < 0 || section >= columnCount()) return {};
    return toQString(previewColumns()[static_cast<std::size_t>(section)].title);
}

Stepper::Stepper(QWidget* parent) : QWidget(parent), up_(new QToolButton(this)), down_(new QToolButton(this)) {
    up_->setArrowType(Qt::UpArrow);
    down_->setArrowType(Qt::DownArrow);
    up_->setAccessibleName(tr("Increase the number of preview lines"));
    down_->setAccessibleName(tr("Decrease the number of preview lines"));
    for (QToolButton* button : {up_, down_}) {
        button->setAutoRepeat(true);
        button->setFixedSize(18, 12);
    }
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(up_);
    layout->addWidget(down_);
    connect(up_, &QToolButton::clicked, this, [this] { step(1); });
    connect(down_, &QToolButton::clicked, this, [this] { step(-1); });
}

void Stepper::setValue(int value) { value_ = std::clamp(value, minimum_, maximum_); }

void Stepper::step(int delta) {
    setValue(value_ + delta);
    Q_EMIT stepped(value_);
}

PreviewWindow::PreviewWindow(PreviewTableItemModel* model, QWidget* parent)
    : QDialog(parent),
      table_(new QTableView(this)),
      stepper_(new Stepper(this)),
      lengthField_(new QLineEdit(this)),
      cancel_(new QPushButton(tr("Cancel"), this)),
      refresh_(new QPushButton(tr("&Refresh"), this)),
      ok_(new QPushButton(tr("OK"), this)) {
    setObjectName("previewWindow");
    setWindowTitle(tr("Batch Preview"));
    setModal(true);

    table_->setObjectName("previewTable");
    table_->setModel(model);
    table_->setAlternatingRowColors(true);
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table_->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    table_->verticalHeader()->setDefaultSectionSize(22);

    lengthField_->setObjectName("previewTableLength");
    lengthField_->setValidator(new QIntValidator(0, 100000, lengthField_));
    lengthField_->setAlignment(Qt::AlignRight);
    lengthField_->setFixedWidth(56);
    stepper_->setObjectName("stepper");

    auto* intro = new QLabel(
        tr("The first lines of the input file, calculated with the chosen constants. "
           "Press OK to process the whole file, Refresh after changing the number of lines."),
        this);
    intro->setWordWrap(true);

    auto* controls = new QHBoxLayout;
    auto* lengthLabel = new QLabel(tr("&Lines in preview:"), this);
    lengthLabel->setBuddy(lengthField_);
    controls->addWidget(lengthLabel);
    controls->addWidget(lengthField_);
    controls->addWidget(stepper_);
    controls->addWidget(refresh_);
    controls->addStretch(1);
    controls->addWidget(cancel_);
    controls->addWidget(ok_);
    ok_->setDefault(true);
    cancel_->setAutoDefault(false);
    refresh_->setAutoDefault(false);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(intro);
    layout->addWidget(table_, 1);
    layout->addLayout(controls);
    resize(980, 360);
}

void PreviewWindow::reject() { cancel_->click(); }

}  // namespace brinora
