#include "support/Record.h"
#include "support/TrivialEffect.h"

namespace {

/// Writes down, a line each, everything that a host does to it: "entry", "dispatch OPCODE INDEX VALUE OPT",
/// "process FRAMES", "setParameter INDEX", "getParameter INDEX".
class RecordsEveryOpcode : public TrivialEffect {
public:
    explicit RecordsEveryOpcode(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "Records Every Opcode";
        effect.uniqueID = fourLetters("Reco");
        effect.numPrograms = 3;
    }

protected:
    std::intptr_t dispatch(
        std::int32_t opcode, std::int32_t index, std::intptr_t value, void* pointer, float opt) override {
        record(
            "dispatch %d %d %lld %g", static_cast<int>(opcode), static_cast<int>(index),
            static_cast<long long>(value), static_cast<double>(opt));
        return TrivialEffect::dispatch(opcode, index, value, pointer, opt);
    }

    void process(float** inputs, float** outputs, std::int32_t frames) override {
        record("process %d", static_cast<int>(frames));
        TrivialEffect::process(inputs, outputs, frames);
    }

    void setParameter(std::int32_t index, float value) override {
        record("setParameter %d", static_cast<int>(index));
        TrivialEffect::setParameter(index, value);
    }

    float getParameter(std::int32_t index) override {
        record("getParameter %d", static_cast<int>(index));
        return TrivialEffect::getParameter(index);
    }
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    record("entry");
    return (new RecordsEveryOpcode(host))->abi();
}
