// The function blocks: one output driven by a function of the inputs,
// chosen by the model.
//
// | type       | pins                         |
// | "F_1"      | x, out                       |
// | "F_1C"     | x, out, clk                  |
// | "F_2"      | x, y, out                    |
// | "F_2C"     | x, y, out, clk               |
// | "F_CUSTOM" | the box's inputs, out [, clk] |
// | "Y_BUS"    | the bus bits, highest first, bus |
//
// Models: a formula of t and the inputs by name ("Function"), power, abs,
// rounding to a resolution, limits, the arithmetic of two inputs, their
// maximum, minimum, comparisons, magnitude and phase, a table over one or
// two inputs, and a bus that reads its logic inputs as a binary number.
// The output is an ideal source, read from the last solution's inputs at
// each step; a clocked block computes only on the clock's rising edge and
// holds its output in between. In AC the output follows the inputs by the
// small-signal gains at the operating point.
#pragma once

#include <string>
#include <vector>

#include "components/cmp.h"
#include "components/function_table.h"
#include "expr/formula.h"
#include "expr/param.h"
#include "expr/var_list.h"

namespace qz3 {

extern const CParamTable kFunctionBlockParams;
extern const CModelInfo kModelsF1[];
extern const CModelInfo kModelsF2[];
extern const CModelInfo kModelsFCustom[];
extern const CModelInfo kModelsBus[];

class CElemF : public CCmp {
public:
    explicit CElemF(const CCmpType* type);

    void BeginCustom() override { MakeCustom(); }
    void EndCustom() override;
    int PinKind(int pin) const override { return pin == OutputPin() ? kPinAnalog : kPinSensing; }
    std::string PinName(int pin) const override;
    bool Simulate(CSolverPort* calc, int phase, double t) override;
    bool CheckState(CSolverPort* calc, bool commit, bool* changed) override;
    std::string GetState() override;

    int Inputs() const { return m_Inputs; }
    int OutputPin() const { return m_Inputs; }
    // The result of the model for these inputs; false with the line.
    bool Evaluate(CSolverPort* calc, double t);

    CFormula m_K;            // K
    std::string m_Func;      // f of "Function"
    CFormula m_IC;           // the output before the first computing
    ChoiceValue m_Format;    // "Bus": 0 unsigned, 1 two's complement
    CFormula m_Res;          // "Int": resolution
    CFormula m_Pow;          // "Pwr": exponent
    CFormula m_Max, m_Min;   // "Lim"
    std::string m_Table, m_TableX, m_TableY;  // "Table"
    int m_Clocked = 0;
    double m_Out = 0.0;

private:
    bool Init(CSolverPort* calc);
    bool PrepareVariables(CSolverPort* calc);
    bool Stamp(CSolverPort* calc);
    bool Linearize(CSolverPort* calc, double t);
    double Input(const CSolverPort* calc, int i) const;
    double Power(double x, double e) const;
    double Bus(const CSolverPort* calc) const;
    double Logic(const CSolverPort* calc, bool above) const;
    bool FunctionValue(CSolverPort* calc, double t, double& out);
    bool FunctionGains(CSolverPort* calc, double t);
    void GainsOfModel(CSolverPort* calc);
    bool HasFixedExponent() const;

    int m_Inputs = 1;
    std::vector<std::string> m_PinNames;
    CVarList m_Vars;              // "Function": t, then one double per input
    std::vector<CValue*> m_InputValue;
    CFunctionTable m_Points;      // "Table"
    std::vector<double> m_Gain;   // small-signal gain per input
};

}  // namespace qz3
