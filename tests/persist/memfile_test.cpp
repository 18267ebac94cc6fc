// Memory streams: opening, the growth rules of MemWrite and of the value
// writers, all-or-nothing reads, files, copies and the byte-array form; and
// how the tree serialisers share a FILE with other code.
#include <gtest/gtest.h>

#include <string>

#include <unistd.h>

#include "persist/stream.hpp"
#include "support.hpp"
#include "support/counting_alloc.hpp"

namespace {

using namespace persist_test;

TEST(MemFile, WriteGrowsToTwiceBytesPlusSizeAndZeroesTheRest) {
    MemFile* m = MemOpen(18);
    const std::uint8_t full[18] = {1, 2, 3};
    EXPECT_EQ(MemWrite(full, 1, 18, m), 18u);
    EXPECT_EQ(m->size, 18);
    const std::uint8_t one = 0xAB;
    EXPECT_EQ(MemWrite(&one, 1, 1, m), 1u);
    EXPECT_EQ(m->size, 38);  // (1 + 18) * 2
    EXPECT_EQ(m->position, 19u);
    EXPECT_EQ(m->data[18], 0xAB);
    for (int i = 19; i < 38; ++i) EXPECT_EQ(m->data[i], 0) << i;
    // Past the end (an unchecked position) the gap is zeroed as well.
    MemSetBufPos(m, 60);
    EXPECT_EQ(MemWrite(&one, 1, 1, m), 1u);
    ASSERT_GE(m->size, 61);
    for (int k = 19; k < 60; ++k) EXPECT_EQ(m->data[k], 0) << k;
    EXPECT_EQ(m->data[60], 0xAB);
    MemClose(m);
}

// Each value writer grows a full stream by its own rule before its field.
TEST(MemFile, ValueWritersGrowByTheirOwnRules) {
    std::int32_t i = 7;
    double d = 2.5;
    char text[] = "ab";
    struct Row {
        const char* what;
        void (*write)(void*, void*, std::int32_t);
        void* value;
        std::int32_t size_after;
    } rows[] = {
        {"integer: (size + 4) * 2", writeRBNodeValueInteger, &i, 28},
        {"decimal: (size + 8) * 2", writeRBNodeValueDecimal, &d, 36},
        {"string length: size * 2 + 8", writeRBNodeValueString, text, 28},
    };
    for (const Row& r : rows) {
        MemFile* m = MemOpen(10);
        MemSetBufPos(m, 10);
        r.write(r.value, m, 0);
        EXPECT_EQ(m->size, r.size_after) << r.what;
        MemClose(m);
    }
}

TEST(MemFile, EmptySizesOpenNothingAndReadsPastTheEndTakeNothing) {
    EXPECT_EQ(MemOpen(0), nullptr);
    EXPECT_EQ(MemOpen(-1), nullptr);
    EXPECT_EQ(MemWrapperOpen(nullptr, 4), nullptr);
    void* block = ostr::mem_alloc(8);
    EXPECT_EQ(MemWrapperOpen(block, 0), nullptr);  // the block is still ours
    ostr::mem_free(block);
    MemFile* m = mem_of({1, 2, 3, 4, 5});
    std::uint8_t out[8] = {9, 9, 9, 9, 9, 9, 9, 9};
    EXPECT_EQ(MemRead(out, 2, 2, m), 2u);
    EXPECT_EQ(MemRead(out, 1, 2, m), 0u);
    EXPECT_EQ(m->position, 4u);
    EXPECT_EQ(out[0], 1);
    MemSetBufPos(m, 100);  // unchecked; reads then see nothing
    EXPECT_EQ(MemRead(out, 1, 1, m), 0u);
    MemSetRelativeBufPos(m, -96);
    EXPECT_EQ(MemRead(out, 1, 1, m), 1u);
    EXPECT_EQ(out[0], 5);
    MemClose(m);
}

TEST(MemFile, FileReadTakesTheRestAndNoneAtTheEnd) {
    FILE* f = file_of({1, 2, 3, 4, 5, 6});
    std::fseek(f, 2, SEEK_SET);
    MemFile* m = MemFRead(f);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(Bytes(m->data, m->data + m->size), (Bytes{3, 4, 5, 6}));
    EXPECT_EQ(m->position, 0u);
    EXPECT_EQ(std::ftell(f), 6);
    EXPECT_EQ(MemFRead(f), nullptr);
    m->position = 3;
    FILE* g = std::tmpfile();
    EXPECT_EQ(MemFWrite(m, g), 3u);
    EXPECT_EQ(bytes_of(g), (Bytes{3, 4, 5}));
    std::fclose(g);
    std::fclose(f);
    MemClose(m);
}

TEST(MemFile, CopiesHoldOnlyWhatIsThere) {
    MemFile* m = MemOpen(64);
    for (std::uint8_t k = 0; k < 10; ++k) MemWrite(&k, 1, 1, m);
    MemFile* c = CopyMemFile(m);
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->size, 10);
    EXPECT_EQ(c->position, 10u);
    EXPECT_EQ(bytes_of(c), bytes_of(m));
    EXPECT_EQ(MemDump(c, 0, 11), nullptr);  // past the buffer
    m->position = 0;
    EXPECT_EQ(CopyMemFile(m), nullptr);
    EXPECT_EQ(copyRBNodeValueByteArray(nullptr), nullptr);
    MemClose(c);
    MemClose(m);
}

TEST(MemFile, ByteArrayFormIsLengthThenContent) {
    MemFile* m = bytes_value("xyz");
    const Bytes b = encode([&](void* s, std::int32_t mode) { WriteMemFile(m, s, mode); });
    EXPECT_EQ(b, Enc().u32(3).raw("xyz", 3).b);
    MemFile* back = decode(b, 0, ReadMemFile);
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(back->size, 3);
    EXPECT_EQ(back->position, 3u);
    EXPECT_EQ(bytes_of(back), bytes_of(m));
    MemClose(back);
    // A stored empty byte array does not come back; a short one neither,
    // and its bytes stay unread.
    EXPECT_EQ(decode(Enc().u32(0).b, 0, ReadMemFile), nullptr);
    MemFile* s = mem_of(Enc().u32(5).raw("ab", 2).b);
    EXPECT_EQ(ReadMemFile(s, 0), nullptr);
    EXPECT_EQ(s->position, 4u);
    MemClose(s);
    MemClose(m);
}

TEST(MemFile, FailedGrowthWritesNothing) {
    ostr::test::CountingAlloc counter;
    MemFile* m = MemOpen(2);
    counter.fail_after(0);
    EXPECT_EQ(MemWrite("abcd", 1, 4, m), 0u);
    EXPECT_EQ(m->position, 0u);
    counter.fail_after(-1);
    MemClose(m);
    EXPECT_EQ(counter.live(), 0);
}

// A stream may hold a serialised environment: its buffer is wiped before it
// goes back to the allocator, on growth as well as on close.
std::size_t nonzero_at_free = 0;
void* no_realloc(void*, std::size_t) { return nullptr; }  // growth must not lean on it
void inspecting_free(void* p) {
    const auto* b = static_cast<const unsigned char*>(p);
    const std::size_t size = forget_size(p);
    const std::size_t n = size == sizeof(MemFile) ? 0 : size;  // the record: no user data
    for (std::size_t i = 0; p && i < n; ++i) nonzero_at_free += b[i] != 0;
    std::free(p);
}

TEST(MemFile, BuffersAreWipedOnGrowthAndClose) {
    const ostr::AllocHooks hooks{sized_alloc, no_realloc, inspecting_free};
    block_sizes.clear();
    ostr::set_alloc_hooks(&hooks);
    nonzero_at_free = 0;
    MemFile* m = MemOpen(4);
    const std::string secret(1000, 's');
    for (int k = 0; k < 20; ++k) EXPECT_EQ(MemWrite(secret.data(), 1, secret.size(), m), secret.size());
    MemFile* copy = CopyMemFile(m);
    MemClose(m);
    MemClose(copy);
    ostr::set_alloc_hooks(nullptr);
    EXPECT_EQ(nonzero_at_free, 0u);
    EXPECT_TRUE(block_sizes.empty());
}

// A value handler from outside the built-in set gets the FILE itself, in
// the middle of a buffered tree; its bytes must land in their place.
void write_raw(void* v, void* s, std::int32_t mode) {
    if (mode == 1)
        std::fwrite(v, 1, 4, static_cast<FILE*>(s));
    else
        MemWrite(v, 1, 4, static_cast<MemFile*>(s));
}
void* read_raw(void* s, std::int32_t mode) {
    void* v = ostr::mem_alloc(4);
    const std::size_t got =
        mode == 1 ? std::fread(v, 1, 4, static_cast<FILE*>(s)) : MemRead(v, 1, 4, static_cast<MemFile*>(s));
    if (got == 4) return v;
    ostr::mem_free(v);
    return nullptr;
}

TEST(FileStream, OutsideHandlersSeeTheFileUpToDate) {
    registerType("raw4", ostr::mem_free, read_raw, write_raw, nullptr);
    ArbTree* t = initializeArbTree();
    for (int k = 0; k < 2000; ++k) {
        put(t, numbered("r", k), boxed<std::uint32_t>(0xA0000000u + static_cast<std::uint32_t>(k)), "raw4");
        put(t, numbered("i", k), boxed<std::int32_t>(k), "integer");
    }
    const Bytes b = encode_tree(t);
    for (int mode : {0, 1}) {
        long consumed = 0;
        ArbTree* back = decode_tree(b, mode, &consumed);
        EXPECT_EQ(consumed, static_cast<long>(b.size())) << mode;
        ASSERT_NE(getVal("r1999", back, "raw4"), nullptr);
        EXPECT_EQ(*static_cast<std::uint32_t*>(getVal("r1999", back, "raw4")), 0xA00007CFu);
        EXPECT_EQ(encode_tree(back), b);
        release(back);
    }
    release(t);
    initializeArbTreeTypeMap();  // back to the built-in types
}

// An empty field read through a Stream without a buffer (as the
// environment reader makes one) takes nothing and touches no buffer.
TEST(FileStream, EmptyFieldsNeedNoBuffer) {
    FILE* f = file_of({7});
    {
        ostr::persist::Stream in(f, 1);
        char c = 0;
        EXPECT_TRUE(in.get(&c, 0));
        EXPECT_TRUE(in.get(&c, 1));
        EXPECT_EQ(c, 7);
    }
    std::fclose(f);
}

// A pipe cannot seek: nothing may be read ahead of what the tree holds.
TEST(FileStream, PipesAreReadWithoutReadingAhead) {
    ArbTree* t = initializeArbTree();
    for (const char* k : {"b", "a", "c"}) put(t, k, boxed<std::int32_t>(k[0]), "integer");
    Bytes b = encode_tree(t);
    b.push_back('!');
    int fd[2];
    ASSERT_EQ(pipe(fd), 0);
    ASSERT_EQ(write(fd[1], b.data(), b.size()), static_cast<ssize_t>(b.size()));
    close(fd[1]);
    FILE* f = fdopen(fd[0], "rb");
    ArbTree* back = readArbTreeFromStream(f, 1);
    EXPECT_EQ(std::fgetc(f), '!');
    EXPECT_EQ(encode_tree(back), Bytes(b.begin(), b.end() - 1));
    std::fclose(f);
    release(back);
    release(t);
}

}  // namespace
