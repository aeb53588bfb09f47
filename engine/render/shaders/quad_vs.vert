layout(location = 0) in vec4 vertex; // x, y, u, v
layout(location = 0) out vec2 uv;

void main() {
    gl_Position = vec4(vertex.x, -vertex.y, 0.0, 1.0);
    uv = vertex.zw;
}
