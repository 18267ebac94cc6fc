// Blocks: "if" with "elseif" and "else", "for", "while" (run as a "for"),
// "private", and the statement executor that runs one element of a block or
// of a function body and reports its status. A block's text is analysed
// once into a shape (keyword, elements, what each element is) that is kept
// by text, so a loop body is split and classified once however often it
// runs.
#include <memory>
#include <unordered_map>

#include "lang/globals.hpp"
#include "grammar/scan.hpp"
#include "script/containers.hpp"
#include "script/script.hpp"
#include "script/state.hpp"

namespace ostr::script {
namespace {

enum class Kind : std::uint8_t { assign, block, empty, brk, expr, else_, elseif };

}  // namespace

// What an element is, decided once: an assignment to a variable keeps its
// right side analysed, an expression its whole text, a block its shape.
struct Element {
    Kind kind = Kind::expr;
    Text text;
    std::size_t sign = 0;   // assign: position of "="
    bool variable = false;  // assign: the left side is a variable name
    lang::Prepared expr;    // expression, condition or right side
    std::shared_ptr<const Shape> block;
    std::string_view left() const { return std::string_view(text).substr(0, sign); }
    std::string_view right() const { return std::string_view(text).substr(sign + 1); }
};

struct Shape {
    Word keyword = Word::none;
    std::vector<Element> elements;
};

namespace {

// The dummy assignment that stands for the initialiser and the step of a
// "while" run as a "for": the byte 0x01 followed by "1=1".
constexpr std::string_view dummy_assignment = "\x01" "1=1";

std::shared_ptr<const Shape> shape_of(std::string_view text, bool block);
constexpr std::size_t max_cached_text = 1 << 16;
constexpr int max_analysis_depth = ostr::limits::block_analysis_depth;

Element classify(std::string_view t) {
    t = strip_wrappers(strip_wrappers(t, '(', ')'), ':', ';');
    Element e;
    e.kind = Kind::expr;
    e.text = Text(t);
    const StatementWord* w = statement_word(t);
    const Word word = w ? w->word : Word::none;
    if (t.empty()) {
        e.kind = Kind::empty;
    } else if (word == Word::break_) {
        e.kind = Kind::brk;
    } else if (assignment_form(t)) {
        e.kind = Kind::assign;
        e.sign = assignment_sign(t);
        e.variable = assignable_name(e.left()) && !defines_class(e.right());
        if (e.variable) e.expr = lang::prepare(e.right());
    } else if (!block_keyword(t).empty() && !literal_keyword(block_keyword(t))) {
        e.kind = Kind::block;
        // Nested blocks are analysed with their parent, a bounded number of
        // levels deep; deeper ones wait until they run.
        if (state().analysis_depth < max_analysis_depth && cacheable(t, max_cached_text)) {
            struct Deeper {
                Deeper() { ++state().analysis_depth; }
                ~Deeper() { --state().analysis_depth; }
            } deeper;
            e.block = shape_of(t, true);
        }
    } else {
        if (word == Word::else_) e.kind = Kind::else_;
        if (word == Word::elseif) e.kind = Kind::elseif;
        e.expr = lang::prepare(t);
    }
    return e;
}

// The block a keyword opens: none for no keyword, other for a word that
// opens no block of the statement language.
Word keyword_of(std::string_view kw) {
    if (kw.empty()) return Word::none;
    const StatementWord* w = statement_word(kw);
    return w && w->block ? w->word : Word::other;
}

std::shared_ptr<const Shape> analyse(std::string_view text, bool block) {
    auto s = std::make_shared<Shape>();
    std::string_view body = text;
    if (block) {
        std::string_view kw = block_keyword(text);
        s->keyword = keyword_of(kw);
        body = text.substr(kw.size());
        if (kw == "while") {
            // while:c,s1,s2; runs as for:I,c,I,s1,s2; with the dummy I.
            auto pieces = split_statements(body);
            s->elements.push_back(classify(dummy_assignment));
            s->elements.push_back(classify(pieces.empty() ? std::string_view() : pieces[0]));
            s->elements.push_back(classify(dummy_assignment));
            for (std::size_t k = 1; k < pieces.size(); ++k) s->elements.push_back(classify(pieces[k]));
            return s;
        }
    }
    for (std::string_view piece : split_statements(body)) s->elements.push_back(classify(piece));
    return s;
}

// Shapes are kept by text (state().shapes). Texts with lifted strings carry
// names that live for one line only, so they are analysed afresh.
std::shared_ptr<const Shape> shape_of(std::string_view text, bool block) {
    if (!cacheable(text, max_cached_text)) return analyse(text, block);
    return state().shapes[block].get(
        text, [&] { return analyse(text, block); },
        [&](const Shape& s) { return 2 * text.size() + 64 * (s.elements.size() + 1); });
}

Status set_return(lang::Value&& v, Arbenv* env) {
    if (v.is_error()) return Status::failed;
    if (!store_value(std::move(v), "return", env)) return Status::failed;
    return Status::done;
}

Status run_element(const Element& e, Arbenv* env) {
    switch (e.kind) {
    case Kind::assign: {
        Text r = e.variable ? assign_variable(e.left(), lang::evaluate(e.expr, env), env)
                            : assign(e.left(), e.right(), env);
        return r.empty() ? Status::done : Status::failed;
    }
    case Kind::block: return e.block ? run_shape(*e.block, env) : run_block(e.text, env);
    case Kind::empty: return set_return(lang::Value::number({0, 0}), env);
    case Kind::brk: return Status::broke;
    case Kind::expr:
    case Kind::else_:
    case Kind::elseif: {
        lang::Value v = lang::evaluate(e.expr, env);
        // A name that evaluates to the text "break" breaks, as the word does.
        if (v.kind == lang::Value::Kind::formula && v.text.re == "break" && v.text.im == "0") return Status::broke;
        return set_return(std::move(v), env);
    }
    }
    return Status::failed;
}

Status run_list(const std::vector<Element>& el, std::size_t from, std::size_t to, Arbenv* env) {
    for (std::size_t k = from; k < to; ++k) {
        Status s = run_element(el[k], env);
        if (s != Status::done) return s;
        if (aborted(env)) return Status::failed;
    }
    return Status::done;
}

// The objects made while an "if" branch ran are released when it ends;
// "return" is exempt, since it carries the value out of the branch (and out
// of a function body made of an "if").
void release_level(Arbenv* env, std::int32_t level) noexcept {
    for (auto it = env->objects.begin(); it != env->objects.end();) {
        obj::Object* o = it->second;
        if (o->level == level && it->first != "return") {
            it = env->objects.erase(it);
            obj::free_object(o);
        } else {
            ++it;
        }
    }
}

// A branch runs one level up; the level comes down and its objects go on
// every way out, a failure for want of memory included.
class Branch {
public:
    explicit Branch(Arbenv* env) noexcept : env_(env) { ++env->level; }
    ~Branch() {
        release_level(env_, env_->level);
        --env_->level;
    }
    Branch(const Branch&) = delete;
    Branch& operator=(const Branch&) = delete;

private:
    Arbenv* env_;
};

Status run_branch(const std::vector<Element>& el, std::size_t from, std::size_t to, Arbenv* env) {
    Branch branch(env);
    return run_list(el, from, to, env);
}

// Any element can stand as a condition; one that is not an expression
// (an assignment, say) is evaluated as its text, which fails.
lang::Value condition(const Element& e, Arbenv* env) {
    if (e.kind == Kind::expr) return lang::evaluate(e.expr, env);
    return lang::evaluate(e.text, env);
}

std::size_t next_marker(const std::vector<Element>& el, std::size_t from) {
    while (from < el.size() && el[from].kind != Kind::else_ && el[from].kind != Kind::elseif) ++from;
    return from;
}

Status run_if(const Shape& s, Arbenv* env) {
    const auto& el = s.elements;
    for (std::size_t c = 0; c < el.size();) {
        int truth = truth_text(condition(el[c], env), env);
        std::size_t m = next_marker(el, c + 1);
        if (truth == 1) return run_branch(el, c + 1, m, env);
        if (m == el.size()) return Status::done;
        if (el[m].kind == Kind::elseif) {
            c = m + 1;
            continue;
        }
        if (truth == 0) return run_branch(el, m + 1, next_marker(el, m + 1), env);
        return Status::done;
    }
    return Status::done;
}

Status loop(const Shape& s, Arbenv* env) {
    const auto& el = s.elements;
    if (run_element(el[0], env) != Status::done || aborted(env)) return Status::failed;
    for (;;) {
        lang::Value c = condition(el[1], env);
        if (c.is_error()) return Status::failed;
        if (truth_text(c, env) != 1) return Status::done;
        for (std::size_t k = 3; k < el.size(); ++k) {
            Status st = run_element(el[k], env);
            if (st == Status::broke) return Status::done;
            if (st == Status::failed || aborted(env)) return Status::failed;
        }
        if (run_element(el[2], env) != Status::done || aborted(env)) return Status::failed;
        if (!count_pass(env)) return Status::failed;
    }
}

// Objects and user functions made in a loop's temporary scope move into
// the top-level environment when the loop ends; an object that replaces
// one there keeps that one's level. The entries move whole (no allocation),
// so the move cannot stop halfway.
void move_back(Arbenv* scope, Arbenv* top) noexcept {
    while (!scope->objects.empty()) {
        auto entry = scope->objects.extract(scope->objects.begin());
        obj::Object* o = entry.mapped();
        if (obj::Object* old = obj::find(top, entry.key())) o->level = old->level;
        o->env = top;
        o->members->abort_text = &top->abort_text;
        obj::put(top->objects, std::move(entry));
    }
    while (!scope->functions.empty()) {
        auto entry = scope->functions.extract(scope->functions.begin());
        entry.mapped()->env = top;
        obj::put(top->functions, std::move(entry));
    }
}

Status run_for(const Shape& s, Arbenv* env) {
    const auto& el = s.elements;
    if (el.size() < 3 || el[0].kind != Kind::assign || el[2].kind != Kind::assign) return Status::failed;
    if (env->parent) return loop(s, env);
    // At top level the loop runs in a scope of its own; what it made stays.
    lang::ObjectPtr scope(obj::make_scoped("for", env));
    if (!scope) return Status::failed;
    auto* inner = static_cast<Arbenv*>(scope->value);
    Status st = loop(s, inner);
    move_back(inner, env);
    return st;
}

}  // namespace

Status run_block(std::string_view text, Arbenv* env) {
    std::shared_ptr<const Shape> s = shape_of(text, true);
    return run_shape(*s, env);
}

Status run_shape(const Shape& shape, Arbenv* env) {
    DepthGuard depth(env);
    if (!depth.ok()) return Status::failed;
    const Shape* s = &shape;
    // Blocks record no history; the flag comes back on every way out.
    struct Silent {
        Arbenv* env;
        std::uint8_t flag;
        ~Silent() { env->history_flag = flag; }
    } silent{env, env->history_flag};
    env->history_flag = 0;
    Status st = Status::done;
    switch (s->keyword) {
    case Word::if_: st = run_if(*s, env); break;
    case Word::for_: st = run_for(*s, env); break;
    case Word::private_: st = run_list(s->elements, 0, s->elements.size(), env); break;
    default: break;  // no block of the statement language
    }
    return aborted(env) ? Status::failed : st;
}

std::shared_ptr<const Shape> body_shape(std::string_view body) { return shape_of(body, false); }

Status run_body(const Shape& s, Arbenv* env) {
    Status st = run_list(s.elements, 0, s.elements.size(), env);
    return aborted(env) ? Status::failed : st;
}

Status run_elements(std::string_view body, Arbenv* env) { return run_body(*shape_of(body, false), env); }

std::optional<lang::Value> statement_value(std::string_view text, Arbenv* env) {
    text = strip_wrappers(text, '(', ')');
    if (!runs_as_block(text)) return lang::evaluate(text, env);
    return block_value(text, env);
}

bool runs_as_block(std::string_view text) {
    Word kw = keyword_of(block_keyword(text));
    return kw != Word::none && kw != Word::other;
}

std::optional<lang::Value> block_value(std::string_view text, Arbenv* env) {
    Word kw = keyword_of(block_keyword(text));
    // The value of an "if" or "private" is the "return" its elements leave
    // behind; one left by an earlier statement must not count.
    if (kw != Word::for_) obj::remove(env, "return");
    Status st = run_block(text, env);
    if (st == Status::failed)
        return lang::Value::failure(aborted(env) ? lang::Error::evaluation_aborted : lang::Error::invalid_expression);
    if (kw == Word::for_) return std::nullopt;
    const obj::Object* r = obj::find(env, "return");
    if (!r) return std::nullopt;
    return lang::value_of(r);
}

}  // namespace ostr::script
