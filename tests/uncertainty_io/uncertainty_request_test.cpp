#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "engine/slots.h"
#include "uncertainty_io/uncertainty_csv.h"
#include "uncertainty_io/uncertainty_request.h"

namespace brinora::uncertainty {
namespace {

TEST(UncertaintyRequest, OptionNamesFollowTheCommandLineFlags) {
    EXPECT_EQ(ParameterOptionName(1), "--u-ta");
    EXPECT_EQ(ParameterOptionName(2), "--u-tco2");
    EXPECT_EQ(ParameterOptionName(5), "--u-pco2");
    EXPECT_EQ(SourceOptionName(kSalinity), "--u-salinity");
    EXPECT_EQ(SourceOptionName(kTemperatureOut), "--u-out-temperature");
    EXPECT_EQ(SourceOptionName(kPressureOut), "--u-out-pressure");
    EXPECT_EQ(SourceOptionName(kpCO2Air), "--u-pco2-air");
    EXPECT_EQ(SourceOptionName(kWindSpeed), "--u-wind");
    EXPECT_EQ(SourceOptionName(kpKspA), "--u-pkspa");
    EXPECT_EQ(SourceOptionName(kTotalBoron), "--u-bt");
    EXPECT_EQ(SourceOptionName(kFirstParameter), "");
}

TEST(UncertaintyRequest, ConstantsFromTextStartFromNone) {
    UncertaintyRequest request;
    SetConstantsSet(true, request);
    EXPECT_EQ(request.source[kpK2], 0.015);
    EXPECT_EQ(request.source[kTotalBoron], 0.02);
    std::string error;
    ASSERT_TRUE(SetConstantsFromText("# Orr et al.\r\npk2 0.03\npk1 = 0.01\n\npksi,0.1  # silicate\n", request, error))
        << error;
    EXPECT_EQ(request.source[kpK2], 0.03);
    EXPECT_EQ(request.source[kpK1], 0.01);
    EXPECT_EQ(request.source[kpKSi], 0.1);
    EXPECT_EQ(request.source[kpK0], 0.0);
    EXPECT_EQ(request.source[kTotalBoron], 0.0);

    EXPECT_FALSE(SetConstantsFromText("pk2 0.03\npk1 -1\n", request, error));
    EXPECT_EQ(error, "line 2: the uncertainty of pk1 is not a number 0 or greater: '-1'");
    EXPECT_FALSE(SetConstantsFromText("pk2 0.03x\n", request, error));
    EXPECT_EQ(error, "line 1: the uncertainty of pk2 is not a number 0 or greater: '0.03x'");
    EXPECT_FALSE(SetConstantsFromText("salinity 0.01\n", request, error));
    EXPECT_EQ(error, "line 1: 'salinity' is not a constant (pk0 pk1 pk2 pkb pkw pkspa pkspc pks pkf pkp1 pkp2 pkp3 "
                     "pksi bt)");
}

TEST(UncertaintyRequest, ThePairOfABoardIsItsFirstTwoNonZeroParameters) {
    Board board;
    board.set(slot::kConstantsSet, 12);
    board.set(slot::kKHSO4, 1);
    board.set(slot::kpHScale, 2);
    board.set(slot::kAirSeaFlux, 1);
    board.set(slot::kSalinity, 35);
    board.set(slot::kTemperature, 18);
    board.set(slot::kpH, 8.1f);
    board.set(slot::kfCO2, 400);
    board.set(slot::kpCO2, 401);
    Sample sample;
    ChemistryOptions options;
    ASSERT_TRUE(SampleOfBoard(board, sample, options));
    EXPECT_EQ(options.whichKs, 13);
    EXPECT_EQ(options.whichKSO4, 2);
    EXPECT_EQ(options.pHScale, 3);
    EXPECT_EQ(options.fluxCode, 1);
    EXPECT_EQ(sample.first, 3);
    EXPECT_EQ(sample.second, 4);
    EXPECT_EQ(sample.x[kFirstParameter], static_cast<double>(8.1f));
    EXPECT_EQ(sample.x[kSecondParameter], 400.0);
    EXPECT_EQ(sample.x[kSalinity], 35.0);

    UncertaintyRequest request;
    request.parameter[3] = 0.01;
    request.parameter[4] = 5;
    request.parameter[1] = 2;
    const auto u = SourceUncertainties(request, sample.first, sample.second);
    EXPECT_EQ(u[kFirstParameter], 0.01);
    EXPECT_EQ(u[kSecondParameter], 5.0);

    board.set(slot::kfCO2, 0);
    board.set(slot::kpCO2, 0);
    EXPECT_FALSE(SampleOfBoard(board, sample, options));
}

TEST(UncertaintyRequest, ThreeSignificantDigitsInFixedNotation) {
    EXPECT_EQ(FormatUncertainty(0.0119046), "0.0119");
    EXPECT_EQ(FormatUncertainty(9.62364), "9.62");
    EXPECT_EQ(FormatUncertainty(0.158039), "0.158");
    EXPECT_EQ(FormatUncertainty(1234.5), "1234");
    EXPECT_EQ(FormatUncertainty(2.06e-6), "0.00000206");
    EXPECT_EQ(FormatUncertainty(0.0), "0");
    EXPECT_EQ(FormatUncertainty(std::nan("")), "nan");
}

TEST(UncertaintyCsv, HeaderAndRow) {
    UncertaintyColumns columns;
    columns.budget = true;
    columns.budgetSources = {kFirstParameter, kpK2};
    columns.buffers = true;
    const std::string header = UncertaintyHeader(columns);
    EXPECT_EQ(header.substr(0, 61), "SampleID,Name,u_ph,u_hydrogen_ion (umol/kg),u_fco2 (uatm),u_p");
    EXPECT_NE(header.find(",u_co2_flux_out (mmol/m2/d),budget_ph_first_parameter,budget_ph_pk2,"
                          "budget_hydrogen_ion_first_parameter (umol/kg),"),
              std::string::npos);
    EXPECT_NE(header.find(",budget_co2_flux_out_pk2 (mmol/m2/d),gamma_dic (umol/kg),"), std::string::npos);
    const std::string end = ",revelle_dlnpco2_dlndic_out,isocapnic_quotient_out,dlnpco2_dt_out (1/deg C)\n";
    EXPECT_EQ(header.substr(header.size() - end.size()), end);

    UncertaintyRow row;
    std::string out;
    AppendUncertaintyRow(out, "7", "deep", columns, row);
    // Not computed: every number empty.
    EXPECT_EQ(out, "7,deep" + std::string(kQuantityCount * 3 + 2 * kBufferCount, ',') + "\n");
    row.computed = true;
    row.propagated.u[qpH] = 0.0118952;
    row.propagated.u[qH] = 1.0 / 3.0;
    out.clear();
    AppendUncertaintyRow(out, "7", "deep", columns, row);
    EXPECT_EQ(out.substr(0, 30), "7,deep,0.0118952,0.333333,0,0,");
}

}  // namespace
}  // namespace brinora::uncertainty
