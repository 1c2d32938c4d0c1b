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
    {"R_R", 46, &CElemR::Create, 2, nullptr, nullptr, nullptr, kModelsRR, 0, "Resistor"},
    {"R_Pot", 47, &CElemR::Create, 3, nullptr, nullptr, nullptr, kModelsRPot, 0, "Potentiometer"},
    {"R_VCR", 48, &CElemR::Create, 4, nullptr, nullptr, nullptr, kModelsRVcr, 0, "Voltage controlled resistor"},
    {"R_CCR", 49, &CElemR::Create, 4, nullptr, nullptr, nullptr, kModelsRCcr, 0, "Current controlled resistor"},
    {"C_C", 7, &CElemC::Create, 2, nullptr, nullptr, nullptr, kModelsCC, 0, "Capacitor"},
    {"C_VCC", 8, &CElemC::Create, 4, nullptr, nullptr, nullptr, kModelsCVcc, 0, "Voltage controlled capacitor"},
    {"C_CCC", 9, &CElemC::Create, 4, nullptr, nullptr, nullptr, kModelsCCcc, 0, "Current controlled capacitor"},
    {"L_L", 31, &CElemL::Create, 2, nullptr, nullptr, nullptr, kModelsLL, 0, "Inductor"},
    {"L_VCL", 34, &CElemL::Create, 4, nullptr, nullptr, nullptr, kModelsLVcl, 0, "Voltage controlled inductor"},
    {"L_CCL", 35, &CElemL::Create, 4, nullptr, nullptr, nullptr, kModelsLCcl, 0, "Current controlled inductor"},
    {"L_CL", 32, &CElemL::Create, 4, nullptr, nullptr, nullptr, kModelsLCl, 0, "Coupled inductors"},
    {"L_CUSTOM", 33, &CElemPending::Create, 0, nullptr, nullptr, nullptr, kPendingModelsLCustom, 0, "Custom coupled inductors"},
    {"D_D", 10, &CElemD::Create, 2, nullptr, nullptr, nullptr, kModelsDD, 0, "Diode"},
    {"D_Z", 11, &CElemD::Create, 2, nullptr, nullptr, nullptr, kModelsDZ, 0, "Zener"},
    {"D_ZS", 12, &CElemD::Create, 2, nullptr, nullptr, nullptr, kModelsDZs, 0, "Bidirectional zener"},
    {"D_BR", 16, &CElemD::Create, 4, nullptr, nullptr, nullptr, kModelsDBridge, 0, "Bridge rectifier"},
    {"D_RING", 17, &CElemD::Create, 4, nullptr, nullptr, nullptr, kModelsDBridge, 0, "Diode ring"},
    {"D_LCT", 15, &CElemD::Create, 3, nullptr, nullptr, nullptr, kModelsDLct, 0, "Logic controlled thyristor"},
    {"D_VCT", 13, &CElemD::Create, 4, nullptr, nullptr, nullptr, kModelsDVct, 0, "Voltage controlled thyristor"},
    {"D_CCT", 14, &CElemD::Create, 4, nullptr, nullptr, nullptr, kModelsDCct, 0, "Current controlled thyristor"},
    {"V_V", 62, &CElemV::Create, 2, nullptr, nullptr, nullptr, kModelsVV, 0, "Voltage source"},
    {"V_CV", 63, &CElemV::Create, 3, nullptr, nullptr, nullptr, kModelsVCV, 0, "Logic controlled voltage source"},
    {"V_VCVS", 64, &CElemPending::Create, 4, nullptr, nullptr, nullptr, nullptr, 0, "Voltage controlled voltage source"},
    {"V_CCVS", 65, &CElemPending::Create, 4, nullptr, nullptr, nullptr, nullptr, 0, "Current controlled voltage source"},
    {"V_VM", 66, &CElemPending::Create, 2, nullptr, nullptr, nullptr, nullptr, 0, "Voltmeter"},
    {"I_I", 27, &CElemV::Create, 2, nullptr, nullptr, nullptr, kModelsII, 0, "Current source"},
    {"I_CI", 28, &CElemV::Create, 3, nullptr, nullptr, nullptr, kModelsICI, 0, "Logic controlled current source"},
    {"I_VCCS", 29, &CElemPending::Create, 4, nullptr, nullptr, nullptr, nullptr, 0, "Voltage controlled current source"},
    {"I_CCCS", 30, &CElemPending::Create, 4, nullptr, nullptr, nullptr, nullptr, 0, "Current controlled current source"},
    {"S_S", 50, &CElemS::Create, 2, nullptr, nullptr, nullptr, kModelsSS, 0, "Switch"},
    {"S_LCS", 56, &CElemCS::Create, 3, nullptr, nullptr, nullptr, kModelsSLcs, 0, "Logic controlled switch"},
    {"S_VCS", 52, &CElemCS::Create, 4, nullptr, nullptr, nullptr, kModelsSVcs, 0, "Voltage controlled switch"},
    {"S_CCS", 53, &CElemCS::Create, 4, nullptr, nullptr, nullptr, kModelsSCcs, 0, "Current controlled switch"},
    {"S_S3", 51, &CElemS::Create, 3, nullptr, nullptr, nullptr, kModelsSS3, 0, "SPDT switch"},
    {"S_LCS3", 57, &CElemCS::Create, 4, nullptr, nullptr, nullptr, kModelsSLcs3, 0, "SPDT logic controlled switch"},
    {"S_VCS3", 54, &CElemCS::Create, 5, nullptr, nullptr, nullptr, kModelsSVcs3, 0, "SPDT voltage controlled switch"},
    {"S_CCS3", 55, &CElemCS::Create, 5, nullptr, nullptr, nullptr, kModelsSCcs3, 0, "SPDT current controlled switch"},
    {"A_A", 6, &CElemPending::Create, 2, nullptr, nullptr, nullptr, nullptr, 0, "Amperemeter"},
    {"O_O", 36, &CElemPending::Create, 2, nullptr, nullptr, nullptr, nullptr, 0, "Amplifier"},
    {"O_OD", 37, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "Differential amplifier"},
    {"O_REF", 45, &CElemPending::Create, 4, nullptr, nullptr, nullptr, nullptr, 0, "Differential amplifier with reference"},
    {"O_FD", 44, &CElemPending::Create, 5, nullptr, nullptr, nullptr, nullptr, 0, "Fully differential amplifier"},
    {"O_VC", 41, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "Differential amplifier with current output"},
    {"O_CV", 42, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "Current amplifier"},
    {"O_CC", 43, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "Current amplifier with current output"},
    {"O_OS", 38, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "Summing amplifier"},
    {"O_VCG", 39, &CElemPending::Create, 4, nullptr, nullptr, nullptr, nullptr, 0, "Voltage controlled amplifier"},
    {"O_CCG", 40, &CElemPending::Create, 4, nullptr, nullptr, nullptr, nullptr, 0, "Current controlled amplifier"},
    {"T_TNPN", 58, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "NPN transistor"},
    {"T_TPNP", 59, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "PNP transistor"},
    {"T_NFET", 60, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "N-FET"},
    {"T_PFET", 61, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "P-FET"},
    {"X_Delay", 74, &CElemPending::Create, 2, nullptr, nullptr, nullptr, nullptr, 0, "Delay"},
    {"F_1", 18, &CElemPending::Create, 2, nullptr, nullptr, nullptr, nullptr, 0, "Function"},
    {"F_1C", 19, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "Function with clock"},
    {"F_2", 20, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "Function-2"},
    {"F_2C", 21, &CElemPending::Create, 4, nullptr, nullptr, nullptr, nullptr, 0, "Function-2 with clock"},
    {"F_CUSTOM", 22, &CElemPending::Create, 0, nullptr, nullptr, nullptr, nullptr, 0, "Custom function"},
    {"F_INT", 23, &CElemPending::Create, 2, nullptr, nullptr, nullptr, nullptr, 0, "Integral"},
    {"F_INTR", 24, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "Integral with reset"},
    {"F_S", 25, &CElemPending::Create, 2, nullptr, nullptr, nullptr, nullptr, 0, "s-function"},
    {"F_Z", 26, &CElemPending::Create, 2, nullptr, nullptr, nullptr, nullptr, 0, "z-function"},
    {"W_W", 67, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "Winding"},
    {"W_T2", 68, &CElemPending::Create, 4, nullptr, nullptr, nullptr, nullptr, 0, "Transformer"},
    {"W_T3", 69, &CElemPending::Create, 5, nullptr, nullptr, nullptr, nullptr, 0, "Differential transformer"},
    {"W_CUSTOM", 70, &CElemPending::Create, 0, nullptr, nullptr, nullptr, nullptr, 0, "Custom transformer"},
    {"W_WM", 71, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "Wattmeter"},
    {"Y_1", 85, &CElemPending::Create, 2, nullptr, nullptr, nullptr, nullptr, 0, "Gate"},
    {"Y_2_AND", 86, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "AND gate"},
    {"Y_2_OR", 87, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "OR gate"},
    {"Y_2_XOR", 88, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "XOR gate"},
    {"Y_3_AND", 89, &CElemPending::Create, 4, nullptr, nullptr, nullptr, nullptr, 0, "AND gate"},
    {"Y_3_OR", 90, &CElemPending::Create, 4, nullptr, nullptr, nullptr, nullptr, 0, "OR gate"},
    {"Y_3_XOR", 91, &CElemPending::Create, 4, nullptr, nullptr, nullptr, nullptr, 0, "XOR gate"},
    {"Y_CUSTOM", 92, &CElemPending::Create, 0, nullptr, nullptr, nullptr, nullptr, 0, "Custom gate"},
    {"Y_FUNCTION", 97, &CElemPending::Create, 0, nullptr, nullptr, nullptr, nullptr, 0, "Logical function"},
    {"Y_FF", 93, &CElemPending::Create, 4, nullptr, nullptr, nullptr, nullptr, 0, "D flip-flop"},
    {"Y_RS", 94, &CElemPending::Create, 6, nullptr, nullptr, nullptr, nullptr, 0, "SR trigger"},
    {"Y_JK", 95, &CElemPending::Create, 7, nullptr, nullptr, nullptr, nullptr, 0, "JK trigger"},
    {"Y_ST", 96, &CElemPending::Create, 2, nullptr, nullptr, nullptr, nullptr, 0, "Schmitt trigger"},
    {"Y_LG", 99, &CElemPending::Create, 1, nullptr, nullptr, nullptr, nullptr, 0, "Logic generator"},
    {"Y_CLG", 100, &CElemPending::Create, 2, nullptr, nullptr, nullptr, nullptr, 0, "Logic controlled logic generator"},
    {"Y_VCLG", 101, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "Voltage controlled logic generator"},
    {"Y_CCLG", 102, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "Current controlled logic generator"},
    {"Y_BUS", 98, &CElemPending::Create, 0, nullptr, nullptr, nullptr, nullptr, 0, "Bus"},
    {"X_Line", 75, &CElemPending::Create, 4, nullptr, nullptr, nullptr, nullptr, 0, "Transmission line"},
    {"X_SH", 72, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "Sample/hold"},
    {"X_DC", 73, &CElemPending::Create, 4, nullptr, nullptr, nullptr, nullptr, 0, "Directional coupler"},
    {"X_B2", 76, &CElemPending::Create, 2, nullptr, nullptr, nullptr, nullptr, 0, "Block-2"},
    {"X_B3", 77, &CElemPending::Create, 3, nullptr, nullptr, nullptr, nullptr, 0, "Block-3"},
    {"X_B4", 78, &CElemPending::Create, 4, nullptr, nullptr, nullptr, nullptr, 0, "Block-4"},
    {"X_B6", 79, &CElemPending::Create, 6, nullptr, nullptr, nullptr, nullptr, 0, "Block-6"},
    {"X_B8", 80, &CElemPending::Create, 8, nullptr, nullptr, nullptr, nullptr, 0, "Block-8"},
    {"X_CUSTOM", 81, &CElemPending::Create, 0, nullptr, nullptr, nullptr, nullptr, 0, "Custom block"},
    {"X_QZ3", 82, &CElemPending::Create, 0, nullptr, nullptr, nullptr, nullptr, 0, "QZ3 circuit"},
    {"X_C", 83, &CElemPending::Create, 0, nullptr, nullptr, nullptr, nullptr, 0, "C-code"},
    {"X_DLL", 84, &CElemPending::Create, 0, nullptr, nullptr, nullptr, nullptr, 0, "DLL"},
    {"Z_Z", 103, &CElemPending::Create, 2, nullptr, nullptr, nullptr, nullptr, 0, "Impedance"},
};

const CCmpType kLabelType = {"label", 5, &CElemPending::Create, 1, nullptr, nullptr, nullptr, nullptr, 0, "Label"};
const CCmpType kVariableType = {"var", 4, &CVariable::Create, 0, nullptr, nullptr, nullptr, kModelsVariable, 0,
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
