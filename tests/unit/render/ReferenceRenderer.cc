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

Colour textured(const Colour& texel, double alpha) {
    return Colour(glm::dvec3(texel) * texel.a * alpha, texel.a * alpha);
}

void drawSlideBackground(PixelBuffer& frame, const BackgroundDraw& draw, const PixelBuffer* slide,
                         double levelScale) {
    const auto blurred =
        slide && draw.blurSigma ? exactGaussian(*slide, *draw.blurSigma * levelScale) : nullptr;
    const auto& q = draw.quad.vertices;
    for (int y = 0; y < frame.height(); ++y)
        for (int x = 0; x < frame.width(); ++x) {
            const double clipX = (x + 0.5) / frame.width() * 2 - 1;
            const double clipY = 1 - (y + 0.5) / frame.height() * 2;
            Colour result(0, 0, 0, 1);
            if (slide && std::abs(clipX) <= q[4] && std::abs(clipY) <= q[13]) {
                const double u = mixed(q[2], q[6], (clipX - q[0]) / (q[4] - q[0]));
                const double v = mixed(q[3], q[11], (clipY - q[1]) / (q[9] - q[1]));
                result = textured(bilinear(blurred ? *blurred : *slide, u, v), 1);
            }
            for (int c = 0; c < 4; ++c)
                frame.row(y)[x * 4 + c] = static_cast<uint8_t>(std::lround(result[c] * 255));
        }
}

double softMask(const PixelBuffer& model, double u, double v, double wrapWidth) {
    const double step = std::max(wrapWidth, 0.010) * std::max(model.width(), model.height());
    const double2 stepUv(step / model.width(), step / model.height());
    double mask = bilinear(model, u, v).a * 0.20;
    for (int i = 0; i < 8; ++i) {
        const double2 direction =
            double2(std::cos(i * 0.78539816), std::sin(i * 0.78539816)) * stepUv;
        const auto alphaAt = [&](double steps) {
            return bilinear(model, u + direction.x * steps, v + direction.y * steps).a;
        };
        mask += alphaAt(0.5) * 0.050 + alphaAt(1) * 0.030 + alphaAt(1.5) * 0.020;
    }
    return mask;
}

Colour spatialColour(const SpatialUniforms& uniforms, const PixelBuffer& model,
                     const Colour& behind, double u, double v) {
    const float4 level = uniforms.levelParams;
    const float4 wrap = uniforms.wrapParams;
    const Colour texel = bilinear(model, u, v);
    if (texel.a < 0.001 && wrap.y < 0.001 && wrap.z < 0.001) return Colour(0);
    glm::dvec3 rgb = texel.a > 0.0001 ? glm::dvec3(texel) / texel.a : glm::dvec3(0);
    if (level.w > 0.001) {
        const double y = 0.2126 * rgb.z + 0.7152 * rgb.y + 0.0722 * rgb.x;
        const double envelope = std::max(double{level.z} - level.y, 0.05);
        double remapped = level.y + y * envelope;
        const double shoulder = smoothstep(level.z - 0.15 * envelope, level.z, remapped);
        remapped = mixed(remapped, level.z, shoulder * 0.3);
        if (y > 0.0001) rgb *= mixed(y, remapped, level.w) / y;
    }
    const double mask = softMask(model, u, v, wrap.x);
    rgb = glm::mix(rgb, glm::dvec3(behind), (1 - mask) * wrap.y);
    const double softAlpha = mixed(texel.a, mask, wrap.z);
    const double presence = smoothstep(0, 0.04, texel.a);
    const double a = softAlpha * level.x;
    return Colour(glm::mix(glm::dvec3(behind), rgb, presence) * a, a);
}

// One triangle of a strip by the sign of its three edge functions; a pixel centre on an edge
// belongs to the triangle that the edge is the top or the left of.
void drawInkTriangle(PixelBuffer& frame, const StrokeUniforms& uniforms, const float* const* v) {
    double2 p[3];
    for (int i = 0; i < 3; ++i) {
        const glm::dvec4 clip = glm::dmat4(uniforms.mvp) * glm::dvec4(v[i][0], v[i][1], 0, 1);
        p[i] = {(clip.x + 1) / 2 * frame.width(), (1 - clip.y) / 2 * frame.height()};
    }
    const auto cross = [](double2 a, double2 b) { return a.x * b.y - a.y * b.x; };
    const double area = cross(p[1] - p[0], p[2] - p[0]);
    if (area == 0) return;
    const double2 low = glm::min(glm::min(p[0], p[1]), p[2]);
    const double2 high = glm::max(glm::max(p[0], p[1]), p[2]);
    for (int y = std::max(static_cast<int>(low.y) - 1, 0);
         y < std::min(high.y + 1, double(frame.height())); ++y)
        for (int x = std::max(static_cast<int>(low.x) - 1, 0);
             x < std::min(high.x + 1, double(frame.width())); ++x) {
            double weights[3];
            bool isInside = true;
            for (int i = 0; i < 3; ++i) {
                const double2 from = p[(i + 1) % 3];
                const double2 edge = (p[(i + 2) % 3] - from) * (area > 0 ? 1.0 : -1.0);
                const double side = cross(edge, double2(x + 0.5, y + 0.5) - from);
                const bool isTopLeft = (edge.y == 0 && edge.x > 0) || edge.y < 0;
                isInside &= side > 0 || (side == 0 && isTopLeft);
                weights[i] = side / std::abs(area);
            }
            if (!isInside) continue;
            const auto at = [&](int attribute) {
                return weights[0] * v[0][attribute] + weights[1] * v[1][attribute] +
                       weights[2] * v[2][attribute];
            };
            const double core = at(3) * uniforms.widthScale;
            const double span = std::max(at(4) - at(3), 0.001);
            const double coverage = 1 - smoothstep(core, core + span, std::abs(at(2)));
            const double a = uniforms.color.a * at(5) * coverage;
            const float4 ink = uniforms.color;
            blendOver(frame, x, y, Colour(glm::dvec3(ink.b, ink.g, ink.r) * a, a));
        }
}

void drawStrokes(PixelBuffer& frame, const StrokesDraw& draw) {
    for (const StrokeBatchRef& held : *draw.batches) {
        const StrokeBatch& batch = *held;
        const StrokeUniforms uniforms = strokeUniforms(draw, batch);
        for (int i = 2; i < drawnVertexCount(batch); ++i) {
            const float* last = batch.vertexBuffer.data() + static_cast<ptrdiff_t>(i) * 6;
            const float* triangle[] = {last - 12, last - 6, last};
            drawInkTriangle(frame, uniforms, triangle);
        }
    }
}

Colour dotsColour(const TwoHandDotsUniforms& uniforms, double u, double v) {
    const float4 p = uniforms.params;
    const double frameAspect = uniforms.params2.w;
    const double2 at((2 * u - 1) * frameAspect, 1 - 2 * v);
    const auto coverage = [&](double x, double y, double opacity) {
        const double r = uniforms.params2.z;
        const double w = uniforms.tint.w;
        const double distance = glm::distance(at, double2(x * frameAspect, y));
        const double t = std::clamp((distance - (r - w)) / (2 * w), 0.0, 1.0);
        return (1 - t * t * (3 - 2 * t)) * opacity;
    };
    const double a =
        std::max(coverage(p.x, p.y, uniforms.params2.x), coverage(p.z, p.w, uniforms.params2.y));
    if (a < 0.001) return Colour(0);
    return Colour(uniforms.tint.b * a, uniforms.tint.g * a, uniforms.tint.r * a, a);
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

PixelBufferRef referenceFrame(const FramePlan& plan, const ReferencePictures& pictures) {
    const PixelBuffer& camera = pictures.camera;
    const int width = camera.width();
    const int height = camera.height();
    auto frame = PixelBuffer::create(width, height);
    const bool mirror = plan.background.mirror;
    const bool isCamera = plan.background.source == PictureSource::camera;
    const auto background = isCamera && plan.background.blurSigma
                                ? exactGaussian(camera, *plan.background.blurSigma)
                                : nullptr;
    const auto backdrop = plan.backdrop ? exactGaussian(camera, plan.backdrop->blurSigma) : nullptr;
    const auto each = [&](const auto& body) {
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                body(x, y);
    };
    if (!isCamera)
        drawSlideBackground(*frame, plan.background, pictures.slideBackground,
                            pictures.slideLevelScale);
    else
        each([&](int x, int y) {
            const PixelBuffer& picture = background ? *background : camera;
            std::memcpy(frame->row(y) + x * 4, picture.row(y) + (mirror ? width - 1 - x : x) * 4,
                        4);
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
                blendOver(*frame, x, y,
                          slideColour(plan.pane->uniforms, *pictures.paneContent, edge, x, y));
        });
    const auto uOf = [&](int x) { return (x + 0.5) / width; };
    const auto vOf = [&](int y) { return (y + 0.5) / height; };
    if (plan.spatial && plan.spatial->finish) {
        const SpatialFinish& finish = *plan.spatial->finish;
        auto underlay = PixelBuffer::create(width, height);
        for (int y = 0; y < height; ++y)
            std::memcpy(underlay->row(y), frame->row(y), static_cast<size_t>(width) * 4);
        if (finish.underlayBlurSigma)
            underlay = exactGaussian(*underlay, *finish.underlayBlurSigma);
        each([&](int x, int y) {
            blendOver(*frame, x, y,
                      spatialColour(finish.uniforms, *pictures.spatial, texel(*underlay, x, y),
                                    uOf(x), vOf(y)));
        });
    } else if (plan.spatial) {
        each([&](int x, int y) {
            blendOver(*frame, x, y,
                      textured(bilinear(*pictures.spatial, uOf(x), vOf(y)), plan.spatial->opacity));
        });
    }
    if (plan.annotation)
        each([&](int x, int y) {
            const double v = plan.annotation->vDownward ? vOf(y) : 1 - vOf(y);
            blendOver(
                *frame, x, y,
                textured(bilinear(*pictures.annotation, uOf(x), v), plan.annotation->opacity));
        });
    if (plan.strokes) drawStrokes(*frame, *plan.strokes);
    if (plan.pinchBar)
        each([&](int x, int y) {
            const float4 p = plan.pinchBar->uniforms.params;
            const Edge edge =
                edgeAt(plan.pinchBar->place, x, y, std::max(p.x, 1.f), 1, width, height);
            if (edge.hit.isInQuad)
                blendOver(*frame, x, y, pinchBarColour(plan.pinchBar->uniforms, edge));
        });
    if (plan.twoHandDots)
        each([&](int x, int y) {
            blendOver(*frame, x, y, dotsColour(plan.twoHandDots->uniforms, uOf(x), vOf(y)));
        });
    if (plan.darkenAlpha)
        each([&](int x, int y) { blendOver(*frame, x, y, Colour(0, 0, 0, *plan.darkenAlpha)); });
    return frame;
}

} // namespace lanternfly::test
