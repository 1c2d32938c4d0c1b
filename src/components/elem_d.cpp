// The diode family's tables, file keys, checks, start states and state text.
// Its equations and switching tests are in elem_d_stamp.cpp.
#include "components/elem_d.h"

#include <cmath>

#include "components/element_state.h"
#include "components/param_check.h"
#include "document/xml_node.h"
#include "expr/state_text.h"
#include "solver/calc.h"

namespace qz3 {

namespace {

const char* const kZenerIC[] = {"Minus", "Off", "Plus", nullptr};

CParam s_ParamsDiode[] = {{kParamFormula, "Vd", "V"}, {kParamOnOff, "IC"}, {}};
CParam s_ParamsStorage[] = {{kParamFormula, "t", "s"},
                            {kParamFormula, "ICQ", "A*s"},
                            {kParamFormula, "Vd", "V"},
                            {kParamOnOff, "IC"},
                            {}};
CParam s_ParamsSoft[] = {{kParamFormula, "t", "s"},  {kParamFormula, "ts", "s"}, {kParamFormula, "ICQ", "A*s"},
                         {kParamFormula, "Vd", "V"}, {kParamOnOff, "IC"},        {}};
CParam s_ParamsZener[] = {{kParamChoice, "IC"}, {kParamFormula, "V", "V"}, {kParamFormula, "Vd", "V"}, {}};
CParam s_ParamsZenerSym[] = {{kParamChoice, "IC"}, {kParamFormula, "V", "V"}, {}};
CParam s_ParamsVct[] = {{kParamFormula, "Vd", "V"},
                        {kParamFormula, "Ihold", "A"},
                        {kParamOnOff, "IC"},
                        {kParamFormula, "Threshold", "V"},
                        {}};
CParam s_ParamsCct[] = {{kParamFormula, "Vd", "V"},
                        {kParamFormula, "Ihold", "A"},
                        {kParamFormula, "Threshold", "A"},
                        {kParamOnOff, "IC"},
                        {}};
CParam s_ParamsLct[] = {{kParamFormula, "Vd", "V"}, {kParamFormula, "Ihold", "A"}, {kParamOnOff, "IC"}, {}};
CParam s_ParamsBridge[] = {{kParamFormula, "Vd", "V"}, {}};
CParam s_ParamsPwl[] = {{kParamPwl, "pwl", ""}, {}};

}  // namespace

const CModelInfo kModelsDD[] = {
    {"Diode", ModelId::Diode, s_ParamsDiode, 0, 1, kReadVIP},
    {"PWL", ModelId::Pwl, s_ParamsPwl, 0, 1, kReadVIP},
    {"Storage", ModelId::Storage, s_ParamsStorage, 0, 2, kReadVIP},
    {"Soft", ModelId::Soft, s_ParamsSoft, 0, 2, kReadVIP},
    {"SubCir", ModelId::SubCir, nullptr, 0, 0},
    {},
};
const CModelInfo kModelsDZ[] = {
    {"Zener", ModelId::Diode, s_ParamsZener, 0, 1, kReadVIP},
    {"PWL", ModelId::Pwl, s_ParamsPwl, 0, 1, kReadVIP},
    {"SubCir", ModelId::SubCir, nullptr, 0, 0},
    {},
};
const CModelInfo kModelsDZs[] = {
    {"Zener", ModelId::Diode, s_ParamsZenerSym, 0, 1, kReadVIP},
    {"PWL", ModelId::Pwl, s_ParamsPwl, 0, 1, kReadVIP},
    {"SubCir", ModelId::SubCir, nullptr, 0, 0},
    {},
};
const CModelInfo kModelsDVct[] = {{"Thyristor", ModelId::Diode, s_ParamsVct, 0, 1, kReadVIP}, {"SubCir", ModelId::SubCir}, {}};
const CModelInfo kModelsDCct[] = {{"Thyristor", ModelId::Diode, s_ParamsCct, 0, 2, kReadVIP}, {"SubCir", ModelId::SubCir}, {}};
const CModelInfo kModelsDLct[] = {{"Thyristor", ModelId::Diode, s_ParamsLct, 0, 1, kReadVIP}, {"SubCir", ModelId::SubCir}, {}};
const CModelInfo kModelsDBridge[] = {{"Diode", ModelId::Diode, s_ParamsBridge, 0, 4, kReadVIP}, {}};

CElemD::CElemD(const CCmpType* typeDescriptor) : CCmp(typeDescriptor) {
    icZ.Index = 1;
    icZ.Items = kZenerIC;
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
    const bool zener = type == TypeId::Zener || type == TypeId::SymmetricZener;
    if (type != TypeId::SymmetricZener) node->Val("vd", vd);
    if (zener) {
        node->Val("v", v);
        icZ.Index = node->Int("ic", icZ.Index);
        if (icZ.Index < 0 || icZ.Index > 2) icZ.Index = 1;
    } else if (!IsQuad()) {
        ic = node->Bool("ic", ic != 0) ? 1 : 0;
    }
    if (IsThyristor()) node->Val("hold", ihold);
    if (type == TypeId::VoltageThyristor || type == TypeId::CurrentThyristor) node->Val("thr", threshold);
    if (type == TypeId::Diode) {
        node->Val("t", t);
        node->Val("ts", ts);
        node->Val("icq", icq);
        if (!node->m_bWrite && icq.m_Value < 0) icq.m_Value = 0.0;
    }
    return true;
}

CParam* CElemD::BindParams() {
    if (model == ModelId::Pwl) return qz3::BindParams(s_ParamsPwl, {&pwl});
    if (model == ModelId::Storage) return qz3::BindParams(s_ParamsStorage, {&t, &icq, &vd, &ic});
    if (model == ModelId::Soft) return qz3::BindParams(s_ParamsSoft, {&t, &ts, &icq, &vd, &ic});
    if (model != ModelId::Diode) return nullptr;
    switch (type) {
        case TypeId::Diode: return qz3::BindParams(s_ParamsDiode, {&vd, &ic});
        case TypeId::Zener: return qz3::BindParams(s_ParamsZener, {&icZ, &v, &vd});
        case TypeId::SymmetricZener: return qz3::BindParams(s_ParamsZenerSym, {&icZ, &v});
        case TypeId::VoltageThyristor: return qz3::BindParams(s_ParamsVct, {&vd, &ihold, &ic, &threshold});
        case TypeId::CurrentThyristor: return qz3::BindParams(s_ParamsCct, {&vd, &ihold, &threshold, &ic});
        case TypeId::LogicThyristor: return qz3::BindParams(s_ParamsLct, {&vd, &ihold, &ic});
        default: return qz3::BindParams(s_ParamsBridge, {&vd});
    }
}

bool CElemD::CheckParams(CCalc* calc) {
    CParamCheck check(calc, this);
    if (model == ModelId::Diode || model == ModelId::Storage) {
        if (type != TypeId::SymmetricZener) check.Param(vd, "Vd").Fault(vd.m_Value < 0, "Vd < 0");
        if (type == TypeId::Zener || type == TypeId::SymmetricZener) check.Param(v, "V").Fault(v.m_Value < 0, "V < 0");
        if (IsThyristor()) check.Param(ihold, "Ihold").Fault(ihold.m_Value < 0, "Ihold < 0");
        if (type == TypeId::VoltageThyristor || type == TypeId::CurrentThyristor)
            check.Param(threshold, "Threshold").Fault(std::isinf(threshold.m_Value), "Threshold = infinite");
    }
    if (HasCharge()) {
        check.Param(t, "t").Fault(std::isinf(t.m_Value), "t = infinite").Fault(t.m_Value < 0, "t < 0");
        check.Param(icq, "ICQ").Fault(std::isinf(icq.m_Value), "ICQ = infinite").Fault(icq.m_Value < 0, "ICQ < 0");
    }
    // The line names the recovery time "tsr", as users of the model know it.
    if (model == ModelId::Soft)
        check.Param(ts, "tsr").Fault(std::isinf(ts.m_Value), "tsr = infinite").Fault(ts.m_Value < 0, "tsr < 0");
    return check.Ok();
}

int CElemD::PinKind(int pin) const { return type == TypeId::LogicThyristor && pin == 2 ? kPinSensing : kPinAnalog; }

bool CElemD::Simulate(CCalc* calc, int phase, double time) {
    switch (phase) {
        case PhaseInit:
            Init(calc);
            return model == ModelId::Pwl ? pwl.Prepare(calc) : true;
        case PhaseStore:
            if (HasCharge()) q = std::fmax(0.0, calc->VecX[firstBranch + 1]);
            return true;
        case PhaseStamp: return Stamp(calc);
        case PhaseFloat: return model == ModelId::Diode ? FloatFix(calc) : true;
        case PhasePins: SetPinGroups(); return true;
        default: return true;
    }
}

void CElemD::Init(CCalc* calc) {
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
    int* groups = nodes + pinCount;
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

bool CElemD::GetTraceNodes(CCalc* calc, int kind, int* nodeA, int* nodeB, int* branch, double* r) {
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
