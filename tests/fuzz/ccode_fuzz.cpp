// Any text as a C-code program must parse to a tree or a message, and a
// tree must run to its end or a message: no crash, no hang, no read
// outside the text. The host's time allowance runs out after a few checks,
// so that loops without end stop quickly.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "expr/ccode_node.h"
#include "expr/var_list.h"

namespace {

class CFuzzHost : public qz3::CCodeHost {
public:
    qz3::CDoc* Doc() override { return nullptr; }
    bool StopRequested() override { return false; }
    bool TimedOut() override { return ++m_Checks > 20; }

private:
    int m_Checks = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace qz3;
    std::string_view text(reinterpret_cast<const char*>(data), size);
    CFuzzHost host;
    CCodeNode root;
    root.Host = &host;
    CVarList vars;
    vars.Add("t", vtDouble, 0)->Value->SetDouble(1e-3);
    vars.Add("x1", vtDouble, 0)->Value->SetDouble(2.5);
    vars.Add("y1", vtDouble, 2);
    if (!root.Parse(text)) return 0;
    const int32_t top = vars.Count();
    if (root.Run(0, &vars, top, kRunAll) == kCodeFailed) return 0;
    if (root.Run(0, &vars, vars.Count(), kRunInit) == kCodeFailed) return 0;
    const int32_t steps = vars.Count();
    for (int step = 0; step < 3; ++step) {
        if (root.Run(0, &vars, steps, kRunMain) == kCodeFailed) break;
        vars.Truncate(steps);
    }
    RunInitialValues(text, &vars, nullptr, &host);
    return 0;
}
