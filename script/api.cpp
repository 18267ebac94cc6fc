// The C face of statement execution and of the globals' lifecycle: thin
// wrappers over ostr::script.
#include "ostravine/script.h"
#include "script/script.hpp"

extern "C" {

char* ArbevalScript(const char* text, Arbenv* env, uint32_t flag) noexcept {
    if (!text) return ostr::dup_text(">invalid_expression<");
    return ostr::or_failure<char*>(nullptr, [&] { return ostr::dup_text(ostr::script::run_script(text, env, flag != 0)); });
}

int32_t InitializeGlobals(const char* initScriptName, uint32_t flag) noexcept {
    return ostr::or_failure(0, [&] { return ostr::script::initialize_globals(initScriptName, flag) ? 1 : 0; },
                            ostr::script::terminate_globals);
}

void TerminateGlobals() noexcept { ostr::script::terminate_globals(); }

}
