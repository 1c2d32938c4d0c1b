// Constants of the numerics. They keep these digits everywhere (formulas,
// signals, solver, traces), so that results agree between the parts.
#pragma once

namespace qz3 {

constexpr double kPi = 3.14159265358;
constexpr double kTwoPi = 6.28318530716;

}  // namespace qz3
