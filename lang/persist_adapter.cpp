// Until the persistence component is part of the build the type map is not
// built here; the functions keep their place in the start-up sequence so
// that only this file changes when it arrives.
#include "lang/persist_adapter.hpp"

namespace ostr::lang::persist {

bool initialize_type_map() { return true; }
void terminate_type_map() noexcept {}

}  // namespace ostr::lang::persist
