/*
 * A discrete PI controller as a library block, the compiled twin of the
 * C-code controller in buck_ccode_pi.qz3.
 *
 * Box: one input "vout" (the measured voltage), one output "duty", a clock
 * pin on the bottom side, and the variables
 *     ref   the voltage wanted            kp  duty per volt of error
 *     ki    duty per volt-second          ts  the clock's period
 *     integ the integral part, kept from edge to edge
 * all set by the component's initial values (IC), for instance
 *     ref=5, kp=0.01, ki=30, ts=100e-6
 * Main runs at each rising edge of the clock:
 *     e = ref - vout;  integ += ki*ts*e;  duty = kp*e + integ
 * with the integral and the duty held between 0 and 0.95.
 *
 * Build (the project's CMake does this as the target qz3_pi_block):
 *     cc -shared -fPIC -O2 -I include -o pi_controller.so pi_controller.c
 */
#include "qz3_block.h"

enum { VOUT, DUTY, REF, KP, KI, TS, INTEG };

static double Clamp(double x, double lo, double hi) { return x < lo ? lo : x > hi ? hi : x; }

/* Starts the integral at the duty of an ideal buck converter from 12 V, so
 * that the loop needs no long wind-up. */
QZ3_BLOCK_EXPORT int Init(double t, double* data) {
    (void)t;
    if (data[TS] <= 0) return 1; /* a clock period is needed */
    data[INTEG] = Clamp(data[REF] / 12.0, 0.0, 0.95);
    return 0;
}

QZ3_BLOCK_EXPORT int Main(double t, double* data) {
    (void)t;
    const double e = data[REF] - data[VOUT];
    data[INTEG] = Clamp(data[INTEG] + data[KI] * data[TS] * e, 0.0, 0.95);
    data[DUTY] = Clamp(data[KP] * e + data[INTEG], 0.0, 0.95);
    return 0;
}
