/* Plots rendered to bitmaps: function and data charts, complex domain
   colouring and magnitude spectra, drawn with our own rasteriser and bitmap
   font and written as PNG by our own encoder. See docs/plot.md. */
#ifndef OSTRAVINE_PLOT_H
#define OSTRAVINE_PLOT_H

#include <stddef.h>
#include <stdint.h>
#include "ostravine/export.h"
#include "ostravine/persist.h"

/* An 8-bit RGB picture: height rows from the top, 3*width bytes each. The
   record and its pixels are one block of the library's allocator; release
   it with FreePlotBitmap. The typed-tree type "bitmap" holds one. */
typedef struct PlotBitmap {
    int32_t width;
    int32_t height;
    uint8_t *pixels;
} PlotBitmap;

/* The colours of a picture as a matrix of 0xRRGGBB words, row by row.
   One block like PlotBitmap; release with FreePlotColorMatrix. The
   typed-tree type "color_matrix" holds one. */
typedef struct PlotColorMatrix {
    int32_t rows;
    int32_t cols;
    uint32_t *colors;
} PlotColorMatrix;

/* A font read by LoadFontFromFile. */
typedef struct PlotFont PlotFont;

enum { PLOT_LINES = 0, PLOT_POINTS = 1, PLOT_LINES_POINTS = 2 };
/* PLOT_POLES: the series sample a formula; an automatic y range leaves out
   the few values far beyond the bulk (poles), and a jump across the whole
   range between two samples is not drawn. */
enum { PLOT_GRID = 1, PLOT_LOG_X = 2, PLOT_LOG_Y = 4, PLOT_POLES = 8 };

/* One curve or point set: count (x, y) pairs; a NaN or infinite y breaks
   the line. label NULL or empty keeps it out of the legend. */
typedef struct PlotSeries {
    const double *x;
    const double *y;
    int32_t count;
    int32_t style; /* PLOT_LINES, PLOT_POINTS or PLOT_LINES_POINTS */
    const char *label;
} PlotSeries;

/* The frame of a plot. width and height 0 mean 800 and 600; each side must
   lie within 64..8192. A range end that is NaN is chosen from the data. The
   texts (UTF-8) may be NULL. font NULL is the built-in font. */
typedef struct PlotOptions {
    int32_t width;
    int32_t height;
    const char *title;
    const char *xlabel;
    const char *ylabel;
    int32_t flags; /* PLOT_GRID | PLOT_LOG_X | PLOT_LOG_Y | PLOT_POLES */
    double xmin, xmax, ymin, ymax;
    const PlotFont *font;
} PlotOptions;

/* A complex function for domain colouring; answers 0 to stop the plot. */
typedef int32_t (*PlotComplexFn)(void *data, double re, double im, double *out_re, double *out_im);

OSTR_BEGIN_DECLS

/* Options with every field at its default (800×600, automatic ranges). */
OSTR_API void InitPlotOptions(PlotOptions *options) OSTR_NOEXCEPT;
/* The chart of count series; NULL for a bad size or count, or when the
   work was stopped (RequestAbort). */
OSTR_API PlotBitmap *GeneratePlotBitmaps(const PlotOptions *options, const PlotSeries *series,
                                         int32_t count) OSTR_NOEXCEPT;
/* Domain colouring of f over [re0,re1]×[im0,im1]: hue = argument, lightness
   from black at zeros through full colour at modulus 1 to white at poles.
   NULL for an empty rectangle, a bad size, or when f or RequestAbort
   stops it. */
OSTR_API PlotBitmap *GenerateDomainBitmap(const PlotOptions *options, double re0, double re1, double im0,
                                          double im1, PlotComplexFn f, void *data) OSTR_NOEXCEPT;
/* The magnitude spectrum |X_k|, k = 0..n/2, of n samples (im may be NULL
   for real data) against the frequency k/n in cycles per sample; in
   decibels (20·log10) when decibels is nonzero. NULL for n < 2 or
   n > 2^20. */
OSTR_API PlotBitmap *GenerateSpectrumBitmap(const PlotOptions *options, const double *re, const double *im,
                                            int32_t n, int32_t decibels) OSTR_NOEXCEPT;

/* The PNG file of the bitmap in a new stream (position = length); NULL for
   a NULL or malformed bitmap. */
OSTR_API MemFile *EncodePlotBitmapPNG(const PlotBitmap *bitmap) OSTR_NOEXCEPT;
/* Writes the PNG file; 1 on success, 0 when it could not be written. */
OSTR_API int32_t WritePlotBitmapPNG(const PlotBitmap *bitmap, const char *file) OSTR_NOEXCEPT;

/* A BDF (Glyph Bitmap Distribution Format 2.1) font file; NULL when the
   file cannot be read or is no well-formed BDF font. */
OSTR_API PlotFont *LoadFontFromFile(const char *file) OSTR_NOEXCEPT;
OSTR_API void FreePlotFont(PlotFont *font) OSTR_NOEXCEPT;

OSTR_API PlotColorMatrix *BitmapToColorMatrix(const PlotBitmap *bitmap) OSTR_NOEXCEPT;
OSTR_API PlotBitmap *ColorMatrixToBitmap(const PlotColorMatrix *matrix) OSTR_NOEXCEPT;

/* The value handlers of the typed-tree types "bitmap" and "color_matrix".
   Stream layout: i32 width (cols), i32 height (rows), then the pixels
   (3 bytes each) or colours (u32 each). A reader answers NULL for a size
   outside 1..8192 or a cut stream. */
OSTR_API void FreePlotBitmap(void *bitmap) OSTR_NOEXCEPT;
OSTR_API void writePlotBitmap(void *bitmap, void *stream, int32_t mode) OSTR_NOEXCEPT;
OSTR_API void *readPlotBitmap(void *stream, int32_t mode) OSTR_NOEXCEPT;
OSTR_API void *copyPlotBitmap(void *bitmap) OSTR_NOEXCEPT;
OSTR_API void FreePlotColorMatrix(void *matrix) OSTR_NOEXCEPT;
OSTR_API void writePlotColorMatrix(void *matrix, void *stream, int32_t mode) OSTR_NOEXCEPT;
OSTR_API void *readPlotColorMatrix(void *stream, int32_t mode) OSTR_NOEXCEPT;
OSTR_API void *copyPlotColorMatrix(void *matrix) OSTR_NOEXCEPT;

OSTR_END_DECLS

#endif
