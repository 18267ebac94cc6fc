/* Numeric matrices through text and typed-tree files, from C: texts that
   read and texts that are refused, every double back bit for bit through
   both kinds of file, and the binary file read as the typed tree it is.
   Files go into a fresh scratch directory that is removed at the end. */
#define _POSIX_C_SOURCE 200809L

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "ostravine.h"

static int failures;

static void check(int ok, const char *what) {
    if (!ok) {
        fprintf(stderr, "matrixfile: %s\n", what);
        ++failures;
    }
}

static int rows_of(double **m) { return (int)m[0][0]; }
static int cols_of(double **m) { return (int)m[1][0]; }

/* Same shape and the same bits in every cell. */
static int same(double **a, double **b) {
    int i;
    if (!a || !b || rows_of(a) != rows_of(b) || cols_of(a) != cols_of(b)) return 0;
    for (i = 1; i <= rows_of(a); ++i)
        if (memcmp(a[i] + 1, b[i] + 1, sizeof(double) * (size_t)cols_of(a)) != 0) return 0;
    return 1;
}

struct Case {
    const char *text;
    int rows, cols;  /* 0 rows: refused */
    double first, last;
};

static const struct Case cases[] = {
    {"1,2\n3,4\n", 2, 2, 1, 4},
    {"1 2\n3\t4", 2, 2, 1, 4},
    {"name,value\n1.5,-2\n", 1, 2, 1.5, -2},
    {"t y\r\n0 .5\r\n\r\n1 +2e3\r\n", 2, 2, 0, 2000},
    {"7\n8\n9\n", 3, 1, 7, 9},
    {"1,2\n3\n", 0, 0, 0, 0},
    {"1,,2\n", 0, 0, 0, 0},
    {"a,b\nc,d\n", 0, 0, 0, 0},
    {"", 0, 0, 0, 0},
    {"1,nan\n", 0, 0, 0, 0},
    {"1e400\n", 0, 0, 0, 0},
};

static void texts(void) {
    size_t k;
    for (k = 0; k < sizeof cases / sizeof cases[0]; ++k) {
        double **m = MatrixFromText(cases[k].text);
        if (cases[k].rows == 0) {
            check(m == NULL, cases[k].text);
            continue;
        }
        check(m && rows_of(m) == cases[k].rows && cols_of(m) == cases[k].cols && m[1][1] == cases[k].first &&
                  m[cases[k].rows][cases[k].cols] == cases[k].last,
              cases[k].text);
        FreeMatrix(m);
    }
    check(MatrixFromText(NULL) == NULL, "NULL text");
}

static void round_trips(void) {
    const double values[6] = {0.1, 1.0 / 3, -0.0, 4.9406564584124654e-324, 1.7976931348623157e308, -2.5e-300};
    double **m = Matrix(2, 3), **back;
    char *text;
    int k;
    for (k = 0; k < 6; ++k) m[1 + k / 3][1 + k % 3] = values[k];

    text = MatrixToText(m, ',');
    check(text && strcmp(text, "0.1,0.3333333333333333,-0\n5e-324,1.7976931348623157e+308,-2.5e-300\n") == 0,
          "shortest exact text");
    back = MatrixFromText(text);
    check(same(m, back), "text read back bit for bit");
    FreeMatrix(back);
    FreeString(text);
    text = MatrixToText(m, '\t');
    check(text && strncmp(text, "0.1\t0.3333333333333333\t-0\n", 26) == 0, "tab separator");
    FreeString(text);
    check(MatrixToText(m, ';') == NULL && MatrixToText(NULL, ',') == NULL, "refused separator or matrix");

    check(WriteMatrixText(m, "m.csv", ' ') == 1, "text file written");
    back = ReadMatrixText("m.csv");
    check(same(m, back), "text file read back bit for bit");
    FreeMatrix(back);
    check(WriteMatrixText(m, "m.csv", 'x') == 0 && WriteMatrixText(m, "no_dir/m.csv", ',') == 0,
          "text file refused");
    check(mkfifo("pipe", 0600) == 0 && WriteMatrixText(m, "pipe", ',') == 0 && WriteMatrixBinary(m, "pipe") == 0 &&
              ReadMatrixText("pipe") == NULL && ReadMatrixBinary("pipe") == NULL,
          "a pipe is never waited on");
    remove("pipe");
    check(ReadMatrixText("missing.csv") == NULL && ReadMatrixText(".") == NULL && ReadMatrixText(NULL) == NULL,
          "text file missing");

    check(WriteMatrixBinary(m, "m.tree") == 1, "binary file written");
    back = ReadMatrixBinary("m.tree");
    check(same(m, back), "binary file read back bit for bit");
    FreeMatrix(back);
    {
        /* The binary file is a typed tree with one "matrix" entry. */
        ArbTree *tree = readArbTreeFromFile("m.tree");
        check(tree && tree->count == 1 && same(m, getMatrix("matrix", tree)), "binary file as a typed tree");
        if (tree) {
            freeArbTree(tree, NULL, 1);
            FreeBlock(tree);
        }
    }
    check(ReadMatrixBinary("m.csv") == NULL && ReadMatrixBinary("missing.tree") == NULL &&
              ReadMatrixBinary(".") == NULL,
          "binary file refused");
    check(WriteMatrixBinary(NULL, "n.tree") == 0 && WriteMatrixBinary(m, NULL) == 0, "binary NULL arguments");
    FreeMatrix(m);
}

int main(void) {
    char dir[] = "/tmp/ostr_capi_matrixfile_XXXXXX";
    char previous[4096];
    if (!getcwd(previous, sizeof previous) || !mkdtemp(dir) || chdir(dir) != 0) {
        fputs("matrixfile: no scratch directory\n", stderr);
        return 1;
    }
    texts();
    round_trips();
    remove("m.csv");
    remove("m.tree");
    if (chdir(previous) != 0 || rmdir(dir) != 0) check(0, "scratch directory left behind");
    return failures != 0;
}
