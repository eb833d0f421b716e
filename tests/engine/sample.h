// A sample as a user enters it, and its placement on a board.
#pragma once

#include <string>

#include "engine/board.h"

namespace brinora::test {

struct Sample {
    std::string name;
    float S = 0, TempC = 0, Pdbar = 0, TP = 0, TSi = 0, TempCOut = 0, PdbarOut = 0;
    float TA = 0, TCO2 = 0, pH = 0, fCO2 = 0, pCO2 = 0, pCO2air = 0, wind = 0;
    // Menu items (1-based); option slots hold item - 1.
    int constants = 1, khso4 = 1, pHScale = 1, flux = 1;
};

// Writes slots 1..4 and 11..24 of `board` as the batch reader does.
void place(const Sample& sample, Board& board);

}  // namespace brinora::test
