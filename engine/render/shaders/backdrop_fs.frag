// Frosted glass behind the pane. The blurred picture is one of the frame, mirrored with it.
// params: slide aspect, corner radius, unused, opacity
// params2: from pixels to the blurred picture: scale x, y, offset x, y
layout(set = 0, binding = 0) uniform sampler2D blurred;
layout(location = 0) in vec2 uv;
layout(location = 0) out vec4 color;

void main() {
    float inside = insideMask(paneEdge(uv, uniforms.params.x, uniforms.params.y));
    if (inside < 0.001) {
        color = vec4(0.0);
        return;
    }
    vec2 screen = gl_FragCoord.xy * uniforms.params2.xy + uniforms.params2.zw;
    float alpha = inside * uniforms.params.w;
    color = vec4(textureLod(blurred, screen, 0.0).rgb * alpha, alpha);
}
