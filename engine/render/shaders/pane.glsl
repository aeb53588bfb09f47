// Shared by the fragment functions: it stands in front of each, after common.glsl.

float saturate(float x) {
    return clamp(x, 0.0, 1.0);
}

// A rounded rectangle seen from one fragment, in short-side-half units.
struct PaneEdge {
    float distance; // negative inside
    float width;    // how far the distance moves from one pixel to the next
};

// Call it before any branch: it takes derivatives.
PaneEdge paneEdge(vec2 uv, float aspect, float radius) {
    vec2 halfExtent = aspect >= 1.0 ? vec2(aspect, 1.0) : vec2(1.0, 1.0 / aspect);
    vec2 point = (uv - 0.5) * 2.0 * halfExtent;
    vec2 d = abs(point) - (halfExtent - radius);
    float beyond = length(max(d, 0.0));
    PaneEdge edge;
    edge.distance = beyond + min(max(d.x, d.y), 0.0) - radius;
    // The sum of the derivatives' sizes, like fwidth(distance), but by the slope of the formula:
    // a difference of two fragments is wrong wherever the distance has a crease between them.
    vec2 slope = d.x > 0.0 && d.y > 0.0 ? d / beyond : d.x > d.y ? vec2(1.0, 0.0) : vec2(0.0, 1.0);
    slope *= vec2(point.x < 0.0 ? -1.0 : 1.0, point.y < 0.0 ? -1.0 : 1.0) * 2.0 * halfExtent;
    edge.width = max(abs(dot(slope, dFdx(uv))) + abs(dot(slope, dFdy(uv))), 0.00001);
    return edge;
}

float insideMask(PaneEdge edge) {
    return 1.0 - smoothstep(-edge.width, edge.width, edge.distance);
}

// From 0 at `start` to 1 at `start + span`; a span of 0 or less is a hard step.
float ramp(float start, float span, float x) {
    return smoothstep(0.0, 1.0, (x - start) / max(span, 0.00001));
}
