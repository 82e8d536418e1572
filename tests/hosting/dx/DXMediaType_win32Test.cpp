#include "hosting/dx/DXMediaType_win32.h"

#include "hosting/dx/TaskMemory_win32.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <vector>

namespace Tarvik {
namespace {

WAVEFORMATEX formatOf(const AM_MEDIA_TYPE& type) {
    WAVEFORMATEX format{};
    EXPECT_GE(type.cbFormat, sizeof format);
    std::memcpy(&format, type.pbFormat, sizeof format);
    return format;
}

TEST(DXMediaType, The_audio_of_a_graph_is_laid_out_byte_for_byte) {
    DXMediaType type;
    ASSERT_EQ(type.SetAudio(44100.0f, 1), S_OK);
    const AM_MEDIA_TYPE& audio = type.Get();
    // The records as they lie in memory, written by hand.
    const std::vector<std::uint8_t> head = {
        0x61, 0x75, 0x64, 0x73, 0x00, 0x00, 0x10, 0x00, 0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B,
        0x71, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x10, 0x00, 0x80, 0x00, 0x00, 0xAA, 0x00, 0x38,
        0x9B, 0x71, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x04, 0x00, 0x00, 0x00, 0x81,
        0x9F, 0x58, 0x05, 0x56, 0xC3, 0xCE, 0x11, 0xBF, 0x01, 0x00, 0xAA, 0x00, 0x55, 0x59, 0x5A};
    EXPECT_EQ(std::memcmp(&audio, head.data(), head.size()), 0);
    EXPECT_EQ(audio.pUnk, nullptr);
    ASSERT_EQ(audio.cbFormat, 18U);
    const std::vector<std::uint8_t> format = {0x03, 0x00, 0x02, 0x00, 0x44, 0xAC, 0x00, 0x00, 0x20,
                                              0x62, 0x05, 0x00, 0x08, 0x00, 0x20, 0x00, 0x12, 0x00};
    EXPECT_EQ(std::memcmp(audio.pbFormat, format.data(), format.size()), 0);
}

TEST(DXMediaType, Whoever_believes_the_size_of_what_follows_the_format_finds_zeros) {
    DXMediaType type;
    ASSERT_EQ(type.SetAudio(44100.0f, 1), S_OK);
    AM_MEDIA_TYPE copy{};
    ASSERT_EQ(type.CopyTo(&copy), S_OK);
    const std::vector<std::uint8_t> zeros(formatOf(copy).cbSize);
    EXPECT_EQ(std::memcmp(copy.pbFormat + copy.cbFormat, zeros.data(), zeros.size()), 0);
    DXMediaType::Free(copy);
}

TEST(DXMediaType, Channels_come_from_the_layout_and_the_rate_is_rounded) {
    const auto of = [](float rate, std::uint32_t layout) {
        DXMediaType type;
        EXPECT_EQ(type.SetAudio(rate, layout), S_OK);
        return formatOf(type.Get());
    };
    EXPECT_EQ(of(48000.0f, 0).nChannels, 1);
    EXPECT_EQ(of(48000.0f, 0).nBlockAlign, 4);
    EXPECT_EQ(of(48000.0f, 0).nAvgBytesPerSec, 192000U);
    EXPECT_EQ(of(48000.0f, 8).nChannels, 6);
    EXPECT_EQ(of(48000.0f, 36).nBlockAlign, 96);
    EXPECT_EQ(of(44099.5f, 1).nSamplesPerSec, 44100U);
    EXPECT_EQ(of(44100.4f, 1).nSamplesPerSec, 44100U);
    EXPECT_EQ(of(0.4f, 1).nSamplesPerSec, 0U);
}

TEST(DXMediaType, A_rate_that_is_none_is_0) {
    for (const float rate : {-1.0f, std::numeric_limits<float>::quiet_NaN(), 0.0f}) {
        DXMediaType type;
        ASSERT_EQ(type.SetAudio(rate, 1), S_OK);
        EXPECT_EQ(formatOf(type.Get()).nSamplesPerSec, 0U);
        EXPECT_EQ(DXMediaType::Accept(&type.Get()), E_INVALIDARG);
    }
    DXMediaType type;
    ASSERT_EQ(type.SetAudio(std::numeric_limits<float>::infinity(), 1), S_OK);
    EXPECT_EQ(formatOf(type.Get()).nSamplesPerSec, std::numeric_limits<DWORD>::max());
}

TEST(DXMediaType, One_channel_and_two_are_accepted_and_three_are_not) {
    for (const auto& [layout, answer] :
         {std::pair(0U, S_OK),
          {1U, S_OK},
          {2U, S_OK},
          {3U, E_INVALIDARG},
          {8U, E_INVALIDARG},
          {37U, E_INVALIDARG}}) {
        DXMediaType type;
        ASSERT_EQ(type.SetAudio(44100.0f, layout), S_OK);
        EXPECT_EQ(DXMediaType::Accept(&type.Get()), answer) << layout;
    }
}

struct Deviation {
    const char* name;
    std::function<void(AM_MEDIA_TYPE&, WAVEFORMATEX&)> make;
};

TEST(DXMediaType, Anything_else_than_the_audio_of_a_graph_is_turned_down) {
    const std::vector<Deviation> deviations = {
        {"major type", [](AM_MEDIA_TYPE& type, WAVEFORMATEX&) { type.majortype = MEDIATYPE_Video; }},
        {"subtype", [](AM_MEDIA_TYPE& type, WAVEFORMATEX&) { type.subtype.Data1 = 3; }},
        {"temporal compression",
         [](AM_MEDIA_TYPE& type, WAVEFORMATEX&) { type.bTemporalCompression = TRUE; }},
        {"format type", [](AM_MEDIA_TYPE& type, WAVEFORMATEX&) { type.formattype = GUID_NULL; }},
        {"short format", [](AM_MEDIA_TYPE& type, WAVEFORMATEX&) { type.cbFormat = 15; }},
        {"no format", [](AM_MEDIA_TYPE& type, WAVEFORMATEX&) { type.pbFormat = nullptr; }},
        {"no channels", [](AM_MEDIA_TYPE&, WAVEFORMATEX& format) { format.nChannels = 0; }},
        {"three channels", [](AM_MEDIA_TYPE&, WAVEFORMATEX& format) { format.nChannels = 3; }},
        {"no rate", [](AM_MEDIA_TYPE&, WAVEFORMATEX& format) { format.nSamplesPerSec = 0; }},
        {"integers", [](AM_MEDIA_TYPE&, WAVEFORMATEX& format) { format.wFormatTag = 1; }},
        {"extensible", [](AM_MEDIA_TYPE&, WAVEFORMATEX& format) { format.wFormatTag = 0xFFFE; }},
        {"doubles", [](AM_MEDIA_TYPE&, WAVEFORMATEX& format) { format.wBitsPerSample = 64; }},
    };
    DXMediaType type;
    ASSERT_EQ(type.SetAudio(44100.0f, 1), S_OK);
    for (const Deviation& deviation : deviations) {
        AM_MEDIA_TYPE offered = type.Get();
        WAVEFORMATEX format = formatOf(offered);
        offered.pbFormat = reinterpret_cast<BYTE*>(&format);
        EXPECT_EQ(DXMediaType::Accept(&offered), S_OK);
        deviation.make(offered, format);
        EXPECT_EQ(DXMediaType::Accept(&offered), E_INVALIDARG) << deviation.name;
    }
    EXPECT_EQ(DXMediaType::Accept(nullptr), E_POINTER);
}

TEST(DXMediaType, Sixteen_bytes_of_format_are_enough) {
    DXMediaType type;
    ASSERT_EQ(type.SetAudio(44100.0f, 1), S_OK);
    AM_MEDIA_TYPE offered = type.Get();
    offered.cbFormat = 16;
    EXPECT_EQ(DXMediaType::Accept(&offered), S_OK);
    // The sizes that the type tells of its samples are not looked at.
    offered.lSampleSize = 0;
    offered.bFixedSizeSamples = FALSE;
    EXPECT_EQ(DXMediaType::Accept(&offered), S_OK);
}

TEST(DXMediaType, A_copy_has_memory_of_its_own) {
    DXMediaType type;
    ASSERT_EQ(type.SetAudio(44100.0f, 1), S_OK);
    AM_MEDIA_TYPE* block = nullptr;
    ASSERT_EQ(type.CopyToBlock(&block), S_OK);
    EXPECT_NE(block->pbFormat, type.Get().pbFormat);
    EXPECT_EQ(formatOf(*block).nSamplesPerSec, 44100U);
    DXMediaType second;
    ASSERT_EQ(second.CopyFrom(*block), S_OK);
    type.Clear();
    DXMediaType::Free(*block);
    CoTaskMemFree(block);
    EXPECT_EQ(formatOf(second.Get()).nSamplesPerSec, 44100U);
    EXPECT_EQ(type.Get().cbFormat, 0U);
    EXPECT_EQ(type.CopyTo(nullptr), E_POINTER);
    EXPECT_EQ(type.CopyToBlock(nullptr), E_POINTER);
}

TEST(DXMediaType, A_copy_of_its_own_content_is_the_same) {
    DXMediaType type;
    ASSERT_EQ(type.SetAudio(44100.0f, 1), S_OK);
    ASSERT_EQ(type.CopyFrom(type.Get()), S_OK);
    EXPECT_EQ(formatOf(type.Get()).nSamplesPerSec, 44100U);
}

TEST(DXMediaType, Freeing_gives_back_what_the_allocator_knows_and_zeroes_the_rest) {
    DXMediaType type;
    ASSERT_EQ(type.SetAudio(44100.0f, 1), S_OK);
    AM_MEDIA_TYPE copy{};
    ASSERT_EQ(type.CopyTo(&copy), S_OK);
    BYTE* format = copy.pbFormat;
    DXMediaType::Free(copy);
    const AM_MEDIA_TYPE zeros{};
    EXPECT_EQ(std::memcmp(&copy, &zeros, sizeof zeros), 0);
    IMalloc* allocator = nullptr;
    ASSERT_EQ(CoGetMalloc(1, &allocator), S_OK);
    EXPECT_NE(allocator->DidAlloc(format), 1);
    allocator->Release();

    std::uint8_t notAllocated[32]{};
    std::memset(static_cast<void*>(&copy), 0xCD, sizeof copy);
    copy.pbFormat = notAllocated;
    DXMediaType::Free(copy);
    EXPECT_EQ(std::memcmp(&copy, &zeros, sizeof zeros), 0);
}

/// Lives on the stack and counts.
class Object final : public IUnknown {
public:
    virtual ~Object() = default;
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** out) override {
        *out = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override { return --references; }

    ULONG references = 1;
};

TEST(DXMediaType, Freeing_releases_the_object_beside_a_block_of_the_allocators_and_no_other) {
    DXMediaType type;
    ASSERT_EQ(type.SetAudio(44100.0f, 1), S_OK);
    Object object;
    AM_MEDIA_TYPE copy{};
    ASSERT_EQ(type.CopyTo(&copy), S_OK);
    copy.pUnk = &object;
    object.AddRef();
    DXMediaType::Free(copy);
    EXPECT_EQ(object.references, 1U);
    EXPECT_EQ(copy.pUnk, nullptr);

    std::uint8_t notAllocated[32]{};
    for (BYTE* format : {static_cast<BYTE*>(notAllocated), static_cast<BYTE*>(nullptr)}) {
        copy = {};
        copy.pbFormat = format;
        copy.pUnk = &object;
        DXMediaType::Free(copy);
        EXPECT_EQ(object.references, 1U);
        EXPECT_EQ(copy.pUnk, nullptr);
    }
}

TEST(DXMediaType, A_type_that_there_is_no_memory_for_is_empty) {
    DXMediaType type;
    ASSERT_EQ(type.SetAudio(44100.0f, 1), S_OK);
    AM_MEDIA_TYPE copy = type.Get();
    AM_MEDIA_TYPE* block = &copy;
    DXMediaType second;
    TaskMemory memory;
    const AM_MEDIA_TYPE zeros{};

    memory.FailAllocation(1);
    EXPECT_EQ(type.CopyTo(&copy), E_OUTOFMEMORY);
    EXPECT_EQ(std::memcmp(&copy, &zeros, sizeof zeros), 0);
    for (const unsigned number : {1U, 2U}) {
        memory.FailAllocation(number);
        EXPECT_EQ(type.CopyToBlock(&block), E_OUTOFMEMORY);
        EXPECT_EQ(block, nullptr);
    }
    memory.FailAllocation(1);
    EXPECT_EQ(second.CopyFrom(type.Get()), E_OUTOFMEMORY);
    EXPECT_EQ(second.Get().cbFormat, 0U);
    memory.FailAllocation(1);
    EXPECT_EQ(second.SetAudio(44100.0f, 1), E_OUTOFMEMORY);
    EXPECT_EQ(second.Get().pbFormat, nullptr);
    EXPECT_TRUE(memory.AllocationFailed());
    EXPECT_EQ(memory.Left(), 0U);
}

} // namespace
} // namespace Tarvik
