// The pictures that went worst, on one sheet: labels thin and grey, right hands orange, left hands
// blue, joints below a confidence of 0.4 hollow, faces as boxes.
// Threads: bound.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "app/evaluate/HandEvaluation.h"

struct _cairo_surface;

namespace lanternfly {

class WorstPictures {
public:
    static constexpr size_t most = 40;

    // Keeps the picture when it is among the worst; of a clip's neighbours only the worst.
    void offer(const EvaluatedPicture& evaluated);
    size_t count() const { return _kept.size(); }
    // As PNG, the worst first. False when the file cannot be written.
    bool write(const std::filesystem::path& file) const;

private:
    struct Kept {
        double wrongness;
        std::string name, neighbourhood;
        PixelBufferRef picture;
        FoundPicture found;
        LabelledPicture labelled;
        double scale;
    };
    static void draw(_cairo_surface* sheet, const Kept& kept, int x, int y);

    std::vector<Kept> _kept; // the worst first
};

} // namespace lanternfly
