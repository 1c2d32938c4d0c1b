// Integer arithmetic that wraps like the machine's registers, without the
// undefined behaviour of signed overflow; shared by the evaluator's
// operators and the assignment operators of the C-code language.
#pragma once

#include <type_traits>

namespace qz3 {

template <class T>
T WrapAdd(T a, T b) {
    using U = std::make_unsigned_t<T>;
    return static_cast<T>(static_cast<U>(a) + static_cast<U>(b));
}
template <class T>
T WrapSub(T a, T b) {
    using U = std::make_unsigned_t<T>;
    return static_cast<T>(static_cast<U>(a) - static_cast<U>(b));
}
template <class T>
T WrapMul(T a, T b) {
    using U = std::make_unsigned_t<T>;
    return static_cast<T>(static_cast<U>(a) * static_cast<U>(b));
}
template <class T>
T WrapNeg(T a) {
    using U = std::make_unsigned_t<T>;
    return static_cast<T>(U(0) - static_cast<U>(a));
}
// The one quotient that overflows (most negative by -1) wraps to itself.
template <class T>
T WrapDiv(T a, T b) {
    return b == T(-1) ? WrapNeg(a) : static_cast<T>(a / b);
}
// Its remainder is 0, which the machine would trap on.
template <class T>
T WrapRem(T a, T b) {
    return b == T(-1) ? T(0) : static_cast<T>(a % b);
}
// Shifts take the count modulo the width; right shifts are arithmetic.
template <class T>
T WrapShl(T a, int count) {
    using U = std::make_unsigned_t<T>;
    return static_cast<T>(static_cast<U>(a) << (static_cast<unsigned>(count) % (sizeof(T) * 8)));
}
template <class T>
T WrapShr(T a, int count) {
    return static_cast<T>(a >> (static_cast<unsigned>(count) % (sizeof(T) * 8)));
}

}  // namespace qz3
