#pragma once

#include "hosting/dx/DXBasePin_win32.h"

namespace Tarvik {

/// The output pin of a source that delivers nothing of its own accord: samples are handed to whoever is
/// connected past it. The answers are those of IPin where nothing else is said. [main]
class DXSourcePin final : public DXBasePin {
public:
    /// Its name, and what it is found by.
    static constexpr const char* name = "DXSourcePin";

    explicit DXSourcePin(DXBaseFilter* owningFilter) noexcept;

    /// The type has to be given. Calls the receiver back.
    HRESULT STDMETHODCALLTYPE Connect(IPin* receiver, const AM_MEDIA_TYPE* type) override;
    /// E_UNEXPECTED: nobody connects to an output.
    HRESULT STDMETHODCALLTYPE ReceiveConnection(IPin* connector, const AM_MEDIA_TYPE* type) override;
    HRESULT STDMETHODCALLTYPE EnumMediaTypes(IEnumMediaTypes** out) override;
    /// What comes downstream never comes here: E_UNEXPECTED.
    HRESULT STDMETHODCALLTYPE EndOfStream() override;
    HRESULT STDMETHODCALLTYPE BeginFlush() override;
    HRESULT STDMETHODCALLTYPE EndFlush() override;
};

} // namespace Tarvik
