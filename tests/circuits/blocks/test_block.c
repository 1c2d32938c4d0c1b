/*
 * Entry points for the library block's tests. The schematics choose among
 * them by name; all use the layout of one input x, one output y and the
 * variables k (gain), n (calls) and k0 (what Init saw):
 *
 *     data[0] x   data[1] y   data[2] k   data[3] n   data[4] k0
 */
#include <stdio.h>
#include <stdlib.h>

#include "qz3_block.h"

enum { X, Y, K, N, K0, END };

/* Each Exit adds a line to the file the test names, so that a test can
 * count the closings of a library it can no longer reach. */
static void MarkExit(void) {
    const char* path = getenv("QZ3_TEST_BLOCK_EXITS");
    if (!path) return;
    FILE* file = fopen(path, "a");
    if (!file) return;
    fputs("exit\n", file);
    fclose(file);
}

QZ3_BLOCK_EXPORT int Init(double t, double* data) {
    (void)t;
    data[K0] = data[K];
    return 0;
}

/* y = k x, counting the calls. */
QZ3_BLOCK_EXPORT int Main(double t, double* data) {
    (void)t;
    data[Y] = data[K] * data[X];
    data[N] += 1;
    return 0;
}

QZ3_BLOCK_EXPORT int Pause(void) { return 0; }

QZ3_BLOCK_EXPORT int Exit(void) {
    MarkExit();
    return 0;
}

/* Only in the decorated form: found when the block asks for "Count". */
QZ3_BLOCK_EXPORT int _Count(double t, double* data) {
    (void)t;
    data[N] += 1;
    data[Y] = data[N];
    return 0;
}

QZ3_BLOCK_EXPORT int FailInit(double t, double* data) {
    (void)t;
    (void)data;
    return 3;
}

/* Fails at the third call. */
QZ3_BLOCK_EXPORT int FailMain(double t, double* data) {
    (void)t;
    data[N] += 1;
    return data[N] >= 3 ? 7 : 0;
}

/* One double past the last variable: the first guard word. */
QZ3_BLOCK_EXPORT int Overrun(double t, double* data) {
    (void)t;
    data[END] = 1.0;
    return 0;
}
