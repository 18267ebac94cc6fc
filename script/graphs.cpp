// Node graphs: node(value, "label"), the node methods (value, label, edges,
// connect, disconnect, lock...) and the graph functions bfs, dfs,
// shortestpath, distance, components and toposort. The walks run inside one
// call and no user code runs during them, so a graph cannot change under a
// walk; every walk polls the line's stop and time bound.
#include <cmath>
#include <queue>
#include <unordered_map>

#include "core/runtime.hpp"
#include "lang/globals.hpp"
#include "script/containers.hpp"
#include "script/objects.hpp"

namespace ostr::script {
namespace {

using lang::Error;
using lang::Value;
using obj::NodeRecord;

Value fail(Error e = Error::invalid_expression) { return Value::failure(e); }
Value number(double x) { return Value::number({x, 0}); }

constexpr std::size_t poll_every = 4096;

NodeRecord* node_arg(const Value& v) {
    return v.kind == Value::Kind::object && obj::is_node(v.obj.get()) ? obj::node_of(v.obj.get()) : nullptr;
}

bool real_arg(const Value& v, double* x) {
    if (v.kind != Value::Kind::number || v.num.im != 0 || !std::isfinite(v.num.re)) return false;
    *x = v.num.re;
    return true;
}

// A node holds a number, a formula or a string: never a container or an
// object that could hold the node itself.
bool set_value(NodeRecord* n, Value& v) {
    if (v.kind == Value::Kind::object && v.obj->tag != obj::string && v.obj->tag != obj::numeric) return false;
    obj::Item it;
    if (!lang::to_item(v, it)) return false;
    obj::free_item(n->value);
    n->value = it;
    return true;
}

Value node_value(NodeRecord* n, Arbenv* env) {
    ++n->refs;  // the new object's reference; dropped again if it cannot be made
    return Value::object_of(lang::ObjectPtr(obj::make_node(n, env)));
}

// An array of values made by `each(push)`; push answers false when an item
// cannot be made.
template <class Fill>
Value array_of_values(Fill each) {
    obj::ArrayValue* a = obj::new_array();
    if (!a) return fail();
    Value out = lang::array_value(a);
    if (out.is_error()) return out;
    bool ok = true;
    each([&](Value&& v) {
        obj::Item it;
        if (!ok || !lang::to_item(v, it)) return ok = false;
        a->items.push_back(it);
        return true;
    });
    if (!ok) return fail();
    obj::refresh_depth(*a);
    return out;
}

Value node_list(const std::vector<NodeRecord*>& nodes, Arbenv* env) {
    return array_of_values([&](auto push) {
        for (NodeRecord* n : nodes)
            if (!push(node_value(n, env))) return;
    });
}

// [node, weight] pairs of the out-edges or the in-edges.
Value edge_list(NodeRecord* n, bool out, Arbenv* env) {
    return array_of_values([&](auto push) {
        auto pair = [&](NodeRecord* other, double w) {
            Value v = array_of_values([&](auto inner) { inner(node_value(other, env)) && inner(number(w)); });
            return push(std::move(v));
        };
        if (out) {
            for (const obj::Edge& e : n->out)
                if (!pair(e.to, e.weight)) return;
            return;
        }
        for (NodeRecord* s : n->in)
            for (const obj::Edge& e : s->out)
                if (e.to == n && !pair(s, e.weight)) return;
    });
}

Value connect(NodeRecord* n, std::vector<Value>& args) {
    NodeRecord* to = args.empty() ? nullptr : node_arg(args[0]);
    double w = 1;
    if (!to || args.size() > 2 || (args.size() == 2 && !real_arg(args[1], &w))) return fail();
    if (n->locked || to->locked) return fail(Error::invalid_assignment);
    if (!obj::connect(n, to, w)) return fail();
    return number(static_cast<double>(n->out.size()));
}

// disconnect(): every edge of the node; disconnect(m, ...): the edges
// between the node and each m, both ways. Answers the edges removed.
Value disconnect(NodeRecord* n, std::vector<Value>& args) {
    if (n->locked) return fail(Error::invalid_assignment);
    if (args.empty()) {
        const std::size_t edges = n->out.size() + n->in.size();
        obj::disconnect_all(n);
        return number(static_cast<double>(edges));
    }
    for (const Value& a : args)
        if (!node_arg(a) || node_arg(a)->locked) return fail(node_arg(a) ? Error::invalid_assignment : Error::invalid_expression);
    double removed = 0;
    for (const Value& a : args) {
        NodeRecord* m = node_arg(a);
        removed += obj::disconnect(n, m);
        if (m != n) removed += obj::disconnect(m, n);
    }
    return number(removed);
}

// ---- walks ----

struct Walk {
    std::vector<NodeRecord*> order;
    std::unordered_map<NodeRecord*, std::size_t> seen;  // node -> place in order
    bool stopped = false;
    bool visit(NodeRecord* n) {
        if (!seen.emplace(n, order.size()).second) return false;
        order.push_back(n);
        if (order.size() % poll_every == 0 && core::should_stop()) stopped = true;
        return true;
    }
};

// Neighbours along out-edges, or both ways for the undirected view.
template <class F>
void neighbours(NodeRecord* n, bool undirected, F f) {
    for (const obj::Edge& e : n->out) f(e.to);
    if (undirected)
        for (NodeRecord* s : n->in) f(s);
}

void breadth_first(NodeRecord* start, bool undirected, Walk& w) {
    std::size_t head = w.order.size();
    w.visit(start);
    while (head < w.order.size() && !w.stopped) neighbours(w.order[head++], undirected, [&](NodeRecord* m) { w.visit(m); });
}

void depth_first(NodeRecord* start, Walk& w) {
    std::vector<NodeRecord*> stack{start};
    while (!stack.empty() && !w.stopped) {
        NodeRecord* n = stack.back();
        stack.pop_back();
        if (!w.visit(n)) continue;
        for (auto e = n->out.rbegin(); e != n->out.rend(); ++e)
            if (!w.seen.count(e->to)) stack.push_back(e->to);
    }
}

Value stopped_value(Arbenv* env) { return abort_value(env, "the line ran past its time bound"); }

Value bfs(std::span<Value> args, Arbenv* env) {
    NodeRecord* n = node_arg(args[0]);
    if (!n) return fail();
    Walk w;
    breadth_first(n, false, w);
    return w.stopped ? stopped_value(env) : node_list(w.order, env);
}

Value dfs(std::span<Value> args, Arbenv* env) {
    NodeRecord* n = node_arg(args[0]);
    if (!n) return fail();
    Walk w;
    depth_first(n, w);
    return w.stopped ? stopped_value(env) : node_list(w.order, env);
}

// The nodes an argument names: one node, or an array of nodes.
bool node_set(const Value& v, std::vector<NodeRecord*>& out) {
    if (NodeRecord* n = node_arg(v)) return out.push_back(n), true;
    if (!lang::is_array(v)) return false;
    for (const obj::Item& it : obj::array_of(v.obj.get())->items) {
        if (!obj::is_node(it.obj)) return false;
        out.push_back(obj::node_of(it.obj));
    }
    return true;
}

// The weakly connected components of the graph around the given nodes,
// each in breadth-first order from its first node.
Value components(std::span<Value> args, Arbenv* env) {
    std::vector<NodeRecord*> starts;
    if (!node_set(args[0], starts)) return fail();
    Walk w;
    std::vector<std::size_t> bounds{0};
    for (NodeRecord* s : starts) {
        if (w.seen.count(s)) continue;
        breadth_first(s, true, w);
        if (w.stopped) return stopped_value(env);
        bounds.push_back(w.order.size());
    }
    return array_of_values([&](auto push) {
        for (std::size_t k = 1; k < bounds.size(); ++k) {
            std::vector<NodeRecord*> part(w.order.begin() + static_cast<std::ptrdiff_t>(bounds[k - 1]),
                                          w.order.begin() + static_cast<std::ptrdiff_t>(bounds[k]));
            if (!push(node_list(part, env))) return;
        }
    });
}

// Kahn's order over every node reachable from the given ones; nodes left
// with incoming edges lie on a cycle, which has no order.
Value toposort(std::span<Value> args, Arbenv* env) {
    std::vector<NodeRecord*> starts;
    if (!node_set(args[0], starts)) return fail();
    Walk w;
    for (NodeRecord* s : starts)
        if (!w.seen.count(s)) breadth_first(s, false, w);
    if (w.stopped) return stopped_value(env);
    std::vector<std::size_t> pending(w.order.size(), 0);
    for (NodeRecord* n : w.order)
        for (const obj::Edge& e : n->out) ++pending[w.seen[e.to]];
    std::vector<NodeRecord*> sorted;
    for (NodeRecord* n : w.order)
        if (!pending[w.seen[n]]) sorted.push_back(n);
    for (std::size_t head = 0; head < sorted.size(); ++head)
        for (const obj::Edge& e : sorted[head]->out)
            if (--pending[w.seen[e.to]] == 0) sorted.push_back(e.to);
    if (sorted.size() != w.order.size()) return fail();
    return node_list(sorted, env);
}

// Dijkstra with a binary heap: O((V + E) log V) over the nodes reachable
// from the start. Negative weights have no shortest paths this way and are
// refused.
struct Paths {
    std::unordered_map<NodeRecord*, std::pair<double, NodeRecord*>> best;  // distance, predecessor
    bool stopped = false;
    bool negative = false;
};

Paths dijkstra(NodeRecord* from, NodeRecord* to) {
    Paths p;
    using Entry = std::pair<double, NodeRecord*>;
    std::priority_queue<Entry, std::vector<Entry>, std::greater<>> heap;
    p.best[from] = {0.0, nullptr};
    heap.push({0.0, from});
    std::size_t steps = 0;
    while (!heap.empty()) {
        auto [d, n] = heap.top();
        heap.pop();
        if (d > p.best[n].first) continue;
        if (n == to) break;
        if (++steps % poll_every == 0 && core::should_stop()) return p.stopped = true, p;
        for (const obj::Edge& e : n->out) {
            if (e.weight < 0) return p.negative = true, p;
            auto [it, fresh] = p.best.try_emplace(e.to, d + e.weight, n);
            if (!fresh && !(d + e.weight < it->second.first)) continue;
            it->second = {d + e.weight, n};
            heap.push({d + e.weight, e.to});
        }
    }
    return p;
}

Value path_or_distance(std::span<Value> args, Arbenv* env, bool want_path) {
    NodeRecord *from = node_arg(args[0]), *to = node_arg(args[1]);
    if (!from || !to) return fail();
    Paths p = dijkstra(from, to);
    if (p.stopped) return stopped_value(env);
    if (p.negative) return fail();
    auto it = p.best.find(to);
    if (it == p.best.end()) return fail(Error::invalid_object);
    if (!want_path) return number(it->second.first);
    std::vector<NodeRecord*> path;
    for (NodeRecord* n = to; n; n = p.best[n].second) path.push_back(n);
    std::reverse(path.begin(), path.end());
    return node_list(path, env);
}

Value shortestpath(std::span<Value> args, Arbenv* env) { return path_or_distance(args, env, true); }
Value distance(std::span<Value> args, Arbenv* env) { return path_or_distance(args, env, false); }

// node(), node(value), node(value, "label").
Value make(std::span<Value> args, Arbenv* env) {
    if (args.size() > 2) return fail();
    NodeRecord* n = obj::new_node();
    if (!n) return fail();
    lang::ObjectPtr o(obj::make_node(n, env));
    if (!o) return fail();
    if (!args.empty() && !set_value(n, args[0])) return fail();
    if (args.size() == 2) {
        if (args[1].kind != Value::Kind::object || args[1].obj->tag != obj::string) return fail();
        n->label = Text(obj::text_value(args[1].obj.get()));
    }
    return Value::object_of(std::move(o));
}

int node_compare(const Value& a, const Value& b, lang::ops::Cond c) {
    if (c != lang::ops::Cond::eq && c != lang::ops::Cond::ne) return -1;
    NodeRecord *x = node_arg(a), *y = node_arg(b);
    if (!x && !y) return -1;
    const bool same = x && x == y;
    return c == lang::ops::Cond::eq ? same : !same;
}

}  // namespace

Value node_method(obj::Object* self, std::string_view name, std::vector<Value>& args, Arbenv* env) {
    NodeRecord* n = obj::node_of(self);
    const bool none = args.empty();
    if (name == "value" && none) return lang::item_value(n->value);
    if (name == "label" && none) return Value::object_of(lang::ObjectPtr(make_string(n->label, "", nullptr)));
    if (name == "outedges" && none) return edge_list(n, true, env);
    if (name == "inedges" && none) return edge_list(n, false, env);
    if (name == "isleaf" && none) return number(n->out.empty());
    if (name == "isempty" && none) return number(n->out.empty() && n->in.empty());
    if (name == "islocked" && none) return number(n->locked);
    if (name == "lock" || name == "unlock") {
        if (!none) return fail();
        n->locked = name == "lock";
        return number(n->locked);
    }
    if (name == "connect") return connect(n, args);
    if (name == "disconnect") return disconnect(n, args);
    if (name == "setvalue" || name == "setlabel") {
        if (args.size() != 1) return fail();
        if (n->locked) return fail(Error::invalid_assignment);
        if (name == "setvalue") return set_value(n, args[0]) ? lang::item_value(n->value) : fail();
        if (args[0].kind != Value::Kind::object || args[0].obj->tag != obj::string) return fail();
        n->label = Text(obj::text_value(args[0].obj.get()));
        return Value::object_of(lang::ObjectPtr(make_string(n->label, "", nullptr)));
    }
    return fail(Error::invalid_object);
}

Text print_node(const obj::Object* o, int digits) {
    if (!obj::is_node(o)) return obj::type_name(o);
    const NodeRecord* n = obj::node_of(o);
    Text t("node(");
    t += print_item(n->value, digits);
    t += ',';
    t += quoted(n->label);
    t += ')';
    return t;
}

void install_graphs() {
    obj::type_table().types[obj::node].compare = node_compare;
    lang::register_builtin("node()", make);
    lang::register_builtin("bfs(1)", bfs);
    lang::register_builtin("dfs(1)", dfs);
    lang::register_builtin("components(1)", components);
    lang::register_builtin("toposort(1)", toposort);
    lang::register_builtin("shortestpath(2)", shortestpath);
    lang::register_builtin("distance(2)", distance);
}

}  // namespace ostr::script
