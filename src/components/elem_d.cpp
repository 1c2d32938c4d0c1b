// The diode family's tables, file keys, checks, start states and state text.
// Its equations and switching tests are in elem_d_stamp.cpp.
#include "components/elem_d.h"

#include <cmath>
#include <iterator>

#include "components/element_state.h"
#include "xml/xml_node.h"
#include "expr/state_text.h"
#include "components/solver_port.h"

namespace qz3 {

namespace {

const char* const kZenerIC[] = {"Minus", "Off", "Plus", nullptr};

enum DiodeRow : uint8_t {
    kVd, kVdSoft, kV, kIhold, kThresholdV, kThresholdA, kT, kIcq, kTs, kIcZener, kIc, kTable, kRowCount
};

// In the order of the check lines: Vd, V, Ihold, Threshold, then the charge
// parameters. "Soft" shows its Vd untested, and the line of its recovery
// time says "tsr", as users of the model know it.
constexpr CParamRow kRows[] = {
    FormulaRow("Vd", "V", "vd", MemberAt<&CElemD::vd>, 0.0, {ParamTest::Negative}),
    Unchecked(FormulaRow("Vd", "V", "vd", MemberAt<&CElemD::vd>, 0.0)),
    FormulaRow("V", "V", "v", MemberAt<&CElemD::v>, 8.0, {ParamTest::Negative}),
    FormulaRow("Ihold", "A", "hold", MemberAt<&CElemD::ihold>, 1.0, {ParamTest::Negative}),
    FormulaRow("Threshold", "V", "thr", MemberAt<&CElemD::threshold>, 5.0, {ParamTest::Infinite}),
    FormulaRow("Threshold", "A", "thr", MemberAt<&CElemD::threshold>, 5.0, {ParamTest::Infinite}),
    FormulaRow("t", "s", "t", MemberAt<&CElemD::t>, 0.0, {ParamTest::Infinite, ParamTest::Negative}),
    FormulaRow("ICQ", "A*s", "icq", MemberAt<&CElemD::icq>, 0.0, {ParamTest::Infinite, ParamTest::Negative}),
    CheckedAs(FormulaRow("ts", "s", "ts", MemberAt<&CElemD::ts>, 0.0, {ParamTest::Infinite, ParamTest::Negative}),
              "tsr"),
    ChoiceRow("IC", "ic", MemberAt<&CElemD::icZ>, kZenerIC, 1),  // the zeners' index
    FlagRow(kParamOnOff, "IC", "ic", MemberAt<&CElemD::ic>, 0),
    TableRow("pwl", "pwl", MemberAt<&CCmp::pwl>),
};
static_assert(std::size(kRows) == kRowCount);

constexpr uint8_t kOrderDiode[] = {kVd, kIc, kEndOfRows};
constexpr uint8_t kOrderStorage[] = {kT, kIcq, kVd, kIc, kEndOfRows};
constexpr uint8_t kOrderSoft[] = {kT, kTs, kIcq, kVdSoft, kIc, kEndOfRows};
constexpr uint8_t kOrderZener[] = {kIcZener, kV, kVd, kEndOfRows};
constexpr uint8_t kOrderZenerSym[] = {kIcZener, kV, kEndOfRows};
constexpr uint8_t kOrderVct[] = {kVd, kIhold, kIc, kThresholdV, kEndOfRows};
constexpr uint8_t kOrderCct[] = {kVd, kIhold, kThresholdA, kIc, kEndOfRows};
constexpr uint8_t kOrderLct[] = {kVd, kIhold, kIc, kEndOfRows};
constexpr uint8_t kOrderBridge[] = {kVd, kEndOfRows};
constexpr uint8_t kOrderPwl[] = {kTable, kEndOfRows};

}  // namespace

const CParamTable kDiodeParams = ParamTableOf(kRows);

const CModelInfo kModelsDD[] = {
    {"Diode", ModelId::Diode, kOrderDiode, 0, 1, kReadVIP},
    {"PWL", ModelId::Pwl, kOrderPwl, 0, 1, kReadVIP},
    {"Storage", ModelId::Storage, kOrderStorage, 0, 2, kReadVIP},
    {"Soft", ModelId::Soft, kOrderSoft, 0, 2, kReadVIP},
    {"SubCir", ModelId::SubCir, nullptr, 0, 0},
    {},
};
const CModelInfo kModelsDZ[] = {
    {"Zener", ModelId::Diode, kOrderZener, 0, 1, kReadVIP},
    {"PWL", ModelId::Pwl, kOrderPwl, 0, 1, kReadVIP},
    {"SubCir", ModelId::SubCir, nullptr, 0, 0},
    {},
};
const CModelInfo kModelsDZs[] = {
    {"Zener", ModelId::Diode, kOrderZenerSym, 0, 1, kReadVIP},
    {"PWL", ModelId::Pwl, kOrderPwl, 0, 1, kReadVIP},
    {"SubCir", ModelId::SubCir, nullptr, 0, 0},
    {},
};
const CModelInfo kModelsDVct[] = {{"Thyristor", ModelId::Diode, kOrderVct, 0, 1, kReadVIP}, {"SubCir", ModelId::SubCir}, {}};
const CModelInfo kModelsDCct[] = {{"Thyristor", ModelId::Diode, kOrderCct, 0, 2, kReadVIP}, {"SubCir", ModelId::SubCir}, {}};
const CModelInfo kModelsDLct[] = {{"Thyristor", ModelId::Diode, kOrderLct, 0, 1, kReadVIP}, {"SubCir", ModelId::SubCir}, {}};
const CModelInfo kModelsDBridge[] = {{"Diode", ModelId::Diode, kOrderBridge, 0, 4, kReadVIP}, {}};

CElemD::CElemD(const CCmpType* typeDescriptor) : CCmp(typeDescriptor) {
    // The table gives resistances against the voltage, as for the resistor.
    pwl.SetLabels("V", "R, Ohm", "R(V)", "I(V)");
    pwl.m_Invert = true;
}

bool CElemD::IsThyristor() const { return type == TypeId::VoltageThyristor || type == TypeId::CurrentThyristor || type == TypeId::LogicThyristor; }
bool CElemD::IsQuad() const { return type == TypeId::Bridge || type == TypeId::DiodeRing; }
bool CElemD::HasCharge() const { return model == ModelId::Storage || model == ModelId::Soft; }
bool CElemD::HasIC() const { return type == TypeId::Diode || type == TypeId::Zener || IsThyristor(); }

bool CElemD::Xml(CXmlNode* node, bool modelOnly) {
    CCmp::Xml(node, modelOnly);
    if (node->m_bWrite) return true;
    // A stored charge never starts negative; a zener's IC outside its three
    // words is "Off".
    if (type == TypeId::Diode && icq.m_Value < 0) icq.m_Value = 0.0;
    if (icZ.Index < 0 || icZ.Index > 2) icZ.Index = 1;
    return true;
}

int CElemD::PinKind(int pin) const { return type == TypeId::LogicThyristor && pin == 2 ? kPinSensing : kPinAnalog; }

bool CElemD::Simulate(CSolverPort* calc, int phase, double time) {
    switch (phase) {
        case PhaseInit:
            Init(calc);
            return model == ModelId::Pwl ? PrepareTable(calc, pwl) : true;
        case PhaseStore:
            if (HasCharge()) q = std::fmax(0.0, calc->X(firstBranch + 1));
            return true;
        case PhaseStamp: return Stamp(calc);
        case PhaseFloat: return model == ModelId::Diode ? FloatFix(calc) : true;
        case PhasePins: SetPinGroups(); return true;
        default: return true;
    }
}

void CElemD::Init(CSolverPort* calc) {
    if (model != lastModel) InitState();
    if (lastModel != ModelId::None) return;
    const std::string stored = StoredState(calc, this);
    if (stored.empty()) return;
    state = KeyInt(stored, "s", state);
    stage = KeyInt(stored, "z", stage);
    if (!HasCharge()) return;
    q = KeyHex(stored, "q", q);
    i0 = KeyHex(stored, "i", i0);
}

// The start state of a new model; an infinite drop never conducts.
void CElemD::InitState() {
    state = 0;
    stage = 0;
    const bool vdInfinite = std::isinf(vd.m_Value);
    if (model == ModelId::Storage || model == ModelId::Soft) {
        state = ic;
        q = t.m_Value > 0 && ic ? icq.m_Value : 0.0;
        return;
    }
    if (model != ModelId::Diode) return;
    if (type == TypeId::Diode) {
        state = vdInfinite ? 0 : ic;
    } else if (type == TypeId::Zener) {
        state = icZ.Index - 1;
        if ((state == 1 && vdInfinite) || (state == -1 && std::isinf(v.m_Value))) state = 0;
    } else if (type == TypeId::SymmetricZener) {
        state = std::isinf(v.m_Value) ? 0 : icZ.Index - 1;
    } else if (IsThyristor()) {
        state = vdInfinite ? 0 : ic;
        stage = state > 0 ? 2 : 0;
    }
}

void CElemD::SetPinGroups() {
    int* groups = PinGroups();
    for (int p = 0; p < pinCount; ++p) groups[p] = 1;
    if (type == TypeId::VoltageThyristor) {
        groups[2] = 2;
        groups[3] = 3;
    } else if (type == TypeId::CurrentThyristor) {
        groups[2] = groups[3] = 2;
    } else if (type == TypeId::LogicThyristor) {
        groups[2] = 2;
    }
}

bool CElemD::SegmentRange(int* first, int* last) {
    if (model == ModelId::Pwl) {
        *first = pwl.m_First;
        *last = pwl.LastSegment();
        return *first < *last;
    }
    *first = 0;
    *last = 1;
    if (model == ModelId::Storage) {
        if (t.m_Value > 0 && stage > 0) *first = -1;
        return true;
    }
    // A recovering "Soft" diode and a blocked thyristor are left alone.
    if ((model == ModelId::Soft && state != 0) || (IsThyristor() && stage == 0)) {
        *last = 0;
        return false;
    }
    if (type == TypeId::Zener || type == TypeId::SymmetricZener) *first = -1;
    if (IsQuad()) *last = 15;
    return true;
}

std::string CElemD::GetState() {
    std::string s;
    AddKeyInt(s, "s", state);
    AddKeyInt(s, "z", stage);
    if (HasCharge()) {
        AddKeyHex(s, "q", q);
        AddKeyHex(s, "i", i0);
    }
    return s;
}

std::string CElemD::SaveIC(std::string& out, int index, bool apply) {
    out.clear();
    if (!HasIC() || model == ModelId::Pwl || model == ModelId::SubCir) return out;
    const std::string text = StateForIC(this, index, index == 0 ? GetState() : std::string());
    if (text.empty()) return out;
    const int s = KeyInt(text, "s", state);
    if (type == TypeId::Zener) {
        const int choice = s < 0 ? 0 : s > 0 ? 2 : 1;
        if (apply) icZ.Index = choice;
        out = std::string("IC=") + kZenerIC[choice];
        return out;
    }
    if (apply) ic = s != 0 ? 1 : 0;
    out = s != 0 ? "IC=On" : "IC=Off";
    if (!HasCharge()) return out;
    const double charge = KeyHex(text, "q", icq.m_Value);
    if (apply) icq.SetValue(charge);
    out += "," + ParamText("ICQ", charge);
    return out;
}

bool CElemD::GetTraceNodes(CSolverPort* calc, int kind, int* nodeA, int* nodeB, int* branch, double* r) {
    CCmp::GetTraceNodes(calc, kind, nodeA, nodeB, branch, r);
    return !IsQuad();
}

void CElemD::Transform(const CTransform& edit) {
    if (edit.kind == 1) {
        ic = 0;
        icZ.Index = 1;
    } else if (edit.kind == 2 && (type == TypeId::Diode || IsQuad())) {
        vd.SetValue(edit.factor);
    }
}

}  // namespace qz3
