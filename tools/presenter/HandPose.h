// A hand as joint angles: proportions, named poses and forward kinematics.
//
// Hand space (right hand, centimetres): wrist at the origin, +X towards the thumb, +Y towards the
// fingers, +Z out of the palm. A left hand is the mirror image (X negated) before its rotation.
// Landmarks: 0 wrist, 1-4 thumb (CMC, MP, IP, tip), then index, middle, ring, little (MCP, PIP,
// DIP, tip).
#pragma once

#include <vector>

#include "Maths.h"

namespace presenter {

struct HandShape {
    float scale = 1.f;                    // overall size (1 = 18.7 cm hand)
    float fingerLen[5] = {1, 1, 1, 1, 1}; // thumb, index, middle, ring, little
    float girth = 1.f;                    // finger thickness
    float palmWidth = 1.f, palmFlesh = 1.f;
    float nail = 0.f; // free nail edge (0 short .. 1 long)
};

struct HandPose {
    // fingers: index, middle, ring, little
    float abd[4] = {5, 0.5f, -4.5f, -11}; // side swing, positive towards the thumb
    float mcp[4] = {8, 6, 8, 10}, pip[4] = {10, 10, 12, 14}, dip[4] = {6, 6, 7, 8};
    // thumb: radial abduction, palmar abduction, roll of the nail, MP and IP flexion
    float tAbd = 46, tPalm = 14, tRoll = 55, tMcp = 8, tIp = 6;
    static constexpr int N = 21;
    float* data() { return abd; }
    const float* data() const { return abd; }
};

static_assert(sizeof(HandPose) == HandPose::N * sizeof(float));

HandPose mix(const HandPose& a, const HandPose& b, float t);
// Keeps every joint within a plausible range of motion.
void limitPose(HandPose& p);

enum class PoseName {
    Open,
    Relaxed,
    Fist,
    PinchOpen,
    PinchClosed,
    Ok,
    Peace,
    Point,
    ThumbUp,
    Flat,
    Three,
    Claw,
    Count
};

struct Skeleton {
    V3 j[21];   // landmarks
    V3 nrm[21]; // dorsal direction at the bone that ENDS in landmark i (tips, DIP, PIP, thumb MP..)
};

// Forward kinematics in hand space.
Skeleton solve(const HandPose& p, const HandShape& s);

HandPose namedPose(PoseName n, const HandShape& s);
// Every named pose, in the order of PoseName.
std::vector<HandPose> poseLibrary(const HandShape& s);

} // namespace presenter
