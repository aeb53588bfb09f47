layout(location = 0) in vec4 vertex; // x, y, u, v
layout(location = 0) out vec2 uv;

void main() {
    vec4 position = uniforms.mvp * vec4(vertex.xy, 0.0, 1.0);
    // There is no depth buffer: the middle of the clip range keeps the receding edge of a tilted
    // quad from being clipped.
    gl_Position = vec4(position.x, -position.y, 0.5 * position.w, position.w);
    uv = vertex.zw;
}
