// The type map of the typed tree, built with the globals: the built-in types
// of the persistence component and the environment type this core adds.
// "bitmap" and "color_matrix" join here when plot images arrive.
#include "lang/persist_adapter.hpp"

#include "ostravine/environment.h"
#include "ostravine/persist.h"

namespace ostr::lang::persist {

bool initialize_type_map() {
    initializeArbTreeTypeMap();
    registerType("arbeval_environment", freeArbenv, readTopArbenv, writeArbenv, copyArbenv);
    return true;
}

void terminate_type_map() noexcept { terminateArbTreeTypeMap(); }

}  // namespace ostr::lang::persist
