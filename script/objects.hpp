// Classes, instances, mutants and nodes in the statement layer: what the
// files classes.cpp, members.cpp and graphs.cpp share. Instances (tag 8),
// classes (tag 6) and mutants (tag 3) hold a scope of their own (an Arbenv)
// with their members by name; a node (tag 0) holds a shared node record.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "objects/nodes.hpp"
#include "script/script.hpp"

namespace ostr::script {

inline Arbenv* scope_of(const obj::Object* o) noexcept { return static_cast<Arbenv*>(o->value); }
inline bool holds_scope(const obj::Object* o) noexcept {
    return o && (o->tag == obj::scoped || o->tag == obj::mutant || o->tag == obj::class_definition);
}

// The value handlers of the scope objects: free and deep copy.
const obj::ValueHandlers& scope_handlers() noexcept;
// The class an instance scope was made from; empty for other scopes.
std::string_view class_name(const Arbenv* scope) noexcept;
bool is_instance(const obj::Object* o) noexcept;
// The levels of objects nested in this one (0 for a plain value), bounded
// like the nesting of containers.
std::uint32_t nesting_of(const obj::Object* o) noexcept;

// A new instance of a class object, with the default members, or null.
[[nodiscard]] obj::Object* make_instance(const obj::Object* cls, Arbenv* env);
// Calls a method definition on an instance scope. `self` is the object
// that owns the scope, or null when the scope is lent already ("this").
lang::Value call_instance_method(obj::Object* self, Arbenv* scope, const obj::Object* method,
                                 std::vector<lang::Value>& args, Arbenv* env, std::string_view text);
lang::Value to_class(const obj::Object* cls, const lang::Value& x, Arbenv* env);
// p.x=..., this.x=..., p.q.x=..., m.name=...: nothing when `left` is no
// member path.
std::optional<Text> assign_member(std::string_view left, std::string_view right, Arbenv* env);

// The values of the argument texts of a call ("1,x,2*y" inside its
// brackets), each text analysed once; all are evaluated, errors included,
// as lang::evaluate_list does.
std::vector<lang::Value> evaluate_arguments(std::string_view inside, Arbenv* env);

// A method called on a value (an element of a container): an instance
// works on its copy, a node on the node itself.
lang::Value method_on_value(lang::Value& receiver, std::string_view name, std::vector<lang::Value>& args, Arbenv* env);

// The methods of nodes, and the graph functions (graphs.cpp).
lang::Value node_method(obj::Object* self, std::string_view name, std::vector<lang::Value>& args, Arbenv* env);
void install_graphs();
Text print_node(const obj::Object* o, int digits);

}  // namespace ostr::script
