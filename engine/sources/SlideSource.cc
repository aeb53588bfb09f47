#include "sources/SlideSource.h"

namespace lanternfly {

SlideTextureError::SlideTextureError(Kind kind)
    : std::runtime_error("The device could not make a texture of the slide."), _kind(kind) {}

void SlideSource::thumbnail(int, double, ThumbnailCompletion completion) {
    completion(nullptr);
}

} // namespace lanternfly
