// Averages squares of pixels into cells; the picture's edges reach on for ever.
// params: pixels a cell's side (1 or even), column and row of the first cell drawn
// params2: width and height of the picture in pixels
layout(set = 0, binding = 0) uniform sampler2D picture;
layout(location = 0) in vec2 uv;
layout(location = 0) out vec4 color;

void main() {
    vec2 cell = floor(gl_FragCoord.xy) + uniforms.params.yz;
    vec2 size = uniforms.params2.xy;
    int pairs = int(uniforms.params.x) / 2;
    if (pairs == 0) {
        color = textureLod(picture, (cell + 0.5) / size, 0.0);
        return;
    }
    // A sample where four pixels meet is their average.
    vec2 first = cell * uniforms.params.x + 1.0;
    vec4 sum = vec4(0.0);
    for (int y = 0; y < pairs; ++y)
        for (int x = 0; x < pairs; ++x)
            sum += textureLod(picture, (first + 2.0 * vec2(x, y)) / size, 0.0);
    color = sum / float(pairs * pairs);
}
