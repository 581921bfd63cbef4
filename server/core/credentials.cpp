#include "server/core/credentials.h"

#include <argon2.h>
#include <openssl/evp.h>
#include <sys/random.h>

#include <atomic>
#include <cerrno>
#include <stdexcept>

namespace kurvalux_server {
namespace {

std::atomic<uint32_t> g_memory_kib{HashCost{}.memory_kib};
std::atomic<uint32_t> g_passes{HashCost{}.passes};
constexpr uint32_t kLanes = 1;
constexpr size_t kSaltBytes = 16;
constexpr size_t kHashBytes = 32;

std::string Hex(const unsigned char* data, size_t size) {
    static const char* digits = "0123456789abcdef";
    std::string out;
    out.reserve(size * 2);
    for (size_t i = 0; i < size; ++i) {
        out.push_back(digits[data[i] >> 4]);
        out.push_back(digits[data[i] & 15]);
    }
    return out;
}

}  // namespace

std::string RandomBytes(size_t count) {
    std::string bytes(count, '\0');
    size_t filled = 0;
    while (filled < count) {
        const ssize_t n = getrandom(bytes.data() + filled, count - filled, 0);
        if (n < 0) {
            if (errno == EINTR) continue;
            throw std::runtime_error("the system's random source failed");
        }
        filled += size_t(n);
    }
    return bytes;
}

void SetHashCost(HashCost cost) {
    g_memory_kib.store(cost.memory_kib < 8 ? 8 : cost.memory_kib);
    g_passes.store(cost.passes < 1 ? 1 : cost.passes);
}

std::string HashPassword(std::string_view password) {
    const uint32_t kTimeCost = g_passes.load(), kMemoryKiB = g_memory_kib.load();
    const std::string salt = RandomBytes(kSaltBytes);
    const size_t length =
        argon2_encodedlen(kTimeCost, kMemoryKiB, kLanes, kSaltBytes, kHashBytes, Argon2_id);
    std::string encoded(length, '\0');
    const int rc =
        argon2id_hash_encoded(kTimeCost, kMemoryKiB, kLanes, password.data(), password.size(),
                              salt.data(), salt.size(), kHashBytes, encoded.data(), encoded.size());
    if (rc != ARGON2_OK)
        throw std::runtime_error(std::string("Argon2id failed: ") + argon2_error_message(rc));
    encoded.resize(encoded.find('\0'));
    return encoded;
}

bool VerifyPassword(std::string_view password, const std::string& hash) {
    if (hash.rfind("$argon2id$", 0) != 0) return false;
    return argon2id_verify(hash.c_str(), password.data(), password.size()) == ARGON2_OK;
}

std::string NewSessionToken() {
    const std::string bytes = RandomBytes(24);
    return Hex(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
}

std::string NewObjectToken() {
    static const char alphabet[] = "23456789ABCDEFGHJKLMNPQRSTUVWXYZ";  // 32 symbols
    const std::string bytes = RandomBytes(12);
    std::string token;
    for (char b : bytes) token.push_back(alphabet[static_cast<unsigned char>(b) & 31]);
    return token;
}

std::string Sha256Hex(std::string_view text) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int size = 0;
    if (EVP_Digest(text.data(), text.size(), digest, &size, EVP_sha256(), nullptr) != 1)
        throw std::runtime_error("SHA-256 failed");
    return Hex(digest, size);
}

}  // namespace kurvalux_server
