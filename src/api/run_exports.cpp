// Simulation control: start and advance a transient run, set its time-out and
// step, read its time, and keep its state as initial conditions.
#include <cmath>
#include <string>

#include "base/change_bits.h"
#include "api/error_channel.h"
#include "api/registry.h"
#include "components/cmps.h"
#include "document/doc.h"
#include "qz3.h"
#include "solver/calc.h"

namespace {

using qz3::CDoc;

int Fail(const std::string& message) {
    qz3::api::AppendError(message);
    return -1;
}

// A failed run has said why in the solver's text.
int RunResult(CDoc* doc, bool ok) {
    if (ok) return qz3::api::Succeed(0);
    return Fail(doc->RunError());
}

// The common routine of the three simulate calls; a NaN interval passes the
// test and ends at once in the end test.
int SimulateBy(int ncir, double interval, int mode) {
    if (0 > interval) return Fail("interval < 0");
    if (std::isinf(interval)) return Fail("interval = infinite");
    CDoc* doc = qz3::api::FindCircuit(ncir);
    if (!doc) return -1;
    return RunResult(doc, doc->Simulate(interval, mode));
}

}  // namespace

extern "C" {

QZ3_API int QZ3_Start(int ncir) {
    return qz3::api::Guarded("QZ3_Start", [&]() -> int {
        CDoc* doc = qz3::api::FindCircuit(ncir);
        if (!doc) return -1;
        return RunResult(doc, doc->Start());
    });
}

QZ3_API int QZ3_Simulate(int ncir, double interval) {
    return qz3::api::Guarded("QZ3_Simulate", [&]() -> int { return SimulateBy(ncir, interval, 0); });
}

QZ3_API int QZ3_SimulateInterval(int ncir, double interval) {
    return qz3::api::Guarded("QZ3_SimulateInterval", [&]() -> int { return SimulateBy(ncir, interval, 2); });
}

QZ3_API int QZ3_SimulateStep(int ncir) {
    return qz3::api::Guarded("QZ3_SimulateStep", [&]() -> int { return SimulateBy(ncir, 0.0, 1); });
}

// Without a run the time is 0 and the prefix stays in the buffer.
QZ3_API int QZ3_GetSimulationTime(int ncir, double* t) {
    return qz3::api::Guarded("QZ3_GetSimulationTime", [&]() -> int {
        if (!t) return Fail("NULL pointer");
        CDoc* doc = qz3::api::FindCircuit(ncir);
        if (!doc) return -1;
        if (!doc->m_Running) {
            *t = 0.0;
            return 0;
        }
        *t = doc->m_Calc->m_Time;
        return qz3::api::Succeed(0);
    });
}

// Not checked: 0 or a negative number switches the time-out off.
QZ3_API int QZ3_SetTimeout(int ncir, int seconds) {
    return qz3::api::Guarded("QZ3_SetTimeout", [&]() -> int {
        CDoc* doc = qz3::api::FindCircuit(ncir);
        if (!doc) return -1;
        doc->m_Advanced.m_Timeout = seconds;
        return qz3::api::Succeed(0);
    });
}

// The same step again changes nothing and doesn't interrupt the fast steps.
QZ3_API int QZ3_SetStep(int ncir, double step) {
    return qz3::api::Guarded("QZ3_SetStep", [&]() -> int {
        CDoc* doc = qz3::api::FindCircuit(ncir);
        if (!doc) return -1;
        if (step == doc->m_TranSettings.m_Step) return qz3::api::Succeed(0);
        if (!(step > 0)) return Fail("step <= 0");
        if (std::isinf(step)) return Fail("step = infinite");
        doc->KeepRunState();
        doc->m_TranSettings.m_Step = step;
        doc->m_Calc->m_Changes |= qz3::kChangeParams;
        return qz3::api::Succeed(0);
    });
}

// The present state goes into the IC parameters: the next run and a saved
// file see it, the present run doesn't.
QZ3_API int QZ3_SaveIC(int ncir) {
    return qz3::api::Guarded("QZ3_SaveIC", [&]() -> int {
        CDoc* doc = qz3::api::FindCircuit(ncir);
        if (!doc) return -1;
        if (!doc->m_Running) return Fail("simulation not running");
        doc->KeepRunState();
        std::string text;
        doc->m_Cmps->SaveIC(text, 0);
        return qz3::api::Succeed(0);
    });
}

}  // extern "C"
