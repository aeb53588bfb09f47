#include "Script.h"

#include "Choreography.h"

namespace presenter {

namespace {

float pchip(float y0, float y1, float y2, float y3, float h0, float h1, float h2,
            float u) { // monotone cubic: no overshoot
    float d0 = (y1 - y0) / h0, d1 = (y2 - y1) / h1, d2 = (y3 - y2) / h2;
    float m1 = d0 * d1 <= 0 ? 0 : 2 * d0 * d1 / (d0 + d1),
          m2 = d1 * d2 <= 0 ? 0 : 2 * d1 * d2 / (d1 + d2);
    float u2 = u * u, u3 = u2 * u;
    return (2 * u3 - 3 * u2 + 1) * y1 + (u3 - 2 * u2 + u) * h1 * m1 + (-2 * u3 + 3 * u2) * y2 +
           (u3 - u2) * h1 * m2;
}

void evalPlaces(const std::vector<PlaceKey>& k, float t, V3& p, Quat& q) {
    int n = int(k.size()), i = 0;
    t = std::min(k[n - 1].t - 1e-4f, std::max(k[0].t, t));
    while (i < n - 2 && t >= k[i + 1].t)
        i++;
    const PlaceKey &a = k[std::max(0, i - 1)], &b = k[i], &c = k[i + 1],
                   &d = k[std::min(n - 1, i + 2)];
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

// From the notch round to it again, in parts of half the width. Like a hand, it slows down where
// the line turns.
V3 heartAt(float u) {
    u = mix(u, u * u * (3 - 2 * u), .35f);
    float a = 2 * kPi * u, s = std::sin(a);
    return V3(s * s * s,
              (13 * std::cos(a) - 5 * std::cos(2 * a) - 2 * std::cos(3 * a) - std::cos(4 * a) - 5) /
                  14.5f,
              0);
}

float during(const Span& span, float t, float ease) {
    return smooth(span.from, span.from + ease, t) * (1 - smooth(span.to - ease, span.to, t));
}

// Sways a little, follows the right hand, blinks and smiles.
void moveHead(Moment& m, const Choreography& c, float t, int seed) {
    V3 look = (m.hand[0].pos + V3(0, 8, 0)) * (m.hand[0].present ? 1.f : 0.f);
    for (const Glance& glance : c.glances)
        look = mix(look, glance.at, during(glance.time, t, .6f));
    float yaw = wobble(t * .45f, 300 + seed) * 4.f + .10f * look.x,
          pitch = wobble(t * .45f, 301 + seed) * 2.5f - 2;
    m.headOff =
        V3(wobble(t * .35f, 303) * .9f, wobble(t * .4f, 304) * .35f + .12f * std::sin(t * 1.6f),
           wobble(t * .3f, 305) * .8f);
    m.headRot = Quat::axis({0, 1, 0}, yaw) * Quat::axis({1, 0, 0}, -pitch) *
                Quat::axis({0, 0, 1}, wobble(t * .4f, 302) * 2.f);
    for (float bt : {.9f, 3.2f, 6.1f, 8.2f, 11.4f, 14.6f, 17.3f, 19.9f, 22.4f, 25.2f, 27.f, 30.3f,
                     33.2f, 35.3f}) {
        float u = (t - bt) / .16f;
        if (u > 0 && u < 1) m.blink = std::max(m.blink, std::sin(u * kPi));
    }
    m.smile = .58f + .08f * wobble(t * .5f, 310);
    for (const Span& smile : c.smiles)
        m.smile += .25f * during(smile, t, .5f);
    m.gazeX = std::min(.22f, std::max(-.22f, -yaw * .022f + .006f * look.x));
    m.gazeY = pitch * .01f;
}

} // namespace

float scriptLength(const std::string& script) {
    return choreography(script).length;
}

Moment scriptAt(const std::string& script, float t, const std::vector<HandPose>& lib, int seed) {
    const Choreography& c = choreography(script);
    Moment m;
    for (int i = 0; i < 2; i++) {
        HandState& h = m.hand[i];
        evalPlaces(c.hand[i].places, t, h.pos, h.rot);
        h.pose = evalPose(c.hand[i].poses, t, lib);
        if (i == 0 && c.heart && t > c.heart->time.from && t < c.heart->time.to) {
            const Span& time = c.heart->time;
            V3 way = heartAt((t - time.from) / (time.to - time.from)) * c.heart->halfWidth;
            h.pos += way;
            h.rot = euler(-.7f * way.x, 0, 0) * h.rot; // the forearm turns about its elbow
        }
        int channel = i * 40 + seed * 91;
        h.pos += V3(wobble(t, channel), wobble(t, channel + 1), wobble(t, channel + 2)) * .22f;
        h.rot = h.rot * euler(wobble(t, channel + 3) * 1.3f, wobble(t, channel + 4) * 1.6f,
                              wobble(t, channel + 5) * 1.3f);
        for (int k = 0; k < HandPose::N; k++)
            h.pose.data()[k] += wobble(t * .8f, channel + 6 + k) * (k < 4    ? .6f
                                                                    : k < 16 ? 1.3f
                                                                             : .7f);
        h.present = h.pos.y > -46.f;
    }
    moveHead(m, c, t, seed);
    return m;
}

} // namespace presenter
