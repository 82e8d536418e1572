#pragma once

#include "hosting/dx/CBaseObject_win32.h"
#include "hosting/dx/ComTest_win32.h"
#include "hosting/dx/WatchedPlatform_win32.h"

#include "directx/Ledger.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

/// A graph on a platform that tells what is done with it.
class DXFilterGraphTest : public testing::Test {
protected:
    static constexpr std::uint32_t mono = 0;
    static constexpr std::uint32_t stereo = 1;

    DXFilterGraphTest() { TestFilters::Ledger::Instance().Clear(); }

    /// What was called, without what the platform has a plug-in do on the way from one state to another.
    std::vector<std::string> Calls() const {
        std::vector<std::string> calls = platform->calls;
        std::erase_if(calls, [](const std::string& call) {
            return call == "allocator 2: Commit" || call == "allocator 2: Decommit";
        });
        return calls;
    }

    /// Every object of everybody has gone, with all its references.
    void ExpectAllSettled() const {
        EXPECT_THAT(UnsettledAccounts(), testing::IsEmpty());
        EXPECT_EQ(platform->unsettled, 0);
        EXPECT_EQ(Tarvik::CBaseObject::ObjectsActive(), ownObjectsBefore);
    }

    ComApartment com;
    std::optional<WatchedPlatform> platform = std::make_optional<WatchedPlatform>();
    long ownObjectsBefore = Tarvik::CBaseObject::ObjectsActive();

private:
    /// What went wrong with the references of any object, in words.
    static std::vector<std::string> UnsettledAccounts() {
        std::vector<std::string> unsettled;
        for (const auto& [name, account] : TestFilters::Ledger::Instance().Accounts()) {
            if (!account.IsSettled()) {
                unsettled.push_back(
                    name + ": made " + std::to_string(account.made) + ", destroyed " +
                    std::to_string(account.destroyed) + ", added " + std::to_string(account.addRefs) +
                    ", released " + std::to_string(account.releases));
            }
        }
        return unsettled;
    }
};
