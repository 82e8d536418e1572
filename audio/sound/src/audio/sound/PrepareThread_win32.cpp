#include "audio/sound/PrepareThread.h"

#include <windows.h>

#include <objbase.h>

namespace Audio::Sound {

void prepareThread() {
    // Not an apartment of its own: nobody here would serve its messages. Where COM does not come up, the
    // decoders that need it say so of each file, and the others read theirs.
    static_cast<void>(CoInitializeEx(nullptr, COINIT_MULTITHREADED));
}

} // namespace Audio::Sound
