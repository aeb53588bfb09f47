// params: alpha
layout(set = 0, binding = 0) uniform sampler2D tex;
layout(location = 0) in vec2 uv;
layout(location = 0) out vec4 color;

void main() {
    float alpha = uniforms.params.x;
    vec4 texel = textureLod(tex, uv, 0.0);
    color = vec4(texel.rgb * texel.a * alpha, texel.a * alpha);
}
