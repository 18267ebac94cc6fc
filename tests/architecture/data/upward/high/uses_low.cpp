#include "low/base.hpp"
