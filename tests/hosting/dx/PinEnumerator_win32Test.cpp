#include "hosting/dx/PinEnumerator_win32.h"

#include "hosting/dx/DXPins_win32.h"
#include "support/AllocationCount.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace Tarvik {
namespace {

/// Three pins in a list.
class PinEnumeratorTest : public testing::Test {
protected:
    PinEnumeratorTest() {
        for (const StereoPins& each : pins) {
            list.push_back(ComPointer<IPin>::Share(each.in));
        }
        enumerator = ComPointer<PinEnumerator>::Share(new PinEnumerator(list, 0));
    }

    StereoPins pins[3];
    std::vector<ComPointer<IPin>> list;
    ComPointer<PinEnumerator> enumerator;
};

TEST_F(PinEnumeratorTest, Pins_are_given_in_their_order_each_with_a_reference) {
    IPin* out[3] = {};
    ULONG fetched = 0;
    const ULONG before = referencesOf(pins[0].in);
    EXPECT_EQ(enumerator->Next(2, out, &fetched), S_OK);
    EXPECT_EQ(fetched, 2U);
    EXPECT_EQ(out[0], list[0].Get());
    EXPECT_EQ(out[1], list[1].Get());
    EXPECT_EQ(referencesOf(pins[0].in), before + 1);
    out[0]->Release();
    out[1]->Release();
    EXPECT_EQ(enumerator->Next(2, out, &fetched), S_FALSE);
    EXPECT_EQ(fetched, 1U);
    EXPECT_EQ(out[0], list[2].Get());
    out[0]->Release();
    EXPECT_EQ(enumerator->Next(1, out, &fetched), S_FALSE);
    EXPECT_EQ(fetched, 0U);
}

TEST_F(PinEnumeratorTest, One_at_a_time_needs_no_count) {
    IPin* out = nullptr;
    EXPECT_EQ(enumerator->Next(1, &out, nullptr), S_OK);
    EXPECT_EQ(out, list[0].Get());
    out->Release();
    EXPECT_EQ(enumerator->Next(2, &out, nullptr), E_INVALIDARG);
}

TEST_F(PinEnumeratorTest, None_is_a_success_and_nowhere_a_failure) {
    IPin* out = nullptr;
    ULONG fetched = 7;
    EXPECT_EQ(enumerator->Next(0, &out, &fetched), S_OK);
    EXPECT_EQ(fetched, 0U);
    EXPECT_EQ(enumerator->Next(1, nullptr, &fetched), E_POINTER);
    EXPECT_EQ(enumerator->Next(0, nullptr, &fetched), E_POINTER);
}

TEST_F(PinEnumeratorTest, Skipping_to_the_end_is_a_success_and_past_it_is_not) {
    IPin* out = nullptr;
    ULONG fetched = 0;
    EXPECT_EQ(enumerator->Skip(2), S_OK);
    EXPECT_EQ(enumerator->Next(1, &out, &fetched), S_OK);
    EXPECT_EQ(out, list[2].Get());
    out->Release();
    EXPECT_EQ(enumerator->Reset(), S_OK);
    EXPECT_EQ(enumerator->Skip(3), S_OK);
    EXPECT_EQ(enumerator->Next(1, &out, &fetched), S_FALSE);
    EXPECT_EQ(enumerator->Skip(1), S_FALSE);
}

TEST_F(PinEnumeratorTest, A_position_past_the_end_is_unexpected_until_it_is_reset) {
    IPin* out = nullptr;
    ULONG fetched = 0;
    EXPECT_EQ(enumerator->Skip(4), S_FALSE);
    EXPECT_EQ(enumerator->Next(1, &out, &fetched), E_UNEXPECTED);
    EXPECT_EQ(enumerator->Skip(std::numeric_limits<ULONG>::max()), S_FALSE);
    EXPECT_EQ(enumerator->Next(1, &out, &fetched), E_UNEXPECTED);
    EXPECT_EQ(enumerator->Next(0, &out, &fetched), S_OK);
    EXPECT_EQ(enumerator->Reset(), S_OK);
    EXPECT_EQ(enumerator->Next(1, &out, &fetched), S_OK);
    EXPECT_EQ(out, list[0].Get());
    out->Release();
}

TEST_F(PinEnumeratorTest, A_clone_stands_where_it_was_made_and_goes_its_own_way) {
    IPin* out = nullptr;
    ASSERT_EQ(enumerator->Skip(1), S_OK);
    ComPointer<IEnumPins> clone;
    ASSERT_EQ(receiveObject(clone, [&](IEnumPins** to) { return enumerator->Clone(to); }), S_OK);
    enumerator->Reset();
    EXPECT_EQ(clone->Next(1, &out, nullptr), S_OK);
    EXPECT_EQ(out, list[1].Get());
    out->Release();
    EXPECT_EQ(enumerator->Next(1, &out, nullptr), S_OK);
    EXPECT_EQ(out, list[0].Get());
    out->Release();
    EXPECT_EQ(enumerator->Clone(nullptr), E_POINTER);
}

TEST_F(PinEnumeratorTest, Without_memory_there_is_no_clone) {
    IEnumPins* clone = enumerator.Get();
    const WithoutMemory none;
    EXPECT_EQ(enumerator->Clone(&clone), E_OUTOFMEMORY);
    EXPECT_EQ(clone, nullptr);
}

TEST_F(PinEnumeratorTest, Pins_live_as_long_as_their_enumerator) {
    const ULONG before = referencesOf(pins[0].in);
    enumerator.Reset();
    EXPECT_EQ(referencesOf(pins[0].in), before - 1);
}

TEST_F(PinEnumeratorTest, It_is_what_it_says) {
    ComPointer<IEnumPins> out;
    EXPECT_EQ(queryInterface(static_cast<IEnumPins*>(enumerator.Get()), IID_IEnumPins, out), S_OK);
    EXPECT_EQ(
        queryInterface(static_cast<IEnumPins*>(enumerator.Get()), IID_IEnumMediaTypes, out), E_NOINTERFACE);
    EXPECT_STREQ(enumerator->ObjectName(), "PinEnumerator");
}

} // namespace
} // namespace Tarvik
