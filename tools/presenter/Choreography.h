// The scripts as tables: where each hand is when, and what it shows.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "HandPose.h"

namespace presenter {

// Seconds; the wrist in centimetres; degrees, of a right hand (a left one is its mirror image).
struct PlaceKey {
    float t;
    V3 p;
    float roll, yaw, pitch;
};
struct PoseKey {
    float t;
    PoseName n;
};
struct HandTrack {
    std::vector<PlaceKey> places;
    std::vector<PoseKey> poses;
};

struct Span {
    float from, to;
};
// The right hand goes round a heart, from its notch and back to it, on top of its places.
struct AirHeart {
    Span time;
    float halfWidth;
};
struct Glance {
    Span time;
    V3 at;
};

struct Choreography {
    float length = 0;
    HandTrack hand[2]; // hand[0] is the right one
    std::optional<AirHeart> heart;
    std::vector<Span> smiles;
    std::vector<Glance> glances; // besides those at the right hand
};

// The demo for any name but "pinch_loop".
const Choreography& choreography(const std::string& script);

} // namespace presenter
