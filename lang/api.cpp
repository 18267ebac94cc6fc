// The C face of the evaluator: thin wrappers over ostr::lang.
#include "lang/evaluate.hpp"
#include "ostravine/lang.h"
#include "objects/environment.hpp"

extern "C" {

char* ArbevalExpression(const char* text, Arbenv* env) noexcept {
    using namespace ostr::lang;
    if (!text || !env) return ostr::dup_text(error_word(Error::invalid_expression));
    return ostr::or_failure<char*>(nullptr, [&] { return ostr::dup_text(display(evaluate(text, env), env->significant_digits)); });
}

}
