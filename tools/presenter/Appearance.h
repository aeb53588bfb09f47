// How skin, cloth and light look.
#pragma once

#include "Maths.h"

namespace presenter {

struct Look {
    float tone = 0.25f; // 0 very light .. 1 very dark skin
    float warm = 0.f;   // undertone shift
    V3 hair{.045f, .026f, .016f}, cloth{.055f, .105f, .17f}, collar{.06f, .11f, .18f},
        strap{.02f, .02f, .022f}, iris{.10f, .055f, .025f};
    float mottle = 1.f, gloss = 1.f;
    bool stubble = true;
    V3 skin() const { // linear albedo along a melanin ramp
        static const V3 r[5] = {{.66f, .42f, .33f},
                                {.53f, .315f, .225f},
                                {.39f, .215f, .14f},
                                {.22f, .115f, .072f},
                                {.095f, .052f, .036f}};
        float t = tone * 3.999f;
        int i = int(t);
        V3 c = mix(r[i], r[i + 1], t - i);
        return c * V3(1 + .06f * warm, 1.f, 1 - .08f * warm);
    }
    V3 palm() const {
        V3 s = skin();
        return mix(s, V3(.60f, .355f, .275f), .30f + .40f * tone) * mix(1.f, .78f, tone);
    }
};

struct Lights {
    V3 keyD = norm({-.55f, .60f, .62f}), keyC{2.15f, 2.0f, 1.82f};
    V3 fillD = norm({.55f, -.05f, .85f}), fillC{.46f, .52f, .62f};
    V3 rimD = norm({.80f, .35f, -.50f}), rimC{.95f, .78f, .58f};
    V3 up{.50f, .52f, .56f}, down{.24f, .21f, .19f};
    float exposure = 0.80f;
};

// What a surface sends to the lighting model.
struct Surf {
    V3 albedo;
    float spec = .25f, rough = .5f, sss = 0;
};

// The light that a surface with normal n sends towards v; ao and shadow from 0 to 1.
V3 lightSurface(const Surf& s, V3 n, V3 v, float ao, float shadow, const Lights& L);

} // namespace presenter
