// A picture of many pictures: what the detector saw, drawn over the frames.
// Threads: bound.
#pragma once

#include <filesystem>
#include <memory>

#include "support/hands/HandEvaluation.h"

namespace lanternfly {

class ContactSheet {
public:
    // `columns` × `rows` pictures, each `widthPX` wide.
    ContactSheet(int columns, int rows, int widthPX);
    ~ContactSheet();

    // Adds a picture: truth thin and grey, right hands orange, left hands blue, joints below a
    // confidence of 0.4 hollow. Does nothing when the sheet is full.
    void add(const EvaluatedPicture& seen);
    // Whether the sheet was written.
    bool write(const std::filesystem::path& file) const;

private:
    struct State;
    std::unique_ptr<State> _state;
};

} // namespace lanternfly
