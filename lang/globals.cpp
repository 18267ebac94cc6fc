// InitializeGlobals and TerminateGlobals: the process-wide record of the
// evaluator (built-in function table, analysis cache), its rows of the type
// table and the types the typed tree learns at start-up.
#include "lang/globals.hpp"

#include <new>

#include "envio/typemap.hpp"

namespace ostr::lang {

namespace {

void free_globals(State& s) noexcept {
    if (!s.globals) return;
    envio::terminate_type_map();
    Globals* g = s.globals;
    s.globals = nullptr;
    g->~Globals();
    mem_free(g);
}

}  // namespace

State::~State() { free_globals(*this); }

bool initialize_globals(const char* init_script, std::uint32_t flag) {
    terminate_globals();
    State& s = state();
    void* block = mem_alloc(sizeof(Globals));
    if (!block) return false;
    Globals* g = s.globals = new (block) Globals();
    fill_type_table(obj::type_table());
    if (!register_predefined_functions()) {
        terminate_globals();
        return false;
    }
    g->init_script = Text(init_script ? init_script : "");
    g->init_flag = flag;
    if (!envio::initialize_type_map()) {
        terminate_globals();
        return false;
    }
    return true;
}

void terminate_globals() noexcept {
    if (State* s = core::part_if_made<State, core::lang_slot>()) free_globals(*s);
}

}  // namespace ostr::lang
