#include "audio/REXDecoderFixture.h"
#include "support/AllocationCount.h"

#include <filesystem>
#include <limits>
#include <random>

namespace {

using namespace Audio::Decode;
using SoundFile::badFormat;
using SoundFile::told;

constexpr std::int32_t largest = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t smallest = std::numeric_limits<std::int32_t>::min();

using REXDamagedLoopsTest = REXDecoderFixture;

TEST_F(REXDamagedLoopsTest, Each_field_of_the_info_has_its_limits) {
    struct Case {
        REXLoop::Field field;
        std::vector<std::int32_t> bad;
        std::vector<std::int32_t> good;
    };
    const Case cases[] = {
        {REXLoop::Channels, {smallest, -1, 0, 3, largest}, {1, 2}},
        {REXLoop::SampleRate, {smallest, -44100, 0, 999, 1'000'001, largest}, {1'000, 1'000'000}},
        {REXLoop::SliceCount, {smallest, -1}, {1}},
        {REXLoop::OriginalTempo, {smallest, -120'000, 0, 999}, {1'000, largest}},
        {REXLoop::Length, {smallest, -1, 0}, {1, largest}},
        {REXLoop::Numerator, {smallest, -1, 0}, {1, largest}},
        {REXLoop::Denominator, {smallest, -1, 0}, {1, largest}},
    };
    for (const Case& c : cases) {
        for (const std::int32_t value : c.bad) {
            EXPECT_EQ(syncing(REXLoop(1, {{0, 10}}).with(c.field, value)), badFormat("Invalid file info"))
                << c.field << " " << value;
        }
        for (const std::int32_t value : c.good) {
            EXPECT_EQ(syncing(REXLoop(1, {{0, 10}}).with(c.field, value)), "success")
                << c.field << " " << value;
        }
    }
}

TEST_F(REXDamagedLoopsTest, A_loop_without_slices_has_no_active_ones) {
    EXPECT_EQ(syncing(REXLoop(1, {})), badFormat("No active slices"));
    // An invalid record is told as such first.
    EXPECT_EQ(syncing(REXLoop(0, {})), badFormat("Invalid file info"));
}

TEST_F(REXDamagedLoopsTest, Slices_that_cannot_be_are_refused) {
    EXPECT_EQ(syncing(REXLoop(1, {{0, 10}, {-1, 10}})), badFormat("Invalid slice 1 info"));
    EXPECT_EQ(syncing(REXLoop(1, {{smallest, 10}})), badFormat("Invalid slice 0 info"));
    EXPECT_EQ(syncing(REXLoop(2, {{0, 10}, {0, 10}, {0, -1}})), badFormat("Invalid slice 2 info"));
    EXPECT_EQ(syncing(REXLoop(2, {{0, smallest}})), badFormat("Invalid slice 0 info"));
}

TEST_F(REXDamagedLoopsTest, What_no_machine_has_memory_or_time_for_is_refused_before_it_is_asked_for) {
    const std::string tooLong = badFormat("Slices of more than 67108864 frames");
    const WithoutMemory none(1U << 20U);
    EXPECT_EQ(syncing(REXLoop(2, {{0, largest}})), tooLong);
    EXPECT_EQ(syncing(REXLoop(2, {{0, 67'108'865}})), tooLong);
    EXPECT_EQ(syncing(REXLoop(2, {{largest, 1}, {0, 1}})), tooLong);
    EXPECT_EQ(
        syncing(REXLoop(1, {{largest, largest}})
                    .with(REXLoop::SampleRate, 1'000'000)
                    .with(REXLoop::OriginalTempo, 1'000)),
        tooLong);
    // Each fits; all together do not.
    EXPECT_EQ(syncing(REXLoop(1, {{0, 60'000'000}, {0, 7'108'864}, {0, 1}})), tooLong);
    EXPECT_EQ(
        syncing(REXLoop(1, {{0, 10}}).with(REXLoop::SliceCount, largest)),
        badFormat("2147483647 slices, at most 65536"));
    EXPECT_EQ(
        syncing(REXLoop(1, {{0, 10}}).with(REXLoop::SliceCount, 65537)),
        badFormat("65537 slices, at most 65536"));
}

TEST_F(REXDamagedLoopsTest, As_many_slices_as_may_be_are_read) {
    Stream& stream = synced(REXLoop(1, std::vector<REXLoop::Slice>(65536, {64, 1, 1})));
    ASSERT_EQ(stream.totalFrames(), 92U);
    // Whole numbers of 1/64 up to 1024: exact.
    EXPECT_EQ(samples()[0][91], 1024.0F);
    EXPECT_EQ(
        syncing(REXLoop(1, {{0, 10}}).with(REXLoop::SliceCount, 65536)),
        badFormat("Can't get slice 1 info: invalid slice (205)"));
}

TEST_F(REXDamagedLoopsTest, Where_memory_ends_sync_says_so_and_may_be_tried_again) {
    const std::string bytes = REXLoop(1, {{0, 1'000'000, 3}}).bytes();
    Stream& stream = rex(bytes);
    {
        const WithoutMemory none(3'000'000);
        EXPECT_EQ(told(stream.sync()), badFormat("Not enough memory for what the file holds"));
    }
    EXPECT_EQ(StandIn::OpenLoops(), 0U);
    EXPECT_EQ(told(stream.sync()), "success");
    EXPECT_EQ(samples()[0][999'999], StandIn::sample(3, 0, 999'999));
}

TEST_F(REXDamagedLoopsTest, A_slice_that_changes_under_way_ends_sync) {
    // Of two slices the third query is that of the first one, while it is rendered.
    static int query;
    static int changingQuery;
    static REX::SliceInfo changed;
    REX::Functions functions = standInFunctions();
    functions.REXGetSliceInfo = [](REX::Handle, std::int32_t index, std::int32_t, REX::SliceInfo* info) {
        *info = ++query == changingQuery ? changed : REX::SliceInfo{index * 15360, 10};
        return std::int32_t{1};
    };
    library = libraryOf(functions);
    const auto syncingWith = [&](int at, REX::SliceInfo slice) {
        query = 0;
        changingQuery = at;
        changed = slice;
        return syncing(REXLoop(1, {{0, 10}, {15360, 10}}));
    };
    EXPECT_EQ(syncingWith(0, {}), "success");
    EXPECT_EQ(syncingWith(3, {0, 11}), badFormat("Slice 0 has changed"));
    EXPECT_EQ(syncingWith(3, {100, 10}), badFormat("Slice 0 has changed"));
    EXPECT_EQ(syncingWith(4, {15360, largest}), badFormat("Slice 1 has changed"));
    EXPECT_EQ(syncingWith(4, {-1, 10}), badFormat("Slice 1 has changed"));
    EXPECT_EQ(StandIn::OpenLoops(), 0U);
}

TEST_F(REXDamagedLoopsTest, Files_that_are_no_loop_are_the_librarys_to_refuse) {
    const std::string damaged = badFormat("Can't create REX handle: the file is damaged (106)");
    EXPECT_EQ(told(rex("").sync()), damaged);
    EXPECT_EQ(told(rex("x").sync()), damaged);
    EXPECT_EQ(told(rex(std::string(100'000, 'x')).sync()), damaged);
    const std::string whole = REXLoop(1, {{0, 10}, {64, 10}}).bytes();
    for (std::size_t size = 0; size < whole.size(); ++size) {
        ASSERT_EQ(told(rex(whole.substr(0, size)).sync()), damaged) << size;
    }
}

TEST_F(REXDamagedLoopsTest, A_file_that_cannot_be_read_is_the_files_error) {
    REX::Decoder missing(directory / u8"missing.rx2", library);
    EXPECT_EQ(told(missing.sync()), "File 2: Error opening file");
    EXPECT_EQ(StandIn::TakeCalls(), "");
    REX::Decoder folder(directory / u8".", library);
    const Result result = folder.sync();
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().category(), "File");
    EXPECT_EQ(StandIn::OpenLoops(), 0U);
}

TEST_F(REXDamagedLoopsTest, A_file_larger_than_the_library_can_be_told_is_refused_unread) {
    Stream& stream = rex("");
    std::filesystem::resize_file(directory.path() / "a.rx2", 0x80000000U);
    const WithoutMemory none(1U << 20U);
    EXPECT_EQ(told(stream.sync()), badFormat("File of 2147483648 bytes, at most 2147483647"));
}

TEST_F(REXDamagedLoopsTest, Without_the_library_no_file_is_read) {
    library = std::make_shared<REX::Library>(
        [](REX::Functions&, std::shared_ptr<Util::Module>&) { return REX::LibraryNotFound; });
    Stream& stream = rex("");
    std::filesystem::resize_file(directory.path() / "a.rx2", 0x40000000U);
    const WithoutMemory none(1U << 20U);
    EXPECT_EQ(told(stream.sync()), badFormat("Can't create REX handle: the REX library was not found (103)"));
}

TEST_F(REXDamagedLoopsTest, Numbers_at_random_give_a_loop_or_an_error) {
    std::mt19937 random(20261);
    const std::vector<std::int32_t> numbers{smallest, -1,    0,      1,       2,          3,
                                            64,       1'000, 44'100, 120'000, 67'108'865, largest};
    const auto any = [&] { return numbers[random() % numbers.size()]; };
    int good = 0;
    for (int round = 0; round < 2000; ++round) {
        REXLoop loop(1 + static_cast<int>(random() % 2), {});
        const std::size_t count = random() % 4;
        for (std::size_t i = 0; i < count; ++i) {
            loop.slices.push_back({any() % 100'000, any() % 3'000, 1});
        }
        loop.with(REXLoop::SliceCount, static_cast<std::int32_t>(count));
        loop.with(static_cast<REXLoop::Field>(random() % 9), any());
        if (random() % 4 == 0) {
            loop.slices.push_back({any(), any(), 1});
        }
        if (syncing(loop) == "success") {
            ++good;
            ASSERT_LE(decoder->totalFrames(), REX::Decoder::mostFrames);
            samples();
        }
    }
    EXPECT_GT(good, 100);
    EXPECT_LT(good, 1900);
}

} // namespace
