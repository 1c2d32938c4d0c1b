#include "components/elem_r.h"

#include <cmath>
#include <iterator>

#include "components/solver_port.h"

namespace qz3 {

namespace {

enum ResistorRow : uint8_t { kR, kPosition, kTable, kTableI, kRowCount };

// "r" is kept for every model of "R_R", so a change of model doesn't lose
// the resistance.
constexpr CParamRow kRows[] = {
    FormulaRow("R", "Ohm", "r", MemberAt<&CElemR::r>, 1.0),
    FormulaRow("Position", "", "p", MemberAt<&CElemR::position>, 0.0, {ParamTest::Negative, ParamTest::AboveOne}),
    TableRow("pwl", "pwl", MemberAt<&CCmp::pwl>),
    TableRow("pwl", "pwli", MemberAt<&CElemR::pwlI>),  // V(I) of "PWL-I"
};
static_assert(std::size(kRows) == kRowCount);

constexpr uint8_t kOrderR[] = {kR, kEndOfRows};
constexpr uint8_t kOrderPot[] = {kR, kPosition, kEndOfRows};
constexpr uint8_t kOrderPwl[] = {kTable, kEndOfRows};
constexpr uint8_t kOrderPwlI[] = {kTableI, kEndOfRows};

}  // namespace

const CParamTable kResistorParams = ParamTableOf(kRows);

const CModelInfo kModelsRR[] = {
    {"R", ModelId::R, kOrderR, 0, 0, kReadVIP},
    {"PWL", ModelId::Pwl, kOrderPwl, 0, 1, kReadVIP},
    {"PWL-I", ModelId::PwlI, kOrderPwlI, 0, 1, kReadVIP},
    {"SubCir", ModelId::SubCir, nullptr, 0, 0},
    {},
};
const CModelInfo kModelsRPot[] = {{"Potentiometer", ModelId::Potentiometer, kOrderPot, 0, 0, kReadVIP}, {}};
const CModelInfo kModelsRVcr[] = {{"PWL", ModelId::Pwl, kOrderPwl, 0, 1, kReadVIP}, {}};
const CModelInfo kModelsRCcr[] = {{"PWL", ModelId::Pwl, kOrderPwl, 0, 2, kReadVIP}, {}};

CElemR::CElemR(const CCmpType* typeDescriptor) : CCmp(typeDescriptor), pwlI(&state) {
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

int CElemR::AssignBranches(CSolverPort* calc, int first) {
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

bool CElemR::Simulate(CSolverPort* calc, int phase, double t) {
    switch (phase) {
        case PhaseInit:
            if (model != lastModel) state = 0;
            if (model != ModelId::PwlI) return true;
            if (model != lastModel) pwlI.Reset();
            return PrepareTable(calc, pwlI);
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
    int* groups = PinGroups();
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

bool CElemR::CheckSegment(CSolverPort* calc, bool commit) {
    if (!IsType(TypeId::Resistor)) return false;
    if (model == ModelId::Pwl) return pwl.CheckSegment(calc->X(nodes[1]) - calc->X(nodes[0]), commit);
    if (model == ModelId::PwlI) return pwlI.CheckSegment(calc->X(firstBranch), commit);
    return false;
}

bool CElemR::CheckState(CSolverPort* calc, bool commit, bool* changedOut) {
    if (model != ModelId::Pwl || !(IsType(TypeId::VoltageControlledResistor) || IsType(TypeId::CurrentControlledResistor))) return true;
    const double control = IsType(TypeId::VoltageControlledResistor) ? calc->X(nodes[3]) - calc->X(nodes[2]) : calc->X(firstBranch + 1);
    *changedOut = pwl.CheckSegment(control, commit);
    return true;
}

bool CElemR::GetTraceNodes(CSolverPort* calc, int kind, int* nodeA, int* nodeB, int* branch, double* resistance) {
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
