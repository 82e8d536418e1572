// A host of plug-ins is given states from anywhere, one after the other: it holds what the last readable one
// names, makes a plug-in only when another is named, and writes states that it takes back.

#include "Require.h"
#include "hosting/ElementHostImpl.h"
#include "hosting/FakeEffect.h"
#include "hosting/PluginHost.h"
#include "protocol/PluginIdentifier.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using Tarvik::PluginHost;
using Tarvik::PluginIdentifier;

/// Makes plug-ins of one library: what else a state names is not this test's to load.
class OneLibrary final : public Tarvik::PluginInstantiator {
public:
    explicit OneLibrary(const String& path) : path_(path) {}

    bool Instantiate(Tarvik::PluginInstantiatorHandler* handler) override {
        ++instantiations;
        if (host->GetIdentifier().vstPath == path_) {
            handler->InstantiatePlugin(this);
        }
        return true;
    }
    void Destroy(Tarvik::PluginInstantiatorHandler* handler) override { handler->DestroyPlugin(this); }
    void* GetTestableDSPHost() override { return nullptr; }

    PluginHost* host = nullptr;
    int instantiations = 0;

private:
    const String& path_;
};

std::vector<std::uint8_t> stateOf(const PluginHost& host) {
    std::vector<std::uint8_t> bytes(host.GetExtraBytesSize() + 1, 0xAB);
    host.GetExtraBytes(bytes);
    REQUIRE(std::ranges::count(bytes, 0xAB) == static_cast<std::ptrdiff_t>(bytes.size()));
    bytes.pop_back();
    host.GetExtraBytes(bytes);
    return bytes;
}

/// The identifier that the bytes begin with; false where they begin with none.
bool readIdentifier(const std::vector<std::uint8_t>& bytes, PluginIdentifier& identifier) {
    if (bytes.size() < 4) {
        return false;
    }
    std::uint32_t length = 0;
    for (std::size_t i = 4; i-- > 0;) {
        length = length << 8U | bytes[i];
    }
    if (length > bytes.size() - 4) {
        return false;
    }
    // A text ends at its first NUL, wherever the next thing begins.
    const std::string text(bytes.begin() + 4, bytes.begin() + 4 + static_cast<std::ptrdiff_t>(length));
    return identifier.FromString(text.c_str());
}

void setState(PluginHost& host, const OneLibrary& library, const std::vector<std::uint8_t>& bytes) {
    PluginIdentifier expected = host.GetIdentifier();
    int instantiations = library.instantiations;
    if (bytes.empty()) {
        expected = {};
        ++instantiations;
    } else if (PluginIdentifier named; readIdentifier(bytes, named) && !(named == expected)) {
        expected = named;
        ++instantiations;
    }
    host.SetExtraBytes(bytes.data(), static_cast<std::uint32_t>(bytes.size()), false);
    REQUIRE(host.GetIdentifier().ToString() == expected.ToString());
    REQUIRE(library.instantiations == instantiations);
    if (host.GetIdentifier().format != Tarvik::PluginFormat::VST) {
        REQUIRE(host.GetPlugin() == nullptr);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    FakeEffect effect;
    effect.parameters.assign(input.ConsumeIntegralInRange<std::size_t>(0, 8), 0.5F);
    const String path = LetLibraryCreate(effect);
    OneLibrary library(path);
    Tarvik::ElementHostImpl elementHost;
    PluginHost host(&elementHost, 44100.0F, &library, "Vendor", "Product");
    library.host = &host;
    const std::string own = PluginIdentifier::ForVST(path, 0).ToString().toStdString();

    for (int i = 0; i < 8 && input.remaining_bytes() != 0; ++i) {
        std::vector<std::uint8_t> state;
        if (input.ConsumeBool()) {
            // The name of the one plug-in, and what else the input has for it.
            state = {
                static_cast<std::uint8_t>(own.size()), static_cast<std::uint8_t>(own.size() >> 8U), 0, 0};
            state.insert(state.end(), own.begin(), own.end());
        }
        const auto more = input.ConsumeBytes<std::uint8_t>(input.ConsumeIntegral<std::uint8_t>());
        state.insert(state.end(), more.begin(), more.end());
        setState(host, library, state);

        const std::vector<std::uint8_t> saved = stateOf(host);
        // Not every code survives its own text form.
        PluginIdentifier again;
        if (again.FromString(host.GetIdentifier().ToString()) && again == host.GetIdentifier()) {
            const int instantiations = library.instantiations;
            setState(host, library, saved);
            REQUIRE(library.instantiations == instantiations);
            REQUIRE(stateOf(host) == saved);
        }
    }
    return 0;
}
