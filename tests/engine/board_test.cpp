#include <gtest/gtest.h>

#include <cmath>

#include "engine/board.h"
#include "engine/engine.h"

namespace brinora {
namespace {

TEST(Board, NewBoardReadsZeroEverywhere) {
    Board board;
    for (std::uint32_t pos = 0; pos < Board::kSize; ++pos) {
        EXPECT_EQ(board.get(pos), 0.0f) << "slot " << pos;
    }
}

TEST(Board, SetAndGetRoundTripTheFloat) {
    Board board;
    board.set(11, 35.123f);
    board.set(99, -999.0f);
    EXPECT_EQ(board.get(11), 35.123f);
    EXPECT_EQ(board.get(99), -999.0f);
    EXPECT_EQ(board.get(12), 0.0f);
}

TEST(Board, ResetClearsEverySlotIncludingOptionSlots) {
    Board board;
    for (std::uint32_t pos = 0; pos < Board::kSize; ++pos) board.set(pos, 1.5f + pos);
    board.set(1, -1.0f);
    board.reset();
    for (std::uint32_t pos = 0; pos < Board::kSize; ++pos) {
        EXPECT_EQ(board.get(pos), 0.0f) << "slot " << pos;
        EXPECT_FALSE(std::signbit(board.get(pos))) << "slot " << pos;
    }
}

TEST(Engine, SharedInstanceIsOneBoardForTheProcess) {
    Engine* first = Engine::sharedInstance();
    Engine* second = Engine::sharedInstance();
    ASSERT_EQ(first, second);
    first->setFieldValueAtPos(13, 250.0f);
    EXPECT_EQ(second->getFieldValueAtPos(13), 250.0f);
    EXPECT_EQ(second->board().get(13), 250.0f);
    first->reset();
}

TEST(Engine, ResetAndInitZeroTheSharedBoard) {
    Engine* engine = Engine::sharedInstance();
    for (std::uint32_t pos = 0; pos < Board::kSize; ++pos) engine->setFieldValueAtPos(pos, 7.0f);
    engine->reset();
    for (std::uint32_t pos = 0; pos < Board::kSize; ++pos) {
        EXPECT_EQ(engine->getFieldValueAtPos(pos), 0.0f) << "slot " << pos;
    }
    engine->setFieldValueAtPos(4, 2.0f);
    EXPECT_EQ(engine->init(), engine);
    EXPECT_EQ(engine->getFieldValueAtPos(4), 0.0f);
}

}  // namespace
}  // namespace brinora
