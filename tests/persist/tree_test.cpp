// The typed tree and the search tree as containers: red-black invariants
// after every change against a std::map oracle, lookups by type, copies,
// frees (keys wiped, nothing leaked) and the type map.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <random>

#include "support.hpp"
#include "support/counting_alloc.hpp"

namespace {

using namespace persist_test;

// A copy keeps shape, colours and values, and is a tree of its own.
void copied(ArbTree* t) {
    ArbTree* c = copyArbTree(t);
    EXPECT_EQ(rb_violation(c), "");
    EXPECT_EQ(encode_tree(c), encode_tree(t));
    EXPECT_NE(getInteger(c->root->key, c), getInteger(c->root->key, t));
    release(c);
}
void copied(RBTree* t) {
    RBTree* c = copyRBTree(t);
    EXPECT_EQ(rb_violation(c), "");
    EXPECT_EQ(encode([&](void* s, std::int32_t m) { writeRBTreeToStream(c, nullptr, s, m); }),
              encode([&](void* s, std::int32_t m) { writeRBTreeToStream(t, nullptr, s, m); }));
    EXPECT_NE(getRBVal(c->root->key, c), getRBVal(c->root->key, t));
    freeRBNodeValueTree(c);
}

// Random insertions and deletions of keys drawn from a small set, checked
// against a std::map after every step; then every key is looked up, the
// tree copied, and every key deleted again. insert(key, step), erase(key)
// and value(key) adapt a tree; oracle is what the tree holds at the start.
template <class T, class Insert, class Erase, class Value>
void churn(T* t, unsigned seed, Insert insert, Erase erase, Value value,
           std::map<std::string, std::int32_t> oracle = {}) {
    std::mt19937 rng(seed);
    for (int step = 0; step < 3000; ++step) {
        const std::string key = numbered("k", std::uniform_int_distribution<int>(0, 600)(rng));
        if (rng() % 3 == 0) {
            EXPECT_EQ(erase(key.c_str()), static_cast<std::int32_t>(oracle.erase(key)));
        } else {
            insert(key.c_str(), step);
            oracle[key] = step;
        }
        ASSERT_EQ(rb_violation(t), "") << "seed " << seed << " step " << step;
    }
    ASSERT_EQ(t->count, static_cast<std::int32_t>(oracle.size()));
    for (const auto& [k, v] : oracle) EXPECT_EQ(value(k.c_str()), v) << k;
    copied(t);
    for (auto it = oracle.begin(); it != oracle.end(); it = oracle.erase(it)) {
        ASSERT_EQ(erase(it->first.c_str()), 1);
        ASSERT_EQ(rb_violation(t), "");
    }
    EXPECT_EQ(t->count, 0);
}

TEST(ArbTree, InvariantsHoldAfterEveryInsertionAndDeletion) {
    ostr::test::CountingAlloc counter;
    for (unsigned seed = 1; seed <= 3; ++seed) {
        ArbTree* t = initializeArbTree();
        churn(
            t, seed, [&](const char* k, int v) { insertArbNode(t, nullptr, k, int_entry(v)); },
            [&](const char* k) { return deleteArbNode(t, k); },
            [&](const char* k) { return getInteger(k, t) ? *getInteger(k, t) : -1; });
        release(t);
    }
    EXPECT_EQ(counter.live(), 0);
}

// A tree read from a stream holds its nodes in the tree's slabs; deleting,
// replacing and adding keys mixes them with nodes of their own, and nothing
// leaks or breaks, whichever way the stream came; once every key is deleted
// the record can be released alone.
TEST(ArbTree, ReadTreesChangeLikeBuiltOnes) {
    ostr::test::CountingAlloc counter;
    ArbTree* built = initializeArbTree();
    std::map<std::string, std::int32_t> oracle;
    for (int k = 0; k <= 600; k += 2) {
        insertArbNode(built, nullptr, numbered("k", k).c_str(), int_entry(k));
        oracle[numbered("k", k)] = k;
    }
    const Bytes b = encode_tree(built);
    release(built);
    for (int mode : {0, 1}) {
        ArbTree* t = decode_tree(b, mode);
        churn(
            t, 11 + mode, [&](const char* k, int v) { insertArbNode(t, nullptr, k, int_entry(v)); },
            [&](const char* k) { return deleteArbNode(t, k); },
            [&](const char* k) { return getInteger(k, t) ? *getInteger(k, t) : -1; }, oracle);
        ostr::mem_free(t);  // emptied by deletions, it holds nothing but its record
    }
    EXPECT_EQ(counter.live(), 0);
}

TEST(SearchTree, InvariantsHoldAndValuesUseTheTreeHandlers) {
    ostr::test::CountingAlloc counter;
    RBTree* t = string_tree_of({});
    churn(
        t, 7, [&](const char* k, int v) { insertRBNode(t, k, ostr::dup_text(numbered("", v))); },
        [&](const char* k) { return deleteRBNode(t, k); },
        [&](const char* k) { return getRBVal(k, t) ? std::atoi(static_cast<char*>(getRBVal(k, t))) : -1; });
    freeRBNodeValueTree(t);
    EXPECT_EQ(counter.live(), 0);
}

TEST(ArbTree, LookupNeedsTheRightTypeNameAndSameKeyReplaces) {
    ostr::test::CountingAlloc counter;
    ArbTree* t = initializeArbTree();
    EXPECT_EQ(getVal("x", t, "integer"), nullptr);  // empty tree
    insertArbNode(t, nullptr, "x", int_entry(1));
    EXPECT_NE(getVal("x", t, "integer"), nullptr);
    EXPECT_EQ(getDecimal("x", t), nullptr);
    EXPECT_EQ(getInteger("y", t), nullptr);
    const long live = counter.live();
    insertArbNode(t, nullptr, "x", int_entry(2));  // the old entry is freed
    EXPECT_EQ(counter.live(), live);
    EXPECT_EQ(t->count, 1);
    EXPECT_EQ(*getInteger("x", t), 2);
    insertArbNode(t, nullptr, nullptr, int_entry(3));  // taken and freed
    EXPECT_EQ(counter.live(), live);
    release(t);
    EXPECT_EQ(counter.live(), 0);
}

// On release counts the nonzero bytes behind the node record (where a node
// keeps its key).
std::size_t nonzero_at_free = 0;
void inspecting_free(void* p) {
    auto* b = static_cast<unsigned char*>(p);
    const std::size_t size = forget_size(p);
    for (std::size_t i = sizeof(ArbNode); i < size; ++i) nonzero_at_free += b[i] != 0;
    std::free(p);
}

TEST(ArbTree, FreeWipesKeys) {
    ArbTree* t = initializeArbTree();
    const ostr::AllocHooks hooks{sized_alloc, std::realloc, inspecting_free};
    ostr::set_alloc_hooks(&hooks);
    for (const char* k : {"secret01", "secret02", "secret03"}) insertArbNode(t, nullptr, k, int_entry(1));
    nonzero_at_free = 0;
    deleteArbNode(t, "secret02");
    freeArbTree(t, nullptr, 1);
    ostr::set_alloc_hooks(nullptr);
    EXPECT_EQ(nonzero_at_free, 0u);
    EXPECT_EQ(t->root, nullptr);
    EXPECT_EQ(t->count, 0);
    insertArbNode(t, nullptr, "again", int_entry(1));  // a cleared record is still a tree
    EXPECT_EQ(rb_violation(t), "");
    release(t);
}

// Counts released blocks that still hold the text "secret".
std::size_t secrets_at_free = 0;
void scanning_free(void* p) {
    const std::string_view block(static_cast<const char*>(p), forget_size(p));
    secrets_at_free += block.find("secret") != std::string_view::npos;
    std::free(p);
}

// A tree read from a stream wipes a deleted key at once, although its node's
// room is given back only with the whole tree, and releases no block that
// still holds a key. A key of 3 MiB lands in a slab of 4 MiB (pages of its
// own, or a heap block while a test allocator is installed), one of 5 MiB in
// a block of its own.
TEST(ArbTree, ReadTreesWipeKeysOnDeleteAndOnFree) {
    ArbTree* built = initializeArbTree();
    for (int k = 0; k < 300; ++k) insertArbNode(built, nullptr, numbered("secret", k).c_str(), int_entry(k));
    std::string big(3 << 20, 'x'), huge(5 << 20, 'y');
    big.replace(0, 7, "secret!");
    huge.replace(0, 6, "secret");
    insertArbNode(built, nullptr, big.c_str(), int_entry(-1));
    insertArbNode(built, nullptr, huge.c_str(), int_entry(-2));
    const Bytes b = encode_tree(built);
    release(built);
    const ostr::AllocHooks hooks{sized_alloc, std::realloc, scanning_free};
    for (bool inspected : {false, true}) {
        if (inspected) ostr::set_alloc_hooks(&hooks);
        ArbTree* t = decode_tree(b, 0);
        ASSERT_EQ(t->count, 302);
        EXPECT_EQ(*getInteger(huge.c_str(), t), -2);
        secrets_at_free = 0;
        for (const char* k : {"secret7", big.c_str()}) {
            const ArbNode* n = t->root;
            while (n->left && std::strcmp(n->key, k) != 0) n = std::strcmp(k, n->key) < 0 ? n->left : n->right;
            ASSERT_NE(n->left, nullptr);
            const char* key = n->key;
            EXPECT_EQ(deleteArbNode(t, k), 1);
            EXPECT_EQ(std::string_view(key, 7), std::string_view("\0\0\0\0\0\0\0", 7));
        }
        EXPECT_EQ(rb_violation(t), "");
        freeArbTree(t, nullptr, 1);
        ostr::set_alloc_hooks(nullptr);
        EXPECT_EQ(secrets_at_free, 0u);
        ostr::mem_free(t);
    }
}

long real_nodes(const ArbNode* n) {
    long k = 0;
    for (std::vector<const ArbNode*> stack{n}; !stack.empty();) {
        n = stack.back();
        stack.pop_back();
        if (!n->left) continue;
        ++k;
        stack.push_back(n->left);
        stack.push_back(n->right);
    }
    return k;
}

// Freeing a proper subtree puts the empty leaf in its place and lowers the
// count by what it held; freeing a leaf frees nothing.
TEST(ArbTree, FreeingASubtreeLeavesTheRestUsable) {
    ostr::test::CountingAlloc counter;
    ArbTree* t = initializeArbTree();
    for (int k = 0; k < 15; ++k) insertArbNode(t, nullptr, numbered("k", k + 10).c_str(), int_entry(k));
    ArbNode* leaf = t->root->left;
    while (leaf->left) leaf = leaf->left;
    freeArbTree(t, leaf, 1);
    EXPECT_EQ(t->count, 15);
    freeArbTree(t, t->root->left, 1);
    EXPECT_LT(t->count, 15);
    EXPECT_EQ(t->count, real_nodes(t->root));
    insertArbNode(t, nullptr, "k99", int_entry(9));
    EXPECT_NE(getInteger("k99", t), nullptr);
    EXPECT_EQ(t->count, real_nodes(t->root));
    release(t);
    EXPECT_EQ(counter.live(), 0);
}

int custom_frees = 0;
void custom_free(void* v) {
    ++custom_frees;
    ostr::mem_free(v);
}

TEST(TypeMap, RegisteringAgainReplacesTheRecordWithoutLeaking) {
    terminateArbTreeTypeMap();
    {
        ostr::test::CountingAlloc counter;
        initializeArbTreeTypeMap();
        registerType("thing", custom_free, nullptr, nullptr, nullptr);
        const long live = counter.live();
        registerType("thing", custom_free, readRBNodeValueInteger, writeRBNodeValueInteger, nullptr);
        EXPECT_EQ(counter.live(), live);
        // Now readable: a "thing" entry reads back with a value, freed
        // through the registered free operation.
        ArbTree* t = initializeArbTree();
        put(t, "a", boxed<std::int32_t>(42), "thing");
        ArbTree* back = decode_tree(encode_tree(t), 0);
        ASSERT_NE(getVal("a", back, "thing"), nullptr);
        EXPECT_EQ(*static_cast<std::int32_t*>(getVal("a", back, "thing")), 42);
        custom_frees = 0;
        release(t);
        release(back);
        EXPECT_EQ(custom_frees, 2);
        terminateArbTreeTypeMap();
        EXPECT_EQ(counter.live(), 0);
    }
    initializeArbTreeTypeMap();  // outside the counter, for the tests after this one
}

}  // namespace
