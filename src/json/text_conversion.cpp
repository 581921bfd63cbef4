#include "json/text_conversion.h"

#include <cstdint>

namespace sjson {
namespace {

// Unicode of the bytes 0x80-0x9F; the unassigned ones keep their C1 control.
constexpr char16_t kHighControls[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

char32_t ToUnicode(unsigned char byte) {
    return byte >= 0x80 && byte < 0xA0 ? kHighControls[byte - 0x80] : byte;
}

char ToAnsi(char32_t code) {
    if (code < 0x80 || (code >= 0xA0 && code <= 0xFF)) return static_cast<char>(code);
    for (unsigned i = 0; i < 32; ++i)
        if (kHighControls[i] == code) return static_cast<char>(0x80 + i);
    return '?';
}

void AppendUtf8(std::string& out, char32_t code) {
    if (code < 0x80) {
        out.push_back(static_cast<char>(code));
    } else if (code < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (code >> 6)));
        out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    } else {  // every character of the code page lies in the Basic Multilingual Plane
        out.push_back(static_cast<char>(0xE0 | (code >> 12)));
        out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    }
}

bool IsContinuation(unsigned char byte, unsigned char low = 0x80, unsigned char high = 0xBF) {
    return byte >= low && byte <= high;
}

// The well-formed UTF-8 sequence at `i`: its length and code point, or 0 when there is none.
size_t DecodeUtf8(const std::string& text, size_t i, char32_t& code) {
    const auto at = [&](size_t k) { return static_cast<unsigned char>(text[k]); };
    const unsigned char lead = at(i);
    const size_t left = text.size() - i;
    if (lead < 0x80) {
        code = lead;
        return 1;
    }
    if (lead >= 0xC2 && lead <= 0xDF && left >= 2 && IsContinuation(at(i + 1))) {
        code = static_cast<char32_t>(((lead & 0x1F) << 6) | (at(i + 1) & 0x3F));
        return 2;
    }
    if (lead >= 0xE0 && lead <= 0xEF && left >= 3) {
        // No overlong forms (E0 needs A0 or more) and no surrogates (ED allows 9F at most).
        const unsigned char low = lead == 0xE0 ? 0xA0 : 0x80;
        const unsigned char high = lead == 0xED ? 0x9F : 0xBF;
        if (!IsContinuation(at(i + 1), low, high) || !IsContinuation(at(i + 2))) return 0;
        code = static_cast<char32_t>(((lead & 0x0F) << 12) | ((at(i + 1) & 0x3F) << 6) |
                                     (at(i + 2) & 0x3F));
        return 3;
    }
    if (lead >= 0xF0 && lead <= 0xF4 && left >= 4) {
        const unsigned char low = lead == 0xF0 ? 0x90 : 0x80;
        const unsigned char high = lead == 0xF4 ? 0x8F : 0xBF;
        if (!IsContinuation(at(i + 1), low, high) || !IsContinuation(at(i + 2)) ||
            !IsContinuation(at(i + 3)))
            return 0;
        code = static_cast<char32_t>(((lead & 0x07) << 18) | ((at(i + 1) & 0x3F) << 12) |
                                     ((at(i + 2) & 0x3F) << 6) | (at(i + 3) & 0x3F));
        return 4;
    }
    return 0;
}

std::string AnsiToUtf16(const std::string& text) {
    std::string out;
    out.reserve(2 * text.size());
    for (char c : text) {
        const char32_t code = ToUnicode(static_cast<unsigned char>(c));
        out.push_back(static_cast<char>(code & 0xFF));
        out.push_back(static_cast<char>(code >> 8));
    }
    return out;
}

std::string AnsiToUtf8(const std::string& text) {
    std::string out;
    out.reserve(text.size() + text.size() / 2);
    for (char c : text) AppendUtf8(out, ToUnicode(static_cast<unsigned char>(c)));
    return out;
}

std::string Utf16ToAnsi(const std::string& bytes) {
    std::string out;
    out.reserve(bytes.size() / 2);
    const auto unit = [&](size_t k) {
        return static_cast<char16_t>(static_cast<unsigned char>(bytes[2 * k]) |
                                     static_cast<unsigned char>(bytes[2 * k + 1]) << 8);
    };
    const size_t units = bytes.size() / 2;
    for (size_t k = 0; k < units; ++k) {
        const char16_t u = unit(k);
        if (u >= 0xD800 && u <= 0xDBFF && k + 1 < units && unit(k + 1) >= 0xDC00 &&
            unit(k + 1) <= 0xDFFF) {
            ++k;  // a pair: a character beyond the code page
            out.push_back('?');
        } else {
            out.push_back(ToAnsi(u));  // a lone surrogate is no character of the code page
        }
    }
    return out;
}

std::string Utf8ToAnsi(const std::string& text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size();) {
        char32_t code = 0;
        const size_t length = DecodeUtf8(text, i, code);
        if (length == 0) {
            out.push_back(text[i++]);
        } else {
            out.push_back(ToAnsi(code));
            i += length;
        }
    }
    return out;
}

bool HasHighBytes(const std::string& text) {
    for (char c : text)
        if (static_cast<unsigned char>(c) >= 0x80) return true;
    return false;
}

}  // namespace

void ConvertText(std::string& buffer, ETextConversion mode) {
    switch (mode) {
        case ETextConversion::AnsiToUtf16:
            buffer = AnsiToUtf16(buffer);
            break;
        case ETextConversion::AnsiToUtf8:
            if (HasHighBytes(buffer)) buffer = AnsiToUtf8(buffer);
            break;
        case ETextConversion::Utf16ToAnsi:
            buffer = Utf16ToAnsi(buffer);
            break;
        case ETextConversion::Utf8ToAnsi:
            if (HasHighBytes(buffer)) buffer = Utf8ToAnsi(buffer);
            break;
    }
}

}  // namespace sjson
