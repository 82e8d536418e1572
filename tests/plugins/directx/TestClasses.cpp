#include "directx/TestClasses.h"

#include <cstdint>
#include <utility>

namespace TestFilters {

namespace {

constexpr unsigned short firstMark = 0x5456;
constexpr unsigned short secondMark = 0x4B54;

std::uint64_t hashOf(std::string_view name) {
    std::uint64_t hash = 0xCBF29CE484222325U;
    for (const char letter : name) {
        hash = (hash ^ static_cast<unsigned char>(letter)) * 0x100000001B3U;
    }
    return hash;
}

std::vector<TestClass> makeTestClasses() {
    std::vector<TestClass> classes;
    const auto add = [&](std::string name, Behaviour behaviour) -> TestClass& {
        std::wstring filterName = L"Test " + std::wstring(name.begin(), name.end());
        return classes.emplace_back(TestClass{std::move(name), std::move(behaviour), std::move(filterName)});
    };
    const auto delivering = [](Delivery delivery, std::uint32_t delayFrames = 0) {
        Behaviour behaviour;
        behaviour.delivery = delivery;
        behaviour.delayFrames = delayFrames;
        return behaviour;
    };
    const auto answering = [](Place place, HRESULT code) {
        Behaviour behaviour;
        behaviour.acts[place] = {Deed::answer, code};
        return behaviour;
    };

    add("Gain", {});
    add("GainInPlace", delivering(Delivery::inPlace));
    add("GainWithoutState", {}).behaviour.persists = false;
    add("GainWithPage", {}).behaviour.hasPage = true;
    TestClass& severalPins = add("SeveralPins", {});
    severalPins.behaviour.inputPins = 2;
    severalPins.behaviour.outputPins = 3;
    add("NoOutputPin", {}).behaviour.outputPins = 0;
    add("NoInputPin", {}).behaviour.inputPins = 0;
    add("QueryAcceptFalse", answering(Place::queryAccept, S_FALSE));
    add("IntegersOnly", {}).behaviour.integersOnly = true;
    add("DeliversLate", delivering(Delivery::late, 100));
    add("DeliversMore", delivering(Delivery::more));
    add("DeliversNothing", delivering(Delivery::nothing));
    add("InTwoPieces", delivering(Delivery::inTwoPieces));
    add("OwnThread", delivering(Delivery::ownThread));
    add("Flood", delivering(Delivery::flood));
    add("FailsReceive", answering(Place::receive, E_FAIL));
    add("Unnamed", {}).filterName.reset();
    add("EmptyName", {}).filterName = L"";
    add("NonAsciiName", {}).filterName = L"Verst\u00E4rker \u5897\u5E45 \U0001F39A";
    add("FactoryFails", {}).factoryFails = true;

    const std::pair<const char*, Place> places[] = {
        {"creation", Place::creation},
        {"EnumPins", Place::enumPins},
        {"QueryAccept", Place::queryAccept},
        {"ReceiveConnection", Place::receiveConnection},
        {"Run", Place::run},
        {"destruction", Place::destruction},
    };
    const std::pair<const char*, Deed> deeds[] = {
        {"crash", Deed::crash},
        {"hang", Deed::hang},
        {"throw", Deed::throwOwn},
        {"msvc_throw", Deed::throwOfAnother},
    };
    for (const auto& [deedName, deed] : deeds) {
        for (const auto& [placeName, place] : places) {
            Behaviour behaviour;
            behaviour.acts[place] = {deed, E_FAIL};
            add(std::string(deedName) + "_in_" + placeName, std::move(behaviour));
        }
    }
    return classes;
}

} // namespace

const std::vector<TestClass>& testClasses() {
    static const std::vector<TestClass> classes = makeTestClasses();
    return classes;
}

CLSID classIdOf(std::string_view name, unsigned long choice) {
    CLSID id{choice, firstMark, secondMark, {}};
    std::uint64_t hash = hashOf(name);
    for (int index = 7; index >= 0; --index) {
        id.Data4[index] = static_cast<unsigned char>(hash & 0xFF);
        hash >>= 8;
    }
    return id;
}

const TestClass* findTestClass(const CLSID& id) {
    for (const TestClass& each : testClasses()) {
        if (IsEqualCLSID(id, classIdOf(each.name, id.Data1))) {
            return &each;
        }
    }
    return nullptr;
}

} // namespace TestFilters
