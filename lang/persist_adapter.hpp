// The evaluator's start-up view of the typed tree: the process-wide type map
// with the types this layer adds ("bitmap", "color_matrix",
// "arbeval_environment"). One place to point at the persistence component.
#pragma once

namespace ostr::lang::persist {

// Builds the type map and registers the added types; false when memory runs out.
bool initialize_type_map();
void terminate_type_map() noexcept;

}  // namespace ostr::lang::persist
