#include "cli/calc_command.h"

#include <cmath>
#include <cstdio>
#include <map>
#include <memory>
#include <string>

#include "batch/controller_core.h"
#include "batch/lenient_number.h"
#include "batch/plain_ui.h"
#include "cli/batch_support.h"
#include "cli/flag_values.h"
#include "cli/option_flags.h"
#include "engine/board.h"
#include "engine/compute_co2.h"
#include "engine/slots.h"

namespace brinora::cli {
namespace {

// One input of the sample: its flag, board slot and help text.
struct SampleInput {
    const char* flag;
    std::uint32_t slot;
    const char* help;
    bool required;
};

constexpr SampleInput kSampleInputs[] = {
    {"--salinity", slot::kSalinity, "salinity", true},
    {"--temperature", slot::kTemperature, "temperature at input conditions [deg C]", true},
    {"--pressure", slot::kPressure, "pressure at input conditions [dbar]", false},
    {"--phosphate", slot::kPhosphate, "total phosphate [umol/kg]", false},
    {"--silicate", slot::kSilicate, "total silicate [umol/kg]", false},
    {"--out-temperature", slot::kTemperatureOut,
     "temperature at output conditions [deg C]; 0 or absent: as input", false},
    {"--out-pressure", slot::kPressureOut,
     "pressure at output conditions [dbar]; 0 or absent: as input", false},
    {"--ta", slot::kTA, "total alkalinity [umol/kg]", false},
    {"--tco2", slot::kTCO2, "total dissolved inorganic carbon [umol/kg]", false},
    {"--ph", slot::kpH, "pH on the chosen scale", false},
    {"--fco2", slot::kfCO2, "fugacity of CO2 [uatm]", false},
    {"--pco2", slot::kpCO2, "partial pressure of CO2 [uatm]", false},
    {"--pco2-air", slot::kpCO2Air, "pCO2 of the air [uatm], for the air-sea flux", false},
    {"--wind", slot::kWindSpeed, "wind speed [m/s], for the air-sea flux", false},
};

// Board slots of the four option flags, in the order of kOptionFlags.
constexpr std::uint32_t kOptionSlots[] = {slot::kConstantsSet, slot::kKHSO4, slot::kpHScale, slot::kAirSeaFlux};
static_assert(std::size(kOptionSlots) == std::tuple_size_v<decltype(kOptionFlags)>);

// A result row: name, unit and the slots at input and at output conditions.
struct ResultRow {
    const char* name;
    const char* unit;
    std::uint32_t in;
    std::uint32_t out;
};

constexpr ResultRow kResultRows[] = {
    {"Salinity", "", slot::kSalinityUsed, slot::kSalinityUsed},
    {"Temperature", "deg C", slot::kTemperatureUsed, slot::kTemperatureOutUsed},
    {"Pressure", "dbar", slot::kPressureUsed, slot::kPressureOutUsed},
    {"Total phosphate", "umol/kg", slot::kPhosphateUsed, slot::kPhosphateUsed},
    {"Total silicate", "umol/kg", slot::kSilicateUsed, slot::kSilicateUsed},
    {"TA", "umol/kg", slot::kTAOut, slot::kTAOut},
    {"TCO2", "umol/kg", slot::kTCO2Out, slot::kTCO2Out},
    {"pH", "", slot::kpHIn, slot::kpHOut},
    {"fCO2", "uatm", slot::kfCO2In, slot::kfCO2Out},
    {"pCO2", "uatm", slot::kpCO2In, slot::kpCO2Out},
    {"HCO3", "umol/kg", slot::kHCO3In, slot::kHCO3Out},
    {"CO3", "umol/kg", slot::kCO3In, slot::kCO3Out},
    {"CO2", "umol/kg", slot::kCO2In, slot::kCO2Out},
    {"Borate alkalinity", "umol/kg", slot::kBAlkIn, slot::kBAlkOut},
    {"OH", "umol/kg", slot::kOHIn, slot::kOHOut},
    {"Phosphate alkalinity", "umol/kg", slot::kPAlkIn, slot::kPAlkOut},
    {"Silicate alkalinity", "umol/kg", slot::kSiAlkIn, slot::kSiAlkOut},
    {"Revelle factor", "", slot::kRevelleIn, slot::kRevelleOut},
    {"Omega calcite", "", slot::kOmegaCaIn, slot::kOmegaCaOut},
    {"Omega aragonite", "", slot::kOmegaArIn, slot::kOmegaArOut},
    {"xCO2 (dry air at 1 atm)", "ppm", slot::kxCO2In, slot::kxCO2Out},
    {"Air-sea CO2 flux", "mmol/m2/d", slot::kCO2FluxIn, slot::kCO2FluxOut},
    {"Sigma-t", "kg/m3", slot::kSigmaIn, slot::kSigmaOut},
};

const char* const kParameterNames[] = {"", "TA", "TCO2", "pH", "fCO2", "pCO2"};

struct CalcArguments {
    std::map<std::uint32_t, std::string> values;  // board slot -> number text
    std::map<std::uint32_t, int> items;           // option slot -> menu item
    bool board = false;
};

void printTable(const Board& board) {
    std::printf("%-24s %18s %18s  %s\n", "", "Input conditions", "Output conditions", "Unit");
    for (const ResultRow& row : kResultRows) {
        std::printf("%-24s %18.3f %18.3f  %s\n", row.name, static_cast<double>(board.get(row.in)),
                    static_cast<double>(board.get(row.out)), row.unit);
    }
}

void printBoard(const Board& board) {
    for (std::uint32_t pos = 0; pos < Board::kSize; ++pos) {
        std::printf("%u %.9g\n", pos, static_cast<double>(board.get(pos)));
    }
}

// The flag that sets board slot `pos`.
const char* flagOfSlot(std::uint32_t pos) {
    for (const SampleInput& input : kSampleInputs) {
        if (input.slot == pos) return input.flag;
    }
    return "";
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
            std::fprintf(stderr, "brinora calc: %s %s is not a finite number; give a value\n", flagOfSlot(pos),
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
                         flagOfSlot(pos), echoed(text).c_str(), read.value > 0 ? "infinity" : "minus infinity");
        }
        board.set(pos, read.value);
    }
    for (const auto& [pos, item] : args.items) {
        board.set(pos, static_cast<float>(item - 1));
    }

    ProcessValues values;
    const ComputeOutcome outcome = BrinoraMain::ComputeCO2(board, values);
    using Status = ComputeOutcome::Status;
    switch (outcome.status) {
        case Status::kComputed:
            break;
        case Status::kSalinityMissing:
            std::fprintf(stderr,
                         "brinora calc: refused: the salinity is missing (-9 and -999 mark a "
                         "missing value)\n");
            return 1;
        case Status::kTemperatureMissing:
            std::fprintf(stderr,
                         "brinora calc: refused: the temperature is missing (-9 and -999 mark a "
                         "missing value)\n");
            return 1;
        case Status::kNegativeParameter:
            std::fprintf(stderr, "brinora calc: refused: %s is negative (%g)\n",
                         kParameterNames[outcome.parameter],
                         static_cast<double>(board.get(slot::kTA + outcome.parameter - 1)));
            return 1;
    }
    if (args.board) {
        printBoard(board);
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
    for (const SampleInput& input : kSampleInputs) {
        CLI::Option* option = calc->add_option_function<std::string>(
            input.flag, [args, input](const std::string& text) { args->values[input.slot] = text; },
            input.help);
        option->check(numberCheck());
        if (input.required) option->required();
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
    calc->footer("The air-sea flux needs both --wind and --pco2-air; with neither, it is 0.\n" +
                 optionChoicesHelp(false));
    calc->callback([args, &exitStatus] { exitStatus = runCalc(*args); });
}

}  // namespace brinora::cli
