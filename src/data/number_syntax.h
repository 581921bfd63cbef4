#pragma once
// The number syntax shared by the keyword formats and the photometry files: optional sign,
// decimal digits, optionally "." and digits, of which only the first 11 count. No exponent,
// no leading point (though a sign may stand directly before the point: "-.5"), no inf or nan.
// The value is built digit by digit and the sign applied last.

namespace kurvalux_data {

inline bool IsDecimalDigit(char c) {
    return c >= '0' && c <= '9';
}

// Parses at `p` (no blanks skipped). On success advances `p` past the number. A "." that is
// the last byte before `end` fails.
inline bool ParseDecimalNumber(const char*& p, const char* end, double& value) {
    static constexpr double kFractionWeights[11] = {1e-1, 1e-2, 1e-3, 1e-4,  1e-5, 1e-6,
                                                    1e-7, 1e-8, 1e-9, 1e-10, 1e-11};
    const char* q = p;
    bool negative = false, signed_number = false;
    if (q < end && (*q == '+' || *q == '-')) {
        negative = *q++ == '-';
        signed_number = true;
    }
    if (q >= end || !(IsDecimalDigit(*q) || (signed_number && *q == '.'))) return false;
    double v = 0;
    bool digits = false;
    while (q < end && IsDecimalDigit(*q)) {
        v = v * 10.0 + (*q++ - '0');
        digits = true;
    }
    if (q < end && *q == '.') {
        if (q + 1 >= end) return false;
        ++q;
        int k = 0;
        while (q < end && IsDecimalDigit(*q)) {
            if (k < 11) v += (*q - '0') * kFractionWeights[k++];
            ++q;
            digits = true;
        }
    }
    if (!digits) return false;
    value = negative ? -v : v;
    p = q;
    return true;
}

}  // namespace kurvalux_data
