#include "support/Record.h"
#include "support/TrivialEffect.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace {

/// Larger than any text that a host may write (64), with a mark behind, so that writing too much shows.
struct TextArea {
    static constexpr std::size_t published = 64;
    char text[256];

    TextArea() { std::fill(std::begin(text), std::end(text), '#'); }

    /// The text up to its terminating zero as hexadecimal digits; empty if the host wrote nothing.
    std::string written() const {
        std::string digits;
        if (untouchedFrom(0))
            return digits;
        for (std::size_t i = 0; i < sizeof text && text[i] != 0; ++i) {
            constexpr char digit[] = "0123456789abcdef";
            const auto byte = static_cast<unsigned char>(text[i]);
            digits += digit[byte >> 4];
            digits += digit[byte & 15];
        }
        return digits;
    }

    bool untouchedFrom(std::size_t start) const {
        return std::all_of(std::begin(text) + start, std::end(text), [](char byte) { return byte == '#'; });
    }
};

/// One line for each question: "WHEN EFFECT OPCODE INDEX VALUE POINTER -> ANSWER TEXT OVERRUN". EFFECT is
/// null or own, POINTER null, area or the question's text, TEXT what the host wrote there in hexadecimal (or
/// "-"), OVERRUN 1 if it wrote beyond the published size.
void ask(
    audioMasterCallback host, const char* when, AEffect* effect, std::int32_t opcode, std::int32_t index,
    std::intptr_t value) {
    TextArea area;
    const std::intptr_t answer = host(effect, opcode, index, value, area.text, 0.0f);
    const std::string text = area.written();
    record(
        "%s %s %d %d %lld area -> %lld %s %d", when, effect ? "own" : "null", static_cast<int>(opcode),
        static_cast<int>(index), static_cast<long long>(value),
        static_cast<long long>(opcode == audioMasterGetTime && answer ? 1 : answer),
        text.empty() ? "-" : text.c_str(), area.untouchedFrom(TextArea::published) ? 0 : 1);
    if (opcode == audioMasterGetTime && answer) {
        VstTimeInfo time;
        std::memcpy(&time, reinterpret_cast<const void*>(answer), sizeof time);
        record(
            "%s %s time %g %g %g %g %d %d %d", when, effect ? "own" : "null", time.samplePos, time.sampleRate,
            time.ppqPos, time.tempo, static_cast<int>(time.timeSigNumerator),
            static_cast<int>(time.timeSigDenominator), static_cast<int>(time.flags));
    }
}

void askForAbility(audioMasterCallback host, const char* when, AEffect* effect, const char* ability) {
    std::string text = ability;
    const std::intptr_t answer = host(effect, audioMasterCanDo, 0, 0, text.data(), 0.0f);
    record(
        "%s %s %d 0 0 %s -> %lld - 0", when, effect ? "own" : "null", static_cast<int>(audioMasterCanDo),
        ability, static_cast<long long>(answer));
}

void askEverything(audioMasterCallback host, const char* when, AEffect* effect) {
    constexpr std::int32_t firstUnpublished = 50;
    constexpr std::int32_t last = 70;
    for (std::int32_t opcode = 0; opcode <= last; ++opcode)
        if (opcode != audioMasterCanDo)
            ask(host, when, effect, opcode, 0, 0);
    for (const std::int32_t opcode : {-1, firstUnpublished * 1000, 0x7FFFFFFF})
        ask(host, when, effect, opcode, 0, 0);
    for (const std::int32_t pin : {-1, 0, 1, 2})
        for (const std::intptr_t output : {0, 1})
            ask(host, when, effect, audioMasterPinConnected, pin, output);
    for (const char* ability : {"sendVstEvents", "sizeWindow", "supplyIdle", ""})
        askForAbility(host, when, effect, ability);
    for (const std::int32_t opcode : {audioMasterGetVendorString, audioMasterGetProductString}) {
        // Asked for a text, with nowhere to put it.
        const std::intptr_t answer = host(effect, opcode, 0, 0, nullptr, 0.0f);
        record(
            "%s %s %d 0 0 null -> %lld - 0", when, effect ? "own" : "null", static_cast<int>(opcode),
            static_cast<long long>(answer));
    }
}

/// Puts every question to its host that there is: in its entry point, in effOpen and in effClose, each with a
/// null effect and with its own.
class AsksEveryHostOpcode : public TrivialEffect {
public:
    explicit AsksEveryHostOpcode(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "Asks Every Host Opcode";
        effect.uniqueID = fourLetters("Asks");
        askWithBoth("entry");
    }

protected:
    std::intptr_t dispatch(
        std::int32_t opcode, std::int32_t index, std::intptr_t value, void* pointer, float opt) override {
        if (opcode == effOpen)
            askWithBoth("open");
        else if (opcode == effClose)
            askWithBoth("close");
        return TrivialEffect::dispatch(opcode, index, value, pointer, opt);
    }

private:
    void askWithBoth(const char* when) {
        askEverything(host, when, nullptr);
        askEverything(host, when, &effect);
    }
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new AsksEveryHostOpcode(host))->abi();
}
