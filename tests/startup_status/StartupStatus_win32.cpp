// Linked into a second scanner, whose status the environment sets before the main function begins.

#include <cstdint>
#include <cstdlib>

extern std::int32_t startupStatus;

namespace {

const bool isSet = [] {
    if (const char* status = std::getenv("TARVIK_TEST_STARTUP_STATUS")) {
        startupStatus = std::atoi(status);
    }
    return true;
}();

} // namespace
