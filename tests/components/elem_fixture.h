// Elements made from the type table, wired by hand to a hand-sized solver,
// and solved the way the switching search does: assemble, solve, let every
// element move its state, until none wants to.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <memory>
#include <vector>

#include "components/cmp.h"
#include "components/elem_set.h"
#include "xml/xml_node.h"
#include "solver/calc.h"

namespace qz3::test {

template <class T>
std::unique_ptr<T> MakeElem(const char* type, const char* model = nullptr, const char* name = "X1") {
    auto elem = std::unique_ptr<T>(static_cast<T*>(CElemSet::Instance().Create(type, nullptr)));
    elem->name = name;
    if (model) elem->model = elem->FindModel(model, false)->model;
    return elem;
}

// A copy made by saving the element and loading the text into a new one.
template <class T>
std::unique_ptr<T> RoundTrip(T* elem) {
    CXmlNode out("Cmp");
    out.m_bWrite = true;
    elem->Xml(&out, false);
    std::string text;
    out.ToText(text);
    CXmlNode in;
    in.ParseText(text, static_cast<int>(text.find('<')) + 1);
    in.m_bWrite = false;
    auto copy = MakeElem<T>(elem->typeInfo->typeName);
    copy->Xml(&in, false);
    return copy;
}

struct ElemNet {
    CCalc calc;
    std::vector<CCmp*> elems;
    std::function<void(CCalc&)> sources;  // stamps of the rest of the circuit

    ElemNet(int nodes, int branches) {
        calc.SetSizes(nodes, branches, 0);
        EXPECT_TRUE(calc.AllocArrays()) << calc.m_Error;
    }
    int Branch(int i) const { return calc.m_NodeCount + 1 + i; }

    // Pins to nodes, and the branches from `first` on.
    void Wire(CCmp* elem, std::initializer_list<int> pinNodes, int first) {
        int p = 0;
        for (int node : pinNodes) elem->nodes[p++] = node;
        elem->AssignBranches(&calc, first);
        elems.push_back(elem);
    }

    bool Solve() {
        calc.ClearMatrices();
        for (int pass = 0; pass < 2; ++pass) {
            calc.m_StampPass = pass;
            for (CCmp* e : elems)
                if (!e->Simulate(&calc, PhaseStamp, calc.m_Time)) return false;
            if (pass == 0 && sources) sources(calc);
        }
        calc.FinishAssembly();
        calc.LoadDcRightSide();
        calc.SolveReal();
        return calc.ResolveLinks();
    }

    // Solves and lets the elements move until all agree; the number of
    // solves, or -1 on failure or after 20 rounds.
    int SolveStates() {
        for (int round = 1; round <= 20; ++round) {
            if (!Solve()) return -1;
            bool moved = false;
            for (CCmp* e : elems) moved = e->CheckSegment(&calc, true) || moved;
            if (!moved) return round;
        }
        return -1;
    }

    double X(int i) const { return calc.VecX[i]; }
};

}  // namespace qz3::test
