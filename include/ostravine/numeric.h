/* The numeric library: complex numbers, counted vectors and row-pointer
   matrices of several element kinds (all 1-based: slot 0 holds the size). */
#ifndef OSTRAVINE_NUMERIC_H
#define OSTRAVINE_NUMERIC_H

#include <stddef.h>
#include <stdint.h>
#include "ostravine/export.h"

/* Two IEEE doubles, real part first. Every routine that yields one writes the
   caller's record (its first argument) and returns its address. */
typedef struct Complex {
    double re;
    double im;
} Complex;

OSTR_BEGIN_DECLS

OSTR_END_DECLS

#endif
