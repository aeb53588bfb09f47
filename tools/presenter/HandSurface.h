// The surface of a hand with its forearm, as a signed distance in world space.
#pragma once

#include "HandPose.h"

namespace presenter {

// A hand with its forearm in world space. All parts are capsules with linearly varying radius; the
// distances of all of them are computed in one vectorisable loop and then joined with smooth minima
// in anatomical order.
enum Part {
    FINGER = 0,
    THUMB = 12,
    META = 15,
    THENAR = 19,
    HYPO = 20,
    PAD = 21,
    WEB1 = 22,
    WEB = 23,
    PULP = 26,
    PPAD = 31,
    MPAD = 35,
    TPAD = 39,
    CARPAL = 40,
    FORE = 41,
    KNUCK = 43,
    PARTS = 48
};

struct HandGeom {
    alignas(64) float ax[PARTS], ay[PARTS], az[PARTS], bx[PARTS], by[PARTS], bz[PARTS], inv[PARTS],
        ra[PARTS], dr[PARTS], waist[PARTS];
    Skeleton k;    // world space
    V3 W, X, Y, Z; // wrist and hand axes in world space (X towards thumb even on a left hand)
    V3 E, fdir, fx, fz;
    float flen; // elbow, wrist->elbow direction, forearm cross axes (radial, dorsal)
    V3 cen;
    float rad_; // bounding sphere of the hand proper
    float scale;
    bool sleeve = true, watch = false, ring = false;
    float cuff = 6.f, sleeveEase = 0.6f;
    HandShape shape;

    // A world point in hand space.
    V3 local(V3 p) const;
    // From wrist position, orientation of a right hand, chirality and elbow position.
    void build(const HandPose& pose, const HandShape& sh, V3 wrist, Quat rot, bool right, V3 elbow);
    // The distance of every part.
    void distances(V3 p, float* d) const;
    // Can a ray from p along the unit vector l come near this arm?
    bool nearRay(V3 p, V3 l, float margin) const;
    // Distance with material: 0 skin, 1 sleeve, 2 watch strap, 3 watch case, 4 ring.
    float map(V3 p, int* mat = nullptr) const;

private:
    void cap(int i, V3 a, V3 b, float r0, float r1, float w = 0);
    // Bare skin (hand and forearm) from the distances of the parts.
    float skin(const float* d) const;
};

} // namespace presenter
