// What a user asks of the propagation: the standard uncertainty of each
// source (by the quantity table's input names, the pair's parameters by their
// own names), the constants' uncertainties as a named set, a file or one by
// one, and the correlation of the two parameters of the pair; and the
// double-precision sample of a board of inputs.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "engine/board.h"
#include "uncertainty/propagation.h"

namespace brinora::uncertainty {

// Standard uncertainties as given, in the units of the record.
struct UncertaintyRequest {
    // Of the carbonate parameters by code (1 TA .. 5 pCO2; element 0 unused).
    std::array<double, 6> parameter{};
    // Of every other source (Source); the entries of the pair are unused.
    std::array<double, kSourceCount> source{};
    double correlation = 0.0;  // of the two parameters of the pair, -1..1
};

// The option of a source's standard uncertainty: "--u-" and the command
// line's name of the input ("--u-salinity", "--u-out-temperature",
// "--u-pco2-air", "--u-wind"), "--u-pk1" .. "--u-bt" for the constants;
// "" for the two parameters of the pair (see ParameterOptionName).
std::string SourceOptionName(Source source);
// "--u-ta", "--u-tco2", "--u-ph", "--u-fco2", "--u-pco2" for codes 1..5.
std::string ParameterOptionName(int code);

// Sets the constants' uncertainties of `request` from the choice given: "standard"
// (Orr et al. 2018), "none" (all 0), or the text of a file of lines
// "NAME VALUE" (NAME one of pk0 pk1 pk2 pkb pkw pkspa pkspc pks pkf pkp1 pkp2
// pkp3 pksi bt; "," or "=" may stand for the space; "#" starts a comment;
// constants not named are 0). False and `error` on a line that cannot be read.
bool SetConstantsFromText(std::string_view text, UncertaintyRequest& request, std::string& error);
void SetConstantsSet(bool standard, UncertaintyRequest& request);

// The standard uncertainty of every source for a sample of pair
// (first, second) (codes), in the order of the gradient.
std::array<double, kSourceCount> SourceUncertainties(const UncertaintyRequest& request, int first, int second);

// The double-precision sample and options of a board of inputs as the
// calculation takes it (the option slots hold menu items counted from 0; the
// pair is the first two non-zero parameters in the order TA, TCO2, pH, fCO2,
// pCO2). False when fewer than two parameters are given.
bool SampleOfBoard(const Board& board, Sample& sample, ChemistryOptions& options);

// The standard uncertainty with three significant digits in fixed notation
// ("0.0119", "9.62", "1234"); "0" for 0 and "nan" when not finite.
std::string FormatUncertainty(double u);

}  // namespace brinora::uncertainty
