// The sigma of the blur kernel in use. An animated blur changes its kernel only every quarter of a
// unit.
// Threads: bound.
#pragma once

#include <cmath>

namespace lanternfly {

class BlurKernelCache {
public:
    static constexpr float sigmaQuantum = 0.25f;

    // The sigma to blur with: the kept one while the wanted sigma is less than a quantum away.
    float sigmaFor(float wantedSigma) {
        if (!(std::abs(wantedSigma - _sigma) < sigmaQuantum)) {
            _sigma = wantedSigma;
            ++_rebuildCount;
        }
        return _sigma;
    }
    int rebuildCount() const { return _rebuildCount; }

private:
    float _sigma = -1; // no kernel yet
    int _rebuildCount = 0;
};

} // namespace lanternfly
