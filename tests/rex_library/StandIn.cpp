#include "rex_library/StandIn.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <vector>

namespace StandIn {

namespace {

constexpr std::int32_t noError = 1;
constexpr std::int32_t fileCorrupt = 106;
constexpr std::int32_t notInitialised = 200;
constexpr std::int32_t invalidHandle = 202;
constexpr std::int32_t invalidSize = 203;
constexpr std::int32_t invalidArgument = 204;
constexpr std::int32_t invalidSlice = 205;
constexpr std::int32_t bufferTooSmall = 207;

struct Slice {
    std::int32_t position;
    std::int32_t length;
    std::int32_t seed;
};

/// To fail one time: the first is 1.
struct Order {
    std::int32_t call;
    std::int32_t index;
    std::int32_t time;
    std::int32_t error;
};

struct Loop {
    std::array<std::int32_t, 9> info;
    std::vector<Slice> slices;
    std::vector<Order> orders;

    std::int32_t channels() const { return info[0]; }
    /// What the call is to answer where nothing else is wrong.
    std::int32_t answer(Call call, std::int32_t index) {
        for (Order& order : orders) {
            if (order.call == call && order.index == index && --order.time == 0) {
                return order.error;
            }
        }
        return noError;
    }
};

bool isOpen = false;
std::vector<std::unique_ptr<Loop>> loops;
std::string calls;

void note(const char* name) {
    calls += (calls.empty() ? "" : ", ") + std::string(name);
}
void note(const char* name, std::int32_t number) {
    note((name + (" " + std::to_string(number))).c_str());
}

class Reader {
public:
    Reader(const char* bytes, std::size_t size) : next_(bytes), left_(size) {}

    template<class Record>
    bool read(Record& record) {
        if (left_ < sizeof record) {
            return false;
        }
        std::memcpy(&record, next_, sizeof record);
        next_ += sizeof record;
        left_ -= sizeof record;
        return true;
    }
    template<class Record>
    bool readList(std::vector<Record>& records) {
        std::uint32_t count = 0;
        if (!read(count) || left_ / sizeof(Record) < count) {
            return false;
        }
        records.resize(count);
        return std::all_of(records.begin(), records.end(), [this](Record& record) { return read(record); });
    }

private:
    const char* next_;
    std::size_t left_;
};

auto find(void* handle) {
    return std::find_if(loops.begin(), loops.end(), [&](const auto& loop) { return loop.get() == handle; });
}

} // namespace

void Open() {
    note("Open");
    isOpen = true;
}

void Close() {
    note("Close");
    isOpen = false;
}

std::int32_t Create(void** handle, const char* buffer, std::int32_t size) {
    note("Create", size);
    if (!isOpen) {
        return notInitialised;
    }
    if (handle == nullptr || buffer == nullptr) {
        return invalidArgument;
    }
    if (size < 12 || std::memcmp(buffer, "CAT ", 4) != 0 || std::memcmp(buffer + 8, "REX2", 4) != 0) {
        return fileCorrupt;
    }
    auto loop = std::make_unique<Loop>();
    Reader reader(buffer + 12, static_cast<std::size_t>(size) - 12);
    if (!reader.read(loop->info) || !reader.readList(loop->slices) || !reader.readList(loop->orders)) {
        return fileCorrupt;
    }
    if (const std::int32_t answer = loop->answer(CallCreate, 0); answer != noError) {
        return answer;
    }
    *handle = loop.get();
    loops.push_back(std::move(loop));
    return noError;
}

void Delete(void** handle) {
    note("Delete");
    const auto loop = find(*handle);
    if (isOpen && loop != loops.end()) {
        loops.erase(loop);
        *handle = nullptr;
    }
}

std::int32_t GetInfo(void* handle, std::int32_t size, void* info) {
    note("GetInfo", size);
    if (!isOpen) {
        return notInitialised;
    }
    const auto loop = find(handle);
    if (loop == loops.end()) {
        return invalidHandle;
    }
    if (size != 36) {
        return invalidSize;
    }
    const std::int32_t answer = (*loop)->answer(CallGetInfo, 0);
    if (answer == noError) {
        std::memcpy(info, (*loop)->info.data(), 36);
    }
    return answer;
}

std::int32_t GetSliceInfo(void* handle, std::int32_t index, std::int32_t size, void* info) {
    note("GetSliceInfo", index);
    if (!isOpen) {
        return notInitialised;
    }
    const auto loop = find(handle);
    if (loop == loops.end()) {
        return invalidHandle;
    }
    if (size != 8) {
        return invalidSize;
    }
    if (index < 0 || static_cast<std::size_t>(index) >= (*loop)->slices.size()) {
        return invalidSlice;
    }
    const std::int32_t answer = (*loop)->answer(CallGetSliceInfo, index);
    if (answer == noError) {
        const Slice& slice = (*loop)->slices[static_cast<std::size_t>(index)];
        const std::array<std::int32_t, 2> record{slice.position, slice.length};
        std::memcpy(info, record.data(), 8);
    }
    return answer;
}

std::int32_t RenderSlice(void* handle, std::int32_t index, std::int32_t bufferFrames, float** outputs) {
    note("RenderSlice", index);
    if (!isOpen) {
        return notInitialised;
    }
    const auto loop = find(handle);
    if (loop == loops.end()) {
        return invalidHandle;
    }
    if (index < 0 || static_cast<std::size_t>(index) >= (*loop)->slices.size()) {
        return invalidSlice;
    }
    const Slice& slice = (*loop)->slices[static_cast<std::size_t>(index)];
    const bool stereo = (*loop)->channels() == 2;
    if (outputs == nullptr || outputs[0] == nullptr || (outputs[1] != nullptr) != stereo) {
        return invalidArgument;
    }
    if (bufferFrames < slice.length) {
        return bufferTooSmall;
    }
    const std::int32_t answer = (*loop)->answer(CallRenderSlice, index);
    if (answer == noError && slice.seed != 0) {
        for (std::size_t channel = 0; channel < (stereo ? 2 : 1); ++channel) {
            for (std::size_t frame = 0; frame < static_cast<std::size_t>(slice.length); ++frame) {
                outputs[channel][frame] = sample(slice.seed, channel, frame);
            }
        }
    }
    return answer;
}

std::string TakeCalls() {
    std::string taken;
    taken.swap(calls);
    return taken;
}

std::size_t OpenLoops() {
    return loops.size();
}

} // namespace StandIn
