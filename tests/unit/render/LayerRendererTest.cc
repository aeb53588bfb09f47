#include "render/LayerRenderer.h"

#include <gtest/gtest.h>

#include "gpu/cpu/CpuDevice.h"
#include "support/Pictures.h"

namespace lanternfly {
namespace {

class LayerRendererTest : public testing::Test {
protected:
    TextureRef picture() {
        return device->makeTexture(*test::slidePicture(64, 36), TextureOptions{});
    }
    static Layer layer(const std::string& id, LayerKind kind) {
        Layer made{.id = id, .kind = kind};
        if (kind == LayerKind::drawing)
            made.content = DrawingContent{.strokes = {{"#FF0000", 8, {{0, 0}, {50, 0}}}},
                                          .viewport = {1920, 1080}};
        return made;
    }
    TextureRef slide() const { return compositor->inputs().slide.texture; }
    size_t strokes() const { return compositor->inputs().strokeBatches->size(); }

    std::shared_ptr<CpuDevice> device = CpuDevice::create();
    std::shared_ptr<FrameCompositor> compositor = FrameCompositor::create(device, 320, 180);
    LayerRenderer renderer{compositor};
};

TEST_F(LayerRendererTest, TheFirstWindowLayersPictureIsTheSlide) {
    const TextureRef first = picture(), second = picture();
    renderer.setTexture(LayerTextureBinding{first, true}, "w1");
    renderer.setTexture(LayerTextureBinding{second, false}, "w2");
    EXPECT_EQ(slide(), nullptr) << "no layer yet";
    renderer.setLayers({layer("d", LayerKind::drawing), layer("w1", LayerKind::window),
                        layer("w2", LayerKind::window)},
                       1.5f);
    EXPECT_EQ(slide(), first);
    EXPECT_TRUE(compositor->inputs().slide.originTopLeft);
    renderer.setLayers({layer("w2", LayerKind::window), layer("w1", LayerKind::window)}, 1.5f);
    EXPECT_EQ(slide(), second);
    EXPECT_FALSE(compositor->inputs().slide.originTopLeft);
    EXPECT_EQ(renderer.canvasAspect(), 1.5f);
}

TEST_F(LayerRendererTest, WithoutAWindowLayerTheSlideIsCleared) {
    renderer.setTexture(LayerTextureBinding{picture(), true}, "w");
    renderer.setLayers({layer("w", LayerKind::window)}, 1);
    EXPECT_NE(slide(), nullptr);
    renderer.setLayers({layer("w", LayerKind::drawing)}, 1);
    EXPECT_EQ(slide(), nullptr);
    EXPECT_FALSE(compositor->inputs().slide.originTopLeft);
}

TEST_F(LayerRendererTest, AWindowLayerWithoutAPictureShowsNoneEvenIfALaterOneHasIt) {
    renderer.setTexture(LayerTextureBinding{picture(), true}, "w2");
    renderer.setLayers({layer("w1", LayerKind::window), layer("w2", LayerKind::window)}, 1);
    EXPECT_EQ(slide(), nullptr);
}

TEST_F(LayerRendererTest, APictureOfAnotherLayerChangesNothing) {
    const TextureRef shown = picture();
    renderer.setLayers({layer("w", LayerKind::window), layer("c", LayerKind::caption)}, 1);
    renderer.setTexture(LayerTextureBinding{shown, true}, "w");
    EXPECT_EQ(slide(), shown);
    renderer.setTexture(LayerTextureBinding{picture(), false}, "c");
    renderer.setTexture(LayerTextureBinding{picture(), false}, "unheard of");
    EXPECT_EQ(slide(), shown);
    EXPECT_TRUE(compositor->inputs().slide.originTopLeft);
}

TEST_F(LayerRendererTest, APictureCanBeReplacedAndTakenAway) {
    const TextureRef next = picture();
    renderer.setLayers({layer("w", LayerKind::window)}, 1);
    renderer.setTexture(LayerTextureBinding{picture(), true}, "w");
    renderer.setTexture(LayerTextureBinding{next, true}, "w");
    EXPECT_EQ(slide(), next);
    renderer.setTexture(std::nullopt, "w");
    renderer.setTexture(std::nullopt, "w");
    EXPECT_EQ(slide(), nullptr);
    EXPECT_EQ(next.use_count(), 1) << "nobody keeps a picture that is not shown";
}

TEST_F(LayerRendererTest, DrawingLayersBecomeStrokes) {
    Layer drawing = layer("d", LayerKind::drawing);
    auto& content = std::get<DrawingContent>(drawing.content);
    content.strokes.push_back({"#00FF00", 8, {{5, 5}}});         // a dot
    content.strokes.push_back({"#0000FF", 8, {{5, 5}, {5, 5}}}); // nothing
    renderer.setLayers({drawing}, 1);
    const auto batches = compositor->inputs().strokeBatches;
    ASSERT_EQ(batches->size(), 2u);
    EXPECT_EQ((*batches)[0]->color, (float4{1, 0, 0, 1}));
    EXPECT_EQ((*batches)[1]->color, (float4{0, 1, 0, 1}));
    renderer.setTexture(LayerTextureBinding{picture(), true}, "d");
    EXPECT_EQ(strokes(), 2u);
    renderer.setLayers({}, 1);
    EXPECT_EQ(strokes(), 0u);
}

TEST_F(LayerRendererTest, AllOtherKindsShowNothing) {
    for (const LayerKind kind : {LayerKind::caption, LayerKind::lowerThird, LayerKind::annotation,
                                 LayerKind::chapterMarker, LayerKind::tapTarget,
                                 LayerKind::dataSnapshot, LayerKind::model3d}) {
        Layer other = layer("o", LayerKind::drawing); // with strokes inside
        other.kind = kind;
        renderer.setTexture(LayerTextureBinding{picture(), true}, "o");
        renderer.setLayers({other}, 1);
        EXPECT_EQ(slide(), nullptr) << rawName(kind);
        EXPECT_EQ(strokes(), 0u) << rawName(kind);
        EXPECT_EQ(compositor->inputs().spatial.texture, nullptr);
        EXPECT_EQ(compositor->inputs().annotation.texture, nullptr);
    }
}

TEST_F(LayerRendererTest, LooksAreHandedOn) {
    OverlayAppearance appearance = OverlayAppearance::visible;
    appearance.tiltX = 3;
    VisionOSTuning tuning = VisionOSTuning::defaults;
    tuning.cornerRadius += 0.01f;
    renderer.setAppearance(appearance);
    renderer.setPinchIndicator({0.5f});
    renderer.setTuning(tuning);
    EXPECT_EQ(compositor->inputs().appearance, appearance);
    EXPECT_EQ(compositor->inputs().pinchIndicator, PinchIndicatorState{0.5f});
    EXPECT_EQ(compositor->inputs().tuning, tuning);
}

} // namespace
} // namespace lanternfly
