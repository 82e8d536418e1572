#pragma once

namespace Audio::Sound {

/// Brings up on the calling thread what the platform's decoders leave to their callers, and leaves it up
/// until the thread ends. Once for a thread, before it reads.
void prepareThread();

} // namespace Audio::Sound
