// The line editor reaching into the core: the checker must refuse this.
#include "low/base.hpp"
