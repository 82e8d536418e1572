#include "support/TrivialEffect.h"

#include <cstring>

namespace {

/// Five programs; the third has no name. Each sets the gain to a value of its own. Starts with program 3 of 0
/// to 4.
class FivePrograms : public TrivialEffect {
public:
    explicit FivePrograms(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "Five Programs";
        effect.uniqueID = fourLetters("Pr05");
        effect.numPrograms = 5;
    }

protected:
    std::intptr_t dispatch(
        std::int32_t opcode, std::int32_t index, std::intptr_t value, void* pointer, float opt) override {
        switch (opcode) {
        case effGetProgram:
            return m_current;
        case effSetProgram:
            m_current = static_cast<std::int32_t>(value);
            setParameter(0, 0.125f * static_cast<float>(value));
            return 0;
        case effGetProgramName:
            std::strcpy(static_cast<char*>(pointer), names[m_current]);
            return 0;
        default:
            return TrivialEffect::dispatch(opcode, index, value, pointer, opt);
        }
    }

private:
    static constexpr const char* names[] = {"First", "Second", "", "Fourth", "Fifth"};
    std::int32_t m_current = 3;
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new FivePrograms(host))->abi();
}
