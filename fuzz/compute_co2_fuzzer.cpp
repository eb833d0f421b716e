// Fuzz target: the calculation driver on arbitrary board contents. The input
// chooses a value for each slot that ComputeCO2 reads (option slots 1..4,
// sample slots 11..24): one byte picks a special value (not-a-number,
// infinities, negative values, the missing-value marks -9 and -999, ocean
// values, option codes in and out of range) or a small integer, or announces
// four bytes taken as a raw float.
//
// Checks: no crash, sanitizer report or hang; a refused sample leaves the
// board untouched and is refused for the reason the rules give; a computed
// sample writes only slots 30..67 and 69..72; the process-wide board gives
// the same bits as an explicit board.
//
// The fuzz build caps a Newton solve at 5000 steps (see the top
// CMakeLists.txt), so a sample that never converges costs a few milliseconds
// here instead of about a second; no check below depends on the cap.
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "constants/process_values.h"
#include "engine/compute_co2.h"
#include "engine/engine.h"
#include "engine/slots.h"
#include "fuzz_support.h"

namespace {

using brinora::Board;
using brinora::ComputeOutcome;
using brinora::fuzz::require;

constexpr float kSpecial[] = {
    0.0f, -0.0f, std::numeric_limits<float>::quiet_NaN(), -std::numeric_limits<float>::quiet_NaN(),
    std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity(), -9.0f, -999.0f,
    1.0f, -1.0f, 35.0f, 25.0f, 2300.0f, 2000.0f, 8.1f, 400.0f,
    0.5f, 1e-30f, 1e30f, FLT_MAX, -FLT_MAX, FLT_MIN, 1e-45f, 12.0f,
    13.0f, 7.0f, 5.0f, 100000.0f, 3e9f, -3e9f, 4000.0f, 65543.0f,
};
constexpr std::size_t kSpecialCount = sizeof kSpecial / sizeof kSpecial[0];

// Slots the driver reads, in the order the input fills them.
constexpr std::uint32_t kReadSlots[] = {1, 2, 3, 4, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24};

bool written(std::uint32_t pos) { return (pos >= 30 && pos <= 67) || (pos >= 69 && pos <= 72); }

bool sameBits(float a, float b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// The refusal rule, restated: parameters 1..5 (slots 18..22) and conditions
// 1..7 (slots 11..17) visited together by index.
ComputeOutcome::Status expectedStatus(const Board& b) {
    int chosen = 0;
    for (int i = 1; i <= 7; ++i) {
        if (i <= 5) {
            const float p = b.get(17 + static_cast<std::uint32_t>(i));
            if (p != 0.0f && chosen < 2) {
                ++chosen;
                if (p < 0.0f) return ComputeOutcome::Status::kNegativeParameter;
            }
        }
        const float c = b.get(10 + static_cast<std::uint32_t>(i));
        if (c == -9.0f || c == -999.0f) {
            if (i == 1) return ComputeOutcome::Status::kSalinityMissing;
            if (i == 2) return ComputeOutcome::Status::kTemperatureMissing;
        }
    }
    return ComputeOutcome::Status::kComputed;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Board before;
    // Slots the driver neither reads nor writes carry their own numbers, and
    // the result slots a mark, so that any stray write shows.
    for (std::uint32_t pos = 0; pos < Board::kSize; ++pos) {
        before.set(pos, written(pos) ? -12345.0f : 1000.0f + static_cast<float>(pos));
    }
    std::size_t at = 0;
    for (const std::uint32_t pos : kReadSlots) {
        float value = 0.0f;
        if (at < size) {
            const std::uint8_t pick = data[at++];
            if (pick < 0x40) {
                value = kSpecial[pick % kSpecialCount];
            } else if (pick < 0x80) {
                value = static_cast<float>(static_cast<int>(pick) - 0x48);  // -8..55
            } else if (at + 4 <= size) {
                std::memcpy(&value, data + at, 4);
                at += 4;
            }
        }
        before.set(pos, value);
    }

    Board board = before;
    brinora::ProcessValues values{0.25f, 0.75f};
    const ComputeOutcome outcome = brinora::BrinoraMain::ComputeCO2(board, values);
    require(outcome.status == expectedStatus(before), "refused for the reason the rules give");
    for (std::uint32_t pos = 0; pos < Board::kSize; ++pos) {
        if (!outcome.computed() || !written(pos)) {
            require(sameBits(board.get(pos), before.get(pos)), "only result slots are written");
        }
    }
    if (!outcome.computed()) {
        require(sameBits(values.K0, 0.25f) && sameBits(values.FugFac, 0.75f), "a refused run keeps K0 and FugFac");
    }

    // The same sample on the process-wide board.
    brinora::Engine* shared = brinora::Engine::sharedInstance();
    for (std::uint32_t pos = 0; pos < Board::kSize; ++pos) shared->setFieldValueAtPos(pos, before.get(pos));
    brinora::K0 = 0.25f;
    brinora::FugFac = 0.75f;
    brinora::BrinoraMain::ComputeCO2();
    for (std::uint32_t pos = 0; pos < Board::kSize; ++pos) {
        require(sameBits(shared->getFieldValueAtPos(pos), board.get(pos)), "shared board gives the same bits");
    }
    require(sameBits(brinora::K0, values.K0) && sameBits(brinora::FugFac, values.FugFac),
            "same K0 and FugFac");
    return 0;
}
