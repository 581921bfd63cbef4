#pragma once
// The program's reversible password cipher: a keyed byte-wise XOR written as upper-case
// hexadecimal digits. It keeps the repository password out of sight in the settings file and
// on the wire when "UseEncryptedPassword" is on ("encrypted_password" of the login and
// change-password calls); the repository server holds the same key and deciphers it. It is
// not strong encryption: whoever has the key reads the password.
#include <string>
#include <string_view>

namespace kurvalux_data {

// Two hexadecimal digits per byte of `plain`.
std::string EncipherPassword(std::string_view plain);
// False (and `plain` untouched) for text of odd length or with a non-hexadecimal digit.
bool DecipherPassword(std::string_view hex, std::string& plain);

}  // namespace kurvalux_data
