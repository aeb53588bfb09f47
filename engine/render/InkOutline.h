// The ribs of a stroke as the vertices of its triangle strip, without those that it looks the same
// without: a smoothed stroke has many times more ribs than its shape needs.
// Threads: value.
#pragma once

#include <algorithm>
#include <limits>
#include <optional>
#include <span>
#include <vector>

#include "base/Vectors.h"

namespace lanternfly {

class InkOutline {
public:
    // How far the edge of a stroke may be moved by leaving out a rib, and its core along with it.
    static constexpr float maxErrorPX = 0.05f;
    static constexpr float maxAlphaError = 0.01f;

    struct Rib {
        float2 middle, normal; // pixels of the authoring viewport; unit vector to the left
        float coreHalfWidth, featherHalfWidth, alpha;
    };

    void clear();
    // May be left out.
    void add(const Rib& rib);
    // The first and the last rib are to be kept.
    void addKept(const Rib& rib);
    // All kept ribs, as the numbers of a StrokeBatch.
    std::span<const float> vertices() const { return _vertices; }

private:
    // A rib's ends and what lies between them.
    struct Edges {
        float2 left, right;
        float core, feather, alpha;

        explicit Edges(const Rib& rib);
        Edges() = default;
    };
    // Where a number may go that runs straight on from the last kept rib: between two slopes.
    struct Sector {
        float low = -std::numeric_limits<float>::infinity();
        float high = std::numeric_limits<float>::infinity();

        bool holds(float slope) const { return slope >= low && slope <= high; }
        void narrow(float slope, float error) {
            low = std::max(low, slope - error);
            high = std::min(high, slope + error);
        }
    };
    // An edge from the last kept rib on, and what it carries: the sector method of line
    // simplification (Williams 1978). It may run either way: inside a bend that is tighter than the
    // stroke is wide it runs back.
    class Course {
    public:
        // Whether it may run straight to what is `way` from the kept rib and carries so much more;
        // if so that counts as passed. `isEven`: it carries the same all along.
        bool pass(float2 way, float core, float alpha, bool isEven);

    private:
        float2 _ahead{0}; // unit vector; 0 while the edge stays where it is
        float _passedPX = 0;
        Sector _side, _core, _alpha;
    };

    bool pass(const Edges& next);
    void keep(const Edges& edges);

    std::vector<float> _vertices;
    Edges _kept;                // the last rib that is kept
    std::optional<Edges> _last; // the last one since then
    bool _isEven = false;       // all since then are as wide and opaque as the kept one
    Course _left, _right;
};

} // namespace lanternfly
