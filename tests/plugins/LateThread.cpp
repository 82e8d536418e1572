#include "support/TrivialEffect.h"

#include <thread>
#include <windows.h>

// A thread of the library's own that writes through a null pointer. TEST_DELAY_MS is how long it waits first,
// and TEST_JOIN whether effGetEffectName waits for it.

namespace {

void crash() {
    Sleep(TEST_DELAY_MS);
    volatile int* volatile nowhere = nullptr;
    *nowhere = 1;
}

class LateThread : public TrivialEffect {
public:
    explicit LateThread(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "Late Thread";
        effect.uniqueID = fourLetters("Late");
    }

protected:
    std::intptr_t dispatch(
        std::int32_t opcode, std::int32_t index, std::intptr_t value, void* pointer, float opt) override {
        if (opcode == effOpen)
            m_thread = std::thread(crash);
        if (opcode == effGetEffectName && TEST_JOIN)
            m_thread.join();
        if (opcode == effClose && m_thread.joinable())
            m_thread.detach();
        return TrivialEffect::dispatch(opcode, index, value, pointer, opt);
    }

private:
    std::thread m_thread;
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new LateThread(host))->abi();
}
