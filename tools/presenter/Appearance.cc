#include "Appearance.h"

namespace presenter {

V3 lightSurface(const Surf& s, V3 n, V3 v, float ao, float shadow, const Lights& L) {
    auto lobe = [&](V3 d, V3 c, float sh) {
        float ndl = dot(n, d);
        V3 wrap{.38f * s.sss, .14f * s.sss, .08f * s.sss};
        V3 dif{clamp01((ndl + wrap.x) / (1 + wrap.x)), clamp01((ndl + wrap.y) / (1 + wrap.y)),
               clamp01((ndl + wrap.z) / (1 + wrap.z))};
        V3 shc{mix(sh, 1.f, .14f * s.sss), mix(sh, 1.f, .03f * s.sss),
               sh}; // light bleeding reddens shadow edges
        V3 o = s.albedo * dif * shc * c * 0.62f;
        if (ndl > 0 && s.spec > 0) {
            V3 h = norm(d + v);
            float nh = clamp01(dot(n, h)), a = s.rough * s.rough, den = nh * nh * (a * a - 1) + 1;
            float D = a * a / (kPi * den * den),
                  f = .04f + .96f * std::pow(1 - clamp01(dot(h, v)), 5.f);
            o += c * (D * f * s.spec * ndl * sh * .9f);
        }
        return o;
    };
    V3 o = lobe(L.keyD, L.keyC, shadow) + lobe(L.fillD, L.fillC, mix(1.f, ao, .6f)) +
           lobe(L.rimD, L.rimC, mix(.3f, 1.f, ao));
    V3 amb = mix(L.down, L.up, n.y * .5f + .5f);
    V3 aoc{std::pow(ao, mix(1.f, .72f, s.sss)), ao, std::pow(ao, mix(1.f, 1.08f, s.sss))};
    o += s.albedo * amb * aoc * .62f;
    float fres = std::pow(1 - clamp01(dot(n, v)), 4.f);
    o += amb * (fres * ao * .10f * (s.spec > 0 ? 1.f : .3f));
    return o;
}

} // namespace presenter
