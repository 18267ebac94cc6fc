// The stream encoding, byte for byte: every expected sequence below is
// written out by hand from the encoding rules (u32 count at the root, then
// pre-order nodes of key, type name, value, u32 colour; strings as u32
// length and bytes), compared in both stream modes and read back.
#include <gtest/gtest.h>

#include <random>

#include "support.hpp"
#include "support/counting_alloc.hpp"

namespace {

using namespace persist_test;

// One entry under key "k": count 1, key, type name, value bytes, colour 1.
Bytes single(const char* type, const Bytes& value) {
    return Enc().u32(1).str("k").str(type).raw(value.data(), value.size()).u32(1).b;
}

double with_bits(std::uint64_t bits) {
    double d;
    std::memcpy(&d, &bits, 8);
    return d;
}

struct Golden {
    const char* name;
    void* (*make)();
    const char* type;
    Bytes value;
};

const Golden goldens[] = {
    {"integer", [] { return static_cast<void*>(boxed<std::int32_t>(-2)); }, "integer", {0xFE, 0xFF, 0xFF, 0xFF}},
    {"decimal", [] { return static_cast<void*>(boxed(1.5)); }, "decimal", Enc().f64(1.5).b},
    {"cmplx", [] { return static_cast<void*>(boxed(Complex{1, -2})); }, "cmplx", Enc().f64(1).f64(-2).b},
    {"string", [] { return static_cast<void*>(ostr::dup_text("hi")); }, "string", {2, 0, 0, 0, 'h', 'i'}},
    {"string_array stops at an empty text", [] { return static_cast<void*>(strings_of({"a", "", "b"})); },
     "string_array", {1, 0, 0, 0, 1, 0, 0, 0, 'a'}},
    // The length, then only 3 bytes of the element storage (element size 1).
    {"vector", [] { return static_cast<void*>(vector_of({with_bits(0x3FF0000000030201), 2, 3})); }, "vector",
     {3, 0, 0, 0, 0x01, 0x02, 0x03}},
    {"matrix", [] { return static_cast<void*>(matrix_of({{1, 2, 3}, {4, 5, 6}})); }, "matrix",
     Enc().u32(2).u32(3).f64(1).f64(2).f64(3).f64(4).f64(5).f64(6).b},
    {"arbtree",
     [] {
         ArbTree* t = initializeArbTree();
         put(t, "x", boxed<std::int32_t>(1), "integer");
         return static_cast<void*>(t);
     },
     "arbtree", Enc().u32(1).str("x").str("integer").u32(1).u32(1).b},
    {"byte_array", [] { return static_cast<void*>(bytes_value("xyz")); }, "byte_array", Enc().u32(3).raw("xyz", 3).b},
    {"string_tree", [] { return static_cast<void*>(string_tree_of({{"p", "q"}})); }, "string_tree",
     Enc().u32(1).str("p").str("q").u32(1).b},
    {"null without a value", [] { return static_cast<void*>(nullptr); }, "null", {}},
};

// Everything reads back to the same encoding, except the vector: its reader
// wants 8 bytes per element where the writer gave one, so the 3 bytes read
// back as no value.
TEST(Encoding, EveryTypeOfOneEntryByteForByte) {
    ostr::test::CountingAlloc counter;
    ArbTree* empty = initializeArbTree();
    EXPECT_EQ(encode_tree(empty), (Bytes{0, 0, 0, 0}));
    release(empty);
    for (int mode : {0, 1}) {
        ArbTree* back = decode_tree({0, 0, 0, 0}, mode);
        EXPECT_EQ(back->count, 0);
        EXPECT_EQ(rb_violation(back), "");
        release(back);
    }
    for (const Golden& g : goldens) {
        ArbTree* t = initializeArbTree();
        put(t, "k", g.make(), g.type);
        const Bytes expect = single(g.type, g.value);
        EXPECT_EQ(encode_tree(t), expect) << g.name;
        for (int mode : {0, 1}) {
            ArbTree* back = decode_tree(expect, mode);
            if (std::string(g.type) == "vector") {
                ASSERT_NE(back->root->entry, nullptr);
                EXPECT_EQ(back->root->entry->value, nullptr) << mode;
            } else {
                EXPECT_EQ(encode_tree(back), expect) << g.name << " mode " << mode;
            }
            release(back);
        }
        // Texts after an empty one are not part of a string vector: free them here.
        if (char** a = getStringArray("k", t)) ostr::free_text(a[2]), ostr::free_text(a[3]);
        release(t);
    }
    EXPECT_EQ(counter.live(), 0);
}

TEST(Encoding, NodesInPreOrderWithTheirColours) {
    ArbTree* t = initializeArbTree();
    for (const char* k : {"b", "a", "c"}) put(t, k, boxed<std::int32_t>(k[0]), "integer");
    Enc e;
    e.u32(3);
    e.str("b").str("integer").u32('b').u32(1);
    e.str("a").str("integer").u32('a').u32(0);
    e.str("c").str("integer").u32('c').u32(0);
    EXPECT_EQ(encode_tree(t), e.b);
    // Writing from a subtree writes no count.
    const Bytes sub = encode([&](void* s, std::int32_t m) { writeArbTreeToStream(t, t->root->right, s, m); });
    EXPECT_EQ(sub, Enc().str("c").str("integer").u32('c').u32(0).b);
    release(t);
}

// An entry of a real type with no value stops the writer for its subtree;
// the count still counts it.
TEST(Encoding, AbsentValueSkipsTheRestOfItsSubtree) {
    ArbTree* t = initializeArbTree();
    put(t, "b", boxed<std::int32_t>(2), "integer");
    put(t, "a", nullptr, "string");
    put(t, "c", boxed<std::int32_t>(3), "integer");
    Enc e;
    e.u32(3).str("b").str("integer").u32(2).u32(1).str("c").str("integer").u32(3).u32(0);
    EXPECT_EQ(encode_tree(t), e.b);
    release(t);
}

void* read_nothing(void*, std::int32_t) { return nullptr; }

// "null" is not registered: a "null" entry reads back as no entry (and a
// node without one writes as "null"), unless "null" is registered. An entry
// of a type without handlers writes no value and copies as absent.
TEST(Encoding, TypesWithoutHandlers) {
    const Bytes b = single("null", {});
    ArbTree* back = decode_tree(b, 0);
    ASSERT_EQ(back->count, 1);
    EXPECT_EQ(back->root->entry, nullptr);
    EXPECT_EQ(encode_tree(back), b);
    release(back);
    registerType("null", nullptr, read_nothing, nullptr, nullptr);
    back = decode_tree(b, 1);
    ASSERT_NE(back->root->entry, nullptr);
    EXPECT_STREQ(back->root->entry->type, "null");
    EXPECT_EQ(back->root->entry->value, nullptr);
    release(back);
    initializeArbTreeTypeMap();  // back to the built-in types

    ArbTree* t = initializeArbTree();
    auto* v = boxed<std::int32_t>(1);
    put(t, "k", v, "mystery");
    EXPECT_EQ(encode_tree(t), single("mystery", {}));
    ArbTree* c = copyArbTree(t);
    ASSERT_NE(c->root->entry, nullptr);
    EXPECT_EQ(c->root->entry->value, nullptr);
    release(c);
    release(t);  // no free operation either: the value stays ours
    ostr::mem_free(v);
}

// Random trees of every type that survives a round trip: the read tree is a
// valid red-black tree (keys in order), encodes to the same bytes, and was
// read to its last byte and no further.
TEST(Encoding, RandomTreesOfEveryTypeRoundTrip) {
    ostr::test::CountingAlloc counter;
    std::mt19937 rng(11);
    ArbTree* t = initializeArbTree();
    for (int i = 0; i < 4000; ++i) {
        const std::string key = numbered("key", rng() % 100000);
        const double x = std::uniform_real_distribution<double>(-1e6, 1e6)(rng);
        switch (i % 9) {
            case 0: put(t, key, boxed<std::int32_t>(static_cast<std::int32_t>(rng())), "integer"); break;
            case 1: put(t, key, boxed(x), "decimal"); break;
            case 2: put(t, key, boxed(Complex{x, -x}), "cmplx"); break;
            case 3: put(t, key, ostr::dup_text(key + "!"), "string"); break;
            case 4: put(t, key, strings_of({key, "two", "three"}), "string_array"); break;
            case 5: put(t, key, matrix_of({{x, 1}, {2, x}, {3, 4}}), "matrix"); break;
            case 6: put(t, key, bytes_value(key), "byte_array"); break;
            case 7: put(t, key, string_tree_of({{key, "a"}, {"b", key}, {"c", "d"}}), "string_tree"); break;
            default: {
                ArbTree* inner = initializeArbTree();
                put(inner, key, boxed(x), "decimal");
                put(t, key, inner, "arbtree");
            }
        }
    }
    put(t, "big", bytes_value(std::string(100000, 'b')), "byte_array");  // more than any buffer
    const Bytes b = encode_tree(t);
    for (int mode : {0, 1}) {
        long consumed = 0;
        ArbTree* back = decode_tree(b, mode, &consumed);
        EXPECT_EQ(consumed, static_cast<long>(b.size()));
        EXPECT_EQ(rb_violation(back), "");
        EXPECT_EQ(back->count, t->count);
        EXPECT_EQ(encode_tree(back), b);
        release(back);
    }
    release(t);
    EXPECT_EQ(counter.live(), 0);
}

}  // namespace
