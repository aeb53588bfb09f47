// Torso, arms to the elbow, head and face.
#pragma once

#include "Appearance.h"

namespace presenter {

struct Body {
    V3 pos{0, 9, -88};
    Quat rot;            // head
    V3 torso{0, 9, -88}; // torso reference (head position at rest)
    V3 sh[2], el[2];
    float upperR = 5.2f; // shoulders and elbows (0 = presenter's right, picture left)
    float blink = 0, smile = .35f, gazeX = 0, gazeY = 0, browUp = 0;
    Look look;
    float headScale = 1;

    V3 headLocal(V3 p) const;
    // Distance of the head from a point in its own space; hairDist is negative inside the hair.
    float head(V3 h, int& mat, float* hairDist = nullptr) const;
    // Distance with material: 0 skin, 1 cloth, 2 hair, 3 collar.
    float map(V3 p, int* mat = nullptr) const;
    // Distance of the clothes from p, t in their own space, with its material.
    float cloth(V3 p, V3 t, int* mat) const;
    Surf surface(V3 p, V3& n, int mat) const;
    // Face rectangle (brow to chin, cheek to cheek) in pixels: x, y, width, height.
    void faceRect(const Camera& cam, float* r) const;
};

} // namespace presenter
