#include "dsp/BlockAdapter.h"

#include "AdapterQueue.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

namespace DSP {
namespace {

using ::testing::ElementsAre;
using Signal = std::vector<float>;

/// One main channel, one sidechain channel, one auxiliary output.
class BlockAdapterTest : public ::testing::Test {
protected:
    /// Gives `main` and takes all internal blocks, which `work` sees.
    template<class Work>
    void Call(Signal& main, Work work, bool copyMain = true, const BlockPositions& positions = {}) {
        side.resize(main.size(), 0.0F);
        aux.assign(main.size(), -1.0F);
        float* given[] = {main.data(), giveSide ? side.data() : nullptr};
        float* wanted[] = {main.data(), wantAux ? aux.data() : nullptr};
        adapter.Give(static_cast<std::uint32_t>(main.size()), given, wanted, positions);
        BlockAdapter::Block block;
        float* inputs[2];
        float* outputs[2];
        while (adapter.Next(block, inputs, outputs)) {
            work(block, inputs, outputs);
        }
        adapter.Hand(copyMain);
    }
    Signal CallPlain(Signal main) {
        Call(main, [](const BlockAdapter::Block&, float**, float**) {});
        return main;
    }

    BlockAdapter adapter{1, 2, 2};
    Signal side;
    Signal aux;
    bool giveSide = true;
    bool wantAux = true;
};

TEST_F(BlockAdapterTest, Without_a_block_size_the_callers_own_memory_passes_through_once) {
    Signal main{1, 2, 3};
    int blocks = 0;
    Call(main, [&](const BlockAdapter::Block& block, float** inputs, float** outputs) {
        ++blocks;
        EXPECT_EQ(block.frames, 3U);
        EXPECT_EQ(inputs[0], main.data());
        EXPECT_EQ(inputs[1], side.data());
        EXPECT_EQ(outputs[0], main.data());
        EXPECT_EQ(outputs[1], aux.data());
    });
    EXPECT_EQ(blocks, 1);
    EXPECT_THAT(main, ElementsAre(1, 2, 3));
}

TEST_F(BlockAdapterTest, The_output_lags_by_one_frame_less_than_the_block_size) {
    adapter.SetBlockSize(4, 64);
    EXPECT_THAT(CallPlain({1, 2, 3, 4, 5, 6}), ElementsAre(0, 0, 0, 1, 2, 3));
    EXPECT_THAT(CallPlain({7}), ElementsAre(4));
    EXPECT_THAT(CallPlain({8, 9}), ElementsAre(5, 6));
}

TEST_F(BlockAdapterTest, A_block_size_of_one_adds_nothing) {
    adapter.SetBlockSize(1, 64);
    EXPECT_THAT(CallPlain({1, 2, 3}), ElementsAre(1, 2, 3));
}

TEST_F(BlockAdapterTest, Fewer_frames_than_a_block_give_no_block) {
    adapter.SetBlockSize(4, 64);
    Signal main{1, 2, 3};
    int blocks = 0;
    const auto count = [&](const BlockAdapter::Block& block, float**, float**) {
        EXPECT_EQ(block.frames, 4U);
        ++blocks;
    };
    Call(main, count);
    EXPECT_EQ(blocks, 0);
    main.assign(5, 0.0F);
    Call(main, count);
    EXPECT_EQ(blocks, 2);
}

TEST_F(BlockAdapterTest, Reset_silences_and_primes_anew) {
    adapter.SetBlockSize(3, 64);
    CallPlain({1, 2, 3, 4, 5});
    adapter.Reset();
    EXPECT_THAT(CallPlain({6, 7, 8, 9}), ElementsAre(0, 0, 6, 7));
}

TEST_F(BlockAdapterTest, A_second_Reset_is_free_until_the_mark_is_cleared) {
    adapter.SetBlockSize(3, 64);
    float& first = Testing::readyOf(adapter)[0][0];
    first = 7.0F;
    adapter.Reset();
    EXPECT_EQ(first, 7.0F) << "the mark says that it is silent already";
    adapter.ClearResetMark();
    adapter.Reset();
    EXPECT_EQ(first, 0.0F);
    CallPlain({1});
    first = 7.0F;
    adapter.Reset();
    EXPECT_EQ(first, 0.0F) << "a call clears the mark too";
}

TEST_F(BlockAdapterTest, Without_the_copy_flag_the_main_output_stays_as_given_and_goes_by) {
    adapter.SetBlockSize(2, 64);
    Signal main{1, 2, 3};
    const auto scream = [](const BlockAdapter::Block& block, float**, float** outputs) {
        std::fill_n(outputs[0], block.frames, 99.0F);
    };
    Call(main, scream, false);
    EXPECT_THAT(main, ElementsAre(1, 2, 3));
    // The two frames of the first block went by unheard, one of silence before them.
    EXPECT_THAT(CallPlain({5, 6}), ElementsAre(3, 5));
}

TEST_F(BlockAdapterTest, A_missing_sidechain_is_silence_and_keeps_its_place_in_time) {
    adapter.SetBlockSize(4, 64);
    side = {1, 2};
    Signal main{0, 0};
    Signal seen;
    const auto look = [&](const BlockAdapter::Block& block, float** inputs, float**) {
        seen.assign(inputs[1], inputs[1] + block.frames);
    };
    Call(main, look);
    giveSide = false;
    Call(main, look);
    EXPECT_THAT(seen, ElementsAre(1, 2, 0, 0));
}

TEST_F(BlockAdapterTest, Auxiliary_outputs_start_silent_and_lag_like_the_main_one) {
    adapter.SetBlockSize(3, 64);
    Signal main{1, 2, 3, 4};
    Call(main, [](const BlockAdapter::Block&, float**, float** outputs) {
        EXPECT_EQ(outputs[1][0], 0.0F);
        outputs[1][0] = 10.0F;
        outputs[1][2] = 30.0F;
    });
    EXPECT_THAT(aux, ElementsAre(0, 0, 10, 0));
    wantAux = false;
    CallPlain({5});
    wantAux = true;
    CallPlain({6});
    EXPECT_THAT(aux, ElementsAre(0)) << "what nobody wanted has gone by";
}

TEST_F(BlockAdapterTest, Positions_pass_straight_through_without_a_block_size) {
    Signal main(8);
    Call(
        main,
        [](const BlockAdapter::Block& block, float**, float**) {
            EXPECT_EQ(block.positions.start, checked_value<std::uint32_t>(3U));
            EXPECT_EQ(block.positions.end, checked_value<std::uint32_t>(8U));
        },
        true, {3U, 8U});
}

TEST_F(BlockAdapterTest, Positions_move_by_what_is_queued_and_show_in_their_block_alone) {
    adapter.SetBlockSize(4, 64);
    CallPlain({0, 0, 0});
    Signal main(10);
    std::vector<BlockPositions> seen;
    Call(
        main, [&](const BlockAdapter::Block& block, float**, float**) { seen.push_back(block.positions); },
        true, {2U, 7U});
    ASSERT_EQ(seen.size(), 3U);
    // Three frames were queued: 2 is frame 5, the second block's 1; 7 is frame 10, the third block's 2.
    EXPECT_EQ(seen[0].start, checked_value<std::uint32_t>());
    EXPECT_EQ(seen[0].start.value, 0U);
    EXPECT_EQ(seen[1].start, checked_value<std::uint32_t>(1U));
    EXPECT_EQ(seen[1].end, checked_value<std::uint32_t>());
    EXPECT_EQ(seen[2].start, checked_value<std::uint32_t>());
    EXPECT_EQ(seen[2].end, checked_value<std::uint32_t>(2U));
}

TEST_F(BlockAdapterTest, A_call_longer_than_announced_is_served_as_well) {
    adapter.SetBlockSize(4, 2);
    Signal main(100);
    for (std::size_t i = 0; i < main.size(); ++i) {
        main[i] = static_cast<float>(i + 1);
    }
    const Signal out = CallPlain(main);
    EXPECT_EQ(out[2], 0.0F);
    EXPECT_EQ(out[3], 1.0F);
    EXPECT_EQ(out[99], 97.0F);
}

TEST_F(BlockAdapterTest, A_change_of_the_block_size_starts_anew) {
    adapter.SetBlockSize(4, 64);
    CallPlain({1, 2, 3, 4, 5});
    adapter.SetBlockSize(2, 64);
    EXPECT_THAT(CallPlain({6, 7, 8}), ElementsAre(0, 6, 7));
    adapter.SetBlockSize(0, 64);
    EXPECT_THAT(CallPlain({9}), ElementsAre(9));
}

TEST_F(BlockAdapterTest, An_adapter_without_channels_gives_no_blocks) {
    BlockAdapter none(0, 0, 0);
    BlockAdapter::Block block;
    none.Give(4, nullptr, nullptr, {});
    EXPECT_FALSE(none.Next(block, nullptr, nullptr));
    none.Hand(true);
}

TEST_F(BlockAdapterTest, Random_calls_delay_by_one_frame_less_than_the_block_size) {
    std::mt19937 random(7);
    for (const std::uint32_t n : {1U, 2U, 3U, 16U, 61U, 64U}) {
        adapter.SetBlockSize(n, 200);
        Signal in;
        Signal out;
        for (int call = 0; call < 300; ++call) {
            Signal main(1 + random() % 200);
            for (float& sample : main) {
                sample = static_cast<float>(in.size() + 1);
                in.push_back(sample);
            }
            main = CallPlain(main);
            out.insert(out.end(), main.begin(), main.end());
        }
        for (std::size_t t = 0; t < out.size(); ++t) {
            ASSERT_EQ(out[t], t < n - 1 ? 0.0F : in[t - (n - 1)]) << n << " " << t;
        }
    }
}

} // namespace
} // namespace DSP
