// A solver with hand-made sizes and hand-made stamps, solved as the DC attempt does.
#pragma once

#include <gtest/gtest.h>

#include "solver/calc.h"

namespace qz3::test {

struct CalcNet {
    CCalc calc;

    CalcNet(int nodes, int branches, int signals = 0) {
        calc.SetSizes(nodes, branches, signals);
        EXPECT_TRUE(calc.AllocArrays()) << calc.m_Error;
        calc.ClearMatrices();
    }

    // Index of branch unknown i.
    int Branch(int i) const { return calc.m_NodeCount + 1 + i; }

    bool Solve() {
        calc.FinishAssembly();
        calc.LoadDcRightSide();
        calc.SolveReal();
        return calc.ResolveLinks();
    }

    double X(int i) const { return calc.VecX[i]; }
    int Bad(int i) const { return calc.NodeBad[i]; }
};

}  // namespace qz3::test
