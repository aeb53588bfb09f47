// Where the pictures that float over the presenter come from.
// Threads: bound: to the one thread that the host uses its slide sources on, where completions run
// too.
#pragma once

#include <functional>
#include <memory>
#include <stdexcept>
#include <variant>
#include <vector>

#include "base/CallbackExecutor.h"
#include "base/PixelBuffer.h"
#include "base/Uuid.h"
#include "gpu/Texture.h"

namespace lanternfly {

class SlideTextureError : public std::runtime_error {
public:
    enum class Kind { textureNotMade };
    explicit SlideTextureError(Kind kind);

    Kind kind() const { return _kind; }

private:
    Kind _kind;
};

struct SlideSizePX {
    double width = 0, height = 0;
};

class SlideSource {
public:
    // The texture, null when there is no such slide or it could not be drawn; or why the device
    // did not take the picture.
    using TextureResult = std::variant<TextureRef, SlideTextureError>;
    using TextureCompletion = std::function<void(TextureResult)>;
    // Opaque or premultiplied BGRA, first row at the top; null when there is none.
    using ThumbnailCompletion = std::function<void(PixelBufferRef)>;

    virtual ~SlideSource() = default;

    // The same for the lifetime of the object.
    virtual Uuid id() const = 0;
    virtual int slideCount() const = 0;
    // The slide now shown; only stored.
    virtual int currentIndex() const = 0;
    virtual void setCurrentIndex(int index) = 0;

    // An operation that needs no waiting completes before it returns. A source that is released
    // drops what it was asked without completing it.
    virtual void texture(int index, SlideSizePX size, TextureCompletion completion) = 0;
    // No larger than maxDimension pixels on either side. By default there is no preview.
    virtual void thumbnail(int index, double maxDimension, ThumbnailCompletion completion);
    // Prepares the textures of those slides, in that order; completes when all have been tried.
    virtual void precache(std::vector<int> indices, std::function<void()> completion) = 0;
};

} // namespace lanternfly
