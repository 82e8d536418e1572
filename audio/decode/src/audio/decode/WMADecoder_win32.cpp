#include "audio/decode/WMADecoder_win32.h"

#include "svbase/util/Path.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <utility>

namespace Audio::Decode::WMA {

namespace {

constexpr const char* floatRefusal = "ReadFloatInterleaved %1 called, unsupported conversion";
constexpr const char* int16Refusal = "ReadInt16Interleaved %1 called, unsupported conversion";
constexpr const char* bufferFailure = "Unable to read buffer. 0x%1";

/// What the total goes beyond the position once the header has proved wrong.
constexpr std::uint64_t framesPastTotal = 1024;

/// More than what the library delivers at a time of the usual formats, so that later reads find room.
constexpr std::size_t firstBufferBytes = std::size_t{1} << 16U;

/// A library that goes on delivering nothing would keep a read from ever ending.
constexpr unsigned mostEmptySamples = 1000;

/// value * factor / divisor without its product, which may not fit.
std::uint64_t scaled(std::uint64_t value, std::uint64_t factor, std::uint64_t divisor) {
    return value / divisor * factor + value % divisor * factor / divisor;
}

/// The library may take the "\\?\" of the system's form for the name of a server: it stands only where
/// nothing shorter will do.
std::wstring widePath(const String& path) {
    const std::wstring name = Util::Path::toNative(Util::Path::absolute(path)).toNativeWide();
    return name.size() < MAX_PATH ? name : Util::Path::toSystem(path).toNativeWide();
}

checked_value<SampleEncoding> encodingOf(const Format& format) {
    switch (format.bytesPerSample) {
    case 2:
        return SampleEncoding::Int16Little;
    case 3:
        return SampleEncoding::Int24Little;
    default:
        return {};
    }
}

} // namespace

Decoder::Decoder(String path) : InterleavedDecoder(std::move(path), floatRefusal, int16Refusal) {}

Decoder::~Decoder() {
    clear();
}

void Decoder::clear() {
    if (reader_ != nullptr) {
        reader_->Close();
        reader_.reset();
    }
    library_.reset();
    clearStream();
    encoding_ = {};
    totalExceeded_ = false;
    outputNumber_ = 0;
    streamNumber_ = 0;
    soughtTime_ = {};
    ended_ = false;
    bufferStart_ = 0;
    bufferEnd_ = 0;
}

Result Decoder::failed(const char* format, HRESULT answer) const {
    return unexpected(Error(bad(format).arg(String::number(static_cast<std::uint32_t>(answer), 16))));
}

Result Decoder::sync() {
    if (synced_) {
        return {};
    }
    clear();
    if (Result opened = open(); !opened) {
        clear();
        return opened;
    }
    synced_ = true;
    return {};
}

Result Decoder::open() {
    if (Result opened = openReader(); !opened) {
        return opened;
    }
    keepChannelsApart();
    if (Result found = findOutput(); !found) {
        return found;
    }
    if (outputNumber_ != 0) {
        keepChannelsApart();
    }
    if (const HRESULT answer = reader_->GetStreamNumberForOutput(outputNumber_, &streamNumber_);
        FAILED(answer)) {
        return failed("Unable to determine stream. 0x%1", answer);
    }
    std::uint64_t duration = 0;
    if (Result read = readDuration(duration); !read) {
        return read;
    }
    if (const HRESULT answer = reader_->SetReadStreamSamples(streamNumber_, FALSE); FAILED(answer)) {
        return failed("Unable to set output to uncompressed. 0x%1", answer);
    }
    if (Result chosen = chooseFormat(); !chosen) {
        return chosen;
    }
    totalFrames_ = scaled(duration, format_.sampleRate, timeUnitsPerSecond);
    return {};
}

/// So that more than two channels come as they are. Whether the library does is in the formats that it offers
/// then: to refuse is no failure.
void Decoder::keepChannelsApart() {
    const BOOL discrete = TRUE;
    reader_->SetOutputSetting(
        outputNumber_, discreteOutputSetting, WMT_TYPE_BOOL, reinterpret_cast<const BYTE*>(&discrete),
        sizeof discrete);
    const DWORD speakers = 0;
    reader_->SetOutputSetting(
        outputNumber_, speakerConfigSetting, WMT_TYPE_DWORD, reinterpret_cast<const BYTE*>(&speakers),
        sizeof speakers);
}

Result Decoder::openReader() {
    library_ = MediaLibrary::system();
    if (library_ == nullptr) {
        return unexpected(Error(bad("Failed to load WMA library")));
    }
    const CreateSyncReader create = library_->entryPoints().createSyncReader;
    if (create == nullptr) {
        return unexpected(Error(bad("Failed to load WMCreateSyncReader")));
    }
    // Rights are only asked for where the contents are protected, which asks for a certificate, too.
    const auto created = receive(reader_, [&](IWMSyncReader** out) { return create(nullptr, 0, out); });
    if (FAILED(created)) {
        return failed("Unable to create reader. 0x%1", created);
    }
    if (const HRESULT answer = reader_->Open(widePath(path()).c_str()); FAILED(answer)) {
        return failed("Unable to open file. 0x%1", answer);
    }
    return {};
}

/// The first output that is audio.
Result Decoder::findOutput() {
    DWORD count = 0;
    if (const HRESULT answer = reader_->GetOutputCount(&count); FAILED(answer)) {
        return failed("Unable to read outputs. 0x%1", answer);
    }
    MediaType type;
    for (DWORD output = 0; output < count; ++output) {
        MediaHandle<IWMOutputMediaProps> properties;
        HRESULT answer = receive(
            properties, [&](IWMOutputMediaProps** out) { return reader_->GetOutputProps(output, out); });
        if (SUCCEEDED(answer)) {
            answer = type.Read(*properties);
        }
        if (FAILED(answer)) {
            return failed("Unable to read output formats. 0x%1", answer);
        }
        if (type.IsAudio()) {
            outputNumber_ = output;
            return {};
        }
    }
    return unexpected(Error(bad("No audio streams found.")));
}

/// In the library's units of time.
Result Decoder::readDuration(std::uint64_t& duration) {
    MediaHandle<IWMHeaderInfo> header;
    const HRESULT found = receive(header, [&](IWMHeaderInfo** out) {
        return reader_->QueryInterface(__uuidof(IWMHeaderInfo), reinterpret_cast<void**>(out));
    });
    if (FAILED(found)) {
        return failed("Unable to read header. 0x%1", found);
    }
    WORD stream = 0; // of the file as a whole
    WMT_ATTR_DATATYPE type = WMT_TYPE_QWORD;
    WORD size = 0;
    HRESULT answer = header->GetAttributeByName(&stream, durationAttribute, &type, nullptr, &size);
    if (FAILED(answer)) {
        return failed("Unable to set query for header. 0x%1", answer);
    }
    answer = NS_E_INVALID_DATA;
    if (type == WMT_TYPE_QWORD && size == sizeof duration) {
        answer = header->GetAttributeByName(
            &stream, durationAttribute, &type, reinterpret_cast<BYTE*>(&duration), &size);
    }
    if (FAILED(answer)) {
        return failed("Invalid header information. 0x%1", answer);
    }
    return {};
}

/// The first format of the output whose samples are integers.
Result Decoder::chooseFormat() {
    DWORD count = 0;
    if (const HRESULT answer = reader_->GetOutputFormatCount(outputNumber_, &count); FAILED(answer)) {
        return failed("Unable to count output formats. 0x%1", answer);
    }
    MediaType type;
    MediaHandle<IWMOutputMediaProps> properties;
    checked_value<Format> format;
    for (DWORD i = 0; i < count && !format; ++i) {
        HRESULT answer = receive(properties, [&](IWMOutputMediaProps** out) {
            return reader_->GetOutputFormat(outputNumber_, i, out);
        });
        if (SUCCEEDED(answer)) {
            answer = type.Read(*properties);
        }
        if (FAILED(answer)) {
            return failed("Unable to read output format. 0x%1", answer);
        }
        format = type.PcmFormat();
    }
    if (!format) {
        return failed("Unable to read output format. 0x%1", NS_E_INVALID_OUTPUT_FORMAT);
    }
    if (const HRESULT answer = properties->SetMediaType(type.Get()); FAILED(answer)) {
        return failed("Unable to set output format. 0x%1", answer);
    }
    if (const HRESULT answer = reader_->SetOutputProps(outputNumber_, properties.get()); FAILED(answer)) {
        return failed("Unable to set output. 0x%1", answer);
    }
    format_ = format.value;
    encoding_ = encodingOf(format_);
    return {};
}

std::uint64_t Decoder::timeOf(std::uint64_t frame) const {
    return scaled(frame, timeUnitsPerSecond, format_.sampleRate);
}

Result Decoder::moved(std::uint64_t frame) {
    soughtTime_ = timeOf(frame);
    return {};
}

/// One delivery of the library behind what is left of the last one, which is less than a frame.
HRESULT Decoder::appendSample() {
    MediaHandle<INSSBuffer> sample;
    QWORD time = 0;
    QWORD duration = 0;
    DWORD flags = 0;
    DWORD output = 0;
    WORD stream = 0;
    HRESULT answer = receive(sample, [&](INSSBuffer** out) {
        return reader_->GetNextSample(streamNumber_, out, &time, &duration, &flags, &output, &stream);
    });
    if (answer == NS_E_NO_MORE_SAMPLES) {
        ended_ = true;
        return S_OK;
    }
    BYTE* bytes = nullptr;
    DWORD size = 0;
    if (SUCCEEDED(answer)) {
        answer = sample->GetBufferAndLength(&bytes, &size);
    }
    if (FAILED(answer) || size == 0) {
        return answer;
    }
    if (bytes == nullptr) {
        return E_POINTER;
    }
    const std::size_t kept = bufferedBytes();
    if (sampleBuffer_.size() < kept + size) {
        try {
            sampleBuffer_.resize(std::max<std::size_t>(firstBufferBytes, 2 * (kept + size)));
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
    }
    std::memmove(sampleBuffer_.data(), sampleBuffer_.data() + bufferStart_, kept);
    std::memcpy(sampleBuffer_.data() + kept, bytes, size);
    bufferStart_ = 0;
    bufferEnd_ = kept + size;
    return answer;
}

HRESULT Decoder::fill() {
    if (soughtTime_) {
        // To the end of the sound, which is what no duration means.
        if (const HRESULT answer = reader_->SetRange(soughtTime_.value, 0); FAILED(answer)) {
            return answer;
        }
        soughtTime_ = {};
        ended_ = false;
        bufferStart_ = 0;
        bufferEnd_ = 0;
    }
    unsigned emptySamples = 0;
    while (bufferedBytes() < frameBytes() && !ended_) {
        const std::size_t before = bufferedBytes();
        if (const HRESULT answer = appendSample(); FAILED(answer)) {
            return answer;
        }
        emptySamples = bufferedBytes() == before ? emptySamples + 1 : 0;
        if (emptySamples == mostEmptySamples) {
            return E_FAIL;
        }
    }
    return S_OK;
}

Result Decoder::takeFrames(std::uint64_t count, std::uint64_t& framesRead, FrameSink& sink) {
    HRESULT answer = S_OK;
    while (framesRead < count) {
        answer = fill();
        const std::uint64_t there = FAILED(answer) ? 0 : bufferedBytes() / frameBytes();
        const std::uint64_t frames = std::min(there, count - framesRead);
        if (frames == 0) {
            break;
        }
        sink.take(
            sampleBuffer_.data() + bufferStart_, static_cast<std::size_t>(frames),
            static_cast<std::size_t>(framesRead));
        bufferStart_ += static_cast<std::size_t>(frames * frameBytes());
        framesRead += frames;
    }
    position_ += framesRead;
    if (position_ > totalFrames_) {
        totalFrames_ = position_ + framesPastTotal;
        totalExceeded_ = true;
    }
    if (FAILED(answer)) {
        // What failed may have been delivered, and be lost: the next read begins anew where this one ended.
        soughtTime_ = timeOf(position_);
        return failed(bufferFailure, answer);
    }
    return {};
}

} // namespace Audio::Decode::WMA
