#include "Truth.h"

#include <cstdio>

namespace presenter {

namespace {

constexpr float kTouch =
    0.22f; // tips nearer than this part of the palm length (in space) are in contact

// A finger whose tip is farther from the wrist than its PIP joint by this factor is extended.
constexpr float kExtended = 1.15f;

// finger: 0 index … 3 little
bool isExtended(const Skeleton& k, int finger) {
    const V3 pip = k.j[6 + 4 * finger], tip = k.j[8 + 4 * finger];
    return len(tip - k.j[0]) > kExtended * len(pip - k.j[0]);
}

} // namespace

void landmarksPx(const HandGeom& g, const Camera& cam, float (*px)[2]) {
    for (int i = 0; i < 21; i++)
        cam.project(g.k.j[i], px[i][0], px[i][1]);
}

Truth measure(const HandGeom& g, const Camera& cam) {
    Truth r;
    landmarksPx(g, cam, r.px);
    r.inside = 0;
    for (auto& q : r.px)
        r.inside += q[0] >= 0 && q[1] >= 0 && q[0] < cam.w && q[1] < cam.h;
    auto d = [&](int a, int b) {
        return std::hypot(r.px[a][0] - r.px[b][0], r.px[a][1] - r.px[b][1]);
    };
    r.pinch2 = d(4, 8) / std::max(1.f, d(0, 9));
    r.pinch3 = len(g.k.j[4] - g.k.j[8]) / len(g.k.j[0] - g.k.j[9]);
    r.peaceSign =
        isExtended(g.k, 0) && isExtended(g.k, 1) && !isExtended(g.k, 2) && !isExtended(g.k, 3);
    return r;
}

void putHand(std::ostream& o, const Truth& t, const HandGeom& g, const char* side) {
    char b[64];
    o << "{\"side\":\"" << side << "\",\"landmarks\":[";
    for (int i = 0; i < 21; i++) {
        std::snprintf(b, sizeof b, "%s[%.2f,%.2f]", i ? "," : "", t.px[i][0], t.px[i][1]);
        o << b;
    }
    o << "],\"depth_cm\":[";
    for (int i = 0; i < 21; i++) {
        std::snprintf(b, sizeof b, "%s%.2f", i ? "," : "", -g.k.j[i].z);
        o << b;
    }
    std::snprintf(b, sizeof b, "],\"pinch_ratio\":%.4f,\"pinch_ratio_3d\":%.4f", t.pinch2,
                  t.pinch3);
    o << b;
    o << ",\"pinching\":" << (t.pinch3 < kTouch ? "true" : "false");
    o << ",\"sign\":" << (t.peaceSign ? "\"peace-sign\"" : "null");
    std::snprintf(b, sizeof b, ",\"inside\":%.3f}", t.inside / 21.f);
    o << b;
}

} // namespace presenter
