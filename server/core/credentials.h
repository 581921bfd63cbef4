#pragma once
// Passwords and tokens: Argon2id hashes of the passwords (never the passwords themselves),
// random session tokens from the operating system, and the SHA-256 under which a session is
// stored, so that a copy of the database opens no account.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kurvalux_server {

// Bytes from the kernel's random source; throws std::runtime_error if it fails.
std::string RandomBytes(size_t count);

// The cost of the Argon2id hashes made from now on (a hash keeps the cost it was made with,
// and verifying it costs the same). The default, 19 MiB and two passes, is the figure
// recommended for interactive logins; a test or a very small machine may lower it.
struct HashCost {
    uint32_t memory_kib = 19456;
    uint32_t passes = 2;
};
void SetHashCost(HashCost cost);

// The PHC string of an Argon2id hash ("$argon2id$v=19$m=19456,t=2,p=1$salt$hash").
std::string HashPassword(std::string_view password);
// False for a wrong password and for a hash this program cannot read.
bool VerifyPassword(std::string_view password, const std::string& hash);

// A session token: 192 random bits as 48 lower-case hexadecimal digits (the program keeps at
// most 63 characters of it).
std::string NewSessionToken();
// An object token: 12 characters of an alphabet without look-alikes (60 random bits; the
// program keeps at most 15).
std::string NewObjectToken();
// SHA-256 of `text` as 64 hexadecimal digits.
std::string Sha256Hex(std::string_view text);

}  // namespace kurvalux_server
