// The type map of the typed tree, built with the globals: the built-in types
// of the persistence component and the environment type this core adds.
// "bitmap" and "color_matrix" are plot images, with the handlers of the
// plot renderer.
#include "envio/typemap.hpp"

#include "ostravine/envio.h"
#include "ostravine/persist.h"
#include "ostravine/plot.h"

namespace ostr::envio {

bool initialize_type_map() {
    initializeArbTreeTypeMap();
    registerType("bitmap", FreePlotBitmap, readPlotBitmap, writePlotBitmap, copyPlotBitmap);
    registerType("color_matrix", FreePlotColorMatrix, readPlotColorMatrix, writePlotColorMatrix, copyPlotColorMatrix);
    registerType("arbeval_environment", freeArbenv, readTopArbenv, writeArbenv, copyArbenv);
    return true;
}

void terminate_type_map() noexcept { terminateArbTreeTypeMap(); }

}  // namespace ostr::envio
