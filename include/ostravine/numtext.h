/* Numeric literals and number text: the one rule by which a text counts as a
   number, how such a text is read, and how a double is written with a given
   number of significant digits. Every returned text is a new heap block that
   the caller releases with FreeString; a NULL text argument gives a NULL
   result (or 0 / NaN for the readers). See docs/numtext.md. */
#ifndef OSTRAVINE_NUMTEXT_H
#define OSTRAVINE_NUMTEXT_H

#include <stddef.h>
#include <stdint.h>
#include "ostravine/export.h"
#include "ostravine/numeric.h"

OSTR_BEGIN_DECLS

/* 1 if the whole text is a numeric literal (a binary literal "0b101",
   "0b10.01", or a decimal or "0x" hexadecimal number as strtod reads it, with
   a finite value), storing its value in *value; 0 otherwise, storing 0.
   No white space is accepted anywhere, and the empty text is not a literal.
   value may be NULL. */
OSTR_API int TestNumericString(const char *text, double *value) OSTR_NOEXCEPT;

/* The value of a numeric literal; a quiet NaN for the empty text or any text
   that is not one. A binary literal reads as 0 here (its value comes from
   TestNumericString). */
OSTR_API double AtoF(const char *text) OSTR_NOEXCEPT;

/* The integer value of a numeric literal: a decimal integer within range is
   read exactly; anything else is AtoF truncated toward zero and clamped to
   the int64_t range. 0 for a text that is not a numeric literal. */
OSTR_API int64_t AtoL(const char *text) OSTR_NOEXCEPT;

/* The number text of a double with 1..17 significant digits (the count is
   clamped): "0"; plain decimal for magnitudes from 1e-3 up to but excluding
   1e4; otherwise mantissa, "E" and signed exponent ("1.2345E+4", "9E-4").
   No trailing fraction zeros or point, except the mantissa "1.0" when
   rounding carried to the next power of ten ("1.0E+5"). NaN and infinities
   give ">invalid_expression<". */
OSTR_API char *DoubleString(double value, int digits) OSTR_NOEXCEPT;

/* Plain decimal text ("%.Nf") with N = max(0, digits - 1 - order) fraction
   digits, order being the exact decimal order of |value|: the exact value
   rounded to `digits` significant digits (more integer digits for large
   values). digits is clamped to 1..800. */
OSTR_API char *DoubleStringDecimal(double value, int digits) OSTR_NOEXCEPT;

/* A plain decimal text (optional sign, digits, optional point and fraction,
   optional exponent suffix which is kept as it is) rounded to `digits`
   significant digits, half away from zero. Integer digits past the last
   kept one become "0", fraction digits past it are dropped. Any other text
   is returned unchanged. */
OSTR_API char *DoubleStringRound(const char *text, int digits) OSTR_NOEXCEPT;

/* The text without trailing fraction zeros and then without a trailing
   point; a text without "." is returned unchanged. An exponent suffix is
   kept and its mantissa cleaned ("1.500E+20" gives "1.5E+20"). */
OSTR_API char *DoubleStringCleanZeros(const char *text) OSTR_NOEXCEPT;

/* The text pair of a complex number: a string vector of DoubleString(re) and
   DoubleString(im), digits capped at 15, closed by an empty text; release it
   with FreeStringVector. NULL when z is NULL or memory runs out. */
OSTR_API char **ComplexString(const Complex *z, int digits) OSTR_NOEXCEPT;

/* The exponent form of DoubleString for every magnitude ("1.5E+0",
   "1.2345E+4"; zero is "0E+0"). */
OSTR_API char *DoubleStringExponential(double value, int digits) OSTR_NOEXCEPT;

/* Fixed-point text with exactly `decimals` fraction digits (clamped to
   0..99; no point for 0), rounded like DoubleString. A result that shows
   only zeros carries no sign. */
OSTR_API char *RoundDoubleString(double value, int decimals) OSTR_NOEXCEPT;

/* RoundDoubleString right-aligned with leading spaces in a field of `width`
   characters (clamped to 0..1024); a longer text is not cut. */
OSTR_API char *RoundDoubleStringWithSpacePadding(double value, int decimals,
                                                 int width) OSTR_NOEXCEPT;

OSTR_END_DECLS

#endif
