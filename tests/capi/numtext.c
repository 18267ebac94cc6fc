/* Number text through the C face: a literal read and written back, the
   complex text pair, and NULL arguments. */
#include <math.h>
#include <stdio.h>
#include <string.h>

#include "ostravine.h"

static int failures = 0;

static void expect_text(char *got, const char *want) {
    if (got == NULL || strcmp(got, want) != 0) {
        fprintf(stderr, "numtext: got \"%s\", want \"%s\"\n", got ? got : "(null)", want);
        ++failures;
    }
    FreeString(got);
}

static void expect(int ok, const char *what) {
    if (!ok) {
        fprintf(stderr, "numtext: %s\n", what);
        ++failures;
    }
}

int main(void) {
    double v = -1;
    Complex z = {1.5, -0.0009};
    char **pair;
    char **p;
    char *text;

    expect(TestNumericString("0b1.1", &v) == 1 && v == 1.5, "0b1.1 is 1.5");
    expect(TestNumericString("12abc", &v) == 0 && v == 0, "12abc is not numeric");
    expect(TestNumericString(NULL, NULL) == 0, "NULL is not numeric");
    expect(AtoF("0b101") == 0 && isnan(AtoF("x")) && AtoF("0x1p4") == 16, "AtoF");
    expect(AtoL("-9007199254740993") == -9007199254740993LL, "AtoL reads integers exactly");
    expect_text(DoubleString(12345, 15), "1.2345E+4");
    expect_text(DoubleString(99999.99, 3), "1.0E+5");
    expect_text(DoubleStringExponential(1234.5, 3), "1.23E+3");
    text = DoubleStringDecimal(2.5, 5);
    expect_text(DoubleStringCleanZeros(text), "2.5");
    expect_text(text, "2.5000");
    expect_text(RoundDoubleStringWithSpacePadding(-2.675, 2, 7), "  -2.68");
    expect(DoubleStringRound(NULL, 3) == NULL, "DoubleStringRound(NULL)");

    pair = ComplexString(&z, 99);
    expect(pair != NULL && strcmp(pair[0], "1.5") == 0 && strcmp(pair[1], "-9E-4") == 0 &&
               pair[2][0] == '\0',
           "ComplexString pair");
    for (p = pair; p != NULL && **p != '\0'; ++p) FreeString(*p);
    if (pair != NULL) FreeString(*p);
    FreeBlock(pair);
    expect(ComplexString(NULL, 15) == NULL, "ComplexString(NULL)");
    return failures != 0;
}
