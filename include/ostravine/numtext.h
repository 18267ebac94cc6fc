#ifndef OSTRAVINE_NUMTEXT_H
#define OSTRAVINE_NUMTEXT_H

#include <stddef.h>
#include <stdint.h>
#include "ostravine/export.h"

OSTR_BEGIN_DECLS

OSTR_END_DECLS

#endif
