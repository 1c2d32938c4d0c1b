#include "components/elem_set.h"

#include <new>

#include "components/cmp.h"
#include "components/elem_cs.h"
#include "components/elem_d.h"
#include "components/elem_c.h"
#include "components/elem_l.h"
#include "components/elem_pending.h"
#include "components/elem_r.h"
#include "components/elem_s.h"
#include "components/elem_v.h"
#include "components/variable.h"

namespace qz3 {

namespace {

// Every type in the order of the type table: type key, number, factory,
// pins, drawing data (none in a library without an editor), models, editor
// mode, title. Families whose classes come later are served by
// CElemPending, which keeps their file content intact.
const CCmpType kTypes[] = {
    {"R_R", TypeId::Resistor, &CElemR::Create, 2, nullptr, nullptr, nullptr, kModelsRR, 0, "Resistor"},
    {"R_Pot", TypeId::Potentiometer, &CElemR::Create, 3, nullptr, nullptr, nullptr, kModelsRPot, 0, "Potentiometer"},
    {"R_VCR", TypeId::VoltageControlledResistor, &CElemR::Create, 4, nullptr, nullptr, nullptr, kModelsRVcr, 0, "Voltage controlled resistor"},
    {"R_CCR", TypeId::CurrentControlledResistor, &CElemR::Create, 4, nullptr, nullptr, nullptr, kModelsRCcr, 0, "Current controlled resistor"},
    {"C_C", TypeId::Capacitor, &CElemC::Create, 2, nullptr, nullptr, nullptr, kModelsCC, 0, "Capacitor"},
    {"C_VCC", TypeId::VoltageControlledCapacitor, &CElemC::Create, 4, nullptr, nullptr, nullptr, kModelsCVcc, 0, "Voltage controlled capacitor"},
    {"C_CCC", TypeId::CurrentControlledCapacitor, &CElemC::Create, 4, nullptr, nullptr, nullptr, kModelsCCcc, 0, "Current controlled capacitor"},
    {"L_L", TypeId::Inductor, &CElemL::Create, 2, nullptr, nullptr, nullptr, kModelsLL, 0, "Inductor"},
    {"L_VCL", TypeId::VoltageControlledInductor, &CElemL::Create, 4, nullptr, nullptr, nullptr, kModelsLVcl, 0, "Voltage controlled inductor"},
    {"L_CCL", TypeId::CurrentControlledInductor, &CElemL::Create, 4, nullptr, nullptr, nullptr, kModelsLCcl, 0, "Current controlled inductor"},
    {"L_CL", TypeId::CoupledInductors, &CElemL::Create, 4, nullptr, nullptr, nullptr, kModelsLCl, 0, "Coupled inductors"},
    {"L_CUSTOM", TypeId::CustomCoupledInductors, &CElemPending::Create, 0, nullptr, nullptr, nullptr, kPendingModelsLCustom, 0, "Custom coupled inductors"},
    {"D_D", TypeId::Diode, &CElemD::Create, 2, nullptr, nullptr, nullptr, kModelsDD, 0, "Diode"},
    {"D_Z", TypeId::Zener, &CElemD::Create, 2, nullptr, nullptr, nullptr, kModelsDZ, 0, "Zener"},
    {"D_ZS", TypeId::SymmetricZener, &CElemD::Create, 2, nullptr, nullptr, nullptr, kModelsDZs, 0, "Bidirectional zener"},
    {"D_BR", TypeId::Bridge, &CElemD::Create, 4, nullptr, nullptr, nullptr, kModelsDBridge, 0, "Bridge rectifier"},
    {"D_RING", TypeId::DiodeRing, &CElemD::Create, 4, nullptr, nullptr, nullptr, kModelsDBridge, 0, "Diode ring"},
    {"D_LCT", TypeId::LogicThyristor, &CElemD::Create, 3, nullptr, nullptr, nullptr, kModelsDLct, 0, "Logic controlled thyristor"},
    {"D_VCT", TypeId::VoltageThyristor, &CElemD::Create, 4, nullptr, nullptr, nullptr, kModelsDVct, 0, "Voltage controlled thyristor"},
    {"D_CCT", TypeId::CurrentThyristor, &CElemD::Create, 4, nullptr, nullptr, nullptr, kModelsDCct, 0, "Current controlled thyristor"},
    {"V_V", TypeId::VoltageSource, &CElemV::Create, 2, nullptr, nullptr, nullptr, kModelsVV, 0, "Voltage source"},
    {"V_CV", TypeId::LogicVoltageSource, &CElemV::Create, 3, nullptr, nullptr, nullptr, kModelsVCV, 0, "Logic controlled voltage source"},
    {"V_VCVS", TypeId::Vcvs, &CElemPending::Create, 4, nullptr, nullptr, nullptr, nullptr, 0, "Voltage controlled voltage source"},
    {"V_CCVS", TypeId::Ccvs, &CElemPending::Create, 4, nullptr, nullptr, nullptr, nullptr, 0, "Current controlled voltage source"},
    {"V_VM", TypeId::Voltmeter, &CElemPending::Create, 2, nullptr, nullptr, nullptr, nullptr, 0, "Voltmeter"},
    {"I_I", TypeId::CurrentSource, &CElemV::Create, 2, nullptr, nullptr, nullptr, kModelsII, 0, "Current source"},
    {"I_CI", TypeId::LogicCurrentSource, &CElemV::Create, 3, nullptr, nullptr, nullptr, kModelsICI, 0, "Logic controlled current source"},
    {"I_VCCS", TypeId::Vccs, &CElemPending::Create, 4, nullptr, nullptr, nullptr, nullptr, 0, "Voltage controlled current source"},
    {"I_CCCS", TypeId::Cccs, &CElemPending::Create, 4, nullptr, nullptr, nullptr, nullptr, 0, "Current controlled current source"},
    {"S_S", TypeId::Switch, &CElemS::Create, 2, nullptr, nullptr, nullptr, kModelsSS, 0, "Switch"},
    {"S_LCS", TypeId::LogicControlledSwitch, &CElemCS::Create, 3, nullptr, nullptr, nullptr, kModelsSLcs, 0, "Logic controlled switch"},
    {"S_VCS", TypeId::VoltageControlledSwitch, &CElemCS::Create, 4, nullptr, nullptr, nullptr, kModelsSVcs, 0, "Voltage controlled switch"},
    {"S_CCS", TypeId::CurrentControlledSwitch, &CElemCS::Create, 4, nullptr, nullptr, nullptr, kModelsSCcs, 0, "Current controlled switch"},
    {"S_S3", TypeId::SwitchSpdt, &CElemS::Create, 3, nullptr, nullptr, nullptr, kModelsSS3, 0, "SPDT switch"},
    {"S_LCS3", TypeId::LogicControlledSpdt, &CElemCS::Create, 4, nullptr, nullptr, nullptr, kModelsSLcs3, 0, "SPDT logic controlled switch"},
    {"S_VCS3", TypeId::VoltageControlledSpdt, &CElemCS::Create, 5, nullptr, nullptr, nullptr, kModelsSVcs3, 0, "SPDT voltage controlled switch"},
    {"S_CCS3", TypeId::CurrentControlledSpdt, &CElemCS::Create, 5, nullptr, nullptr, nullptr, kModelsSCcs3, 0, "SPDT current controlled switch"},
    {"A_A", TypeId::Amperemeter, &CElemPending::Create, 2, nullptr, nullptr, nullptr, nullptr, 0, "Amperemeter"},
    {"O_O", TypeId::Amplifier, &CElemPending::Create, 2, nullptr, nullptr, nullptr, nullptr, 0, "Amplifier"},
    {"O_OD", TypeId::DifferentialAmplifier, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "Differential amplifier"},
    {"O_REF", TypeId::ReferencedAmplifier, &CElemPending::Create, 4, nullptr, nullptr, nullptr, nullptr, 0, "Differential amplifier with reference"},
    {"O_FD", TypeId::FullyDifferentialAmplifier, &CElemPending::Create, 5, nullptr, nullptr, nullptr, nullptr, 0, "Fully differential amplifier"},
    {"O_VC", TypeId::TransconductanceAmplifier, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "Differential amplifier with current output"},
    {"O_CV", TypeId::CurrentAmplifier, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "Current amplifier"},
    {"O_CC", TypeId::CurrentAmplifierCurrentOut, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "Current amplifier with current output"},
    {"O_OS", TypeId::SummingAmplifier, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "Summing amplifier"},
    {"O_VCG", TypeId::VoltageControlledAmplifier, &CElemPending::Create, 4, nullptr, nullptr, nullptr, nullptr, 0, "Voltage controlled amplifier"},
    {"O_CCG", TypeId::CurrentControlledAmplifier, &CElemPending::Create, 4, nullptr, nullptr, nullptr, nullptr, 0, "Current controlled amplifier"},
    {"T_TNPN", TypeId::Npn, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "NPN transistor"},
    {"T_TPNP", TypeId::Pnp, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "PNP transistor"},
    {"T_NFET", TypeId::NFet, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "N-FET"},
    {"T_PFET", TypeId::PFet, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "P-FET"},
    {"X_Delay", TypeId::Delay, &CElemPending::Create, 2, nullptr, nullptr, nullptr, nullptr, 0, "Delay"},
    {"F_1", TypeId::Function, &CElemPending::Create, 2, nullptr, nullptr, nullptr, nullptr, 0, "Function"},
    {"F_1C", TypeId::FunctionClocked, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "Function with clock"},
    {"F_2", TypeId::Function2, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "Function-2"},
    {"F_2C", TypeId::Function2Clocked, &CElemPending::Create, 4, nullptr, nullptr, nullptr, nullptr, 0, "Function-2 with clock"},
    {"F_CUSTOM", TypeId::CustomFunction, &CElemPending::Create, 0, nullptr, nullptr, nullptr, nullptr, 0, "Custom function"},
    {"F_INT", TypeId::Integral, &CElemPending::Create, 2, nullptr, nullptr, nullptr, nullptr, 0, "Integral"},
    {"F_INTR", TypeId::IntegralWithReset, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "Integral with reset"},
    {"F_S", TypeId::SFunction, &CElemPending::Create, 2, nullptr, nullptr, nullptr, nullptr, 0, "s-function"},
    {"F_Z", TypeId::ZFunction, &CElemPending::Create, 2, nullptr, nullptr, nullptr, nullptr, 0, "z-function"},
    {"W_W", TypeId::Winding, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "Winding"},
    {"W_T2", TypeId::Transformer, &CElemPending::Create, 4, nullptr, nullptr, nullptr, nullptr, 0, "Transformer"},
    {"W_T3", TypeId::DifferentialTransformer, &CElemPending::Create, 5, nullptr, nullptr, nullptr, nullptr, 0, "Differential transformer"},
    {"W_CUSTOM", TypeId::CustomTransformer, &CElemPending::Create, 0, nullptr, nullptr, nullptr, nullptr, 0, "Custom transformer"},
    {"W_WM", TypeId::Wattmeter, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "Wattmeter"},
    {"Y_1", TypeId::Gate, &CElemPending::Create, 2, nullptr, nullptr, nullptr, nullptr, 0, "Gate"},
    {"Y_2_AND", TypeId::And2, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "AND gate"},
    {"Y_2_OR", TypeId::Or2, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "OR gate"},
    {"Y_2_XOR", TypeId::Xor2, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "XOR gate"},
    {"Y_3_AND", TypeId::And3, &CElemPending::Create, 4, nullptr, nullptr, nullptr, nullptr, 0, "AND gate"},
    {"Y_3_OR", TypeId::Or3, &CElemPending::Create, 4, nullptr, nullptr, nullptr, nullptr, 0, "OR gate"},
    {"Y_3_XOR", TypeId::Xor3, &CElemPending::Create, 4, nullptr, nullptr, nullptr, nullptr, 0, "XOR gate"},
    {"Y_CUSTOM", TypeId::CustomGate, &CElemPending::Create, 0, nullptr, nullptr, nullptr, nullptr, 0, "Custom gate"},
    {"Y_FUNCTION", TypeId::LogicalFunction, &CElemPending::Create, 0, nullptr, nullptr, nullptr, nullptr, 0, "Logical function"},
    {"Y_FF", TypeId::DFlipFlop, &CElemPending::Create, 4, nullptr, nullptr, nullptr, nullptr, 0, "D flip-flop"},
    {"Y_RS", TypeId::SrTrigger, &CElemPending::Create, 6, nullptr, nullptr, nullptr, nullptr, 0, "SR trigger"},
    {"Y_JK", TypeId::JkTrigger, &CElemPending::Create, 7, nullptr, nullptr, nullptr, nullptr, 0, "JK trigger"},
    {"Y_ST", TypeId::SchmittTrigger, &CElemPending::Create, 2, nullptr, nullptr, nullptr, nullptr, 0, "Schmitt trigger"},
    {"Y_LG", TypeId::LogicGenerator, &CElemPending::Create, 1, nullptr, nullptr, nullptr, nullptr, 0, "Logic generator"},
    {"Y_CLG", TypeId::LogicControlledGenerator, &CElemPending::Create, 2, nullptr, nullptr, nullptr, nullptr, 0, "Logic controlled logic generator"},
    {"Y_VCLG", TypeId::VoltageControlledGenerator, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "Voltage controlled logic generator"},
    {"Y_CCLG", TypeId::CurrentControlledGenerator, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "Current controlled logic generator"},
    {"Y_BUS", TypeId::Bus, &CElemPending::Create, 0, nullptr, nullptr, nullptr, nullptr, 0, "Bus"},
    {"X_Line", TypeId::TransmissionLine, &CElemPending::Create, 4, nullptr, nullptr, nullptr, nullptr, 0, "Transmission line"},
    {"X_SH", TypeId::SampleHold, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "Sample/hold"},
    {"X_DC", TypeId::DirectionalCoupler, &CElemPending::Create, 4, nullptr, nullptr, nullptr, nullptr, 0, "Directional coupler"},
    {"X_B2", TypeId::Block2, &CElemPending::Create, 2, nullptr, nullptr, nullptr, nullptr, 0, "Block-2"},
    {"X_B3", TypeId::Block3, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "Block-3"},
    {"X_B4", TypeId::Block4, &CElemPending::Create, 4, nullptr, nullptr, nullptr, nullptr, 0, "Block-4"},
    {"X_B6", TypeId::Block6, &CElemPending::Create, 6, nullptr, nullptr, nullptr, nullptr, 0, "Block-6"},
    {"X_B8", TypeId::Block8, &CElemPending::Create, 8, nullptr, nullptr, nullptr, nullptr, 0, "Block-8"},
    {"X_CUSTOM", TypeId::CustomBlock, &CElemPending::Create, 0, nullptr, nullptr, nullptr, nullptr, 0, "Custom block"},
    {"X_QZ3", TypeId::CircuitBlock, &CElemPending::Create, 0, nullptr, nullptr, nullptr, nullptr, 0, "QZ3 circuit"},
    {"X_C", TypeId::CodeBlock, &CElemPending::Create, 0, nullptr, nullptr, nullptr, nullptr, 0, "C-code"},
    {"X_DLL", TypeId::DllBlock, &CElemPending::Create, 0, nullptr, nullptr, nullptr, nullptr, 0, "DLL"},
    {"Z_Z", TypeId::Impedance, &CElemPending::Create, 2, nullptr, nullptr, nullptr, nullptr, 0, "Impedance"},
};

const CCmpType kLabelType = {"label", TypeId::Label, &CElemPending::Create, 1, nullptr, nullptr, nullptr, nullptr, 0, "Label"};
const CCmpType kVariableType = {"var", TypeId::Variable, &CVariable::Create, 0, nullptr, nullptr, nullptr, kModelsVariable, 0,
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
