#pragma once

#include <cstdarg>

/// Appends a line to the file that the environment variable TARVIK_TEST_PLUGIN_RECORD names, and closes the
/// file again, so that the line stands there whatever happens next. Without the variable nothing happens.
/// [any]
void record(const char* format, ...) __attribute__((format(gnu_printf, 1, 2)));
