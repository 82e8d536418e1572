#include "support/Record.h"

#include <cstdio>
#include <cstdlib>

void record(const char* format, ...) {
    const char* const path = std::getenv("TARVIK_TEST_PLUGIN_RECORD");
    if (!path)
        return;
    if (std::FILE* file = std::fopen(path, "ab")) {
        std::va_list arguments;
        va_start(arguments, format);
        std::vfprintf(file, format, arguments);
        va_end(arguments);
        std::fputc('\n', file);
        std::fclose(file);
    }
}
