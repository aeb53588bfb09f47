#include "app/Presentation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "annotate/InkColor.h"
#include "app/ScriptPlayer.h"
#include "app/SlidePlacement.h"
#include "app/TuningFields.h"
#include "app/commands/CommandTable.h"
#include "gpu/cpu/CpuDevice.h"
#include "platform/fake/MemoryDefaultsStore.h"
#include "platform/fake/ScriptedHandPoseDetector.h"
#include "platform/fake/ScriptedPdfOpener.h"
#include "support/Hands.h"

namespace lanternfly {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr float wide = 16.0f / 9;

struct PresentationTest : testing::Test {
    ManualClock clock;
    MemoryDefaultsStore defaults;
    ScriptedPdfOpener pdf;
    std::shared_ptr<TaskInbox> inbox = std::make_shared<TaskInbox>();
    std::shared_ptr<FrameCompositor> compositor =
        FrameCompositor::create(CpuDevice::create(), 320, 180);
    std::optional<FramePipeline> pipeline;
    std::shared_ptr<Presentation> presentation;
    std::vector<int> drawn; // pages, of one colour each
    int64_t frame = 0;

    PresentationTest() {
        const ScriptedPage page{.size = {1600, 900}};
        pdf.addDocument("deck.pdf", {page, page, ScriptedPage{.size = {800, 600}}, page,
                                     ScriptedPage{.failure = PdfError::Kind::pageRefused}, page});
    }
    void start(const Bindings& bindings = Bindings::defaults(), bool isMirrored = false) {
        pipeline.emplace(
            FramePipeline::Setup{.clock = clock,
                                 .makeDetector =
                                     [] {
                                         return std::make_unique<ScriptedHandPoseDetector>(
                                             std::make_shared<HandPoseScript>());
                                     },
                                 .compositor = compositor});
        const CallbackExecutor executor = [inbox = inbox](Task task) {
            inbox->post(std::move(task));
        };
        presentation = Presentation::create(
            {.pipeline = *pipeline,
             .slides = PDFSlideSource::open("deck.pdf", compositor->device(), pdf, executor),
             .defaults = defaults,
             .executor = executor,
             .bindings = bindings,
             .isMirrored = isMirrored});
        settle();
    }
    void TearDown() override { presentation.reset(); }

    // Until hands and pages have nothing more to do.
    void settle() {
        inbox->runUntil([&] { return !presentation->isPageComing(); });
        pipeline->finish();
        inbox->run();
    }
    Presentation::Problem say(const char* text) {
        auto problem = presentation->apply(parseCommand(text));
        settle();
        return problem;
    }
    // A while later, so that what fades or glides has arrived.
    Scene look() {
        clock.advance(1);
        const CameraFrame camera{PixelBuffer::create(64, 36), MediaTime::make(frame, 1), frame};
        ++frame;
        pipeline->enterFrame(camera);
        return pipeline->look(camera);
    }
    void see(const HandPose& hand, int frames) {
        for (int i = 0; i < frames; ++i) {
            clock.advance(1.0 / 30);
            pipeline->withHands(
                [&](OverlayRouting& routing) { routing.onPoses(std::span(&hand, 1)); });
            pipeline->finish();
        }
        inbox->run();
        pipeline->finish();
    }
    OverlayTransform target() { return pipeline->driver().currentTarget(); }
};

// --- Pages ---------------------------------------------------------------------------------------

TEST_F(PresentationTest, BeginsWithItsFirstPageInTheCorner) {
    start();
    EXPECT_EQ(presentation->page(), 1);
    EXPECT_TRUE(look().stage.slide.texture);
    EXPECT_EQ(target(), SlidePlacement::upperRight(wide, wide));
}

TEST_F(PresentationTest, TurnsPagesWithinTheDeck) {
    start();
    const std::pair<const char*, int> steps[]{
        {"previous-page", 1}, {"next-page", 2}, {"next-page", 3},    {"previous-page", 2},
        {"last-page", 6},     {"next-page", 6}, {"go-to-page 4", 4}, {"first-page", 1}};
    TextureRef shown = look().stage.slide.texture;
    int before = 1;
    for (const auto& [text, page] : steps) {
        EXPECT_EQ(say(text), std::nullopt);
        EXPECT_EQ(presentation->page(), page) << text;
        const TextureRef now = look().stage.slide.texture;
        EXPECT_EQ(now == shown, page == before) << text;
        shown = now;
        before = page;
    }
}

TEST_F(PresentationTest, APageThatIsNotThereIsSaid) {
    start();
    EXPECT_THAT(*say("go-to-page 7"), HasSubstr("there is no page 7: choose 1 to 6"));
    EXPECT_EQ(presentation->page(), 1);
}

TEST_F(PresentationTest, APageThatCannotBeDrawnLeavesTheOneBefore) {
    start();
    say("go-to-page 4");
    const auto shown = look().stage.slide.texture;
    say("next-page");
    EXPECT_THAT(presentation->pageProblem().value_or(""), HasSubstr("Page 5"));
    EXPECT_EQ(look().stage.slide.texture, shown);
    say("next-page");
    EXPECT_EQ(presentation->pageProblem(), std::nullopt);
    EXPECT_NE(look().stage.slide.texture, shown);
}

TEST_F(PresentationTest, ThePageThatWasAskedForLastIsShownWhateverComesFirst) {
    start();
    presentation->apply(command::GoToPage{4});
    presentation->apply(command::GoToPage{2});
    presentation->apply(command::GoToPage{4});
    presentation->apply(command::GoToPage{6});
    settle();
    const auto last = look().stage.slide.texture;
    say("first-page");
    say("last-page");
    EXPECT_EQ(look().stage.slide.texture, last);
}

TEST_F(PresentationTest, NeighboursAreMadeReady) {
    start();
    say("go-to-page 3");
    inbox->runUntil([&] { return pdf.requests().size() >= 4; });
    std::set<int> drawnPages;
    for (const auto& request : pdf.requests())
        drawnPages.insert(request.index + 1);
    EXPECT_THAT(drawnPages, testing::IsSupersetOf({1, 2, 3, 4}));
}

TEST_F(PresentationTest, APageOfTheSameShapeStaysWhereTheSlideIs) {
    start();
    pipeline->driver().setTransformTarget({{0.1f, -0.1f}, 0.5f, 1}, 0);
    say("next-page");
    EXPECT_EQ(target(), (OverlayTransform{{0.1f, -0.1f}, 0.5f, 1}));
}

TEST_F(PresentationTest, APageOfAnotherShapeIsAsLargeAndGoingBackUndoesIt) {
    start();
    pipeline->driver().setTransformTarget({{0.1f, -0.1f}, 0.5f, 1}, 0);
    say("go-to-page 3");
    EXPECT_EQ(target().position, float2(0.1f, -0.1f));
    EXPECT_NEAR(target().scale, 0.433, 0.001);
    EXPECT_NEAR(pipeline->driver().fillScale(), 0.75, 0.001);
    say("go-to-page 2");
    EXPECT_NEAR(target().scale, 0.5, 1e-5);
    EXPECT_EQ(pipeline->driver().fillScale(), 1);
}

// --- The slide -----------------------------------------------------------------------------------

TEST_F(PresentationTest, HidesAndShowsTheSlideInItsPlace) {
    start();
    const auto placed = target();
    say("hide");
    EXPECT_EQ(look().overlay.appearance.opacity, 0);
    EXPECT_EQ(target().position, placed.position);
    say("hide");
    EXPECT_EQ(target().visibility, 0);
    say("toggle");
    EXPECT_GT(look().overlay.appearance.opacity, 0.9);
    say("toggle");
    EXPECT_EQ(target().visibility, 0);
    say("place-centre");
    EXPECT_EQ(target().visibility, 0) << "what is hidden stays hidden";
    say("show");
    EXPECT_EQ(target().visibility, 1);
    EXPECT_EQ(target().position, float2(0, 0));
}

TEST_F(PresentationTest, HidingTakesTheSlideOutOfTheHand) {
    start();
    const auto hand = test::PinchHand{.ratio = 0.1f}.pose();
    see(hand, 5);
    EXPECT_TRUE(presentation->pinchActivity().isPinching());
    say("hide");
    see(hand, 5);
    EXPECT_EQ(target().visibility, 0);
    EXPECT_EQ(look().pinchIndicator.opacity, 0);
}

TEST_F(PresentationTest, AHiddenOrLockedSlideIsNotMoved) {
    start();
    const auto placed = target();
    const char* const rows[][2]{
        {"hide", "show"}, {"lock", "unlock"}, {"toggle-lock", "toggle-lock"}};
    for (const auto& [close, open] : rows) {
        say(close);
        see(test::PinchHand{.at = {0.5f, 0.5f}, .ratio = 0.1f}.pose(), 5);
        see(test::PinchHand{.at = {0.7f, 0.5f}, .ratio = 0.1f}.pose(), 10);
        EXPECT_EQ(target().position, placed.position) << close;
        see(test::PinchHand{.ratio = 1.5f}.pose(), 5);
        say(open);
    }
    see(test::PinchHand{.at = {0.5f, 0.5f}, .ratio = 0.1f}.pose(), 5);
    see(test::PinchHand{.at = {0.6f, 0.5f}, .ratio = 0.1f}.pose(), 10);
    EXPECT_NE(target().position, placed.position);
}

TEST_F(PresentationTest, PlacesTheSlide) {
    start();
    say("place-centre");
    EXPECT_EQ(target(), SlidePlacement::centre(wide, wide));
    say("place-upper-right");
    EXPECT_EQ(target(), SlidePlacement::upperRight(wide, wide));
}

// --- Ink -----------------------------------------------------------------------------------------

TEST_F(PresentationTest, DrawsAndTakesInkAway) {
    start();
    EXPECT_FALSE(look().ink && *look().ink);
    say("draw enter");
    EXPECT_EQ(presentation->mode(), HostMode::drawing);
    say("ink-colour blue");
    say("ink-width 9");
    see(test::PinchHand{.at = {0.25f, 0.75f}, .ratio = 0.1f}.pose(), 5);
    const auto scene = look();
    ASSERT_TRUE(scene.ink && *scene.ink);
    const auto& drawing = std::get<DrawingContent>((*scene.ink)->content);
    EXPECT_EQ(drawing.strokes.at(0).color, "#5C8FCCE6");
    EXPECT_EQ(drawing.strokes.at(0).width, 9);
    EXPECT_NEAR(drawing.strokes.at(0).points.at(0).at(0), 80, 1);
    EXPECT_NEAR(drawing.strokes.at(0).points.at(0).at(1), 45, 1);
    say("clear-ink");
    EXPECT_FALSE(*look().ink);
    say("draw leave");
    EXPECT_EQ(presentation->mode(), HostMode::slide);
}

TEST_F(PresentationTest, InkGoesByItselfUnlessItIsKept) {
    start();
    for (const bool isKept : {true, false}) {
        say(isKept ? "keep-ink on" : "keep-ink off");
        say("draw enter");
        see(test::PinchHand{.ratio = 0.1f}.pose(), 5);
        say("draw leave");
        see(test::PinchHand{.ratio = 1.5f}.pose(), 5);
        for (int second = 0; second < 8; ++second)
            look();
        EXPECT_EQ((*look().ink).has_value(), isKept);
        EXPECT_EQ(pipeline->ink().hasLifecycleWork(), isKept);
    }
}

TEST_F(PresentationTest, FramesShareTheInkThatDoesNotChange) {
    start();
    say("draw enter");
    see(test::PinchHand{.ratio = 0.1f}.pose(), 5);
    say("draw leave");
    say("keep-ink on");
    const auto kept = look().ink;
    ASSERT_TRUE(kept && *kept);
    EXPECT_EQ(look().ink, kept);
}

// --- Modes ---------------------------------------------------------------------------------------

TEST_F(PresentationTest, OneModeLeavesTheOther) {
    start();
    const std::pair<const char*, HostMode> steps[]{
        {"draw", HostMode::drawing},       {"type enter", HostMode::typing},
        {"draw leave", HostMode::typing},  {"draw", HostMode::drawing},
        {"type leave", HostMode::drawing}, {"draw", HostMode::slide},
        {"type", HostMode::typing},        {"type", HostMode::slide},
    };
    for (const auto& [text, mode] : steps) {
        say(text);
        EXPECT_EQ(presentation->mode(), mode) << text;
        EXPECT_EQ(pipeline->ink().isModeActive(), mode == HostMode::drawing) << text;
    }
}

// --- Text ----------------------------------------------------------------------------------------

TEST_F(PresentationTest, WhatIsTypedIsPaintedAfterEveryChange) {
    start();
    std::vector<std::string> painted;
    const TextureRef picture =
        compositor->device()->makeTexture(*PixelBuffer::create(8, 8), {.label = "lanternfly.test"});
    presentation->setTextPainter([&](const std::string& text) {
        painted.push_back(text);
        return AnnotationInput{.texture = text.empty() ? nullptr : picture, .originTopLeft = true};
    });
    say("type enter");
    say("type-text Hi");
    EXPECT_EQ(look().stage.annotation.texture, picture);
    say("type-newline");
    say("delete-backward");
    say("delete-backward");
    say("type leave");
    say("clear-text");
    EXPECT_THAT(painted, ElementsAre("", "Hi", "Hi\n", "Hi", "H", ""));
    EXPECT_FALSE(look().stage.annotation.texture);
}

TEST_F(PresentationTest, TypingWithoutHavingBegunIsSaid) {
    start();
    for (const char* text : {"type-text Hi", "type-newline", "delete-backward"})
        EXPECT_THAT(say(text).value_or(""), HasSubstr("type enter comes first")) << text;
}

// --- The picture ---------------------------------------------------------------------------------

TEST_F(PresentationTest, SwapsDarkensAndMirrors) {
    start();
    const CompositionMode fit = SwapComposition{SwapFillMode::fit};
    const CompositionMode fill = SwapComposition{SwapFillMode::fill}, full = FullComposition{};
    look();
    const std::pair<const char*, CompositionMode> steps[]{
        {"swap", fit}, {"swap", full}, {"swap fill", fill}, {"swap fit", fit}, {"swap off", full}};
    for (const auto& [text, mode] : steps) {
        say(text);
        look();
        const auto scene = look();
        EXPECT_EQ(scene.stage.mode, mode) << text;
        EXPECT_EQ(scene.stage.darkening, 0);
    }
    say("darken 0.5");
    EXPECT_EQ(look().stage.darkening, 0.5f);
    say("mirror");
    EXPECT_TRUE(look().stage.isMirrored);
    say("mirror off");
    EXPECT_FALSE(look().stage.isMirrored);
}

TEST_F(PresentationTest, AMirroredCameraMirrorsThePointer) {
    start(Bindings::defaults(), true);
    EXPECT_TRUE(look().stage.isMirrored);
    say("draw enter");
    see(test::PinchHand{.at = {0.25f, 0.75f}, .ratio = 0.1f}.pose(), 5);
    const auto scene = look();
    ASSERT_TRUE(scene.ink && *scene.ink);
    EXPECT_NEAR(std::get<DrawingContent>((*scene.ink)->content).strokes.at(0).points.at(0).at(0),
                240, 1);
}

TEST_F(PresentationTest, ResetBringsBackEverythingButThePage) {
    start();
    for (const char* text : {"next-page", "hide", "lock", "place-centre", "ink-colour red",
                             "ink-width 40", "keep-ink on", "type enter", "type-text Hi",
                             "swap fit", "darken 1", "mirror on", "draw enter"})
        EXPECT_EQ(say(text), std::nullopt) << text;
    see(test::PinchHand{.ratio = 0.1f}.pose(), 5);
    say("reset");
    look();
    const auto scene = look();
    EXPECT_EQ(presentation->page(), 2);
    EXPECT_EQ(presentation->mode(), HostMode::slide);
    EXPECT_EQ(target(), SlidePlacement::upperRight(wide, wide));
    EXPECT_FALSE(scene.ink && *scene.ink);
    EXPECT_EQ(pipeline->ink().strokeColor(), InkColor::defaultHex);
    EXPECT_EQ(pipeline->ink().strokeWidthPX(), FramePipeline::defaultInkWidthPX(320));
    EXPECT_TRUE(pipeline->ink().autoUnwriteEnabled());
    EXPECT_EQ(scene.stage.mode, CompositionMode(FullComposition{}));
    EXPECT_EQ(scene.stage.darkening, 0);
    EXPECT_FALSE(scene.stage.isMirrored);
    see(test::PinchHand{.ratio = 1.5f}.pose(), 5);
    see(test::PinchHand{.at = {0.5f, 0.5f}, .ratio = 0.1f}.pose(), 5);
    see(test::PinchHand{.at = {0.6f, 0.5f}, .ratio = 0.1f}.pose(), 10);
    EXPECT_NE(target(), SlidePlacement::upperRight(wide, wide)) << "unlocked";
}

// --- Tuning --------------------------------------------------------------------------------------

TEST_F(PresentationTest, SavesTheTuningAndSaysWhenItCannot) {
    start();
    presentation->tuning().glass.cornerRadius = 0.25f;
    EXPECT_EQ(look().stage.glass.cornerRadius, 0.25f);
    EXPECT_EQ(say("save-tuning"), std::nullopt);
    EXPECT_EQ(PersistedTuningStore::savedOrDefaults<VisionOSTuning>(defaults).cornerRadius, 0.25f);
    defaults.makeReadOnly();
    EXPECT_THAT(say("save-tuning").value_or(""), HasSubstr("cannot be saved"));
}

TEST_F(PresentationTest, TunesOneFieldAndGoesBackToWhatWasSaved) {
    start();
    EXPECT_EQ(say("tune bias.centerRadius 0.3"), std::nullopt);
    EXPECT_EQ(pipeline->driver().currentBiasConfig().centerRadius, 0.3f);
    EXPECT_EQ(pipeline->driver().currentBiasConfig().fillRadius, BiasConfig::defaults.fillRadius);
    say("tune model3dLighting.iblEnabled off");
    EXPECT_FALSE(presentation->tuning().model3dLighting.iblEnabled);
    say("save-tuning");
    say("tune bias.centerRadius 0.4");
    say("reset-tuning");
    EXPECT_EQ(pipeline->driver().currentBiasConfig().centerRadius, 0.3f);
    EXPECT_FALSE(presentation->tuning().model3dLighting.iblEnabled);
}

TEST_F(PresentationTest, EveryFieldThatIsNamedCanBeTuned) {
    start();
    for (const TuningField& field : tuningFields()) {
        const float value = field.isSwitch ? 1 - field.builtIn : field.builtIn + 0.25f;
        presentation->apply(command::Tune{field.name, value});
    }
    ASSERT_EQ(say("save-tuning"), std::nullopt);
    const auto check = [&]<typename Record>(const Record& saved) {
        forEachField<Record>([&](const auto& field) {
            EXPECT_NE(saved.*field.member, Record::defaults.*field.member) << field.name;
        });
    };
    check(PersistedTuningStore::savedOrDefaults<TrackingConfig>(defaults));
    check(PersistedTuningStore::savedOrDefaults<TiltConfig>(defaults));
    check(PersistedTuningStore::savedOrDefaults<OpacityConfig>(defaults));
    check(PersistedTuningStore::savedOrDefaults<BiasConfig>(defaults));
    check(PersistedTuningStore::savedOrDefaults<VisionOSTuning>(defaults));
    check(PersistedTuningStore::savedOrDefaults<SpatialCompositingConfig>(defaults));
    check(PersistedTuningStore::savedOrDefaults<Model3DLightingConfig>(defaults));
}

TEST_F(PresentationTest, BeginsWithTheTuningThatWasSaved) {
    auto glass = VisionOSTuning::defaults;
    glass.cornerRadius = 0.5f;
    PersistedTuningStore::save(glass, VisionOSTuning::userDefaultsKey, defaults);
    BiasConfig bias = BiasConfig::defaults;
    bias.centerRadius = 0.2f;
    PersistedTuningStore::save(bias, BiasConfig::userDefaultsKey, defaults);
    start();
    EXPECT_EQ(look().stage.glass.cornerRadius, 0.5f);
    EXPECT_EQ(pipeline->driver().currentBiasConfig().centerRadius, 0.2f);
}

// --- Signs and keys ------------------------------------------------------------------------------

TEST_F(PresentationTest, ASignDoesWhatTheModeSays) {
    start();
    see(test::peaceSignHand(), 10);
    settle();
    EXPECT_EQ(presentation->page(), 2);
    say("draw enter");
    see(test::PinchHand{.ratio = 1.5f}.pose(), 10);
    see(test::peaceSignHand(), 10);
    EXPECT_EQ(presentation->mode(), HostMode::slide);
    EXPECT_EQ(presentation->page(), 2);
}

TEST_F(PresentationTest, ASignDoesWhatTheUserSays) {
    Bindings bindings;
    bindings.signs = {{HandSign::peaceSign, std::nullopt, command::SetShown{Switch::off}}};
    start(bindings);
    see(test::peaceSignHand(), 10);
    EXPECT_EQ(target().visibility, 0);
    EXPECT_EQ(presentation->page(), 1);
}

TEST_F(PresentationTest, AKeyIsLookedUpInTheModeThatIsOn) {
    start();
    ASSERT_TRUE(presentation->commandForKey("Right"));
    say("type enter");
    EXPECT_EQ(presentation->commandForKey("Right"), nullptr);
    EXPECT_TRUE(*presentation->commandForKey("Esc") ==
                HostCommand(command::SetTyping{Switch::off}));
}

// --- Scripts -------------------------------------------------------------------------------------

TEST_F(PresentationTest, AScriptIsPlayedWhenItsTimeHasCome) {
    start();
    ScriptPlayer player(*presentation, *inbox,
                        parseScript("1 next-page\n1 next-page\n2.5 go-to-page 9\n3 next-page\n"
                                    "4 next-page\n9 hide\n10 show",
                                    "s"),
                        ScriptPlayer::Pages::awaited);
    const std::pair<double, int> frames[]{{0, 1}, {0.99, 1}, {1, 3}, {2, 3}, {3.2, 4}, {5, 5}};
    for (const auto& [seconds, page] : frames) {
        player.advance(seconds);
        EXPECT_EQ(presentation->page(), page) << seconds;
        EXPECT_FALSE(presentation->isPageComing());
    }
    EXPECT_THAT(player.notes(),
                ElementsAre(HasSubstr("script line 3: there is no page 9"), HasSubstr("Page 5"),
                            HasSubstr("2 of 7 commands come after the last frame, the first in "
                                      "line 6")));
}

} // namespace
} // namespace lanternfly
