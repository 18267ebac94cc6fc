/* Fourier transforms of the numeric library on its counted vectors (slot 0
   holds the length, data from slot 1) and row-pointer matrices: complex and
   real transforms of any length, 2-D transforms, power spectra,
   convolution, correlation, windows and the band filter of a filter file.
   docs/fourier.md gives the method, cost and measured accuracy of each, and
   the format of the filter file.

   The forward transform is X_k = sum_j x_j e^(-2 pi i jk/n); every inverse
   divides by n, so it undoes the forward one. Inputs are only read. Every
   vector or matrix returned belongs to the caller and is released with the
   Free... function of its kind (FreeVector, FreeVectorC, FreeMatrixC).
   NULL is returned for a NULL or empty input where data are needed, a
   length above 2^30, an unknown name, a filter file that cannot be read or
   parsed, when the work is stopped (RequestAbort or the line's time bound),
   or when memory runs out. */
#ifndef OSTRAVINE_FOURIER_H
#define OSTRAVINE_FOURIER_H

#include "ostravine/export.h"
#include "ostravine/numeric.h"

OSTR_BEGIN_DECLS

/* The transform of a complex vector, and its inverse. */
OSTR_API Complex *FFTC(const Complex *v) OSTR_NOEXCEPT;
OSTR_API Complex *InverseFFTC(const Complex *v) OSTR_NOEXCEPT;

/* X_0..X_(n/2) of a real vector of n samples (the other half are their
   conjugates), and the n >= 1 real samples whose half spectrum is half:
   slots of half past n/2 + 1 are ignored, missing ones count as 0, and so
   do the imaginary parts of X_0 and, for even n, of X_(n/2). */
OSTR_API Complex *RealFFT(const double *v) OSTR_NOEXCEPT;
OSTR_API double *InverseRealFFT(const Complex *half, int32_t n) OSTR_NOEXCEPT;

/* The 2-D transform of a complex matrix (rows, then columns), and its
   inverse (divided by rows·columns). */
OSTR_API Complex **FFT2MC(Complex **m) OSTR_NOEXCEPT;
OSTR_API Complex **InverseFFT2MC(Complex **m) OSTR_NOEXCEPT;

/* |X_k|^2/n: for k = 0..n/2 of a real vector, for every k of a complex one. */
OSTR_API double *PowerSpectrum(const double *v) OSTR_NOEXCEPT;
OSTR_API double *PowerSpectrumC(const Complex *v) OSTR_NOEXCEPT;

/* The full linear convolution (na + nb - 1 values) and the full
   correlation r_k = sum_j a_(j+k-nb+1) conj(b_j), lags -(nb-1)..na-1. */
OSTR_API double *Convolve(const double *a, const double *b) OSTR_NOEXCEPT;
OSTR_API Complex *ConvolveC(const Complex *a, const Complex *b) OSTR_NOEXCEPT;
OSTR_API double *Correlate(const double *a, const double *b) OSTR_NOEXCEPT;
OSTR_API Complex *CorrelateC(const Complex *a, const Complex *b) OSTR_NOEXCEPT;

/* The vector times the symmetric window of its length: name "hann",
   "hamming" or "blackman". WindowWeights gives the n weights alone. */
OSTR_API double *Window(const double *v, const char *name) OSTR_NOEXCEPT;
OSTR_API Complex *WindowC(const Complex *v, const char *name) OSTR_NOEXCEPT;
OSTR_API double *WindowWeights(int32_t n, const char *name) OSTR_NOEXCEPT;

/* The vector filtered by the filter file at path (NULL for
   "fourier_filter_spec.txt" in the working directory): every frequency
   component scaled by the file's gain at its frequency. A real vector stays
   real. FourierFilterText takes the file's text itself. */
OSTR_API double *FourierFilter(const double *v, const char *path) OSTR_NOEXCEPT;
OSTR_API Complex *FourierFilterC(const Complex *v, const char *path) OSTR_NOEXCEPT;
OSTR_API double *FourierFilterText(const double *v, const char *text) OSTR_NOEXCEPT;

OSTR_END_DECLS

#endif
