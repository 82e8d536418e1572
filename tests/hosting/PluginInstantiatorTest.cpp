#include "hosting/PluginInstantiator.h"

#include "support/VirtualSlot.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace Tarvik {

// Nobody deletes through these: the operations begin the table.

TEST(PluginInstantiator, Its_operations_stand_in_this_order) {
    EXPECT_EQ(
        virtualSlots(
            &PluginInstantiator::Instantiate, &PluginInstantiator::Destroy,
            &PluginInstantiator::GetTestableDSPHost),
        slotsFrom(0, 3));
    static_assert(!std::has_virtual_destructor_v<PluginInstantiator>);
    static_assert(!std::is_destructible_v<PluginInstantiator>);
    static_assert(sizeof(PluginInstantiator) == sizeof(void*));
}

TEST(PluginInstantiatorHandler, Its_operations_stand_in_this_order) {
    EXPECT_EQ(
        virtualSlots(
            &PluginInstantiatorHandler::InstantiatePlugin, &PluginInstantiatorHandler::DestroyPlugin),
        slotsFrom(0, 2));
    static_assert(!std::has_virtual_destructor_v<PluginInstantiatorHandler>);
    static_assert(!std::is_destructible_v<PluginInstantiatorHandler>);
    static_assert(sizeof(PluginInstantiatorHandler) == sizeof(void*));
}

} // namespace Tarvik
