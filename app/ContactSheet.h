// A sheet of small pictures with their times below.
// Threads: bound.
#pragma once

#include <filesystem>
#include <memory>

#include "platform/VideoFile.h"

struct _cairo_surface;

namespace lanternfly {

class ContactSheet {
public:
    static constexpr int pictureWidthPX = 320;

    // `count` pictures in `columns` columns, each of this width over height.
    ContactSheet(int columns, int count, double aspect);

    // Puts the frame at the next place; more than `count` are ignored.
    void add(const VideoFrame& frame);
    int added() const { return _added; }
    // As PNG. False when the file cannot be written.
    bool write(const std::filesystem::path& file) const;

private:
    struct DestroySurface {
        void operator()(_cairo_surface* surface) const;
    };

    int _columns;
    int _count;
    int _pictureHeightPX;
    int _added = 0;
    std::unique_ptr<_cairo_surface, DestroySurface> _surface;
};

} // namespace lanternfly
