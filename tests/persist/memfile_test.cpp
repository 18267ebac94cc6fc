// Memory streams: opening, the growth rules of MemWrite and of the value
// writers, all-or-nothing reads, files, copies and the byte-array form.
#include <gtest/gtest.h>

#include "numeric/memory.hpp"
#include "support.hpp"
#include "support/counting_alloc.hpp"

namespace {

using namespace persist_test;

TEST(MemFile, OpenRejectsEmptySizesAndWrapsOnlyRealBuffers) {
    EXPECT_EQ(MemOpen(0), nullptr);
    EXPECT_EQ(MemOpen(-1), nullptr);
    EXPECT_EQ(MemWrapperOpen(nullptr, 4), nullptr);
    void* block = ostr::mem_alloc(8);
    EXPECT_EQ(MemWrapperOpen(block, 0), nullptr);  // still ours
    MemFile* m = MemWrapperOpen(block, 8);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(MemGetBufHandle(m), block);
    EXPECT_EQ(MemGetBufSize(m), 8);
    EXPECT_EQ(MemGetBufPos(m), 0u);
    MemClose(m);
}

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

TEST(MemFile, ReadPastTheEndTakesNothing) {
    MemFile* m = mem_of({1, 2, 3, 4, 5});
    std::uint8_t out[8] = {9, 9, 9, 9, 9, 9, 9, 9};
    EXPECT_EQ(MemRead(out, 2, 2, m), 2u);
    EXPECT_EQ(m->position, 4u);
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

TEST(MemFile, WritePastTheEndGrowsOverAZeroedGap) {
    MemFile* m = mem_of({1, 2});
    MemSetBufPos(m, 50);
    const std::uint8_t b = 7;
    EXPECT_EQ(MemWrite(&b, 1, 1, m), 1u);
    ASSERT_GE(m->size, 51);
    EXPECT_EQ(m->data[1], 2);
    for (int k = 2; k < 50; ++k) EXPECT_EQ(m->data[k], 0);
    EXPECT_EQ(m->data[50], 7);
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

TEST(MemFile, CopyHoldsTheContentBeforeThePosition) {
    MemFile* m = MemOpen(64);
    for (std::uint8_t k = 0; k < 10; ++k) MemWrite(&k, 1, 1, m);
    MemFile* c = CopyMemFile(m);
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->size, 10);
    EXPECT_EQ(c->position, 10u);
    EXPECT_EQ(bytes_of(c), bytes_of(m));
    m->position = 0;
    EXPECT_EQ(CopyMemFile(m), nullptr);
    EXPECT_EQ(copyRBNodeValueByteArray(nullptr), nullptr);
    MemClose(c);
    MemClose(m);
}

TEST(MemFile, DumpCopiesARangeInsideTheBuffer) {
    MemFile* m = mem_of({1, 2, 3, 4});
    auto* d = static_cast<std::uint8_t*>(MemDump(m, 1, 3));
    ASSERT_NE(d, nullptr);
    EXPECT_EQ(d[0], 2);
    EXPECT_EQ(d[1], 3);
    ostr::mem_free(d);
    EXPECT_EQ(MemDump(m, 2, 2), nullptr);
    EXPECT_EQ(MemDump(m, -1, 2), nullptr);
    EXPECT_EQ(MemDump(m, 0, 5), nullptr);
    MemClose(m);
}

TEST(MemFile, ByteArrayFormIsLengthThenContent) {
    MemFile* m = MemOpen(4);
    MemWrite("xyz", 1, 3, m);
    const Bytes b = encode([&](void* s, std::int32_t mode) { WriteMemFile(m, s, mode); });
    EXPECT_EQ(b, Enc().u32(3).raw("xyz", 3).b);
    MemFile* back = decode(b, 0, [](void* s, std::int32_t md) { return ReadMemFile(s, md); });
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

}  // namespace
