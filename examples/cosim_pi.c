/* Lock-step co-simulation from C: the host closes the loop of a buck
 * converter outside the engine. Every 10 us it reads the output voltage,
 * runs a PI controller towards 5 V and sets the duty cycle the modulator
 * of the circuit uses from then on.
 *
 *   ./build/qz3_cosim_pi examples/buck_cosim.qz3
 */
#include <stdio.h>

#include "qz3.h"

int main(int argc, char** argv) {
    const char* file = argc > 1 ? argv[1] : "examples/buck_cosim.qz3";
    const double interval = 10e-6, reference = 5.0, kp = 0.002, ki = 30.0;
    int ncir = QZ3_Open(file);
    if (ncir < 0) {
        fprintf(stderr, "%s\n", QZ3_GetError());
        return 1;
    }
    int duty = QZ3_GetInput(ncir, "DUTY");
    int vout = QZ3_GetOutput(ncir, "VOUT");
    if (duty < 0 || vout < 0 || QZ3_Start(ncir) != 0) {
        fprintf(stderr, "%s\n", QZ3_GetError());
        return 1;
    }
    double integral = 0.0, v = 0.0, sum = 0.0;
    int averaged = 0;
    for (int k = 0; k < 2000; ++k) {
        if (QZ3_SimulateInterval(ncir, interval) != 0 || QZ3_GetOutputValue(ncir, vout, &v) != 0) {
            fprintf(stderr, "%s\n", QZ3_GetError());
            return 1;
        }
        const double error = reference - v;
        integral += error * interval;
        double d = kp * error + ki * integral;
        d = d < 0.0 ? 0.0 : d > 0.95 ? 0.95 : d;
        QZ3_SetInputValue(ncir, duty, d);
        if (k >= 1900) {
            sum += v;
            ++averaged;
        }
        if (k % 200 == 199) printf("t = %5.2f ms  Vout = %.4f V  duty = %.4f\n", (k + 1) * interval * 1e3, v, d);
    }
    const double mean = sum / averaged;
    printf("mean of the last ms: %.4f V\n", mean);
    QZ3_Close(ncir);
    return mean > 4.9 && mean < 5.1 ? 0 : 2;
}
