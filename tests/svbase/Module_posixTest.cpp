#include "svbase/util/Module.h"

#include <cmath>
#include <dlfcn.h>
#include <gtest/gtest.h>

namespace {

/// A library of the system that no test program links.
const char* const library = "libBrokenLocale.so.1";

bool isInProcess(const char* name) {
    void* const handle = dlopen(name, RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) {
        dlclose(handle);
    }
    return handle != nullptr;
}

TEST(Module, Loads_on_request_and_frees_at_its_end) {
    ASSERT_FALSE(isInProcess(library));
    {
        Util::Module module(library);
        EXPECT_EQ(module.path(), library);
        EXPECT_FALSE(module.isLoaded());
        EXPECT_FALSE(isInProcess(library));
        EXPECT_EQ(module.find("__ctype_get_mb_cur_max"), nullptr) << "nothing is loaded";
        EXPECT_TRUE(module.load());
        EXPECT_TRUE(module.load()) << "already loaded";
        EXPECT_TRUE(module.isLoaded());
        EXPECT_TRUE(isInProcess(library));
        EXPECT_NE(module.find("__ctype_get_mb_cur_max"), nullptr);
        EXPECT_EQ(module.find("no_such_function"), nullptr);
    }
    EXPECT_FALSE(isInProcess(library));
}

TEST(Module, Stays_in_the_process_when_kept_loaded) {
    // Another library than above: this one stays for the rest of the process.
    const char* const kept = "libanl.so.1";
    {
        Util::Module module(kept);
        EXPECT_FALSE(module.isKeptLoaded());
        ASSERT_TRUE(module.load());
        module.setKeepLoaded(true);
        EXPECT_TRUE(module.isKeptLoaded());
    }
    EXPECT_TRUE(isInProcess(kept));
}

TEST(Module, Functions_can_be_called) {
    Util::Module module("libm.so.6");
    ASSERT_TRUE(module.load());
    const auto cosine = module.function<double (*)(double)>("cos");
    ASSERT_NE(cosine, nullptr);
    EXPECT_EQ(cosine(0.0), 1.0);
}

TEST(Module, A_missing_library_does_not_load) {
    Util::Module module("/no/such/library.so");
    EXPECT_FALSE(module.load());
    EXPECT_FALSE(module.isLoaded());
    EXPECT_EQ(module.find("anything"), nullptr);
}

} // namespace
