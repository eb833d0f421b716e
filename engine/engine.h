// The process-wide field board.
#pragma once

#include <cstdint>

#include "engine/board.h"

namespace brinora {

class Engine {
public:
    // The one board of the process, created (and initialised) on first call.
    static Engine* sharedInstance();

    // Sets all 100 slots to 0.0; returns this board.
    Engine* init();
    // Value of slot `pos` (0..99).
    float getFieldValueAtPos(std::uint32_t pos) const { return board_.get(pos); }
    // Stores `value` in slot `pos` (0..99).
    void setFieldValueAtPos(std::uint32_t pos, float value) { board_.set(pos, value); }
    // Sets all 100 slots, option slots included, to 0.0.
    void reset() { board_.reset(); }

    Board& board() { return board_; }
    const Board& board() const { return board_; }

private:
    Engine() = default;

    Board board_;
};

}  // namespace brinora
