// InitializeGlobals and TerminateGlobals: the process-wide record of the
// evaluator (built-in function table, analysis cache), its rows of the type
// table and the types the typed tree learns at start-up.
#include "lang/globals.hpp"

#include <new>

#include "envio/typemap.hpp"

namespace ostr::lang {
namespace {

Globals* the_globals = nullptr;

}  // namespace

Globals* globals() noexcept { return the_globals; }

bool initialize_globals(const char* init_script, std::uint32_t flag) {
    terminate_globals();
    void* block = mem_alloc(sizeof(Globals));
    if (!block) return false;
    the_globals = new (block) Globals();
    fill_type_table(obj::type_table());
    if (!register_predefined_functions()) {
        terminate_globals();
        return false;
    }
    the_globals->init_script = Text(init_script ? init_script : "");
    the_globals->init_flag = flag;
    if (!envio::initialize_type_map()) {
        terminate_globals();
        return false;
    }
    if (flag && init_script && hooks().run_init_script) hooks().run_init_script(init_script, flag);
    return true;
}

void terminate_globals() noexcept {
    if (!the_globals) return;
    envio::terminate_type_map();
    the_globals->~Globals();
    mem_free(the_globals);
    the_globals = nullptr;
}

}  // namespace ostr::lang
