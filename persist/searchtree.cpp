// The generic search tree: the red-black tree of the typed tree with the
// value itself in each node and one set of value handlers for the whole tree
// (a "string_tree" value, and the tables that environments keep). Its
// encoding is the typed tree's without type names, and it skips no node.
#include <cstring>

#include "core/memory.hpp"
#include "persist/persist.hpp"
#include "persist/rbtree.hpp"

namespace ostr::persist {
namespace {

RBTree* new_tree(ArbFreeFn f, ArbWriteFn w, ArbReadFn r, ArbCopyFn c) noexcept {
    RBTree* t = rb::new_tree<RBTree>();
    if (!t) return nullptr;
    t->freeValue = f;
    t->writeValue = w;
    t->readValue = r;
    t->copyValue = c;
    return t;
}

void free_value(const RBTree* tree, void* value) noexcept {
    if (value && tree && tree->freeValue) tree->freeValue(value);
}

void insert_value(RBTree* tree, const char* key, void* value) noexcept {
    if (!tree || !key) return free_value(tree, value);
    if (!tree->root) tree->root = rb::leaf_of(tree);  // the whole tree was freed before
    bool existed = false;
    RBNode* n = rb::insert(*tree, tree->root, key, existed);
    if (!n) return free_value(tree, value);
    if (existed && n->value != value) free_value(tree, n->value);
    n->value = value;
}

bool delete_key(RBTree* tree, const char* key) noexcept {
    RBNode* n = tree && key && tree->root ? rb::find(tree->root, key) : nullptr;
    if (!n) return false;
    rb::erase(*tree, n);
    free_value(tree, n->value);
    rb::release_erased(*tree, n);
    return true;
}

void free_tree(RBTree* tree, RBNode* node, bool free_values) noexcept {
    rb::free_subtree(tree, node, [&](void* v) {
        if (free_values) free_value(tree, v);
    });
}

RBTree* copy_tree(const RBTree* tree) noexcept {
    if (!tree) return nullptr;
    RBTree* t = new_tree(tree->freeValue, tree->writeValue, tree->readValue, tree->copyValue);
    if (!t) return nullptr;
    const auto copy_value = [&](void* v) { return v && tree->copyValue ? tree->copyValue(v) : nullptr; };
    if (rb::copy_contents(*t, *tree, copy_value, [&](void* v) { free_value(tree, v); })) return t;
    mem_free(t);
    return nullptr;
}

// Count (at the root only), then every node in pre-order: key (always, the
// empty one too), value through the tree's write operation, colour.
}  // namespace

void write_rbtree(RBTree* tree, RBNode* node, Stream& out) {
    RBNode* start = node ? node : tree->root;
    if (start == tree->root) out.put_u32(static_cast<std::uint32_t>(tree->count));
    const StreamWriteFn write = stream_writer(tree->writeValue);
    const auto fetch_value = [](RBNode* n) { __builtin_prefetch(n->value); };
    rb::preorder(start, rb::leaf_of(tree), fetch_value, [](RBNode*) {}, [&](RBNode* n) {
        out.put_text(n->key, std::strlen(n->key));
        write_with(tree->writeValue, write, n->value, out);
        out.put_u32(static_cast<std::uint32_t>(n->color));
        return true;
    });
}

namespace {

RBNode* read_node(Stream& in, RBTree* tree, StreamReadFn read, Text& key, RBNode* leaf) {
    if (!read_text(in, key)) return nullptr;
    void* value = read_with(tree->readValue, read, in);
    std::uint32_t color = rb::black;
    in.get_u32(color);
    RBNode* n = rb::make_node_in<RBNode>(rb::arena_of(tree), key, nullptr, static_cast<std::int32_t>(color), leaf);
    if (!n) {
        free_value(tree, value);
        return nullptr;
    }
    n->value = value;
    return n;
}

}  // namespace

RBTree* read_rbtree(Stream& in, ArbFreeFn f, ArbWriteFn w, ArbReadFn r, ArbCopyFn c) {
    NestingGuard nesting;
    if (nesting.too_deep()) return nullptr;
    RBTree* tree = new_tree(f, w, r, c);
    if (!tree) return nullptr;
    std::uint32_t count = 0;
    in.get_u32(count);
    Text key;
    const StreamReadFn read = stream_reader(r);
    rb::rebuild(*tree, count, [&](RBNode* leaf) { return read_node(in, tree, read, key, leaf); });
    return tree;
}
}  // namespace ostr::persist

using namespace ostr::persist;

extern "C" {

RBTree* initializeRBTree(ArbFreeFn freeFn, ArbWriteFn writeFn, ArbReadFn readFn, ArbCopyFn copyFn) noexcept {
    return new_tree(freeFn, writeFn, readFn, copyFn);
}
void insertRBNode(RBTree* tree, const char* key, void* value) noexcept { insert_value(tree, key, value); }
int32_t deleteRBNode(RBTree* tree, const char* key) noexcept { return delete_key(tree, key); }
void* getRBVal(const char* key, RBTree* tree) noexcept {
    RBNode* n = key && tree && tree->root ? rb::find(tree->root, key) : nullptr;
    return n ? n->value : nullptr;
}
RBTree* copyRBTree(RBTree* tree) noexcept { return copy_tree(tree); }
void freeRBTree(RBTree* tree, RBNode* node, int32_t freeValues) noexcept { free_tree(tree, node, freeValues != 0); }
void writeRBTreeToStream(RBTree* tree, RBNode* node, void* stream, int32_t mode) noexcept {
    FileBuffer b;
    Stream out(stream, mode, b);
    if (tree && out) write_rbtree(tree, node, out);
}
RBTree* readRBTreeFromStream(void* stream, int32_t mode, ArbFreeFn freeFn, ArbWriteFn writeFn, ArbReadFn readFn,
                             ArbCopyFn copyFn) noexcept {
    FileBuffer b;
    Stream in(stream, mode, b);
    return in ? read_rbtree(in, freeFn, writeFn, readFn, copyFn) : nullptr;
}

}
