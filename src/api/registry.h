// Process-wide state of the library besides the error buffer: the one
// handle counter shared by circuits, parameters, traces, inputs and outputs,
// and the list of open circuits.
#pragma once

#include "base/list.h"

namespace qz3 {
class CDoc;
}

namespace qz3::api {

// The value the next handle will get; never reused within a process.
int NextHandle();
// Hands out the next handle and advances the counter.
int TakeHandle();
// Null until the first successful open; never destroyed afterwards.
TList<CDoc>* CircuitList();
// Adds a loaded document, creating the list on first use.
void AddCircuit(CDoc* doc);
// Destroys a listed document and closes the gap in the list.
void CloseCircuit(CDoc* doc);
// The open document with that handle; otherwise appends "no circuit" (no
// list yet) or "wrong circuit handle" to the error buffer and gives null.
CDoc* FindCircuit(int handle);

}  // namespace qz3::api
