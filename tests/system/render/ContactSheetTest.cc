#include <cairo.h>

#include "system/render/RenderFixture.h"

namespace lanternfly {
namespace {

struct ContactSheetSystem : test::RenderFixture {
    struct Png {
        cairo_surface_t* surface;
        explicit Png(const std::filesystem::path& file)
            : surface(cairo_image_surface_create_from_png(file.c_str())) {}
        ~Png() { cairo_surface_destroy(surface); }
        Png(const Png&) = delete;
        Png& operator=(const Png&) = delete;
        int width() const { return cairo_image_surface_get_width(surface); }
        int height() const { return cairo_image_surface_get_height(surface); }
        const uint8_t* pixel(int x, int y) const {
            return cairo_image_surface_get_data(surface) +
                   y * cairo_image_surface_get_stride(surface) + x * 4;
        }
    };
};

TEST_F(ContactSheetSystem, ShowsPicturesAtEvenDistancesWithTheirTimes) {
    ffmpeg("-f lavfi -i color=red:s=640x360:r=30:d=1 -f lavfi -i color=blue:s=640x360:r=30:d=1 "
           "-filter_complex concat -c:v libx264 -pix_fmt yuv420p two.mp4");
    const auto run = lanternfly("contact-sheet two.mp4 --out sheet.png --columns 2 --count 4");
    ASSERT_EQ(run.exitCode, 0) << run.output;
    const Png png(folder / "sheet.png");
    ASSERT_EQ(cairo_surface_status(png.surface), CAIRO_STATUS_SUCCESS);
    EXPECT_EQ(png.width(), 8 + 2 * 328);
    EXPECT_EQ(png.height(), 8 + 2 * (180 + 24 + 8));
    for (const int x : {168, 168 + 328}) {
        EXPECT_GT(png.pixel(x, 98)[2], 240) << "the first second is red";
        EXPECT_GT(png.pixel(x, 98 + 212)[0], 240) << "the second is blue";
    }
    int lightCaptionPixels = 0;
    for (int y = 188; y < 212; ++y)
        for (int x = 8; x < 328; ++x)
            lightCaptionPixels += png.pixel(x, y)[1] > 150;
    EXPECT_GT(lightCaptionPixels, 20);
}

TEST_F(ContactSheetSystem, AVideoOfFewFramesGivesFewPictures) {
    makePlainClip("short.mp4", "gray", 0.1);
    const auto run = lanternfly("contact-sheet short.mp4 --out sheet.png");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.output, testing::HasSubstr("3 pictures of 3 frames"));
}

TEST_F(ContactSheetSystem, WhatCannotBeReadOrWrittenIsOneClearLine) {
    makePlainClip("a.mp4", "gray", 0.1);
    expectOneClearLine(lanternfly("contact-sheet none.mp4 --out s.png"), "none.mp4");
    expectOneClearLine(lanternfly("contact-sheet a.mp4 --out nowhere/s.png"), "nowhere/s.png");
    expectOneClearLine(lanternfly("contact-sheet a.mp4 --out a.mp4"), "same file");
    EXPECT_EQ(fileCount(), 1u);
}

} // namespace
} // namespace lanternfly
