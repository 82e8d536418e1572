#pragma once

#include "hosting/vst/VstAbi.h"
#include "svbase/util/Noncopyable.h"
#include "svbase/util/String.h"

namespace Tarvik {

class VSTPlugin;

/// What all effects of the process share of their host: its names, and the lock that lets one library's entry
/// point run at a time.
class VSTHost {
public:
    /// What effects are told when they ask who hosts them, from now on. [any]
    static void SetNames(const String& vendor, const String& product);

    /// The plug-in that an effect's calls to its host belong to, kept in its resvd1; null for none. An
    /// effect's threads may call while it changes, and see the one or the other. [any]
    static void SetOwner(AEffect& effect, VSTPlugin* plugin);
    static VSTPlugin* FindOwner(AEffect& effect);

    /// While it lives, an effect that calls its host before there is an AEffect to lead back to its object is
    /// taken for the one given. Holds the loading lock; leaves by an exception as well.
    class Loading : private noncopyable {
    public:
        explicit Loading(VSTPlugin& plugin);
        ~Loading();
    };

    /// The audioMasterCallback of every effect. The AEffect may be null or not yet known. [any]
    static VstIntPtr VSTCALLBACK AudioMaster(
        AEffect* effect, VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr, float opt) noexcept;
};

} // namespace Tarvik
