// A document built in code for runs of the solver: resistors, capacitors and
// a probe element that can be a voltage source, count what the solver asks
// of it, and refuse to settle.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "components/cmp.h"
#include "components/cmps.h"
#include "components/elem_c.h"
#include "components/elem_r.h"
#include "components/elem_set.h"
#include "document/doc.h"
#include "solver/calc.h"

namespace qz3::test {

inline const CModelInfo kProbeModels[] = {{"Probe", static_cast<ModelId>(99), nullptr, 0, 1}, {}};
inline const CCmpType kProbeType = {"T_Probe", static_cast<TypeId>(999), nullptr, 2, nullptr, nullptr, nullptr, kProbeModels, nullptr, 0, "Probe"};

class CProbe : public CCmp {
public:
    CProbe() : CCmp(&kProbeType) {}

    bool Simulate(CSolverPort* calc, int phase, double t) override {
        switch (phase) {
            case PhaseStamp:
                if (calc->StampPass() != 0) return true;
                ++stamps;
                if (std::isnan(volts)) {
                    calc->SetG(firstBranch, firstBranch, 1);
                    return true;
                }
                return calc->StampVoltage(nodes[0], nodes[1], firstBranch, volts) || calc->CmpError(this, nullptr);
            case PhaseHistory: history.push_back(t); return true;
            case PhaseEval: ++evals; return true;
            default: return true;
        }
    }
    // A probe that never settles moves on to a new segment at every look.
    bool CheckSegment(CSolverPort* calc, bool commit) override {
        if (!restless) return false;
        if (commit) ++state;
        return true;
    }
    bool SegmentRange(int* first, int* last) override {
        *first = 0;
        *last = 1000000;
        return restless;
    }

    double volts = std::numeric_limits<double>::quiet_NaN();
    bool restless = false;
    int stamps = 0;
    int evals = 0;
    std::vector<double> history;
};

struct RunDoc {
    CDoc doc;
    CCalc& calc = *doc.m_Calc;

    explicit RunDoc(double step = 1e-6) { doc.m_TranSettings.m_Step = step; }

    template <class T>
    T* Add(T* cmp, const std::string& name, int a, int b) {
        cmp->name = name;
        cmp->nodes[0] = a;
        cmp->nodes[1] = b;
        doc.m_Cmps->Add(cmp);
        return cmp;
    }
    CElemR* R(const std::string& name, int a, int b, double ohms) {
        auto* r = static_cast<CElemR*>(CElemSet::Instance().Create("R_R", doc.m_Cmps.get()));
        r->r.m_Value = ohms;
        return Add(r, name, a, b);
    }
    // The voltage is x[b] - x[a]; NaN leaves the IC blank.
    CElemC* C(const std::string& name, int a, int b, double farads, double ic) {
        auto* c = static_cast<CElemC*>(CElemSet::Instance().Create("C_C", doc.m_Cmps.get()));
        c->c.m_Value = farads;
        c->ic.m_Value = ic;
        return Add(c, name, a, b);
    }
    CProbe* Probe(const std::string& name, int a, int b, double volts = std::numeric_limits<double>::quiet_NaN()) {
        auto* p = Add(new CProbe, name, a, b);
        p->volts = volts;
        return p;
    }
    double X(int node) const { return calc.VecX[node]; }
    // A run built and ready for its operating point, without taking it.
    bool Prepare() {
        calc.BeginRun(true);
        return calc.StartRun();
    }
};

}  // namespace qz3::test
