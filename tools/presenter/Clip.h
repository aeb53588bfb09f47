// Clips, single frames and the sheet of poses.
#pragma once

#include <cstdint>
#include <string>

namespace presenter {

struct Args {
    std::string script, out, truth;
    int w = 1280, h = 720, threads = 2, crf = 20, samples = 0, crop = 224;
    uint64_t seed = 1;
    float still = -1, from = 0, to = 1e9f, fps = 30;
};

// Each returns an exit code.
int renderClip(const Args& a);
int renderPoses(const Args& a);

} // namespace presenter
