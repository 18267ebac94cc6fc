// Reading damaged streams: every truncation, lengths and counts that promise
// more than the stream holds, keys out of order and odd colours, deep
// chains and deep nesting, random bytes and failing allocations. Nothing may
// crash, leak, loop or allocate for a promise; the sanitizers watch memory.
#include <gtest/gtest.h>

#include <random>

#include "support.hpp"
#include "support/counting_alloc.hpp"

namespace {

using namespace persist_test;

// A tree holding one entry of every type, nested trees included.
Bytes rich_encoding() {
    ArbTree* t = initializeArbTree();
    put(t, "int", boxed<std::int32_t>(5), "integer");
    put(t, "dec", boxed(2.5), "decimal");
    put(t, "cx", boxed(Complex{1, 2}), "cmplx");
    put(t, "str", ostr::dup_text("text"), "string");
    put(t, "sa", strings_of({"one", "two"}), "string_array");
    put(t, "vec", vector_of({1, 2, 3}), "vector");
    put(t, "mat", matrix_of({{1, 2}, {3, 4}}), "matrix");
    put(t, "ba", bytes_value("bytes"), "byte_array");
    put(t, "st", string_tree_of({{"p", "q"}, {"r", "s"}}), "string_tree");
    ArbTree* inner = initializeArbTree();
    put(inner, "deep", ostr::dup_text("x"), "string");
    put(t, "tree", inner, "arbtree");
    put(t, "nul", nullptr, "null");
    const Bytes b = encode_tree(t);
    release(t);
    return b;
}

// Reads in both modes and checks what a damaged read must still give: a
// tree, lookups that terminate, and a free that leaves nothing behind.
// Returns the bytes consumed in memory and in a file.
std::pair<long, long> read_and_release(const Bytes& b) {
    long consumed[2] = {};
    for (int mode : {0, 1}) {
        ArbTree* t = decode_tree(b, mode, &consumed[mode]);
        EXPECT_NE(t, nullptr);
        for (const char* k : {"int", "str", "tree", "zzz"}) (void)getVal(k, t, "string");
        release(t);
    }
    return {consumed[0], consumed[1]};
}

TEST(Damage, EveryTruncationReadsBackWithoutLeaks) {
    const Bytes full = rich_encoding();
    ostr::test::CountingAlloc counter;
    for (std::size_t n = 0; n <= full.size(); ++n) {
        const auto [mem, file] = read_and_release(Bytes(full.begin(), full.begin() + static_cast<long>(n)));
        EXPECT_EQ(mem, file) << "bytes consumed from " << n;  // a file is read ahead and given back
    }
    EXPECT_EQ(counter.live(), 0);
}

std::size_t requested = 0;
void* measuring_alloc(std::size_t n) {
    requested += n;
    return std::malloc(n);
}
void* measuring_realloc(void* p, std::size_t n) {
    requested += n;
    return std::realloc(p, n);
}

// Each stream claims far more than it holds; reading it must cost a few
// hundred bytes, not the claim.
TEST(Damage, PromisesBeyondTheDataAllocateNothingForThem) {
    auto one = [](const char* type, const Bytes& value) {
        Enc e;
        e.u32(1).str("k").str(type).raw(value.data(), value.size());
        return e.b;
    };
    const Bytes cases[] = {
        Enc().u32(0x7FFFFFFF).b,
        Enc().u32(0xFFFFFFFF).b,
        Enc().u32(2).u32(0xFFFFFFFF).raw("k", 1).b,
        one("string", Enc().u32(0x7FFFFFFF).raw("ab", 2).b),
        one("string_array", Enc().u32(0xFFFFFFFF).str("a").b),
        one("vector", Enc().u32(0x7FFFFFFF).b),
        one("matrix", Enc().u32(0x7FFFFFFF).u32(0x7FFFFFFF).b),
        one("matrix", Enc().u32(0x7FFFFFFF).u32(0).b),
        // 8 * rows * cols wraps around 2^64 to 537552, which these bytes hold.
        one("matrix", [] { Enc e; e.u32(1073764994).u32(2147437309).b.resize(8 + 537552); return e.b; }()),
        one("matrix", Enc().u32(0).u32(0x7FFFFFFF).b),
        one("byte_array", Enc().u32(0x7FFFFFFF).raw("ab", 2).b),
        one("arbtree", Enc().u32(0xFFFFFFFF).b),
        one("string_tree", Enc().u32(0xFFFFFFFF).str("p").b),
    };
    const ostr::AllocHooks hooks{measuring_alloc, measuring_realloc, std::free};
    for (const Bytes& b : cases) {
        for (int mode : {0, 1}) {
            ArbTree* t = decode(b, mode, [&](void* s, std::int32_t md) {
                ostr::set_alloc_hooks(&hooks);
                requested = 0;
                ArbTree* r = readArbTreeFromStream(s, md);
                ostr::set_alloc_hooks(nullptr);
                return r;
            });
            EXPECT_LT(requested, 1024u) << "case of " << b.size() << " bytes, mode " << mode;
            release(t);
        }
    }
}

TEST(Damage, KeysOutOfOrderAndOddColoursStayUsable) {
    Enc e;
    e.u32(6);
    const char* keys[] = {"m", "z", "a", "n", "b", "m"};
    const std::uint32_t colours[] = {0, 7, 0, 0, 0xFFFFFFFF, 0};
    for (int i = 0; i < 6; ++i) e.str(keys[i]).str("integer").u32(static_cast<std::uint32_t>(i)).u32(colours[i]);
    ostr::test::CountingAlloc counter;
    for (int mode : {0, 1}) {
        ArbTree* t = decode_tree(e.b, mode);
        ASSERT_EQ(t->count, 6);
        for (const char* k : keys) (void)getInteger(k, t);
        std::mt19937 rng(3);
        for (int i = 0; i < 400; ++i) {
            const std::string k(1, static_cast<char>('a' + rng() % 26));
            if (rng() % 2)
                insertArbNode(t, nullptr, k.c_str(), createArbValue(boxed<std::int32_t>(i), "integer"));
            else
                deleteArbNode(t, k.c_str());
        }
        ArbTree* c = copyArbTree(t);
        (void)encode_tree(c);
        release(c);
        release(t);
    }
    EXPECT_EQ(counter.live(), 0);
}

// Keys in increasing order rebuild as one long right-leaning chain; no walk
// may recurse along it.
TEST(Damage, DeepChainsNeedNoDeepRecursion) {
    constexpr int n = 200000;
    Enc e;
    e.u32(n);
    char key[16];
    for (int i = 0; i < n; ++i) {
        std::snprintf(key, sizeof key, "k%07d", i);
        e.str(key).str("null").u32(1);
    }
    ArbTree* t = decode_tree(e.b, 0);
    ASSERT_EQ(t->count, n);
    EXPECT_EQ(getNull("k0199999", t), nullptr);
    ArbTree* c = copyArbTree(t);
    EXPECT_EQ(encode_tree(c), e.b);
    insertArbNode(c, nullptr, "k9", nullptr);
    deleteArbNode(c, "k0000000");
    release(c);
    release(t);
}

TEST(Damage, DeepNestingIsCutOffNotFollowed) {
    constexpr int levels = 20000;
    Enc e;
    for (int i = 0; i < levels; ++i) e.u32(1).str("").str("arbtree");
    e.u32(0);
    for (int mode : {0, 1}) {
        ArbTree* t = decode_tree(e.b, mode);
        int depth = 0;
        for (ArbTree* x = t; x && x->root && x->root->left; x = getArbTree("", x)) ++depth;
        EXPECT_GT(depth, 50);
        EXPECT_LT(depth, 1000);
        release(t);
    }
}

TEST(Damage, RandomBytesAndMutationsReadSafely) {
    const Bytes full = rich_encoding();
    std::mt19937 rng(5);
    ostr::test::CountingAlloc counter;
    for (int round = 0; round < 400; ++round) {
        Bytes b = full;
        for (int k = 0; k < 1 + round % 4; ++k) b[rng() % b.size()] = static_cast<std::uint8_t>(rng());
        read_and_release(b);
        Bytes noise(rng() % 64);
        for (auto& x : noise) x = static_cast<std::uint8_t>(rng() % 4 == 0 ? rng() : rng() % 8);
        read_and_release(noise);
    }
    EXPECT_EQ(counter.live(), 0);
}

TEST(Damage, FailingAllocationsLeakNothing) {
    const Bytes full = rich_encoding();
    ostr::test::CountingAlloc counter;
    for (long k = 0; k < 400; ++k) {
        MemFile* m = mem_of(full);
        counter.fail_after(k);
        ArbTree* t = readArbTreeFromStream(m, 0);
        ArbTree* c = t ? copyArbTree(t) : nullptr;
        counter.fail_after(-1);
        release(c);
        release(t);
        MemClose(m);
        ASSERT_EQ(counter.live(), 0) << "failure after " << k << " allocations";
    }
}

}  // namespace
