#include "components/elem_r.h"

#include <cmath>

#include "document/xml_node.h"

namespace qz3 {

namespace {

CParam s_ParamsR[] = {{kParamFormula, "R", "Ohm"}, {}};
CParam s_ParamsPot[] = {{kParamFormula, "R", "Ohm"}, {kParamFormula, "Position", ""}, {}};
CParam s_ParamsPwl[] = {{kParamPwl, "pwl", ""}, {}};

}  // namespace

const CModelInfo kModelsRR[] = {
    {"R", ModelId::R, s_ParamsR, 0, 0, kReadVIP},
    {"PWL", ModelId::Pwl, s_ParamsPwl, 0, 1, kReadVIP},
    {"PWL-I", ModelId::PwlI, s_ParamsPwl, 0, 1, kReadVIP},
    {"SubCir", ModelId::SubCir, nullptr, 0, 0},
    {},
};
const CModelInfo kModelsRPot[] = {{"Potentiometer", ModelId::Potentiometer, s_ParamsPot, 0, 0, kReadVIP}, {}};
const CModelInfo kModelsRVcr[] = {{"PWL", ModelId::Pwl, s_ParamsPwl, 0, 1, kReadVIP}, {}};
const CModelInfo kModelsRCcr[] = {{"PWL", ModelId::Pwl, s_ParamsPwl, 0, 2, kReadVIP}, {}};

CElemR::CElemR(const CCmpType* typeDescriptor) : CCmp(typeDescriptor), pwlI(this) {
    if (IsType(TypeId::Resistor) || IsType(TypeId::Potentiometer)) r.m_Value = 1.0;
    if (IsType(TypeId::Resistor)) {
        // R(V) or I(V): the table holds resistances, the element stamps
        // their reciprocals.
        pwl.SetLabels("V", "R, Ohm", "R(V)", "I(V)");
        pwl.m_Invert = true;
        pwlI.SetLabels("I", "R, Ohm", "R(I)", "V(I)");
    } else if (IsType(TypeId::VoltageControlledResistor)) {
        pwl.SetLabels("V", "R, Ohm", "R(V)", "");
    } else if (IsType(TypeId::CurrentControlledResistor)) {
        pwl.SetLabels("A", "R, Ohm", "R(I)", "");
    }
}

bool CElemR::Xml(CXmlNode* node, bool modelOnly) {
    CCmp::Xml(node, modelOnly);
    // "r" is kept for every model of "R_R", so a change of model doesn't
    // lose the resistance.
    if (IsType(TypeId::Resistor) || IsType(TypeId::Potentiometer)) node->Val("r", r);
    if (IsType(TypeId::Potentiometer)) node->Val("p", position);
    if (model == ModelId::PwlI) {
        pwlI.m_Text = node->Str("pwli", pwlI.m_Text);
        pwlI.m_FileName = node->Str("pwlif", pwlI.m_FileName);
        pwlI.m_FileMode = node->Int("pwlim", pwlI.m_FileMode);
    }
    return true;
}

CParam* CElemR::BindParams() {
    switch (model) {
        case ModelId::R: return qz3::BindParams(s_ParamsR, {&r});
        case ModelId::Potentiometer: return qz3::BindParams(s_ParamsPot, {&r, &position});
        case ModelId::Pwl: return qz3::BindParams(s_ParamsPwl, {&pwl});
        case ModelId::PwlI: return qz3::BindParams(s_ParamsPwl, {&pwlI});
        default: return nullptr;
    }
}

bool CElemR::CheckParams(CCalc* calc) {
    bool sound = true;
    if (model == ModelId::R || model == ModelId::Potentiometer) sound = !FormulaFault(calc, r, "R");
    if (model != ModelId::Potentiometer) return sound;
    if (FormulaFault(calc, position, "Position")) return false;
    if (position.m_Value < 0) return AddCmpError(calc, "Position < 0");
    if (position.m_Value > 1) return AddCmpError(calc, "Position > 1");
    return sound;
}

int CElemR::AssignBranches(CCalc* calc, int first) {
    if (model == ModelId::R) {
        branchCount = r.m_Value == 0.0 ? 1 : 0;
    } else if (model == ModelId::Potentiometer) {
        const double p = position.m_Value;
        branchCount = r.m_Value == 0.0 ? 2 : (p > 0.0 && p < 1.0) ? 0 : 1;
    } else {
        return CCmp::AssignBranches(calc, first);
    }
    firstBranch = branchCount > 0 ? first : 0;
    return branchCount;
}

CPWL* CElemR::SegmentTable() {
    if (model == ModelId::Pwl) return &pwl;
    if (model == ModelId::PwlI) return &pwlI;
    return nullptr;
}

bool CElemR::Simulate(CCalc* calc, int phase, double t) {
    switch (phase) {
        case PhaseInit:
            if (model != lastModel) state = 0;
            if (model != ModelId::PwlI) return true;
            if (model != lastModel) pwlI.Reset();
            return pwlI.Prepare(calc);
        case PhaseReset:
            pwlI.Reset();
            return true;
        case PhaseStamp: return Stamp(calc);
        case PhasePins: SetPinGroups(); return true;
        default: return true;
    }
}

// Pins joined by a conducting path share a group; a control pair of a
// voltage controlled resistor draws nothing, so its pins stand alone.
void CElemR::SetPinGroups() {
    int* groups = nodes + pinCount;
    for (int i = 0; i < pinCount; ++i) groups[i] = 1;
    if (IsType(TypeId::VoltageControlledResistor)) {
        groups[2] = 2;
        groups[3] = 3;
    } else if (IsType(TypeId::CurrentControlledResistor)) {
        groups[2] = 2;
        groups[3] = 2;
    }
}

bool CElemR::SegmentRange(int* first, int* last) {
    if (!IsType(TypeId::Resistor)) return false;
    CPWL* table = SegmentTable();
    if (!table) return false;
    *first = table->m_First;
    *last = table->LastSegment();
    return *first < *last;
}

bool CElemR::CheckSegment(CCalc* calc, bool commit) {
    if (!IsType(TypeId::Resistor)) return false;
    if (model == ModelId::Pwl) return pwl.CheckSegment(X(calc, nodes[1]) - X(calc, nodes[0]), commit);
    if (model == ModelId::PwlI) return pwlI.CheckSegment(X(calc, firstBranch), commit);
    return false;
}

bool CElemR::CheckState(CCalc* calc, bool commit, bool* changedOut) {
    if (model != ModelId::Pwl || !(IsType(TypeId::VoltageControlledResistor) || IsType(TypeId::CurrentControlledResistor))) return true;
    const double control = IsType(TypeId::VoltageControlledResistor) ? X(calc, nodes[3]) - X(calc, nodes[2]) : X(calc, firstBranch + 1);
    *changedOut = pwl.CheckSegment(control, commit);
    return true;
}

bool CElemR::GetTraceNodes(CCalc* calc, int kind, int* nodeA, int* nodeB, int* branch, double* resistance) {
    CCmp::GetTraceNodes(calc, kind, nodeA, nodeB, branch, resistance);
    if (model == ModelId::R) *resistance = r.m_Value;
    return true;
}

void CElemR::Transform(const CTransform& edit) {
    if (model != ModelId::R) return;
    if (edit.kind == 4 && edit.sub == 2) r.m_Value /= edit.factor;
    else if (edit.kind == 4 && edit.sub == 3) r.m_Value *= edit.factor;
    else if (edit.kind == 5) r.m_Value *= edit.factor;
}

}  // namespace qz3
