#include "audio/sound/PrepareThread.h"

namespace Audio::Sound {

void prepareThread() {}

} // namespace Audio::Sound
