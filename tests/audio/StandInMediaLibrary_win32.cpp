#include "audio/StandInMediaLibrary_win32.h"

#include "audio/SoundFileBytes.h"

#include <algorithm>
#include <cstring>

using namespace Audio::Decode::WMA;

namespace {

using Library = StandInMediaLibrary;

/// What every object of the library does alike.
template<class Interface>
class Counted : public Interface, public Library::Object {
public:
    explicit Counted(Library& owner) : library(owner) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** out) override {
        *out = nullptr;
        ++library.mistakes;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++count); }
    ULONG STDMETHODCALLTYPE Release() override {
        alive();
        return static_cast<ULONG>(--count);
    }
    long references() const override { return count; }

protected:
    void alive() {
        if (count < 1) {
            ++library.mistakes;
        }
    }
    HRESULT unexpected() {
        ++library.mistakes;
        return E_NOTIMPL;
    }

    Library& library;
    long count = 1;
};

class Properties final : public Counted<IWMOutputMediaProps> {
public:
    /// name: of its calls. type: what it describes.
    Properties(Library& owner, std::string ofWhat, Library::Type described)
        : Counted(owner), name(std::move(ofWhat)), type(std::move(described)) {}

    HRESULT STDMETHODCALLTYPE GetMediaType(WM_MEDIA_TYPE* out, DWORD* size) override {
        alive();
        const auto needed = static_cast<DWORD>(sizeof(WM_MEDIA_TYPE) + type.wave.size());
        if (out == nullptr) {
            *size = needed;
            return library.called(name + " type size");
        }
        const HRESULT answer = library.called(name + " type");
        if (SUCCEEDED(answer) && *size < needed) {
            ++library.mistakes;
            return E_INVALIDARG;
        }
        std::memset(out, 0, sizeof *out);
        out->majortype = type.major;
        out->subtype = type.sub;
        out->formattype = type.format;
        out->cbFormat = static_cast<ULONG>(type.wave.size());
        out->pbFormat = type.wave.empty() ? nullptr : reinterpret_cast<BYTE*>(out + 1);
        std::memcpy(reinterpret_cast<BYTE*>(out + 1), type.wave.data(), type.wave.size());
        return answer;
    }
    HRESULT STDMETHODCALLTYPE SetMediaType(WM_MEDIA_TYPE* in) override {
        alive();
        const std::string wave(reinterpret_cast<const char*>(in->pbFormat), in->cbFormat);
        const bool same = std::memcmp(&in->majortype, &type.major, sizeof(GUID)) == 0 &&
                          std::memcmp(&in->subtype, &type.sub, sizeof(GUID)) == 0 && wave == type.wave;
        return library.called(name + " set type", same ? " as it was" : " another");
    }
    HRESULT STDMETHODCALLTYPE GetType(GUID*) override { return unexpected(); }
    HRESULT STDMETHODCALLTYPE GetStreamGroupName(WCHAR*, WORD*) override { return unexpected(); }
    HRESULT STDMETHODCALLTYPE GetConnectionName(WCHAR*, WORD*) override { return unexpected(); }

    const std::string name;

private:
    const Library::Type type;
};

class Sample final : public Counted<INSSBuffer> {
public:
    Sample(Library& owner, std::string content) : Counted(owner), bytes(std::move(content)) {}

    HRESULT STDMETHODCALLTYPE GetBufferAndLength(BYTE** out, DWORD* size) override {
        alive();
        *out = library.givesNothing == "GetBufferAndLength" ? nullptr : reinterpret_cast<BYTE*>(bytes.data());
        *size = static_cast<DWORD>(bytes.size());
        return library.called("GetBufferAndLength");
    }
    HRESULT STDMETHODCALLTYPE GetLength(DWORD*) override { return unexpected(); }
    HRESULT STDMETHODCALLTYPE SetLength(DWORD) override { return unexpected(); }
    HRESULT STDMETHODCALLTYPE GetMaxLength(DWORD*) override { return unexpected(); }
    HRESULT STDMETHODCALLTYPE GetBuffer(BYTE**) override { return unexpected(); }

private:
    std::string bytes;
};

class Header final : public Counted<IWMHeaderInfo> {
public:
    using Counted::Counted;

    HRESULT STDMETHODCALLTYPE GetAttributeByName(
        WORD* stream, LPCWSTR name, WMT_ATTR_DATATYPE* type, BYTE* value, WORD* size) override {
        alive();
        const std::wstring wide(name);
        const std::string details =
            " " + std::string(wide.begin(), wide.end()) + " of stream " + std::to_string(*stream);
        *type = library.durationType;
        if (value == nullptr) {
            *size = library.durationBytes;
            return library.called("query header", details);
        }
        if (*size != library.durationBytes) {
            ++library.mistakes;
        }
        std::memcpy(value, &library.duration, std::min<std::size_t>(*size, sizeof library.duration));
        return library.called("header", details);
    }
    HRESULT STDMETHODCALLTYPE GetAttributeCount(WORD, WORD*) override { return unexpected(); }
    HRESULT STDMETHODCALLTYPE
    GetAttributeByIndex(WORD, WORD*, WCHAR*, WORD*, WMT_ATTR_DATATYPE*, BYTE*, WORD*) override {
        return unexpected();
    }
    HRESULT STDMETHODCALLTYPE SetAttribute(WORD, LPCWSTR, WMT_ATTR_DATATYPE, const BYTE*, WORD) override {
        return unexpected();
    }
    HRESULT STDMETHODCALLTYPE GetMarkerCount(WORD*) override { return unexpected(); }
    HRESULT STDMETHODCALLTYPE GetMarker(WORD, WCHAR*, WORD*, QWORD*) override { return unexpected(); }
    HRESULT STDMETHODCALLTYPE AddMarker(LPCWSTR_WMSDK_TYPE_SAFE, QWORD) override { return unexpected(); }
    HRESULT STDMETHODCALLTYPE RemoveMarker(WORD) override { return unexpected(); }
    HRESULT STDMETHODCALLTYPE GetScriptCount(WORD*) override { return unexpected(); }
    HRESULT STDMETHODCALLTYPE GetScript(WORD, WCHAR*, WORD*, WCHAR*, WORD*, QWORD*) override {
        return unexpected();
    }
    HRESULT STDMETHODCALLTYPE AddScript(LPCWSTR_WMSDK_TYPE_SAFE, LPCWSTR_WMSDK_TYPE_SAFE, QWORD) override {
        return unexpected();
    }
    HRESULT STDMETHODCALLTYPE RemoveScript(WORD) override { return unexpected(); }
};

class Reader final : public Counted<IWMSyncReader> {
public:
    using Counted::Counted;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        alive();
        *out = nullptr;
        if (std::memcmp(&iid, &__uuidof(IWMHeaderInfo), sizeof(IID)) != 0) {
            ++library.mistakes;
            return E_NOINTERFACE;
        }
        return give("QueryInterface", {}, reinterpret_cast<Header**>(out));
    }
    HRESULT STDMETHODCALLTYPE Open(const WCHAR* path) override {
        alive();
        const HRESULT answer = library.called(
            "Open", " " + String::fromWide(path, static_cast<unsigned>(wcslen(path))).toStdString());
        return library.failingOpens != 0 && library.failingOpens-- != 0 ? E_FAIL : answer;
    }
    HRESULT STDMETHODCALLTYPE Close() override {
        alive();
        return library.called("Close");
    }
    HRESULT STDMETHODCALLTYPE SetRange(QWORD time, LONGLONG length) override {
        alive();
        const HRESULT answer =
            library.called("SetRange", " " + std::to_string(time) + " " + std::to_string(length));
        if (SUCCEEDED(answer)) {
            // To the nearest frame, as if a second had ten thousand units for each.
            const std::uint64_t frame = (time * library.sampleRate + 5'000'000) / 10'000'000;
            library.offset = static_cast<std::size_t>(frame) * library.frameBytes;
        }
        return answer;
    }
    HRESULT STDMETHODCALLTYPE GetNextSample(
        WORD stream, INSSBuffer** out, QWORD* time, QWORD* length, DWORD* flags, DWORD* output,
        WORD* streamOut) override {
        alive();
        *out = nullptr;
        *time = *length = 0;
        *flags = *output = *streamOut = 0;
        const std::string details = " of stream " + std::to_string(stream);
        if (library.offset >= library.bytes.size() && !library.answers.contains("GetNextSample")) {
            library.called("GetNextSample", details);
            return NS_E_NO_MORE_SAMPLES;
        }
        const std::size_t size = library.deliveries[library.delivery];
        Sample* sample = nullptr;
        const HRESULT answer = give("GetNextSample", details, &sample, [&] {
            const std::string piece = library.bytes.substr(library.offset, size);
            library.delivery = (library.delivery + 1) % library.deliveries.size();
            library.offset += piece.size();
            return piece;
        });
        *out = sample;
        return answer;
    }
    HRESULT STDMETHODCALLTYPE SetReadStreamSamples(WORD stream, WINBOOL compressed) override {
        alive();
        return library.called(
            "SetReadStreamSamples",
            " " + std::to_string(stream) + (compressed != 0 ? " compressed" : " not compressed"));
    }
    HRESULT STDMETHODCALLTYPE SetOutputSetting(
        DWORD output, LPCWSTR name, WMT_ATTR_DATATYPE type, const BYTE* value, WORD size) override {
        alive();
        DWORD number = 0;
        std::memcpy(&number, value, std::min<std::size_t>(size, sizeof number));
        const std::wstring wide(name);
        return library.called(
            "SetOutputSetting", " " + std::to_string(output) + " " + std::string(wide.begin(), wide.end()) +
                                    " type " + std::to_string(type) + " size " + std::to_string(size) +
                                    " value " + std::to_string(number));
    }
    HRESULT STDMETHODCALLTYPE GetOutputCount(DWORD* out) override {
        alive();
        *out = static_cast<DWORD>(library.outputs.size());
        return library.called("GetOutputCount");
    }
    HRESULT STDMETHODCALLTYPE GetOutputProps(DWORD output, IWMOutputMediaProps** out) override {
        alive();
        Properties* properties = nullptr;
        const HRESULT answer = give(
            "GetOutputProps", " " + std::to_string(output), &properties, [] { return std::string("output"); },
            [&] { return library.outputs.at(output).type; });
        *out = properties;
        return answer;
    }
    HRESULT STDMETHODCALLTYPE SetOutputProps(DWORD output, IWMOutputMediaProps* properties) override {
        alive();
        return library.called(
            "SetOutputProps",
            " " + std::to_string(output) + " " + static_cast<Properties*>(properties)->name);
    }
    HRESULT STDMETHODCALLTYPE GetOutputFormatCount(DWORD output, DWORD* out) override {
        alive();
        *out = static_cast<DWORD>(library.outputs.at(output).formats.size());
        return library.called("GetOutputFormatCount", " " + std::to_string(output));
    }
    HRESULT STDMETHODCALLTYPE
    GetOutputFormat(DWORD output, DWORD format, IWMOutputMediaProps** out) override {
        alive();
        Properties* properties = nullptr;
        const HRESULT answer = give(
            "GetOutputFormat", " " + std::to_string(output) + " " + std::to_string(format), &properties,
            [] { return std::string("format"); },
            [&] { return library.outputs.at(output).formats.at(format); });
        *out = properties;
        return answer;
    }
    HRESULT STDMETHODCALLTYPE GetStreamNumberForOutput(DWORD output, WORD* stream) override {
        alive();
        *stream = library.outputs.at(output).stream;
        return library.called("GetStreamNumberForOutput", " " + std::to_string(output));
    }

    HRESULT STDMETHODCALLTYPE SetRangeByFrame(WORD, QWORD, LONGLONG) override { return unexpected(); }
    HRESULT STDMETHODCALLTYPE SetStreamsSelected(WORD, WORD*, WMT_STREAM_SELECTION*) override {
        return unexpected();
    }
    HRESULT STDMETHODCALLTYPE GetStreamSelected(WORD, WMT_STREAM_SELECTION*) override { return unexpected(); }
    HRESULT STDMETHODCALLTYPE GetReadStreamSamples(WORD, WINBOOL*) override { return unexpected(); }
    HRESULT STDMETHODCALLTYPE GetOutputSetting(DWORD, LPCWSTR, WMT_ATTR_DATATYPE*, BYTE*, WORD*) override {
        return unexpected();
    }
    HRESULT STDMETHODCALLTYPE GetOutputNumberForStream(WORD, DWORD*) override { return unexpected(); }
    HRESULT STDMETHODCALLTYPE GetMaxOutputSampleSize(DWORD, DWORD*) override { return unexpected(); }
    HRESULT STDMETHODCALLTYPE GetMaxStreamSampleSize(WORD, DWORD*) override { return unexpected(); }
    HRESULT STDMETHODCALLTYPE OpenStream(IStream*) override { return unexpected(); }

private:
    /// An object made of what the functions give, unless the call is to fail or to give nothing.
    template<class T, class... Give>
    HRESULT give(const std::string& name, const std::string& details, T** out, Give... arguments) {
        const HRESULT answer = library.called(name, details);
        if (SUCCEEDED(answer) && library.givesNothing != name) {
            *out = library.make<T>(arguments()...);
        }
        return answer;
    }
};

HRESULT WINAPI createReader(IUnknown* certificate, DWORD rights, IWMSyncReader** out) {
    Library& library = *Library::current;
    *out = nullptr;
    const HRESULT answer =
        library.called("WMCreateSyncReader", certificate == nullptr && rights == 0 ? "" : " with rights");
    if (SUCCEEDED(answer) && library.givesNothing != "WMCreateSyncReader") {
        *out = library.make<Reader>();
    }
    return answer;
}

HRESULT WINAPI validateData(BYTE* data, DWORD* size) {
    std::string details = " " + std::to_string(*size) + " bytes";
    details += *size >= 4 ? " " + std::string(reinterpret_cast<const char*>(data), 4) : "";
    return Library::current->called("WMValidateData", details);
}

} // namespace

StandInMediaLibrary* StandInMediaLibrary::current = nullptr;

StandInMediaLibrary::StandInMediaLibrary() {
    current = this;
    const Type type{.wave = waveFormat(2, 16, sampleRate)};
    outputs.push_back({type, {type}, 1});
    setFunctions(true, true);
}

StandInMediaLibrary::~StandInMediaLibrary() {
    current = nullptr;
}

void StandInMediaLibrary::setFunctions(bool hasCreateSyncReader, bool hasValidateData) {
    substitute.reset();
    substitute.emplace(std::make_shared<MediaLibrary>(MediaLibrary::EntryPoints{
        hasCreateSyncReader ? &createReader : nullptr, hasValidateData ? &validateData : nullptr}));
}

void StandInMediaLibrary::setMissing() {
    substitute.reset();
    substitute.emplace(nullptr);
}

std::size_t StandInMediaLibrary::callsOf(const std::string& name) const {
    return static_cast<std::size_t>(std::count_if(calls.begin(), calls.end(), [&](const std::string& call) {
        return call == name || call.starts_with(name + " ");
    }));
}

long StandInMediaLibrary::references() const {
    long sum = 0;
    for (const auto& object : objects) {
        sum += object->references();
    }
    return sum;
}

long StandInMediaLibrary::sampleReferences() const {
    long sum = 0;
    for (const auto& object : objects) {
        sum += dynamic_cast<const Sample*>(object.get()) != nullptr ? object->references() : 0;
    }
    return sum;
}

HRESULT StandInMediaLibrary::called(const std::string& name, const std::string& details) {
    calls.push_back(name + details);
    const auto found = answers.find(name);
    return found == answers.end() ? S_OK : found->second;
}

std::string waveFormat(unsigned channels, unsigned bits, std::uint32_t sampleRate, unsigned tag) {
    return SoundFile::plainFormat(tag, channels, bits, sampleRate) + SoundFile::little(0, 2);
}

std::string
extensibleWaveFormat(unsigned channels, unsigned bits, std::uint32_t sampleRate, std::uint32_t mask) {
    return SoundFile::plainFormat(0xFFFE, channels, bits, sampleRate) + SoundFile::little(22, 2) +
           SoundFile::little(bits, 2) + SoundFile::little(mask, 4) + SoundFile::little(1, 2) +
           SoundFile::guidTail;
}
