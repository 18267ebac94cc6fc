// libFuzzer target for the evaluator: any bytes as an expression text. Besides
// crashes, leaks and out-of-bounds reads it checks that the cached analysis
// and a fresh one give the same answer.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "lang/evaluate.hpp"
#include "lang/globals.hpp"
#include "objects/environment.hpp"

namespace {

Arbenv* environment() {
    static Arbenv* env = [] {
        ostr::lang::initialize_globals(nullptr, 0);
        Arbenv* e = ostr::obj::make_top_level();
        ostr::obj::store(e, ostr::obj::make_numeric({3, 0}, "x", e));
        ostr::obj::store(e, ostr::obj::make_algebraic("2*z+1", "f", e));
        return e;
    }();
    return env;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace ostr::lang;
    Arbenv* env = environment();
    std::string_view text(reinterpret_cast<const char*>(data), size);
    set_cache_enabled(true);
    ostr::Text cached = display(evaluate(text, env), 15);
    ostr::Text again = display(evaluate(text, env), 15);
    set_cache_enabled(false);
    ostr::Text fresh = display(evaluate(text, env), 15);
    if (cached != again || cached != fresh) std::abort();
    if (cache_stats().entries > 512) clear_cache();
    return 0;
}
