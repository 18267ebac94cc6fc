// Nodes of graphs: a shared record with a value, a label and directed,
// weighted edges. Every object that holds a node holds one reference; edges
// hold none, so a graph never keeps itself alive, and the last holder's
// release first removes the node's edges from its neighbours: no edge ever
// leads to a freed node.
#pragma once

#include <cstdint>
#include <vector>

#include "objects/containers.hpp"

namespace ostr::obj {

struct NodeRecord;
struct Edge {
    NodeRecord* to;
    double weight;
};

struct NodeRecord {
    std::uint32_t refs = 1;
    bool locked = false;          // a locked node refuses every change
    Item value;                   // a number, a formula or a string
    Text label;
    std::vector<Edge> out;        // at most one edge to each target
    std::vector<NodeRecord*> in;  // the sources, one entry per incoming edge
};

// A node of value 0 and empty label, held once; null when memory runs out.
[[nodiscard]] NodeRecord* new_node();
// The value handlers of tag node: copy takes a reference, free drops one.
void release_node(void* v) noexcept;
[[nodiscard]] void* share_node(void* v) noexcept;
const ValueHandlers& node_handlers() noexcept;
// An object of tag node holding the record (its reference passes to it).
[[nodiscard]] Object* make_node(NodeRecord* n, Arbenv* env, std::string_view name = {});
inline NodeRecord* node_of(const Object* o) noexcept { return static_cast<NodeRecord*>(o->value); }
// An object of tag node that holds a node record (a test or a higher layer
// may give the tag a value of its own).
inline bool is_node(const Object* o) noexcept {
    return o && o->tag == node && o->value && o->free_value == release_node;
}

// The edge from -> to gets the weight (a new edge, or a new weight for the
// one there). False when memory runs out (nothing changed).
bool connect(NodeRecord* from, NodeRecord* to, double weight);
// Removes the edge from -> to; false when there is none.
bool disconnect(NodeRecord* from, NodeRecord* to) noexcept;
// Removes every edge into and out of the node.
void disconnect_all(NodeRecord* n) noexcept;

}  // namespace ostr::obj
