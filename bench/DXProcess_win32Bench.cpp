// What a block of stereo through a DirectX filter costs, in multiples of the interleaving and deinterleaving
// alone that every such filter asks for: the gain of the tests, once in the sample that came and once with a
// sample of its own. Beside the latter stands what the platform takes to hand out such a sample and to take
// it back: the filter asks for it, and this host leaves it to the platform.

#include "RatioTable.h"

#include "directx/TestFactory.h"
#include "hosting/dx/ComPointer_win32.h"
#include "hosting/dx/DXPlugin.h"
#include "hosting/dx/Interleave.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace Tarvik;

constexpr std::uint32_t stereo = 1;

/// Throws, so that what is registered goes with whatever fails.
void require(HRESULT answer, const char* what) {
    if (FAILED(answer)) {
        std::array<char, 128> text{};
        std::snprintf(
            text.data(), text.size(), "%s failed with 0x%08lX", what, static_cast<unsigned long>(answer));
        throw std::runtime_error(text.data());
    }
}

/// The name that makes a class a plug-in, in the registry for as long as the object lives.
class FilterName : private noncopyable {
public:
    explicit FilterName(const std::wstring& braced) : key_(L"Filter\\" + braced) {
        constexpr wchar_t name[] = L"Benchmark";
        require(
            HRESULT_FROM_WIN32(static_cast<unsigned long>(
                RegSetKeyValueW(HKEY_CLASSES_ROOT, key_.c_str(), nullptr, REG_SZ, name, sizeof name))),
            "RegSetKeyValue");
    }
    ~FilterName() { RegDeleteTreeW(HKEY_CLASSES_ROOT, key_.c_str()); }

private:
    std::wstring key_;
};

// The same in every run: a name that a run left behind, as it was ended while it loaded, goes with the next.
constexpr CLSID copiedClass{0x9D1C57B2, 0x3E0F, 0x4C0B, {0x8E, 0x41, 0x6A, 0x55, 0x0C, 0x1B, 0xD7, 0x10}};
constexpr CLSID inPlaceClass{0x9D1C57B2, 0x3E0F, 0x4C0B, {0x8E, 0x41, 0x6A, 0x55, 0x0C, 0x1B, 0xD7, 0x11}};

/// The gain as a class of this process, in a host.
class Filter : private noncopyable {
public:
    Filter(const CLSID& id, TestFilters::Delivery delivery) {
        TestFilters::Behaviour behaviour;
        behaviour.delivery = delivery;
        const auto factory = ComPointer<TestFilters::TestFactory>::Adopt(
            new TestFilters::TestFactory([this, behaviour](REFIID iid, void** out) {
                const HRESULT answer = TestFilters::makeTestFilter(behaviour, {}, iid, out);
                ComPointer<TestFilters::IGain> gain;
                if (SUCCEEDED(answer)) {
                    queryInterface(static_cast<IUnknown*>(*out), TestFilters::gainInterface, gain);
                    // A block that loses half of itself each time would soon be denormal.
                    gain->SetGain(1.0F);
                }
                return answer;
            }));
        require(
            CoRegisterClassObject(id, factory.Get(), CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie_),
            "CoRegisterClassObject");
        std::array<wchar_t, 39> braced{};
        StringFromGUID2(id, braced.data(), static_cast<int>(braced.size()));
        // Asked for while it loads, and never after.
        const FilterName name(braced.data());
        plugin_ = std::make_unique<DXPlugin>(String::fromWide(braced.data() + 1, 36), 44100.0F, stereo);
        require(plugin_->IsValid() ? S_OK : E_FAIL, "Loading the filter");
    }
    ~Filter() {
        plugin_.reset();
        CoRevokeClassObject(cookie_);
    }

    DXPlugin& plugin() { return *plugin_; }

private:
    DWORD cookie_ = 0;
    std::unique_ptr<DXPlugin> plugin_;
};

/// Two channels of some frames.
struct Block {
    explicit Block(std::uint32_t frames) : left(frames, 0.25F), right(frames, -0.5F) {}

    std::vector<float> left;
    std::vector<float> right;
    std::array<float*, 2> channels{left.data(), right.data()};
};

void process(benchmark::State& state, std::uint32_t frames, DXPlugin& plugin) {
    Block block(frames);
    for ([[maybe_unused]] auto _ : state) {
        plugin.Process(frames, 2, block.channels.data());
        benchmark::ClobberMemory();
    }
    // The audio went through: a host that turned it down would be fast.
    require(plugin.GetReportedDelay() == checked_value(frames) ? S_OK : E_FAIL, "Process");
}

void interleaveAlone(benchmark::State& state, std::uint32_t frames) {
    Block block(frames);
    std::vector<float> interleaved(std::size_t{2} * frames);
    const std::array<const float*, 2> from{block.left.data(), block.right.data()};
    for ([[maybe_unused]] auto _ : state) {
        interleave(from, frames, interleaved.data());
        benchmark::ClobberMemory();
        deinterleave(interleaved.data(), frames, block.channels, 0);
        benchmark::ClobberMemory();
    }
}

/// As the filter asks for it.
void sampleAlone(benchmark::State& state) {
    ComPointer<IMemAllocator> allocator;
    require(
        createInstance(CLSID_MemoryAllocator, IID_IMemAllocator, allocator),
        "Making the platform's allocator");
    ALLOCATOR_PROPERTIES request{};
    request.cBuffers = 2;
    request.cbBuffer = 65536;
    request.cbAlign = 1;
    ALLOCATOR_PROPERTIES actual{};
    require(allocator->SetProperties(&request, &actual), "SetProperties");
    require(allocator->Commit(), "Commit");
    for ([[maybe_unused]] auto _ : state) {
        ComPointer<IMediaSample> sample;
        require(
            receiveObject(
                sample, [&](IMediaSample** out) { return allocator->GetBuffer(out, nullptr, nullptr, 0); }),
            "GetBuffer");
    }
    require(allocator->Decommit(), "Decommit");
}

} // namespace

int main(int argc, char** argv) {
    int result = 1;
    try {
        require(OleInitialize(nullptr), "OleInitialize");
        Filter copied(copiedClass, TestFilters::Delivery::copied);
        Filter inPlace(inPlaceClass, TestFilters::Delivery::inPlace);
        RatioTable table;
        for (const std::uint32_t frames : {64U, 512U, 4096U}) {
            const auto add = [&](const char* name, DXPlugin& plugin) {
                const std::string row = std::string(name) + ", " + std::to_string(frames);
                table.AddRow(row, frames == 512 ? 3.0 : 0.0);
                benchmark::RegisterBenchmark((row + "|ours").c_str(), [=, &plugin](benchmark::State& state) {
                    process(state, frames, plugin);
                });
                benchmark::RegisterBenchmark((row + "|interleave").c_str(), [=](benchmark::State& state) {
                    interleaveAlone(state, frames);
                });
            };
            add("gain in place", inPlace.plugin());
            add("gain", copied.plugin());
            benchmark::RegisterBenchmark(
                ("gain, " + std::to_string(frames) + "|sample").c_str(), sampleAlone);
        }
        result = RunRatioTable(argc, argv, table);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
    }
    OleUninitialize();
    return result;
}
