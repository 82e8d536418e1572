#pragma once

#include "hosting/ElementHostImpl.h"
#include "hosting/FakeEffect.h"
#include "hosting/PluginHost.h"
#include "protocol/PluginIdentifier.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace Tarvik {

/// Does the work at once on the calling thread, and tells a test of it.
class TestInstantiator final : public PluginInstantiator {
public:
    bool Instantiate(PluginInstantiatorHandler* host) override {
        handler = host;
        ++instantiations;
        if (meanwhile) {
            meanwhile();
        }
        handler->InstantiatePlugin(this);
        return true;
    }
    void Destroy(PluginInstantiatorHandler* host) override {
        ++destructions;
        if (beforeDestroy) {
            beforeDestroy();
        }
        host->DestroyPlugin(this);
    }
    void* GetTestableDSPHost() override { return nullptr; }

    /// The last that asked for a plug-in.
    PluginInstantiatorHandler* handler = nullptr;
    int instantiations = 0;
    int destructions = 0;
    /// Before the work is done.
    std::function<void()> meanwhile;
    std::function<void()> beforeDestroy;
};

/// A plug-in host on an element host of its own.
class PluginHostFixture : public testing::Test {
protected:
    /// Makes the host hold this effect, turned on.
    void Hold(FakeEffect& fake, bool scanOnly = false) {
        host->SetIdentifier(PluginIdentifier::ForVST(LetLibraryCreate(fake), 0));
        host->ChangePlugin(scanOnly);
    }

    std::vector<std::uint8_t> State() const {
        std::vector<std::uint8_t> bytes(host->GetExtraBytesSize());
        host->GetExtraBytes(bytes);
        return bytes;
    }

    void SetState(const std::vector<std::uint8_t>& bytes) {
        host->SetExtraBytes(bytes.data(), static_cast<std::uint32_t>(bytes.size()), false);
    }

    /// What another thread's block of one sample, of value 1, becomes.
    static float ProcessElsewhere(DSP::Element& element) {
        float sample = 1.0F;
        std::thread([&] {
            float* channels[] = {&sample};
            element.Process(1, channels);
        }).join();
        return sample;
    }

    FakeEffect effect;
    ElementHostImpl elementHost;
    TestInstantiator instantiator;
    std::unique_ptr<PluginHost> host =
        std::make_unique<PluginHost>(&elementHost, 44100.0F, &instantiator, "Vendor", "Product");
};

} // namespace Tarvik
