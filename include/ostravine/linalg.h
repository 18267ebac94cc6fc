/* Linear algebra of the numeric library on its counted row-pointer matrices
   (row 0 holds the row count, every row slot 0 its length, data from 1):
   products, LU with partial pivoting, Householder QR, the symmetric and the
   general real and complex eigenproblem, and the singular value decomposition.
   docs/linalg.md gives each routine's method, cost and measured accuracy.

   Inputs are only read. Every matrix or vector returned belongs to the
   caller and is released with the Free... function of its kind (FreeMatrix,
   FreeMatrixC, FreeVector, FreeVectorC, FreeVectorL). NULL is returned when
   the sizes do not fit the operation, the matrix is singular where that
   matters, an iteration does not converge, the work is stopped
   (RequestAbort or the line's time bound), or memory runs out. */
#ifndef OSTRAVINE_LINALG_H
#define OSTRAVINE_LINALG_H

#include "ostravine/export.h"
#include "ostravine/numeric.h"

OSTR_BEGIN_DECLS

/* a·b; NULL when a's columns differ from b's rows. */
OSTR_API double **MulM(double **a, double **b) OSTR_NOEXCEPT;
OSTR_API Complex **MulMC(Complex **a, Complex **b) OSTR_NOEXCEPT;

/* The inverse of a square matrix; NULL when it is singular or its 1-norm
   condition number exceeds 1/eps (about 4.5e15). */
OSTR_API double **InvertM(double **a) OSTR_NOEXCEPT;
OSTR_API Complex **InvertMC(Complex **a) OSTR_NOEXCEPT;

/* The determinant through LU; 0 for a singular matrix, NaN for a matrix
   that is not square. */
OSTR_API double DetM(double **a) OSTR_NOEXCEPT;
OSTR_API Complex DetMC(Complex **a) OSTR_NOEXCEPT;

/* X with a·X = b (b holds one right-hand side per column). A square a is
   solved through LU; a tall one (more rows than columns, real only) in the
   least-squares sense through QR; a wide real one gives the minimum-norm
   solution through the pseudo-inverse. */
OSTR_API double **SolveM(double **a, double **b) OSTR_NOEXCEPT;
OSTR_API Complex **SolveMC(Complex **a, Complex **b) OSTR_NOEXCEPT;

/* P·a = L·U: returns the n×n matrix holding L below the diagonal (its unit
   diagonal not stored) and U on and above it; *perm receives a new
   counted vector whose slot i is the row of a that became row i (1-based). */
OSTR_API double **LUDecomposeM(double **a, int32_t **perm) OSTR_NOEXCEPT;

/* a = Q·R for a with at least as many rows as columns: returns Q (m×m),
   and *r receives R (m×n, upper triangular). */
OSTR_API double **QRDecomposeM(double **a, double ***r) OSTR_NOEXCEPT;

/* Eigenvalues of a symmetric matrix (its lower triangle is read), ascending;
   EigenvectorsSymM returns the orthonormal eigenvectors as columns in the
   same order, and their values through *w when w is not NULL. */
OSTR_API double *EigenvaluesSymM(double **a) OSTR_NOEXCEPT;
OSTR_API double **EigenvectorsSymM(double **a, double **w) OSTR_NOEXCEPT;

/* Eigenvalues of a general real square matrix (complex pairs adjacent), and
   unit eigenvectors for them as the columns of a complex matrix; a repeated
   eigenvalue gets a basis of its eigenspace, and a matrix without a full set
   of eigenvectors (a Jordan block) gives NULL, here and in EigenvectorsMC. */
OSTR_API Complex *EigenvaluesM(double **a) OSTR_NOEXCEPT;
OSTR_API Complex **EigenvectorsM(double **a) OSTR_NOEXCEPT;
/* The same for a general complex square matrix: eigenvalues in the order
   the iteration deflates them, and unit eigenvectors for them (in that
   order) as columns, each with its largest component real and positive. */
OSTR_API Complex *EigenvaluesMC(Complex **a) OSTR_NOEXCEPT;
OSTR_API Complex **EigenvectorsMC(Complex **a) OSTR_NOEXCEPT;

/* Singular values, descending, min(m, n) of them. SVDM returns U (m×k) and
   gives the values through *s and V (n×k) through *v (either may be NULL),
   so that a = U·diag(s)·V^T. */
OSTR_API double *SingularValuesM(double **a) OSTR_NOEXCEPT;
OSTR_API double **SVDM(double **a, double **s, double ***v) OSTR_NOEXCEPT;

/* The Moore-Penrose pseudo-inverse (n×m); singular values at or below
   max(m, n)·eps·s_max count as zero. */
OSTR_API double **PseudoInverseM(double **a) OSTR_NOEXCEPT;

OSTR_END_DECLS

#endif
