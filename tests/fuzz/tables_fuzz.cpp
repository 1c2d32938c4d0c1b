// Table texts: a piecewise-linear characteristic and its segment search,
// and a transfer function's roots. No text may crash, hang or read outside.
#include <cstddef>
#include <cstdint>
#include <string>

#include "components/transfer_function.h"
#include "waveforms/pwl.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    qz3::CPWL table;
    table.m_Text = text;
    table.SetLabels("V", "K", "K(V)", "V(V)");
    std::string error;
    if (table.Prepare(error)) {
        for (double v : {-1e300, -1.0, 0.0, 0.5, 1e300})
            while (table.CheckSegment(v, true)) {
            }
    }
    qz3::CPolynomialRatio ratio;
    if (ratio.FromRoots(text, 2.0)) {
        std::complex<double> h;
        ratio.At({0.0, 1.0}, h);
    }
    return 0;
}
