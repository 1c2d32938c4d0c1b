#include "components/elem_set.h"

#include <new>

#include "components/cmp.h"
#include "components/elem_a.h"
#include "components/elem_ac.h"
#include "components/elem_code.h"
#include "components/elem_dc.h"
#include "components/elem_dll.h"
#include "components/elem_f.h"
#include "components/elem_delay.h"
#include "components/elem_integral.h"
#include "components/elem_label.h"
#include "components/elem_lg.h"
#include "components/elem_line.h"
#include "components/elem_sh.h"
#include "components/elem_cs.h"
#include "components/elem_d.h"
#include "components/elem_fet.h"
#include "components/elem_c.h"
#include "components/elem_l.h"
#include "components/elem_o.h"
#include "components/elem_pending.h"
#include "components/elem_vcvs.h"
#include "components/elem_z.h"
#include "components/elem_r.h"
#include "components/elem_s.h"
#include "components/elem_t.h"
#include "components/elem_v.h"
#include "components/elem_w.h"
#include "components/elem_x.h"
#include "components/elem_y.h"
#include "components/variable.h"

namespace qz3 {

namespace {

// Every type in the order of the type table: type key, number, factory,
// pins, drawing data (none in a library without an editor), models, editor
// mode, title. Families whose classes come later are served by
// CElemPending, which keeps their file content intact.
const CCmpType kTypes[] = {
    {"R_R", TypeId::Resistor, &CreateElement<CElemR>, 2, nullptr, nullptr, nullptr, kModelsRR, &kResistorParams, 0, "Resistor"},
    {"R_Pot", TypeId::Potentiometer, &CreateElement<CElemR>, 3, nullptr, nullptr, nullptr, kModelsRPot, &kResistorParams, 0, "Potentiometer"},
    {"R_VCR", TypeId::VoltageControlledResistor, &CreateElement<CElemR>, 4, nullptr, nullptr, nullptr, kModelsRVcr, &kResistorParams, 0, "Voltage controlled resistor"},
    {"R_CCR", TypeId::CurrentControlledResistor, &CreateElement<CElemR>, 4, nullptr, nullptr, nullptr, kModelsRCcr, &kResistorParams, 0, "Current controlled resistor"},
    {"C_C", TypeId::Capacitor, &CreateElement<CElemC>, 2, nullptr, nullptr, nullptr, kModelsCC, &kCapacitorParams, 0, "Capacitor"},
    {"C_VCC", TypeId::VoltageControlledCapacitor, &CreateElement<CElemC>, 4, nullptr, nullptr, nullptr, kModelsCVcc, &kCapacitorParams, 0, "Voltage controlled capacitor"},
    {"C_CCC", TypeId::CurrentControlledCapacitor, &CreateElement<CElemC>, 4, nullptr, nullptr, nullptr, kModelsCCcc, &kCapacitorParams, 0, "Current controlled capacitor"},
    {"L_L", TypeId::Inductor, &CreateElement<CElemL>, 2, nullptr, nullptr, nullptr, kModelsLL, &kInductorParams, 0, "Inductor"},
    {"L_VCL", TypeId::VoltageControlledInductor, &CreateElement<CElemL>, 4, nullptr, nullptr, nullptr, kModelsLVcl, &kInductorParams, 0, "Voltage controlled inductor"},
    {"L_CCL", TypeId::CurrentControlledInductor, &CreateElement<CElemL>, 4, nullptr, nullptr, nullptr, kModelsLCcl, &kInductorParams, 0, "Current controlled inductor"},
    {"L_CL", TypeId::CoupledInductors, &CreateElement<CElemL>, 4, nullptr, nullptr, nullptr, kModelsLCl, &kInductorParams, 0, "Coupled inductors"},
    {"L_CUSTOM", TypeId::CustomCoupledInductors, &CreateElement<CElemPending>, 0, nullptr, nullptr, nullptr, kPendingModelsLCustom, nullptr, 0, "Custom coupled inductors"},
    {"D_D", TypeId::Diode, &CreateElement<CElemD>, 2, nullptr, nullptr, nullptr, kModelsDD, &kDiodeParams, 0, "Diode"},
    {"D_Z", TypeId::Zener, &CreateElement<CElemD>, 2, nullptr, nullptr, nullptr, kModelsDZ, &kDiodeParams, 0, "Zener"},
    {"D_ZS", TypeId::SymmetricZener, &CreateElement<CElemD>, 2, nullptr, nullptr, nullptr, kModelsDZs, &kDiodeParams, 0, "Bidirectional zener"},
    {"D_BR", TypeId::Bridge, &CreateElement<CElemD>, 4, nullptr, nullptr, nullptr, kModelsDBridge, &kDiodeParams, 0, "Bridge rectifier"},
    {"D_RING", TypeId::DiodeRing, &CreateElement<CElemD>, 4, nullptr, nullptr, nullptr, kModelsDBridge, &kDiodeParams, 0, "Diode ring"},
    {"D_LCT", TypeId::LogicThyristor, &CreateElement<CElemD>, 3, nullptr, nullptr, nullptr, kModelsDLct, &kDiodeParams, 0, "Logic controlled thyristor"},
    {"D_VCT", TypeId::VoltageThyristor, &CreateElement<CElemD>, 4, nullptr, nullptr, nullptr, kModelsDVct, &kDiodeParams, 0, "Voltage controlled thyristor"},
    {"D_CCT", TypeId::CurrentThyristor, &CreateElement<CElemD>, 4, nullptr, nullptr, nullptr, kModelsDCct, &kDiodeParams, 0, "Current controlled thyristor"},
    {"V_V", TypeId::VoltageSource, &CreateElement<CElemV>, 2, nullptr, nullptr, nullptr, kModelsVV, &kVoltageSourceParams, 0, "Voltage source"},
    {"V_CV", TypeId::LogicVoltageSource, &CreateElement<CElemV>, 3, nullptr, nullptr, nullptr, kModelsVCV, &kVoltageSourceParams, 0, "Logic controlled voltage source"},
    {"V_VCVS", TypeId::Vcvs, &CreateElement<CElemVCVS>, 4, nullptr, nullptr, nullptr, kModelsVCVS, &kControlledSourceParams, 0, "Voltage controlled voltage source"},
    {"V_CCVS", TypeId::Ccvs, &CreateElement<CElemVCVS>, 4, nullptr, nullptr, nullptr, kModelsCCVS, &kControlledSourceParams, 0, "Current controlled voltage source"},
    {"V_VM", TypeId::Voltmeter, &CreateElement<CElemA>, 2, nullptr, nullptr, nullptr, kModelsVoltmeter, nullptr, 0, "Voltmeter"},
    {"I_I", TypeId::CurrentSource, &CreateElement<CElemV>, 2, nullptr, nullptr, nullptr, kModelsII, &kCurrentSourceParams, 0, "Current source"},
    {"I_CI", TypeId::LogicCurrentSource, &CreateElement<CElemV>, 3, nullptr, nullptr, nullptr, kModelsICI, &kCurrentSourceParams, 0, "Logic controlled current source"},
    {"I_VCCS", TypeId::Vccs, &CreateElement<CElemVCVS>, 4, nullptr, nullptr, nullptr, kModelsVCCS, &kControlledSourceParams, 0, "Voltage controlled current source"},
    {"I_CCCS", TypeId::Cccs, &CreateElement<CElemVCVS>, 4, nullptr, nullptr, nullptr, kModelsCCCS, &kControlledSourceParams, 0, "Current controlled current source"},
    {"S_S", TypeId::Switch, &CreateElement<CElemS>, 2, nullptr, nullptr, nullptr, kModelsSS, &kTimeSwitchParams, 0, "Switch"},
    {"S_LCS", TypeId::LogicControlledSwitch, &CreateElement<CElemCS>, 3, nullptr, nullptr, nullptr, kModelsSLcs, &kControlledSwitchParams, 0, "Logic controlled switch"},
    {"S_VCS", TypeId::VoltageControlledSwitch, &CreateElement<CElemCS>, 4, nullptr, nullptr, nullptr, kModelsSVcs, &kControlledSwitchParams, 0, "Voltage controlled switch"},
    {"S_CCS", TypeId::CurrentControlledSwitch, &CreateElement<CElemCS>, 4, nullptr, nullptr, nullptr, kModelsSCcs, &kControlledSwitchParams, 0, "Current controlled switch"},
    {"S_S3", TypeId::SwitchSpdt, &CreateElement<CElemS>, 3, nullptr, nullptr, nullptr, kModelsSS3, &kTimeSwitchParams, 0, "SPDT switch"},
    {"S_LCS3", TypeId::LogicControlledSpdt, &CreateElement<CElemCS>, 4, nullptr, nullptr, nullptr, kModelsSLcs3, &kControlledSwitchParams, 0, "SPDT logic controlled switch"},
    {"S_VCS3", TypeId::VoltageControlledSpdt, &CreateElement<CElemCS>, 5, nullptr, nullptr, nullptr, kModelsSVcs3, &kControlledSwitchParams, 0, "SPDT voltage controlled switch"},
    {"S_CCS3", TypeId::CurrentControlledSpdt, &CreateElement<CElemCS>, 5, nullptr, nullptr, nullptr, kModelsSCcs3, &kControlledSwitchParams, 0, "SPDT current controlled switch"},
    {"A_A", TypeId::Amperemeter, &CreateElement<CElemA>, 2, nullptr, nullptr, nullptr, kModelsAmperemeter, nullptr, 0, "Amperemeter"},
    {"O_O", TypeId::Amplifier, &CreateElement<CElemO>, 2, nullptr, nullptr, nullptr, kModelsOO, &kAmplifierParams, 0, "Amplifier"},
    {"O_OD", TypeId::DifferentialAmplifier, &CreateElement<CElemO>, 3, nullptr, nullptr, nullptr, kModelsOOD, &kAmplifierParams, 0, "Differential amplifier"},
    {"O_REF", TypeId::ReferencedAmplifier, &CreateElement<CElemO>, 4, nullptr, nullptr, nullptr, kModelsOOD, &kAmplifierParams, 0, "Differential amplifier with reference"},
    {"O_FD", TypeId::FullyDifferentialAmplifier, &CreateElement<CElemO>, 5, nullptr, nullptr, nullptr, kModelsOOD, &kAmplifierParams, 0, "Fully differential amplifier"},
    {"O_VC", TypeId::TransconductanceAmplifier, &CreateElement<CElemO>, 3, nullptr, nullptr, nullptr, kModelsOVC, &kAmplifierParams, 0, "Differential amplifier with current output"},
    {"O_CV", TypeId::CurrentAmplifier, &CreateElement<CElemO>, 3, nullptr, nullptr, nullptr, kModelsOCV, &kAmplifierParams, 0, "Current amplifier"},
    {"O_CC", TypeId::CurrentAmplifierCurrentOut, &CreateElement<CElemO>, 3, nullptr, nullptr, nullptr, kModelsOCC, &kAmplifierParams, 0, "Current amplifier with current output"},
    {"O_OS", TypeId::SummingAmplifier, &CreateElement<CElemO>, 3, nullptr, nullptr, nullptr, kModelsOOS, &kAmplifierParams, 0, "Summing amplifier"},
    {"O_VCG", TypeId::VoltageControlledAmplifier, &CreateElement<CElemO>, 4, nullptr, nullptr, nullptr, kModelsOVCG, &kAmplifierParams, 0, "Voltage controlled amplifier"},
    {"O_CCG", TypeId::CurrentControlledAmplifier, &CreateElement<CElemO>, 4, nullptr, nullptr, nullptr, kModelsOCCG, &kAmplifierParams, 0, "Current controlled amplifier"},
    {"T_TNPN", TypeId::Npn, &CreateElement<CElemT>, 3, nullptr, nullptr, nullptr, kModelsNpn, &kBipolarParams, 0, "NPN transistor"},
    {"T_TPNP", TypeId::Pnp, &CreateElement<CElemT>, 3, nullptr, nullptr, nullptr, kModelsPnp, &kBipolarParams, 0, "PNP transistor"},
    {"T_NFET", TypeId::NFet, &CreateElement<CElemFET>, 3, nullptr, nullptr, nullptr, kModelsNFet, &kFetParams, 0, "N-FET"},
    {"T_PFET", TypeId::PFet, &CreateElement<CElemFET>, 3, nullptr, nullptr, nullptr, kModelsPFet, &kFetParams, 0, "P-FET"},
    {"X_Delay", TypeId::Delay, &CreateElement<CElemDelay>, 2, nullptr, nullptr, nullptr, kModelsDelay, &kDelayParams, 0, "Delay"},
    {"F_1", TypeId::Function, &CreateElement<CElemF>, 2, nullptr, nullptr, nullptr, kModelsF1, &kFunctionBlockParams, 0, "Function"},
    {"F_1C", TypeId::FunctionClocked, &CreateElement<CElemF>, 3, nullptr, nullptr, nullptr, kModelsF1, &kFunctionBlockParams, 0, "Function with clock"},
    {"F_2", TypeId::Function2, &CreateElement<CElemF>, 3, nullptr, nullptr, nullptr, kModelsF2, &kFunctionBlockParams, 0, "Function-2"},
    {"F_2C", TypeId::Function2Clocked, &CreateElement<CElemF>, 4, nullptr, nullptr, nullptr, kModelsF2, &kFunctionBlockParams, 0, "Function-2 with clock"},
    {"F_CUSTOM", TypeId::CustomFunction, &CreateElement<CElemF>, 0, nullptr, nullptr, nullptr, kModelsFCustom, &kFunctionBlockParams, 0, "Custom function"},
    {"F_INT", TypeId::Integral, &CreateElement<CElemIntegral>, 2, nullptr, nullptr, nullptr, kModelsIntegral, &kIntegralParams, 0, "Integral"},
    {"F_INTR", TypeId::IntegralWithReset, &CreateElement<CElemIntegral>, 3, nullptr, nullptr, nullptr, kModelsIntegral, &kIntegralParams, 0, "Integral with reset"},
    {"F_S", TypeId::SFunction, &CreateElement<CElemAC>, 2, nullptr, nullptr, nullptr, kModelsFS, &kTransferFunctionParams, 0, "s-function"},
    {"F_Z", TypeId::ZFunction, &CreateElement<CElemAC>, 2, nullptr, nullptr, nullptr, kModelsFZ, &kTransferFunctionParams, 0, "z-function"},
    {"W_W", TypeId::Winding, &CreateElement<CElemW>, 3, nullptr, nullptr, nullptr, kModelsWW, &kWindingParams, 0, "Winding"},
    {"W_T2", TypeId::Transformer, &CreateElement<CElemW>, 4, nullptr, nullptr, nullptr, kModelsWT, &kWindingParams, 0, "Transformer"},
    {"W_T3", TypeId::DifferentialTransformer, &CreateElement<CElemW>, 5, nullptr, nullptr, nullptr, kModelsWT, &kWindingParams, 0, "Differential transformer"},
    {"W_CUSTOM", TypeId::CustomTransformer, &CreateElement<CElemW>, 0, nullptr, nullptr, nullptr, kModelsWCustom, &kWindingParams, 0, "Custom transformer"},
    {"W_WM", TypeId::Wattmeter, &CreateElement<CElemA>, 3, nullptr, nullptr, nullptr, kModelsWattmeter, nullptr, 0, "Wattmeter"},
    {"Y_1", TypeId::Gate, &CreateElement<CElemY>, 2, nullptr, nullptr, nullptr, kModelsGate, &kLogicParams, 0, "Gate"},
    {"Y_2_AND", TypeId::And2, &CreateElement<CElemY>, 3, nullptr, nullptr, nullptr, kModelsGate, &kLogicParams, 0, "AND gate"},
    {"Y_2_OR", TypeId::Or2, &CreateElement<CElemY>, 3, nullptr, nullptr, nullptr, kModelsGate, &kLogicParams, 0, "OR gate"},
    {"Y_2_XOR", TypeId::Xor2, &CreateElement<CElemY>, 3, nullptr, nullptr, nullptr, kModelsGate, &kLogicParams, 0, "XOR gate"},
    {"Y_3_AND", TypeId::And3, &CreateElement<CElemY>, 4, nullptr, nullptr, nullptr, kModelsGate, &kLogicParams, 0, "AND gate"},
    {"Y_3_OR", TypeId::Or3, &CreateElement<CElemY>, 4, nullptr, nullptr, nullptr, kModelsGate, &kLogicParams, 0, "OR gate"},
    {"Y_3_XOR", TypeId::Xor3, &CreateElement<CElemY>, 4, nullptr, nullptr, nullptr, kModelsGate, &kLogicParams, 0, "XOR gate"},
    {"Y_CUSTOM", TypeId::CustomGate, &CreateElement<CElemY>, 0, nullptr, nullptr, nullptr, kModelsGate, &kLogicParams, 0, "Custom gate"},
    {"Y_FUNCTION", TypeId::LogicalFunction, &CreateElement<CElemY>, 0, nullptr, nullptr, nullptr, kModelsLogicFunction, &kLogicParams, 0, "Logical function"},
    {"Y_FF", TypeId::DFlipFlop, &CreateElement<CElemY>, 4, nullptr, nullptr, nullptr, kModelsFlipFlop, &kLogicParams, 0, "D flip-flop"},
    {"Y_RS", TypeId::SrTrigger, &CreateElement<CElemY>, 6, nullptr, nullptr, nullptr, kModelsFlipFlopDominance, &kLogicParams, 0, "SR trigger"},
    {"Y_JK", TypeId::JkTrigger, &CreateElement<CElemY>, 7, nullptr, nullptr, nullptr, kModelsFlipFlopDominance, &kLogicParams, 0, "JK trigger"},
    {"Y_ST", TypeId::SchmittTrigger, &CreateElement<CElemY>, 2, nullptr, nullptr, nullptr, kModelsSchmitt, &kLogicParams, 0, "Schmitt trigger"},
    {"Y_LG", TypeId::LogicGenerator, &CreateElement<CElemLG>, 1, nullptr, nullptr, nullptr, kModelsLogicGenerator, &kLogicGeneratorParams, 0, "Logic generator"},
    {"Y_CLG", TypeId::LogicControlledGenerator, &CreateElement<CElemLG>, 2, nullptr, nullptr, nullptr, kModelsLogicControlledGenerator, &kLogicGeneratorParams, 0, "Logic controlled logic generator"},
    {"Y_VCLG", TypeId::VoltageControlledGenerator, &CreateElement<CElemLG>, 3, nullptr, nullptr, nullptr, kModelsVoltageControlledGenerator, &kLogicGeneratorParams, 0, "Voltage controlled logic generator"},
    {"Y_CCLG", TypeId::CurrentControlledGenerator, &CreateElement<CElemLG>, 3, nullptr, nullptr, nullptr, kModelsCurrentControlledGenerator, &kLogicGeneratorParams, 0, "Current controlled logic generator"},
    {"Y_BUS", TypeId::Bus, &CreateElement<CElemF>, 0, nullptr, nullptr, nullptr, kModelsBus, &kFunctionBlockParams, 0, "Bus"},
    {"X_Line", TypeId::TransmissionLine, &CreateElement<CElemLine>, 4, nullptr, nullptr, nullptr, kModelsLine, &kLineParams, 0, "Transmission line"},
    {"X_SH", TypeId::SampleHold, &CreateElement<CElemSH>, 3, nullptr, nullptr, nullptr, kModelsSampleHold, &kSampleHoldParams, 0, "Sample/hold"},
    {"X_DC", TypeId::DirectionalCoupler, &CreateElement<CElemDC>, 4, nullptr, nullptr, nullptr, kModelsCoupler, &kCouplerParams, 0, "Directional coupler"},
    {"X_B2", TypeId::Block2, &CreateElement<CElemX>, 2, nullptr, nullptr, nullptr, kModelsX, nullptr, 0, "Block-2"},
    {"X_B3", TypeId::Block3, &CreateElement<CElemX>, 3, nullptr, nullptr, nullptr, kModelsX, nullptr, 0, "Block-3"},
    {"X_B4", TypeId::Block4, &CreateElement<CElemX>, 4, nullptr, nullptr, nullptr, kModelsX, nullptr, 0, "Block-4"},
    {"X_B6", TypeId::Block6, &CreateElement<CElemX>, 6, nullptr, nullptr, nullptr, kModelsX, nullptr, 0, "Block-6"},
    {"X_B8", TypeId::Block8, &CreateElement<CElemX>, 8, nullptr, nullptr, nullptr, kModelsX, nullptr, 0, "Block-8"},
    {"X_CUSTOM", TypeId::CustomBlock, &CreateElement<CElemX>, 0, nullptr, nullptr, nullptr, kModelsX, nullptr, 0, "Custom block"},
    {"X_QZ3", TypeId::CircuitBlock, &CreateElement<CElemX>, 0, nullptr, nullptr, nullptr, kModelsX, nullptr, 0, "QZ3 circuit"},
    {"X_C", TypeId::CodeBlock, &CreateElement<CElemCode>, 0, nullptr, nullptr, nullptr, kModelsCodeBlock, &kCodeBlockParams, 0, "C-code"},
    {"X_DLL", TypeId::DllBlock, &CreateElement<CElemDll>, 0, nullptr, nullptr, nullptr, kModelsDll, &kDllBlockParams, 0, "DLL"},
    {"Z_Z", TypeId::Impedance, &CreateElement<CElemZ>, 2, nullptr, nullptr, nullptr, kModelsZ, &kImpedanceParams, 0, "Impedance"},
};

const CCmpType kLabelType = {"label", TypeId::Label, &CreateElement<CElemLabel>, 1, nullptr, nullptr, nullptr, kModelsLabel, &kLabelParams, 0, "Label"};
const CCmpType kVariableType = {"var", TypeId::Variable, &CreateElement<CVariable>, 0, nullptr, nullptr, nullptr, kModelsVariable, &kVariableParams, 0,
                                 "Variable"};

}  // namespace

CElemSet& CElemSet::Instance() {
    static CElemSet set;
    return set;
}

CElemSet::CElemSet() { Fill(); }

void CElemSet::Fill() {
    for (const CCmpType& type : kTypes) m_Types.Add(&type);
}

const CCmpType& CElemSet::LabelType() { return kLabelType; }
const CCmpType& CElemSet::VariableType() { return kVariableType; }

const CCmpType* CElemSet::FindType(const std::string& typeName) const {
    if (typeName == kLabelType.typeName) return &kLabelType;
    if (typeName == kVariableType.typeName) return &kVariableType;
    for (const CCmpType* type : m_Types)
        if (typeName == type->typeName) return type;
    return nullptr;
}

CCmp* CElemSet::Create(const std::string& typeName, CCmps* owner) const {
    const CCmpType* type = FindType(typeName);
    if (!type) return nullptr;
    CCmp* cmp = nullptr;
    try {
        cmp = type->create(type);
    } catch (const std::bad_alloc&) {
        return nullptr;  // reported by the loader as an unknown type
    }
    if (cmp) cmp->owner = owner;
    return cmp;
}

}  // namespace qz3
