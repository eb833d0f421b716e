#include "sample.h"

#include "engine/slots.h"

namespace brinora::test {

void place(const Sample& s, Board& board) {
    board.set(slot::kConstantsSet, static_cast<float>(s.constants - 1));
    board.set(slot::kKHSO4, static_cast<float>(s.khso4 - 1));
    board.set(slot::kpHScale, static_cast<float>(s.pHScale - 1));
    board.set(slot::kAirSeaFlux, static_cast<float>(s.flux - 1));
    board.set(slot::kSalinity, s.S);
    board.set(slot::kTemperature, s.TempC);
    board.set(slot::kPressure, s.Pdbar);
    board.set(slot::kPhosphate, s.TP);
    board.set(slot::kSilicate, s.TSi);
    board.set(slot::kTemperatureOut, s.TempCOut);
    board.set(slot::kPressureOut, s.PdbarOut);
    board.set(slot::kTA, s.TA);
    board.set(slot::kTCO2, s.TCO2);
    board.set(slot::kpH, s.pH);
    board.set(slot::kfCO2, s.fCO2);
    board.set(slot::kpCO2, s.pCO2);
    board.set(slot::kpCO2Air, s.pCO2air);
    board.set(slot::kWindSpeed, s.wind);
}

}  // namespace brinora::test
