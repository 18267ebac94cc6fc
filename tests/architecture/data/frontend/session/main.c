// The console may use the line editor.
#include "terminal/editor.h"
#include "ostravine.h"
