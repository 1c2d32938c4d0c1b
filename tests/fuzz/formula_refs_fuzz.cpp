// Formulas that read the circuit: the first line of the input is a function
// trace (it may name other traces, their stored runs and measurements), the
// second a parameter formula that may name other parameters. Both go through
// the C interface into a short run and an AC sweep; whatever the text, each
// call ends with a result and a message, and the circuit stays usable.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "qz3.h"

namespace {

const char kCircuit[] =
    "<?xml version=\"1.0\"?>\n<QZ3><Version ver=\"3\" /><Doc><Cir><Cmps>"
    "<Cmp type=\"V_V\" id=\"1\" name=\"V1\" node0=\"0\" node1=\"1\" model=\"Sin\"><Signal u0=\"1\" u1=\"2\" p=\"1e-3\" /></Cmp>"
    "<Cmp type=\"R_R\" id=\"2\" name=\"R1\" node0=\"1\" node1=\"2\" model=\"R\" r=\"1e3\" />"
    "<Cmp type=\"C_C\" id=\"3\" name=\"C1\" node0=\"0\" node1=\"2\" model=\"C\" c=\"1e-7\" ic=\"0\" />"
    "<Cmp type=\"var\" id=\"4\" name=\"X\" model=\"Var\" value=\"0\" />"
    "</Cmps></Cir><Tran><Settings step=\"1e-5\" /><Traces>"
    "<Trace id=\"3\" expr=\"C1\" name=\"Vc\" type=\"V\" />"
    "<Trace id=\"2\" expr=\"R1\" name=\"Ir\" type=\"I\" />"
    "</Traces></Tran><Freq><Settings from=\"1\" to=\"1e4\" points=\"5\" id=\"1\" /><Traces>"
    "<Trace id=\"3\" expr=\"C1\" name=\"Vac\" type=\"V\" /></Traces></Freq></Doc></QZ3>\n";

const std::string& CircuitPath() {
    static const std::string path = [] {
        const std::string name = "/tmp/qz3_formula_refs_fuzz_" + std::to_string(getpid()) + ".qz3";
        if (FILE* file = std::fopen(name.c_str(), "wb")) {
            std::fputs(kCircuit, file);
            std::fclose(file);
        }
        return name;
    }();
    return path;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    const size_t line = input.find('\n');
    const std::string function = input.substr(0, line);
    const std::string formula = line == std::string::npos ? std::string() : "=" + input.substr(line + 1);
    const int ncir = QZ3_Open(CircuitPath().c_str());
    if (ncir < 0) return 0;
    QZ3_SetTimeout(ncir, 1);
    const int trace = QZ3_AddFuncTrace(ncir, function.c_str());
    if (!formula.empty()) QZ3_SetText(ncir, "X.Value", formula.c_str());
    for (int round = 0; round < 2; ++round) {
        if (QZ3_Start(ncir) == 0) QZ3_Simulate(ncir, 2e-4);
        double t = 0, v = 0;
        if (trace >= 0) QZ3_GetLastData(ncir, trace, &t, &v);
        if (!formula.empty()) QZ3_SetText(ncir, "R1.R", formula.c_str());
        QZ3_GetValue(ncir, "X.Value", &v);
    }
    QZ3_CalcAC(ncir);
    if (trace >= 0) QZ3_DeleteTrace(ncir, trace);
    QZ3_SetText(ncir, "R1.R", "1k");
    QZ3_Start(ncir);
    QZ3_Close(ncir);
    return 0;
}
