// The flat programs of RealFormulas: a postfix sequence of operations on a
// small stack of doubles, made from the grammar's tree. Each operation does
// what the evaluator does for real operands (the power and the elementary
// functions are the evaluator's own, taken on their real path); a result
// that is no real number is NaN, which sends the sample to the evaluator.
#include "lang/real_formula.hpp"

#include <cmath>

#include "grammar/scan.hpp"
#include "grammar/tree.hpp"
#include "lang/builtins.hpp"
#include "lang/elementary.hpp"
#include "lang/globals.hpp"

namespace ostr::lang {

namespace {

using grammar::Kind;
using grammar::Node;
using Unary = Complex (*)(Complex) noexcept;

enum class Op : unsigned char { constant, variable, add, sub, mul, div, pow, square, neg, call };

struct Instruction {
    Op op;
    std::uint32_t index = 0;  // variable
    double value = 0;         // constant
    Unary fn = nullptr;       // call
};

constexpr std::size_t max_stack = 64;

struct Named {
    std::string_view name;
    Unary fn;
};
Complex absolute(Complex z) noexcept { return {elementary::modulus(z), 0}; }
constexpr Named functions[] = {
    {"sin", elementary::sin},       {"cos", elementary::cos},         {"tan", elementary::tan},
    {"exp", elementary::exp},       {"ln", elementary::ln},           {"log", elementary::log10},
    {"sqrt", elementary::sqrt},     {"sinh", elementary::sinh},       {"cosh", elementary::cosh},
    {"tanh", elementary::tanh},     {"arcsin", elementary::arcsin},   {"arccos", elementary::arccos},
    {"arctan", elementary::arctan}, {"arcsinh", elementary::arcsinh}, {"arccosh", elementary::arccosh},
    {"arctanh", elementary::arctanh}, {"abs", absolute},
};

double real_or_nan(Complex z) { return z.im == 0 ? z.re : NAN; }

}  // namespace

struct RealFormulas::Program {
    std::vector<Instruction> code;

    double run(const double* vars) const {
        double s[max_stack];
        std::size_t top = 0;
        for (const Instruction& in : code) {
            switch (in.op) {
            case Op::constant: s[top++] = in.value; break;
            case Op::variable: s[top++] = vars[in.index]; break;
            case Op::add: --top, s[top - 1] = s[top - 1] + s[top]; break;
            case Op::sub: --top, s[top - 1] = s[top - 1] - s[top]; break;
            case Op::mul: --top, s[top - 1] = s[top - 1] * s[top]; break;
            case Op::div: --top, s[top - 1] = s[top - 1] / s[top]; break;
            case Op::pow: --top, s[top - 1] = real_or_nan(elementary::power({s[top - 1], 0}, {s[top], 0})); break;
            case Op::square: s[top - 1] = s[top - 1] * s[top - 1]; break;
            case Op::neg: s[top - 1] = 0.0 - s[top - 1]; break;
            case Op::call: s[top - 1] = real_or_nan(in.fn({s[top - 1], 0})); break;
            }
        }
        return s[0];
    }
};

namespace {

// Compiles the tree of `text` into `p`; false where some part is not of the
// real kinds above (the formula then runs through the evaluator only).
class Compiler {
public:
    Compiler(std::string_view text, std::span<const std::string_view> names, Arbenv* env)
        : text_(text), names_(names), env_(env) {}

    bool compile(RealFormulas::Program& p) {
        if (!scan::syntax_ok(text_) || scan::has_error_segment(text_)) return false;
        tree_ = grammar::read(text_, 200);
        p_ = &p;
        return node(tree_.root) && depth_ == 1;
    }

private:
    void emit(Instruction in, int change) {
        p_->code.push_back(in);
        depth_ += change;
        peak_ = std::max(peak_, depth_);
    }

    bool node(std::uint32_t index) {
        if (peak_ >= static_cast<int>(max_stack) - 1) return false;
        const Node& n = tree_[index];
        switch (n.kind) {
        case Kind::empty: emit({Op::constant}, 1); return true;
        case Kind::number: emit({Op::constant, 0, n.value}, 1); return true;
        case Kind::name: return name(text_.substr(n.begin, n.end - n.begin));
        case Kind::negate:
            if (!node(tree_.kid(n, 0))) return false;
            emit({Op::neg}, 0);
            return true;
        case Kind::fold: return fold(n);
        case Kind::call: return call(n);
        default: return false;
        }
    }

    bool name(std::string_view t) {
        for (std::size_t k = 0; k < names_.size(); ++k)
            if (names_[k] == t) {
                emit({Op::variable, static_cast<std::uint32_t>(k)}, 1);
                return true;
            }
        const obj::Object* o = hooks().lookup ? hooks().lookup(env_, t) : obj::resolve(env_, t);
        if (!o) return false;  // a free name, or "i"
        Value v = value_of(o);
        if (v.kind != Value::Kind::number || v.num.im != 0) return false;
        emit({Op::constant, 0, v.num.re}, 1);
        return true;
    }

    // Left to right for + - * /, from the right for ^, as the evaluator folds.
    bool fold(const Node& n) {
        Op op;
        switch (n.op) {
        case '+': op = Op::add; break;
        case '-': op = Op::sub; break;
        case '*': op = Op::mul; break;
        case '/': op = Op::div; break;
        case '^': op = Op::pow; break;
        default: return false;
        }
        // x^2 is x·x, the correctly rounded square; pow of the C library,
        // which the evaluator calls, is within one unit of the last place of
        // it (and equal to it nearly always), at a tenth of the cost.
        if (op == Op::pow && n.count == 2 && tree_[tree_.kid(n, 1)].kind == Kind::number &&
            tree_[tree_.kid(n, 1)].value == 2) {
            if (!node(tree_.kid(n, 0))) return false;
            emit({Op::square}, 0);
            return true;
        }
        if (op == Op::pow) {
            for (std::uint32_t k = 0; k < n.count; ++k)
                if (!node(tree_.kid(n, k))) return false;
            for (std::uint32_t k = 1; k < n.count; ++k) emit({op}, -1);
            return true;
        }
        if (!node(tree_.kid(n, 0))) return false;
        for (std::uint32_t k = 1; k < n.count; ++k) {
            if (!node(tree_.kid(n, k))) return false;
            emit({op}, -1);
        }
        return true;
    }

    bool call(const Node& n) {
        const std::string_view fname = text_.substr(n.begin, n.aux - n.begin);
        if (n.count != 1) return false;
        for (const Named& f : functions)
            if (f.name == fname) {
                if (!node(tree_.kid(n, 0))) return false;
                emit({Op::call, 0, 0, f.fn}, 0);
                return true;
            }
        return false;
    }

    std::string_view text_;
    std::span<const std::string_view> names_;
    Arbenv* env_;
    grammar::Tree tree_;
    RealFormulas::Program* p_ = nullptr;
    int depth_ = 0, peak_ = 0;
};

bool usable_name(std::string_view n) {
    const Globals* g = globals();
    return scan::is_plain_name(n) && n != "i" && g && !g->builtins.count(n);
}

}  // namespace

RealFormulas::RealFormulas(std::span<const std::string_view> formulas, std::span<const std::string_view> names,
                           Arbenv* env, std::string_view call_text)
    : call_text_(call_text) {
    for (std::size_t k = 0; k < names.size(); ++k) {
        if (!usable_name(names[k])) return;
        for (std::size_t j = 0; j < k; ++j)
            if (names[j] == names[k]) return;
    }
    scope_.reset(obj::make_environment(env));
    if (!scope_) return;
    for (std::string_view n : names) {
        obj::Object* o = obj::make_numeric({0, 0}, n, scope_.get());
        if (!o) return;
        obj::store(scope_.get(), o);
        slots_.push_back(static_cast<Complex*>(o->value));
    }
    for (std::string_view f : formulas) {
        if (f.empty()) return;
        Formula entry;
        entry.tree = prepare(f);
        if (!entry.tree) return;
        auto p = std::make_unique<Program>();
        if (Compiler(f, names, env).compile(*p)) entry.program = std::move(p);
        formulas_.push_back(std::move(entry));
    }
    ok_ = true;
}

RealFormulas::~RealFormulas() = default;

std::size_t RealFormulas::compiled() const noexcept {
    std::size_t n = 0;
    for (const Formula& f : formulas_) n += f.program != nullptr;
    return n;
}

bool RealFormulas::general(std::size_t k, const double* vars, double* out) {
    for (std::size_t j = 0; j < slots_.size(); ++j) *slots_[j] = {vars[j], 0};
    Value v = evaluate(formulas_[k].tree, scope_.get());
    Complex z;
    switch (builtin::as_number(v, &z)) {
    case builtin::Args::numbers:
        if (!builtin::as_real(z, out)) {
            stop = Value::failure();
            return false;
        }
        return true;
    case builtin::Args::formula: stop = Value::formula_of(Text(call_text_)); return false;
    case builtin::Args::invalid: stop = v.is_error() ? Value::failure(v.error) : Value::failure(); return false;
    }
    return false;
}

bool RealFormulas::one(std::size_t k, const double* vars, double* out) {
    Formula& f = formulas_[k];
    if (f.program) {
        const double v = f.program->run(vars);
        if (std::isfinite(v)) {
            if (f.checked) {
                *out = v;
                return true;
            }
            // Once per formula: the program and the evaluator must agree,
            // else the program is dropped and the evaluator answers.
            f.checked = true;
            if (!general(k, vars, out)) return false;
            if (std::fabs(*out - v) > 1e-13 * std::fabs(*out)) f.program.reset();
            return true;
        }
    }
    return general(k, vars, out);
}

bool RealFormulas::operator()(const double* vars, double* out) {
    for (std::size_t k = 0; k < formulas_.size(); ++k)
        if (!one(k, vars, out + k)) return false;
    return true;
}

std::vector<std::string_view> list_pieces(std::string_view text) {
    std::vector<std::string_view> out;
    if (text.size() >= 2 && text.front() == '[' && text.back() == ']') {
        const std::vector<std::uint32_t> jumps = scan::bracket_jumps(text);
        if (!jumps.empty() && jumps[0] == text.size() - 1) {
            std::string_view inner = text.substr(1, text.size() - 2);
            out = scan::split_commas(inner, scan::Jumps(jumps).subspan(1, inner.size()));
            for (std::string_view p : out)
                if (p.empty()) return {};
            return out;
        }
    }
    if (!text.empty()) out.push_back(text);
    return out;
}

}  // namespace ostr::lang
