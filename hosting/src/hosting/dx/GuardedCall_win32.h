#pragma once

#include "hosting/ForeignCall.h"
#include "hosting/dx/DirectShow_win32.h"

namespace Tarvik {

/// What a foreign call answers, for callers that nothing may be thrown through: E_UNEXPECTED when it throws.
/// [any]
template<class Call>
HRESULT guardedCall(Call call) noexcept {
    try {
        return callForeign(call);
    } catch (...) {
        return E_UNEXPECTED;
    }
}

} // namespace Tarvik
