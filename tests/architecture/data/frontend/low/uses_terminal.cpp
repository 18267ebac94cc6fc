// The core may not use a front-end piece either.
#include "terminal/editor.h"
