// One moment of the scene: where hands and head are, and the picture of it.
#pragma once

#include <cstdint>
#include <vector>

#include "Body.h"
#include "Drawing.h"
#include "Film.h"

namespace presenter {

// rot is that of a right hand; a left one is its mirror image.
struct HandState {
    V3 pos;
    Quat rot;
    HandPose pose;
    bool present = false, useElbow = false;
    V3 elbow;
};

// hand[0] is the right one.
struct Moment {
    HandState hand[2];
    V3 headOff;
    Quat headRot;
    float blink = 0, smile = .35f, gazeX = 0, gazeY = 0;
};

struct Presenter {
    HandShape shape;
    Look look;
    Lights lights;
    Film film;
    bool sleeve = true, watch = false, ring = false;
    float cuff = 6.5f, ease = .6f;
};

struct Built {
    HandGeom g[2];
    bool on[2];
    Body body;
};

struct Frame {
    std::vector<uint8_t> rgb;
    Built scene;
};

Quat mirrored(Quat q);
// Elbow of a two-bone arm from shoulder sh to wrist w, down and a little outwards.
V3 elbowFor(V3 sh, V3 w, bool right);
// Seed 1 is the reference presenter; other seeds change skin, size, clothes, hair, watch and ring.
Presenter presenterFor(uint64_t seed);
Camera webcam(int w, int h);
void buildScene(Built& b, const Moment& m, const Presenter& P);
// Draws one moment over the room; before and after give the motion while the shutter is open.
// L is three layers of scratch space.
void renderMoment(const Moment& m, const Moment& before, const Moment& after, const Presenter& P,
                  const Camera& cam, const std::vector<V3>& room, uint64_t noiseSeed, Frame& f,
                  Layer* L, bool withBody = true);

} // namespace presenter
