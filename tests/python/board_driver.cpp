// Test driver: computes samples exactly as `brinora calc` does, many per run.
// Each input line holds the four menu items and the fourteen inputs (board
// slots 11..24) as number text; each number is read with strtod and narrowed
// to float, a fresh board gets slots 1..4 = item - 1, and ComputeCO2 runs.
// Writes, per line, one byte (1 computed, 0 refused) and the 100 board slots
// as raw float32 to standard output.
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>

#include "engine/board.h"
#include "engine/compute_co2.h"
#include "engine/slots.h"

int main() {
    std::string line;
    while (std::getline(std::cin, line)) {
        std::istringstream fields(line);
        brinora::Board board;
        for (std::uint32_t o = 0; o < 4; ++o) {
            int item = 0;
            fields >> item;
            board.set(brinora::slot::kConstantsSet + o, static_cast<float>(item - 1));
        }
        for (std::uint32_t j = 0; j < 14; ++j) {
            std::string text;
            fields >> text;
            board.set(brinora::slot::kSalinity + j, static_cast<float>(std::strtod(text.c_str(), nullptr)));
        }
        brinora::ProcessValues values;
        const char computed = brinora::BrinoraMain::ComputeCO2(board, values).computed() ? 1 : 0;
        std::fwrite(&computed, 1, 1, stdout);
        std::fwrite(board.slots().data(), sizeof(float), brinora::Board::kSize, stdout);
    }
    return 0;
}
