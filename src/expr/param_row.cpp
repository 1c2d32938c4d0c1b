#include "expr/param_row.h"

#include <cmath>

namespace qz3 {

bool ParamTestFails(ParamTest test, double value) {
    switch (test) {
        case ParamTest::Negative: return value < 0.0;
        case ParamTest::NotPositive: return value <= 0.0;
        case ParamTest::BelowMinusOne: return value < -1.0;
        case ParamTest::AboveOne: return value > 1.0;
        case ParamTest::NotANumber: return std::isnan(value);
        default: return std::isinf(value);
    }
}

std::string ParamTestLine(ParamTest test, const std::string& name) {
    switch (test) {
        case ParamTest::Infinite: return name + " = infinite";
        case ParamTest::InfiniteColon: return name + " : infinite";
        case ParamTest::InfiniteBlank: return name + " = infinite ";
        case ParamTest::Negative: return name + " < 0";
        case ParamTest::NotPositive: return name + " <= 0";
        case ParamTest::BelowMinusOne: return name + " < -1";
        case ParamTest::AboveOne: return name + " > 1";
        case ParamTest::NotANumber: return name + " : formula error";
    }
    return name;
}

}  // namespace qz3
