/* Interpolation of the numeric library: a spline through a table of points
   (x strictly increasing) made once and evaluated at single points or at a
   counted vector of them (slot 0 holds the length, data from slot 1).
   Kinds by name: "linear", "natural" (also "spline": the cubic spline with
   zero second derivative at both ends), "clamped" (the cubic spline with
   first derivatives d1 and dn at the ends) and "akima" (Akima's spline,
   which does not overshoot near steps). Outside the table the first and the
   last piece continue. docs/interp.md gives methods and measured accuracy.

   A spline is released with FreeSpline, a vector with FreeVector. NULL is
   returned for fewer than two points, vectors of different lengths, values
   that are not finite, x that does not strictly increase, an unknown kind,
   a stopped evaluation (RequestAbort or the line's time bound) or when
   memory runs out. */
#ifndef OSTRAVINE_INTERP_H
#define OSTRAVINE_INTERP_H

#include "ostravine/export.h"
#include "ostravine/numeric.h"

typedef struct Interpolant Interpolant;

OSTR_BEGIN_DECLS

/* The spline of the named kind through (x[k], y[k]); d1 and dn are read
   only by "clamped". */
OSTR_API Interpolant *Spline(const double *x, const double *y, const char *kind, double d1, double dn) OSTR_NOEXCEPT;
OSTR_API void FreeSpline(Interpolant *s) OSTR_NOEXCEPT;

/* The value at t (NaN for NULL or NaN), and the values at every slot of t. */
OSTR_API double SplineValue(const Interpolant *s, double t) OSTR_NOEXCEPT;
OSTR_API double *SplineValues(const Interpolant *s, const double *t) OSTR_NOEXCEPT;

/* Spline, SplineValues and FreeSpline in one call: the values at t of the
   spline of that kind through the points (natural, clamped with zero end
   slopes, ...). */
OSTR_API double *Interpolate(const double *x, const double *y, const double *t, const char *kind) OSTR_NOEXCEPT;

OSTR_END_DECLS

#endif
