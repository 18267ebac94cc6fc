// A lower component reaching up: the checker must refuse this.
#include "high/api.hpp"
