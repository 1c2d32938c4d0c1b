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

constexpr int kModelDiode = CElemD::kModelDiode;
constexpr int kModelStorage = CElemD::kModelStorage;
constexpr int kModelSoft = CElemD::kModelSoft;

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
    {"Diode", kModelDiode, s_ParamsDiode, 0, 1, kReadVIP},
    {"PWL", kModelPwl, s_ParamsPwl, 0, 1, kReadVIP},
    {"Storage", kModelStorage, s_ParamsStorage, 0, 2, kReadVIP},
    {"Soft", kModelSoft, s_ParamsSoft, 0, 2, kReadVIP},
    {"SubCir", kModelSubCir, nullptr, 0, 0},
    {},
};
const CModelInfo kModelsDZ[] = {
    {"Zener", kModelDiode, s_ParamsZener, 0, 1, kReadVIP},
    {"PWL", kModelPwl, s_ParamsPwl, 0, 1, kReadVIP},
    {"SubCir", kModelSubCir, nullptr, 0, 0},
    {},
};
const CModelInfo kModelsDZs[] = {
    {"Zener", kModelDiode, s_ParamsZenerSym, 0, 1, kReadVIP},
    {"PWL", kModelPwl, s_ParamsPwl, 0, 1, kReadVIP},
    {"SubCir", kModelSubCir, nullptr, 0, 0},
    {},
};
const CModelInfo kModelsDVct[] = {{"Thyristor", kModelDiode, s_ParamsVct, 0, 1, kReadVIP}, {"SubCir", kModelSubCir}, {}};
const CModelInfo kModelsDCct[] = {{"Thyristor", kModelDiode, s_ParamsCct, 0, 2, kReadVIP}, {"SubCir", kModelSubCir}, {}};
const CModelInfo kModelsDLct[] = {{"Thyristor", kModelDiode, s_ParamsLct, 0, 1, kReadVIP}, {"SubCir", kModelSubCir}, {}};
const CModelInfo kModelsDBridge[] = {{"Diode", kModelDiode, s_ParamsBridge, 0, 4, kReadVIP}, {}};

CElemD::CElemD(const CCmpType* typeDescriptor) : CCmp(typeDescriptor) {
    icZ.Index = 1;
    icZ.Items = kZenerIC;
    // The table gives resistances against the voltage, as for the resistor.
    pwl.SetLabels("V", "R, Ohm", "R(V)", "I(V)");
    pwl.m_Invert = true;
}

bool CElemD::IsThyristor() const { return type == kTypeVct || type == kTypeCct || type == kTypeLct; }
bool CElemD::IsQuad() const { return type == kTypeBridge || type == kTypeRing; }
bool CElemD::HasCharge() const { return model == kModelStorage || model == kModelSoft; }
bool CElemD::HasIC() const { return type == kTypeD || type == kTypeZ || IsThyristor(); }

bool CElemD::Xml(CXmlNode* node, bool modelOnly) {
    CCmp::Xml(node, modelOnly);
    const bool zener = type == kTypeZ || type == kTypeZs;
    if (type != kTypeZs) node->Val("vd", vd);
    if (zener) {
        node->Val("v", v);
        icZ.Index = node->Int("ic", icZ.Index);
        if (icZ.Index < 0 || icZ.Index > 2) icZ.Index = 1;
    } else if (!IsQuad()) {
        ic = node->Bool("ic", ic != 0) ? 1 : 0;
    }
    if (IsThyristor()) node->Val("hold", ihold);
    if (type == kTypeVct || type == kTypeCct) node->Val("thr", threshold);
    if (type == kTypeD) {
        node->Val("t", t);
        node->Val("ts", ts);
        node->Val("icq", icq);
        if (!node->m_bWrite && icq.m_Value < 0) icq.m_Value = 0.0;
    }
    return true;
}

CParam* CElemD::BindParams() {
    if (model == kModelPwl) return qz3::BindParams(s_ParamsPwl, {&pwl});
    if (model == kModelStorage) return qz3::BindParams(s_ParamsStorage, {&t, &icq, &vd, &ic});
    if (model == kModelSoft) return qz3::BindParams(s_ParamsSoft, {&t, &ts, &icq, &vd, &ic});
    if (model != kModelDiode) return nullptr;
    switch (type) {
        case kTypeD: return qz3::BindParams(s_ParamsDiode, {&vd, &ic});
        case kTypeZ: return qz3::BindParams(s_ParamsZener, {&icZ, &v, &vd});
        case kTypeZs: return qz3::BindParams(s_ParamsZenerSym, {&icZ, &v});
        case kTypeVct: return qz3::BindParams(s_ParamsVct, {&vd, &ihold, &ic, &threshold});
        case kTypeCct: return qz3::BindParams(s_ParamsCct, {&vd, &ihold, &threshold, &ic});
        case kTypeLct: return qz3::BindParams(s_ParamsLct, {&vd, &ihold, &ic});
        default: return qz3::BindParams(s_ParamsBridge, {&vd});
    }
}

bool CElemD::CheckParams(CCalc* calc) {
    CParamCheck check(calc, this);
    if (model == kModelDiode || model == kModelStorage) {
        if (type != kTypeZs) check.Param(vd, "Vd").Fault(vd.m_Value < 0, "Vd < 0");
        if (type == kTypeZ || type == kTypeZs) check.Param(v, "V").Fault(v.m_Value < 0, "V < 0");
        if (IsThyristor()) check.Param(ihold, "Ihold").Fault(ihold.m_Value < 0, "Ihold < 0");
        if (type == kTypeVct || type == kTypeCct)
            check.Param(threshold, "Threshold").Fault(std::isinf(threshold.m_Value), "Threshold = infinite");
    }
    if (HasCharge()) {
        check.Param(t, "t").Fault(std::isinf(t.m_Value), "t = infinite").Fault(t.m_Value < 0, "t < 0");
        check.Param(icq, "ICQ").Fault(std::isinf(icq.m_Value), "ICQ = infinite").Fault(icq.m_Value < 0, "ICQ < 0");
    }
    // The line names the recovery time "tsr", as users of the model know it.
    if (model == kModelSoft)
        check.Param(ts, "tsr").Fault(std::isinf(ts.m_Value), "tsr = infinite").Fault(ts.m_Value < 0, "tsr < 0");
    return check.Ok();
}

int CElemD::PinKind(int pin) const { return type == kTypeLct && pin == 2 ? kPinSensing : kPinAnalog; }

bool CElemD::Simulate(CCalc* calc, int phase, double time) {
    switch (phase) {
        case PhaseInit:
            Init(calc);
            return model == kModelPwl ? pwl.Prepare(calc) : true;
        case PhaseStore:
            if (HasCharge()) q = std::fmax(0.0, calc->VecX[firstBranch + 1]);
            return true;
        case PhaseStamp: return Stamp(calc);
        case PhaseFloat: return model == kModelDiode ? FloatFix(calc) : true;
        case PhasePins: SetPinGroups(); return true;
        default: return true;
    }
}

void CElemD::Init(CCalc* calc) {
    if (model != lastModel) InitState();
    if (lastModel != 0) return;
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
    if (model == kModelStorage || model == kModelSoft) {
        state = ic;
        q = t.m_Value > 0 && ic ? icq.m_Value : 0.0;
        return;
    }
    if (model != kModelDiode) return;
    if (type == kTypeD) {
        state = vdInfinite ? 0 : ic;
    } else if (type == kTypeZ) {
        state = icZ.Index - 1;
        if ((state == 1 && vdInfinite) || (state == -1 && std::isinf(v.m_Value))) state = 0;
    } else if (type == kTypeZs) {
        state = std::isinf(v.m_Value) ? 0 : icZ.Index - 1;
    } else if (IsThyristor()) {
        state = vdInfinite ? 0 : ic;
        stage = state > 0 ? 2 : 0;
    }
}

void CElemD::SetPinGroups() {
    int* groups = nodes + pinCount;
    for (int p = 0; p < pinCount; ++p) groups[p] = 1;
    if (type == kTypeVct) {
        groups[2] = 2;
        groups[3] = 3;
    } else if (type == kTypeCct) {
        groups[2] = groups[3] = 2;
    } else if (type == kTypeLct) {
        groups[2] = 2;
    }
}

bool CElemD::SegmentRange(int* first, int* last) {
    if (model == kModelPwl) {
        *first = pwl.m_First;
        *last = pwl.LastSegment();
        return *first < *last;
    }
    *first = 0;
    *last = 1;
    if (model == kModelStorage) {
        if (t.m_Value > 0 && stage > 0) *first = -1;
        return true;
    }
    // A recovering "Soft" diode and a blocked thyristor are left alone.
    if ((model == kModelSoft && state != 0) || (IsThyristor() && stage == 0)) {
        *last = 0;
        return false;
    }
    if (type == kTypeZ || type == kTypeZs) *first = -1;
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
    if (!HasIC() || model == kModelPwl || model == kModelSubCir) return out;
    const std::string text = StateForIC(this, index, index == 0 ? GetState() : std::string());
    if (text.empty()) return out;
    const int s = KeyInt(text, "s", state);
    if (type == kTypeZ) {
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
    } else if (edit.kind == 2 && (type == kTypeD || IsQuad())) {
        vd.SetValue(edit.factor);
    }
}

}  // namespace qz3
