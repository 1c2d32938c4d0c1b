// Any text, in every mode of the evaluator, must end in a value or a
// message: no crash, no hang, no read outside the text.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "expr/eval_expr.h"
#include "expr/var_list.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace qz3;
    if (size == 0) return 0;
    uint8_t mode = data[0];
    std::string_view text(reinterpret_cast<const char*>(data + 1), size - 1);
    CVarList vars;
    vars.Add("t", vtDouble, 0)->Value->SetDouble(1e-3);
    vars.Add("n", vtInt, 0)->Value->SetInt(3);
    CVarEntry* a = vars.Add("a", vtInt, 4);
    for (int i = 0; i < 4; ++i) a->Value[i].SetInt(i);
    vars.Add("z", vtComplex, 0)->Value->SetComplex(1, -1);
    double result = 0;
    CValue typed;
    EvalExpr(text, &result, nullptr, &vars, nullptr, mode & 1, nullptr, &typed, mode & 2, mode & 4, mode & 8);
    return 0;
}
