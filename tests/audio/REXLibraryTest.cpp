#include "audio/decode/REXLibrary.h"

#include "audio/REXLoop.h"
#include "audio/decode/REXDecoder.h"
#include "svbase/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

using namespace Audio::Decode;
using REX::Functions;
using REX::Library;

class REXLibraryTest : public testing::Test {
protected:
    REXLibraryTest() { StandIn::TakeCalls(); }
};

TEST_F(REXLibraryTest, Nothing_is_loaded_until_it_is_wanted) {
    int loads = 0;
    Library library([&](Functions& functions, std::shared_ptr<Util::Module>&) {
        ++loads;
        functions = standInFunctions();
        return REX::NoError;
    });
    EXPECT_FALSE(library.IsLoaded());
    EXPECT_EQ(loads, 0);
    EXPECT_EQ(library.Load(), 1);
    EXPECT_TRUE(library.IsLoaded());
    EXPECT_EQ(library.Load(), 1);
    EXPECT_EQ(loads, 1);
    EXPECT_EQ(StandIn::TakeCalls(), "Open");
}

TEST_F(REXLibraryTest, Every_call_answers_200_while_the_library_is_absent) {
    Library library([](Functions& functions, std::shared_ptr<Util::Module>&) {
        // Not even what a failed attempt has left may be called.
        functions = standInFunctions();
        return REX::LibraryNotFound;
    });
    REX::Handle handle = nullptr;
    REX::Info info;
    REX::SliceInfo slice;
    float sample = 0;
    float* outputs[2] = {&sample, nullptr};
    for (int attempt = 0; attempt < 2; ++attempt) {
        EXPECT_EQ(library.REXCreate(&handle, "", 0, nullptr, nullptr), 200);
        EXPECT_EQ(library.REXDelete(&handle), 200);
        EXPECT_EQ(library.REXGetInfo(handle, sizeof info, &info), 200);
        EXPECT_EQ(library.REXGetInfoFromBuffer(0, "", sizeof info, &info), 200);
        EXPECT_EQ(library.REXGetCreatorInfo(handle, 0, nullptr), 200);
        EXPECT_EQ(library.REXGetSliceInfo(handle, 0, sizeof slice, &slice), 200);
        EXPECT_EQ(library.REXSetOutputSampleRate(handle, 44100), 200);
        EXPECT_EQ(library.REXRenderSlice(handle, 0, 1, outputs), 200);
        EXPECT_EQ(library.REXStartPreview(handle), 200);
        EXPECT_EQ(library.REXStopPreview(handle), 200);
        EXPECT_EQ(library.REXRenderPreviewBatch(handle, 1, outputs), 200);
        EXPECT_EQ(library.REXSetPreviewTempo(handle, 120'000), 200);
        EXPECT_EQ(library.Load(), 103);
        EXPECT_FALSE(library.IsLoaded());
    }
    EXPECT_EQ(StandIn::TakeCalls(), "");
}

TEST_F(REXLibraryTest, Calls_go_to_the_function_of_their_name) {
    Functions functions = standInFunctions();
    functions.REXGetInfoFromBuffer = [](std::int32_t bufferSize, const char*, std::int32_t size, REX::Info*) {
        return bufferSize * 1000 + size;
    };
    functions.REXGetCreatorInfo = [](REX::Handle, std::int32_t size, REX::CreatorInfo*) { return size + 1; };
    functions.REXSetOutputSampleRate = [](REX::Handle, std::int32_t rate) { return rate + 2; };
    functions.REXStartPreview = [](REX::Handle) { return 3; };
    functions.REXStopPreview = [](REX::Handle) { return 4; };
    functions.REXRenderPreviewBatch = [](REX::Handle, std::int32_t frames, float* [2]) { return frames + 5; };
    functions.REXSetPreviewTempo = [](REX::Handle, std::int32_t tempo) { return tempo + 6; };
    const auto library = libraryOf(functions);
    ASSERT_EQ(library->Load(), 1);
    EXPECT_EQ(library->REXGetInfoFromBuffer(7, "", 36, nullptr), 7036);
    EXPECT_EQ(library->REXGetCreatorInfo(nullptr, 20, nullptr), 21);
    EXPECT_EQ(library->REXSetOutputSampleRate(nullptr, 44100), 44102);
    EXPECT_EQ(library->REXStartPreview(nullptr), 3);
    EXPECT_EQ(library->REXStopPreview(nullptr), 4);
    EXPECT_EQ(library->REXRenderPreviewBatch(nullptr, 30, nullptr), 35);
    EXPECT_EQ(library->REXSetPreviewTempo(nullptr, 40), 46);
}

TEST_F(REXLibraryTest, Its_end_closes_what_it_has_opened_and_nothing_else) {
    libraryOf(standInFunctions()).reset();
    EXPECT_EQ(StandIn::TakeCalls(), "");
    auto library = libraryOf(standInFunctions());
    ASSERT_EQ(library->Load(), 1);
    library.reset();
    EXPECT_EQ(StandIn::TakeCalls(), "Open, Close");
}

TEST_F(REXLibraryTest, Decoders_on_many_threads_load_it_once_and_call_it_one_at_a_time) {
    const TemporaryDirectory directory;
    const String path = directory.file(u8"a.rx2", REXLoop(2, {{0, 900, 3}, {600, 900, 4}}).bytes());
    int loads = 0;
    {
        const auto library =
            std::make_shared<Library>([&](Functions& functions, std::shared_ptr<Util::Module>&) {
                ++loads;
                functions = standInFunctions();
                return REX::NoError;
            });
        std::vector<std::thread> threads;
        std::vector<int> synced(4);
        for (int& count : synced) {
            threads.emplace_back([&] {
                for (int i = 0; i < 20; ++i) {
                    REX::Decoder decoder(path, library);
                    count += decoder.sync() ? 1 : 0;
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(synced, std::vector<int>(4, 20));
    }
    EXPECT_EQ(loads, 1);
    EXPECT_EQ(StandIn::OpenLoops(), 0U);
    const std::string calls = StandIn::TakeCalls();
    EXPECT_EQ(calls.substr(0, 5), "Open,");
    EXPECT_EQ(calls.substr(calls.size() - 7), ", Close");
}

} // namespace
