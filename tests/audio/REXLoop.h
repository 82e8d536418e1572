#pragma once

#include "audio/SoundFileBytes.h"
#include "audio/decode/REXLibrary.h"
#include "rex_library/StandIn.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// A loop for the stand-in of the vendor's library.
struct REXLoop {
    struct Slice {
        std::int32_t position;
        std::int32_t length;
        std::int32_t seed = 1;
    };
    struct Order {
        StandIn::Call call;
        std::int32_t index;
        std::int32_t error;
        /// Which call of its kind: the first is 1.
        std::int32_t time = 1;
    };
    enum Field {
        Channels,
        SampleRate,
        SliceCount,
        Tempo,
        OriginalTempo,
        Length,
        Numerator,
        Denominator,
        BitDepth
    };

    /// At 120 beats per minute, so that a quarter note of 15360 pulses has 22050 frames.
    std::array<std::int32_t, 9> info{1, 44100, 0, 120'000, 120'000, 61440, 4, 4, 16};
    std::vector<Slice> slices;
    std::vector<Order> orders;

    REXLoop(int channels, std::vector<Slice> list) : slices(std::move(list)) {
        info[Channels] = channels;
        info[SliceCount] = static_cast<std::int32_t>(slices.size());
    }
    REXLoop& with(Field field, std::int32_t value) {
        info[field] = value;
        return *this;
    }
    REXLoop& failing(Order order) {
        orders.push_back(order);
        return *this;
    }

    std::string bytes() const {
        std::string body = "REX2";
        for (const std::int32_t value : info) {
            body += number(value);
        }
        body += SoundFile::little(slices.size(), 4);
        for (const Slice& slice : slices) {
            body += number(slice.position) + number(slice.length) + number(slice.seed);
        }
        body += SoundFile::little(orders.size(), 4);
        for (const Order& order : orders) {
            body += number(order.call) + number(order.index) + number(order.time) + number(order.error);
        }
        return "CAT " + SoundFile::big(body.size(), 4) + body;
    }

    static std::string number(std::int32_t value) {
        return SoundFile::little(static_cast<std::uint32_t>(value), 4);
    }
};

/// The stand-in's functions within the test program. What the decoder has no business with is left out.
inline Audio::Decode::REX::Functions standInFunctions() {
    using namespace Audio::Decode::REX;
    Functions functions;
    functions.Open = &StandIn::Open;
    functions.Close = &StandIn::Close;
    functions.REXCreate = [](Handle* handle, const char* buffer, std::int32_t size, CreateCallback, void*) {
        void* opened = nullptr;
        const std::int32_t error = StandIn::Create(&opened, buffer, size);
        *handle = static_cast<Handle>(opened);
        return error;
    };
    functions.REXDelete = [](Handle* handle) {
        void* opened = *handle;
        StandIn::Delete(&opened);
        *handle = static_cast<Handle>(opened);
    };
    functions.REXGetInfo = [](Handle handle, std::int32_t size, Info* info) {
        return StandIn::GetInfo(handle, size, info);
    };
    functions.REXGetSliceInfo = [](Handle handle, std::int32_t index, std::int32_t size, SliceInfo* info) {
        return StandIn::GetSliceInfo(handle, index, size, info);
    };
    functions.REXRenderSlice = [](Handle handle, std::int32_t index, std::int32_t frames, float* outputs[2]) {
        return StandIn::RenderSlice(handle, index, frames, outputs);
    };
    return functions;
}

/// A library that finds these functions.
inline std::shared_ptr<Audio::Decode::REX::Library>
libraryOf(const Audio::Decode::REX::Functions& functions) {
    using namespace Audio::Decode::REX;
    return std::make_shared<Library>([functions](Functions& found, std::shared_ptr<Util::Module>&) {
        found = functions;
        return NoError;
    });
}
