// Vectors, rotations, noise, distance primitives and the camera of the renderer.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace presenter {

constexpr float kPi = 3.14159265358979f;
inline float rad(float deg) {
    return deg * (kPi / 180.f);
}

inline float clamp01(float x) {
    return std::min(1.f, std::max(0.f, x));
}

inline float mix(float a, float b, float t) {
    return a + (b - a) * t;
}

inline float smooth(float e0, float e1, float x) {
    float t = clamp01((x - e0) / (e1 - e0));
    return t * t * (3 - 2 * t);
}

inline float sq(float x) {
    return x * x;
}

inline float gauss(float x, float s) {
    return std::exp(-sq(x / s));
}

struct V3 {
    float x = 0, y = 0, z = 0;
    V3() = default;
    V3(float a, float b, float c) : x(a), y(b), z(c) {}
    V3 operator+(V3 o) const { return {x + o.x, y + o.y, z + o.z}; }
    V3 operator-(V3 o) const { return {x - o.x, y - o.y, z - o.z}; }
    V3 operator*(V3 o) const { return {x * o.x, y * o.y, z * o.z}; }
    V3 operator*(float s) const { return {x * s, y * s, z * s}; }
    V3 operator-() const { return {-x, -y, -z}; }
    V3& operator+=(V3 o) {
        x += o.x;
        y += o.y;
        z += o.z;
        return *this;
    }
    V3& operator*=(float s) {
        x *= s;
        y *= s;
        z *= s;
        return *this;
    }
};

inline V3 operator*(float s, V3 a) {
    return a * s;
}

inline float dot(V3 a, V3 b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

inline V3 cross(V3 a, V3 b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

inline float len(V3 a) {
    return std::sqrt(dot(a, a));
}

inline V3 norm(V3 a) {
    return a * (1.f / std::max(1e-9f, len(a)));
}

inline V3 mix(V3 a, V3 b, float t) {
    return a + (b - a) * t;
}

// Unit quaternion; used for hand orientation so that key poses blend with slerp.
struct Quat {
    float w = 1, x = 0, y = 0, z = 0;
    static Quat axis(V3 a, float deg) {
        float h = rad(deg) / 2, s = std::sin(h);
        return {std::cos(h), a.x * s, a.y * s, a.z * s};
    }
    Quat operator*(Quat q) const {
        return {w * q.w - x * q.x - y * q.y - z * q.z, w * q.x + x * q.w + y * q.z - z * q.y,
                w * q.y - x * q.z + y * q.w + z * q.x, w * q.z + x * q.y - y * q.x + z * q.w};
    }
    V3 operator*(V3 v) const {
        V3 u{x, y, z};
        V3 t = cross(u, v) * 2.f;
        return v + t * w + cross(u, t);
    }
    Quat conj() const { return {w, -x, -y, -z}; }
};

inline Quat slerp(Quat a, Quat b, float t) {
    float d = a.w * b.w + a.x * b.x + a.y * b.y + a.z * b.z;
    if (d < 0) {
        b = {-b.w, -b.x, -b.y, -b.z};
        d = -d;
    }
    float wa = 1 - t, wb = t;
    if (d < 0.9995f) {
        float th = std::acos(d), s = std::sin(th);
        wa = std::sin((1 - t) * th) / s;
        wb = std::sin(t * th) / s;
    }
    Quat q{wa * a.w + wb * b.w, wa * a.x + wb * b.x, wa * a.y + wb * b.y, wa * a.z + wb * b.z};
    float n = 1 / std::sqrt(q.w * q.w + q.x * q.x + q.y * q.y + q.z * q.z);
    return {q.w * n, q.x * n, q.y * n, q.z * n};
}

// roll about the view axis, yaw about the vertical, pitch about the horizontal axis (degrees)
inline Quat euler(float roll, float yaw, float pitch) {
    return Quat::axis({0, 0, 1}, roll) * Quat::axis({0, 1, 0}, yaw) * Quat::axis({1, 0, 0}, pitch);
}

// Deterministic random numbers (PCG).
struct Rng {
    uint64_t s;
    explicit Rng(uint64_t seed = 1) : s(seed * 6364136223846793005ULL + 1442695040888963407ULL) {
        next();
        next();
    }
    uint32_t next() {
        uint64_t o = s;
        s = o * 6364136223846793005ULL + 1442695040888963407ULL;
        uint32_t x = uint32_t(((o >> 18) ^ o) >> 27), r = uint32_t(o >> 59);
        return (x >> r) | (x << ((-r) & 31));
    }
    float uni() { return (next() >> 8) * (1.f / 16777216.f); }
    float uni(float a, float b) { return a + (b - a) * uni(); }
    float nrm() { return (uni() + uni() + uni() + uni() - 2.f) * 1.7320508f; }
    bool chance(float p) { return uni() < p; }
};

// Value noise in three dimensions, result in [-1,1].
inline float hash3(int x, int y, int z) {
    uint32_t h = uint32_t(x) * 374761393u + uint32_t(y) * 668265263u + uint32_t(z) * 2147483647u;
    h = (h ^ (h >> 13)) * 1274126177u;
    h ^= h >> 16;
    return (h & 0xffffff) * (2.f / 16777215.f) - 1.f;
}

inline float noise3(V3 p) {
    float fx = std::floor(p.x), fy = std::floor(p.y), fz = std::floor(p.z);
    int x = int(fx), y = int(fy), z = int(fz);
    float u = p.x - fx, v = p.y - fy, w = p.z - fz;
    u = u * u * (3 - 2 * u);
    v = v * v * (3 - 2 * v);
    w = w * w * (3 - 2 * w);
    float a = mix(mix(hash3(x, y, z), hash3(x + 1, y, z), u),
                  mix(hash3(x, y + 1, z), hash3(x + 1, y + 1, z), u), v);
    float b = mix(mix(hash3(x, y, z + 1), hash3(x + 1, y, z + 1), u),
                  mix(hash3(x, y + 1, z + 1), hash3(x + 1, y + 1, z + 1), u), v);
    return mix(a, b, w);
}

inline float fbm(V3 p, int oct) {
    float s = 0, a = 0.5f;
    for (int i = 0; i < oct; i++) {
        s += a * noise3(p);
        p = p * 2.03f + V3(7.1f, 3.7f, 1.9f);
        a *= 0.5f;
    }
    return s;
}

// Smooth minimum (quadratic); k is the blend width.
inline float smin(float a, float b, float k) {
    float h = std::max(k - std::fabs(a - b), 0.f) / k;
    return std::min(a, b) - h * h * k * 0.25f;
}

inline float smax(float a, float b, float k) {
    return -smin(-a, -b, k);
}

inline float sdCapsule(V3 p, V3 a, V3 b, float ra, float rb) {
    V3 pa = p - a, ba = b - a;
    float t = clamp01(dot(pa, ba) / std::max(1e-6f, dot(ba, ba)));
    return len(pa - ba * t) - mix(ra, rb, t);
}

inline float sdEllipsoid(V3 p, V3 r) {
    V3 q{p.x / r.x, p.y / r.y, p.z / r.z}, g{q.x / r.x, q.y / r.y, q.z / r.z};
    float k0 = len(q), k1 = len(g);
    return k1 < 1e-6f ? -std::min(r.x, std::min(r.y, r.z)) : k0 * (k0 - 1.f) / k1;
}

// Pin-hole camera at the origin looking along -Z (X right, Y up), optional roll for training crops.
struct Camera {
    int w = 1280, h = 720;
    float f = 949, cx = 640, cy = 360, cr = 1, sr = 0;
    V3 ray(float px, float py) const {
        float u = px - cx, v = py - cy;
        return norm({(cr * u + sr * v) / f, -(-sr * u + cr * v) / f, -1.f});
    }
    void project(V3 p, float& x, float& y) const {
        float u = f * p.x / -p.z, v = f * p.y / p.z;
        x = cx + cr * u - sr * v;
        y = cy + sr * u + cr * v;
    }
};

// Linear-light float picture: colour premultiplied by alpha, plus depth along the ray.
struct Layer {
    int w = 0, h = 0;
    std::vector<V3> c;
    std::vector<float> a, z;
    void reset(int W, int H) {
        if (W != w || H != h) {
            w = W;
            h = H;
            c.assign(size_t(W) * H, {});
            a.assign(size_t(W) * H, 0);
            z.assign(size_t(W) * H, 1e9f);
        } else {
            std::fill(c.begin(), c.end(), V3());
            std::fill(a.begin(), a.end(), 0.f);
            std::fill(z.begin(), z.end(), 1e9f);
        }
    }
};

} // namespace presenter
