// The transfer-function blocks' table: their formula of s (or z) and the
// shared coefficient, initial-value and root rows.
#include "components/elem_ac.h"

namespace qz3 {

namespace {

constexpr auto kRows = TransferRows(TextRow(kParamFunction, "f", "f", MemberAt<&CElemAC::text>, "1"),
                                    FormulaRow("K", "", "k", MemberAt<&CTransferElement::K>, 1.0, {ParamTest::Infinite}));

}  // namespace

const CParamTable kTransferFunctionParams = ParamTableOf(kRows);
const CModelInfo* const kModelsFS = TransferModels<0>::kRows;
const CModelInfo* const kModelsFZ = TransferModels<0>::kRows;

}  // namespace qz3
