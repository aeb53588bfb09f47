// Drawing in the air. While the mode is active a pointer draws ink; a released stroke stays for a
// while and then unwrites itself, from its end to its start. Every change of what can be seen is
// published as one layer with all visible strokes.
// Threads: safe. The callback runs on the thread that made the change, outside the lock: when
// changes come from several threads, currentLayer() tells which one was last.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "annotate/StrokeUnwriting.h"
#include "base/LockedCell.h"
#include "base/Vectors.h"
#include "document/Layer.h"

namespace lanternfly {

class DrawController {
public:
    // Null: nothing is drawn.
    using LayerUpdate = std::function<void(const std::optional<Layer>&)>;

    // `strokeColor` is a hex text as InkColor gives it.
    DrawController(const DrawingViewport& viewport, std::string layerID, std::string strokeColor,
                   double strokeWidthPX);

    // Colour and width of the stroke under way and of the next ones. No setter publishes.
    std::string strokeColor() const;
    void setStrokeColor(std::string color);
    double strokeWidthPX() const;
    void setStrokeWidthPX(double width);
    // How long a stroke stays whole, as of its release.
    double dwellSeconds() const;
    void setDwellSeconds(double seconds);
    // Without it strokes stay until clearAll(); those that unwrite already go on.
    bool autoUnwriteEnabled() const;
    void setAutoUnwriteEnabled(bool isEnabled);
    // How long a stroke takes to unwrite, as of the moment when it begins to.
    double unwriteReferenceLengthPX() const;
    void setUnwriteReferenceLengthPX(double length);
    double unwriteMinSeconds() const;
    void setUnwriteMinSeconds(double seconds);
    double unwriteMaxSeconds() const;
    void setUnwriteMaxSeconds(double seconds);

    void setOnLayerUpdate(LayerUpdate callback);

    bool isModeActive() const;
    void enterDrawMode();
    // Commits the stroke under way.
    void exitDrawMode();

    // The pointer in viewport pixels; ignored while the mode is inactive. A move or an end without
    // a beginning is ignored, a beginning without an end commits the stroke before.
    void pointerBegan(double2 atPX);
    void pointerMoved(double2 toPX);
    void pointerEnded();

    // While true, the owner calls tick() once a frame.
    bool hasLifecycleWork() const;
    // Lets dwelling strokes dwell (not while the mode is active) and unwriting ones unwrite.
    void tick(double deltaSeconds);
    // Removes all ink, whatever the mode.
    void clearAll();

    // What the subscriber was last told, or would have been.
    std::optional<Layer> currentLayer() const;
    int committedStrokeCount() const;

private:
    struct CommittedStroke {
        struct Unwriting {
            double duration, remaining; // seconds
        };
        Stroke stroke;
        double totalLengthPX;
        double dwellRemaining; // seconds
        std::optional<Unwriting> unwriting{};
    };
    struct State {
        std::string strokeColor;
        double strokeWidthPX;
        double dwellSeconds = 4;
        bool autoUnwriteEnabled = true;
        UnwriteDuration unwriteDuration{};
        bool isModeActive = false;
        std::vector<CommittedStroke> committedStrokes{}; // oldest first
        std::vector<Stroke::Point> inProgressPoints{};   // empty: no stroke under way
        std::shared_ptr<const LayerUpdate> onLayerUpdate{};
    };

    // Publishes the layer when `change(State&)` says that there is something to tell.
    template <typename Change>
    void publishAfter(Change&& change);
    std::optional<Layer> layerOf(const State& state) const;
    static void commit(State& state);
    static bool advance(State& state, double deltaSeconds);
    static std::optional<Stroke> visiblePart(const CommittedStroke& committed);

    const DrawingViewport _viewport;
    const std::string _layerID;
    LockedCell<State> _state;
};

} // namespace lanternfly
