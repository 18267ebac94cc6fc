// The generic search tree: the red-black tree of the typed tree with the
// value itself in each node and one set of value handlers for the whole tree
// (a "string_tree" value, and the tables that environments keep). Its
// encoding is the typed tree's without type names, and it skips no node.
#include <cstring>

#include "numeric/memory.hpp"
#include "persist/persist.hpp"
#include "persist/rbtree.hpp"

namespace ostr::persist {
namespace {

RBTree* new_tree(ArbFreeFn f, ArbWriteFn w, ArbReadFn r, ArbCopyFn c) noexcept {
    auto* t = static_cast<RBTree*>(mem_alloc(sizeof(RBTree)));
    if (!t) return nullptr;
    *t = RBTree{rb::make_leaf<RBNode>(nullptr), f, w, r, c, 0};
    if (!t->root) {
        mem_free(t);
        return nullptr;
    }
    return t;
}

void free_value(const RBTree* tree, void* value) noexcept {
    if (value && tree && tree->freeValue) tree->freeValue(value);
}

void insert_value(RBTree* tree, const char* key, void* value) noexcept {
    if (!tree || !key) return free_value(tree, value);
    if (!tree->root && !(tree->root = rb::make_leaf<RBNode>(nullptr))) return free_value(tree, value);
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
    rb::release(n);
    return true;
}

// As the typed tree's free: the whole tree clears root and count; a proper
// subtree is replaced by an empty leaf.
void free_tree(RBTree* tree, RBNode* node, bool free_values) noexcept {
    RBNode* start = node ? node : tree ? tree->root : nullptr;
    if (!start) return;
    RBNode* parent = start->parent;
    const bool whole = tree && start == tree->root;
    std::int64_t released = 0;
    rb::destroy(start, [&](void* v) {
        ++released;
        if (free_values) free_value(tree, v);
    });
    if (whole) {
        tree->root = nullptr;
        tree->count = 0;
        return;
    }
    if (!tree || !parent) return;
    RBNode*& slot = parent->left == start ? parent->left : parent->right;
    slot = rb::make_leaf<RBNode>(parent);
    tree->count -= static_cast<std::int32_t>((released - 1) / 2);
}

RBTree* copy_tree(const RBTree* tree) noexcept {
    if (!tree) return nullptr;
    auto* t = static_cast<RBTree*>(mem_alloc(sizeof(RBTree)));
    if (!t) return nullptr;
    *t = *tree;
    if (tree->root) {
        t->root = rb::copy(
            tree->root, [&](void* v) { return v && tree->copyValue ? tree->copyValue(v) : nullptr; },
            [&](void* v) { free_value(tree, v); });
        if (!t->root) {
            mem_free(t);
            return nullptr;
        }
    }
    return t;
}

// Count (at the root only), then every node in pre-order: key (always, the
// empty one too), value through the tree's write operation, colour.
void write_tree(const RBTree* tree, RBNode* node, Stream& out) {
    RBNode* start = node ? node : tree->root;
    if (start == tree->root) out.put_u32(static_cast<std::uint32_t>(tree->count));
    rb::preorder(start, [&](RBNode* n) {
        out.put_text(n->key, std::strlen(n->key));
        if (tree->writeValue) tree->writeValue(n->value, out.raw(), out.mode());
        out.put_u32(static_cast<std::uint32_t>(n->color));
        return true;
    });
}

RBNode* read_node(Stream& in, const RBTree* tree, Text& key) {
    if (!read_text(in, key)) return nullptr;
    void* value = tree->readValue ? tree->readValue(in.raw(), in.mode()) : nullptr;
    std::uint32_t color = rb::black;
    in.get_u32(color);
    RBNode* n = rb::make_node<RBNode>(key, nullptr, static_cast<std::int32_t>(color));
    if (!n) {
        free_value(tree, value);
        return nullptr;
    }
    n->value = value;
    return n;
}

RBTree* read_tree(Stream& in, ArbFreeFn f, ArbWriteFn w, ArbReadFn r, ArbCopyFn c) {
    NestingGuard nesting;
    if (nesting.too_deep()) return nullptr;
    RBTree* tree = new_tree(f, w, r, c);
    if (!tree) return nullptr;
    std::uint32_t count = 0;
    in.get_u32(count);
    Text key;
    rb::rebuild(*tree, count, [&] { return read_node(in, tree, key); }, [&](void* v) { free_value(tree, v); });
    return tree;
}

}  // namespace
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
    Stream out(stream, mode);
    if (tree && out) write_tree(tree, node, out);
}
RBTree* readRBTreeFromStream(void* stream, int32_t mode, ArbFreeFn freeFn, ArbWriteFn writeFn, ArbReadFn readFn,
                             ArbCopyFn copyFn) noexcept {
    Stream in(stream, mode);
    return in ? read_tree(in, freeFn, writeFn, readFn, copyFn) : nullptr;
}

}
