#include "cli/uncertainty_options.h"

#include <fstream>
#include <sstream>

#include "engine/quantities.h"

namespace brinora::cli {

using namespace uncertainty;

namespace {
constexpr const char* kGroup = "Uncertainty";

// A standard uncertainty is a finite number 0 or greater.
CLI::Validator nonNegative() {
    return CLI::Validator(
        [](std::string& text) -> std::string {
            double u = 0.0;
            if (!CLI::detail::lexical_cast(text, u) || !(u >= 0.0) || u > 1e300) {
                return "a standard uncertainty is a number 0 or greater, not '" + text + "'";
            }
            return "";
        },
        "U>=0");
}
}  // namespace

void addUncertaintyOptions(CLI::App& command, const std::shared_ptr<UncertaintyOptions>& options, bool calc) {
    for (int code = 1; code <= 5; ++code) {
        const brinora::Quantity* q = inputNamed(kParameterNames[static_cast<std::size_t>(code)]);
        command
            .add_option_function<double>(
                ParameterOptionName(code),
                [options, code](const double& u) {
                    options->parameter[static_cast<std::size_t>(code)] = u;
                    options->parameterGiven[static_cast<std::size_t>(code)] = true;
                    options->given = true;
                },
                "standard uncertainty of " + std::string(q->words) + (q->unit.empty() ? "" : " [") +
                    std::string(q->unit) + (q->unit.empty() ? "" : "]") + ", when it is one of the pair")
            ->check(nonNegative())
            ->option_text("U")
            ->group(kGroup);
    }
    for (std::size_t s = kSalinity; s < kpK0; ++s) {
        const brinora::Quantity* q = inputNamed(kSourceNames[s]);
        command
            .add_option_function<double>(
                SourceOptionName(static_cast<Source>(s)),
                [options, s](const double& u) {
                    options->source[s] = u;
                    options->given = true;
                },
                "standard uncertainty of " + std::string(q->words) + (q->unit.empty() ? "" : " [") +
                    std::string(q->unit) + (q->unit.empty() ? "" : "]"))
            ->check(nonNegative())
            ->option_text("U")
            ->group(kGroup);
    }
    command
        .add_option_function<std::string>(
            "--u-constants",
            [options](const std::string& text) {
                options->constants = text;
                options->given = true;
            },
            "uncertainties of the constants: standard (Orr et al. 2018: pK0 0.002, pK1 0.0075, pK2 0.015, "
            "pKB 0.01, pKW 0.01, pKspA 0.02, pKspC 0.02, total boron 2%; the default), none, or a file of "
            "'NAME VALUE' lines (pk0 pk1 pk2 pkb pkw pkspa pkspc pks pkf pkp1 pkp2 pkp3 pksi bt)")
        ->option_text("standard|none|FILE")
        ->group(kGroup);
    for (std::size_t s = kpK0; s < kSourceCount; ++s) {
        command
            .add_option_function<double>(
                SourceOptionName(static_cast<Source>(s)),
                [options, s](const double& u) {
                    options->constant[s] = u;
                    options->given = true;
                },
                s == kTotalBoron ? std::string("relative standard uncertainty of total boron (0.02 is 2%)")
                                 : "standard uncertainty of " + std::string(kSourceNames[s]) +
                                       " in pK units, over --u-constants")
            ->check(nonNegative())
            ->option_text("U")
            ->group(kGroup);
    }
    command
        .add_option_function<double>(
            "--correlation",
            [options](const double& r) {
                options->correlation = r;
                options->given = true;
            },
            "correlation coefficient of the uncertainties of the two parameters of the pair (-1..1)")
        ->check(CLI::Range(-1.0, 1.0))
        ->option_text("R")
        ->group(kGroup);
    command
        .add_flag("--budget", options->budget,
                  calc ? "print each source's contribution |dy/dx| u(x) to the uncertainty of every result"
                       : "add each source's contribution to the uncertainty file")
        ->group(kGroup);
    if (calc) {
        command
            .add_flag("--sensitivities", options->sensitivities,
                      "print the derivative of every result with respect to every source")
            ->group(kGroup);
    }
    command
        .add_flag("--buffers", options->buffers,
                  calc ? "print the buffer factors (Egleston et al. 2010), the Revelle factor as dln pCO2/dln DIC, "
                         "the isocapnic quotient and dln pCO2/dT"
                       : "add the buffer factors to the uncertainty file")
        ->group(kGroup);
}

bool uncertaintyRequestOf(const UncertaintyOptions& options, UncertaintyRequest& request, std::string& error) {
    request = UncertaintyRequest{};
    request.parameter = options.parameter;
    for (std::size_t s = kSalinity; s < kpK0; ++s) request.source[s] = options.source[s];
    request.correlation = options.correlation;
    if (options.constants.empty() || options.constants == "standard") {
        SetConstantsSet(true, request);
    } else if (options.constants == "none") {
        SetConstantsSet(false, request);
    } else {
        std::ifstream file(options.constants, std::ios::binary);
        if (!file) {
            error = "--u-constants: cannot read the file " + options.constants +
                    " (give standard, none or a file of 'NAME VALUE' lines)";
            return false;
        }
        std::ostringstream text;
        text << file.rdbuf();
        std::string why;
        if (!SetConstantsFromText(text.str(), request, why)) {
            error = "--u-constants " + options.constants + ": " + why;
            return false;
        }
    }
    for (std::size_t s = kpK0; s < kSourceCount; ++s) {
        if (options.constant[s]) request.source[s] = *options.constant[s];
    }
    return true;
}

}  // namespace brinora::cli
