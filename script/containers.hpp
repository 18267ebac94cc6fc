// Arrays and maps in the statement layer: literals, element access and
// assignment (a[i], a[i][j]=x, m["k"]), methods (a.append(x)), printing and
// comparison. The evaluator hands these atoms over through its atom hook;
// the value blocks are the object layer's (objects/containers.hpp).
#pragma once

#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "lang/containers.hpp"
#include "script/script.hpp"

namespace ostr::script {

// An atom that is a container literal ("[1,2]", "array:3;", "map:"k"=1;") or
// an access chain whose base is an array or map ("a[2]", "a.size()",
// "m["k"][1]"). False when the atom is none of these (a string's method,
// say), so that another reader may take it.
bool container_atom(std::string_view text, Arbenv* env, lang::Value* out);

// a[i]=x, a[i][j]=x, m["k"]=x: nothing when `left` is no element of a
// variable, else the answer of the assignment (empty on success).
std::optional<Text> assign_element(std::string_view left, std::string_view right, Arbenv* env);

// A method of an array or map called on a value that no variable holds
// (the array "s.split(",")" gives, say): a method that changes its
// container works on a copy. An error for an unknown method or count.
lang::Value value_method(obj::Object* self, std::string_view name, std::vector<lang::Value>& args, Arbenv* env);

// "array" and "map": keywords of literals, not of blocks.
bool literal_keyword(std::string_view keyword) noexcept;

// The text of an array or map: what, typed back in, gives the same value;
// containers longer than limits().max_shown_items show their first and last
// few elements around "...".
Text print_container(const obj::Object* o, int digits);

// "==" and "~=" between two containers (element by element, numbers as the
// evaluator compares them): 1 or 0, or -1 when the pair is not two
// containers or the operator is another.
int container_compare(const lang::Value& a, const lang::Value& b, lang::ops::Cond c);

lang::Value method_on_value(lang::Value& receiver, std::string_view name, std::vector<lang::Value>& args, Arbenv* env);

// ---- shared by the container files ----

// One step of an access chain: an index "[...]" or a method ".name(...)".
struct Step {
    bool method = false;
    std::string_view name;    // method name
    std::string_view inside;  // index text, or the argument list
};
// base, then the steps in order; the one reader of the chain syntax.
struct Access {
    std::string_view base;
    std::vector<Step> steps;
};
// Nothing when the text ends in no index or method step.
std::optional<Access> parse_access(std::string_view text);

// One step applied to a value of any type, its index or arguments evaluated
// (an index step has one): an array's or map's element, a matrix's row, or a
// method of the value's type (containers, matrices, strings, instances and
// nodes); a changing method works on a copy. How a chain goes on after a step
// answers a type other than its receiver's.
lang::Value step_on_value(lang::Value cur, const Step& s, std::vector<lang::Value>& args, Arbenv* env);

// Element equality: numbers as "==" compares them, texts exactly,
// containers element by element.
bool same_value(const lang::Value& a, const lang::Value& b);
bool same_item(const obj::Item& a, const obj::Item& b);

// The 0-based position of a 1-based index value among n, or npos for an
// index that is not an integer in 1..n (1..n+1 when `one_past`).
std::size_t position(const lang::Value& index, std::size_t n, bool one_past = false);

// Methods of one container kind, called on a holder the caller made
// writable when the method changes it. Nothing for an unknown name.
// `room` is the depth the container may reach (less than the bound when it
// sits inside others).
using Method = lang::Value (*)(obj::Object* self, std::span<lang::Value> args, Arbenv* env, std::uint32_t room);
struct MethodRow {
    std::string_view name;
    int min_args;
    int max_args;  // -1: any number
    bool changes;
    Method fn;
};
const MethodRow* array_method(std::string_view name) noexcept;
const MethodRow* map_method(std::string_view name) noexcept;
// Every row of the dispatch tables (for help and introspection).
std::span<const MethodRow> array_methods() noexcept;
std::span<const MethodRow> map_methods() noexcept;

// Literals.
lang::Value array_literal(std::string_view text, Arbenv* env);  // "[...]"
lang::Value sized_array(std::string_view count, Arbenv* env);   // "array:n;"
lang::Value map_literal(std::string_view inside, Arbenv* env);  // "map:...;"

// A map key from a value (a number or a string), false for anything else.
bool map_key(const lang::Value& v, obj::MapKey& key);
lang::Value key_value(const obj::MapKey& key);

// The error of a container that would grow past its bound: the line stops.
lang::Value too_large(Arbenv* env);

Text print_item(const obj::Item& it, int digits);

}  // namespace ostr::script
