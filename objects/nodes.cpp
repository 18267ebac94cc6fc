// Node records: references, edges in both directions, and the release
// that takes a node out of its graph before it is freed.
#include "objects/nodes.hpp"

#include <algorithm>
#include <new>

#include "objects/types.hpp"

namespace ostr::obj {
namespace {

void drop_in(NodeRecord* target, NodeRecord* source) noexcept {
    auto& in = target->in;
    auto it = std::find(in.begin(), in.end(), source);
    if (it != in.end()) {
        *it = in.back();
        in.pop_back();
    }
}

void drop_out(NodeRecord* source, NodeRecord* target) noexcept {
    auto& out = source->out;
    auto it = std::find_if(out.begin(), out.end(), [&](const Edge& e) { return e.to == target; });
    if (it != out.end()) out.erase(it);
}

constexpr ValueHandlers handlers{release_node, nullptr, nullptr, share_node};

}  // namespace

NodeRecord* new_node() {
    void* p = mem_alloc(sizeof(NodeRecord));
    return p ? new (p) NodeRecord() : nullptr;
}

void release_node(void* v) noexcept {
    auto* n = static_cast<NodeRecord*>(v);
    if (!n || --n->refs > 0) return;
    disconnect_all(n);
    free_item(n->value);
    n->~NodeRecord();
    mem_free(n);
}

void* share_node(void* v) noexcept {
    ++static_cast<NodeRecord*>(v)->refs;
    return v;
}

const ValueHandlers& node_handlers() noexcept { return handlers; }

Object* make_node(NodeRecord* n, Arbenv* env, std::string_view name) {
    return make_object(env, node, name, n, handlers);
}

bool connect(NodeRecord* from, NodeRecord* to, double weight) {
    for (Edge& e : from->out)
        if (e.to == to) {
            e.weight = weight;
            return true;
        }
    try {
        from->out.reserve(from->out.size() + 1);
        to->in.reserve(to->in.size() + 1);
    } catch (const std::bad_alloc&) {
        return false;
    }
    from->out.push_back({to, weight});
    to->in.push_back(from);
    return true;
}

bool disconnect(NodeRecord* from, NodeRecord* to) noexcept {
    auto& out = from->out;
    if (std::none_of(out.begin(), out.end(), [&](const Edge& e) { return e.to == to; })) return false;
    drop_out(from, to);
    drop_in(to, from);
    return true;
}

void disconnect_all(NodeRecord* n) noexcept {
    for (const Edge& e : n->out)
        if (e.to != n) drop_in(e.to, n);
    for (NodeRecord* s : n->in)
        if (s != n) drop_out(s, n);
    n->out.clear();
    n->in.clear();
}

}  // namespace ostr::obj
