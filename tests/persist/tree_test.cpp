// The typed tree and the search tree as containers: red-black invariants
// after every change against a std::map oracle, lookups by type, copies,
// frees (keys wiped, nothing leaked) and the type map.
#include <gtest/gtest.h>

#include <map>
#include <random>

#include "numeric/memory.hpp"
#include "support.hpp"
#include "support/counting_alloc.hpp"

namespace {

using namespace persist_test;

ArbValue* int_entry(std::int32_t v) {
    auto* p = static_cast<std::int32_t*>(ostr::mem_alloc(4));
    *p = v;
    return createArbValue(p, "integer");
}

std::string random_key(std::mt19937& rng, int spread) {
    return numbered("k", std::uniform_int_distribution<int>(0, spread)(rng));
}

TEST(ArbTree, InvariantsHoldAfterEveryInsertionAndDeletion) {
    ostr::test::CountingAlloc counter;
    for (unsigned seed = 1; seed <= 3; ++seed) {
        std::mt19937 rng(seed);
        ArbTree* t = initializeArbTree();
        std::map<std::string, std::int32_t> oracle;
        for (int step = 0; step < 3000; ++step) {
            const std::string key = random_key(rng, 600);
            if (rng() % 3 == 0) {
                EXPECT_EQ(deleteArbNode(t, key.c_str()), static_cast<std::int32_t>(oracle.erase(key)));
            } else {
                insertArbNode(t, nullptr, key.c_str(), int_entry(step));
                oracle[key] = step;
            }
            const std::string bad = rb_violation(t);
            ASSERT_EQ(bad, "") << "seed " << seed << " step " << step;
        }
        ASSERT_EQ(t->count, static_cast<std::int32_t>(oracle.size()));
        for (const auto& [k, v] : oracle) {
            const std::int32_t* got = getInteger(k.c_str(), t);
            ASSERT_NE(got, nullptr) << k;
            EXPECT_EQ(*got, v);
        }
        for (auto it = oracle.begin(); it != oracle.end(); it = oracle.erase(it)) {
            ASSERT_EQ(deleteArbNode(t, it->first.c_str()), 1);
            ASSERT_EQ(rb_violation(t), "");
        }
        EXPECT_EQ(t->count, 0);
        release(t);
    }
    EXPECT_EQ(counter.live(), 0);
}

TEST(ArbTree, LookupNeedsTheRightTypeName) {
    ArbTree* t = initializeArbTree();
    EXPECT_EQ(getVal("x", t, "integer"), nullptr);  // empty tree
    insertArbNode(t, nullptr, "x", int_entry(3));
    EXPECT_NE(getVal("x", t, "integer"), nullptr);
    EXPECT_EQ(getVal("x", t, "decimal"), nullptr);
    EXPECT_EQ(getDecimal("x", t), nullptr);
    EXPECT_EQ(getInteger("y", t), nullptr);
    release(t);
}

TEST(ArbTree, SameKeyReplacesTheEntryAndFreesTheOldOne) {
    ostr::test::CountingAlloc counter;
    ArbTree* t = initializeArbTree();
    insertArbNode(t, nullptr, "x", int_entry(1));
    const long live = counter.live();
    insertArbNode(t, nullptr, "x", int_entry(2));
    EXPECT_EQ(counter.live(), live);
    EXPECT_EQ(t->count, 1);
    EXPECT_EQ(*getInteger("x", t), 2);
    insertArbNode(t, nullptr, nullptr, int_entry(3));  // taken and freed
    EXPECT_EQ(counter.live(), live);
    release(t);
    EXPECT_EQ(counter.live(), 0);
}

// Remembers block sizes, and on release counts the nonzero bytes behind the
// node record (where a node keeps its key).
std::map<void*, std::size_t> sizes;
std::size_t nonzero_at_free = 0;
void* sized_alloc(std::size_t n) {
    void* p = std::malloc(n);
    sizes[p] = n;
    return p;
}
void inspecting_free(void* p) {
    auto* b = static_cast<unsigned char*>(p);
    for (std::size_t i = sizeof(ArbNode); i < sizes[p]; ++i) nonzero_at_free += b[i] != 0;
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
    ostr::mem_free(t);
}

TEST(ArbTree, FreeingASubtreeLeavesTheRestUsable) {
    ostr::test::CountingAlloc counter;
    ArbTree* t = initializeArbTree();
    for (int k = 0; k < 15; ++k) insertArbNode(t, nullptr, numbered("k", k + 10).c_str(), int_entry(k));
    ArbNode* sub = t->root->left;
    freeArbTree(t, sub, 1);
    EXPECT_LT(t->count, 15);
    insertArbNode(t, nullptr, "k99", int_entry(9));
    EXPECT_NE(getInteger("k99", t), nullptr);
    release(t);
    EXPECT_EQ(counter.live(), 0);
}

TEST(ArbTree, CopyHasTheSameShapeColoursAndValues) {
    ostr::test::CountingAlloc counter;
    ArbTree* t = initializeArbTree();
    for (int k = 0; k < 200; ++k) insertArbNode(t, nullptr, numbered("k", k * 7 % 200).c_str(), int_entry(k));
    insertArbNode(t, nullptr, "no value", createArbValue(nullptr, "null"));
    ArbTree* c = copyArbTree(t);
    EXPECT_EQ(rb_violation(c), "");
    EXPECT_EQ(encode_tree(c), encode_tree(t));
    EXPECT_NE(getInteger("k3", c), getInteger("k3", t));  // values are copies
    release(t);
    release(c);
    EXPECT_EQ(counter.live(), 0);
}

TEST(SearchTree, InvariantsHoldAndValuesUseTheTreeHandlers) {
    ostr::test::CountingAlloc counter;
    std::mt19937 rng(7);
    RBTree* t = initializeRBTree(freeRBNodeValueString, writeRBNodeValueString, readRBNodeValueString,
                                 copyRBNodeValueString);
    std::map<std::string, std::string> oracle;
    for (int step = 0; step < 2000; ++step) {
        const std::string key = random_key(rng, 300);
        if (rng() % 3 == 0) {
            EXPECT_EQ(deleteRBNode(t, key.c_str()), static_cast<std::int32_t>(oracle.erase(key)));
        } else {
            insertRBNode(t, key.c_str(), ostr::dup_text(numbered("v", step)));
            oracle[key] = numbered("v", step);
        }
        ASSERT_EQ(rb_violation(t), "") << step;
    }
    RBTree* c = copyRBTree(t);
    for (const auto& [k, v] : oracle) EXPECT_STREQ(static_cast<char*>(getRBVal(k.c_str(), c)), v.c_str());
    freeRBNodeValueTree(t);
    freeRBNodeValueTree(c);
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
    // Now readable: a "thing" entry reads back with a value, freed through
    // the registered free operation.
    ArbTree* t = initializeArbTree();
    auto* v = static_cast<std::int32_t*>(ostr::mem_alloc(4));
    *v = 42;
    insertArbNode(t, nullptr, "a", createArbValue(v, "thing"));
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
