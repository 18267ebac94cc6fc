// The type map of the typed tree, built with the globals: the built-in types
// of the persistence component and the environment type this core adds.
// "bitmap" and "color_matrix" are registered by name now and without
// operations: their values are plot images, whose layout belongs to the plot
// layer, which will register its handlers under the same names (registering
// an existing name replaces the record). Until then an entry of either type
// is written without a value and reads back as absent, like any type without
// handlers.
#include "envio/typemap.hpp"

#include "ostravine/envio.h"
#include "ostravine/persist.h"

namespace ostr::envio {

bool initialize_type_map() {
    initializeArbTreeTypeMap();
    registerType("bitmap", nullptr, nullptr, nullptr, nullptr);
    registerType("color_matrix", nullptr, nullptr, nullptr, nullptr);
    registerType("arbeval_environment", freeArbenv, readTopArbenv, writeArbenv, copyArbenv);
    return true;
}

void terminate_type_map() noexcept { terminateArbTreeTypeMap(); }

}  // namespace ostr::envio
