#include "Script.h"

namespace presenter {

namespace {

struct Key {
    float t;
    V3 p;
    float roll, yaw, pitch;
};
struct PoseKey {
    float t;
    PoseName n;
};

float pchip(float y0, float y1, float y2, float y3, float h0, float h1, float h2,
            float u) { // monotone cubic: no overshoot
    float d0 = (y1 - y0) / h0, d1 = (y2 - y1) / h1, d2 = (y3 - y2) / h2;
    float m1 = d0 * d1 <= 0 ? 0 : 2 * d0 * d1 / (d0 + d1),
          m2 = d1 * d2 <= 0 ? 0 : 2 * d1 * d2 / (d1 + d2);
    float u2 = u * u, u3 = u2 * u;
    return (2 * u3 - 3 * u2 + 1) * y1 + (u3 - 2 * u2 + u) * h1 * m1 + (-2 * u3 + 3 * u2) * y2 +
           (u3 - u2) * h1 * m2;
}

void evalKeys(const std::vector<Key>& k, float t, V3& p, Quat& q) {
    int n = int(k.size()), i = 0;
    t = std::min(k[n - 1].t - 1e-4f, std::max(k[0].t, t));
    while (i < n - 2 && t >= k[i + 1].t)
        i++;
    const Key &a = k[std::max(0, i - 1)], &b = k[i], &c = k[i + 1], &d = k[std::min(n - 1, i + 2)];
    float h1 = c.t - b.t, h0 = std::max(1e-3f, b.t - a.t), h2 = std::max(1e-3f, d.t - c.t),
          u = (t - b.t) / h1;
    auto f = [&](float V3::*m) { return pchip(a.p.*m, b.p.*m, c.p.*m, d.p.*m, h0, h1, h2, u); };
    p = {f(&V3::x), f(&V3::y), f(&V3::z)};
    const float in =
        14.f; // hands turn inwards, so that thumb and index are seen a little from the side
    q = slerp(euler(b.roll, b.yaw + in, b.pitch), euler(c.roll, c.yaw + in, c.pitch),
              u * u * (3 - 2 * u));
}

HandPose evalPose(const std::vector<PoseKey>& k, float t, const std::vector<HandPose>& lib) {
    int n = int(k.size()), i = 0;
    t = std::min(k[n - 1].t, std::max(k[0].t, t));
    while (i < n - 2 && t >= k[i + 1].t)
        i++;
    float u = clamp01((t - k[i].t) / (k[i + 1].t - k[i].t));
    return mix(lib[int(k[i].n)], lib[int(k[i + 1].n)], u * u * (3 - 2 * u));
}

float wobble(float t, int ch) {
    return noise3({t * 1.1f, ch * 7.3f, 2.5f}) + .5f * noise3({t * 3.1f, ch * 5.1f, 9.5f}) +
           .18f * noise3({t * 9.f, ch * 3.1f, 4.f});
}

} // namespace

float scriptLength(const std::string& s) {
    return s == "pinch_loop" ? 4.f : 24.f;
}

Moment scriptAt(const std::string& script, float t, const std::vector<HandPose>& lib, int seed) {
    Moment m;
    using P = PoseName;
    std::vector<Key> R, L;
    std::vector<PoseKey> RP, LP;
    const V3 downR{-23, -52, -66}, downL{23, -52, -66};
    if (script == "pinch_loop") {
        R = {{0, {-21, -12, -62}, 8, 10, -12},
             {2, {-19, -10, -61}, 6, 14, -14},
             {4, {-21, -12, -62}, 8, 10, -12}};
        for (int i = 0; i < 4; i++) {
            float b = float(i);
            RP.insert(RP.end(), {{b, P::PinchOpen},
                                 {b + .38f, P::PinchOpen},
                                 {b + .50f, P::PinchClosed},
                                 {b + .82f, P::PinchClosed},
                                 {b + .94f, P::PinchOpen}});
        }
        RP.push_back({4.f, P::PinchOpen});
        L = {{0, downL, 0, 0, 0}, {4, downL, 0, 0, 0}};
        LP = {{0, P::Relaxed}, {4, P::Relaxed}};
    } else {
        R = {{0, downR, 0, 10, -20},
             {1.9f, downR, 0, 10, -20},
             {2.9f, {-24, -10, -62}, 12, 6, -8},
             {3.7f, {-24, -9, -62}, 8, 8, -10},
             {4.45f, {-23, -9, -62}, 8, 12, -14},
             // drag along an arc under the chin, to the other side of the picture
             {5.2f, {-14, -14.5f, -61}, 2, 14, -14},
             {5.9f, {-3, -17.5f, -60}, -8, 12, -16},
             {6.8f, {10, -14.5f, -60}, -22, 10, -16},
             {7.1f, {11, -14, -60}, -23, 10, -16},
             // towards the camera and back
             {8.5f, {2, -12.5f, -44}, -18, 12, -14},
             {8.9f, {2, -12.5f, -44}, -18, 12, -14},
             {10.15f, {10, -14, -61}, -20, 12, -16},
             {10.3f, {10, -14, -61}, -20, 12, -16},
             // throw to the left, released on the way
             {10.95f, {-24, -11, -60}, 14, 8, -10},
             {12.9f, {-22, -12, -62}, 8, 10, -12},
             {13.6f, {-12, -12, -61}, 4, 14, -14},
             {13.85f, {-12, -12, -61}, 4, 14, -14},
             {15.0f, {-24, -6, -60}, 16, 12, -12},
             {15.7f, {-25, -13, -68}, 22, 10, -12},
             {16.4f, {-23, -9, -63}, 14, 12, -12},
             {17.0f, {-21, -9, -61}, 8, 12, -14},
             {17.6f, {-20, -14.5f, -61}, 8, 12, -14},
             {20.7f, {-20, -14.5f, -61}, 8, 12, -14},
             {21.2f, {-22, -12, -62}, 8, 4, -6},
             {22.1f, {-22, -11.5f, -62}, 7, 5, -6},
             {23.2f, downR, 0, 10, -20},
             {24, downR, 0, 10, -20}};
        RP = {{0, P::Relaxed},          {2.2f, P::Relaxed},       {2.8f, P::Open},
              {3.5f, P::Open},          {3.85f, P::PinchOpen},    {4.2f, P::PinchOpen},
              {4.32f, P::PinchClosed},  {10.58f, P::PinchClosed}, {10.70f, P::PinchOpen},
              {11.1f, P::Open},         {12.6f, P::Open},         {13.0f, P::PinchOpen},
              {13.55f, P::PinchOpen},   {13.67f, P::PinchClosed}, {16.4f, P::PinchClosed},
              {16.52f, P::PinchOpen},   {17.45f, P::PinchOpen},   {17.57f, P::PinchClosed},
              {20.75f, P::PinchClosed}, {20.87f, P::PinchOpen},   {21.2f, P::Peace},
              {22.1f, P::Peace},        {22.5f, P::Relaxed},      {24, P::Relaxed}};
        L = {{0, downL, 0, 10, -20},
             {11.8f, downL, 0, 10, -20},
             {12.9f, {22, -12, -62}, 10, 8, -10},
             {13.6f, {13, -12, -61}, 4, 14, -14},
             {13.85f, {13, -12, -61}, 4, 14, -14},
             {15.0f, {22, -13, -47}, 12, 12, -12},
             {15.7f, {23, -8, -47}, 6, 12, -12},
             {16.4f, {23, -11, -54}, 12, 12, -12},
             {16.9f, {23, -12, -58}, 8, 10, -12},
             {17.8f, downL, 0, 10, -20},
             {24, downL, 0, 10, -20}};
        LP = {{0, P::Relaxed},          {12.1f, P::Relaxed},     {12.7f, P::Open},
              {12.95f, P::Open},        {13.2f, P::PinchOpen},   {13.55f, P::PinchOpen},
              {13.67f, P::PinchClosed}, {16.4f, P::PinchClosed}, {16.52f, P::PinchOpen},
              {16.9f, P::Open},         {17.3f, P::Relaxed},     {24, P::Relaxed}};
    }
    const std::vector<Key>* K[2] = {&R, &L};
    const std::vector<PoseKey>* KP[2] = {&RP, &LP};
    for (int i = 0; i < 2; i++) {
        HandState& h = m.hand[i];
        evalKeys(*K[i], t, h.pos, h.rot);
        h.pose = evalPose(*KP[i], t, lib);
        if (script != "pinch_loop" && i == 0 && t > 17.75f &&
            t < 20.65f) { // heart, starting and ending at its lower tip
            float u = (t - 17.75f) / 2.9f;
            u = u * u * (3 - 2 * u) * .35f + u * .65f;
            float a = kPi + 2 * kPi * u;
            float s = std::sin(a);
            h.pos += V3(16 * s * s * s,
                        13 * std::cos(a) - 5 * std::cos(2 * a) - 2 * std::cos(3 * a) -
                            std::cos(4 * a) + 17.f,
                        0) *
                     .36f;
        }
        int c = i * 40 + seed * 91;
        h.pos += V3(wobble(t, c), wobble(t, c + 1), wobble(t, c + 2)) * .22f;
        h.rot = h.rot *
                euler(wobble(t, c + 3) * 1.3f, wobble(t, c + 4) * 1.6f, wobble(t, c + 5) * 1.3f);
        for (int k = 0; k < HandPose::N; k++)
            h.pose.data()[k] += wobble(t * .8f, c + 6 + k) * (k < 4 ? .6f : k < 16 ? 1.3f : .7f);
        h.present = h.pos.y > -46.f;
    }
    // head: small sways, follows the active hand, blinks
    V3 look = (m.hand[0].pos + V3(0, 8, 0)) * (m.hand[0].present ? 1.f : 0.f);
    float yaw = wobble(t * .45f, 300 + seed) * 4.f + .10f * look.x,
          pitch = wobble(t * .45f, 301 + seed) * 2.5f - 2;
    m.headOff =
        V3(wobble(t * .35f, 303) * .9f, wobble(t * .4f, 304) * .35f + .12f * std::sin(t * 1.6f),
           wobble(t * .3f, 305) * .8f);
    m.headRot = Quat::axis({0, 1, 0}, yaw) * Quat::axis({1, 0, 0}, -pitch) *
                Quat::axis({0, 0, 1}, wobble(t * .4f, 302) * 2.f);
    for (float bt : {.9f, 3.2f, 6.1f, 8.2f, 11.4f, 14.6f, 17.3f, 19.9f, 22.4f}) {
        float u = (t - bt) / .16f;
        if (u > 0 && u < 1) m.blink = std::max(m.blink, std::sin(u * kPi));
    }
    m.smile = .58f + .25f * smooth(20.8f, 21.3f, t) * (1 - smooth(22.6f, 23.2f, t)) +
              .08f * wobble(t * .5f, 310);
    m.gazeX = std::min(.22f, std::max(-.22f, -yaw * .022f + .006f * look.x));
    m.gazeY = pitch * .01f;
    return m;
}

} // namespace presenter
