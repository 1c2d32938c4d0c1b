/*
 * qz3.h - public C interface of libqz3.
 *
 * Every function returns 0, a handle or a count on success and -1 on
 * failure. After each call QZ3_GetError() holds "OK" or a line that begins
 * with the failing function's name, a colon and a blank.
 * Handles of circuits, parameters, traces, inputs and outputs come from one
 * counter and are never reused within a process.
 *
 * Threads: separate circuits may be used from separate threads at the same
 * time. QZ3_GetError() reads what the calling thread's last call said. One
 * circuit handle (and the parameter, trace, input and output handles it gave
 * out) must not be used from two threads at once; closing a circuit while
 * another thread uses it is the host's to avoid.
 */
#ifndef QZ3_H
#define QZ3_H

#if defined(_WIN32)
#  if defined(QZ3_BUILDING)
#    define QZ3_API __declspec(dllexport)
#  else
#    define QZ3_API __declspec(dllimport)
#  endif
#elif defined(__GNUC__)
#  define QZ3_API __attribute__((visibility("default")))
#else
#  define QZ3_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Handles and errors */
QZ3_API const char* QZ3_GetError(void);
QZ3_API const char* QZ3_GetInfo(void);
QZ3_API int QZ3_Open(const char* name);
QZ3_API int QZ3_Save(int ncir);
QZ3_API int QZ3_SaveAs(int ncir, const char* name);
QZ3_API int QZ3_Close(int ncir);

/* Parameters and text */
QZ3_API int QZ3_GetValue(int ncir, const char* name, double* v);
QZ3_API int QZ3_SetValue(int ncir, const char* name, double v);
QZ3_API int QZ3_GetText(int ncir, const char* name, char* text, int length);
QZ3_API int QZ3_SetText(int ncir, const char* name, const char* text);
QZ3_API int QZ3_GetParam(int ncir, const char* name);
QZ3_API int QZ3_GetParamValue(int ncir, int npar, double* v);
QZ3_API int QZ3_SetParamValue(int ncir, int npar, double v);
QZ3_API int QZ3_GetParamText(int ncir, int npar, char* text, int length);
QZ3_API int QZ3_SetParamText(int ncir, int npar, const char* text);

/* Simulation control */
QZ3_API int QZ3_SetTimeout(int ncir, int seconds);
QZ3_API int QZ3_SetStep(int ncir, double step);
QZ3_API int QZ3_GetSimulationTime(int ncir, double* t);
QZ3_API int QZ3_Start(int ncir);
QZ3_API int QZ3_Simulate(int ncir, double interval);
QZ3_API int QZ3_SimulateInterval(int ncir, double interval);
QZ3_API int QZ3_SimulateStep(int ncir);
QZ3_API int QZ3_SaveIC(int ncir);

/* Traces and data */
QZ3_API int QZ3_GetTrace(int ncir, const char* name);
QZ3_API int QZ3_AddVTrace(int ncir, const char* name);
QZ3_API int QZ3_AddITrace(int ncir, const char* name);
QZ3_API int QZ3_AddPTrace(int ncir, const char* name);
QZ3_API int QZ3_AddVarTrace(int ncir, const char* name);
QZ3_API int QZ3_AddFuncTrace(int ncir, const char* text);
QZ3_API int QZ3_DeleteTrace(int ncir, int ntrace);
QZ3_API int QZ3_GetDataSize(int ncir, int ntrace);
QZ3_API int QZ3_GetDataAt(int ncir, int ntrace, int index, double* t, double* data);
QZ3_API int QZ3_GetLastData(int ncir, int ntrace, double* t, double* data);
QZ3_API int QZ3_GetData(int ncir, int ntrace, double t, double* data);
QZ3_API int QZ3_DeleteOldData(int ncir);

/* Co-simulation inputs and outputs */
QZ3_API int QZ3_GetInput(int ncir, const char* name);
QZ3_API int QZ3_SetInputValue(int ncir, int nin, double v);
QZ3_API int QZ3_SetInputLogicalValue(int ncir, int nin, int v);
QZ3_API int QZ3_GetOutput(int ncir, const char* name);
QZ3_API int QZ3_GetOutputValue(int ncir, int nout, double* v);
QZ3_API int QZ3_GetOutputLogicalValue(int ncir, int nout, int* v);

/* AC analysis */
QZ3_API int QZ3_CalcAC(int ncir);
QZ3_API int QZ3_GetACTrace(int ncir, const char* name);
QZ3_API int QZ3_GetACDataSize(int ncir, int ntrace);
QZ3_API int QZ3_GetACDataAt(int ncir, int ntrace, int index, double* f, double* mag, double* phase);

#ifdef __cplusplus
}
#endif

#endif /* QZ3_H */
