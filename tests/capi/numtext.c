/* Number text through the C face: a literal read through an out-parameter,
   a double written back, and the complex text pair released as a string
   vector. */
#include <math.h>
#include <stdio.h>
#include <string.h>

#include "ostravine.h"

int main(void) {
    double v = -1;
    Complex z = {1.5, -0.0009};
    char **pair = ComplexString(&z, 99);
    char *text = DoubleString(12345, 15);
    int ok = TestNumericString("0b1.1", &v) == 1 && v == 1.5 && TestNumericString(NULL, NULL) == 0;
    ok &= isnan(AtoF("x")) && AtoL("-9007199254740993") == -9007199254740993LL;
    ok &= text != NULL && strcmp(text, "1.2345E+4") == 0;
    ok &= pair != NULL && strcmp(pair[0], "1.5") == 0 && strcmp(pair[1], "-9E-4") == 0 && pair[2][0] == '\0';
    FreeString(text);
    FreeStringVector(pair);
    if (!ok) fputs("numtext: a number text misread or miswritten through the C face\n", stderr);
    return !ok;
}
