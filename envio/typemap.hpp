// The process-wide type map of the typed tree as the running core needs it:
// the built-in types of the persistence component plus the types of this
// layer and the ones reserved for later layers ("bitmap", "color_matrix").
#pragma once

namespace ostr::envio {

// Builds the type map and registers the added types; false when memory runs out.
bool initialize_type_map();
void terminate_type_map() noexcept;

}  // namespace ostr::envio
