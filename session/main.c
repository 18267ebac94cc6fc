/* The console front end. Until the session layer exists it only shows the
   first prompt and ends. */
#include <stdio.h>

#include "ostravine.h"

int main(void) {
    fputs("\n: ", stdout);
    return 0;
}
