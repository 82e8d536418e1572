#include "support/Record.h"
#include "support/TrivialEffect.h"

#include <windows.h>

#include <ole2.h>

namespace {

/// Writes down, a line each, what its process was prepared with by the time that it is opened: "errorMode
/// BITS", "ole RESULT", the result of initialising OLE once more on this thread, in hexadecimal.
class RecordsItsProcess : public TrivialEffect {
public:
    explicit RecordsItsProcess(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "Records Its Process";
        effect.uniqueID = fourLetters("RePr");
    }

protected:
    std::intptr_t dispatch(
        std::int32_t opcode, std::int32_t index, std::intptr_t value, void* pointer, float opt) override {
        if (opcode == effOpen) {
            record("errorMode %u", GetErrorMode());
            const HRESULT result = OleInitialize(nullptr);
            record("ole %08lx", static_cast<unsigned long>(result));
            if (SUCCEEDED(result))
                OleUninitialize();
        }
        return TrivialEffect::dispatch(opcode, index, value, pointer, opt);
    }
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new RecordsItsProcess(host))->abi();
}
