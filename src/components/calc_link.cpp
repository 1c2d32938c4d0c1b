#include "components/calc_link.h"

#include "components/cmp.h"
#include "components/solver_port.h"

namespace qz3 {

void AppendSolverError(CSolverPort* calc, const std::string& text) {
    if (calc) calc->AppendError(text);
}

bool ReportCmpError(CSolverPort* calc, const CCmp* cmp, const std::string& text) {
    AppendSolverError(calc, (cmp ? cmp->FullName() : std::string()) + " : " + text + "\n");
    return false;
}

}  // namespace qz3
