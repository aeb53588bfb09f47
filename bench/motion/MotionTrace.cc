// Writes what a viewer would see of five hand movements as CSV, to look at how they feel:
// `motion_trace > trace.csv`. Hands at 30 poses a second, pictures at 60.
#include <cmath>
#include <cstdio>
#include <functional>

#include "motion/PinchTransformController.h"

namespace lanternfly {

namespace {

constexpr uint64_t frameNanos = 16'666'667;
constexpr int framesPerPose = 2;

struct Hand {
    float2 at;
    float scaleDelta = 1;
};

struct Movement {
    const char* name;
    OverlayTransform start;
    double heldSeconds; // then the hand lets go
    std::function<Hand(double)> hand;
};

void trace(const Movement& movement) {
    ManualClock clock;
    const auto driver = std::make_shared<AppearanceDriver>(clock, movement.start, 0.4);
    PinchTransformController controller(clock, driver);
    for (int frame = -10; frame < movement.heldSeconds * 60 + 60; ++frame) {
        const double seconds = frame / 60.0;
        const Hand hand = movement.hand(std::max(seconds, 0.0));
        const bool isHeld = seconds < movement.heldSeconds;
        if (frame == 0)
            controller.handle(PinchBegan{hand.at, {}, 0});
        else if (frame > 0 && frame % framesPerPose == 0 && isHeld)
            controller.handle(PinchChanged{hand.at, hand.scaleDelta, {}, clock.uptimeNanos()});
        else if (controller.isSessionActive() && !isHeld)
            controller.handle(PinchEnded{{}, 0});
        const auto seen = driver->snapshot();
        std::printf("%s,%.4f,%.5f,%.5f,%.5f,%.5f,%.5f,%.3f,%.3f,%.3f\n", movement.name, seconds,
                    hand.at.x, hand.scaleDelta, seen.transform.position.x,
                    seen.transform.position.y, seen.transform.scale, seen.appearance.tiltY,
                    seen.targetVelocity.x, seen.appearance.opacity);
        clock.advanceNanos(frameNanos);
    }
}

} // namespace

} // namespace lanternfly

int main() {
    using namespace lanternfly;
    const auto moving = [](double speed) {
        return [speed](double t) {
            return Hand{{0.5f + static_cast<float>(speed * std::min(t, 1.0)), 0.5f}};
        };
    };
    const OverlayTransform aside{{-0.3f, 0.2f}, 0.5f, 1};
    const Movement movements[] = {
        {"slow drag", aside, 1.5, moving(0.05)},
        {"fast drag", aside, 1.5, moving(0.6)},
        {"throw", aside, 0.3, moving(1.5)},
        {"creep out", {{0, 0}, 0.5f, 1}, 1.5, moving(0.15)},
        {"rubber band", aside, 1.5,
         [](double t) {
             return Hand{{0.5f, 0.5f}, 1 + static_cast<float>(std::min(t, 1.0))};
         }},
    };
    std::puts("movement,seconds,hand_x,hand_scale,x,y,scale,tilt_y_degrees,velocity_x,opacity");
    for (const auto& movement : movements)
        trace(movement);
}
