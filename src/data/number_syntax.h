#pragma once
// The number syntax shared by the keyword formats and the photometry files: optional sign,
// decimal digits, optionally "." and digits, of which only the first 11 count. No exponent,
// no leading point (though a sign may stand directly before the point: "-.5"), no inf or nan.
// The value is built digit by digit and the sign applied last.

namespace kurvalux_data {

inline bool IsDecimalDigit(char c) {
    return c >= '0' && c <= '9';
}

// Numbers in the field's files are Julian dates, magnitudes, periods, apertures: nothing comes
// near 1e15. A larger magnitude (a typing slip, a run-away digit string, an overflow to
// infinity) is refused rather than stored, since it could neither be used nor be written back
// and read again to the same value.
constexpr double kMaxFileNumber = 1e15;

enum class NumberParse { Ok, NotANumber, OutOfRange };

// Parses at `p` (no blanks skipped). On success advances `p` past the number; a number out of
// range is consumed too, so that the caller can name it. A "." that is the last byte before
// `end` is not a number.
inline NumberParse ParseDecimalNumberChecked(const char*& p, const char* end, double& value) {
    static constexpr double kFractionWeights[11] = {1e-1, 1e-2, 1e-3, 1e-4,  1e-5, 1e-6,
                                                    1e-7, 1e-8, 1e-9, 1e-10, 1e-11};
    const char* q = p;
    bool negative = false, signed_number = false;
    if (q < end && (*q == '+' || *q == '-')) {
        negative = *q++ == '-';
        signed_number = true;
    }
    if (q >= end || !(IsDecimalDigit(*q) || (signed_number && *q == '.')))
        return NumberParse::NotANumber;
    double v = 0;
    bool digits = false;
    while (q < end && IsDecimalDigit(*q)) {
        v = v * 10.0 + (*q++ - '0');
        digits = true;
    }
    if (q < end && *q == '.') {
        if (q + 1 >= end) return NumberParse::NotANumber;
        ++q;
        int k = 0;
        while (q < end && IsDecimalDigit(*q)) {
            if (k < 11) v += (*q - '0') * kFractionWeights[k++];
            ++q;
            digits = true;
        }
    }
    if (!digits) return NumberParse::NotANumber;
    p = q;
    if (!(v < kMaxFileNumber)) return NumberParse::OutOfRange;  // also catches infinity
    value = negative ? -v : v;
    return NumberParse::Ok;
}

// The same, where a number out of range is simply not a number.
inline bool ParseDecimalNumber(const char*& p, const char* end, double& value) {
    const char* q = p;
    if (ParseDecimalNumberChecked(q, end, value) != NumberParse::Ok) return false;
    p = q;
    return true;
}

}  // namespace kurvalux_data
