#include "hosting/dx/VectorStream_win32.h"

#include "hosting/dx/ComPointer_win32.h"
#include "support/AllocationCount.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

namespace Tarvik {
namespace {

using Bytes = std::vector<std::uint8_t>;
using testing::ElementsAre;

ComPointer<VectorStream> streamOf(Bytes bytes = {}) {
    return ComPointer<VectorStream>::Share(new VectorStream(std::move(bytes)));
}

LARGE_INTEGER by(LONGLONG count) {
    LARGE_INTEGER move{};
    move.QuadPart = count;
    return move;
}

ULARGE_INTEGER sizeOf(ULONGLONG count) {
    ULARGE_INTEGER size{};
    size.QuadPart = count;
    return size;
}

ULONGLONG positionOf(VectorStream& stream) {
    ULARGE_INTEGER position{};
    EXPECT_EQ(stream.Seek(by(0), STREAM_SEEK_CUR, &position), S_OK);
    return position.QuadPart;
}

TEST(VectorStream, Reads_what_it_was_made_with_up_to_the_end) {
    const auto stream = streamOf({1, 2, 3});
    std::uint8_t out[4] = {};
    ULONG count = 0;
    EXPECT_EQ(stream->Read(out, 2, &count), S_OK);
    EXPECT_EQ(count, 2U);
    EXPECT_EQ(stream->Read(out + 2, 2, &count), S_FALSE);
    EXPECT_EQ(count, 1U);
    EXPECT_THAT(out, ElementsAre(1, 2, 3, 0));
    EXPECT_EQ(stream->Read(out, 1, &count), S_FALSE);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(stream->Read(out, 0, nullptr), S_OK);
    EXPECT_EQ(stream->Read(nullptr, 1, &count), STG_E_INVALIDPOINTER);
}

TEST(VectorStream, Writes_over_what_is_there_and_on_beyond_it) {
    const auto stream = streamOf({1, 2, 3});
    const std::uint8_t data[] = {7, 8, 9};
    ULONG count = 0;
    ASSERT_EQ(stream->Seek(by(2), STREAM_SEEK_SET, nullptr), S_OK);
    EXPECT_EQ(stream->Write(data, 3, &count), S_OK);
    EXPECT_EQ(count, 3U);
    EXPECT_THAT(stream->Bytes(), ElementsAre(1, 2, 7, 8, 9));
    EXPECT_EQ(positionOf(*stream), 5U);
    EXPECT_EQ(stream->Write(nullptr, 1, &count), STG_E_INVALIDPOINTER);
    EXPECT_EQ(stream->Write(data, 0, nullptr), S_OK);
}

TEST(VectorStream, A_write_beyond_the_end_fills_with_zeros_and_a_read_there_gives_nothing) {
    const auto stream = streamOf({1});
    const std::uint8_t data[] = {9};
    std::uint8_t out = 5;
    ASSERT_EQ(stream->Seek(by(3), STREAM_SEEK_SET, nullptr), S_OK);
    EXPECT_EQ(stream->Read(&out, 1, nullptr), S_FALSE);
    EXPECT_EQ(out, 5);
    EXPECT_EQ(stream->Write(data, 1, nullptr), S_OK);
    EXPECT_THAT(stream->Bytes(), ElementsAre(1, 0, 0, 9));
}

TEST(VectorStream, Seeks_from_each_origin) {
    const auto stream = streamOf({1, 2, 3, 4});
    ULARGE_INTEGER position{};
    EXPECT_EQ(stream->Seek(by(1), STREAM_SEEK_SET, &position), S_OK);
    EXPECT_EQ(position.QuadPart, 1U);
    EXPECT_EQ(stream->Seek(by(2), STREAM_SEEK_CUR, &position), S_OK);
    EXPECT_EQ(position.QuadPart, 3U);
    EXPECT_EQ(stream->Seek(by(-2), STREAM_SEEK_END, &position), S_OK);
    EXPECT_EQ(position.QuadPart, 2U);
    EXPECT_EQ(stream->Seek(by(-2), STREAM_SEEK_CUR, &position), S_OK);
    EXPECT_EQ(position.QuadPart, 0U);
}

TEST(VectorStream, A_seek_before_the_beginning_leaves_the_position) {
    const auto stream = streamOf({1, 2, 3, 4});
    ASSERT_EQ(stream->Seek(by(2), STREAM_SEEK_SET, nullptr), S_OK);
    EXPECT_EQ(stream->Seek(by(-3), STREAM_SEEK_CUR, nullptr), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(stream->Seek(by(-5), STREAM_SEEK_END, nullptr), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(stream->Seek(by(-1), STREAM_SEEK_SET, nullptr), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(stream->Seek(by(0), 3, nullptr), STG_E_INVALIDFUNCTION);
    constexpr auto farthest = std::numeric_limits<LONGLONG>::max();
    EXPECT_EQ(stream->Seek(by(farthest), STREAM_SEEK_CUR, nullptr), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(positionOf(*stream), 2U);
    EXPECT_EQ(stream->Seek(by(farthest), STREAM_SEEK_SET, nullptr), S_OK);
    std::uint8_t out = 0;
    EXPECT_EQ(stream->Read(&out, 1, nullptr), S_FALSE);
}

TEST(VectorStream, Changing_the_size_leaves_the_position) {
    const auto stream = streamOf({1, 2, 3});
    ASSERT_EQ(stream->Seek(by(3), STREAM_SEEK_SET, nullptr), S_OK);
    EXPECT_EQ(stream->SetSize(sizeOf(1)), S_OK);
    EXPECT_THAT(stream->Bytes(), ElementsAre(1));
    EXPECT_EQ(positionOf(*stream), 3U);
    EXPECT_EQ(stream->SetSize(sizeOf(2)), S_OK);
    EXPECT_THAT(stream->Bytes(), ElementsAre(1, 0));
}

TEST(VectorStream, Beyond_four_gigabytes_the_medium_is_full) {
    const auto stream = streamOf({1});
    const std::uint8_t data[] = {9};
    ULONG count = 7;
    ASSERT_EQ(stream->Seek(by(0xFFFFFFFF), STREAM_SEEK_SET, nullptr), S_OK);
    EXPECT_EQ(stream->Write(data, 1, &count), STG_E_MEDIUMFULL);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(stream->SetSize(sizeOf(0x100000000)), STG_E_MEDIUMFULL);
    EXPECT_EQ(stream->SetSize(sizeOf(std::numeric_limits<ULONGLONG>::max())), STG_E_MEDIUMFULL);
    EXPECT_THAT(stream->Bytes(), ElementsAre(1));
}

TEST(VectorStream, Without_memory_the_medium_is_full) {
    const auto stream = streamOf({1});
    const std::uint8_t data[] = {9, 9};
    {
        const WithoutMemory none;
        EXPECT_EQ(stream->Write(data, 2, nullptr), STG_E_MEDIUMFULL);
        EXPECT_EQ(stream->SetSize(sizeOf(100)), STG_E_MEDIUMFULL);
        EXPECT_EQ(stream->Write(data, 1, nullptr), S_OK);
    }
    EXPECT_THAT(stream->Bytes(), ElementsAre(9));
}

TEST(VectorStream, Its_status_is_its_size) {
    const auto stream = streamOf({1, 2, 3});
    STATSTG status{};
    EXPECT_EQ(stream->Stat(&status, STATFLAG_DEFAULT), S_OK);
    EXPECT_EQ(status.cbSize.QuadPart, 3U);
    EXPECT_EQ(status.type, static_cast<DWORD>(STGTY_STREAM));
    EXPECT_EQ(status.pwcsName, nullptr);
    EXPECT_EQ(stream->Stat(nullptr, STATFLAG_DEFAULT), STG_E_INVALIDPOINTER);
}

TEST(VectorStream, What_it_does_not_do_it_says) {
    const auto stream = streamOf({1, 2, 3});
    IStream* other = stream.Get();
    EXPECT_EQ(stream->Commit(STGC_DEFAULT), S_OK);
    EXPECT_EQ(stream->Revert(), S_OK);
    EXPECT_EQ(stream->CopyTo(other, sizeOf(1), nullptr, nullptr), E_NOTIMPL);
    EXPECT_EQ(stream->LockRegion(sizeOf(0), sizeOf(1), LOCK_WRITE), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(stream->UnlockRegion(sizeOf(0), sizeOf(1), LOCK_WRITE), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(stream->Clone(&other), E_NOTIMPL);
    EXPECT_EQ(other, nullptr);
    EXPECT_EQ(stream->Clone(nullptr), E_NOTIMPL);
    EXPECT_THAT(stream->Bytes(), ElementsAre(1, 2, 3));
}

TEST(VectorStream, It_is_a_stream_by_both_names) {
    const auto stream = streamOf();
    ComPointer<IUnknown> out;
    EXPECT_EQ(queryInterface(static_cast<IStream*>(stream.Get()), IID_IStream, out), S_OK);
    EXPECT_EQ(queryInterface(static_cast<IStream*>(stream.Get()), IID_ISequentialStream, out), S_OK);
    EXPECT_EQ(queryInterface(static_cast<IStream*>(stream.Get()), IID_IPersist, out), E_NOINTERFACE);
}

TEST(VectorStream, Behaves_like_the_platforms_stream_in_memory) {
    std::mt19937 random(17);
    for (int round = 0; round < 50; ++round) {
        const auto own = streamOf();
        ComPointer<IStream> platforms;
        ASSERT_EQ(
            receiveObject(platforms, [](IStream** out) { return CreateStreamOnHGlobal(nullptr, TRUE, out); }),
            S_OK);
        for (int step = 0; step < 100; ++step) {
            // Not of nothing: theirs then grows to where the position is, which no contract knows.
            const auto count = static_cast<ULONG>(1 + random() % 20);
            ULONG ownCount = 0;
            ULONG theirCount = 0;
            switch (random() % 4) {
            case 0: {
                Bytes data(count);
                std::generate(data.begin(), data.end(), [&] { return static_cast<std::uint8_t>(random()); });
                ASSERT_EQ(own->Write(data.data(), count, &ownCount), S_OK);
                ASSERT_EQ(platforms->Write(data.data(), count, &theirCount), S_OK);
                ASSERT_EQ(ownCount, theirCount);
                break;
            }
            case 1: {
                Bytes ownData(count);
                Bytes theirData(count);
                ASSERT_TRUE(SUCCEEDED(own->Read(ownData.data(), count, &ownCount)));
                ASSERT_TRUE(SUCCEEDED(platforms->Read(theirData.data(), count, &theirCount)));
                ASSERT_EQ(ownCount, theirCount);
                ASSERT_EQ(ownData, theirData);
                break;
            }
            case 2: {
                const auto origin = static_cast<DWORD>(random() % 3);
                const LARGE_INTEGER move = by(static_cast<LONGLONG>(random() % 60) - 20);
                ULARGE_INTEGER ownPosition{};
                ULARGE_INTEGER theirPosition{};
                const HRESULT answer = own->Seek(move, origin, &ownPosition);
                ASSERT_EQ(SUCCEEDED(answer), SUCCEEDED(platforms->Seek(move, origin, &theirPosition)));
                if (SUCCEEDED(answer)) {
                    ASSERT_EQ(ownPosition.QuadPart, theirPosition.QuadPart);
                    if (ownPosition.QuadPart > own->Bytes().size()) {
                        // Wine's shows what lies in its memory behind the end.
                        ASSERT_EQ(own->Seek(by(0), STREAM_SEEK_END, nullptr), S_OK);
                        ASSERT_EQ(platforms->Seek(by(0), STREAM_SEEK_END, nullptr), S_OK);
                    }
                }
                break;
            }
            default: {
                STATSTG status{};
                ASSERT_EQ(platforms->Stat(&status, STATFLAG_NONAME), S_OK);
                ASSERT_EQ(own->Bytes().size(), status.cbSize.QuadPart);
                break;
            }
            }
        }
    }
}

} // namespace
} // namespace Tarvik
