// Red-black tree algorithms shared by the typed tree (ArbNode) and the
// generic search tree (RBNode): the two node records have the same shape and
// differ only in what the last field holds, reached through payload().
//
// Every tree has one empty leaf, a black node without children, that all its
// real nodes point to in place of a missing child (the textbook sentinel). It
// lives in the tree record's own block (TreeBlock), so an inserted node costs
// one block and every descent ends on a node that is already in the cache. The leaf's
// parent field is scratch: erase() parks the place of the removed node there
// for its fix-up (rotations may overwrite it too); nothing else reads it.
// The leaf is never freed on its own and never turns red.
//
// Trees read from a damaged stream may hold keys out of order and colours
// other than 0/1; every walk here is iterative or bounded by the tree height
// in a loop, and no rotation ever lifts a leaf (only red nodes or known real
// nodes become pivots), so such trees stay memory-safe to search, change,
// copy and free.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>
#include <vector>

#include "core/memory.hpp"
#include "ostravine/persist.h"

namespace ostr::persist::rb {

constexpr std::int32_t red = 0;
constexpr std::int32_t black = 1;

inline ArbValue*& payload(ArbNode* n) noexcept { return n->entry; }
inline void*& payload(RBNode* n) noexcept { return n->value; }

template <class T>
using node_of = std::remove_pointer_t<decltype(T::root)>;

// A leaf has no children; real nodes always have two.
template <class N>
bool is_leaf(const N* n) noexcept {
    return n->left == nullptr || n->right == nullptr;
}
template <class N>
bool is_red(const N* n) noexcept {
    return n && n->color == red;
}

// Hints the cache about a node that is about to be visited: its record and
// the key behind it (a slab node's key, in front of it, mostly shares the
// record's first line).
template <class N>
inline void prefetch(const N* n) noexcept {
    __builtin_prefetch(n);
    __builtin_prefetch(reinterpret_cast<const char*>(n) + sizeof(N));
}

// Nodes that a reader makes in bulk are carved from slabs that the tree owns:
// a few dozen allocations for a million small nodes instead of one per node,
// laid out in reading order. Such a node keeps its key right in front of its record
// (a node of its own block keeps it right behind), which is how release()
// tells the two apart. A slab node that is deleted or freed on its own has
// its key wiped at once; its room comes back when the whole tree is freed or
// its last node deleted, which wipes and releases the slabs.
struct alignas(std::max_align_t) Slab {
    // Whole blocks, this header included: 256 bytes doubling to 4 MiB. From
    // 2 MiB on they are pages of their own, in huge pages where the system
    // grants them: a fresh page costs a fault, and a tree of 10^6 nodes
    // would otherwise fault 16,000 times on its slabs alone.
    static constexpr std::size_t first_size = 256, mapped_size = std::size_t{2} << 20, max_size = std::size_t{4} << 20;
    Slab* next;
    std::size_t used, size;
    bool mapped;  // pages of its own rather than a heap block
    static constexpr std::size_t max_room() noexcept { return max_size - sizeof(Slab); }
    std::size_t room() const noexcept { return size - sizeof(Slab); }
    unsigned char* bytes() noexcept { return reinterpret_cast<unsigned char*>(this + 1); }
};
struct Arena {
    Slab* slabs;
};

inline void release_slabs(Arena& a) noexcept {
    for (Slab* s = a.slabs; s;) {
        Slab* next = s->next;
        wipe(s->bytes(), s->used);
        if (s->mapped)
            unmap_pages(s, s->size);
        else
            mem_free(s);
        s = next;
    }
    a.slabs = nullptr;
}

// Room for need more bytes (at most max_room()): in the newest slab, else in
// a new one twice its size, so a small tree costs little and a large one
// allocates rarely. nullptr when memory runs out.
inline unsigned char* carve(Arena& a, std::size_t need) noexcept {
    Slab* s = a.slabs;
    if (!s || s->room() - s->used < need) {
        std::size_t size = s ? std::min(2 * s->size, Slab::max_size) : Slab::first_size;
        while (size - sizeof(Slab) < need) size *= 2;
        void* pages = size >= Slab::mapped_size ? map_pages(size) : nullptr;
        void* block = pages ? pages : mem_alloc(size);
        if (!block) return nullptr;
        s = static_cast<Slab*>(block);
        s->mapped = pages != nullptr;
        s->next = a.slabs;
        s->used = 0;
        s->size = size;
        a.slabs = s;
    }
    unsigned char* p = s->bytes() + s->used;
    s->used += need;
    return p;
}

// A tree record, the tree's empty leaf and the leaf's empty key in one block,
// with the slabs of the tree's bulk-made nodes. The record comes first, so
// the block is released with the record.
template <class T>
struct TreeBlock {
    T tree;
    node_of<T> leaf;
    char leaf_key[1];
    Arena arena;
};

template <class T>
TreeBlock<T>* block_of(T* tree) noexcept {
    static_assert(std::is_standard_layout_v<TreeBlock<T>> && offsetof(TreeBlock<T>, tree) == 0);
    return reinterpret_cast<TreeBlock<T>*>(tree);
}

// The empty leaf of a tree made by new_tree().
template <class T>
node_of<T>* leaf_of(T* tree) noexcept {
    return &block_of(tree)->leaf;
}

template <class T>
Arena& arena_of(T* tree) noexcept {
    return block_of(tree)->arena;
}

// A new tree record with its leaf as the root and every other field zero.
// Released with mem_free() like any record, after its nodes are freed.
template <class T>
T* new_tree() noexcept {
    auto* b = static_cast<TreeBlock<T>*>(mem_alloc(sizeof(TreeBlock<T>)));
    if (!b) return nullptr;
    std::memset(static_cast<void*>(b), 0, sizeof(TreeBlock<T>));
    b->leaf.color = black;
    b->leaf.key = b->leaf_key;
    b->tree.root = &b->leaf;
    return &b->tree;
}

template <class N>
void init_node(N* n, char* k, std::string_view key, N* parent, std::int32_t color, N* leaf) noexcept {
    if (!key.empty()) std::memcpy(k, key.data(), key.size());
    k[key.size()] = '\0';
    n->color = color;
    n->left = n->right = leaf;
    n->parent = parent;
    n->key = k;
    payload(n) = nullptr;
}

// A node and its key in one block: the key lies right behind the record.
// Both children are the given leaf. Released only by release(), which wipes
// the key first.
template <class N>
N* make_node(std::string_view key, N* parent, std::int32_t color, N* leaf) noexcept {
    auto* n = static_cast<N*>(mem_alloc(sizeof(N) + key.size() + 1));
    if (!n) return nullptr;
    init_node(n, reinterpret_cast<char*>(n + 1), key, parent, color, leaf);
    return n;
}

// The same node carved from the tree's slabs, its key in front of it; a key
// too long for a slab gets a block of its own.
template <class N>
N* make_node_in(Arena& a, std::string_view key, N* parent, std::int32_t color, N* leaf) noexcept {
    const std::size_t key_room = (key.size() + alignof(N)) & ~(alignof(N) - 1);  // with the terminator
    if (key.size() >= Slab::max_room() || key_room + sizeof(N) > Slab::max_room()) return make_node(key, parent, color, leaf);
    unsigned char* p = carve(a, key_room + sizeof(N));
    if (!p) return nullptr;
    auto* n = reinterpret_cast<N*>(p + key_room);
    init_node(n, reinterpret_cast<char*>(p), key, parent, color, leaf);
    return n;
}

// Releases a real node's record and key, not its payload. A slab node only
// has its key wiped.
template <class N>
void release(N* n) noexcept {
    wipe(n->key, std::strlen(n->key));
    if (n->key == reinterpret_cast<char*>(n + 1)) mem_free(n);
}

// Releases a node that erase() unlinked, and the slabs when it was the last
// node: an emptied tree holds nothing but its record.
template <class T, class N>
void release_erased(T& tree, N* n) noexcept {
    release(n);
    if (is_leaf(tree.root)) release_slabs(arena_of(&tree));
}

template <class N>
N* find(N* root, const char* key) noexcept {
    N* n = root;
    while (n && !is_leaf(n)) {
        prefetch(n->left);
        prefetch(n->right);
        const int c = std::strcmp(key, n->key);
        if (c == 0) return n;
        n = c < 0 ? n->left : n->right;
    }
    return nullptr;
}

// The link that holds u: its parent's child field, or the tree's root.
template <class T, class N>
N*& link_of(T& tree, N* u) noexcept {
    if (!u->parent) return tree.root;
    return u == u->parent->left ? u->parent->left : u->parent->right;
}

// Makes v take u's place under u's parent (or as the root).
template <class T, class N>
void transplant(T& tree, N* u, N* v) noexcept {
    link_of(tree, u) = v;
    v->parent = u->parent;
}

template <class T, class N>
void rotate_left(T& tree, N* x) noexcept {
    N* y = x->right;
    x->right = y->left;
    y->left->parent = x;
    transplant(tree, x, y);
    y->left = x;
    x->parent = y;
}

template <class T, class N>
void rotate_right(T& tree, N* x) noexcept {
    N* y = x->left;
    x->left = y->right;
    y->right->parent = x;
    transplant(tree, x, y);
    y->right = x;
    x->parent = y;
}

template <class T, class N>
void insert_fixup(T& tree, N* x) noexcept {
    while (is_red(x->parent)) {
        N* p = x->parent;
        N* g = p->parent;
        if (!g) break;  // a red root, possible only in a tree read from a stream
        const bool left_side = p == g->left;
        N* uncle = left_side ? g->right : g->left;
        if (is_red(uncle)) {
            p->color = uncle->color = black;
            g->color = red;
            x = g;
            continue;
        }
        if (x == (left_side ? p->right : p->left)) {
            x = p;
            left_side ? rotate_left(tree, x) : rotate_right(tree, x);
            p = x->parent;
        }
        p->color = black;
        g->color = red;
        left_side ? rotate_right(tree, g) : rotate_left(tree, g);
    }
    tree.root->color = black;
}

// Finds key below start (the descent may begin at any real node, normally
// the root; a leaf stands for the root). Returns the existing node with
// existed set, or a new red node with no payload linked in place of the leaf
// the descent ended on, the tree rebalanced and its count raised. nullptr
// when memory runs out. The tree's root is not null.
template <class T, class N>
N* insert(T& tree, N* start, const char* key, bool& existed) noexcept {
    existed = false;
    N* n = start && !is_leaf(start) ? start : tree.root;
    N* parent = n == tree.root ? nullptr : n->parent;
    N** link = n == tree.root ? &tree.root : &link_of(tree, n);
    while (!is_leaf(n)) {
        prefetch(n->left);
        prefetch(n->right);
        const int c = std::strcmp(key, n->key);
        if (c == 0) {
            existed = true;
            return n;
        }
        parent = n;
        link = c < 0 ? &n->left : &n->right;
        n = *link;
    }
    N* x = make_node<N>(key, parent, red, n);  // n is the leaf
    if (!x) return nullptr;
    *link = x;
    insert_fixup(tree, x);
    ++tree.count;
    return x;
}

template <class T, class N>
void erase_fixup(T& tree, N* x) noexcept {
    while (x != tree.root && !is_red(x)) {
        N* p = x->parent;
        const bool left_side = x == p->left;
        N* w = left_side ? p->right : p->left;
        if (is_red(w)) {
            w->color = black;
            p->color = red;
            left_side ? rotate_left(tree, p) : rotate_right(tree, p);
            w = left_side ? p->right : p->left;
        }
        if (is_leaf(w)) break;  // black heights were unequal: a tree read from a stream
        N* near = left_side ? w->left : w->right;
        N* far = left_side ? w->right : w->left;
        if (!is_red(near) && !is_red(far)) {
            w->color = red;
            x = p;
            continue;
        }
        if (!is_red(far)) {
            near->color = black;
            w->color = red;
            left_side ? rotate_right(tree, w) : rotate_left(tree, w);
            w = left_side ? p->right : p->left;
            far = left_side ? w->right : w->left;
        }
        w->color = p->color;
        p->color = black;
        far->color = black;
        left_side ? rotate_left(tree, p) : rotate_right(tree, p);
        x = tree.root;
    }
    x->color = black;
}

// Unlinks z (a real node) and rebalances. x, the node that moves up into
// the removed place, may be the leaf: its parent field then carries the
// place to the fix-up, as with the textbook sentinel. The caller releases z
// and its payload.
template <class T, class N>
void erase(T& tree, N* z) noexcept {
    std::int32_t removed_color = z->color;
    N* x;
    if (is_leaf(z->left)) {
        x = z->right;
        transplant(tree, z, x);
    } else if (is_leaf(z->right)) {
        x = z->left;
        transplant(tree, z, x);
    } else {
        N* y = z->right;
        while (!is_leaf(y->left)) y = y->left;
        removed_color = y->color;
        x = y->right;
        if (y->parent == z) {
            x->parent = y;
        } else {
            transplant(tree, y, x);
            y->right = z->right;
            y->right->parent = y;
        }
        transplant(tree, z, y);
        y->left = z->left;
        y->left->parent = y;
        y->color = z->color;
    }
    if (removed_color != red) erase_fixup(tree, x);
    --tree.count;
}

// Frees the real nodes of a subtree without recursion or a stack: rotate the
// left child up until there is none, then free the node and go right.
// Returns the number of nodes freed.
template <class N, class F>
std::int64_t destroy(N* n, F release_payload) noexcept {
    std::int64_t freed = 0;
    while (n && !is_leaf(n)) {
        if (N* l = n->left; !is_leaf(l)) {
            n->left = l->right;
            l->right = n;
            n = l;
        } else {
            N* r = n->right;
            release_payload(payload(n));
            release(n);
            ++freed;
            n = r;
        }
    }
    return freed;
}

// Frees the subtree at node, or the whole tree when node is null. The whole
// tree leaves the root cleared and the count 0; a proper subtree is replaced
// by the tree's empty leaf and the count lowered by the entries it held, so
// the rest of the tree stays usable. A leaf holds nothing and is never freed.
template <class T, class N, class F>
void free_subtree(T* tree, N* node, F release_payload) noexcept {
    N* start = node ? node : tree ? tree->root : nullptr;
    if (!start) return;
    const bool whole = tree && start == tree->root;
    if (!is_leaf(start)) {
        N** link = whole || !tree || !start->parent ? nullptr : &link_of(*tree, start);
        const std::int64_t freed = destroy(start, release_payload);
        if (link) {
            *link = leaf_of(tree);
            tree->count -= static_cast<std::int32_t>(freed);
        }
    }
    if (whole) {
        tree->root = nullptr;
        tree->count = 0;
        release_slabs(arena_of(tree));
    }
}

// Visits the real nodes of a subtree in pre-order with an explicit stack;
// leaf is the tree's empty leaf. visit(n) returns false to skip the rest of
// n's subtree.
//
// A walk over a large tree is a chain of cache misses, so it runs ahead of
// the visits: up to `ahead` nodes are taken off the stack before the first
// of them is visited. Taking a node off fetches its children into the cache
// and calls fetch(n) (to fetch its entry, say); halfway through the queue
// fetch_more(n) fetches what that needs in turn (the value). A skipped
// node's subtree is the run of nodes after it whose stack depth, taken when
// they came off the stack, is not below its own; those are dropped from the
// queue, and the ones still on the stack with them.
template <class N, class F1, class F2, class V>
void preorder(N* start, const N* leaf, F1 fetch, F2 fetch_more, V visit) {
    constexpr std::size_t ahead = 16;
    struct Item {
        N* n;
        std::size_t depth;
    };
    Item queue[ahead];
    std::size_t head = 0, queued = 0;
    auto at = [&](std::size_t i) -> Item& { return queue[(head + i) % ahead]; };
    std::vector<N*> stack;
    if (start && start != leaf) stack.push_back(start);
    for (;;) {
        while (queued < ahead && !stack.empty()) {
            N* n = stack.back();
            stack.pop_back();
            if (is_leaf(n)) continue;  // no real node hangs a foreign leaf, but be safe
            N* l = n->left;
            N* r = n->right;
            if (r != leaf) {
                prefetch(r);
                stack.push_back(r);
            }
            if (l != leaf) {
                prefetch(l);
                stack.push_back(l);
            }
            fetch(n);
            at(queued++) = {n, stack.size() - (r != leaf) - (l != leaf)};
            if (queued > ahead / 2) fetch_more(at(queued - 1 - ahead / 2).n);
        }
        if (queued == 0) return;
        const Item it = at(0);
        head = (head + 1) % ahead;
        --queued;
        if (visit(it.n)) continue;
        while (queued > 0 && at(0).depth >= it.depth) {
            head = (head + 1) % ahead;
            --queued;
        }
        if (queued == 0 && stack.size() > it.depth) stack.resize(it.depth);
    }
}

// A copy of a subtree with the same shape and colours, hanging from the
// given leaf, built with an explicit stack; copy_payload(p) gives the new
// payload. nullptr when memory runs out (what was built is released through
// release_payload).
template <class N, class C, class R>
N* copy(const N* src, N* leaf, C copy_payload, R release_payload) {
    if (!src || is_leaf(src)) return leaf;
    struct Job {
        const N* from;
        N* parent;
        N** slot;
    };
    N* root = leaf;
    std::vector<Job> jobs{{src, nullptr, &root}};
    bool failed = false;
    while (!jobs.empty() && !failed) {
        const Job j = jobs.back();
        jobs.pop_back();
        N* n = make_node<N>(j.from->key, j.parent, j.from->color, leaf);
        if (!n) {
            failed = true;
            break;
        }
        *j.slot = n;
        payload(n) = copy_payload(payload(const_cast<N*>(j.from)));
        if (!is_leaf(j.from->right)) jobs.push_back({j.from->right, n, &n->right});
        if (!is_leaf(j.from->left)) jobs.push_back({j.from->left, n, &n->left});
    }
    if (!failed) return root;
    destroy(root, release_payload);  // every slot not yet filled still holds the leaf
    return nullptr;
}

// Gives the fresh tree dst a copy of src's nodes and count. False when
// memory runs out; the caller then releases dst's record.
template <class T, class C, class R>
bool copy_contents(T& dst, const T& src, C copy_payload, R release_payload) {
    dst.count = src.count;
    if (!src.root) {
        dst.root = nullptr;
        return true;
    }
    dst.root = copy(src.root, leaf_of(&dst), copy_payload, release_payload);
    return dst.root != nullptr;
}

// Rebuilds a tree from its pre-order sequence. read(leaf) gives the next
// node (key, payload and colour set, both children the leaf) or nullptr at
// the end of the data. The first node is the root; each further node is
// placed with a stack of the nodes on the current path: pop while its key
// is greater than the key on top; it becomes the right child of the last
// node popped, or, when none was popped, the left child of the top. Colours
// are kept as read and nothing is rebalanced. Every node is attached exactly
// once in place of the leaf, whatever the key order, so even a damaged
// stream yields a proper binary tree (just maybe not a search tree).
template <class T, class Read>
void rebuild(T& tree, std::uint64_t count, Read read) {
    using N = node_of<T>;
    N* leaf = leaf_of(&tree);
    std::vector<N*> path;
    for (std::uint64_t i = 0; i < count; ++i) {
        N* x = read(leaf);
        if (!x) break;
        N* parent = nullptr;
        N** slot = &tree.root;
        if (!path.empty()) {
            N* popped = nullptr;
            while (!path.empty() && std::strcmp(x->key, path.back()->key) > 0) {
                popped = path.back();
                path.pop_back();
            }
            parent = popped ? popped : path.back();
            slot = popped ? &parent->right : &parent->left;
        }
        x->parent = parent;
        *slot = x;
        path.push_back(x);
        ++tree.count;
    }
}

}  // namespace ostr::persist::rb
