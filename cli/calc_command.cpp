#include "cli/calc_command.h"

#include <cmath>
#include <cstdio>
#include <map>
#include <memory>
#include <string>

#include "app/controller_core.h"
#include "app/plain_ui.h"
#include "input/lenient_number.h"
#include "cli/batch_support.h"
#include "cli/calc_uncertainty.h"
#include "cli/flag_values.h"
#include "cli/option_flags.h"
#include "engine/board.h"
#include "engine/compute_co2.h"
#include "engine/quantities.h"
#include "engine/refusals.h"
#include "engine/slots.h"

namespace brinora::cli {
namespace {

// Board slots of the four option flags, in the order of kOptionFlags.
constexpr std::uint32_t kOptionSlots[] = {slot::kConstantsSet, slot::kKHSO4, slot::kpHScale, slot::kAirSeaFlux};
static_assert(std::size(kOptionSlots) == std::tuple_size_v<decltype(kOptionFlags)>);

struct CalcArguments {
    std::map<std::uint32_t, std::string> values;  // board slot -> number text
    std::map<std::uint32_t, int> items;           // option slot -> menu item
    bool board = false;
    std::shared_ptr<UncertaintyOptions> uncertainty = std::make_shared<UncertaintyOptions>();
};

void printTable(const Board& board) {
    std::printf("%-24s %18s %18s  %s\n", "", "Input conditions", "Output conditions", "Unit");
    // One row per result that is not tied to the output conditions; the
    // second column is its twin at output conditions.
    for (const Quantity& q : quantities()) {
        if (q.input || q.label.empty() || q.conditions == Conditions::kOutput) continue;
        std::printf("%-24s %18.3f %18.3f  %s\n", std::string(q.label).c_str(),
                    static_cast<double>(board.get(q.slot)), static_cast<double>(board.get(q.outputTwin)),
                    std::string(q.unit).c_str());
    }
}

void printBoard(const Board& board) {
    for (std::uint32_t pos = 0; pos < Board::kSize; ++pos) {
        std::printf("%u %.9g\n", pos, static_cast<double>(board.get(pos)));
    }
}

// The flag that sets board slot `pos`.
std::string flagOfSlot(std::uint32_t pos) {
    const Quantity* q = quantityAtSlot(pos);
    return q ? std::string(q->flag) : std::string();
}

// Text of an input given on the command line, "" when it was not given.
std::string givenText(const CalcArguments& args, std::uint32_t pos) {
    const auto found = args.values.find(pos);
    return found == args.values.end() ? std::string() : found->second;
}

// The form's option check on the command line's choices and flux inputs: a
// flux needs both the wind speed and the pCO2 of the air, or neither (then
// both are 0 and so is the flux). Prints the form's message and the flag that
// is missing; false when the sample is not to be computed.
bool checkOptions(const CalcArguments& args) {
    PlainUi ui;
    ui.onPresentError = [](const PresentedError& error) {
        std::fprintf(stderr, "brinora calc: %s\n", error.localizedDescription.c_str());
    };
    for (const auto& [pos, item] : args.items) {
        if (pos == slot::kConstantsSet) ui.selectItem(Menu::CO2Constants, item);
        if (pos == slot::kKHSO4) ui.selectItem(Menu::KHSO4, item);
        if (pos == slot::kpHScale) ui.selectItem(Menu::pHScale, item);
        if (pos == slot::kAirSeaFlux) ui.selectItem(Menu::AirSeaFlux, item);
    }
    const std::string airPCO2 = givenText(args, slot::kpCO2Air);
    const std::string wind = givenText(args, slot::kWindSpeed);
    ui.setText(TextField::PCO2Air, airPCO2);
    ui.setText(TextField::Windspeed, wind);
    MemorySettings none;
    BrinoraAppControllerCore core(ui, none);
    if (core.checkForConstants()) return true;
    if (airPCO2.empty() && !wind.empty()) {
        std::fputs("hint: the air-sea flux needs the pCO2 of the air as well as the wind speed: give --pco2-air "
                   "[uatm], or leave out --wind\n",
                   stderr);
    } else if (!airPCO2.empty() && wind.empty()) {
        std::fputs("hint: the air-sea flux needs the wind speed as well as the pCO2 of the air: give --wind [m/s], "
                   "or leave out --pco2-air\n",
                   stderr);
    }
    return false;
}

// Refuses a sample the form could not compute: a value that is not a
// finite number ("nan", "inf"; a number beyond the float range is computed
// as infinite, with a warning), or fewer than two carbonate parameters.
// Prints the reason; false when the sample is not to be computed.
bool checkSampleValues(const CalcArguments& args) {
    for (const auto& [pos, text] : args.values) {
        const FloatText read = readFloat(text);
        if (std::isnan(read.value) || namesNonFinite(text)) {
            std::fprintf(stderr, "brinora calc: %s %s is not a finite number; give a value\n", flagOfSlot(pos).c_str(),
                         echoed(text).c_str());
            return false;
        }
    }
    int given = 0;
    for (std::uint32_t pos = slot::kTA; pos <= slot::kpCO2; ++pos) given += args.values.count(pos) != 0 ? 1 : 0;
    if (given < 2) {
        std::fprintf(stderr,
                     "brinora calc: To calculate, Brinora needs values for two carbonate parameters; %d %s given: "
                     "give two of --ta, --tco2, --ph, --fco2 and --pco2\n",
                     given, given == 1 ? "was" : "were");
        return false;
    }
    return true;
}

int runCalc(const CalcArguments& args) {
    if (!checkSampleValues(args)) return 2;
    if (!checkOptions(args)) return 2;
    Board board;
    for (const auto& [pos, text] : args.values) {
        const FloatText read = readFloat(text);
        if (read.overflow) {
            std::fprintf(stderr,
                         "brinora calc: warning: %s %s is beyond the float range (3.4e38) and is computed as %s\n",
                         flagOfSlot(pos).c_str(), echoed(text).c_str(), read.value > 0 ? "infinity" : "minus infinity");
        }
        board.set(pos, read.value);
    }
    for (const auto& [pos, item] : args.items) {
        board.set(pos, static_cast<float>(item - 1));
    }

    const Board inputs = board;
    ProcessValues values;
    const ComputeOutcome outcome = BrinoraMain::ComputeCO2(board, values);
    const int code = refusalCode(outcome);
    if (code != refusal::kComputed) {
        std::string why = refusalReason(code);
        if (outcome.status == ComputeOutcome::Status::kNegativeParameter) {
            char value[32];
            std::snprintf(value, sizeof value, " (%g)",
                          static_cast<double>(board.get(slot::kTA + outcome.parameter - 1)));
            why += value;
        }
        std::fprintf(stderr, "brinora calc: refused: %s\n", why.c_str());
        return 1;
    }
    if (args.board) {
        printBoard(board);
    } else if (args.uncertainty->wanted()) {
        return printCalcWithUncertainty(inputs, board, *args.uncertainty);
    } else {
        printTable(board);
    }
    return 0;
}

}  // namespace

void addCalcCommand(CLI::App& app, int& exitStatus) {
    CLI::App* calc = app.add_subcommand(
        "calc", "Compute the carbonate system of one sample at input and output conditions");
    auto args = std::make_shared<CalcArguments>();
    for (const Quantity& input : quantities()) {
        if (!input.input) continue;
        const std::uint32_t pos = input.slot;
        CLI::Option* option = calc->add_option_function<std::string>(
            std::string(input.flag), [args, pos](const std::string& text) { args->values[pos] = text; },
            std::string(input.label));
        option->check(numberCheck());
        // Salinity and the input temperature are the two inputs every sample needs.
        if (pos == slot::kSalinity || pos == slot::kTemperature) option->required();
    }
    for (std::size_t k = 0; k < kOptionFlags.size(); ++k) {
        const OptionFlagInfo& info = kOptionFlags[k];
        const std::uint32_t pos = kOptionSlots[k];
        calc->add_option_function<int>(
                info.name, [args, pos](const int& item) { args->items[pos] = item; },
                std::string(info.what) + ": a number 1.." + std::to_string(info.lastItem()) + " or a title")
            ->required()
            ->transform(optionChoiceCheck(info.menu))
            ->option_text("N|TITLE");
    }
    calc->add_flag("--board", args->board,
                   "print the 100 board slots as 'SLOT VALUE' lines (%.9g) instead of the table");
    addQuietFlag(*calc);
    addUncertaintyOptions(*calc, args->uncertainty, true);
    calc->footer("The air-sea flux needs both --wind and --pco2-air; with neither, it is 0.\n" +
                 optionChoicesHelp(false));
    calc->callback([args, &exitStatus] { exitStatus = runCalc(*args); });
}

}  // namespace brinora::cli
