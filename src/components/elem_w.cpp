#include "components/elem_w.h"

#include <cmath>
#include <iterator>

#include "components/custom_type.h"
#include "components/param_check.h"
#include "components/solver_port.h"
#include "xml/xml_node.h"

namespace qz3 {

namespace {

enum WindingRow : uint8_t { kN, kN1, kN2, kRowCount };

constexpr CParamRow kRows[] = {
    FormulaRow("n", "turns", "n", MemberAt<&CElemW::n>, 1.0, {ParamTest::Infinite}),
    FormulaRow("n1", "turns", "n1", MemberAt<&CElemW::n1>, 1.0, {ParamTest::Infinite}),
    FormulaRow("n2", "turns", "n2", MemberAt<&CElemW::n2>, 1.0, {ParamTest::Infinite}),
};
static_assert(std::size(kRows) == kRowCount);

constexpr uint8_t kOrderWinding[] = {kN, kEndOfRows};
constexpr uint8_t kOrderTransformer[] = {kN1, kN2, kEndOfRows};

// Pins that one winding joins, by type: a winding's own pins conduct
// through it; the magnetic node of "W_W" is driven by the element.
constexpr int kGroupsW[] = {1, 1, 0};
constexpr int kGroupsT2[] = {1, 1, 2, 2};
constexpr int kGroupsT3[] = {1, 1, 2, 2, 2};

}  // namespace

const CParamTable kWindingParams = ParamTableOf(kRows);

const CModelInfo kModelsWW[] = {{"Winding", ModelId::Winding, kOrderWinding, 0, 1, kReadVIP}, {}};
// The core and the two windings; "W_T3" has a third for the second half.
const CModelInfo kModelsWT[] = {{"Transformer", ModelId::Winding, kOrderTransformer, 0, 3, kReadV}, {}};
const CModelInfo kModelsWCustom[] = {{"Transformer", ModelId::Winding, nullptr, 0, 0, kReadV}, {}};

void CElemW::BeginCustom() {
    if (IsCustom()) MakeCustom();
}

void CElemW::EndCustom() {
    AdoptCustomPins();
    ResizeCustomTurns(pinCount / 2);
}

int CElemW::WindingCount() const {
    switch (type) {
        case TypeId::Winding: return 1;
        case TypeId::Transformer: return 2;
        case TypeId::DifferentialTransformer: return 3;
        default: return pinCount / 2;
    }
}

// A new winding starts with one turn; the turns of the others are kept.
void CElemW::ResizeCustomTurns(int windings) {
    if (windings < 0) windings = 0;
    turns.resize(static_cast<size_t>(windings), CFormula(1.0));
    m_TurnNames.clear();
    for (int i = 1; i <= windings; ++i) m_TurnNames.push_back("n" + std::to_string(i));
    m_CustomParams.clear();
    for (int i = 0; i < windings; ++i) {
        m_CustomParams.emplace_back(kParamFormula, m_TurnNames[static_cast<size_t>(i)].c_str(), "turns");
        m_CustomParams.back().Data = &turns[static_cast<size_t>(i)];
    }
    m_CustomParams.emplace_back();
}

bool CElemW::Xml(CXmlNode* node, bool modelOnly) {
    CCmp::Xml(node, modelOnly);
    if (!IsCustom()) return true;
    for (size_t i = 0; i < turns.size(); ++i) node->Val(m_TurnNames[i], turns[i]);
    return true;
}

CParam* CElemW::BindParams() {
    if (!IsCustom()) return CCmp::BindParams();
    return m_CustomParams.size() > 1 ? m_CustomParams.data() : nullptr;
}

bool CElemW::CheckParams(CSolverPort* calc) {
    if (!IsCustom()) return CheckParamRows(this, calc);
    CParamCheck check(calc, this);
    for (size_t i = 0; i < turns.size(); ++i) {
        check.Param(turns[i], m_TurnNames[i]);
        check.Fault(std::isinf(turns[i].m_Value), ParamTestLine(ParamTest::InfiniteColon, m_TurnNames[i]));
    }
    return check.Ok();
}

// Every winding has its current; the transformers add their core in front.
int CElemW::AssignBranches(CSolverPort* calc, int first) {
    const int windings = WindingCount();
    branchCount = type == TypeId::Winding ? 1 : windings + 1;
    if (IsCustom() && windings == 0) branchCount = 0;
    firstBranch = branchCount > 0 ? first : 0;
    return branchCount;
}

bool CElemW::Simulate(CSolverPort* calc, int phase, double t) {
    switch (phase) {
        case PhaseStamp:
            if (calc->StampPass() == 0) Stamp(calc);
            return true;
        case PhasePins: SetPinGroups(); return true;
        default: return true;
    }
}

void CElemW::StampWinding(CSolverPort* calc, int a, int b, int w, int c, double turnsValue) {
    calc->StampBranchVoltage(a, b, w, 0.0);
    calc->AddG(c, w, turnsValue);
    calc->AddG(w, c, -turnsValue);
}

void CElemW::Stamp(CSolverPort* calc) {
    const int k = firstBranch;
    switch (type) {
        case TypeId::Winding: StampWinding(calc, nodes[0], nodes[1], k, nodes[2], n.m_Value); return;
        case TypeId::Transformer:
            StampWinding(calc, nodes[0], nodes[1], k + 1, k, n1.m_Value);
            StampWinding(calc, nodes[2], nodes[3], k + 2, k, n2.m_Value);
            return;
        case TypeId::DifferentialTransformer:
            StampWinding(calc, nodes[0], nodes[1], k + 1, k, n1.m_Value);
            StampWinding(calc, nodes[2], nodes[4], k + 2, k, n2.m_Value);
            StampWinding(calc, nodes[4], nodes[3], k + 3, k, n2.m_Value);
            return;
        default: break;
    }
    // A custom winding's direction bit exchanges its two pins.
    const int windings = WindingCount();
    const uint32_t dots = custom ? custom->m_DotFlags : 0u;
    for (int i = 0; i < windings && i < static_cast<int>(turns.size()); ++i) {
        const bool reversed = i < 32 && (dots >> i) & 1u;
        const int a = nodes[2 * i + (reversed ? 1 : 0)];
        const int b = nodes[2 * i + (reversed ? 0 : 1)];
        StampWinding(calc, a, b, k + i, k + windings, turns[static_cast<size_t>(i)].m_Value);
    }
}

void CElemW::SetPinGroups() {
    int* groups = PinGroups();
    const int* fixed = type == TypeId::Winding ? kGroupsW
                       : type == TypeId::Transformer ? kGroupsT2
                       : type == TypeId::DifferentialTransformer ? kGroupsT3
                                                                 : nullptr;
    for (int p = 0; p < pinCount; ++p) groups[p] = fixed ? fixed[p] : p / 2 + 1;
}

}  // namespace qz3
