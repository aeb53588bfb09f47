#include "store/DeckIdentity.h"

#include <array>

#include <fmt/format.h>
#include <openssl/evp.h>
#include <sys/stat.h>

#include "store/FileURL.h"

namespace lanternfly::DeckIdentity {

namespace {

constexpr int identityBytes = 8;

// Toward zero, also before 1970.
int64_t wholeSeconds(const timespec& time) {
    return time.tv_sec < 0 && time.tv_nsec > 0 ? time.tv_sec + 1 : time.tv_sec;
}

} // namespace

std::optional<std::string> hash(std::string_view forFileURL) {
    const auto path = filePath(forFileURL);
    if (!path) return std::nullopt;
    struct stat status {};
    if (::stat(path->c_str(), &status) != 0) return std::nullopt;
    const auto key =
        fmt::format("{}|{}|{}", path->string(), status.st_size, wholeSeconds(status.st_mtim));

    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    if (EVP_Digest(key.data(), key.size(), digest.data(), nullptr, EVP_sha256(), nullptr) != 1)
        return std::nullopt;
    std::string identity;
    for (int i = 0; i < identityBytes; ++i)
        identity += fmt::format("{:02x}", digest[static_cast<size_t>(i)]);
    return identity;
}

} // namespace lanternfly::DeckIdentity
