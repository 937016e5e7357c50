#include "mdb/Rc4.h"

#include <array>
#include <utility>

namespace mdb {

void rc4Apply(std::span<const uint8_t> key, std::span<uint8_t> data)
{
    std::array<uint8_t, 256> state;
    for (std::size_t i = 0; i < state.size(); ++i)
        state[i] = uint8_t(i);
    uint8_t j = 0;
    for (std::size_t i = 0; i < state.size(); ++i) {
        j = uint8_t(j + state[i] + key[i % key.size()]);
        std::swap(state[i], state[j]);
    }
    uint8_t a = 0;
    uint8_t b = 0;
    for (uint8_t& byte : data) {
        a = uint8_t(a + 1);
        b = uint8_t(b + state[a]);
        std::swap(state[a], state[b]);
        byte ^= state[uint8_t(state[a] + state[b])];
    }
}

}  // namespace mdb
