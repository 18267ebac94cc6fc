// The runtime record and the freeing of its parts (the parts are made by the
// components that own them, through part_of in core/runtime.hpp).
#include "core/runtime.hpp"

namespace ostr::core {

Runtime the_runtime;

void free_part(Slot s) noexcept {
    // Unlink before dropping: a part's destructor may reach its own slot
    // again and must then find it empty, not half destroyed.
    Part p = the_runtime.parts[s];
    the_runtime.parts[s] = Part{};
    if (p.data) p.drop(p.data);
}

void free_runtime() noexcept {
    for (int s = slot_count - 1; s >= 0; --s) free_part(static_cast<Slot>(s));
}

}  // namespace ostr::core
