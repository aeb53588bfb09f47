// The glass capsule of the pinch indicator.
// params: width over height, opacity
layout(location = 0) in vec2 uv;
layout(location = 0) out vec4 color;

const float shadowRadius = 0.4;

void main() {
    float aspect = max(uniforms.params.x, 1.0);
    float opacity = saturate(uniforms.params.y);
    PaneEdge edge = paneEdge(uv, aspect, 1.0);
    float distance = edge.distance;
    float aa = edge.width;
    float inside = insideMask(edge);

    float fall = 1.0 - smoothstep(0.0, shadowRadius, max(distance, 0.0));
    float shadowAlpha = 0.22 * fall * fall * (1.0 - inside) * opacity;
    float band = smoothstep(-2.0 * aa, -aa, distance) - smoothstep(-aa, 0.0, distance);
    float strokeAlpha = mix(0.20, 0.42, saturate(uv.y)) * band * opacity;
    float fillAlpha = mix(0.32, 0.46, saturate(uv.y)) * inside * opacity;
    color = vec4(vec3(0.95, 0.96, 0.98) * fillAlpha + vec3(strokeAlpha),
                 fillAlpha + strokeAlpha + shadowAlpha);
}
