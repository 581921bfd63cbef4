#pragma once
// Conversions between the program's 8-bit text and the Unicode encodings of the outside world.
// The 8-bit text is Windows-1252, the Western "ANSI" code page: Latin-1 with printable
// characters (the euro sign, typographic quotes, dashes) in place of the C1 controls 0x80-0x9F.
// Its five unassigned bytes (0x81, 0x8D, 0x8F, 0x90, 0x9D) stand for the C1 controls of the same
// value, so every byte converts to Unicode and back unchanged.
#include <string>

namespace sjson {

enum class ETextConversion {
    // Each byte becomes one UTF-16 code unit, little-endian: the buffer doubles in length.
    AnsiToUtf16 = 1,
    // To UTF-8; a buffer of 7-bit bytes only is already UTF-8 and is left untouched.
    AnsiToUtf8 = 2,
    // UTF-16 little-endian to 8-bit. Characters without a byte of their own, unpaired
    // surrogates included, become "?"; an odd last byte is dropped.
    Utf16ToAnsi = 3,
    // UTF-8 to 8-bit. Characters without a byte of their own become "?". A byte that does not
    // begin a well-formed UTF-8 sequence (overlong forms and surrogates are not well-formed) is
    // kept as it is: such text was most likely 8-bit already.
    Utf8ToAnsi = 4,
};

// Converts `buffer` in place, before parsing or after writing.
void ConvertText(std::string& buffer, ETextConversion mode);

}  // namespace sjson
