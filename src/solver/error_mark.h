// Where a failure passed up without a text of its own. The host then reads
// "Unknown error " and the number, which tells a developer the place.
#pragma once

namespace qz3 {

enum class ErrorMark : int {
    None = 0,
    Restart = 1001,            // the rebuild after a change of the circuit
    InitialState = 1002,       // the routines of the states of a run, by state
    RepeatInitialState = 1003,
    FirstStep = 1004,
    EulerStep = 1005,
    Factorisation = 1006,
    TrapezoidalStep = 1007,
    PrepareComponents = 1008,  // the start of a run
    AllocateMatrices = 1009,
    PrepareTraces = 1010,
    StoreFirstPoint = 1011,    // the initial state
    StoreInitialPoint = 1012,
    CheckInitialStates = 1013,
    EvaluateFunctions = 1014,  // the steps
    FirstFastStep = 1015,
    FastStep = 1016,
    EdgeStep = 1017,
    StepEuler = 1018,
    TestStates = 1019,
    StoreStep = 1020,
    RetryEdgeStep = 1021,
    RetryEulerStep = 1022,
    StoreEvent = 1023,
    CommitEvent = 1024,
    Subcircuit = 1025,         // the preparation of one component
    ComponentTable = 1026,
    ComponentInit = 1027,
    StartRun = 1028,           // the document's start
};

}  // namespace qz3
