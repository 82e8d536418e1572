#include "support/TrivialEffect.h"

#include <string>
#include <windows.h>

namespace {

/// Writes four megabytes to standard output and to standard error while it opens.
class FloodsStdout : public TrivialEffect {
public:
    explicit FloodsStdout(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "Floods stdout";
        effect.uniqueID = fourLetters("Flod");
    }

protected:
    std::intptr_t dispatch(
        std::int32_t opcode, std::int32_t index, std::intptr_t value, void* pointer, float opt) override {
        if (opcode == effOpen) {
            const std::string line(1023, 'x');
            const std::string text = line + '\n';
            for (int i = 0; i < 4096; ++i)
                for (const DWORD stream : {STD_OUTPUT_HANDLE, STD_ERROR_HANDLE}) {
                    DWORD written = 0;
                    WriteFile(
                        GetStdHandle(stream), text.data(), static_cast<DWORD>(text.size()), &written,
                        nullptr);
                }
        }
        return TrivialEffect::dispatch(opcode, index, value, pointer, opt);
    }
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new FloodsStdout(host))->abi();
}
