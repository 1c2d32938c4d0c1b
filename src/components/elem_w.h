// Ideal magnetic windings and ideal transformers: no magnetising current,
// no leakage, no loss.
//
// | type       | pins                                   | model                |
// | "W_W"      | 0, 1 the winding; 2 the magnetic node  | "Winding"            |
// | "W_T2"     | 0, 1 first; 2, 3 second winding        | "Transformer"        |
// | "W_T3"     | 0, 1 first; 2, 4 and 4, 3 second       | "Transformer"        |
// | "W_CUSTOM" | two per winding, from the custom box   | "Transformer"        |
//
// Each winding has a current unknown w whose row says that its voltage is
// its turns times the volts per turn of the core: x[b] - x[a] = n * core.
// The core's row says that the ampere-turns of all its windings sum to 0.
// For "W_W" the core is the magnetic node of pin 2, which any number of
// windings share; the transformers keep the core as an unknown of their
// own in front of the windings'. The power of all windings on one core
// thus sums to zero.
#pragma once

#include <string>
#include <vector>

#include "components/cmp.h"
#include "expr/formula.h"

namespace qz3 {

extern const CParamTable kWindingParams;
extern const CModelInfo kModelsWW[];
extern const CModelInfo kModelsWT[];
extern const CModelInfo kModelsWCustom[];

class CElemW : public CCmp {
public:
    explicit CElemW(const CCmpType* type) : CCmp(type) {}

    void BeginCustom() override;
    void EndCustom() override;
    bool Xml(CXmlNode* node, bool modelOnly) override;
    CParam* BindParams() override;
    bool CheckParams(CSolverPort* calc) override;
    int AssignBranches(CSolverPort* calc, int first) override;
    bool Simulate(CSolverPort* calc, int phase, double t) override;

    CFormula n;   // "W_W"
    CFormula n1;  // "W_T2", "W_T3": first winding
    CFormula n2;  // second winding (both halves of "W_T3")
    // "W_CUSTOM": turns of each winding, rows "n1".."nN".
    std::vector<CFormula> turns;

private:
    bool IsCustom() const { return type == TypeId::CustomTransformer; }
    int WindingCount() const;
    void ResizeCustomTurns(int windings);
    void Stamp(CSolverPort* calc);
    // The winding of pins a, b on unknown w, with n turns on the core of
    // unknown c: its voltage is n * x[c], its ampere-turns enter row c.
    void StampWinding(CSolverPort* calc, int a, int b, int w, int c, double turnsValue);
    void SetPinGroups();

    std::vector<std::string> m_TurnNames;
    std::vector<CParam> m_CustomParams;
};

}  // namespace qz3
