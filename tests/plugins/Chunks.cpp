#include "support/TrivialEffect.h"

#include <array>
#include <cstddef>
#include <cstring>

namespace {

/// Keeps its state as a chunk: four bytes of a mark, then its two parameters. A chunk with another mark or of
/// another size is refused.
class Chunks : public TrivialEffect {
public:
    explicit Chunks(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "Chunks";
        effect.uniqueID = fourLetters("Chnk");
        effect.flags |= effFlagsProgramChunks;
        setParameterCount(2);
    }

protected:
    std::intptr_t dispatch(
        std::int32_t opcode, std::int32_t index, std::intptr_t value, void* pointer, float opt) override {
        switch (opcode) {
        case effGetChunk: {
            const float values[] = {getParameter(0), getParameter(1)};
            std::memcpy(m_chunk.data(), mark, markBytes);
            std::memcpy(m_chunk.data() + markBytes, values, sizeof values);
            *static_cast<void**>(pointer) = m_chunk.data();
            return static_cast<std::intptr_t>(m_chunk.size());
        }
        case effSetChunk: {
            if (value != static_cast<std::intptr_t>(m_chunk.size()) ||
                std::memcmp(pointer, mark, markBytes) != 0)
                return 0;
            float values[2];
            std::memcpy(values, static_cast<const std::byte*>(pointer) + markBytes, sizeof values);
            setParameter(0, values[0]);
            setParameter(1, values[1]);
            return 1;
        }
        default:
            return TrivialEffect::dispatch(opcode, index, value, pointer, opt);
        }
    }

private:
    static constexpr char mark[] = "MARK";
    static constexpr std::size_t markBytes = 4;
    std::array<std::byte, markBytes + 2 * sizeof(float)> m_chunk{};
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new Chunks(host))->abi();
}
