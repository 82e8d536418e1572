#include "hosting/dx/MediaTypeEnumerator_win32.h"

#include "hosting/dx/ComPointer_win32.h"
#include "hosting/dx/TaskMemory_win32.h"

#include <gtest/gtest.h>

namespace Tarvik {
namespace {

class MediaTypeEnumeratorTest : public testing::Test {
protected:
    ~MediaTypeEnumeratorTest() override { FreeType(); }
    void FreeType() {
        if (type != nullptr) {
            DXMediaType::Free(*type);
            CoTaskMemFree(type);
            type = nullptr;
        }
    }

    ComPointer<MediaTypeEnumerator> enumerator =
        ComPointer<MediaTypeEnumerator>::Share(new MediaTypeEnumerator(48000.0f, 0));
    AM_MEDIA_TYPE* type = nullptr;
    ULONG fetched = 7;
};

TEST_F(MediaTypeEnumeratorTest, Asked_twice_it_gives_one_type_and_then_none) {
    EXPECT_EQ(enumerator->Next(1, &type, &fetched), S_OK);
    EXPECT_EQ(fetched, 1U);
    ASSERT_NE(type, nullptr);
    EXPECT_EQ(DXMediaType::Accept(type), S_OK);
    EXPECT_EQ(reinterpret_cast<const WAVEFORMATEX*>(type->pbFormat)->nSamplesPerSec, 48000U);
    AM_MEDIA_TYPE* second = nullptr;
    EXPECT_EQ(enumerator->Next(1, &second, &fetched), S_FALSE);
    EXPECT_EQ(fetched, 0U);
    EXPECT_EQ(second, nullptr);
}

TEST_F(MediaTypeEnumeratorTest, The_block_is_the_task_allocators_and_of_88_bytes) {
    ASSERT_EQ(enumerator->Next(1, &type, nullptr), S_OK);
    IMalloc* allocator = nullptr;
    ASSERT_EQ(CoGetMalloc(1, &allocator), S_OK);
    EXPECT_EQ(allocator->DidAlloc(type), 1);
    EXPECT_EQ(allocator->DidAlloc(type->pbFormat), 1);
    EXPECT_EQ(allocator->GetSize(type), 88U);
    allocator->Release();
}

TEST_F(MediaTypeEnumeratorTest, A_type_that_there_is_no_memory_for_is_still_to_come) {
    TaskMemory memory;
    // The block, and the format's.
    for (const unsigned number : {1U, 2U}) {
        memory.FailAllocation(number);
        EXPECT_EQ(enumerator->Next(1, &type, &fetched), E_OUTOFMEMORY);
        EXPECT_TRUE(memory.AllocationFailed());
        EXPECT_EQ(fetched, 0U);
        EXPECT_EQ(type, nullptr);
        EXPECT_EQ(memory.Left(), 0U);
    }
    EXPECT_EQ(enumerator->Next(1, &type, &fetched), S_OK);
    EXPECT_EQ(memory.Left(), 2U);
}

TEST_F(MediaTypeEnumeratorTest, Asked_for_several_it_gives_the_one) {
    AM_MEDIA_TYPE* types[3] = {};
    EXPECT_EQ(enumerator->Next(3, types, nullptr), E_INVALIDARG);
    EXPECT_EQ(enumerator->Next(3, types, &fetched), S_FALSE);
    EXPECT_EQ(fetched, 1U);
    type = types[0];
    EXPECT_EQ(types[1], nullptr);
}

TEST_F(MediaTypeEnumeratorTest, None_is_a_success_and_nowhere_a_failure) {
    EXPECT_EQ(enumerator->Next(0, &type, &fetched), S_OK);
    EXPECT_EQ(fetched, 0U);
    EXPECT_EQ(enumerator->Next(1, nullptr, &fetched), E_POINTER);
    EXPECT_EQ(enumerator->Next(1, &type, &fetched), S_OK);
}

TEST_F(MediaTypeEnumeratorTest, Reset_starts_over) {
    ASSERT_EQ(enumerator->Next(1, &type, &fetched), S_OK);
    FreeType();
    EXPECT_EQ(enumerator->Reset(), S_OK);
    EXPECT_EQ(enumerator->Next(1, &type, &fetched), S_OK);
    EXPECT_EQ(fetched, 1U);
}

TEST_F(MediaTypeEnumeratorTest, Skipping_the_one_is_a_success_and_more_is_not) {
    EXPECT_EQ(enumerator->Skip(0), S_OK);
    EXPECT_EQ(enumerator->Skip(1), S_OK);
    EXPECT_EQ(enumerator->Next(1, &type, &fetched), S_FALSE);
    EXPECT_EQ(enumerator->Skip(0), S_OK);
    EXPECT_EQ(enumerator->Skip(1), S_FALSE);
    EXPECT_EQ(enumerator->Reset(), S_OK);
    EXPECT_EQ(enumerator->Skip(2), S_FALSE);
    EXPECT_EQ(enumerator->Next(1, &type, &fetched), S_FALSE);
}

TEST_F(MediaTypeEnumeratorTest, A_clone_stands_where_it_was_made) {
    ComPointer<IEnumMediaTypes> fresh;
    ASSERT_EQ(receiveObject(fresh, [&](IEnumMediaTypes** out) { return enumerator->Clone(out); }), S_OK);
    ASSERT_EQ(enumerator->Next(1, &type, &fetched), S_OK);
    FreeType();
    ComPointer<IEnumMediaTypes> spent;
    ASSERT_EQ(receiveObject(spent, [&](IEnumMediaTypes** out) { return enumerator->Clone(out); }), S_OK);
    EXPECT_EQ(spent->Next(1, &type, &fetched), S_FALSE);
    EXPECT_EQ(fresh->Next(1, &type, &fetched), S_OK);
    EXPECT_EQ(DXMediaType::Accept(type), S_OK);
    EXPECT_EQ(enumerator->Clone(nullptr), E_POINTER);
}

TEST_F(MediaTypeEnumeratorTest, It_is_what_it_says) {
    ComPointer<IEnumMediaTypes> out;
    EXPECT_EQ(
        queryInterface(static_cast<IEnumMediaTypes*>(enumerator.Get()), IID_IEnumMediaTypes, out), S_OK);
    EXPECT_STREQ(enumerator->ObjectName(), "MediaTypeEnumerator");
}

} // namespace
} // namespace Tarvik
