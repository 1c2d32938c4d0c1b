// The identities of component types and models, in one place.
//
// A component's type is fixed at creation from its descriptor ("R_R" is a
// Resistor); its model is a row of the type's model table, chosen by name in
// the file ("PWL"). The numbers are internal: the file stores the texts. One
// model number may stand behind several names ("Diode", "Zener" and
// "Thyristor" are all Diode), and several types share a model.
//
// Only the type table, the element classes and the file records use these.
// Any other subsystem that needs to know something about an element asks the
// element through a virtual of CCmp instead of testing its numbers.
#pragma once

#include <cstdint>

namespace qz3 {

enum class TypeId : int32_t {
    None = 0,
    Variable = 4,                 // "var"
    Label = 5,                    // "label"
    Amperemeter = 6,              // "A_A"
    Capacitor = 7,                // "C_C"
    VoltageControlledCapacitor = 8,
    CurrentControlledCapacitor = 9,
    Diode = 10,                   // "D_D"
    Zener = 11,                   // "D_Z"
    SymmetricZener = 12,          // "D_ZS"
    VoltageThyristor = 13,        // "D_VCT"
    CurrentThyristor = 14,        // "D_CCT"
    LogicThyristor = 15,          // "D_LCT"
    Bridge = 16,                  // "D_BR"
    DiodeRing = 17,               // "D_RING"
    Function = 18,                // "F_1"
    FunctionClocked = 19,         // "F_1C"
    Function2 = 20,               // "F_2"
    Function2Clocked = 21,        // "F_2C"
    CustomFunction = 22,          // "F_CUSTOM"
    Integral = 23,                // "F_INT"
    IntegralWithReset = 24,       // "F_INTR"
    SFunction = 25,               // "F_S"
    ZFunction = 26,               // "F_Z"
    CurrentSource = 27,           // "I_I"
    LogicCurrentSource = 28,      // "I_CI"
    Vccs = 29,                    // "I_VCCS"
    Cccs = 30,                    // "I_CCCS"
    Inductor = 31,                // "L_L"
    CoupledInductors = 32,        // "L_CL"
    CustomCoupledInductors = 33,  // "L_CUSTOM"
    VoltageControlledInductor = 34,
    CurrentControlledInductor = 35,
    Amplifier = 36,               // "O_O"
    DifferentialAmplifier = 37,   // "O_OD"
    SummingAmplifier = 38,        // "O_OS"
    VoltageControlledAmplifier = 39,
    CurrentControlledAmplifier = 40,
    TransconductanceAmplifier = 41,  // "O_VC"
    CurrentAmplifier = 42,        // "O_CV"
    CurrentAmplifierCurrentOut = 43,  // "O_CC"
    FullyDifferentialAmplifier = 44,  // "O_FD"
    ReferencedAmplifier = 45,     // "O_REF"
    Resistor = 46,                // "R_R"
    Potentiometer = 47,           // "R_Pot"
    VoltageControlledResistor = 48,
    CurrentControlledResistor = 49,
    Switch = 50,                  // "S_S"
    SwitchSpdt = 51,              // "S_S3"
    VoltageControlledSwitch = 52,
    CurrentControlledSwitch = 53,
    VoltageControlledSpdt = 54,
    CurrentControlledSpdt = 55,
    LogicControlledSwitch = 56,
    LogicControlledSpdt = 57,
    Npn = 58,
    Pnp = 59,
    NFet = 60,
    PFet = 61,
    VoltageSource = 62,           // "V_V"
    LogicVoltageSource = 63,      // "V_CV"
    Vcvs = 64,                    // "V_VCVS"
    Ccvs = 65,                    // "V_CCVS"
    Voltmeter = 66,               // "V_VM"
    Winding = 67,                 // "W_W"
    Transformer = 68,             // "W_T2"
    DifferentialTransformer = 69, // "W_T3"
    CustomTransformer = 70,       // "W_CUSTOM"
    Wattmeter = 71,               // "W_WM"
    SampleHold = 72,              // "X_SH"
    DirectionalCoupler = 73,      // "X_DC"
    Delay = 74,                   // "X_Delay"
    TransmissionLine = 75,        // "X_Line"
    Block2 = 76,
    Block3 = 77,
    Block4 = 78,
    Block6 = 79,
    Block8 = 80,
    CustomBlock = 81,             // "X_CUSTOM"
    CircuitBlock = 82,            // "X_QZ3"
    CodeBlock = 83,               // "X_C"
    DllBlock = 84,                // "X_DLL"
    Gate = 85,                    // "Y_1"
    And2 = 86,
    Or2 = 87,
    Xor2 = 88,
    And3 = 89,
    Or3 = 90,
    Xor3 = 91,
    CustomGate = 92,              // "Y_CUSTOM"
    DFlipFlop = 93,               // "Y_FF"
    SrTrigger = 94,               // "Y_RS"
    JkTrigger = 95,               // "Y_JK"
    SchmittTrigger = 96,          // "Y_ST"
    LogicalFunction = 97,         // "Y_FUNCTION"
    Bus = 98,                     // "Y_BUS"
    LogicGenerator = 99,          // "Y_LG"
    LogicControlledGenerator = 100,
    VoltageControlledGenerator = 101,
    CurrentControlledGenerator = 102,
    Impedance = 103,              // "Z_Z"
};

enum class ModelId : int32_t {
    None = 0,
    Var = 1,
    Label = 2,
    Single = 3,
    Pulse = 4,
    Step = 5,
    Sin = 6,
    Function = 7,
    File = 8,
    List = 9,
    SubCir = 10,
    Pwl = 11,
    R = 12,
    C = 13,
    L = 14,
    Diode = 15,        // "Diode", "Zener", "Thyristor"
    Source = 16,       // "V", "I", "Gate", "Voltmeter"
    Switch = 17,
    Linear = 18,
    Amperemeter = 19,
    OpAmp = 20,
    Comparator = 21,
    Transistor = 22,
    Fet = 23,
    Line = 24,
    Lossy = 25,
    Delay = 26,
    Winding = 27,      // "Winding", "Transformer"
    Pwr = 28,
    Abs = 29,
    Int = 30,
    Lim = 31,
    Mul = 32,
    Div = 33,
    Sum = 34,
    Sub = 35,
    Max = 36,
    Min = 37,
    Gt = 38,
    Lt = 39,
    Mag = 40,
    Phase = 41,
    Storage = 42,
    SampleHold = 43,   // "SH"
    Logic = 44,
    Vco = 45,          // "VCO", "CCO"
    Wattmeter = 46,
    Coupler = 47,
    Pwm = 48,
    Code = 49,         // "C" of a code block
    Dll = 50,
    Soft = 51,
    PwlI = 52,
    Table = 53,
    Trace = 54,
    Integral = 55,
    CodeFile = 56,     // "File" of a code block
    FetD = 57,
    Delay2 = 58,
    IC = 59,
    Bus = 60,
    Potentiometer = 61,
    Clock = 62,
    Poly1 = 63,
    Poly2 = 64,
    Poly3 = 65,
    Poly4 = 66,
    Poly5 = 67,
    OneShot = 68,
    Steps = 69,
    On = 70,           // "On", "High"
    Off = 71,          // "Off", "Low"
    Roots = 72,
    Sweep = 73,
};

}  // namespace qz3
