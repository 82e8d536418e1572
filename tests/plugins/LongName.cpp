#include "support/TrivialEffect.h"

namespace {

/// Writes a name of 200 characters where 32 are published: hosts in the field give more room than they
/// promise.
class LongName : public TrivialEffect {
public:
    explicit LongName(audioMasterCallback callback) : TrivialEffect(callback) {
        static_assert(sizeof longName > 200 && 200 > kVstMaxEffectNameLen);
        name = longName;
        effect.uniqueID = fourLetters("LoNa");
    }

private:
    static constexpr char longName[] =
        "Twenty characters,  ten times over: 050>0123456789012345678901234567"
        "8901234567890123456789012345678901234567890123456789012345678901234567"
        "89012345678901234567890123456789012345678901234567890123456789";
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new LongName(host))->abi();
}
