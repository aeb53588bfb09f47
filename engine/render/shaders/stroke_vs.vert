layout(location = 0) in vec2 point; // authoring-viewport pixels, y down
layout(location = 1) in vec4 ink;   // coreOffset, coreHalfWidth, featherHalfWidth, alpha
layout(location = 0) out vec4 strokeInk;

void main() {
    vec4 position = uniforms.mvp * vec4(point, 0.0, 1.0);
    gl_Position = vec4(position.x, -position.y, 0.5 * position.w, position.w);
    strokeInk = ink;
}
