// Two discoverability dots; uv has its origin at the top left of the frame.
// params: left x, left y, right x, right y in clip space
// params2: left opacity, right opacity, radius in clip units, frame width over height
// params3: tint red, green, blue, soft-edge width in clip units
layout(location = 0) in vec2 uv;
layout(location = 0) out vec4 color;

float dotCoverage(vec2 at, vec2 centre, float opacity) {
    float radius = uniforms.params2.z;
    float softness = uniforms.params3.w;
    return (1.0 - smoothstep(radius - softness, radius + softness, distance(at, centre))) * opacity;
}

void main() {
    vec2 round = vec2(uniforms.params2.w, 1.0);
    vec2 at = vec2(2.0 * uv.x - 1.0, 1.0 - 2.0 * uv.y) * round;
    float alpha = max(dotCoverage(at, uniforms.params.xy * round, uniforms.params2.x),
                      dotCoverage(at, uniforms.params.zw * round, uniforms.params2.y));
    if (alpha < 0.001) discard;
    color = vec4(uniforms.params3.rgb * alpha, alpha);
}
