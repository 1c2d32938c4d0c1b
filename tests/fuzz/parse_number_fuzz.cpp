// Number text from arbitrary bytes: the parser must never crash, read out of
// bounds or leave a message-less failure, and every double it accepts must
// print to engineering text that parses back.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "expr/number_text.h"
#include "expr/state_text.h"

using namespace qz3;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    for (bool prefixes : {true, false}) {
        CValue v;
        ExprError().clear();
        if (!ParseNumber(text, v, prefixes)) {
            if (ExprError().empty()) std::abort();
            continue;
        }
        const std::string printed = ValueToText(v);
        if (v.Type == vtDouble && std::isfinite(v.Re())) {
            double back = 0;
            if (!ParseDouble(printed, back)) std::abort();
            if (std::fabs(back - v.Re()) > std::fabs(v.Re()) * 1e-11) std::abort();
        }
        for (ValueType t : {vtComplex, vtDouble, vtInt64, vtInt, vtBool}) {
            CValue c = v;
            c.Convert(t);
            (void)ValueToText(c);
        }
    }
    (void)TextToDouble(text);
    const std::string zeroTerminated(text);
    (void)HexToDouble(zeroTerminated.c_str());
    (void)ListCount(text);
    (void)KeyStr(text, "a");
    (void)KeyBraced(text, "s");
    (void)KeyInt(text, "c", 0);
    (void)KeyDouble(text, "d", 0);
    return 0;
}
