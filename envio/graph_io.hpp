// Nodes and other objects held inside values, in the environment stream.
// Nodes are numbered within one record: the first mention of a node writes
// its whole connected graph, every later mention its number alone, so
// cycles, self-loops and a node held in many places come back as one graph
// with every holder pointing at the same node.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "core/memory.hpp"
#include "objects/environment.hpp"

namespace ostr::envio {

// The numbering of the nodes of one record being written or read (and
// the nesting of objects inside containers being read); made by the record
// writer and reader around their work. Reading: a node no object took is
// let go (its edges first) when the session ends.
class NodeSession {
public:
    NodeSession();
    ~NodeSession();
    NodeSession(const NodeSession&) = delete;
    NodeSession& operator=(const NodeSession&) = delete;

    struct State;

private:
    std::unique_ptr<State> state_;
    State* outer_;
};

// The value bytes of a node object; false outside a session.
bool put_node(Text& out, const obj::Object* o);
// The node object these bytes name, held by env under key; null when the
// bytes are damaged (a number defined twice or never, an edge to nowhere,
// a weight that is not finite, bytes left over).
[[nodiscard]] obj::Object* read_node(std::string_view bytes, std::string_view key, Arbenv* env);

// An object inside a container (an instance, mutant, class or node), for
// the container writer and reader: its tag and value bytes. The reader
// bounds how deep such objects nest.
void put_held_object(Text& out, const obj::Object* o);
[[nodiscard]] obj::Object* read_held_object(std::uint32_t tag, std::string_view bytes);

}  // namespace ostr::envio
