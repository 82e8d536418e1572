#include "audio/WithoutMediaLibrary.h"

struct WithoutMediaLibrary::Hidden {};

WithoutMediaLibrary::WithoutMediaLibrary() = default;
WithoutMediaLibrary::~WithoutMediaLibrary() = default;
