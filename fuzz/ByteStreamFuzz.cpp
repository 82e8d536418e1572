// A sequence of operations on a ByteStream against a vector and a position. A read must succeed exactly where
// the model says that the bytes are there; nothing but DataStreamIO may be thrown.

#include "Require.h"

#include "svbase/util/ByteStream.h"
#include "svbase/util/Exception.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

// Far enough that growing to it is still cheap.
constexpr std::uint64_t farthestWrite = 1U << 16U;

struct Model {
    Bytes data;
    std::uint64_t position = 0;
    bool swaps = false;
    bool writesLength = true;

    bool holds(std::uint64_t count) const { return position + count <= data.size(); }

    void put(const Bytes& bytes) {
        for (const std::uint8_t byte : bytes) {
            if (data.size() <= position) {
                data.resize(static_cast<std::size_t>(position + 1));
            }
            data[static_cast<std::size_t>(position++)] = byte;
        }
    }

    std::uint64_t integerAt(std::uint64_t at, std::size_t bytes) const {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < bytes; ++i) {
            const std::size_t place = swaps ? bytes - 1 - i : i;
            value |= std::uint64_t{data[static_cast<std::size_t>(at) + place]} << (8 * i);
        }
        return value;
    }

    Bytes laidOut(std::uint64_t value, std::size_t count) const {
        Bytes bytes(count);
        for (std::size_t i = 0; i < count; ++i) {
            bytes[swaps ? count - 1 - i : i] = static_cast<std::uint8_t>(value >> (8 * i));
        }
        return bytes;
    }
};

template<class Action>
bool succeeds(Action action) {
    try {
        action();
        return true;
    } catch (const Util::Exception::DataStreamIO& exception) {
        REQUIRE(!exception.message().isEmpty());
        return false;
    }
}

template<class T>
void readValue(Util::ByteStream& stream, Model& model) {
    T value{};
    const bool fits = model.holds(sizeof(T));
    REQUIRE(succeeds([&] { stream.read(value); }) == fits);
    if (fits) {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &value, sizeof(T));
        REQUIRE(bits == model.integerAt(model.position, sizeof(T)));
        model.position += sizeof(T);
    }
}

template<class T>
void writeValue(Util::ByteStream& stream, Model& model, std::uint64_t bits) {
    T value{};
    std::memcpy(&value, &bits, sizeof(T));
    stream.write(value);
    model.put(model.laidOut(bits, sizeof(T)));
}

void readString(Util::ByteStream& stream, Model& model) {
    String value("before");
    const bool hasLength = model.holds(4);
    const std::uint64_t length = hasLength ? model.integerAt(model.position, 4) : 0;
    const bool fits = hasLength && length <= 200'000 && model.holds(4 + length);
    REQUIRE(succeeds([&] { stream.read(value); }) == fits);
    if (!fits) {
        REQUIRE(value.toStdString() == "before");
        return;
    }
    const auto begin = model.data.begin() + static_cast<std::ptrdiff_t>(model.position + 4);
    std::string expected(begin, begin + static_cast<std::ptrdiff_t>(length));
    expected.resize(std::min(expected.size(), expected.find('\0')));
    REQUIRE(value.toStdString() == expected && !value.isNull());
    model.position += 4 + length;
}

void readBytes(Util::ByteStream& stream, Model& model, std::size_t count, bool raw) {
    Bytes bytes(count, 0xEE);
    const bool fits = count == 0 || model.holds(count);
    const bool read = succeeds([&] {
        if (raw) {
            stream.read(static_cast<std::uint32_t>(count), bytes.data());
        } else {
            stream.read(bytes);
        }
    });
    REQUIRE(read == fits);
    if (fits && count != 0) {
        const auto begin = model.data.begin() + static_cast<std::ptrdiff_t>(model.position);
        REQUIRE(bytes == Bytes(begin, begin + static_cast<std::ptrdiff_t>(count)));
        model.position += count;
    }
    REQUIRE(fits || bytes == Bytes(count, 0xEE));
}

void write(Util::ByteStream& stream, Model& model, FuzzedDataProvider& input) {
    const std::uint64_t bits = input.ConsumeIntegral<std::uint64_t>();
    switch (input.ConsumeIntegralInRange(0, 8)) {
    case 0:
        return writeValue<std::uint8_t>(stream, model, bits);
    case 1:
        return writeValue<std::int16_t>(stream, model, bits);
    case 2:
        return writeValue<std::uint32_t>(stream, model, bits);
    case 3:
        return writeValue<std::int64_t>(stream, model, bits);
    case 4:
        return writeValue<float>(stream, model, bits);
    case 5:
        return writeValue<double>(stream, model, bits);
    case 6: {
        const std::string text = input.ConsumeRandomLengthString(40);
        stream.write(String(text));
        if (model.writesLength) {
            model.put(model.laidOut(text.size(), 4));
        }
        return model.put(Bytes(text.begin(), text.end()));
    }
    default: {
        const std::string text = input.ConsumeRandomLengthString(40);
        const Bytes bytes(text.begin(), text.end());
        // Writing nothing past the end still grows the stream to the position.
        if (model.data.size() < model.position) {
            model.data.resize(static_cast<std::size_t>(model.position));
        }
        if (bits % 2 == 0) {
            stream.write(bytes);
        } else {
            stream.write(static_cast<std::uint32_t>(bytes.size()), bytes.data());
        }
        return model.put(bytes);
    }
    }
}

void read(Util::ByteStream& stream, Model& model, FuzzedDataProvider& input) {
    switch (input.ConsumeIntegralInRange(0, 8)) {
    case 0:
        return readValue<char>(stream, model);
    case 1:
        return readValue<std::uint16_t>(stream, model);
    case 2:
        return readValue<std::int32_t>(stream, model);
    case 3:
        return readValue<std::uint64_t>(stream, model);
    case 4:
        return readValue<float>(stream, model);
    case 5:
        return readValue<double>(stream, model);
    case 6:
        return readString(stream, model);
    case 7:
        return readBytes(stream, model, input.ConsumeIntegralInRange<std::size_t>(0, 300), true);
    default:
        return readBytes(stream, model, input.ConsumeIntegralInRange<std::size_t>(0, 300), false);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    Model model;
    const std::string start = input.ConsumeRandomLengthString(100);
    model.data.assign(start.begin(), start.end());
    Util::ByteStream stream(model.data);
    while (input.remaining_bytes() != 0) {
        switch (input.ConsumeIntegralInRange(0, 7)) {
        case 0:
        case 1:
        case 2:
            read(stream, model, input);
            break;
        case 3:
        case 4:
            if (model.position <= farthestWrite) {
                write(stream, model, input);
            }
            break;
        case 5: {
            const bool near = input.ConsumeBool();
            const auto to =
                near ? input.ConsumeIntegral<std::uint8_t>() : input.ConsumeIntegral<std::uint32_t>();
            stream.seek(to);
            model.position = to;
            break;
        }
        case 6: {
            const auto count = input.ConsumeIntegral<std::uint32_t>();
            stream.skip(count);
            model.position = static_cast<std::uint32_t>(model.position + count);
            break;
        }
        default: {
            const auto order = input.ConsumeIntegralInRange<std::uint32_t>(0, 4);
            stream.setByteOrder(static_cast<Util::ByteOrder>(order));
            stream.setWritesStringLength(input.ConsumeBool());
            model.swaps = order > 1;
            model.writesLength = stream.writesStringLength();
            break;
        }
        }
        REQUIRE(stream.position() == model.position);
        REQUIRE(stream.size() == model.data.size());
        REQUIRE(stream.atEnd() == (model.position >= model.data.size()));
        REQUIRE(stream.bytesRemaining() == static_cast<std::uint32_t>(model.data.size() - model.position));
    }
    REQUIRE(stream.data() == model.data);
    return 0;
}
