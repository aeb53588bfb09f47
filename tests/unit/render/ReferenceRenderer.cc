#include "ReferenceRenderer.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace lanternfly::test {

namespace {

using Colour = glm::dvec4; // b, g, r, a from 0 to 1

double smoothstep(double low, double high, double x) {
    const double t = std::clamp((x - low) / std::max(high - low, 1e-5), 0.0, 1.0);
    return t * t * (3 - 2 * t);
}
double saturate(double x) {
    return std::clamp(x, 0.0, 1.0);
}
double mixed(double a, double b, double t) {
    return a + (b - a) * t;
}

Colour texel(const PixelBuffer& picture, int x, int y) {
    const uint8_t* p = picture.row(std::clamp(y, 0, picture.height() - 1)) +
                       std::clamp(x, 0, picture.width() - 1) * 4;
    return Colour(p[0], p[1], p[2], p[3]) / 255.0;
}

Colour bilinear(const PixelBuffer& picture, double u, double v) {
    const double x = saturate(u) * picture.width() - 0.5;
    const double y = saturate(v) * picture.height() - 0.5;
    const int x0 = static_cast<int>(std::floor(x));
    const int y0 = static_cast<int>(std::floor(y));
    const double tx = x - x0;
    const double ty = y - y0;
    return glm::mix(glm::mix(texel(picture, x0, y0), texel(picture, x0 + 1, y0), tx),
                    glm::mix(texel(picture, x0, y0 + 1), texel(picture, x0 + 1, y0 + 1), tx), ty);
}

void blendOver(PixelBuffer& frame, int x, int y, Colour source) {
    source = glm::clamp(source, 0.0, 1.0);
    const Colour result = source + texel(frame, x, y) * (1 - source.a);
    for (int c = 0; c < 4; ++c)
        frame.row(y)[x * 4 + c] =
            static_cast<uint8_t>(std::lround(std::clamp(result[c], 0.0, 1.0) * 255));
}

// The pane seen from a pixel: found by intersecting with the matrix, row by row.
struct Hit {
    bool isInQuad = false;
    double u = 0, v = 0;
};

Hit hit(const PanePlace& place, double px, double py, int width, int height) {
    const glm::dmat4 m(place.matrix);
    const double clipX = px / width * 2 - 1;
    const double clipY = 1 - py / height * 2;
    // clip · w(x, y) = numerator(x, y): two linear equations in the pane's x and y (Cramer).
    const double a = m[0][0] - clipX * m[0][3], b = m[1][0] - clipX * m[1][3];
    const double c = m[0][1] - clipY * m[0][3], d = m[1][1] - clipY * m[1][3];
    const double e = clipX * m[3][3] - m[3][0], f = clipY * m[3][3] - m[3][1];
    const double determinant = a * d - b * c;
    const double x = (e * d - b * f) / determinant;
    const double y = (a * f - e * c) / determinant;
    const auto& q = place.quad.vertices;
    Hit result;
    result.isInQuad =
        std::abs(x) <= q[12] && std::abs(y) <= q[13] && m[0][3] * x + m[1][3] * y + m[3][3] > 0;
    result.u = mixed(q[2], q[6], (x - q[0]) / (q[4] - q[0]));
    result.v = mixed(q[3], q[11], (y - q[1]) / (q[9] - q[1]));
    return result;
}

double paneDistance(double u, double v, double aspect, double r) {
    const double hx = aspect >= 1 ? aspect : 1;
    const double hy = aspect >= 1 ? 1 : 1 / aspect;
    const double dx = std::abs((u - 0.5) * 2 * hx) - (hx - r);
    const double dy = std::abs((v - 0.5) * 2 * hy) - (hy - r);
    return std::hypot(std::max(dx, 0.0), std::max(dy, 0.0)) + std::min(std::max(dx, dy), 0.0) - r;
}

struct Edge {
    Hit hit;
    double distance = 0, width = 0, inside = 0;
};

Edge edgeAt(const PanePlace& place, int x, int y, double aspect, double r, int width, int height) {
    const auto distanceAt = [&](double px, double py) {
        const Hit h = hit(place, px, py, width, height);
        return paneDistance(h.u, h.v, aspect, r);
    };
    Edge edge;
    edge.hit = hit(place, x + 0.5, y + 0.5, width, height);
    edge.distance = distanceAt(x + 0.5, y + 0.5);
    constexpr double step = 1e-5; // of a pixel: a derivative, not a difference of pixels
    const auto slope = [&](double dx, double dy) {
        return std::abs(distanceAt(x + 0.5 + dx, y + 0.5 + dy) -
                        distanceAt(x + 0.5 - dx, y + 0.5 - dy)) /
               (2 * step);
    };
    edge.width = std::max(slope(step, 0) + slope(0, step), 0.00001);
    edge.inside = 1 - smoothstep(-edge.width, edge.width, edge.distance);
    return edge;
}

double ditherAt(int x, int y) {
    const double value = std::sin((x + 0.5) * 12.9898 + (y + 0.5) * 78.233) * 43758.5453;
    return value - std::floor(value) - 0.5;
}

Colour slideColour(const SlideUniforms& uniforms, const PixelBuffer& slide, const Edge& edge, int x,
                   int y) {
    const double opacity = uniforms.params.x;
    const float4 g = uniforms.glass;
    const float4 g2 = uniforms.glass2;
    if (edge.inside < 0.001 && edge.distance > g.x) return Colour(0);
    const double v = edge.hit.v;
    const Colour content = bilinear(slide, edge.hit.u, v);
    const double rim = smoothstep(-double{g.z}, 0, edge.distance) * mixed(g2.x, g2.y, saturate(v));
    const double specular = smoothstep(1 - double{g.w}, 1, v) * g2.z;
    const double insideAlpha = content.a * opacity * edge.inside;
    const double fall = 1 - smoothstep(0, g.x, std::max(edge.distance, 0.0));
    double shadow = fall * fall * g.y * opacity * (1 - edge.inside);
    shadow = std::max(shadow + ditherAt(x, y) / 255, 0.0);
    const glm::dvec3 lit = (glm::dvec3(content) + rim + specular) * insideAlpha;
    return Colour(lit, insideAlpha + shadow);
}

Colour pinchBarColour(const PinchBarUniforms& uniforms, const Edge& edge) {
    const double opacity = saturate(uniforms.params.y);
    const double d = edge.distance;
    const double aa = edge.width;
    const double v = saturate(edge.hit.v);
    const double fall = 1 - smoothstep(0, 0.4, std::max(d, 0.0));
    const double shadow = 0.22 * fall * fall * (1 - edge.inside) * opacity;
    const double band = smoothstep(-2 * aa, -aa, d) - smoothstep(-aa, 0, d);
    const double stroke = mixed(0.20, 0.42, v) * band * opacity;
    const double fill = mixed(0.32, 0.46, v) * edge.inside * opacity;
    return Colour(0.98 * fill + stroke, 0.96 * fill + stroke, 0.95 * fill + stroke,
                  fill + stroke + shadow);
}

} // namespace

PixelBufferRef exactGaussian(const PixelBuffer& source, double sigma) {
    const int reach = static_cast<int>(std::ceil(5 * sigma));
    std::vector<double> weights;
    double sum = 0;
    for (int i = -reach; i <= reach; ++i)
        sum += weights.emplace_back(std::exp(-0.5 * i * i / (sigma * sigma)));
    const int width = source.width();
    const int height = source.height();
    std::vector<Colour> rows(static_cast<size_t>(width) * static_cast<size_t>(height));
    const auto at = [&](int x, int y) -> Colour& {
        return rows[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)];
    };
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            Colour total(0);
            for (int i = -reach; i <= reach; ++i)
                total += texel(source, x + i, y) * weights[static_cast<size_t>(i + reach)];
            at(x, y) = total / sum;
        }
    auto result = PixelBuffer::create(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            Colour total(0);
            for (int i = -reach; i <= reach; ++i)
                total += at(x, std::clamp(y + i, 0, height - 1)) *
                         weights[static_cast<size_t>(i + reach)];
            for (int c = 0; c < 4; ++c)
                result->row(y)[x * 4 + c] = static_cast<uint8_t>(std::lround(total[c] / sum * 255));
        }
    return result;
}

PixelBufferRef referenceFrame(const FramePlan& plan, const PixelBuffer& camera,
                              const PixelBuffer* slide) {
    const int width = camera.width();
    const int height = camera.height();
    auto frame = PixelBuffer::create(width, height);
    const bool mirror = plan.background.mirror;
    const auto background =
        plan.background.blurSigma ? exactGaussian(camera, *plan.background.blurSigma) : nullptr;
    const auto backdrop = plan.backdrop ? exactGaussian(camera, plan.backdrop->blurSigma) : nullptr;
    const auto each = [&](const auto& body) {
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                body(x, y);
    };
    each([&](int x, int y) {
        const PixelBuffer& picture = background ? *background : camera;
        std::memcpy(frame->row(y) + x * 4, picture.row(y) + (mirror ? width - 1 - x : x) * 4, 4);
    });
    if (plan.backdrop)
        each([&](int x, int y) {
            const float4 p = plan.backdrop->uniforms.params;
            const Edge edge = edgeAt(plan.backdrop->place, x, y, p.x, p.y, width, height);
            if (!edge.hit.isInQuad || edge.inside < 0.001) return;
            const double u = (x + 0.5) / width;
            const Colour blurred = bilinear(*backdrop, p.z > 0.5f ? 1 - u : u, (y + 0.5) / height);
            const double a = edge.inside * p.w;
            blendOver(*frame, x, y, Colour(glm::dvec3(blurred) * a, a));
        });
    if (plan.pane)
        each([&](int x, int y) {
            const float4 p = plan.pane->uniforms.params;
            const Edge edge = edgeAt(plan.pane->place, x, y, p.y, p.z, width, height);
            if (edge.hit.isInQuad)
                blendOver(*frame, x, y, slideColour(plan.pane->uniforms, *slide, edge, x, y));
        });
    if (plan.pinchBar)
        each([&](int x, int y) {
            const float4 p = plan.pinchBar->uniforms.params;
            const Edge edge =
                edgeAt(plan.pinchBar->place, x, y, std::max(p.x, 1.f), 1, width, height);
            if (edge.hit.isInQuad)
                blendOver(*frame, x, y, pinchBarColour(plan.pinchBar->uniforms, edge));
        });
    return frame;
}

} // namespace lanternfly::test
