// The uncertainty options that `calc` and `batch` share: the standard
// uncertainty of each source (--u-ta .. --u-wind), the constants'
// uncertainties (--u-constants standard|none|FILE, --u-pk0 .. --u-bt), the
// pair's correlation and what to print beside the uncertainties.
#pragma once

#include <CLI/CLI.hpp>

#include <array>
#include <memory>
#include <optional>
#include <string>

#include "uncertainty_io/uncertainty_request.h"

namespace brinora::cli {

struct UncertaintyOptions {
    std::array<double, 6> parameter{};                      // by pair code 1..5
    std::array<bool, 6> parameterGiven{};
    std::array<double, uncertainty::kSourceCount> source{};  // the other sources
    std::string constants;                                    // "" (standard), "standard", "none" or a file
    std::array<std::optional<double>, uncertainty::kSourceCount> constant;  // --u-pk0 .. --u-bt
    double correlation = 0.0;
    bool budget = false;
    bool sensitivities = false;
    bool buffers = false;
    bool given = false;  // any uncertainty option at all

    // Whether the command's output changes: an uncertainty, a budget,
    // sensitivities or buffer factors were asked for.
    bool wanted() const { return given || budget || sensitivities || buffers; }
};

// Adds the options to `command`; `what` is "calc" or "batch" (the help of
// --budget, --sensitivities and --buffers).
void addUncertaintyOptions(CLI::App& command, const std::shared_ptr<UncertaintyOptions>& options, bool calc);

// The request of these options: the constants' set or file (read here), then
// each --u-pk.. over it. False and `error` when the file cannot be read.
bool uncertaintyRequestOf(const UncertaintyOptions& options, uncertainty::UncertaintyRequest& request,
                          std::string& error);

}  // namespace brinora::cli
