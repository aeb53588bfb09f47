// The 3D model's finishing pass over a blurred picture of everything behind it.
// params: opacity, blackFloor, whiteCeiling, level-match strength
// params2: light-wrap width (of the long side), light-wrap strength, edge softness
// params3: from uv to the background: scale x, y, offset x, y
layout(set = 0, binding = 0) uniform sampler2D model;
layout(set = 1, binding = 0) uniform sampler2D background;
layout(location = 0) in vec2 uv;
layout(location = 0) out vec4 color;

vec3 levelMatched(vec3 rgb, float blackFloor, float whiteCeiling, float strength) {
    float luminance = dot(rgb, vec3(0.2126, 0.7152, 0.0722));
    float envelope = max(whiteCeiling - blackFloor, 0.05);
    float remapped = blackFloor + luminance * envelope;
    float shoulder = smoothstep(whiteCeiling - 0.15 * envelope, whiteCeiling, remapped);
    remapped = mix(remapped, whiteCeiling, shoulder * 0.3);
    float matched = mix(luminance, remapped, strength);
    return rgb * (luminance > 0.0001 ? matched / luminance : 1.0);
}

// A 25-tap disc whose weights sum to 1.
float softMask(float centreAlpha, float wrapWidth) {
    vec2 size = vec2(textureSize(model, 0));
    vec2 step = max(wrapWidth, 0.010) * max(size.x, size.y) / size;
    float mask = centreAlpha * 0.20;
    for (int i = 0; i < 8; ++i) {
        float angle = float(i) * 0.78539816;
        vec2 direction = vec2(cos(angle), sin(angle)) * step;
        mask += textureLod(model, uv + direction * 0.5, 0.0).a * 0.050;
        mask += textureLod(model, uv + direction, 0.0).a * 0.030;
        mask += textureLod(model, uv + direction * 1.5, 0.0).a * 0.020;
    }
    return mask;
}

void main() {
    float strength = uniforms.params.w;
    float wrapStrength = uniforms.params2.y;
    float softness = uniforms.params2.z;
    vec4 texel = textureLod(model, uv, 0.0);
    if (texel.a < 0.001 && wrapStrength < 0.001 && softness < 0.001) {
        color = vec4(0.0);
        return;
    }
    vec3 rgb = texel.a > 0.0001 ? texel.rgb / texel.a : vec3(0.0);
    if (strength > 0.001)
        rgb = levelMatched(rgb, uniforms.params.y, uniforms.params.z, strength);
    vec3 behind = textureLod(background, uv * uniforms.params3.xy + uniforms.params3.zw, 0.0).rgb;
    float mask = softMask(texel.a, uniforms.params2.x);
    rgb = mix(rgb, behind, (1.0 - mask) * wrapStrength);
    float softAlpha = mix(texel.a, mask, softness);
    float presence = smoothstep(0.0, 0.04, texel.a);
    float alpha = softAlpha * uniforms.params.x;
    color = vec4(mix(behind, rgb, presence) * alpha, alpha);
}
