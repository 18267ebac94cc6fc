/* A plot kept in the typed tree through the C face: a chart rendered, put
   in a tree under the type "bitmap" beside its colour matrix, written to a
   memory stream by the handlers InitializeGlobals registers, read back and
   compared pixel for pixel; and its PNG encoded. */
#include <math.h>
#include <stdio.h>
#include <string.h>

#include "ostravine.h"

int main(void) {
    PlotOptions options;
    double x[50], y[50];
    PlotSeries series;
    PlotBitmap *bitmap, *back;
    PlotColorMatrix *colours;
    ArbTree *tree, *read;
    MemFile *stream = MemOpen(64), *png;
    int i, ok;

    if (!InitializeGlobals(NULL, 0)) return 1;
    for (i = 0; i < 50; ++i) {
        x[i] = i;
        y[i] = sin(i / 5.0);
    }
    InitPlotOptions(&options);
    options.width = 200;
    options.height = 150;
    options.title = "sin";
    series.x = x;
    series.y = y;
    series.count = 50;
    series.style = PLOT_LINES;
    series.label = "sin";
    bitmap = GeneratePlotBitmaps(&options, &series, 1);
    if (!bitmap) return 1;
    colours = BitmapToColorMatrix(bitmap);
    tree = initializeArbTree();
    insertArbNode(tree, NULL, "chart", createArbValue(bitmap, "bitmap"));
    insertArbNode(tree, NULL, "colours", createArbValue(colours, "color_matrix"));
    writeArbTreeToStream(tree, tree->root, stream, 0);
    MemSetBufPos(stream, 0);
    read = readArbTreeFromStream(stream, 0);
    back = read ? getVal("chart", read, "bitmap") : NULL;
    ok = back != NULL && back->width == 200 && back->height == 150 &&
         memcmp(back->pixels, bitmap->pixels, 200 * 150 * 3) == 0;
    ok &= read != NULL && getVal("colours", read, "color_matrix") != NULL &&
          ((PlotColorMatrix *)getVal("colours", read, "color_matrix"))->colors[0] == colours->colors[0];
    png = EncodePlotBitmapPNG(bitmap);
    ok &= png != NULL && MemGetBufPos(png) > 100 && memcmp(MemGetBufHandle(png), "\x89PNG", 4) == 0;
    MemClose(png);
    freeRBNodeValueArbTree(read);
    freeArbTree(tree, NULL, 1);
    FreeBlock(tree);
    MemClose(stream);
    TerminateGlobals();
    if (!ok) fputs("plot: the bitmap did not survive the typed tree through the C face\n", stderr);
    return !ok;
}
