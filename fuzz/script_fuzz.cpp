// libFuzzer target for statement execution: any bytes as one top-level line,
// run in an environment that keeps what earlier inputs stored. Besides
// crashes, leaks and out-of-bounds reads it checks that every line gets an
// answer, that the line's placeholders are gone afterwards, and that the
// environment still answers a plain line.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "script/script.hpp"

namespace {

Arbenv*& environment() {
    static Arbenv* env = [] {
        ostr::script::initialize_globals(nullptr, 0);
        // Small bounds keep each input quick.
        ostr::script::limits().max_loop_passes = 2000;
        ostr::script::limits().max_seconds = 1;
        ostr::script::limits().max_string_bytes = 1 << 16;
        return ostr::obj::make_top_level();
    }();
    return env;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Arbenv*& env = environment();
    std::string_view line(reinterpret_cast<const char*>(data), size);
    ostr::Text answer = ostr::script::run_script(line, env, true);
    if (!env->placeholders->empty()) std::abort();
    if (ostr::script::run_script("1+1", env, true) != "2") std::abort();
    // Keep the environment small: forget everything now and then.
    if (env->objects.size() > 200 || env->functions.size() > 50) {
        ostr::obj::free_environment(env);
        env = ostr::obj::make_top_level();
    }
    (void)answer;
    return 0;
}
