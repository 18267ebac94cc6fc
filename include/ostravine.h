/* Ostravine: the whole exported C API of the calculator core.
   Compiles as C11 and as C++; link against libostravine. Every block a
   function returns belongs to the caller and is released by the Free...
   function of its family (see docs/architecture.md). */
#ifndef OSTRAVINE_H
#define OSTRAVINE_H

#include "ostravine/core.h"
#include "ostravine/numeric.h"
#include "ostravine/numtext.h"
#include "ostravine/bignum.h"
#include "ostravine/hash.h"
#include "ostravine/persist.h"
#include "ostravine/matrixfile.h"
#include "ostravine/plot.h"
#include "ostravine/environment.h"
#include "ostravine/envio.h"
#include "ostravine/lang.h"
#include "ostravine/script.h"
#include "ostravine/special.h"
#include "ostravine/linalg.h"
#include "ostravine/solvers.h"
#include "ostravine/fourier.h"
#include "ostravine/interp.h"

#endif
