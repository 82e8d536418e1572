#include "support/TrivialEffect.h"

#include <windows.h>

namespace {

/// Opens as 320 by 200, and at the first idle call after that makes itself 400 by 300, telling nobody.
class EditorThatResizesItself : public TrivialEffect {
public:
    explicit EditorThatResizesItself(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "Editor That Resizes Itself";
        effect.uniqueID = fourLetters("EdRe");
    }

protected:
    std::intptr_t dispatch(
        std::int32_t opcode, std::int32_t index, std::intptr_t value, void* pointer, float opt) override {
        switch (opcode) {
        case effEditOpen:
            m_window = CreateWindowExW(
                0, L"STATIC", nullptr, WS_CHILD | WS_VISIBLE, 0, 0, 320, 200, static_cast<HWND>(pointer),
                nullptr, nullptr, nullptr);
            return m_window != nullptr;
        case effEditClose:
            DestroyWindow(m_window);
            m_window = nullptr;
            return 0;
        case effEditIdle:
            if (m_window) {
                editorRect = {0, 0, 300, 400};
                SetWindowPos(m_window, nullptr, 0, 0, 400, 300, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
            }
            return 0;
        default:
            return TrivialEffect::dispatch(opcode, index, value, pointer, opt);
        }
    }

private:
    HWND m_window = nullptr;
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new EditorThatResizesItself(host))->abi();
}
