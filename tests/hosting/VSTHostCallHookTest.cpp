#include "hosting/vst/VSTHostCallHook.h"

#include "support/AllocationCount.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <thread>

namespace {

using Tarvik::VSTHostCall;
using Tarvik::VSTHostCallHook;

constexpr int places = 8;

/// Answers whether its context is the one that belongs to it.
template<int Place>
void answer(void* context, VSTHostCall& call) {
    call.result = *static_cast<int*>(context) == Place ? 1 : 2;
}

constexpr std::array<Tarvik::VSTHostCallHandler, places> handlers{answer<0>, answer<1>, answer<2>, answer<3>,
                                                                  answer<4>, answer<5>, answer<6>, answer<7>};

TEST(VSTHostCallHook, Has_nobody_who_answers_until_it_is_given_one) {
    VSTHostCallHook hook;
    EXPECT_EQ(hook.Get().handler, nullptr);
    int context = 0;
    hook.Set(answer<0>, &context);
    EXPECT_EQ(hook.Get().handler, &answer<0>);
    EXPECT_EQ(hook.Get().context, &context);
    hook.Set(nullptr, &context);
    EXPECT_EQ(hook.Get().handler, nullptr);
    EXPECT_EQ(hook.Get().context, &context);
}

TEST(VSTHostCallHook, Takes_memory_only_for_what_it_was_not_given_before) {
    VSTHostCallHook hook;
    const std::uint64_t start = AllocationCount();
    hook.Set(answer<0>, nullptr);
    hook.Set(answer<1>, nullptr);
    const std::uint64_t before = AllocationCount();
    EXPECT_GT(before, start);
    for (int round = 0; round < 10; ++round) {
        hook.Set(answer<0>, nullptr);
        EXPECT_EQ(hook.Get().handler, &answer<0>);
        hook.Set(answer<1>, nullptr);
        EXPECT_EQ(hook.Get().handler, &answer<1>);
    }
    EXPECT_EQ(AllocationCount(), before);
}

TEST(VSTHostCallHook, A_handler_is_never_seen_with_the_context_of_another) {
    VSTHostCallHook hook;
    std::array<int, places> contexts{0, 1, 2, 3, 4, 5, 6, 7};
    std::atomic<bool> done = false;
    std::atomic<bool> called = false;
    std::atomic<std::intptr_t> mixed = 0;
    std::thread caller([&] {
        while (!done.load(std::memory_order_relaxed)) {
            const VSTHostCallHook::Target target = hook.Get();
            if (target.handler != nullptr) {
                VSTHostCall call;
                target.handler(target.context, call);
                mixed += call.result == 1 ? 0 : 1;
                called = true;
            }
        }
    });
    for (int round = 0; round < 20000 || !called; ++round) {
        const auto place = static_cast<std::size_t>(round % places);
        hook.Set(handlers[place], &contexts[place]);
    }
    done = true;
    caller.join();
    EXPECT_EQ(mixed, 0);
}

} // namespace
