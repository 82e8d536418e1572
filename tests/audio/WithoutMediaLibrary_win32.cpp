#include "audio/WithoutMediaLibrary.h"

#include "audio/decode/MediaLibrary_win32.h"

struct WithoutMediaLibrary::Hidden {
    Audio::Decode::WMA::MediaLibrary::Substitute nothing{nullptr};
};

WithoutMediaLibrary::WithoutMediaLibrary() : hidden(std::make_unique<Hidden>()) {}
WithoutMediaLibrary::~WithoutMediaLibrary() = default;
