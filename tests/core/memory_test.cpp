// The wiping release of texts (heap blocks and the inline buffer of a short
// Text) and the counting allocator every out-of-memory sweep relies on.
#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <string_view>

#include "core/memory.hpp"
#include "ostravine/core.h"
#include "support/counting_alloc.hpp"

namespace {

// free_text must wipe before it releases: a hook that inspects each block as
// it is freed sees only zeros where the text was.
std::size_t nonzero_at_free = 0;
std::size_t inspected_len = 0;
void inspecting_free(void* p) {
    auto* b = static_cast<unsigned char*>(p);
    for (std::size_t i = 0; i < inspected_len; ++i) nonzero_at_free += b[i] != 0;
    std::free(p);
}

TEST(Memory, TextsAreWipedBeforeRelease) {
    const ostr::AllocHooks hooks{std::malloc, std::realloc, inspecting_free};
    ostr::set_alloc_hooks(&hooks);
    char* t = StrDup("secret text");
    inspected_len = std::strlen(t);
    nonzero_at_free = 0;
    FreeString(t);
    {
        ostr::OwnedText owned(ostr::dup_text("another secret"));
        inspected_len = std::strlen(owned.get());
    }
    ostr::set_alloc_hooks(nullptr);
    EXPECT_EQ(nonzero_at_free, 0u);
}

// A short text sits inside the string object; when that object lives in a
// heap block its characters must be gone before the block is released —
// also after a move, which leaves the old characters behind the terminator.
TEST(Memory, ShortTextsInsideHeapObjectsAreWiped) {
    alignas(ostr::Text) unsigned char raw[sizeof(ostr::Text)];
    auto* t = new (raw) ostr::Text("pin 4711");
    ostr::Text moved(std::move(*t));
    t->~Text();
    const std::string_view bytes(reinterpret_cast<const char*>(raw), sizeof raw);
    EXPECT_EQ(bytes.find("4711"), std::string_view::npos) << "inline buffer not wiped";
    EXPECT_EQ(moved, "pin 4711");
}

// If the counter did not fail allocations, every sweep would pass without
// testing a failure.
TEST(Memory, CountingAllocatorSeesLeaksAndInjectsFailure) {
    ostr::test::CountingAlloc counter;
    char* a = StrDup("abc");
    EXPECT_EQ(counter.live(), 1);
    counter.fail_after(0);
    EXPECT_EQ(StrDup("def"), nullptr);
    counter.fail_after(-1);
    FreeString(a);
    EXPECT_EQ(counter.live(), 0);
}

}  // namespace
