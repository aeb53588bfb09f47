// A session as it is saved: its layers and the canvas that they stand on.
// Threads: value.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "document/Layer.h"

namespace lanternfly {

struct Manifest {
    std::string sessionID{};
    double canvasAspect = 16.0 / 9.0; // width over height
    std::vector<Layer> layers{};      // in the session's order

    friend bool operator==(const Manifest&, const Manifest&) = default;
};

class ManifestError : public std::runtime_error {
public:
    enum class Kind {
        tooLarge,           // more than maxManifestBytes
        notJson,            // no JSON, or nested too deeply
        unsupportedVersion, // another format, or made by a later version of it
        badValue,           // a field is missing, of another type, or out of range
    };
    ManifestError(Kind which, const std::string& text) : std::runtime_error(text), kind(which) {}
    const Kind kind;
};

inline constexpr int manifestVersion = 1;
inline constexpr size_t maxManifestBytes = 8u << 20;
// Every number of a manifest is finite and at most this far from 0.
inline constexpr double maxManifestNumber = 1e9;

// JSON in UTF-8; decodeManifest gives back an equal manifest. Throws ManifestError (tooLarge,
// badValue: text that is not UTF-8 and numbers that are out of range).
std::string encode(const Manifest& manifest);
// Keys that are not known are ignored. Throws ManifestError, on any bytes whatever.
Manifest decodeManifest(std::string_view bytes);

} // namespace lanternfly
