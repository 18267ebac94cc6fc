// Construction and release of bit arrays.
#include "bignum/bitarray.hpp"

#include "numeric/memory.hpp"

namespace ostr::big {

BitArray* make(std::uint64_t bits) noexcept {
    if (bits == 0) return nullptr;
    const std::uint64_t nwords = (bits + 63) / 64;
    if (nwords > SIZE_MAX / sizeof(std::uint64_t)) return nullptr;
    OwnedBlock<BitArray> a(static_cast<BitArray*>(mem_alloc(sizeof(BitArray))));
    if (!a) return nullptr;
    a->words = static_cast<std::uint64_t*>(mem_calloc(nwords, sizeof(std::uint64_t)));
    if (!a->words) return nullptr;
    a->bits = bits;
    a->nwords = nwords;
    return a.release();
}

void release(BitArray* a) noexcept {
    if (!a) return;
    mem_free(a->words);
    mem_free(a);
}

}  // namespace ostr::big

extern "C" {

BitArray* InitializeBitArray(std::uint64_t bits) noexcept { return ostr::big::make(bits); }
void FreeBitArray(BitArray* a) noexcept { ostr::big::release(a); }

}
