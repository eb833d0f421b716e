// The desktop's uncertainty choice: its stored defaults, reading and writing
// it as text, the request it makes (that of `brinora calc --u-...`), the
// options of the batch's uncertainty file, and the propagation of a board.
#include <gtest/gtest.h>

#include "app/plain_ui.h"
#include "app/settings_keys.h"
#include "app/settings_registration.h"
#include "app/uncertainty_choice.h"
#include "engine/slots.h"

namespace brinora {
namespace {

using namespace uncertainty;

TEST(UncertaintyChoice, StartUpRegistersTheDefaultsAfterTheOtherKeys) {
    MemorySettings store;
    registerAndMigrateSettings(store);
    EXPECT_EQ(store.value("uncertaintyShown"), "0");
    EXPECT_EQ(store.value("uncertaintyTA"), "2");
    EXPECT_EQ(store.value("uncertaintypH"), "0.01");
    EXPECT_EQ(store.value("uncertaintyConstants"), "standard");
    EXPECT_EQ(store.value("uncertaintyBatchFile"), "0");
    const UncertaintyChoice choice = loadUncertaintyChoice(store);
    EXPECT_FALSE(choice.shown);
    EXPECT_EQ(choice.parameter[1], 2.0);
    EXPECT_EQ(choice.parameter[3], 0.01);
    EXPECT_EQ(choice.salinity, 0.01);
    EXPECT_EQ(choice.temperature, 0.01);
    EXPECT_EQ(choice.phosphate, 0.0);
    EXPECT_TRUE(choice.standardConstants);
    EXPECT_EQ(choice.budgetResult, "ph");
    // A stored value is never replaced.
    store.setValue("uncertaintyTA", "4");
    registerUncertaintyDefaults(store);
    EXPECT_EQ(store.value("uncertaintyTA"), "4");
}

TEST(UncertaintyChoice, StoredAsShortestTextAndReadBack) {
    EXPECT_EQ(storedNumber(0.01), "0.01");
    EXPECT_EQ(storedNumber(2.0), "2");
    EXPECT_EQ(storedNumber(-0.25), "-0.25");
    MemorySettings store;
    UncertaintyChoice choice;
    choice.shown = true;
    choice.parameter = {0.0, 2.5, 3.0, 0.005, 1.5, 4.0};
    choice.salinity = 0.002;
    choice.temperature = 0.05;
    choice.phosphate = 0.1;
    choice.silicate = 0.7;
    choice.standardConstants = false;
    choice.correlation = 0.3;
    choice.budgetResult = "omega_aragonite_out";
    choice.batchFile = true;
    storeUncertaintyChoice(store, choice);
    EXPECT_EQ(store.value("uncertaintypH"), "0.005");
    EXPECT_EQ(store.value("uncertaintyConstants"), "none");
    const UncertaintyChoice read = loadUncertaintyChoice(store);
    EXPECT_TRUE(read.shown);
    EXPECT_EQ(read.parameter, choice.parameter);
    EXPECT_EQ(read.salinity, 0.002);
    EXPECT_EQ(read.silicate, 0.7);
    EXPECT_FALSE(read.standardConstants);
    EXPECT_EQ(read.correlation, 0.3);
    EXPECT_EQ(read.budgetResult, "omega_aragonite_out");
    EXPECT_TRUE(read.batchFile);
}

TEST(UncertaintyChoice, UnreadableValuesAreTheDefaultsAndBoundsHold) {
    MemorySettings store;
    store.setValue("uncertaintyTA", "two");
    store.setValue("uncertaintyTCO2", "-3");
    store.setValue("uncertaintyCorrelation", "5");
    const UncertaintyChoice choice = loadUncertaintyChoice(store);
    EXPECT_EQ(choice.parameter[1], 2.0);
    EXPECT_EQ(choice.parameter[2], 0.0);
    EXPECT_EQ(choice.correlation, 1.0);
}

TEST(UncertaintyChoice, TheRequestIsTheCommandLines) {
    UncertaintyChoice choice;
    choice.parameter = {0.0, 2.0, 2.0, 0.01, 0.0, 3.0};
    choice.salinity = 0.01;
    choice.temperature = 0.02;
    choice.silicate = 0.5;
    choice.correlation = 0.5;
    UncertaintyRequest request = requestOf(choice);
    EXPECT_EQ(request.parameter[5], 3.0);
    EXPECT_EQ(request.source[kSalinity], 0.01);
    EXPECT_EQ(request.source[kTemperature], 0.02);
    EXPECT_EQ(request.source[kSilicate], 0.5);
    EXPECT_EQ(request.source[kPressure], 0.0);
    EXPECT_EQ(request.correlation, 0.5);
    // Orr et al. (2018).
    EXPECT_EQ(request.source[kpK0], 0.002);
    EXPECT_EQ(request.source[kpK1], 0.0075);
    EXPECT_EQ(request.source[kpK2], 0.015);
    EXPECT_EQ(request.source[kTotalBoron], 0.02);
    EXPECT_EQ(request.source[kpKS], 0.0);
    choice.standardConstants = false;
    request = requestOf(choice);
    EXPECT_EQ(request.source[kpK2], 0.0);
    EXPECT_EQ(request.source[kTotalBoron], 0.0);
}

TEST(UncertaintyChoice, TheBatchFileTakesTheMenusAsTheCommandLineTakesItsFlags) {
    PlainUi ui;
    ui.selectItem(Menu::CO2Constants, 13);
    ui.selectItem(Menu::KHSO4, 1);
    ui.selectItem(Menu::pHScale, 2);
    ui.selectItem(Menu::AirSeaFlux, 3);
    const UncertaintyFileOptions options = uncertaintyFileOptionsOf(UncertaintyChoice{}, ui);
    EXPECT_EQ(options.options.whichKs, 13);
    EXPECT_EQ(options.options.whichKSO4, 1);
    EXPECT_EQ(options.options.pHScale, 2);
    EXPECT_EQ(options.options.fluxCode, 2);
    EXPECT_FALSE(options.budget);
    EXPECT_TRUE(options.header);
    EXPECT_GE(options.threads, 1u);
}

TEST(UncertaintyChoice, TheFormsBoardIsPropagatedAsCalcDoes) {
    // The worked case of Orr et al. (2018): u(pH) 0.01190, u(pCO2) 9.623 uatm.
    Board board;
    board.set(slot::kConstantsSet, 12.0f);  // menu item 13
    board.set(slot::kKHSO4, 0.0f);
    board.set(slot::kpHScale, 0.0f);
    board.set(slot::kAirSeaFlux, 0.0f);
    board.set(slot::kSalinity, 35.0f);
    board.set(slot::kTemperature, 18.0f);
    board.set(slot::kTA, 2300.0f);
    board.set(slot::kTCO2, 2000.0f);
    UncertaintyChoice choice;
    choice.parameter[1] = 2.0;
    choice.parameter[2] = 2.0;
    choice.parameter[3] = 0.01;  // not of the pair: not used
    choice.salinity = 0.01;
    choice.temperature = 0.01;
    SampleUncertainty result;
    ASSERT_TRUE(propagateFormSample(board, choice, result));
    EXPECT_EQ(result.sample.first, 1);
    EXPECT_EQ(result.sample.second, 2);
    EXPECT_NEAR(result.propagated.u[qpH], 0.01190, 5e-6);
    EXPECT_NEAR(result.propagated.u[qpCO2], 9.623, 1e-3);
    EXPECT_EQ(FormatUncertainty(RowUncertainty(quantityAtSlot(slot::kSalinityUsed), result)), "0.0100");
    EXPECT_EQ(RowUncertainty(quantityAtSlot(slot::kSigmaIn), result), -1.0);

    // One parameter only: no pair.
    board.set(slot::kTCO2, 0.0f);
    EXPECT_FALSE(propagateFormSample(board, choice, result));
}

}  // namespace
}  // namespace brinora
