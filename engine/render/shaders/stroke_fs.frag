// params: ink colour, straight alpha
// params2: width scale
layout(location = 0) in vec4 strokeInk; // coreOffset, coreHalfWidth, featherHalfWidth, alpha
layout(location = 0) out vec4 color;

void main() {
    float distance = abs(strokeInk.x);
    float core = strokeInk.y * uniforms.params2.x;
    float feather = max(strokeInk.z - strokeInk.y, 0.001);
    float coverage = 1.0 - smoothstep(core, core + feather, distance);
    float alpha = uniforms.params.a * strokeInk.w * coverage;
    color = vec4(uniforms.params.rgb * alpha, alpha);
}
