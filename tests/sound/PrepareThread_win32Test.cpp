#include "audio/sound/PrepareThread.h"

#include <gtest/gtest.h>

#include <objbase.h>
#include <thread>

namespace {

TEST(PrepareThread, A_thread_is_in_the_multithreaded_apartment_once_it_is_prepared) {
    HRESULT before = S_OK;
    HRESULT after = E_FAIL;
    APTTYPE type = APTTYPE_NA;
    std::thread([&] {
        APTTYPEQUALIFIER qualifier{};
        before = CoGetApartmentType(&type, &qualifier);
        Audio::Sound::prepareThread();
        after = CoGetApartmentType(&type, &qualifier);
    }).join();
    EXPECT_EQ(before, CO_E_NOTINITIALIZED);
    EXPECT_EQ(after, S_OK);
    EXPECT_EQ(type, APTTYPE_MTA);
}

} // namespace
