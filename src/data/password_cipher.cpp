#include "data/password_cipher.h"

#include <charconv>

namespace kurvalux_data {
namespace {
constexpr std::string_view kCipherKey = "KuRvaLuX-variable-star-photometry";
}

std::string EncipherPassword(std::string_view plain) {
    static const char* digits = "0123456789ABCDEF";
    std::string out;
    out.reserve(plain.size() * 2);
    for (size_t i = 0; i < plain.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(plain[i]) ^
                                static_cast<unsigned char>(kCipherKey[i % kCipherKey.size()]);
        out.push_back(digits[c >> 4]);
        out.push_back(digits[c & 15]);
    }
    return out;
}

bool DecipherPassword(std::string_view hex, std::string& plain) {
    if (hex.size() % 2) return false;
    std::string out;
    for (size_t i = 0; i < hex.size(); i += 2) {
        unsigned value = 0;
        auto r = std::from_chars(hex.data() + i, hex.data() + i + 2, value, 16);
        if (r.ec != std::errc() || r.ptr != hex.data() + i + 2) return false;
        out.push_back(static_cast<char>(
            value ^ static_cast<unsigned char>(kCipherKey[(i / 2) % kCipherKey.size()])));
    }
    plain = out;
    return true;
}

}  // namespace kurvalux_data
