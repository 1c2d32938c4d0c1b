/* A minimal host written in C: it proves that qz3.h is plain C and that the
 * library links and answers. Run it with a schematic as argument to open,
 * report and close it. */
#include <stdio.h>
#include <string.h>

#include "qz3.h"

int main(int argc, char** argv) {
    const char* info = QZ3_GetInfo();
    printf("%s\n", info);
    if (strcmp(info, "Version 3.4.30.11, Date 06/03/2022") != 0) return 1;
    if (argc > 1) {
        int h = QZ3_Open(argv[1]);
        printf("QZ3_Open(%s) = %d: %s\n", argv[1], h, QZ3_GetError());
        if (h < 0) return 1;
        if (QZ3_Close(h) != 0) return 1;
    }
    return 0;
}
