// A Gaussian blur of a picture with clamped edges, for the part of it that is asked for.
//
// Small sigmas are convolved as they are. For large ones the picture is averaged down, convolved
// there with the variance that remains, and interpolated back (see render/BlurReduction.h).
// Against an exact Gaussian of 8-bit noise and edges: at least 46 dB PSNR.
// Threads: bound.
#pragma once

#include <cstdint>
#include <vector>

#include "base/PixelBuffer.h"
#include "render/PaneGeometry.h"

namespace lanternfly {

class GaussianBlur {
public:
    static constexpr float minSigma = 0.3f;

    // `source` is borrowed until the last row() of this frame. `rect` lies inside it; sigmas are
    // in pixels, at least `minSigma`. Scratch memory grows to the largest size seen and stays.
    void prepare(const PixelBuffer& source, const PixelRect& rect, float sigmaX, float sigmaY);
    // The blurred BGRA pixels of row y of the rectangle, the first at rect.x0; valid until the
    // next call. At least 64 bytes beyond the last one may be read.
    const uint8_t* row(int y);
    // Whether row() still reads the source; if not, the source may be drawn over meanwhile.
    bool readsSourceLate() const { return _reduction == 1; }
    // In pixels, when row() reads the source: how many rows above and below.
    int radiusY() const { return _kernelY.radius(); }

private:
    // Weights in 1/32768, the centre first, summing to 1 over both sides.
    struct Kernel {
        std::vector<int16_t> weights;
        float sigma = -1;

        int radius() const { return static_cast<int>(weights.size()) - 1; }
        void make(float sigma);
    };

    void reduce();
    void convolveReduced();
    void convolveRow(int y);
    void interpolateRow(int y);

    const PixelBuffer* _source = nullptr;
    PixelRect _rect;
    int _reduction = 1;
    Kernel _kernelX;
    Kernel _kernelY;

    // In reduced pixels: the cells that rows are interpolated from, and those widened by the
    // kernel.
    PixelRect _cells;
    PixelRect _wideCells;
    // Channels in 1/64.
    std::vector<int16_t> _wide;
    std::vector<int16_t> _blurred;
    std::vector<int16_t> _line;
    std::vector<uint16_t> _sums;
    std::vector<const void*> _rows;
    std::vector<uint8_t> _pixels;
};

} // namespace lanternfly
