#include "dsp/SetParamWithoutCallbacksCommand.h"
#include "Parametric.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace DSP::Testing {
namespace {

using ::testing::IsEmpty;

class SetParamWithoutCallbacksCommandTest : public ParametricTest {};

TEST_F(SetParamWithoutCallbacksCommandTest, A_command_without_callbacks_stores_the_clamped_target_alone) {
    Parametric element(host);
    host.audioRunning = true;
    element.TakeLog();
    element.SetParamWithoutCallbacks(Parametric::gainIndex, 99.0F);
    EXPECT_EQ(element.GainInfo().GetInFlight(), 1U);
    Block(element);
    EXPECT_EQ(element.gain, 12.0F);
    EXPECT_EQ(element.GainInfo().GetInFlight(), 0U);
    EXPECT_THAT(element.TakeLog(), IsEmpty());
    EXPECT_EQ(element.Gain().Get(ParamSide::control), 1.0F);
    element.SetParamWithoutCallbacks(17, 1.0F);
    element.SetParamWithoutCallbacks(Parametric::gainIndex, true);
    EXPECT_EQ(host.posted, 1U);
}

} // namespace
} // namespace DSP::Testing
