// Formulas in a few real variables evaluated many times over (the right-hand
// sides of differential equations, fit models, functions to minimise or
// integrate). Each formula is read once; where its tree holds only numbers,
// the variables, names with real values, + - * / ^, signs and the
// elementary functions, it is compiled to a flat program on doubles that
// computes what the evaluator computes for real values (a square x^2 is
// x·x, which may differ from the evaluator's pow in the last bit). A sample
// the program cannot answer as a real number (a complex power, a pole) and
// every formula beyond it go through the evaluator's prepared tree in a
// scope that holds the variables, so the answers are the language's own.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "lang/evaluate.hpp"
#include "objects/environment.hpp"

namespace ostr::lang {

class RealFormulas {
public:
    // `formulas` in the variables `names` (plain names, none predefined),
    // under the caller's environment; `call_text` is what the call keeps as
    // its value when a sample is a formula (a free name, 1/0).
    RealFormulas(std::span<const std::string_view> formulas, std::span<const std::string_view> names, Arbenv* env,
                 std::string_view call_text);
    RealFormulas(const RealFormulas&) = delete;
    RealFormulas& operator=(const RealFormulas&) = delete;
    ~RealFormulas();

    // False when the names were not usable or memory ran out.
    bool ok() const noexcept { return ok_; }
    std::size_t size() const noexcept { return formulas_.size(); }

    // Every formula at the variables' values `vars` (one per name) into
    // `out`. False when the work must end; `stop` then holds the call's
    // value: an error of the formula, the call's own text for a sample that
    // is a formula, ">invalid_expression<" for one that is complex, or
    // ">evaluation_aborted<".
    bool operator()(const double* vars, double* out);
    // The formula k alone.
    bool one(std::size_t k, const double* vars, double* out);
    std::optional<Value> stop;

    // How many formulas run as compiled programs (for tests and benches).
    std::size_t compiled() const noexcept;

    struct Program;

private:
    bool general(std::size_t k, const double* vars, double* out);

    struct Formula {
        std::unique_ptr<Program> program;  // null: the evaluator only
        Prepared tree;
        bool checked = false;  // program compared with the evaluator once
    };
    std::vector<Formula> formulas_;
    std::vector<Complex*> slots_;  // the variables in the scope
    obj::OwnedEnvironment scope_;
    std::string_view call_text_;
    bool ok_ = false;
};

// The pieces of a list argument: "[a,b,c]" gives a, b and c; any other text
// is one piece. Empty when a piece is empty.
std::vector<std::string_view> list_pieces(std::string_view text);

}  // namespace ostr::lang
