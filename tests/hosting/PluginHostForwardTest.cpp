// What the element asks of its plug-in, whatever format that has.

#include "hosting/PluginHostFixture.h"
#include "svbase/util/Exception.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace Tarvik {
namespace {

using testing::ElementsAre;

/// Answers what a test wants and notes what it is asked.
class ScriptedPlugin final : public Plugin {
public:
    ScriptedPlugin() : Plugin(44100.0F, 0) {}

    std::vector<std::string> notes;
    std::vector<std::uint8_t> state;
    checked_value<std::uint32_t> delay;
    bool randomAccess = false;
    bool rendered = false;
    DSP::RandomAccessHost* askedBy = nullptr;
    DSP::RandomAccessHost* renderedBy = nullptr;
    /// Its state throws what a stream throws, after it has given what it has.
    bool failing = false;

    bool IsValid() const override { return true; }
    std::uint32_t GetFormat() const override { return 0; }
    PluginIdentifier GetIdentifier() const override { return {}; }
    String GetName() const override { return ""; }
    std::uint32_t GetLatency() const override { return 77; }
    void Idle() override { notes.emplace_back("idle"); }
    OptionalBool HasEditor() const override { return {}; }
    void GetEditorSize(std::uint32_t&, std::uint32_t&) override {}
    bool OpenEditor(NativeWindow, std::int32_t, std::int32_t) override { return false; }
    void CloseEditor() override {}
    std::uint32_t GetNumParameters() const override { return 0; }
    String GetParameterName(std::uint32_t) const override { return ""; }
    ParameterInfo GetParameterInfo(std::uint32_t) const override { return {}; }
    String GetParameterUnits(std::uint32_t) const override { return ""; }
    bool IsParameterQuantised(std::uint32_t) const override { return false; }
    String GetParameterDisplay(std::uint32_t, std::uint32_t) const override { return ""; }
    float GetParameterValue(std::uint32_t, std::uint32_t) const override { return 0.0F; }
    void SetParameterValue(std::uint32_t, std::uint32_t, float) override {}
    void GetState(std::int32_t stream, std::vector<std::uint8_t>& out) const override {
        EXPECT_EQ(stream, 1);
        out = state;
        FailIfAsked();
    }
    bool SetState(std::uint32_t stream, std::uint32_t size, const void* data) override {
        const auto* first = static_cast<const std::uint8_t*>(data);
        EXPECT_EQ(stream, 1U);
        state.assign(first, first + size);
        FailIfAsked();
        return true;
    }
    void Reset() override { notes.emplace_back("reset"); }
    bool SupportsRealTime() const override { return true; }
    void Process(std::uint32_t frames, std::uint32_t channels, float** buffers) override {
        notes.push_back("process " + std::to_string(frames) + " " + std::to_string(channels));
        buffers[0][0] = 5.0F;
    }
    checked_value<std::uint32_t> GetReportedDelay() const override { return delay; }
    bool SupportsRandomAccess(DSP::RandomAccessHost* renderer) const override {
        const_cast<ScriptedPlugin*>(this)->askedBy = renderer;
        return randomAccess;
    }
    bool ProcessRandomAccess(DSP::RandomAccessHost* renderer) override {
        renderedBy = renderer;
        return rendered;
    }

private:
    void UpdateTransport(const DSP::TransportRecord& transport) override {
        notes.push_back("position " + std::to_string(transport.position.value));
    }
    void FailIfAsked() const {
        if (failing) {
            THROW_HERE(Util::Exception::DataStreamIO, "Can't read 12 bytes");
        }
    }
};

// Where the element holds its plug-in, which only an explicit instantiation may name: what it makes itself is
// of the formats that it knows.
std::shared_ptr<Plugin>& pluginOf(PluginHost& host);
template<auto Held>
struct PrivatePlugin {
    friend std::shared_ptr<Plugin>& pluginOf(PluginHost& host) { return host.*Held; }
};
template struct PrivatePlugin<&PluginHost::plugin>;

class PluginHostForwardTest : public PluginHostFixture {
protected:
    void SetUp() override { pluginOf(*host) = plugin; }

    std::shared_ptr<ScriptedPlugin> plugin = std::make_shared<ScriptedPlugin>();
    int place = 0;
    DSP::RandomAccessHost* const renderer = reinterpret_cast<DSP::RandomAccessHost*>(&place);
};

TEST_F(PluginHostForwardTest, Latency_and_measured_delay_are_the_plugins) {
    EXPECT_EQ(host->GetLatency(0), 77U);
    EXPECT_FALSE(host->GetReportedDelay().valid);
    plugin->delay = 12U;
    EXPECT_EQ(host->GetReportedDelay(), checked_value<std::uint32_t>(12U));
    pluginOf(*host) = nullptr;
    EXPECT_EQ(host->GetLatency(0), 0U);
    EXPECT_FALSE(host->GetReportedDelay().valid);
}

TEST_F(PluginHostForwardTest, A_block_tells_the_transport_and_then_processes_one_channel) {
    DSP::TransportRecord transport;
    transport.mode = 1U;
    transport.position = std::int64_t{4711};
    elementHost.SetTransport(transport);
    float samples[] = {1, 2, 3};
    float* channels[] = {samples};
    host->Process(3, channels);
    EXPECT_THAT(plugin->notes, ElementsAre("reset", "position 4711", "process 3 1"));
    EXPECT_THAT(samples, ElementsAre(5, 2, 3));
    plugin->notes.clear();
    host->Process(2, channels);
    EXPECT_THAT(plugin->notes, ElementsAre("position 4711", "process 2 1")) << "the mode is the same";
}

TEST_F(PluginHostForwardTest, Reset_and_idle_are_the_plugins) {
    host->ForceReset();
    host->Idle();
    EXPECT_THAT(plugin->notes, ElementsAre("reset", "idle"));
}

TEST_F(PluginHostForwardTest, A_plugin_that_renders_by_itself_is_asked_to_and_its_answer_counts) {
    plugin->randomAccess = true;
    for (const bool rendered : {false, true}) {
        plugin->rendered = rendered;
        plugin->renderedBy = nullptr;
        EXPECT_EQ(host->ProcessRandomAccess(renderer), rendered);
        EXPECT_EQ(plugin->askedBy, renderer);
        EXPECT_EQ(plugin->renderedBy, renderer);
    }
}

TEST_F(PluginHostForwardTest, A_plugin_that_cannot_render_by_itself_is_not_asked_to) {
    plugin->rendered = true;
    EXPECT_FALSE(host->ProcessRandomAccess(renderer));
    EXPECT_EQ(plugin->askedBy, renderer);
    EXPECT_EQ(plugin->renderedBy, nullptr);
}

TEST_F(PluginHostForwardTest, A_stream_that_fails_in_the_plugin_leaves_the_state_at_the_identifier) {
    plugin->state = {1, 2, 3};
    const std::vector<std::uint8_t> whole = State();
    EXPECT_THAT(whole, ElementsAre(4, 0, 0, 0, 'N', 'o', 'n', 'e', 1, 2, 3));
    plugin->failing = true;
    EXPECT_THAT(State(), ElementsAre(4, 0, 0, 0, 'N', 'o', 'n', 'e'));
    plugin->state.clear();
    SetState(whole);
    EXPECT_THAT(plugin->state, ElementsAre(1, 2, 3)) << "it was tried, and the failure goes no further";
    EXPECT_EQ(host->GetPlugin(), plugin.get());
}

TEST_F(PluginHostForwardTest, Without_bytes_of_its_own_a_plugin_is_given_no_state) {
    plugin->state = {9};
    SetState({4, 0, 0, 0, 'N', 'o', 'n', 'e'});
    EXPECT_THAT(plugin->state, ElementsAre(9));
}

} // namespace
} // namespace Tarvik
