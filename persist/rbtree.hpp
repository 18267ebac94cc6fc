// Red-black tree algorithms shared by the typed tree (ArbNode) and the
// generic search tree (RBNode): the two node records have the same shape and
// differ only in what the last field holds, reached through payload().
//
// Empty leaves are real black nodes without children, so the deletion below
// is the textbook one with a sentinel, except that each leaf belongs to one
// parent. Trees read from a damaged stream may hold keys out of order and
// colours other than 0/1; every walk here is iterative or bounded by the tree
// height in a loop, and no rotation ever lifts a leaf (leaves stay black, and
// only red nodes or known real nodes become pivots), so such trees stay
// memory-safe to search, change, copy and free.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>
#include <vector>

#include "numeric/memory.hpp"
#include "ostravine/persist.h"

namespace ostr::persist::rb {

constexpr std::int32_t red = 0;
constexpr std::int32_t black = 1;

inline ArbValue*& payload(ArbNode* n) noexcept { return n->entry; }
inline void*& payload(RBNode* n) noexcept { return n->value; }

template <class N>
bool is_leaf(const N* n) noexcept {
    return n->left == nullptr || n->right == nullptr;
}
template <class N>
bool is_red(const N* n) noexcept {
    return n && n->color == red;
}

// A node and its key in one block: the key lies right behind the record.
// Released only by release(), which wipes the key first.
template <class N>
N* make_node(std::string_view key, N* parent, std::int32_t color) noexcept {
    auto* n = static_cast<N*>(mem_alloc(sizeof(N) + key.size() + 1));
    if (!n) return nullptr;
    char* k = reinterpret_cast<char*>(n + 1);
    if (!key.empty()) std::memcpy(k, key.data(), key.size());
    k[key.size()] = '\0';
    n->color = color;
    n->left = n->right = nullptr;
    n->parent = parent;
    n->key = k;
    payload(n) = nullptr;
    return n;
}

template <class N>
N* make_leaf(N* parent) noexcept {
    return make_node<N>({}, parent, black);
}

// Releases the node record and its key, not its payload.
template <class N>
void release(N* n) noexcept {
    wipe(n->key, std::strlen(n->key));
    mem_free(n);
}

template <class N>
N* find(N* root, const char* key) noexcept {
    N* n = root;
    while (n && !is_leaf(n)) {
        const int c = std::strcmp(key, n->key);
        if (c == 0) return n;
        n = c < 0 ? n->left : n->right;
    }
    return nullptr;
}

// Makes v take u's place under u's parent (or as the root).
template <class T, class N>
void transplant(T& tree, N* u, N* v) noexcept {
    if (!u->parent)
        tree.root = v;
    else if (u == u->parent->left)
        u->parent->left = v;
    else
        u->parent->right = v;
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

// Finds key below start (the descent may begin at any node, normally the
// root). Returns the existing node with existed set, or a new red node with
// no payload linked in place of the leaf the descent ended on, the tree
// rebalanced and its count raised. nullptr when memory runs out.
template <class T, class N>
N* insert(T& tree, N* start, const char* key, bool& existed) noexcept {
    N* n = start;
    existed = false;
    while (!is_leaf(n)) {
        const int c = std::strcmp(key, n->key);
        if (c == 0) {
            existed = true;
            return n;
        }
        n = c < 0 ? n->left : n->right;
    }
    N* x = make_node<N>(key, n->parent, red);
    N* right = x ? make_leaf<N>(x) : nullptr;
    if (!right) {
        mem_free(x);
        return nullptr;
    }
    transplant(tree, n, x);
    x->left = n;  // the leaf that was replaced becomes the new left leaf
    n->parent = x;
    x->right = right;
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

// Unlinks z (a real node) and rebalances; the leaves z or its successor
// leave behind are released. The caller releases z and its payload.
template <class T, class N>
void erase(T& tree, N* z) noexcept {
    std::int32_t removed_color = z->color;
    N* x;
    if (is_leaf(z->left)) {
        release(z->left);
        x = z->right;
        transplant(tree, z, x);
    } else if (is_leaf(z->right)) {
        release(z->right);
        x = z->left;
        transplant(tree, z, x);
    } else {
        N* y = z->right;
        while (!is_leaf(y->left)) y = y->left;
        removed_color = y->color;
        release(y->left);
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

// Frees a subtree without recursion or a stack: rotate the left child up
// until there is none, then free the node and go right.
template <class N, class F>
void destroy(N* n, F release_payload) noexcept {
    while (n) {
        if (N* l = n->left) {
            n->left = l->right;
            l->right = n;
            n = l;
        } else {
            N* r = n->right;
            release_payload(payload(n));
            release(n);
            n = r;
        }
    }
}

// Visits the real nodes of a subtree in pre-order with an explicit stack.
// visit(n) returns false to skip the rest of n's subtree.
template <class N, class F>
void preorder(N* start, F visit) {
    std::vector<N*> stack;
    if (start) stack.push_back(start);
    while (!stack.empty()) {
        N* n = stack.back();
        stack.pop_back();
        if (is_leaf(n) || !visit(n)) continue;
        stack.push_back(n->right);
        stack.push_back(n->left);
    }
}

// A copy of a subtree with the same shape and colours, built with an explicit
// stack; copy_payload(p) gives the new payload. nullptr when memory runs out
// (what was built is released through release_payload).
template <class N, class C, class R>
N* copy(const N* src, C copy_payload, R release_payload) {
    if (!src) return nullptr;
    struct Job {
        const N* from;
        N* parent;
        N** slot;
    };
    N* root = nullptr;
    std::vector<Job> jobs{{src, nullptr, &root}};
    bool failed = false;
    while (!jobs.empty()) {
        const Job j = jobs.back();
        jobs.pop_back();
        N* n = make_node<N>(j.from->key, j.parent, j.from->color);
        *j.slot = n;
        if (!n) {
            failed = true;
            continue;
        }
        if (is_leaf(j.from)) continue;
        payload(n) = copy_payload(payload(const_cast<N*>(j.from)));
        jobs.push_back({j.from->right, n, &n->right});
        jobs.push_back({j.from->left, n, &n->left});
    }
    if (!failed) return root;
    destroy(root, release_payload);  // destroy() copes with half-built nodes
    return nullptr;
}

// Rebuilds a tree from its pre-order sequence. read() gives the next node
// (key, payload and colour set, no children) or nullptr at the end of the
// data. The first node is the root; each further node is placed with a stack
// of the nodes on the current path: pop while its key is greater than the
// key on top; it becomes the right child of the last node popped, or, when
// none was popped, the left child of the top. Colours are kept as read and
// nothing is rebalanced. Every node is attached exactly once in place of a
// leaf, whatever the key order, so even a damaged stream yields a proper
// binary tree (just maybe not a search tree).
template <class T, class Read, class R>
void rebuild(T& tree, std::uint64_t count, Read read, R release_payload) {
    using N = std::remove_pointer_t<decltype(tree.root)>;
    std::vector<N*> path;
    for (std::uint64_t i = 0; i < count; ++i) {
        N* x = read();
        if (!x) break;
        N* r = make_leaf<N>(x);
        if (!r) {
            release_payload(payload(x));
            release(x);
            break;
        }
        // The leaf that x replaces becomes x's left leaf.
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
        N* l = *slot ? *slot : make_leaf<N>(x);
        if (!l) {
            release(r);
            release_payload(payload(x));
            release(x);
            break;
        }
        l->parent = x;
        x->left = l;
        x->right = r;
        x->parent = parent;
        *slot = x;
        path.push_back(x);
        ++tree.count;
    }
}

}  // namespace ostr::persist::rb
