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
    EXPECT_EQ(choice.constantsSet, ConstantsSet::Standard);
    EXPECT_EQ(choice.budgetResult, "ph");
    // The user's own set starts as the standard one.
    EXPECT_EQ(store.value("uncertaintypK2"), "0.015");
    EXPECT_EQ(store.value("uncertaintypKSi"), "0");
    EXPECT_EQ(store.value("uncertaintyBoron"), "0.02");
    const std::array<double, kConstantSources> standard{0.002, 0.0075, 0.015, 0.01, 0.01, 0.02, 0.02,
                                                        0.0,   0.0,    0.0,   0.0,  0.0,  0.0,  0.02};
    EXPECT_EQ(choice.constants, standard);
    EXPECT_EQ(StandardConstantSet(), standard);
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
    choice.constantsSet = ConstantsSet::None;
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
    EXPECT_EQ(read.constantsSet, ConstantsSet::None);
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
    choice.constantsSet = ConstantsSet::None;
    request = requestOf(choice);
    EXPECT_EQ(request.source[kpK2], 0.0);
    EXPECT_EQ(request.source[kTotalBoron], 0.0);
    // The user's own set, as --u-pk0 .. --u-bt give it.
    choice.constantsSet = ConstantsSet::Custom;
    choice.constants[kpK2 - kpK0] = 0.03;
    choice.constants[kpKSi - kpK0] = 0.05;
    choice.constants[kTotalBoron - kpK0] = 0.0;
    request = requestOf(choice);
    EXPECT_EQ(request.source[kpK0], 0.002);
    EXPECT_EQ(request.source[kpK2], 0.03);
    EXPECT_EQ(request.source[kpKSi], 0.05);
    EXPECT_EQ(request.source[kTotalBoron], 0.0);
}

TEST(UncertaintyChoice, TheUsersOwnConstantsAreStoredAndReadBack) {
    MemorySettings store;
    UncertaintyChoice choice;
    choice.constantsSet = ConstantsSet::Custom;
    choice.constants[kpK1 - kpK0] = 0.004;
    choice.constants[kpKF - kpK0] = 0.1;
    storeUncertaintyChoice(store, choice);
    EXPECT_EQ(store.value("uncertaintyConstants"), "custom");
    EXPECT_EQ(store.value("uncertaintypK1"), "0.004");
    EXPECT_EQ(store.value("uncertaintypKF"), "0.1");
    const UncertaintyChoice read = loadUncertaintyChoice(store);
    EXPECT_EQ(read.constantsSet, ConstantsSet::Custom);
    EXPECT_EQ(read.constants, choice.constants);
    // An unknown set is the standard one; a negative value is read as 0.
    store.setValue("uncertaintyConstants", "mine");
    store.setValue("uncertaintypK1", "-1");
    const UncertaintyChoice other = loadUncertaintyChoice(store);
    EXPECT_EQ(other.constantsSet, ConstantsSet::Standard);
    EXPECT_EQ(other.constants[kpK1 - kpK0], 0.0);
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
