#include "support/TrivialEffect.h"

__declspec(dllimport) int functionOfAnAbsentLibrary();

/// Needs a library that is nowhere: the system refuses to load this one.
TEST_PLUGIN_ENTRY(host) {
    return functionOfAnAbsentLibrary() ? (new TrivialEffect(host))->abi() : nullptr;
}
