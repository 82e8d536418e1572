#include "hosting/vst/VSTPlugin.h"

#include "hosting/ForeignCall.h"
#include "hosting/vst/VSTEventsBuffer.h"
#include "hosting/vst/VSTHost.h"
#include "hosting/vst/VSTLibrary.h"
#include "hosting/vst/VstAbi.h"
#include "svbase/util/Module.h"
#include "svbase/util/Path.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

namespace Tarvik {

namespace {

constexpr const char* entryPointName = "VSTPluginMain";
constexpr const char* oldEntryPointName = "main";
constexpr const char* coreEntryPointName = "PluginCoreCallback";

constexpr VstInt32 defaultBlockSize = 65536;

// An initial delay above this, in frames, is a mistake of the effect.
constexpr std::uint32_t latencyLimit = 100000000;

// Far beyond the published sizes of texts, which effects exceed.
constexpr std::size_t textArea = 1024;

constexpr double startTempo = 120.0;
constexpr VstInt32 startTimeSignature = 4;

} // namespace

VSTPlugin::VSTPlugin(
    const String& path, float rate, std::uint32_t layout, bool scanOnly,
    checked_value<std::int32_t> maxBlockSize, const String& hostVendor, const String& hostProduct)
    : Plugin(rate, layout), blockSize(maxBlockSize) {
    VSTHost::SetNames(hostVendor, hostProduct);
    library = std::make_unique<Util::Module>(VSTLibrary::LoadPath(path));
    // Effects read the one as a VstEvents that is longer than its declaration.
    static_assert(offsetof(EventsBuffer, numEvents) == offsetof(VstEvents, numEvents));
    static_assert(offsetof(EventsBuffer, reserved) == offsetof(VstEvents, reserved));
    static_assert(offsetof(EventsBuffer, events) == offsetof(VstEvents, events));
    static_assert(sizeof(void*) != 8 || sizeof(EventsBuffer) == 832);
    static_assert(EventsBuffer::capacity * sizeof(VstMidiEvent) == 3200);
    eventsBuffer = std::make_unique<EventsBuffer>();
    midiEvents = std::make_unique<VstMidiEvent[]>(EventsBuffer::capacity);
    timeInfo = std::make_unique<VstTimeInfo>();
    timeInfo->sampleRate = rate;
    timeInfo->tempo = startTempo;
    timeInfo->timeSigNumerator = startTimeSignature;
    timeInfo->timeSigDenominator = startTimeSignature;
    timeInfo->flags = kVstTransportPlaying;

    if (!LoadLibraryFile()) {
        return;
    }
    // From here on the effect's code runs in this constructor; what it throws makes it unusable.
    try {
        if (!IsArchitectureSupported() || !FindEntryPoint() || !CreateEffect(scanOnly)) {
            return;
        }
        isInstrument = DecideInstrument();
        if (!scanOnly) {
            ReadPrograms();
        }
    } catch (...) {
        AbandonEffect();
    }
}

VSTPlugin::~VSTPlugin() {
    destructing = true;
    CloseEditor();
    CloseEffect();
}

bool VSTPlugin::LoadLibraryFile() {
    try {
        if (!VSTLibrary::LoadQuietly(*library)) {
            return false;
        }
    } catch (...) {
        return false;
    }
    library->setKeepLoaded(true);
    return true;
}

bool VSTPlugin::IsArchitectureSupported() const {
    if (library == nullptr) {
        return true;
    }
    const std::vector<MachineType> machines = VSTLibrary::ReadMachineTypes(library->path());
    return std::find(machines.begin(), machines.end(), MachineType::X86_64) != machines.end();
}

bool VSTPlugin::FindEntryPoint() {
    entryPoint = library->find(entryPointName);
    if (entryPoint == nullptr) {
        entryPoint = library->find(oldEntryPointName);
    }
    if (entryPoint == nullptr) {
        isCoreLibrary = library->find(coreEntryPointName) != nullptr;
    }
    return entryPoint != nullptr;
}

bool VSTPlugin::CreateEffect(bool scanOnly) {
    {
        const VSTHost::Loading loading(*this);
        effect = callForeign(
            [this] { return reinterpret_cast<VstEntryPoint>(entryPoint)(&VSTHost::AudioMaster); });
        if (effect != nullptr) {
            VSTHost::SetOwner(*effect, this);
        }
    }
    if (effect == nullptr) {
        return false;
    }
    Dispatch(effOpen);
    vstVersion = static_cast<VstInt32>(Dispatch(effGetVstVersion));
    hasEditor = (effect->flags & effFlagsHasEditor) != 0;
    hasEditorKnown = true;
    if (!IsUsableEffect()) {
        CloseEffect();
        return false;
    }
    if (!scanOnly) {
        StartEffect();
    }
    return true;
}

// The category is asked last, and only of an effect that nothing else speaks against.
bool VSTPlugin::IsUsableEffect() const {
    return effect->processReplacing != nullptr && effect->setParameter != nullptr &&
           effect->getParameter != nullptr && hasEditor && Dispatch(effGetPlugCategory) != kPlugCategShell;
}

void VSTPlugin::StartEffect() {
    Dispatch(effSetBlockSize, 0, blockSize.value_or(defaultBlockSize));
    Dispatch(effSetSampleRate, 0, 0, nullptr, sampleRate);
    const VstInt32 outputs = std::min(static_cast<VstInt32>(numChannels), effect->numOutputs);
    for (VstInt32 output = 0; output < outputs; ++output) {
        Dispatch(effConnectOutput, output, 1);
    }
    Dispatch(effMainsChanged, 0, 1);
}

bool VSTPlugin::DecideInstrument() const {
    if ((effect->flags & effFlagsIsSynth) != 0) {
        return true;
    }
    const VstIntPtr category = Dispatch(effGetPlugCategory);
    return category == kPlugCategSynth || category == kPlugCategGenerator;
}

// Forgotten first: the effect frees itself in answer, even where it throws after that.
void VSTPlugin::CloseEffect() {
    AEffect* const closing = std::exchange(effect, nullptr);
    if (closing != nullptr && closing->dispatcher != nullptr) {
        callForeign([closing] { return closing->dispatcher(closing, effClose, 0, 0, nullptr, 0.0f); });
    }
}

// An effect that threw is not closed, and its threads run on; this object's creator deletes it at once.
void VSTPlugin::AbandonEffect() {
    if (effect != nullptr) {
        VSTHost::SetOwner(*effect, nullptr);
        effect = nullptr;
    }
}

VstIntPtr VSTPlugin::Dispatch(
    std::int32_t opcode, std::int32_t index, std::intptr_t value, void* pointer, float opt) const {
    if (effect == nullptr || effect->dispatcher == nullptr) {
        return 0;
    }
    return callForeign([=, this] { return effect->dispatcher(effect, opcode, index, value, pointer, opt); });
}

void VSTPlugin::DispatchQuietly(
    std::int32_t opcode, std::int32_t index, std::intptr_t value, void* pointer) const noexcept {
    try {
        Dispatch(opcode, index, value, pointer);
    } catch (...) { // NOLINT(bugprone-empty-catch)
        // There is nobody to tell.
    }
}

String VSTPlugin::DispatchText(std::int32_t opcode, std::int32_t index, std::intptr_t& answer) const {
    std::array<char, textArea> text{};
    answer = Dispatch(opcode, index, 0, text.data());
    text.back() = '\0';
    return text.data();
}

bool VSTPlugin::IsValid() const {
    return effect != nullptr;
}

std::uint32_t VSTPlugin::GetFormat() const {
    return static_cast<std::uint32_t>(PluginFormat::VST);
}

PluginIdentifier VSTPlugin::GetIdentifier() const {
    return PluginIdentifier::ForVST(
        Util::Path::normalise(library->path()),
        effect == nullptr ? 0 : static_cast<std::uint32_t>(effect->uniqueID));
}

String VSTPlugin::GetName() const {
    VstIntPtr answer = 0;
    String name = DispatchText(effGetEffectName, 0, answer);
    if (answer != 0) {
        return name;
    }
    const String extension = ".dll";
    const String file = Util::Path::fileName(library->path());
    return file.endsWith(extension) ? file.left(file.length() - extension.length()) : file;
}

std::uint32_t VSTPlugin::GetLatency() const {
    if (effect == nullptr) {
        return 0;
    }
    // A negative delay is a huge one here.
    const auto delay = static_cast<std::uint32_t>(effect->initialDelay);
    return delay > latencyLimit ? 0 : delay;
}

std::uint32_t VSTPlugin::GetNumOutputs() const {
    return effect == nullptr ? 0 : static_cast<std::uint32_t>(std::max(0, effect->numOutputs));
}

} // namespace Tarvik
