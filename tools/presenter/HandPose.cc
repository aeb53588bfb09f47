#include "HandPose.h"

namespace presenter {

HandPose mix(const HandPose& a, const HandPose& b,
             float t) { // every joint is a hinge: linear angle = slerp
    HandPose r;
    for (int i = 0; i < HandPose::N; i++)
        r.data()[i] = mix(a.data()[i], b.data()[i], t);
    return r;
}

void limitPose(HandPose& p) { // plausible ranges of motion
    auto cl = [](float& v, float a, float b) { v = std::min(b, std::max(a, v)); };
    for (int i = 0; i < 4; i++) {
        cl(p.abd[i], -26, 20);
        cl(p.mcp[i], -25, 92);
        cl(p.pip[i], -4, 112);
        cl(p.dip[i], -8, 78);
    }
    cl(p.tAbd, -5, 68);
    cl(p.tPalm, -8, 62);
    cl(p.tRoll, 30, 125);
    cl(p.tMcp, -12, 62);
    cl(p.tIp, -22, 82);
}

// Forward kinematics in hand space.
Skeleton solve(const HandPose& p, const HandShape& s) {
    Skeleton k;
    k.j[0] = {0, 0, 0};
    static const V3 mcp0[4] = {
        {2.55f, 8.75f, 0.05f}, {0.35f, 9.0f, -0.2f}, {-1.75f, 8.45f, -0.05f}, {-3.55f, 7.5f, 0.4f}};
    static const float L[4][3] = {
        {4.25f, 2.45f, 1.85f}, {4.65f, 2.85f, 1.95f}, {4.3f, 2.7f, 1.95f}, {3.4f, 1.95f, 1.75f}};
    for (int f = 0; f < 4; f++) {
        V3 q = mcp0[f];
        q.x *= s.palmWidth;
        // the ulnar metacarpals are mobile: they come forward when the finger closes (cupping of
        // the palm)
        float cup = clamp01(p.mcp[f] / 90.f) * (f == 3 ? 0.55f : f == 2 ? 0.25f : 0.f);
        q.z += cup;
        float a = rad(p.abd[f]);
        V3 d{std::sin(a), std::cos(a), 0}, n{0, 0, -1};
        int b = 5 + 4 * f;
        k.j[b] = q;
        k.nrm[b] = {0, 0, -1};
        const float fl[3] = {rad(p.mcp[f]), rad(p.pip[f]), rad(p.dip[f])};
        for (int i = 0; i < 3; i++) {
            float c = std::cos(fl[i]), t = std::sin(fl[i]);
            V3 d2 = d * c - n * t, n2 = n * c + d * t;
            d = d2;
            n = n2;
            q += d * (L[f][i] * s.fingerLen[f + 1]);
            k.j[b + 1 + i] = q;
            k.nrm[b + 1 + i] = n;
        }
    }
    // thumb
    float a = rad(p.tAbd), e = rad(p.tPalm), r = rad(p.tRoll);
    V3 d{std::sin(a) * std::cos(e), std::cos(a) * std::cos(e), std::sin(e)};
    V3 side = norm(cross(d, V3(0, 0, 1))), up = cross(side, d);
    V3 n = -up * std::cos(r) + side * std::sin(r);
    V3 q{2.15f * s.palmWidth, 1.75f, 0.75f};
    k.j[1] = q;
    k.nrm[1] = n;
    static const float TL[3] = {3.9f, 3.15f, 2.45f};
    const float tf[3] = {0, rad(p.tMcp), rad(p.tIp)};
    for (int i = 0; i < 3; i++) {
        float c = std::cos(tf[i]), t = std::sin(tf[i]);
        V3 d2 = d * c - n * t, n2 = n * c + d * t;
        d = d2;
        n = n2;
        q += d * (TL[i] * (i ? s.fingerLen[0] : 1.f));
        k.j[2 + i] = q;
        k.nrm[2 + i] = n;
    }
    return k;
}

namespace {

// Refine index and thumb angles so that the two pads touch (gap = distance between tip landmarks,
// cm).
HandPose touchTips(HandPose p, const HandShape& s, int finger, float gap) {
    const HandPose p0 = p;
    auto cost = [&](const HandPose& q) {
        Skeleton k = solve(q, s);
        int t = 8 + 4 * finger;
        V3 d = k.j[4] - k.j[t];
        // pads meet: the palmar sides of both tips look at each other
        float face = dot(k.nrm[4], k.nrm[t]);
        float c = sq(len(d) - gap) * 4.f + sq(face + 0.75f) * 0.6f;
        V3 padI = k.j[t] - k.nrm[t] * (gap * 0.5f), padT = k.j[4] - k.nrm[4] * (gap * 0.5f);
        V3 e = padI - padT;
        c += dot(e, e) * 3.f;
        for (int i = 0; i < HandPose::N; i++)
            c += sq((q.data()[i] - p0.data()[i]) / 40.f) * 0.35f;
        return c;
    };
    float step = 12, best = cost(p);
    const int idx[9] = {finger, 4 + finger, 8 + finger, 12 + finger, 16, 17, 18, 19, 20};
    for (int it = 0; it < 80; it++) {
        bool better = false;
        for (int i : idx)
            for (float sg : {1.f, -1.f}) {
                HandPose q = p;
                q.data()[i] += sg * step;
                limitPose(q);
                float c = cost(q);
                if (c < best - 1e-6f) {
                    best = c;
                    p = q;
                    better = true;
                }
            }
        if (!better) {
            step *= 0.6f;
            if (step < 0.05f) break;
        }
    }
    return p;
}

} // namespace

HandPose namedPose(PoseName n, const HandShape& s) {
    HandPose p;
    auto set = [&](int f, float m, float i, float d) {
        p.mcp[f] = m;
        p.pip[f] = i;
        p.dip[f] = d;
    };
    auto thumb = [&](float a, float e, float r, float m, float i) {
        p.tAbd = a;
        p.tPalm = e;
        p.tRoll = r;
        p.tMcp = m;
        p.tIp = i;
    };
    switch (n) {
    case PoseName::Open:
        p.abd[0] = 9;
        p.abd[1] = 1;
        p.abd[2] = -7;
        p.abd[3] = -17;
        set(0, 0, 6, 3);
        set(1, 0, 6, 3);
        set(2, 2, 7, 4);
        set(3, 4, 8, 4);
        thumb(50, 12, 58, 4, -2);
        break;
    case PoseName::Flat:
        p.abd[0] = 2;
        p.abd[1] = 0;
        p.abd[2] = -3;
        p.abd[3] = -6;
        set(0, 2, 4, 2);
        set(1, 2, 4, 2);
        set(2, 2, 4, 2);
        set(3, 3, 5, 2);
        thumb(30, 8, 60, 4, 0);
        break;
    case PoseName::Relaxed:
        p.abd[0] = 5;
        p.abd[3] = -10;
        set(0, 18, 24, 12);
        set(1, 24, 30, 15);
        set(2, 28, 34, 17);
        set(3, 30, 34, 17);
        thumb(36, 24, 70, 14, 14);
        break;
    case PoseName::Fist:
        p.abd[0] = 3;
        p.abd[2] = -3;
        p.abd[3] = -7;
        set(0, 82, 104, 66);
        set(1, 86, 106, 68);
        set(2, 88, 106, 68);
        set(3, 88, 102, 66);
        thumb(20, 46, 104, 34, 52);
        break;
    case PoseName::PinchOpen:
        p.abd[0] = 7;
        p.abd[1] = 0;
        p.abd[2] = -6;
        p.abd[3] = -13;
        set(0, 26, 26, 12);
        set(1, 22, 28, 14);
        set(2, 24, 30, 15);
        set(3, 24, 28, 14);
        thumb(44, 32, 78, 6, 4);
        break;
    case PoseName::PinchClosed:
        p.abd[0] = 5;
        p.abd[1] = 0;
        p.abd[2] = -6;
        p.abd[3] = -13;
        set(0, 46, 48, 26);
        set(1, 28, 32, 17);
        set(2, 26, 32, 17);
        set(3, 25, 29, 15);
        thumb(36, 40, 92, 14, 16);
        p = touchTips(p, s, 0, .95f * s.girth);
        break;
    case PoseName::Ok:
        p.abd[0] = 4;
        p.abd[1] = 1;
        p.abd[2] = -8;
        p.abd[3] = -18;
        set(0, 52, 58, 26);
        set(1, 12, 10, 5);
        set(2, 6, 8, 4);
        set(3, 2, 8, 4);
        thumb(38, 40, 92, 16, 24);
        p = touchTips(p, s, 0, .95f * s.girth);
        break;
    case PoseName::Peace:
        p.abd[0] = 13;
        p.abd[1] = -9;
        p.abd[2] = -3;
        p.abd[3] = -7;
        set(0, 2, 5, 3);
        set(1, 2, 5, 3);
        set(2, 80, 104, 62);
        set(3, 82, 100, 60);
        thumb(16, 48, 106, 34, 50);
        break;
    case PoseName::Point:
        p.abd[0] = 3;
        p.abd[2] = -3;
        p.abd[3] = -7;
        set(0, 3, 6, 4);
        set(1, 82, 104, 64);
        set(2, 84, 104, 64);
        set(3, 85, 101, 62);
        thumb(19, 46, 104, 34, 50);
        break;
    case PoseName::ThumbUp:
        p.abd[0] = 3;
        p.abd[2] = -3;
        p.abd[3] = -7;
        set(0, 82, 104, 66);
        set(1, 86, 106, 68);
        set(2, 88, 106, 68);
        set(3, 88, 102, 66);
        thumb(48, 2, 60, -6, -10);
        break;
    case PoseName::Three:
        p.abd[0] = 12;
        p.abd[1] = 0;
        p.abd[2] = -12;
        p.abd[3] = -10;
        set(0, 2, 5, 3);
        set(1, 2, 5, 3);
        set(2, 3, 6, 3);
        set(3, 70, 92, 50);
        thumb(18, 46, 104, 36, 46);
        break;
    case PoseName::Claw:
        p.abd[0] = 8;
        p.abd[2] = -7;
        p.abd[3] = -15;
        set(0, 10, 52, 30);
        set(1, 10, 54, 32);
        set(2, 12, 54, 32);
        set(3, 14, 50, 30);
        thumb(46, 26, 66, 16, 34);
        break;
    default:
        break;
    }
    return p;
}

std::vector<HandPose> poseLibrary(const HandShape& s) {
    std::vector<HandPose> v;
    for (int i = 0; i < int(PoseName::Count); i++)
        v.push_back(namedPose(PoseName(i), s));
    return v;
}

} // namespace presenter
