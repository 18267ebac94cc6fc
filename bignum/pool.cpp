// The per-thread cache behind the word buffers of the engine (nat.hpp).
// Blocks are rounded up to powers of two; released blocks wait in one list
// per size for the next request of that size.
#include <bit>
#include <cstdlib>
#include <new>

#include "bignum/nat.hpp"

namespace ostr::big {
namespace {

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define OSTR_POOL_OFF 1
#endif
#endif
#ifdef __SANITIZE_ADDRESS__
#define OSTR_POOL_OFF 1
#endif
#ifdef OSTR_POOL_OFF
constexpr bool pooling = false;
#else
constexpr bool pooling = true;
#endif

constexpr int classes = 48;
constexpr int per_class = 8;
constexpr std::size_t largest_cached = std::size_t{16} << 20;  // 16 MiB
constexpr std::size_t cache_limit = std::size_t{96} << 20;      // per thread

struct Cache {
    void* blocks[classes][per_class] = {};
    int count[classes] = {};
    std::size_t held = 0;
    ~Cache() {
        for (int c = 0; c < classes; ++c)
            for (int i = 0; i < count[c]; ++i) std::free(blocks[c][i]);
        gone = true;
    }
    static thread_local bool gone;
};
thread_local bool Cache::gone = false;
thread_local Cache cache;

int size_class(std::size_t bytes) { return std::bit_width(bytes - 1); }

}  // namespace

void* pool_alloc(std::size_t bytes) {
    if (bytes == 0) bytes = 1;
    const int c = size_class(bytes);
    if (pooling && c < classes) {
        if (!Cache::gone && cache.count[c] > 0) {
            cache.held -= std::size_t{1} << c;
            return cache.blocks[c][--cache.count[c]];
        }
        bytes = std::size_t{1} << c;
    }
    void* p = std::malloc(bytes);
    if (!p) throw std::bad_alloc();
    return p;
}

void pool_free(void* p, std::size_t bytes) noexcept {
    if (!p) return;
    const int c = size_class(bytes == 0 ? 1 : bytes);
    const std::size_t size = std::size_t{1} << (c < classes ? c : 0);
    if (pooling && c < classes && size <= largest_cached && !Cache::gone && cache.count[c] < per_class &&
        cache.held + size <= cache_limit) {
        cache.blocks[c][cache.count[c]++] = p;
        cache.held += size;
        return;
    }
    std::free(p);
}

}  // namespace ostr::big
