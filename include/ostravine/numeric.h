/* The numeric library: complex numbers, counted vectors and row-pointer
   matrices of several element kinds (all 1-based: slot 0 holds the size).

   Vector of length n: one block of n+1 elements; slot 0 holds n in the
   element's own form (double n, Complex {n, 0}, int32 n, uint32 n, float n),
   slots 1..n the data. Matrix r x c: r+1 row pointers; pointer 0 leads to one
   element holding r, pointers 1..r to rows that are vectors of length c.
   Suffixes name the element kind: none double, C Complex, L and I int32
   (the same layout; the L functions serve I containers), F float, UInt32.
   See docs/numeric.md for the rules of every family. */
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

/* 1 when a and b are equal to 15 digits: hypot(a, b) is 0 or
   |a - b| / hypot(a, b) <= 1e-15; otherwise 0. */
OSTR_API int CompareFloats(double a, double b) OSTR_NOEXCEPT;

/* Constructors. The caller owns the result. Data slots are not
   initialised unless the name has 0 (zeros) or 1 (ones). A negative size is
   a failed request. On failure: Vector, VectorC, VectorUInt32, Vector0,
   Vector0C, Vector0L, Vector1L and VectorS give an empty vector; Matrix,
   MatrixC, MatrixL, Matrix0, Matrix0C a 1x1 matrix holding 0; VectorF,
   VectorI, MatrixF, MatrixI, MatrixUInt32 give NULL. Float containers hold
   at most 2^24 elements per dimension (a float counts exactly only so far). */
OSTR_API double *Vector(int32_t n) OSTR_NOEXCEPT;
OSTR_API Complex *VectorC(int32_t n) OSTR_NOEXCEPT;
OSTR_API float *VectorF(int32_t n) OSTR_NOEXCEPT;
OSTR_API int32_t *VectorI(int32_t n) OSTR_NOEXCEPT;
OSTR_API uint32_t *VectorUInt32(int32_t n) OSTR_NOEXCEPT;
OSTR_API double *Vector0(int32_t n) OSTR_NOEXCEPT;
OSTR_API Complex *Vector0C(int32_t n) OSTR_NOEXCEPT;
OSTR_API int32_t *Vector0L(int32_t n) OSTR_NOEXCEPT;
/* Every data slot 1 (the int32 companion of Vector0L). */
OSTR_API int32_t *Vector1L(int32_t n) OSTR_NOEXCEPT;
/* The one-element vector {1, x}. */
OSTR_API double *VectorS(double x) OSTR_NOEXCEPT;
OSTR_API double **Matrix(int32_t r, int32_t c) OSTR_NOEXCEPT;
OSTR_API Complex **MatrixC(int32_t r, int32_t c) OSTR_NOEXCEPT;
OSTR_API int32_t **MatrixL(int32_t r, int32_t c) OSTR_NOEXCEPT;
OSTR_API int32_t **MatrixI(int32_t r, int32_t c) OSTR_NOEXCEPT;
OSTR_API float **MatrixF(int32_t r, int32_t c) OSTR_NOEXCEPT;
OSTR_API uint32_t **MatrixUInt32(int32_t r, int32_t c) OSTR_NOEXCEPT;
OSTR_API double **Matrix0(int32_t r, int32_t c) OSTR_NOEXCEPT;
OSTR_API Complex **Matrix0C(int32_t r, int32_t c) OSTR_NOEXCEPT;
/* Heap scalars: one double or one int32 holding the value; NULL on failure.
   Release with FreeBlock. */
OSTR_API double *AllocDouble(double x) OSTR_NOEXCEPT;
OSTR_API int32_t *AllocInt(int32_t k) OSTR_NOEXCEPT;
/* n double matrices r x c: slot 0 leads to one double holding n, slots 1..n
   to the matrices. On failure an empty one (n = 0), or NULL. */
OSTR_API double ***MatrixVector(int32_t n, int32_t r, int32_t c) OSTR_NOEXCEPT;

/* Release. Each releases every block of its container; NULL is
   ignored. A matrix must be released by the function of its kind (the row
   count is read in the kind's form): FreeMatrix also serves Complex
   matrices, FreeMatrixL serves I matrices and vectors of vectors whose
   slot 0 holds an int32 count (FreeVectorV). FreeVector releases a vector of
   any kind. FreeStringVector overwrites every text with zeros first. */
OSTR_API void FreeMatrix(double **m) OSTR_NOEXCEPT;
OSTR_API void FreeMatrixC(Complex **m) OSTR_NOEXCEPT;
OSTR_API void FreeMatrixL(int32_t **m) OSTR_NOEXCEPT;
OSTR_API void FreeMatrixI(int32_t **m) OSTR_NOEXCEPT;
OSTR_API void FreeVectorV(void **v) OSTR_NOEXCEPT;
OSTR_API void FreeMatrixF(float **m) OSTR_NOEXCEPT;
OSTR_API void FreeMatrixUInt32(uint32_t **m) OSTR_NOEXCEPT;
OSTR_API void FreeVector(void *v) OSTR_NOEXCEPT;
OSTR_API void FreeVectorC(Complex *v) OSTR_NOEXCEPT;
OSTR_API void FreeVectorL(int32_t *v) OSTR_NOEXCEPT;
OSTR_API void FreeMatrixVector(double ***mv) OSTR_NOEXCEPT;

/* String vectors: texts closed by an empty text. StringVector(n) holds
   n texts "0"; on failure (or n < 0) it holds only the closing text, and
   NULL when even that cannot be had. The copy falls back the same way. */
OSTR_API char **StringVector(int32_t n) OSTR_NOEXCEPT;
OSTR_API char **CopyStringVector(char *const *v) OSTR_NOEXCEPT;
OSTR_API void FreeStringVector(char **v) OSTR_NOEXCEPT;
/* String matrices: string vectors closed by an empty string vector (one
   holding only its closing text). StringMatrix(r, c) holds r rows of c texts
   "0"; a row of no texts would read as the closing row, so c <= 0 gives the
   empty string matrix, as does a failure. */
OSTR_API char ***StringMatrix(int32_t r, int32_t c) OSTR_NOEXCEPT;
OSTR_API char ***CopyStringMatrix(char **const *m) OSTR_NOEXCEPT;
OSTR_API void FreeStringMatrix(char ***m) OSTR_NOEXCEPT;

/* Copy, extend, crop, join and rearrange, one member per kind.
   Copy: a new container of the same size (the kind's fallback on failure).
   CopyVectorIP/CopyMatrixIP(src, dst): src's data slots into dst, which must
   be at least as large (not checked); dst's size slots are not written.
   Extend: grows through the handle to at least the size asked (never
   shrinks; the added slots are uninitialised); on failure nothing changes.
   Crop: slots a..b (rows r1..r2, columns c1..c2) inclusive, clamped to the
   container. CropVectorCentered: the n slots from (len - n)/2 + 1 on.
   JoinVector/AugmentVector: a followed by b. JoinMatrixH/AugmentMatrixH:
   b's rows under a's; JoinMatrixV/AugmentMatrixV: b's columns right of a's;
   the shorter side is padded with zeros. Augment and Append work through the
   handle and leave it unchanged on failure. AppendMatrix adds a row at the
   end, InsertRow/InsertCol a row or column before position i (clamped to
   1..size+1), the new line cropped or zero-padded to fit. RemoveRow,
   RemoveCol, SwapRows, SwapCols ignore indices outside 1..size.
   ReorderV(v, order): a new vector, slot k = v[order[k]], or 0 where order[k]
   lies outside 1..len(v). */
OSTR_API double *CopyVector(const double *v) OSTR_NOEXCEPT;
OSTR_API Complex *CopyVectorC(const Complex *v) OSTR_NOEXCEPT;
OSTR_API int32_t *CopyVectorL(const int32_t *v) OSTR_NOEXCEPT;
OSTR_API float *CopyVectorF(const float *v) OSTR_NOEXCEPT;
OSTR_API uint32_t *CopyVectorUInt32(const uint32_t *v) OSTR_NOEXCEPT;

OSTR_API double **CopyMatrix(double **m) OSTR_NOEXCEPT;
OSTR_API Complex **CopyMatrixC(Complex **m) OSTR_NOEXCEPT;
OSTR_API int32_t **CopyMatrixL(int32_t **m) OSTR_NOEXCEPT;
OSTR_API float **CopyMatrixF(float **m) OSTR_NOEXCEPT;
OSTR_API uint32_t **CopyMatrixUInt32(uint32_t **m) OSTR_NOEXCEPT;

OSTR_API void CopyVectorIP(const double *src, double *dst) OSTR_NOEXCEPT;
OSTR_API void CopyVectorIPC(const Complex *src, Complex *dst) OSTR_NOEXCEPT;
OSTR_API void CopyVectorIPL(const int32_t *src, int32_t *dst) OSTR_NOEXCEPT;
OSTR_API void CopyVectorIPF(const float *src, float *dst) OSTR_NOEXCEPT;
OSTR_API void CopyVectorIPUInt32(const uint32_t *src, uint32_t *dst) OSTR_NOEXCEPT;

OSTR_API void CopyMatrixIP(double **src, double **dst) OSTR_NOEXCEPT;
OSTR_API void CopyMatrixIPC(Complex **src, Complex **dst) OSTR_NOEXCEPT;
OSTR_API void CopyMatrixIPL(int32_t **src, int32_t **dst) OSTR_NOEXCEPT;
OSTR_API void CopyMatrixIPF(float **src, float **dst) OSTR_NOEXCEPT;
OSTR_API void CopyMatrixIPUInt32(uint32_t **src, uint32_t **dst) OSTR_NOEXCEPT;

OSTR_API void ExtendVector(double **v, int32_t n) OSTR_NOEXCEPT;
OSTR_API void ExtendVectorC(Complex **v, int32_t n) OSTR_NOEXCEPT;
OSTR_API void ExtendVectorL(int32_t **v, int32_t n) OSTR_NOEXCEPT;
OSTR_API void ExtendVectorF(float **v, int32_t n) OSTR_NOEXCEPT;
OSTR_API void ExtendVectorUInt32(uint32_t **v, int32_t n) OSTR_NOEXCEPT;

OSTR_API void ExtendMatrix(double ***m, int32_t r, int32_t c) OSTR_NOEXCEPT;
OSTR_API void ExtendMatrixC(Complex ***m, int32_t r, int32_t c) OSTR_NOEXCEPT;
OSTR_API void ExtendMatrixL(int32_t ***m, int32_t r, int32_t c) OSTR_NOEXCEPT;
OSTR_API void ExtendMatrixF(float ***m, int32_t r, int32_t c) OSTR_NOEXCEPT;
OSTR_API void ExtendMatrixUInt32(uint32_t ***m, int32_t r, int32_t c) OSTR_NOEXCEPT;

OSTR_API double *CropVector(const double *v, int32_t a, int32_t b) OSTR_NOEXCEPT;
OSTR_API Complex *CropVectorC(const Complex *v, int32_t a, int32_t b) OSTR_NOEXCEPT;
OSTR_API int32_t *CropVectorL(const int32_t *v, int32_t a, int32_t b) OSTR_NOEXCEPT;
OSTR_API float *CropVectorF(const float *v, int32_t a, int32_t b) OSTR_NOEXCEPT;
OSTR_API uint32_t *CropVectorUInt32(const uint32_t *v, int32_t a, int32_t b) OSTR_NOEXCEPT;

OSTR_API double *CropVectorCentered(const double *v, int32_t n) OSTR_NOEXCEPT;
OSTR_API Complex *CropVectorCenteredC(const Complex *v, int32_t n) OSTR_NOEXCEPT;
OSTR_API int32_t *CropVectorCenteredL(const int32_t *v, int32_t n) OSTR_NOEXCEPT;
OSTR_API float *CropVectorCenteredF(const float *v, int32_t n) OSTR_NOEXCEPT;
OSTR_API uint32_t *CropVectorCenteredUInt32(const uint32_t *v, int32_t n) OSTR_NOEXCEPT;

OSTR_API double **CropMatrix(double **m, int32_t r1, int32_t r2, int32_t c1, int32_t c2) OSTR_NOEXCEPT;
OSTR_API Complex **CropMatrixC(Complex **m, int32_t r1, int32_t r2, int32_t c1, int32_t c2) OSTR_NOEXCEPT;
OSTR_API int32_t **CropMatrixL(int32_t **m, int32_t r1, int32_t r2, int32_t c1, int32_t c2) OSTR_NOEXCEPT;
OSTR_API float **CropMatrixF(float **m, int32_t r1, int32_t r2, int32_t c1, int32_t c2) OSTR_NOEXCEPT;
OSTR_API uint32_t **CropMatrixUInt32(uint32_t **m, int32_t r1, int32_t r2, int32_t c1, int32_t c2) OSTR_NOEXCEPT;

OSTR_API double **CropMatrixCentered(double **m, int32_t r, int32_t c) OSTR_NOEXCEPT;
OSTR_API Complex **CropMatrixCenteredC(Complex **m, int32_t r, int32_t c) OSTR_NOEXCEPT;
OSTR_API int32_t **CropMatrixCenteredL(int32_t **m, int32_t r, int32_t c) OSTR_NOEXCEPT;
OSTR_API float **CropMatrixCenteredF(float **m, int32_t r, int32_t c) OSTR_NOEXCEPT;
OSTR_API uint32_t **CropMatrixCenteredUInt32(uint32_t **m, int32_t r, int32_t c) OSTR_NOEXCEPT;

OSTR_API double *JoinVector(const double *a, const double *b) OSTR_NOEXCEPT;
OSTR_API Complex *JoinVectorC(const Complex *a, const Complex *b) OSTR_NOEXCEPT;
OSTR_API int32_t *JoinVectorL(const int32_t *a, const int32_t *b) OSTR_NOEXCEPT;
OSTR_API float *JoinVectorF(const float *a, const float *b) OSTR_NOEXCEPT;
OSTR_API uint32_t *JoinVectorUInt32(const uint32_t *a, const uint32_t *b) OSTR_NOEXCEPT;

OSTR_API void AugmentVector(double **a, const double *b) OSTR_NOEXCEPT;
OSTR_API void AugmentVectorC(Complex **a, const Complex *b) OSTR_NOEXCEPT;
OSTR_API void AugmentVectorL(int32_t **a, const int32_t *b) OSTR_NOEXCEPT;
OSTR_API void AugmentVectorF(float **a, const float *b) OSTR_NOEXCEPT;
OSTR_API void AugmentVectorUInt32(uint32_t **a, const uint32_t *b) OSTR_NOEXCEPT;

OSTR_API double **JoinMatrixH(double **a, double **b) OSTR_NOEXCEPT;
OSTR_API Complex **JoinMatrixHC(Complex **a, Complex **b) OSTR_NOEXCEPT;
OSTR_API int32_t **JoinMatrixHL(int32_t **a, int32_t **b) OSTR_NOEXCEPT;
OSTR_API float **JoinMatrixHF(float **a, float **b) OSTR_NOEXCEPT;
OSTR_API uint32_t **JoinMatrixHUInt32(uint32_t **a, uint32_t **b) OSTR_NOEXCEPT;

OSTR_API double **JoinMatrixV(double **a, double **b) OSTR_NOEXCEPT;
OSTR_API Complex **JoinMatrixVC(Complex **a, Complex **b) OSTR_NOEXCEPT;
OSTR_API int32_t **JoinMatrixVL(int32_t **a, int32_t **b) OSTR_NOEXCEPT;
OSTR_API float **JoinMatrixVF(float **a, float **b) OSTR_NOEXCEPT;
OSTR_API uint32_t **JoinMatrixVUInt32(uint32_t **a, uint32_t **b) OSTR_NOEXCEPT;

OSTR_API void AugmentMatrixH(double ***a, double **b) OSTR_NOEXCEPT;
OSTR_API void AugmentMatrixHC(Complex ***a, Complex **b) OSTR_NOEXCEPT;
OSTR_API void AugmentMatrixHL(int32_t ***a, int32_t **b) OSTR_NOEXCEPT;
OSTR_API void AugmentMatrixHF(float ***a, float **b) OSTR_NOEXCEPT;
OSTR_API void AugmentMatrixHUInt32(uint32_t ***a, uint32_t **b) OSTR_NOEXCEPT;

OSTR_API void AugmentMatrixV(double ***a, double **b) OSTR_NOEXCEPT;
OSTR_API void AugmentMatrixVC(Complex ***a, Complex **b) OSTR_NOEXCEPT;
OSTR_API void AugmentMatrixVL(int32_t ***a, int32_t **b) OSTR_NOEXCEPT;
OSTR_API void AugmentMatrixVF(float ***a, float **b) OSTR_NOEXCEPT;
OSTR_API void AugmentMatrixVUInt32(uint32_t ***a, uint32_t **b) OSTR_NOEXCEPT;

OSTR_API void AppendMatrix(double ***m, const double *row) OSTR_NOEXCEPT;
OSTR_API void AppendMatrixC(Complex ***m, const Complex *row) OSTR_NOEXCEPT;
OSTR_API void AppendMatrixL(int32_t ***m, const int32_t *row) OSTR_NOEXCEPT;
OSTR_API void AppendMatrixF(float ***m, const float *row) OSTR_NOEXCEPT;
OSTR_API void AppendMatrixUInt32(uint32_t ***m, const uint32_t *row) OSTR_NOEXCEPT;

OSTR_API void InsertRow(double ***m, int32_t i, const double *row) OSTR_NOEXCEPT;
OSTR_API void InsertRowC(Complex ***m, int32_t i, const Complex *row) OSTR_NOEXCEPT;
OSTR_API void InsertRowL(int32_t ***m, int32_t i, const int32_t *row) OSTR_NOEXCEPT;
OSTR_API void InsertRowF(float ***m, int32_t i, const float *row) OSTR_NOEXCEPT;
OSTR_API void InsertRowUInt32(uint32_t ***m, int32_t i, const uint32_t *row) OSTR_NOEXCEPT;

OSTR_API void InsertCol(double ***m, int32_t j, const double *col) OSTR_NOEXCEPT;
OSTR_API void InsertColC(Complex ***m, int32_t j, const Complex *col) OSTR_NOEXCEPT;
OSTR_API void InsertColL(int32_t ***m, int32_t j, const int32_t *col) OSTR_NOEXCEPT;
OSTR_API void InsertColF(float ***m, int32_t j, const float *col) OSTR_NOEXCEPT;
OSTR_API void InsertColUInt32(uint32_t ***m, int32_t j, const uint32_t *col) OSTR_NOEXCEPT;

OSTR_API void RemoveRow(double **m, int32_t i) OSTR_NOEXCEPT;
OSTR_API void RemoveRowC(Complex **m, int32_t i) OSTR_NOEXCEPT;
OSTR_API void RemoveRowL(int32_t **m, int32_t i) OSTR_NOEXCEPT;
OSTR_API void RemoveRowF(float **m, int32_t i) OSTR_NOEXCEPT;
OSTR_API void RemoveRowUInt32(uint32_t **m, int32_t i) OSTR_NOEXCEPT;

OSTR_API void RemoveCol(double **m, int32_t j) OSTR_NOEXCEPT;
OSTR_API void RemoveColC(Complex **m, int32_t j) OSTR_NOEXCEPT;
OSTR_API void RemoveColL(int32_t **m, int32_t j) OSTR_NOEXCEPT;
OSTR_API void RemoveColF(float **m, int32_t j) OSTR_NOEXCEPT;
OSTR_API void RemoveColUInt32(uint32_t **m, int32_t j) OSTR_NOEXCEPT;

OSTR_API void SwapRows(double **m, int32_t i, int32_t j) OSTR_NOEXCEPT;
OSTR_API void SwapRowsC(Complex **m, int32_t i, int32_t j) OSTR_NOEXCEPT;
OSTR_API void SwapRowsL(int32_t **m, int32_t i, int32_t j) OSTR_NOEXCEPT;
OSTR_API void SwapRowsF(float **m, int32_t i, int32_t j) OSTR_NOEXCEPT;
OSTR_API void SwapRowsUInt32(uint32_t **m, int32_t i, int32_t j) OSTR_NOEXCEPT;

OSTR_API void SwapCols(double **m, int32_t i, int32_t j) OSTR_NOEXCEPT;
OSTR_API void SwapColsC(Complex **m, int32_t i, int32_t j) OSTR_NOEXCEPT;
OSTR_API void SwapColsL(int32_t **m, int32_t i, int32_t j) OSTR_NOEXCEPT;
OSTR_API void SwapColsF(float **m, int32_t i, int32_t j) OSTR_NOEXCEPT;
OSTR_API void SwapColsUInt32(uint32_t **m, int32_t i, int32_t j) OSTR_NOEXCEPT;

OSTR_API double *ReorderV(const double *v, const int32_t *order) OSTR_NOEXCEPT;
OSTR_API Complex *ReorderVC(const Complex *v, const int32_t *order) OSTR_NOEXCEPT;
OSTR_API int32_t *ReorderVL(const int32_t *v, const int32_t *order) OSTR_NOEXCEPT;
OSTR_API float *ReorderVF(const float *v, const int32_t *order) OSTR_NOEXCEPT;
OSTR_API uint32_t *ReorderVUInt32(const uint32_t *v, const int32_t *order) OSTR_NOEXCEPT;

/* Complex arithmetic. z = x + iy. Results go to the record r, whose
   address is returned; r may be an operand. */
OSTR_API Complex *ComplexR(Complex *r, double re, double im) OSTR_NOEXCEPT;
/* {rho cos t, rho sin t} */
OSTR_API Complex *ComplexP(Complex *r, double rho, double t) OSTR_NOEXCEPT;
OSTR_API Complex *CopyC(Complex *r, const Complex *z) OSTR_NOEXCEPT;
OSTR_API Complex *ConjC(Complex *r, const Complex *z) OSTR_NOEXCEPT;
OSTR_API double RealC(const Complex *z) OSTR_NOEXCEPT;
OSTR_API double ImagC(const Complex *z) OSTR_NOEXCEPT;
OSTR_API Complex *AddC(Complex *r, const Complex *a, const Complex *b) OSTR_NOEXCEPT;
OSTR_API Complex *SubC(Complex *r, const Complex *a, const Complex *b) OSTR_NOEXCEPT;
OSTR_API Complex *Add3C(Complex *r, const Complex *a, const Complex *b, const Complex *c) OSTR_NOEXCEPT;
/* Three real products: {k1 - k2, k3 - k1 - k2}. */
OSTR_API Complex *MulC(Complex *r, const Complex *a, const Complex *b) OSTR_NOEXCEPT;
OSTR_API Complex *MulCR(Complex *r, const Complex *z, double s) OSTR_NOEXCEPT;
OSTR_API Complex *DivCR(Complex *r, const Complex *z, double s) OSTR_NOEXCEPT;
/* Scaled quotient; a zero divisor gives +-inf per part by the sign of the
   numerator part, NaN for a zero part. */
OSTR_API Complex *DivC(Complex *r, const Complex *a, const Complex *b) OSTR_NOEXCEPT;
OSTR_API Complex *InvC(Complex *r, const Complex *z) OSTR_NOEXCEPT;
OSTR_API double AbsC(const Complex *z) OSTR_NOEXCEPT;
/* atan2(y, x) */
OSTR_API double PhaC(const Complex *z) OSTR_NOEXCEPT;
OSTR_API Complex *SqrC(Complex *r, const Complex *z) OSTR_NOEXCEPT;
/* Principal root; on the negative real axis +i|z|^(1/2) for either sign of
   zero. */
OSTR_API Complex *SqrtC(Complex *r, const Complex *z) OSTR_NOEXCEPT;
/* The unit phasor {cos t, sin t}. */
OSTR_API Complex *ExpC(Complex *r, double t) OSTR_NOEXCEPT;
OSTR_API Complex *ExpCC(Complex *r, const Complex *z) OSTR_NOEXCEPT;
OSTR_API Complex *LogC(Complex *r, const Complex *z) OSTR_NOEXCEPT;
OSTR_API Complex *Log10C(Complex *r, const Complex *z) OSTR_NOEXCEPT;
/* a^w; a^0 = 1 (also 0^0), 0^w = 0 otherwise. */
OSTR_API Complex *PowC(Complex *r, const Complex *a, const Complex *w) OSTR_NOEXCEPT;
OSTR_API Complex *PowCR(Complex *r, const Complex *z, double p) OSTR_NOEXCEPT;
OSTR_API Complex *PowRC(Complex *r, double s, const Complex *w) OSTR_NOEXCEPT;
OSTR_API Complex *SinC(Complex *r, const Complex *z) OSTR_NOEXCEPT;
OSTR_API Complex *CosC(Complex *r, const Complex *z) OSTR_NOEXCEPT;
OSTR_API Complex *TanC(Complex *r, const Complex *z) OSTR_NOEXCEPT;
OSTR_API Complex *SinhC(Complex *r, const Complex *z) OSTR_NOEXCEPT;
OSTR_API Complex *CoshC(Complex *r, const Complex *z) OSTR_NOEXCEPT;
OSTR_API Complex *TanhC(Complex *r, const Complex *z) OSTR_NOEXCEPT;
OSTR_API Complex *ArcsinC(Complex *r, const Complex *z) OSTR_NOEXCEPT;
OSTR_API Complex *ArccosC(Complex *r, const Complex *z) OSTR_NOEXCEPT;
OSTR_API Complex *ArctanC(Complex *r, const Complex *z) OSTR_NOEXCEPT;
OSTR_API Complex *ArcsinhC(Complex *r, const Complex *z) OSTR_NOEXCEPT;
OSTR_API Complex *ArccoshC(Complex *r, const Complex *z) OSTR_NOEXCEPT;
OSTR_API Complex *ArctanhC(Complex *r, const Complex *z) OSTR_NOEXCEPT;
/* sqrt of the sum of |v_i|^2 over a complex vector. */
OSTR_API double NormC(const Complex *v) OSTR_NOEXCEPT;

OSTR_END_DECLS

#endif
