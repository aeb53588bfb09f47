// One direction of a Gaussian over cells.
// params: sigma, radius in cells, direction (1, 0) or (0, 1)
// params2: where in the picture the first cell drawn lies
layout(set = 0, binding = 0) uniform sampler2D picture;
layout(location = 0) in vec2 uv;
layout(location = 0) out vec4 color;

void main() {
    ivec2 centre = ivec2(gl_FragCoord.xy) + ivec2(uniforms.params2.xy);
    ivec2 direction = ivec2(uniforms.params.zw);
    int radius = int(uniforms.params.y);
    // exp(-i^2 / 2 sigma^2) from one tap to the next without another exponential.
    float fall = exp(-0.5 / (uniforms.params.x * uniforms.params.x));
    float square = fall * fall;
    float weight = 1.0;
    float weights = 1.0;
    vec4 sum = texelFetch(picture, centre, 0);
    for (int i = 1; i <= radius; ++i) {
        weight *= fall;
        fall *= square;
        weights += 2.0 * weight;
        sum += weight * (texelFetch(picture, centre - i * direction, 0) +
                         texelFetch(picture, centre + i * direction, 0));
    }
    color = sum / weights;
}
