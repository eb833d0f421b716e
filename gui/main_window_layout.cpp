// Layout of the main window: the widgets of each tab, the menus, and the
// binding of the option menus to the stored settings.
#include <QAction>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeySequence>
#include <QMenuBar>
#include <QRegularExpression>
#include <QScrollArea>
#include <QShortcut>
#include <QToolButton>
#include <QVBoxLayout>

#include <span>
#include <vector>

#include <QStatusBar>

#include "app/option_titles.h"
#include "app/settings_keys.h"
#include "input/lenient_number.h"
#include "engine/quantities.h"
#include "engine/slots.h"
#include "gui/accelerators.h"
#include "gui/bound_fields.h"
#include "gui/brinora_app_controller.h"
#include "gui/graph_page.h"
#include "gui/help_viewer.h"
#include "gui/preview_window.h"
#include "gui/qt_text.h"
#include "gui/window_fit.h"

namespace brinora {

namespace {

// Width of the number fields, enough for "-1234.567".
constexpr int kNumberFieldWidth = 110;
// Width of the unit column, the same in every group so that fields line up.
constexpr int kUnitColumnWidth = 100;
// Object name of the unit labels of pH, which name the chosen scale.
constexpr const char* kpHUnitName = "pHUnit";

QComboBox* makeMenu(std::span<const std::string_view> titles, const char* name, QWidget* parent) {
    auto* box = new QComboBox(parent);
    box->setObjectName(name);
    for (const auto title : titles) box->addItem(toQString(title));
    return box;
}

QLabel* unitLabel(const QString& unit, QWidget* parent) {
    auto* label = new QLabel(unit, parent);
    label->setObjectName("unit");
    label->setTextFormat(Qt::RichText);
    label->setMinimumWidth(kUnitColumnWidth);
    return label;
}

// One row of a value grid: name, field, unit; the name and unit labels.
std::pair<QLabel*, QLabel*> addValueRow(QGridLayout* grid, const QString& name, QWidget* field,
                                        const QString& unit) {
    const int row = grid->rowCount();
    auto* label = new QLabel(name, field->parentWidget());
    label->setTextFormat(Qt::RichText);
    label->setBuddy(field);
    grid->addWidget(label, row, 0);
    grid->addWidget(field, row, 1);
    QLabel* unitText = unitLabel(unit, field->parentWidget());
    if (unit == QLatin1String("pH scale")) unitText->setObjectName(kpHUnitName);
    grid->addWidget(unitText, row, 2);
    return {label, unitText};
}

QGridLayout* valueGrid(QGroupBox* group) {
    auto* grid = new QGridLayout(group);
    grid->setColumnStretch(0, 1);
    grid->setColumnMinimumWidth(2, kUnitColumnWidth);
    grid->setHorizontalSpacing(8);
    grid->setVerticalSpacing(6);
    return grid;
}

QLabel* noteLabel(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setWordWrap(true);
    label->setObjectName("note");
    QFont font = label->font();
    font.setPointSizeF(font.pointSizeF() * 0.92);
    label->setFont(font);
    return label;
}

// The label and the unit that the field of board slot `slot` shows.
QString formLabelOf(std::uint32_t slot) { return toQString(quantityAtSlot(slot)->formLabel); }

QString formUnitOf(std::uint32_t slot) {
    const Quantity* q = quantityAtSlot(slot);
    return toQString(q->formUnit.empty() ? q->displayUnit : q->formUnit);
}

}  // namespace

QPushButton* BrinoraAppController::helpButton(const QString& page) {
    auto* button = new QPushButton(QStringLiteral("?"), this);
    button->setObjectName("helpButton");
    button->setProperty("alternateTitle", page);
    button->setToolTip(tr("Help on this part of the window"));
    button->setFixedSize(26, 26);
    connect(button, &QPushButton::clicked, this, &BrinoraAppController::showHelpFor);
    return button;
}

void BrinoraAppController::bindMenuToSetting(QComboBox* box, std::string_view indexKey,
                                             std::string_view titleKey) {
    const int stored = lenientInteger(defaults_.value(indexKey).value_or("0"));
    box->setCurrentIndex(stored >= 0 && stored < box->count() ? stored : 0);
    const std::string key(indexKey);
    const std::string title(titleKey);
    connect(box, &QComboBox::currentIndexChanged, this, [this, box, key, title](int index) {
        defaults_.setValue(key, std::to_string(std::max(0, index)));
        if (!title.empty()) defaults_.setValue(title, box->currentText().toStdString());
    });
}

void BrinoraAppController::buildWindow() {
    // Option menus first: the input and constants pages place them.
    menus_[Menu::CO2Constants] = makeMenu(options::kConstantsSetTitles, "CO2Constants", this);
    menus_[Menu::KHSO4] = makeMenu(options::kKHSO4Titles, "KHSO4", this);
    menus_[Menu::pHScale] = makeMenu(options::kpHScaleTitles, "pHScale", this);
    menus_[Menu::AirSeaFlux] = makeMenu(options::kAirSeaFluxTitles, "AirSeaFlux", this);
    menus_[Menu::WindSpeedUnits] = makeMenu(options::kWindSpeedUnitsTitles, "WindSpeedUnits", this);
    menus_[Menu::CoordinateFormat] =
        makeMenu(options::kCoordinateFormatTitles, "coordinateFormat", this);
    menus_[Menu::CruiseLatitudeNS] =
        makeMenu(options::kLatitudeHemisphereTitles, "cruiseLatitudeNS", this);
    menus_[Menu::CruiseLongitudeEW] =
        makeMenu(options::kLongitudeHemisphereTitles, "cruiseLongitudeEW", this);

    bindMenuToSetting(menus_[Menu::CO2Constants], settings::kCO2ConstantsInt);
    bindMenuToSetting(menus_[Menu::KHSO4], settings::kKHSO4Int);
    bindMenuToSetting(menus_[Menu::pHScale], settings::kpHScaleInt);
    bindMenuToSetting(menus_[Menu::AirSeaFlux], settings::kAirSeaFluxInt);
    bindMenuToSetting(menus_[Menu::WindSpeedUnits], settings::kWindSpeedUnitsInt,
                      settings::kWindSpeedUnitsSelection);
    bindMenuToSetting(menus_[Menu::CoordinateFormat], settings::kCoordinateFormatInt,
                      settings::kCoordinateFormatSelection);
    bindMenuToSetting(menus_[Menu::CruiseLatitudeNS], settings::kCoordinatePickerNS);
    bindMenuToSetting(menus_[Menu::CruiseLongitudeEW], settings::kCoordinatePickerEW);

    // The settings migration resets the wind-speed units under the lower-case
    // key: the menu shows that value when the key is there, and keeps both
    // keys in step.
    if (const auto migrated = defaults_.value(settings::kWindspeedUnitsIntLegacy)) {
        const int index = lenientInteger(*migrated);
        QComboBox* units = menus_[Menu::WindSpeedUnits];
        units->setCurrentIndex(index >= 0 && index < units->count() ? index : 0);
    }
    connect(menus_[Menu::WindSpeedUnits], &QComboBox::currentIndexChanged, this, [this](int index) {
        defaults_.setValue(settings::kWindspeedUnitsIntLegacy, std::to_string(std::max(0, index)));
    });

    connect(menus_[Menu::CO2Constants], &QComboBox::activated, this, [this] { core_->CO2selected(); });

    previewModel_ = new PreviewTableItemModel(core_->previewTableController, this);
    previewWindow_ = new PreviewWindow(previewModel_, this);
    textFields_[TextField::PreviewTableLength] = previewWindow_->lengthField();
    connect(previewWindow_->cancelButton(), &QPushButton::clicked, this,
            [this] { core_->cancelFromPreview(); });
    connect(previewWindow_->okButton(), &QPushButton::clicked, this, [this] { core_->OKFromPreview(); });
    connect(previewWindow_->refreshButton(), &QPushButton::clicked, this,
            [this] { refreshPreview(); });
    connect(previewWindow_->stepper(), &Stepper::stepped, this,
            [this](int value) { core_->previewTableController.controlDidChange(value); });
    connect(previewWindow_->lengthField(), &QLineEdit::editingFinished, this, [this] {
        core_->previewTableController.controlDidChange(
            lenientInteger(previewWindow_->lengthField()->text().toStdString()));
    });

    helpViewer_ = new HelpViewer(this);

    auto* mainTab = new QTabWidget(this);
    mainTab->setObjectName("mainTab");
    auto* subTab = new QTabWidget(this);
    subTab->setObjectName("subTab");
    auto* dataConstantsTab = new QTabWidget(this);
    dataConstantsTab->setObjectName("dataConstantsTab");
    auto* singleBatchTab = new QTabWidget(this);
    singleBatchTab->setObjectName("singleBatchTab");
    tabs_ = {{TabView::SingleBatch, singleBatchTab},
             {TabView::DataConstants, dataConstantsTab},
             {TabView::Main, mainTab},
             {TabView::Sub, subTab}};

    // Each page scrolls on its own under its tab bar, so that the tab bars
    // and the button row stay in view on a small screen.
    subTab->addTab(new PageScroll(buildResultsPage(false), this), tr("Results at Input Conditions"));
    subTab->addTab(new PageScroll(buildResultsPage(true), this), tr("Results at Output Conditions"));
    mainTab->addTab(new PageScroll(buildInputPage(), this), tr("Input"));
    mainTab->addTab(subTab, tr("Results"));
    dataConstantsTab->addTab(mainTab, tr("Data"));
    dataConstantsTab->addTab(new PageScroll(buildConstantsPage(), this), tr("Constants"));
    dataConstantsTab->addTab(new PageScroll(buildUncertaintyPage(), this), tr("Uncertainties"));
    singleBatchTab->addTab(dataConstantsTab, tr("One Sample"));
    singleBatchTab->addTab(new PageScroll(buildBatchPage(), this), tr("Batch Processing"));
    graphPage_ = new GraphPage(defaults_, [this] { return dialogs_; }, this);
    singleBatchTab->addTab(graphPage_, tr("Graph"));
    wireUncertainties();
    connect(singleBatchTab, &QTabWidget::currentChanged, this,
            [this] { if (calculateButton_) setBatchControlsEnabled(!batchRunning()); });
    connect(this, &BrinoraAppController::batchRunEnded, this, [this] {
        if (graphFileAfterRun_.empty()) return;
        graphPage_->loadFile(QString::fromStdString(graphFileAfterRun_), true);
        graphFileAfterRun_.clear();
    });

    const auto showpHScale = [this] {
        const int index = menus_[Menu::pHScale]->currentIndex();
        const QString scale = index > 0 ? menus_[Menu::pHScale]->currentText() : tr("pH scale");
        for (QLabel* label : findChildren<QLabel*>(kpHUnitName)) label->setText(scale);
    };
    connect(menus_[Menu::pHScale], &QComboBox::currentIndexChanged, this, showpHScale);
    showpHScale();

    calculateButton_ = new QPushButton(tr("&Calculate"), this);
    calculateButton_->setObjectName("calculateButton");
    calculateButton_->setDefault(true);
    // Ctrl+Return is a shortcut of its own: a button's setShortcut would
    // replace the Alt+C of its title.
    auto* calculateKey = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_Return), this);
    calculateKey->setObjectName("calculateShortcut");
    connect(calculateKey, &QShortcut::activated, calculateButton_, [this] {
        if (calculateButton_->isEnabled()) calculateButton_->animateClick();
    });
    calculateButton_->setToolTip(tr("Calculate the sample, or run the batch when the batch tab is in front (Ctrl+Return)"));
    clearButton_ = new QPushButton(tr("C&lear"), this);
    clearButton_->setObjectName("clearButton");
    clearButton_->setToolTip(tr("Empty every field of the form, or the file fields of the batch tab when it is in front"));
    connect(calculateButton_, &QPushButton::clicked, this, &BrinoraAppController::calculate);
    connect(clearButton_, &QPushButton::clicked, this, &BrinoraAppController::clear);

    // Alt+H opens the Help menu; this button answers F1 through the menu's first item.
    auto* mainHelp = new QPushButton(tr("Help"), this);
    mainHelp->setObjectName("mainHelpButton");
    mainHelp->setToolTip(tr("Open the help book (F1)"));
    connect(mainHelp, &QPushButton::clicked, this, &BrinoraAppController::showHelp_MainHelp);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(mainHelp);
    buttons->addStretch(1);
    buttons->addWidget(clearButton_);
    buttons->addWidget(calculateButton_);

    // The button row lies under the tabs, outside the pages' scroll areas:
    // it stays in view whatever the window's size.
    auto* central = new QWidget(this);
    central->setObjectName("central");
    auto* layout = new QVBoxLayout(central);
    layout->addWidget(singleBatchTab, 1);
    layout->addLayout(buttons);
    setCentralWidget(central);
    // The status bar holds its room from the start: its first note moves nothing.
    statusBar()->setObjectName("statusBar");
    statusBar()->setMinimumHeight(statusBar()->sizeHint().height());
}

QWidget* BrinoraAppController::buildInputPage() {
    auto* page = new QWidget(this);
    page->setObjectName("inputPage");

    // Sample conditions, first column.
    auto* conditions = new QGroupBox(tr("Sample conditions"), page);
    auto* conditionsGrid = valueGrid(conditions);
    // Each input field shows its quantity's label and unit.
    const auto addInput = [this](QGroupBox* group, QGridLayout* grid, std::uint32_t slot, const char* name) {
        const QString label = formLabelOf(slot);
        const QString unit = formUnitOf(slot);
        auto* field = new InputTextField(slot, this, group);
        field->setObjectName(name);
        field->setFieldName(label);
        connect(field, &InputTextField::lenientReadingChanged, this, [this, label](const QString& note) {
            if (note.isEmpty()) {
                statusBar()->clearMessage();
            } else {
                statusBar()->showMessage(QString(label).remove(QRegularExpression(QStringLiteral("<[^>]*>"))) +
                                         QStringLiteral(": ") + note);
            }
        });
        field->setMinimumWidth(kNumberFieldWidth);
        const auto [nameText, unitText] = addValueRow(grid, label, field, unit);
        if (const auto key = inputFieldAccelerator(slot)) {
            QLabel* carrier = key->onUnit ? unitText : nameText;
            carrier->setTextFormat(Qt::PlainText);
            carrier->setText(withAccelerator(carrier->text(), key->letter));
            carrier->setBuddy(field);
        }
        return field;
    };
    addInput(conditions, conditionsGrid, slot::kSalinity, "salinity");
    addInput(conditions, conditionsGrid, slot::kTemperature, "temperature");
    addInput(conditions, conditionsGrid, slot::kPressure, "pressure");
    addInput(conditions, conditionsGrid, slot::kPhosphate, "phosphate");
    addInput(conditions, conditionsGrid, slot::kSilicate, "silicate");
    addInput(conditions, conditionsGrid, slot::kTemperatureOut, "outputTemperature");
    addInput(conditions, conditionsGrid, slot::kPressureOut, "outputPressure");
    conditionsGrid->addWidget(
        noteLabel(tr("Leave the output temperature and pressure empty to use the input conditions."),
                  conditions),
        conditionsGrid->rowCount(), 0, 1, 3);
    conditionsGrid->setRowStretch(conditionsGrid->rowCount(), 1);

    // Carbonate parameters, second column.
    auto* carbonate = new QGroupBox(tr("Carbonate parameters (any two)"), page);
    auto* carbonateGrid = valueGrid(carbonate);
    addInput(carbonate, carbonateGrid, slot::kTA, "TA");
    addInput(carbonate, carbonateGrid, slot::kTCO2, "TCO2");
    addInput(carbonate, carbonateGrid, slot::kpH, "pH");
    addInput(carbonate, carbonateGrid, slot::kfCO2, "fCO2");
    addInput(carbonate, carbonateGrid, slot::kpCO2, "pCO2");
    carbonateGrid->addWidget(
        noteLabel(tr("Enter two of the five; the others are calculated."), carbonate),
        carbonateGrid->rowCount(), 0, 1, 3);

    // Air-sea flux inputs.
    auto* flux = new QGroupBox(tr("Air-sea CO₂ flux"), page);
    auto* fluxGrid = valueGrid(flux);
    auto* pCO2air = addInput(flux, fluxGrid, slot::kpCO2Air, "pCO2air");
    auto* windspeed = new InputTextField(slot::kWindSpeed, this, flux);
    connect(windspeed, &InputTextField::lenientReadingChanged, this, [this](const QString& note) {
        if (note.isEmpty()) {
            statusBar()->clearMessage();
        } else {
            statusBar()->showMessage(tr("Wind speed: ") + note);
        }
    });
    windspeed->setObjectName("windspeed");
    windspeed->setFieldName(tr("Wind speed"));
    windspeed->setMinimumWidth(kNumberFieldWidth);
    {
        const int row = fluxGrid->rowCount();
        auto* label = new QLabel(withAccelerator(tr("Wind speed"), inputFieldAccelerator(slot::kWindSpeed)->letter), flux);
        label->setBuddy(windspeed);
        fluxGrid->addWidget(label, row, 0);
        fluxGrid->addWidget(windspeed, row, 1);
        menus_[Menu::WindSpeedUnits]->setParent(flux);
        menus_[Menu::WindSpeedUnits]->setFixedWidth(kUnitColumnWidth);
        fluxGrid->addWidget(menus_[Menu::WindSpeedUnits], row, 2);
    }
    pCO2air->setPlaceholderText(QStringLiteral("optional"));
    windspeed->setPlaceholderText(QStringLiteral("optional"));
    textFields_[TextField::PCO2Air] = pCO2air;
    textFields_[TextField::Windspeed] = windspeed;
    connect(pCO2air, &QLineEdit::editingFinished, this, [this] { core_->CO2FluxRequired(); });
    connect(windspeed, &QLineEdit::editingFinished, this, [this] { core_->CO2FluxRequired(); });

    // Sample information.
    auto* info = new QGroupBox(tr("Sample information"), page);
    auto* infoGrid = new QGridLayout(info);
    infoGrid->setColumnStretch(1, 1);
    const auto addText = [this, info](TextField which, const char* name) {
        auto* field = new QLineEdit(info);
        field->setObjectName(name);
        textFields_[which] = field;
        return field;
    };
    auto* name = addText(TextField::CruiseName, "cruiseName");
    auto* comment = addText(TextField::CruiseComment, "cruiseComment");
    auto* latitude = addText(TextField::CruiseLatitude, "cruiseLatitude");
    auto* longitude = addText(TextField::CruiseLongitude, "cruiseLongitude");
    name->setPlaceholderText(tr("station or bottle"));
    latitude->setPlaceholderText(tr("e.g. 26.512"));
    longitude->setPlaceholderText(tr("e.g. -80.104"));

    const QDateTime now = QDateTime::currentDateTime();
    const QDateTime startup(now.date(), QTime(now.time().hour(), now.time().minute(), now.time().second()));
    cruiseDate_ = new QDateTimeEdit(startup, info);
    cruiseDate_->setObjectName("cruiseDate");
    cruiseDate_->setDisplayFormat("yyyy-MM-dd");
    cruiseDate_->setCalendarPopup(true);
    cruiseTime_ = new QDateTimeEdit(startup, info);
    cruiseTime_->setObjectName("cruiseTime");
    cruiseTime_->setDisplayFormat("HH:mm:ss");
    auto* dateNow = new QPushButton(tr("Now"), info);
    dateNow->setObjectName("getCurrentDate");
    auto* timeNow = new QPushButton(tr("Now"), info);
    timeNow->setObjectName("getCurrentTime");
    connect(dateNow, &QPushButton::clicked, this, &BrinoraAppController::getCurrentDate);
    connect(timeNow, &QPushButton::clicked, this, &BrinoraAppController::getCurrentTime);

    int row = 0;
    const auto addInfoRow = [&](const QString& label, QWidget* field, QWidget* extra) {
        auto* caption = new QLabel(label, info);
        caption->setBuddy(field);
        infoGrid->addWidget(caption, row, 0);
        if (extra) {
            infoGrid->addWidget(field, row, 1);
            infoGrid->addWidget(extra, row, 2);
        } else {
            infoGrid->addWidget(field, row, 1, 1, 2);
        }
        ++row;
    };
    addInfoRow(tr("Name"), name, nullptr);
    addInfoRow(tr("Comment"), comment, nullptr);
    addInfoRow(tr("Date"), cruiseDate_, dateNow);
    addInfoRow(tr("Time"), cruiseTime_, timeNow);
    menus_[Menu::CruiseLatitudeNS]->setParent(info);
    menus_[Menu::CruiseLongitudeEW]->setParent(info);
    menus_[Menu::CoordinateFormat]->setParent(info);
    addInfoRow(tr("Latitude"), latitude, menus_[Menu::CruiseLatitudeNS]);
    addInfoRow(tr("Longitude"), longitude, menus_[Menu::CruiseLongitudeEW]);
    addInfoRow(tr("Coordinates"), menus_[Menu::CoordinateFormat], nullptr);

    // Tab order: the conditions, the carbonate parameters, the flux inputs,
    // then the sample information, as the page reads.
    {
        std::vector<QWidget*> order;
        for (const std::uint32_t tag : {slot::kSalinity, slot::kTemperature, slot::kPressure, slot::kPhosphate,
                                        slot::kSilicate, slot::kTemperatureOut, slot::kPressureOut, slot::kTA,
                                        slot::kTCO2, slot::kpH, slot::kfCO2, slot::kpCO2}) {
            order.push_back(inputField(tag));
        }
        order.insert(order.end(), {pCO2air, windspeed, menus_[Menu::WindSpeedUnits], name, comment, cruiseDate_,
                                   dateNow, cruiseTime_, timeNow, latitude, menus_[Menu::CruiseLatitudeNS],
                                   longitude, menus_[Menu::CruiseLongitudeEW], menus_[Menu::CoordinateFormat]});
        for (std::size_t i = 1; i < order.size(); ++i) setTabOrder(order[i - 1], order[i]);
    }

    // Output file of the form.
    auto* output = new QGroupBox(tr("Output file"), page);
    auto* outputLayout = new QGridLayout(output);
    checkBox_ = new QCheckBox(tr("Append each result to the output file"), output);
    checkBox_->setObjectName("CheckBox");
    auto* pathField2 = new QLineEdit(output);
    pathField2->setObjectName("pathField2");
    pathField2->setReadOnly(true);
    pathField2->setPlaceholderText(tr("no output file chosen"));
    textFields_[TextField::PathField2] = pathField2;
    auto* newFile = new QPushButton(tr("New File…"), output);
    newFile->setObjectName("newFileForOutput");
    newFile->setToolTip(tr("Create a new output file with the column header"));
    auto* openFile = new QPushButton(tr("Add to File…"), output);
    openFile->setObjectName("openFileForOutput");
    openFile->setToolTip(tr("Append the results to an existing output file"));
    connect(newFile, &QPushButton::clicked, this, [this] { core_->newFileForOutput(); });
    connect(openFile, &QPushButton::clicked, this, [this] { core_->openFileForOutput(); });
    outputLayout->addWidget(pathField2, 0, 0, 1, 3);
    outputLayout->addWidget(checkBox_, 1, 0);
    outputLayout->addWidget(newFile, 1, 1);
    outputLayout->addWidget(openFile, 1, 2);
    outputLayout->setColumnStretch(0, 1);

    // Three columns, so that the whole form shows on a 1366 by 768 screen:
    // the conditions; the carbonate parameters and the flux inputs; the
    // sample information and the output file.
    auto* grid = new QGridLayout(page);
    grid->addWidget(conditions, 0, 0, 2, 1);
    grid->addWidget(carbonate, 0, 1);
    grid->addWidget(flux, 1, 1);
    grid->addWidget(info, 0, 2);
    grid->addWidget(output, 1, 2);
    auto* helpRow = new QHBoxLayout;
    helpRow->addStretch(1);
    helpRow->addWidget(helpButton(QStringLiteral("entering-a-sample")));
    grid->addLayout(helpRow, 2, 0, 1, 3);
    grid->setColumnStretch(0, 1);
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(2, 1);
    grid->setRowStretch(3, 1);
    return page;
}

QWidget* BrinoraAppController::buildConstantsPage() {
    auto* page = new QWidget(this);
    page->setObjectName("constantsPage");
    auto* group = new QGroupBox(tr("Constants and scales"), page);
    auto* grid = new QGridLayout(group);
    grid->setColumnStretch(2, 1);
    grid->setVerticalSpacing(2);
    struct OptionRow {
        Menu menu;
        QString label;
        QString note;
    };
    const OptionRow rows[] = {
        {Menu::CO2Constants, tr("CO₂ constants"),
         tr("Dissociation constants K1 and K2 of carbonic acid.")},
        {Menu::KHSO4, tr("KHSO₄"),
         tr("Bisulfate dissociation constant, used between the pH scales.")},
        {Menu::pHScale, tr("pH scale"),
         tr("Scale of the pH you enter and of the pH results.")},
        {Menu::AirSeaFlux, tr("Air-sea flux"),
         tr("Gas-transfer velocity of the air-sea CO₂ flux.")},
    };
    int row = 0;
    for (const OptionRow& option : rows) {
        QComboBox* box = menus_[option.menu];
        box->setParent(group);
        box->setMinimumWidth(430);
        auto* label = new QLabel(option.label, group);
        label->setBuddy(box);
        grid->addWidget(label, row, 0);
        grid->addWidget(box, row, 1);
        grid->addWidget(noteLabel(option.note, group), row, 2);
        grid->setRowMinimumHeight(row, 34);
        ++row;
    }

    auto* guide = new QGroupBox(tr("Which to choose"), page);
    auto* guideLayout = new QVBoxLayout(guide);
    auto* text = new QLabel(guide);
    text->setObjectName("constantsGuide");
    text->setWordWrap(true);
    text->setTextFormat(Qt::RichText);
    text->setText(tr(
        "<p><b>Open-ocean seawater</b> (salinity 19 to 43, 2 to 35 °C): Lueker et al. (2000) on the "
        "total scale, with Dickson (1990) for KHSO₄, as the guide to best practices for ocean "
        "CO<sub>2</sub> measurements (Dickson et al. 2007) recommends.</p>"
        "<p><b>Estuaries and brackish water</b> (salinity down to 1): Millero (2010) or Millero "
        "(2006), which were fitted over salinities from near 0 to 50.</p>"
        "<p><b>Older data on the NBS scale</b>: GEOSECS (Takahashi et al. 1982) or Peng et al. "
        "(1987), with the NBS pH scale (Peng et al. selects it).</p>"
        "<p><b>Fresh water</b>: Millero (1979) pure water, with salinity 0.</p>"
        "<p><b>Flux</b>: Wanninkhof (1992) for winds measured over short times; Nightingale et al. "
        "(2000) and Ho et al. (2006) follow the dual-tracer experiments and give lower velocities "
        "at high wind speeds.</p>"
        "<p>“Select...” means no choice yet: all four must be chosen before a calculation. The "
        "choices are kept between sessions and apply to batch runs too.</p>"));
    guideLayout->addWidget(text);

    auto* helpRow = new QHBoxLayout;
    helpRow->addStretch(1);
    helpRow->addWidget(helpButton(QStringLiteral("options")));
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(group);
    layout->addWidget(guide);
    layout->addStretch(1);
    layout->addLayout(helpRow);
    return page;
}

QWidget* BrinoraAppController::buildResultsPage(bool outputConditions) {
    auto* page = new QWidget(this);
    page->setObjectName(outputConditions ? "resultsOutputPage" : "resultsInputPage");
    // The groups of results, by their slot at input conditions; the page of
    // the output conditions shows each one's twin at output conditions.
    using namespace slot;
    const std::uint32_t conditionRows[] = {kSalinityUsed, kTemperatureUsed, kPressureUsed, kPhosphateUsed,
                                           kSilicateUsed};
    const std::uint32_t carbonateRows[] = {kTAOut, kTCO2Out, kpHIn, kfCO2In, kpCO2In,
                                           kxCO2In, kHCO3In, kCO3In, kCO2In};
    const std::uint32_t alkalinityRows[] = {kBAlkIn, kOHIn, kPAlkIn, kSiAlkIn};
    const std::uint32_t otherRows[] = {kRevelleIn, kOmegaCaIn, kOmegaArIn, kSigmaIn, kCO2FluxIn};
    const auto makeGroup = [this, page, outputConditions](const QString& title,
                                                          std::span<const std::uint32_t> rows) {
        auto* group = new QGroupBox(title, page);
        auto* grid = valueGrid(group);
        for (const std::uint32_t inputSlot : rows) {
            const std::uint32_t tag = outputConditions ? quantityAtSlot(inputSlot)->outputTwin : inputSlot;
            auto* field = new OutputTextField(tag, this, group);
            field->setMinimumWidth(kNumberFieldWidth);
            field->setObjectName(QStringLiteral("result_%1").arg(tag));
            addValueRow(grid, formLabelOf(tag), field, formUnitOf(tag));
        }
        grid->setRowStretch(grid->rowCount(), 1);
        return group;
    };
    // Three columns, so that the whole page shows on a 1366 by 768 screen.
    auto* grid = new QGridLayout(page);
    grid->addWidget(makeGroup(tr("Conditions"), conditionRows), 0, 0);
    grid->addWidget(makeGroup(tr("Alkalinity contributions"), alkalinityRows), 1, 0, 2, 1);
    grid->addWidget(makeGroup(tr("Carbonate system"), carbonateRows), 0, 1, 3, 1);
    grid->addWidget(makeGroup(tr("Saturation, buffer and flux"), otherRows), 0, 2);
    auto* note = noteLabel(
        outputConditions
            ? tr("TA and TCO₂ are carried over from the input conditions; the other results are "
                 "recalculated at the output temperature and pressure. The flux is in mmol per "
                 "square metre per day, positive from sea to air.")
            : tr("Results at the temperature and pressure of the measurement. The flux is in mmol "
                 "per square metre per day, positive from sea to air."),
        page);
    grid->addWidget(note, 1, 2, Qt::AlignTop);
    auto* helpRow = new QHBoxLayout;
    helpRow->addStretch(1);
    helpRow->addWidget(helpButton(QStringLiteral("results")));
    grid->addLayout(helpRow, 3, 0, 1, 3);
    grid->setColumnStretch(0, 1);
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(2, 1);
    grid->setRowStretch(4, 1);
    return page;
}

QWidget* BrinoraAppController::buildBatchPage() {
    auto* page = new QWidget(this);
    page->setObjectName("batchPage");

    auto* files = new QGroupBox(tr("Files"), page);
    auto* grid = new QGridLayout(files);
    grid->setColumnStretch(1, 1);
    auto* pathField = new QLineEdit(files);
    pathField->setObjectName("pathField");
    pathField->setReadOnly(true);
    pathField->setPlaceholderText(tr("a CSV file of 21 columns"));
    auto* pathFieldOut = new QLineEdit(files);
    pathFieldOut->setObjectName("pathFieldOut");
    pathFieldOut->setReadOnly(true);
    pathFieldOut->setPlaceholderText(tr("a new CSV file for the results"));
    textFields_[TextField::PathField] = pathField;
    textFields_[TextField::PathFieldOut] = pathFieldOut;
    auto* chooseInput = new QPushButton(tr("Choose Input…"), files);
    chooseInput->setObjectName("selectCSVtoOpen");
    auto* chooseOutput = new QPushButton(tr("Choose Output…"), files);
    chooseOutput->setObjectName("selectCSVtoOutput");
    connect(chooseInput, &QPushButton::clicked, this, [this] { previewing([this] { core_->selectCSVtoOpen(); }); });
    connect(chooseOutput, &QPushButton::clicked, this,
            [this] { previewing([this] { core_->selectCSVtoOutput(); }); });
    grid->addWidget(new QLabel(tr("Input file"), files), 0, 0);
    grid->addWidget(pathField, 0, 1);
    grid->addWidget(chooseInput, 0, 2);
    grid->addWidget(new QLabel(tr("Output file"), files), 1, 0);
    grid->addWidget(pathFieldOut, 1, 1);
    grid->addWidget(chooseOutput, 1, 2);
    grid->addWidget(
        noteLabel(tr("Choose the input file, then the output file: the first lines are calculated "
                     "in a preview. Calculate then processes the whole file with the options of "
                     "the Constants tab; wind speeds in the file are in m/s."),
                  files),
        2, 0, 1, 3);
    grid->addWidget(buildBatchUncertaintyBox(files), 3, 0, 1, 3);

    batchPreviewTable_ = new QTableView(page);
    batchPreviewTable_->setObjectName("previewTableView");
    batchPreviewTable_->setModel(previewModel_);
    batchPreviewTable_->setAlternatingRowColors(true);
    batchPreviewTable_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    batchPreviewTable_->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    batchPreviewTable_->verticalHeader()->setDefaultSectionSize(22);

    progressIndicator_ = new QProgressBar(page);
    progressIndicator_->setObjectName("progressIndicator");
    progressIndicator_->setRange(0, 100 * kProgressStepsPerPercent);
    progressIndicator_->setFormat(QStringLiteral("%p%"));

    auto* kml = new QPushButton(tr("Write KML…"), page);
    kml->setObjectName("writeKML");
    kml->setToolTip(tr("Turn a batch input file into a KML document with one placemark per sample"));
    connect(kml, &QPushButton::clicked, this, &BrinoraAppController::writeKML);
    auto* constants = new QPushButton(tr("Constants…"), page);
    constants->setObjectName("batchConstants");
    constants->setToolTip(tr("Show the constants used for the batch"));
    connect(constants, &QPushButton::clicked, this, &BrinoraAppController::switchToConstants);

    auto* actions = new QHBoxLayout;
    actions->addWidget(constants);
    actions->addWidget(kml);
    actions->addStretch(1);
    actions->addWidget(helpButton(QStringLiteral("batch-input")));

    auto* layout = new QVBoxLayout(page);
    layout->addWidget(files);
    layout->addWidget(batchPreviewTable_, 1);
    layout->addStretch(0);
    cancelBatchButton_ = new QPushButton(tr("Cancel"), page);
    cancelBatchButton_->setObjectName("cancelBatch");
    cancelBatchButton_->setToolTip(tr("Stop the batch run; the records written so far stay in the output file"));
    cancelBatchButton_->setEnabled(false);
    connect(cancelBatchButton_, &QPushButton::clicked, this, &BrinoraAppController::cancelBatch);
    cancelBatchButton_->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    cancelBatchButton_->setVisible(false);
    auto* progressRow = new QHBoxLayout;
    progressRow->addWidget(progressIndicator_, 1);
    progressRow->addWidget(cancelBatchButton_);
    layout->addLayout(progressRow);
    layout->addLayout(actions);
    return page;
}

}  // namespace brinora
