// The node numbering of one record and the bytes of a node value:
//
//   node:   u32 number, u8 1 when the graph follows, then (if so) u32 count
//           and count records: u32 number, u8 locked, value, text label,
//           u32 edges, then edges x (u32 number of the target, f64 weight)
//   value:  u8 0 and a number (2 x f64), u8 1 and a formula text, u8 2 and
//           a string text
#include "envio/graph_io.hpp"

#include <cmath>
#include <unordered_map>
#include <vector>

#include "envio/bytes.hpp"
#include "envio/serialize.hpp"
#include "objects/nodes.hpp"

namespace ostr::envio {

struct NodeSession::State {
    std::unordered_map<const obj::NodeRecord*, std::uint32_t> numbers;  // writing
    std::unordered_map<std::uint32_t, obj::NodeRecord*> nodes;           // reading: one reference each
    int depth = 0;                                                       // held objects being read
};

namespace {

NodeSession::State* current = nullptr;

// Objects inside containers inside objects: a damaged record could nest
// them without end.
constexpr int max_held_depth = 16;

void put_node_value(Text& out, const obj::Item& v) {
    if (!v.obj) {
        put_u8(out, 0);
        put_raw(out, &v.num, sizeof v.num);
        return;
    }
    put_u8(out, v.obj->tag == obj::string ? 2 : 1);
    put_text(out, obj::text_value(v.obj));
}

// Every node connected to n, either way, numbered in the order met.
std::vector<const obj::NodeRecord*> graph_of(const obj::NodeRecord* n, NodeSession::State& s) {
    std::vector<const obj::NodeRecord*> order{n};
    s.numbers.emplace(n, static_cast<std::uint32_t>(s.numbers.size()));
    auto meet = [&](const obj::NodeRecord* m) {
        if (s.numbers.emplace(m, static_cast<std::uint32_t>(s.numbers.size())).second) order.push_back(m);
    };
    for (std::size_t k = 0; k < order.size(); ++k) {
        for (const obj::Edge& e : order[k]->out) meet(e.to);
        for (const obj::NodeRecord* from : order[k]->in) meet(from);
    }
    return order;
}

bool get_node_value(Reader& in, obj::Item& v) {
    std::uint8_t kind;
    if (!in.get(kind)) return false;
    if (kind == 0) return in.get(v.num) && std::isfinite(v.num.re) && std::isfinite(v.num.im);
    std::string_view t;
    if (kind > 2 || !in.view(t) || t.find('\0') != std::string_view::npos || (kind == 1 && t.empty())) return false;
    if (kind == 1) {
        v.obj = obj::make_algebraic(t, "", nullptr);
    } else if (char* c = dup_text(t)) {
        v.obj = obj::make_object(nullptr, obj::string, "", c, obj::text_handlers());
    }
    return v.obj != nullptr;
}

struct PendingEdge {
    obj::NodeRecord* from;
    std::uint32_t to;
    double weight;
};

bool get_graph(Reader& in, NodeSession::State& s) {
    std::uint32_t count;
    if (!in.get(count) || count > in.left() / 14) return false;
    std::vector<PendingEdge> edges;
    for (std::uint32_t k = 0; k < count; ++k) {
        std::uint32_t number, n;
        std::uint8_t locked;
        std::string_view label;
        if (!in.get(number) || s.nodes.count(number) || !in.get(locked) || locked > 1) return false;
        obj::NodeRecord* node = obj::new_node();
        if (!node) return false;
        s.nodes.emplace(number, node);
        node->locked = locked;
        if (!get_node_value(in, node->value) || !in.view(label) || label.find('\0') != std::string_view::npos)
            return false;
        node->label = Text(label);
        if (!in.get(n) || n > in.left() / 12) return false;
        for (std::uint32_t j = 0; j < n; ++j) {
            PendingEdge e{node, 0, 0};
            if (!in.get(e.to) || !in.get(e.weight) || !std::isfinite(e.weight)) return false;
            edges.push_back(e);
        }
    }
    for (const PendingEdge& e : edges) {
        auto to = s.nodes.find(e.to);
        if (to == s.nodes.end() || !obj::connect(e.from, to->second, e.weight)) return false;
    }
    return true;
}

}  // namespace

NodeSession::NodeSession() : state_(std::make_unique<State>()), outer_(current) { current = state_.get(); }

NodeSession::~NodeSession() {
    for (auto& [number, node] : state_->nodes) obj::release_node(node);
    current = outer_;
}

bool put_node(Text& out, const obj::Object* o) {
    const auto* n = obj::node_of(o);
    if (!current || !n) return false;
    auto known = current->numbers.find(n);
    if (known != current->numbers.end()) {
        put_u32(out, known->second);
        put_u8(out, 0);
        return true;
    }
    const std::vector<const obj::NodeRecord*> graph = graph_of(n, *current);
    put_u32(out, current->numbers[n]);
    put_u8(out, 1);
    put_u32(out, static_cast<std::uint32_t>(graph.size()));
    for (const obj::NodeRecord* m : graph) {
        put_u32(out, current->numbers[m]);
        put_u8(out, m->locked ? 1 : 0);
        put_node_value(out, m->value);
        put_text(out, m->label);
        put_u32(out, static_cast<std::uint32_t>(m->out.size()));
        for (const obj::Edge& e : m->out) {
            put_u32(out, current->numbers[e.to]);
            put_raw(out, &e.weight, sizeof e.weight);
        }
    }
    return true;
}

obj::Object* read_node(std::string_view bytes, std::string_view key, Arbenv* env) {
    if (!current) return nullptr;
    Reader in(bytes);
    std::uint32_t number;
    std::uint8_t graph;
    if (!in.get(number) || !in.get(graph) || graph > 1) return nullptr;
    if (graph && !get_graph(in, *current)) return nullptr;
    auto it = current->nodes.find(number);
    if (it == current->nodes.end() || in.left() != 0) return nullptr;
    ++it->second->refs;  // the object's reference; dropped again if it cannot be made
    return obj::make_node(it->second, env, key);
}

void put_held_object(Text& out, const obj::Object* o) {
    Text bytes;
    if (!put_object_bytes(bytes, o)) {
        // Nothing else can stand in its place: the item is kept as a number.
        put_u32(out, obj::numeric);
        Complex zero{0, 0};
        put_text(out, std::string_view(reinterpret_cast<const char*>(&zero), sizeof zero));
        return;
    }
    put_u32(out, o->tag);
    put_text(out, bytes);
}

obj::Object* read_held_object(std::uint32_t tag, std::string_view bytes) {
    if (!current || current->depth >= max_held_depth) return nullptr;
    ++current->depth;
    obj::Object* o = object_from_bytes(tag, bytes);
    --current->depth;
    return o;
}

}  // namespace ostr::envio
