// The desktop's uncertainties: the Uncertainties tab of the one-sample form
// (its values kept in the stored settings), "± u" beside the results after
// Calculate as `brinora calc --u-...` prints them, the budget chart, the
// batch tab's check box that writes the same uncertainty file as `brinora
// batch --u-...`, and the error-space window of the graph tab.
#include <QProcess>
#include <QProcessEnvironment>

#include <functional>

#include "engine/slots.h"
#include "gui/error_space_view.h"
#include "gui/graph_page.h"
#include "gui/uncertainty_panel.h"
#include "gui/window_fit.h"
#include "gui_fixture.h"
#include "records/output_record.h"
#include "tests/support/batch_input.h"

namespace brinora::testing {
namespace {

class UncertaintyWindowTest : public WindowTest {
protected:
    UncertaintyPanel* panel() const { return window->uncertaintyPanel(); }
    void setField(const char* name, const QString& text) {
        QLineEdit* field = panel()->field(QString::fromLatin1(name));
        ASSERT_NE(field, nullptr) << name;
        field->clear();
        QTest::keyClicks(field, text);
    }
    std::string plusMinus(std::uint32_t tag) const {
        const std::vector<QLabel*> labels = window->uncertaintyLabels(tag);
        return labels.empty() ? "<no label>" : labels.front()->text().toStdString();
    }
    // The worked case of Orr et al. (2018) on the form: S 35, T 18, P 0,
    // TA 2300, TCO2 2000, Lueker et al. (2000) constants, KHSO4 of Dickson,
    // total scale; u(TA) = u(TCO2) = 2, u(S) = u(T) = 0.01, standard constants.
    void calculateWorkedCase() {
        chooseOptions(13, 1, 1, 1);
        type(slot::kSalinity, QStringLiteral("35"));
        type(slot::kTemperature, QStringLiteral("18"));
        type(slot::kPressure, QStringLiteral("0"));
        type(slot::kTA, QStringLiteral("2300"));
        type(slot::kTCO2, QStringLiteral("2000"));
        panel()->shownBox()->setChecked(true);
        setField("uTA", QStringLiteral("2"));
        setField("uTCO2", QStringLiteral("2"));
        setField("uSalinity", QStringLiteral("0.01"));
        setField("uTemperature", QStringLiteral("0.01"));
        setField("uPhosphate", QStringLiteral("0"));
        setField("uSilicate", QStringLiteral("0"));
        setField("uCorrelation", QStringLiteral("0"));
        panel()->constantsMenu()->setCurrentIndex(0);
        window->switchToInput();
        click(window->calculateButton());
    }
};

TEST_F(UncertaintyWindowTest, ResultsShowTheirUncertaintyAsTheCommandLinePrintsIt) {
    calculateWorkedCase();
    ASSERT_TRUE(dialogs.errors.empty()) << dialogs.errors.front().localizedDescription;
    EXPECT_EQ(shown(slot::kpHIn), "8.152");
    // brinora calc: pH 8.152 ± 0.0119, pCO2 ± 9.62, CO3 ± 3.28, Omega aragonite ± 0.158.
    EXPECT_EQ(plusMinus(slot::kpHIn), "± 0.0119");
    EXPECT_EQ(plusMinus(slot::kpCO2In), "± 9.62");
    EXPECT_EQ(plusMinus(slot::kCO3In), "± 3.28");
    EXPECT_EQ(plusMinus(slot::kOmegaArIn), "± 0.158");
    EXPECT_EQ(plusMinus(slot::kSalinityUsed), "± 0.0100");
    EXPECT_EQ(plusMinus(slot::kTAOut), "± 2.00");
    EXPECT_EQ(plusMinus(quantityAtSlot(slot::kpHIn)->outputTwin), "± 0.0119");
    // Sigma-t has none.
    EXPECT_EQ(plusMinus(slot::kSigmaIn), "");
    ASSERT_TRUE(window->formUncertainty().has_value());
    EXPECT_NEAR(window->formUncertainty()->propagated.u[uncertainty::qpH], 0.011895, 5e-7);
}

TEST_F(UncertaintyWindowTest, ResultsAndTheirUncertaintiesFitALaptopScreen) {
    // The part of a 1366 by 768 screen left by a panel of 32 pixels.
    window->resize(defaultWindowSize(window->sizeHint(), QRect(0, 0, 1366, 736)));
    window->show();
    calculateWorkedCase();
    BrinoraAppController* w = window;
    for (const auto& [show, page] : std::vector<std::pair<std::function<void()>, const char*>>{
             {[w] { w->switchToResultsInputConditions(); }, "resultsInputPage"},
             {[w] { w->switchToResultsOutputConditions(); }, "resultsOutputPage"}}) {
        show();
        QApplication::processEvents();
        SCOPED_TRACE(page);
        QWidget* shownPage = window->findChild<QWidget*>(QString::fromLatin1(page));
        ASSERT_NE(shownPage, nullptr);
        for (QLabel* label : shownPage->findChildren<QLabel*>()) {
            if (label->isVisible() && !label->wordWrap()) {
                EXPECT_GE(label->width(), label->sizeHint().width()) << label->text().toStdString();
            }
        }
        for (QLineEdit* field : shownPage->findChildren<QLineEdit*>()) {
            EXPECT_GE(field->width(), field->fontMetrics().horizontalAdvance(QStringLiteral("-1234.567")) + 8);
        }
    }
    EXPECT_EQ(plusMinus(slot::kOmegaCaIn), "± 0.244");
}

TEST_F(UncertaintyWindowTest, TheBudgetChartHasABarForEachSource) {
    calculateWorkedCase();
    panel()->budgetMenu()->setCurrentIndex(panel()->budgetMenu()->findData(QStringLiteral("ph")));
    std::vector<std::string> names, texts;
    for (const BudgetChart::Bar& bar : panel()->chart()->bars()) {
        names.push_back(bar.name.toStdString());
        texts.push_back(bar.text.toStdString());
    }
    // As brinora calc --budget prints the row of ph.
    EXPECT_EQ(names, (std::vector<std::string>{"ta", "tco2", "salinity", "temperature", "pk0", "pk1", "pk2", "pkb",
                                               "pkw", "pkspa", "pkspc", "bt", "u"}));
    EXPECT_EQ(texts, (std::vector<std::string>{"0.00312", "0.00343", "0.000127", "0.000154", "0", "0.000302",
                                               "0.0102", "0.00263", "0.000161", "0", "0", "0.00297", "0.0119"}));
    EXPECT_EQ(panel()->chart()->title().toStdString(), "Budget of pH (u = 0.0119)");
}

TEST_F(UncertaintyWindowTest, WithoutThePanelsCheckBoxNoUncertaintyIsShown) {
    calculateWorkedCase();
    panel()->shownBox()->setChecked(false);
    EXPECT_EQ(plusMinus(slot::kpHIn), "");
    click(window->calculateButton());
    EXPECT_EQ(shown(slot::kpHIn), "8.152");
    EXPECT_EQ(plusMinus(slot::kpHIn), "");
    EXPECT_FALSE(window->formUncertainty().has_value());
    EXPECT_TRUE(panel()->chart()->bars().empty());
}

TEST_F(UncertaintyWindowTest, CorrelatedPairWithoutConstants) {
    calculateWorkedCase();
    // brinora calc --u-ta 2 --u-tco2 2 --correlation 1 --u-constants none: 8.152 ± 0.000312
    // (with u(S) = u(T) = 0.01 they add 0.000127 and 0.000154).
    setField("uSalinity", QStringLiteral("0"));
    setField("uTemperature", QStringLiteral("0"));
    setField("uCorrelation", QStringLiteral("1"));
    panel()->constantsMenu()->setCurrentIndex(1);
    click(window->calculateButton());
    EXPECT_EQ(plusMinus(slot::kpHIn), "± 0.000312");
}

TEST_F(UncertaintyWindowTest, TheUsersOwnConstantsAsTheCommandLinesOptions) {
    // The fields start as the standard set and are shown with "custom" only.
    EXPECT_EQ(panel()->field(QStringLiteral("upK2"))->text().toStdString(), "0.015");
    EXPECT_EQ(panel()->field(QStringLiteral("uBoron"))->text().toStdString(), "0.02");
    EXPECT_TRUE(panel()->ownConstants()->isHidden());
    calculateWorkedCase();
    EXPECT_EQ(plusMinus(slot::kpHIn), "± 0.0119");
    panel()->constantsMenu()->setCurrentIndex(2);
    EXPECT_FALSE(panel()->ownConstants()->isHidden());
    EXPECT_EQ(store->value("uncertaintyConstants"), "custom");
    // brinora calc ... --u-constants standard --u-pk2 0.03 --u-pksi 0.05: 8.152 ± 0.0213
    // (no silicate: pKSi adds nothing).
    setField("upK2", QStringLiteral("0.03"));
    setField("upKSi", QStringLiteral("0.05"));
    EXPECT_EQ(store->value("uncertaintypK2"), "0.03");
    click(window->calculateButton());
    EXPECT_EQ(plusMinus(slot::kpHIn), "± 0.0213");
    // Back to the standard set: the own values are kept but not used.
    panel()->constantsMenu()->setCurrentIndex(0);
    EXPECT_TRUE(panel()->ownConstants()->isHidden());
    click(window->calculateButton());
    EXPECT_EQ(plusMinus(slot::kpHIn), "± 0.0119");
    EXPECT_EQ(store->value("uncertaintypK2"), "0.03");
}

TEST_F(UncertaintyWindowTest, ThePanelIsKeptInTheStoredSettings) {
    EXPECT_EQ(store->value("uncertaintyTA"), "2");
    EXPECT_EQ(store->value("uncertaintypH"), "0.01");
    EXPECT_EQ(store->value("uncertaintyConstants"), "standard");
    panel()->shownBox()->setChecked(true);
    setField("uTA", QStringLiteral("3.5"));
    setField("uCorrelation", QStringLiteral("-0.25"));
    panel()->constantsMenu()->setCurrentIndex(1);
    window->batchUncertaintyBox()->setChecked(true);
    EXPECT_EQ(store->value("uncertaintyShown"), "1");
    EXPECT_EQ(store->value("uncertaintyTA"), "3.5");
    EXPECT_EQ(store->value("uncertaintyCorrelation"), "-0.25");
    EXPECT_EQ(store->value("uncertaintyConstants"), "none");
    EXPECT_EQ(store->value("uncertaintyBatchFile"), "1");

    // A new window shows what was stored.
    delegate.reset();
    delegate = std::make_unique<BrinoraApp_GUIAppDelegate>(*store);
    delegate->applicationDidFinishLaunching();
    window = delegate->window();
    window->setUserDialogs(&dialogs);
    EXPECT_TRUE(panel()->shownBox()->isChecked());
    EXPECT_EQ(panel()->field(QStringLiteral("uTA"))->text().toStdString(), "3.5");
    EXPECT_EQ(panel()->field(QStringLiteral("uCorrelation"))->text().toStdString(), "-0.25");
    EXPECT_EQ(panel()->constantsMenu()->currentIndex(), 1);
    EXPECT_TRUE(window->batchUncertaintyBox()->isChecked());
}

// Sample lines of three pairs: TA-TCO2, TA-pH and TCO2-pCO2, one line with no
// sample id (skipped), one with a single parameter (no pair).
std::string uncertaintyInput() {
    std::string text = kInputHeader + "\n";
    for (int k = 1; k <= 30; ++k) {
        char line[256];
        const double salinity = 30.0 + k * 0.2;
        const double temperature = k * 0.9;
        switch (k % 3) {
            case 0:
                std::snprintf(line, sizeof line,
                              "%d,St %d,08:00:00,03/14/2024,26.5,-80.1,%.2f,%.1f,%d,0.5,4.0,25,0,%d,%d,,,,415,6.5,b\n", k,
                              k, salinity, temperature, k * 100, 2250 + k, 1950 + k);
                break;
            case 1:
                std::snprintf(line, sizeof line,
                              "%d,St %d,09:00:00,03/14/2024,26.5,-80.1,%.2f,%.1f,0,1.0,10.0,,,%d,,%.3f,,,,,x\n", k, k,
                              salinity, temperature, 2280 + k, 7.90 + k * 0.005);
                break;
            default:
                std::snprintf(line, sizeof line,
                              "%d,St %d,10:00:00,03/14/2024,26.5,-80.1,%.2f,%.1f,0,0,0,20,100,,%d,,,%d,,,\n", k, k,
                              salinity, temperature, 2000 + k, 350 + k * 3);
                break;
        }
        text += line;
        if (k == 10) text += ",,,,,,,,,,,,,,,,,,,,\n";
    }
    text += "31,one,10:00:00,03/14/2024,26.5,-80.1,35,20,0,0,0,,,2300,,,,,,,\n";
    return text;
}

TEST_F(UncertaintyWindowTest, TheBatchCheckBoxWritesTheCommandLinesUncertaintyFile) {
    const QString input = path("cruise.csv");
    writeText(input, uncertaintyInput());

    // The command line: its own output and settings in a folder of its own.
    QTemporaryDir cliFolder;
    ASSERT_TRUE(cliFolder.isValid());
    const QString cliOutput = cliFolder.filePath(QStringLiteral("cli.csv"));
    QProcess cli;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("BRINORA_SETTINGS_FILE"), cliFolder.filePath(QStringLiteral("cli.ini")));
    cli.setProcessEnvironment(environment);
    cli.start(QStringLiteral(BRINORA_BINARY),
              {QStringLiteral("batch"), input, QStringLiteral("-o"), cliOutput, QStringLiteral("--constants"),
               QStringLiteral("13"), QStringLiteral("--khso4"), QStringLiteral("1"), QStringLiteral("--ph-scale"),
               QStringLiteral("1"), QStringLiteral("--flux"), QStringLiteral("1"), QStringLiteral("--u-ta"),
               QStringLiteral("2"), QStringLiteral("--u-tco2"), QStringLiteral("2"), QStringLiteral("--u-ph"),
               QStringLiteral("0.01"), QStringLiteral("--u-pco2"), QStringLiteral("3"),
               QStringLiteral("--u-salinity"), QStringLiteral("0.01"), QStringLiteral("--u-temperature"),
               QStringLiteral("0.01"), QStringLiteral("--u-silicate"), QStringLiteral("0.5"),
               QStringLiteral("--u-constants"), QStringLiteral("standard"), QStringLiteral("--correlation"),
               QStringLiteral("0.5")});
    ASSERT_TRUE(cli.waitForFinished(60000));
    ASSERT_EQ(cli.exitCode(), 0) << cli.readAllStandardError().toStdString();
    const std::string expected = readText(cliFolder.filePath(QStringLiteral("cli_uncertainty.csv")));
    ASSERT_NE(expected, "<unreadable>");
    ASSERT_GT(expected.size(), 1000u);

    // The desktop: the same uncertainties on the panel, the batch tab's check box on.
    setField("uTA", QStringLiteral("2"));
    setField("uTCO2", QStringLiteral("2"));
    setField("upH", QStringLiteral("0.01"));
    setField("ufCO2", QStringLiteral("0"));
    setField("upCO2", QStringLiteral("3"));
    setField("uSalinity", QStringLiteral("0.01"));
    setField("uTemperature", QStringLiteral("0.01"));
    setField("uPhosphate", QStringLiteral("0"));
    setField("uSilicate", QStringLiteral("0.5"));
    setField("uCorrelation", QStringLiteral("0.5"));
    panel()->constantsMenu()->setCurrentIndex(0);
    chooseOptions(13, 1, 1, 1);
    window->switchToBatchProcessing();
    click(window->batchUncertaintyBox());
    ASSERT_TRUE(window->batchUncertaintyBox()->isChecked());
    const QString output = path("out.csv");
    writeText(output, std::string(dataFileHeaders()));
    window->setText(TextField::PathField, input.toStdString());
    window->setText(TextField::PathFieldOut, output.toStdString());
    click(window->calculateButton());
    ASSERT_TRUE(waitForBatchRun());
    ASSERT_TRUE(dialogs.errors.empty()) << dialogs.errors.front().localizedDescription;
    ASSERT_EQ(dialogs.alerts.size(), 1u);
    EXPECT_NE(dialogs.alerts[0].informativeText.find("Uncertainty File:\n" + path("out_uncertainty.csv").toStdString()),
              std::string::npos)
        << dialogs.alerts[0].informativeText;
    EXPECT_TRUE(readText(path("out_uncertainty.csv")) == expected)
        << "the desktop's uncertainty file differs from brinora batch's";
    // The records are the command line's too.
    EXPECT_EQ(readText(output), readText(cliOutput));

    // The graph tab plots the output with the uncertainty file's error bars:
    // the first record's pH has the first row's u_ph.
    GraphPage* graph = window->graphPage();
    EXPECT_EQ(graph->errorBarsLabel()->text().toStdString(),
              "Error bars: ± u from " + path("out_uncertainty.csv").toStdString());
    graph->yMenu()->setCurrentIndex(graph->yMenu()->findData(QStringLiteral("pH (in)")));
    const std::string firstRow = expected.substr(expected.find('\n') + 1);
    const std::size_t third = firstRow.find(',', firstRow.find(',') + 1) + 1;
    const float firstU = std::stof(firstRow.substr(third, firstRow.find(',', third) - third));
    ASSERT_FALSE(graph->scene().yError.empty());
    EXPECT_EQ(graph->scene().series.row[0], 0u);
    EXPECT_EQ(graph->scene().yError[0], firstU);
    EXPECT_GT(firstU, 0.005f);
}

TEST_F(UncertaintyWindowTest, AnUncertaintyFileThatCannotBeWrittenIsPresentedAndTheRecordsStay) {
    const QString input = path("cruise.csv");
    writeText(input, uncertaintyInput());
    // A folder where the uncertainty file would go.
    ASSERT_TRUE(QDir(folder.path()).mkdir(QStringLiteral("out_uncertainty.csv")));
    chooseOptions(13, 1, 1, 1);
    window->switchToBatchProcessing();
    window->batchUncertaintyBox()->setChecked(true);
    const QString output = path("out.csv");
    writeText(output, std::string(dataFileHeaders()));
    window->setText(TextField::PathField, input.toStdString());
    window->setText(TextField::PathFieldOut, output.toStdString());
    click(window->calculateButton());
    ASSERT_TRUE(waitForBatchRun());
    ASSERT_EQ(dialogs.errors.size(), 1u);
    const std::string folderPath = path("out_uncertainty.csv").toStdString();
    EXPECT_EQ(dialogs.errors[0].localizedDescription,
              "The uncertainty file " + folderPath + " was not written (the output \"" + folderPath +
                  "\" is a folder; give a file name). The records are in the output file.");
    // 30 sample lines and one with a single parameter: 31 records after the header.
    EXPECT_EQ(window->core().recordsWritten, 31);
    ASSERT_EQ(dialogs.alerts.size(), 1u);
    EXPECT_EQ(dialogs.alerts[0].informativeText.find("Uncertainty File"), std::string::npos);
}

TEST_F(UncertaintyWindowTest, WithoutTheCheckBoxNoUncertaintyFileIsWritten) {
    const QString input = path("cruise.csv");
    writeText(input, uncertaintyInput());
    chooseOptions(13, 1, 1, 1);
    window->switchToBatchProcessing();
    ASSERT_FALSE(window->batchUncertaintyBox()->isChecked());
    const QString output = path("out.csv");
    writeText(output, std::string(dataFileHeaders()));
    window->setText(TextField::PathField, input.toStdString());
    window->setText(TextField::PathFieldOut, output.toStdString());
    click(window->calculateButton());
    ASSERT_TRUE(waitForBatchRun());
    EXPECT_FALSE(QFile::exists(path("out_uncertainty.csv")));
}

TEST_F(UncertaintyWindowTest, TheGraphTabShowsTheErrorSpaceOfTheFormsSample) {
    calculateWorkedCase();
    window->switchToGraph();
    click(window->graphPage()->errorSpaceButton());
    ErrorSpaceWindow* space = window->errorSpaceWindow();
    ASSERT_NE(space, nullptr);
    EXPECT_TRUE(space->isVisible());
    space->resultMenu()->setCurrentIndex(static_cast<int>(uncertainty::qpH));
    // TA and TCO2: 0 to 20 umol/kg each.
    EXPECT_EQ(space->maxFirst()->value(), 20.0);
    EXPECT_EQ(space->maxSecond()->value(), 20.0);
    ASSERT_TRUE(space->view()->space().has_value());
    const graph::ErrorSpace& grid = *space->view()->space();
    ASSERT_EQ(grid.columns, 41u);
    // u(TA) = u(TCO2) = 2 is grid point (4, 4): the form's u(pH).
    EXPECT_EQ(grid.firstAt(4), 2.0);
    EXPECT_NEAR(grid.at(4, 4), 0.011895, 5e-7);
    EXPECT_FALSE(space->view()->levels().empty());
    EXPECT_EQ(space->noteLabel()->text().toStdString(),
              "Contours of u(y) with the other sources at their uncertainties; dashed: where the pair's part "
              "equals the constants' part (u = 0.0155, the constants alone 0.0110).");
}

}  // namespace
}  // namespace brinora::testing
