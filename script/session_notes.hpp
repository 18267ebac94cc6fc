// What the statement layer notes about the top-level lines of a session:
// the last answer ("ans") and the explanation of the last statement that
// went wrong (why()); the commands that read and change the environment as
// a whole (type, print, introspect, delete, restore, eval); and the
// algebraic methods of numbers and formulas.
#pragma once

#include <string>
#include <string_view>

#include "script/script.hpp"

namespace ostr::script {

// After a top-level statement: `value` (null for an assignment or a failed
// check) becomes "ans" unless it is an error; an error word, or a formula
// that calls an unknown name, is explained for why().
void note_statement(std::string_view statement, const Text& answer, const lang::Value* value, Arbenv* env);
// The object "ans" stands for when no object of that name exists, or null.
const obj::Object* last_answer(Arbenv* env) noexcept;
// One sentence on what went wrong in `statement`, which answered `answer`;
// empty when a formula answer holds nothing to explain. `reason` is the
// abort text of a stopped line.
std::string explain(std::string_view statement, std::string_view answer, Arbenv* env, std::string_view reason);
// The top-level statement under way runs in this environment; null while
// a nested script runs.
class TopStatement {
public:
    explicit TopStatement(Arbenv* env) noexcept;
    ~TopStatement();
    TopStatement(const TopStatement&) = delete;
    TopStatement& operator=(const TopStatement&) = delete;
    static bool at_top(const Arbenv* env) noexcept;

private:
    Arbenv* saved_;
    bool outermost_;
};

// eval(x): a formula evaluated again with the values its names hold now;
// any other value is itself.
lang::Value evaluate_again(lang::Value v, Arbenv* env);

void install_why();
void install_introspection();
// x.introspect(), f.eval(), x.shift(n) and the other algebraic methods,
// also on a bracketed expression ("(x+1).and(3)"): false when the atom is
// none of these.
bool introspection_atom(std::string_view text, Arbenv* env, lang::Value* out);
bool algebraic_method_atom(std::string_view text, Arbenv* env, lang::Value* out);

}  // namespace ostr::script
