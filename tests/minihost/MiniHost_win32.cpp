// MiniHost.exe LIBRARY OUTPUT
//
// Loads one VST 2 library, asks it for the facts that a scan rests on, and writes them to the file OUTPUT as
// one JSON object. A second opinion: it shares no code with the scanner, its own declarations of the
// interface included. It judges nothing; what it wrote is told apart by whoever compares.
//
// The keys: "machine", the number in the library's headers, 0 if there are none; "loaded" and "loadError";
// "entryPoint", the export's name or null; "core", whether "PluginCoreCallback" is exported;
// "askedShellCategory"; "effect", whether the entry point returned one. With an effect also
// "processReplacing", "setParameter" and "getParameter" (whether they are there), "flags", "numInputs",
// "numOutputs", "numPrograms", "numParams", "initialDelay", "uniqueId", "version", "vstVersion", "category",
// "nameAnswer" and "name". The name is written in hexadecimal digits, byte by byte: it may be no text.
//
// Ends with 0 when the file was written.

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <windows.h>

namespace {

// As an effect lays it out in memory, in a 64-bit process.
struct Effect;
using HostCallback = std::intptr_t (*)(Effect*, std::int32_t, std::int32_t, std::intptr_t, void*, float);
struct Effect {
    std::int32_t magic;
    std::intptr_t (*dispatcher)(Effect*, std::int32_t, std::int32_t, std::intptr_t, void*, float);
    void* accumulate;
    void* setParameter;
    void* getParameter;
    std::int32_t numPrograms;
    std::int32_t numParams;
    std::int32_t numInputs;
    std::int32_t numOutputs;
    std::int32_t flags;
    std::intptr_t ofTheHost[2];
    std::int32_t initialDelay;
    std::int32_t qualities[2];
    float ratio;
    void* object;
    void* user;
    std::int32_t uniqueId;
    std::int32_t version;
    void* processReplacing;
};
using EntryPoint = Effect* (*)(HostCallback);

enum EffectOpcode : std::int32_t { open = 0, close = 1, plugCategory = 35, effectName = 45, vstVersion = 58 };
enum HostOpcode : std::int32_t {
    interfaceVersion = 1,
    sampleRate = 16,
    blockSize = 17,
    vendor = 32,
    product = 33,
    vendorVersion = 34,
    canDo = 37,
};

bool askedShellCategory = false;

std::intptr_t answerEffect(Effect*, std::int32_t opcode, std::int32_t, std::intptr_t, void* pointer, float) {
    switch (opcode) {
    case interfaceVersion:
        return 2400;
    case sampleRate:
        return 44100;
    case blockSize:
        return 8192;
    case vendor:
    case product:
        if (!pointer)
            return 0;
        std::strcpy(static_cast<char*>(pointer), opcode == vendor ? "Mini" : "Mini Host");
        return 1;
    case vendorVersion:
        return 1000;
    case canDo:
        if (pointer && std::strcmp(static_cast<const char*>(pointer), "shellCategory") == 0)
            askedShellCategory = true;
        return 0;
    default:
        return 0;
    }
}

unsigned machineOf(const wchar_t* path) {
    unsigned machine = 0;
    if (std::FILE* file = _wfopen(path, L"rb")) {
        unsigned char start[64];
        unsigned char headers[6];
        if (std::fread(start, 1, sizeof start, file) == sizeof start && start[0] == 'M' && start[1] == 'Z') {
            const std::uint32_t at = start[60] | static_cast<std::uint32_t>(start[61]) << 8 |
                                     static_cast<std::uint32_t>(start[62]) << 16 |
                                     static_cast<std::uint32_t>(start[63]) << 24;
            if (at < 0x7FFFFFFF && std::fseek(file, static_cast<long>(at), SEEK_SET) == 0 &&
                std::fread(headers, 1, sizeof headers, file) == sizeof headers &&
                std::memcmp(headers, "PE\0\0", 4) == 0)
                machine = headers[4] | static_cast<unsigned>(headers[5]) << 8;
        }
        std::fclose(file);
    }
    return machine;
}

class Facts {
public:
    void add(const char* key, long long value) { addRaw(key, std::to_string(value)); }
    void add(const char* key, bool value) { addRaw(key, value ? "true" : "false"); }
    void addWord(const char* key, const char* word) {
        addRaw(key, word ? '"' + std::string(word) + '"' : std::string("null"));
    }
    bool write(const wchar_t* path) const {
        std::FILE* const file = _wfopen(path, L"wb");
        if (!file)
            return false;
        const bool written = std::fprintf(file, "{%s}\n", m_text.c_str()) > 0;
        return std::fclose(file) == 0 && written;
    }

private:
    void addRaw(const char* key, const std::string& value) {
        m_text += (m_text.empty() ? "\"" : ", \"") + std::string(key) + "\": " + value;
    }
    std::string m_text;
};

void examine(Effect* effect, Facts& facts) {
    const auto ask = [effect](std::int32_t opcode, void* pointer = nullptr) {
        return effect->dispatcher(effect, opcode, 0, 0, pointer, 0.0f);
    };
    ask(open);
    facts.add("vstVersion", static_cast<long long>(ask(vstVersion)));
    facts.add("processReplacing", effect->processReplacing != nullptr);
    facts.add("setParameter", effect->setParameter != nullptr);
    facts.add("getParameter", effect->getParameter != nullptr);
    facts.add("flags", static_cast<long long>(effect->flags));
    facts.add("numInputs", static_cast<long long>(effect->numInputs));
    facts.add("numOutputs", static_cast<long long>(effect->numOutputs));
    facts.add("numPrograms", static_cast<long long>(effect->numPrograms));
    facts.add("numParams", static_cast<long long>(effect->numParams));
    facts.add("initialDelay", static_cast<long long>(effect->initialDelay));
    facts.add("uniqueId", static_cast<long long>(static_cast<std::uint32_t>(effect->uniqueId)));
    facts.add("version", static_cast<long long>(effect->version));
    facts.add("category", static_cast<long long>(ask(plugCategory)));
    char name[4096] = {};
    facts.add("nameAnswer", static_cast<long long>(ask(effectName, name)));
    std::string digits;
    for (const char* byte = name; *byte; ++byte) {
        char two[3];
        std::snprintf(two, sizeof two, "%02x", static_cast<unsigned>(static_cast<unsigned char>(*byte)));
        digits += two;
    }
    facts.addWord("name", digits.c_str());
    ask(close);
}

template<class Function>
Function find(HMODULE library, const char* name) {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

} // namespace

int wmain(int count, wchar_t** arguments) {
    if (count != 3) {
        std::fputs("usage: MiniHost.exe LIBRARY OUTPUT\n", stderr);
        return 2;
    }
    SetErrorMode(SEM_NOGPFAULTERRORBOX | SEM_FAILCRITICALERRORS);
    Facts facts;
    facts.add("machine", static_cast<long long>(machineOf(arguments[1])));
    const HMODULE library = LoadLibraryW(arguments[1]);
    const DWORD error = library ? 0 : GetLastError();
    facts.add("loaded", library != nullptr);
    facts.add("loadError", static_cast<long long>(error));
    if (library) {
        const char* name = nullptr;
        EntryPoint entryPoint = nullptr;
        for (const char* candidate : {"VSTPluginMain", "main"})
            if (!entryPoint && (entryPoint = find<EntryPoint>(library, candidate)) != nullptr)
                name = candidate;
        facts.addWord("entryPoint", name);
        facts.add("core", GetProcAddress(library, "PluginCoreCallback") != nullptr);
        Effect* const effect = entryPoint ? entryPoint(answerEffect) : nullptr;
        facts.add("effect", effect != nullptr);
        if (effect)
            examine(effect, facts);
    }
    facts.add("askedShellCategory", askedShellCategory);
    if (!facts.write(arguments[2])) {
        std::fputs("MiniHost.exe: cannot write the output\n", stderr);
        return 1;
    }
    // The library's own end is not of interest, and may be a bad one.
    std::fflush(nullptr);
    TerminateProcess(GetCurrentProcess(), 0);
    return 0;
}
