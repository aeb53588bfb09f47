// The glass pane: content, rim, specular crescent and drop shadow in one draw over a padded quad.
// params: opacity, slide aspect, corner radius
// params2: shadowRadius, shadowStrength, rimWidth, specularHeight
// params3: rimMin, rimMax, specularIntensity
layout(set = 0, binding = 0) uniform sampler2D tex;
layout(location = 0) in vec2 uv;
layout(location = 0) out vec4 color;

void main() {
    float alpha = uniforms.params.x;
    float shadowRadius = uniforms.params2.x;
    PaneEdge edge = paneEdge(uv, uniforms.params.y, uniforms.params.z);
    float distance = edge.distance;
    float inside = insideMask(edge);
    if (inside < 0.001 && distance > shadowRadius) {
        color = vec4(0.0);
        return;
    }
    vec4 texel = textureLod(tex, clamp(uv, 0.0, 1.0), 0.0);
    float rim = ramp(-uniforms.params2.z, uniforms.params2.z, distance) *
                mix(uniforms.params3.x, uniforms.params3.y, saturate(uv.y));
    float specular = ramp(1.0 - uniforms.params2.w, uniforms.params2.w, uv.y) * uniforms.params3.z;
    float insideAlpha = texel.a * alpha * inside;
    vec4 pane = vec4((texel.rgb + rim + specular) * insideAlpha, insideAlpha);

    float fall = 1.0 - ramp(0.0, shadowRadius, max(distance, 0.0));
    float shadow = fall * fall * uniforms.params2.y * alpha * (1.0 - inside);
    // One step of jitter breaks the rings that a faint shadow shows in 8 bits.
    float hash = fract(sin(dot(gl_FragCoord.xy, vec2(12.9898, 78.233))) * 43758.5453);
    shadow = max(shadow + (hash - 0.5) / 255.0, 0.0);
    color = pane + vec4(0.0, 0.0, 0.0, shadow);
}
