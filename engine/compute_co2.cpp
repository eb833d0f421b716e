#include "engine/compute_co2.h"

#include "engine/engine.h"
#include "engine/slots.h"
#include "log/log.h"

namespace brinora {

SampleInputs sampleFromBoard(const Board& board) {
    SampleInputs sample;
    sample.options = optionsFromSlots(board.get(slot::kConstantsSet), board.get(slot::kKHSO4),
                                      board.get(slot::kpHScale), board.get(slot::kAirSeaFlux));
    for (std::uint32_t j = 0; j < input::kCount; ++j) sample.values[j] = board.get(slot::kSalinity + j);
    return sample;
}

void resultsToBoard(const SampleResults& results, Board& board) {
    for (std::uint32_t i = 1; i <= slot::kResultCount; ++i) {
        board.set(slot::kResultBase + i, results.values[i]);
    }
    board.set(slot::kCO2FluxIn, results.values[quantity::kCO2FluxIn]);
    board.set(slot::kSigmaIn, results.values[quantity::kSigmaIn]);
    board.set(slot::kCO2FluxOut, results.values[quantity::kCO2FluxOut]);
    board.set(slot::kSigmaOut, results.values[quantity::kSigmaOut]);
}

ComputeOutcome BrinoraMain::ComputeCO2() {
    ProcessValues values{K0, FugFac};
    const ComputeOutcome outcome = ComputeCO2(Engine::sharedInstance()->board(), values);
    K0 = values.K0;
    FugFac = values.FugFac;
    return outcome;
}

ComputeOutcome BrinoraMain::ComputeCO2(Board& board, ProcessValues& values, std::string* logLines) {
    SampleResults results;
    const ComputeOutcome outcome = computeSample(sampleFromBoard(board), results);
    for (int i = 0; i < results.pengCount; ++i) {
        const std::string line = FormatPengLine(results.peng[static_cast<std::size_t>(i)]);
        if (logLines) {
            *logLines += line;
            *logLines += '\n';
        } else {
            log::line(line);
        }
    }
    if (!outcome.computed()) return outcome;
    resultsToBoard(results, board);
    values.K0 = results.K0;
    values.FugFac = results.FugFac;
    return outcome;
}

}  // namespace brinora
