// What a layer shows, by its kind.
// Threads: value.
#pragma once

#include <string>
#include <variant>
#include <vector>

#include "document/Stroke.h"

namespace lanternfly {

struct TextContent {
    std::string text{};

    friend bool operator==(const TextContent&, const TextContent&) = default;
};

struct WindowContent {
    // A page of a PDF deck.
    struct Deck {
        std::string fileURL{};
        std::string identity{}; // of the file in the state in which it was shown; may be empty
        int pageIndex = 0;      // from 0
        friend bool operator==(const Deck&, const Deck&) = default;
    };
    // A window of another application, found again by its names.
    struct Window {
        std::string applicationID{};
        std::string title{};
        friend bool operator==(const Window&, const Window&) = default;
    };
    struct Display {
        std::string name{};
        friend bool operator==(const Display&, const Display&) = default;
    };
    using Source = std::variant<std::monostate, Deck, Window, Display>;

    Source source{};

    friend bool operator==(const WindowContent&, const WindowContent&) = default;
};

struct DrawingContent {
    std::vector<Stroke> strokes{};
    DrawingViewport viewport{};

    friend bool operator==(const DrawingContent&, const DrawingContent&) = default;
};

struct Model3DContent {
    std::string assetURL{}; // absolute
    double rotationYRadians = 0;
    double rotationXRadians = 0;
    double scale = 1;
    bool idleRotate = false;

    friend bool operator==(const Model3DContent&, const Model3DContent&) = default;
};

using LayerContent =
    std::variant<std::monostate, TextContent, WindowContent, DrawingContent, Model3DContent>;

} // namespace lanternfly
