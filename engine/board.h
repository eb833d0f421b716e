// The field board: 100 single-precision slots that carry one sample's inputs,
// option choices and results between the form, the batch reader, the
// calculation driver and the output writers.
#pragma once

#include <array>
#include <cstdint>

namespace brinora {

class Board {
public:
    static constexpr std::uint32_t kSize = 100;

    // Value of slot `pos` (0..99).
    float get(std::uint32_t pos) const { return slots_[pos]; }
    // Stores `value` in slot `pos` (0..99).
    void set(std::uint32_t pos, float value) { slots_[pos] = value; }
    // Sets every slot, option slots included, to 0.0.
    void reset() { slots_.fill(0.0f); }

    const std::array<float, kSize>& slots() const { return slots_; }

private:
    std::array<float, kSize> slots_{};
};

}  // namespace brinora
