// _ZEBFAULT_
// Arithmetic that the controls need without undefined behaviour for extreme inputs: for every
// input whose exact result fits an int, the result is the plain C++ one.
#ifndef CLS_ZEB_MATH_H
#define CLS_ZEB_MATH_H

#include <cmath>
#include <cstdint>
#include <limits>

class CLS_ZebMath {
public:
    // (int)_dValue: truncation toward zero, saturated at the int range; NaN gives 0.
    static int TruncToInt(double _dValue) {
        if (std::isnan(_dValue))
            return 0;
        if (_dValue <= static_cast<double>(std::numeric_limits<int>::min()))
            return std::numeric_limits<int>::min();
        if (_dValue >= static_cast<double>(std::numeric_limits<int>::max()))
            return std::numeric_limits<int>::max();
        return static_cast<int>(_dValue);
    }

    // Saturates a 64-bit value to the int range.
    static int Saturate(std::int64_t _llValue) {
        if (_llValue < std::numeric_limits<int>::min())
            return std::numeric_limits<int>::min();
        if (_llValue > std::numeric_limits<int>::max())
            return std::numeric_limits<int>::max();
        return static_cast<int>(_llValue);
    }

    // _iA * _iB / _iC with truncating division, computed in 64 bits and saturated; _iC must not be 0.
    static int MulDiv(int _iA, int _iB, int _iC) {
        return Saturate(static_cast<std::int64_t>(_iA) * _iB / _iC);
    }

    // _iA + _iB (or - _iB), saturated.
    static int Add(int _iA, int _iB) { return Saturate(static_cast<std::int64_t>(_iA) + _iB); }
    static int Sub(int _iA, int _iB) { return Saturate(static_cast<std::int64_t>(_iA) - _iB); }
    // -_iA, saturated (so INT_MIN gives INT_MAX).
    static int Negate(int _iA) { return Saturate(-static_cast<std::int64_t>(_iA)); }
};

#endif // CLS_ZEB_MATH_H
