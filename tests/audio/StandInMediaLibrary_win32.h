#pragma once

#include "audio/decode/MediaLibrary_win32.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// A media library of the tests' own, with one file in it: it gives what a test tells it to, fails where a
/// test wants it to, and writes down what it is asked. While it lives it stands in for the system's. One at a
/// time.
class StandInMediaLibrary {
public:
    struct Type {
        GUID major = Audio::Decode::WMA::audioMajorType;
        GUID sub = Audio::Decode::WMA::pcmSubType;
        GUID format = Audio::Decode::WMA::waveFormatType;
        /// The wave format, byte by byte.
        std::string wave;
    };
    struct Output {
        Type type;
        std::vector<Type> formats;
        WORD stream = 1;
    };

    /// An object that the library has given away: it stays until the library goes, so that whatever is done
    /// to it after its last release is seen.
    class Object {
    public:
        virtual ~Object() = default;
        virtual long references() const = 0;
    };

    StandInMediaLibrary();
    ~StandInMediaLibrary();
    StandInMediaLibrary(const StandInMediaLibrary&) = delete;
    StandInMediaLibrary& operator=(const StandInMediaLibrary&) = delete;

    /// From here on the library has these functions alone.
    void setFunctions(bool hasCreateSyncReader, bool hasValidateData);
    /// From here on it cannot be loaded.
    void setMissing();

    // ---- the file: 16 bits, stereo, 1000 Hz unless a test changes it
    std::vector<Output> outputs;
    std::uint64_t duration = 0;
    WMT_ATTR_DATATYPE durationType = WMT_TYPE_QWORD;
    WORD durationBytes = 8;
    /// All samples, as they are delivered.
    std::string bytes;
    std::size_t frameBytes = 4;
    std::uint32_t sampleRate = 1000;
    /// How many bytes come at a time: one after the other, and then from the start again.
    std::vector<std::size_t> deliveries{1024};

    // ---- what goes wrong
    /// What calls answer instead of success, by their names. It takes no file for its own by the first bytes
    /// unless a test wants that.
    std::map<std::string, HRESULT> answers{{"WMValidateData", E_INVALIDARG}};
    /// So many of the next calls of Open fail.
    unsigned failingOpens = 0;
    /// Calls that succeed and give no object.
    std::string givesNothing;

    // ---- what was seen
    /// The calls in their order: names, and what they were given.
    std::vector<std::string> calls;
    std::size_t callsOf(const std::string& name) const;
    /// References that nobody has given back yet, of all objects or of samples alone.
    long references() const;
    long sampleReferences() const;
    /// Calls of objects that had been released for the last time, and of those that nothing asks for here.
    unsigned mistakes = 0;

    /// The call is written down. Answers what the test wants, or success.
    HRESULT called(const std::string& name, const std::string& details = {});
    template<class T, class... Arguments>
    T* make(Arguments&&... arguments) {
        auto object = std::make_unique<T>(*this, std::forward<Arguments>(arguments)...);
        T* const result = object.get();
        objects.push_back(std::move(object));
        return result;
    }

    std::vector<std::unique_ptr<Object>> objects;
    std::size_t offset = 0;
    std::size_t delivery = 0;

    static StandInMediaLibrary* current;

private:
    std::optional<Audio::Decode::WMA::MediaLibrary::Substitute> substitute;
};

/// A wave format of integers, and the same in the extensible form.
std::string waveFormat(unsigned channels, unsigned bits, std::uint32_t sampleRate, unsigned tag = 1);
std::string
extensibleWaveFormat(unsigned channels, unsigned bits, std::uint32_t sampleRate, std::uint32_t mask);
