// The uncertainties a user chose on the desktop: the standard uncertainty of
// each carbonate parameter (the two of a sample's pair are used), of
// salinity, temperature, phosphate and silicate, the constants' set
// ("standard", none or the user's own), the pair's correlation, and whether
// the form and the
// batch run propagate them. Kept as text in the stored settings; turned into
// the request that `brinora calc --u-...` and `brinora batch --u-...` make.
#pragma once

#include <array>
#include <string>

#include "app/settings_keys.h"
#include "app/ui.h"
#include "engine/board.h"
#include "uncertainty_io/sample_uncertainty.h"
#include "uncertainty_io/uncertainty_file.h"

namespace brinora {

// The uncertainties of the constants: the standard set of Orr et al.
// (2018), none, or the user's own (UncertaintyChoice::constants).
enum class ConstantsSet { Standard, None, Custom };

// The constants' sources, pK0 to total boron, in their order.
inline constexpr std::size_t kConstantSources = uncertainty::kSourceCount - uncertainty::kpK0;
static_assert(kConstantSources == settings::kUncertaintyConstantKeys.size());

// The standard set of the constants' uncertainties, by constant source.
std::array<double, kConstantSources> StandardConstantSet();

struct UncertaintyChoice {
    bool shown = false;                 // the form shows "± u" after Calculate
    std::array<double, 6> parameter{};  // by pair code: 1 TA .. 5 pCO2 (element 0 unused); record units
    double salinity = 0.0;
    double temperature = 0.0;           // deg C
    double phosphate = 0.0;             // micromol/kg
    double silicate = 0.0;              // micromol/kg
    ConstantsSet constantsSet = ConstantsSet::Standard;
    // The user's own set: pK0 .. pKSi in pK units, total boron relative (by
    // source, from uncertainty::kpK0); the standard values until changed.
    std::array<double, kConstantSources> constants = StandardConstantSet();
    double correlation = 0.0;           // of the two parameters of the pair, -1..1
    std::string budgetResult = "ph";    // the result whose budget is drawn (a name of uncertainty::kQuantityNames)
    bool batchFile = false;             // the batch run writes the uncertainty file
};

// The choice as stored (a missing or unreadable value is the registered
// default; a negative uncertainty is read as 0, a correlation outside -1..1
// is clamped).
UncertaintyChoice loadUncertaintyChoice(const SettingsStore& store);
// Stores every value of `choice` (numbers in their shortest exact text).
void storeUncertaintyChoice(SettingsStore& store, const UncertaintyChoice& choice);
// A number as stored: the shortest text that reads back exactly ("0.01", "2").
std::string storedNumber(double value);

// The request of `brinora calc --u-<each> ... --u-constants standard|none
// (or --u-pk0 .. --u-bt for the user's own set) --correlation R` for this
// choice.
uncertainty::UncertaintyRequest requestOf(const UncertaintyChoice& choice);

// The propagation of the sample on board `inputs` (inputs and option slots
// as the form leaves them), as `brinora calc` computes it. False when the
// board has no pair or the double-precision calculation has no solution.
bool propagateFormSample(const Board& inputs, const UncertaintyChoice& choice,
                         uncertainty::SampleUncertainty& result);

// The options of the batch's uncertainty file for this choice and the run's
// menus, as `brinora batch` sets them (one row per record, no budget).
uncertainty::UncertaintyFileOptions uncertaintyFileOptionsOf(const UncertaintyChoice& choice,
                                                             const OptionMenus& menus);

}  // namespace brinora
