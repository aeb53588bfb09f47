#include "app/Presentation.h"

#include <algorithm>

#include <fmt/format.h>

#include "annotate/InkColor.h"
#include "app/SlidePlacement.h"
#include "app/commands/CommandTable.h"
#include "base/Match.h"
#include "base/Weakly.h"

namespace lanternfly {
namespace {

constexpr const char* textLayerID = "lyr_text";

float aspectOf(int width, int height) {
    return static_cast<float>(width) / static_cast<float>(height);
}

} // namespace

std::shared_ptr<Presentation> Presentation::create(Setup setup) {
    const auto slides = std::move(setup.slides);
    const int firstPage = setup.firstPage;
    std::shared_ptr<Presentation> presentation(new Presentation(std::move(setup)));
    presentation->start();
    if (slides) presentation->open(slides, firstPage);
    return presentation;
}

Presentation::Presentation(Setup setup)
    : _pipeline(setup.pipeline), _executor(std::move(setup.executor)),
      _bindings(std::move(setup.bindings)), _wasMirrored(setup.isMirrored),
      _tuning(_pipeline, setup.defaults), _text(textLayerID) {
    _text.setOnTextUpdate([this](const std::string& text) { showText(text); });
}

// Hands are told of by tasks of the executor, which find nobody once the presentation is gone.
void Presentation::start() {
    _pipeline.withHands([weak = weak_from_this(), executor = _executor](OverlayRouting& routing) {
        const auto tell = [weak, executor](auto method) {
            return [weak, executor, method](auto what) {
                if (const auto self = weak.lock()) executor(weakly(*self, method, what));
            };
        };
        routing.setReceivers({.onSign = tell(&Presentation::onSign),
                              .onPinching = tell(&Presentation::onPinching),
                              .onModelPinch = nullptr,
                              .onModelTwoHandPinch = nullptr});
    });
    perform(command::SetMirrored{_wasMirrored ? Switch::on : Switch::off});
}

void Presentation::open(std::shared_ptr<PDFSlideSource> slides, int page) {
    _pages = std::make_shared<SlidePages>(
        std::move(slides),
        [this](int shown, const TextureRef& texture) { showPage(shown, texture); },
        [this](int, const std::string& why) {
            _log.warning("{}", why);
            _pageProblem = why;
        });
    turnTo(page);
}

Presentation::Problem Presentation::apply(const HostCommand& command) {
    _pipeline.withHands([text = textOf(command)](OverlayRouting& routing) {
        routing.record(
            [&](EventLog& events, const FrameStamp& frame) { events.command(frame, text); });
    });
    return match(command, [this](const auto& each) -> Problem {
        if constexpr (std::is_void_v<decltype(perform(each))>) {
            perform(each);
            return std::nullopt;
        } else {
            return perform(each);
        }
    });
}

std::string Presentation::keyFor(const HostCommand& command) const {
    for (const auto& binding : _bindings.keys)
        if (binding.command == command && binding.mode != HostMode::typing) return binding.trigger;
    return {};
}

HostMode Presentation::mode() const {
    switch (_tool) {
    case Tool::none:
        return HostMode::slide;
    case Tool::drawing:
        return HostMode::drawing;
    case Tool::typing:
        return HostMode::typing;
    }
    return HostMode::slide;
}

void Presentation::setTextPainter(TextPainter painter) {
    _paintText = std::move(painter);
    paint(_text.text());
}

// Pages.

Presentation::Problem Presentation::turnTo(int page) {
    if (!_pages) return "there are no slides yet; open a PDF first";
    page = std::clamp(page, 1, std::max(pageCount(), 1));
    if (page == _pages->wanted()) return std::nullopt;
    _pageProblem.reset();
    _pages->goTo(page);
    return std::nullopt;
}

Presentation::Problem Presentation::perform(const command::GoToPage& to) {
    if (_pages && to.page > pageCount())
        return fmt::format("there is no page {}: choose 1 to {}", to.page, pageCount());
    return turnTo(to.page);
}

void Presentation::showPage(int page, const TextureRef& texture) {
    const float aspect = aspectOf(texture->width(), texture->height());
    const float canvas = canvasAspect();
    constexpr double atOnce = 0;
    if (!_slideAspect)
        place(SlidePlacement::upperRight, aspect, atOnce);
    else if (*_slideAspect != aspect)
        moveSlide(
            [from = *_slideAspect, aspect, canvas](const OverlayTransform& placement) {
                return SlidePlacement::adapted(placement, from, aspect, canvas);
            },
            atOnce);
    _slideAspect = aspect;
    _pipeline.driver().setFillScale(SlidePlacement::fillScale(aspect, canvas));
    constexpr bool originTopLeft = false;
    _pipeline.changeStage([&](Stage& stage) { stage.slide = {texture, originTopLeft}; });
    _pipeline.withHands([page](OverlayRouting& routing) {
        routing.record(
            [&](EventLog& events, const FrameStamp& frame) { events.page(frame, page); });
    });
}

// The slide.

void Presentation::moveSlide(std::function<OverlayTransform(OverlayTransform)> move,
                             double seconds) {
    // Between two pinches, so that none of them overrules this.
    _pipeline.withHands(
        [&driver = _pipeline.driver(), move = std::move(move), seconds](OverlayRouting& routing) {
            routing.dropSlide();
            driver.setTransformTarget(move(driver.currentTarget()), seconds);
        });
}

void Presentation::place(OverlayTransform (*placement)(float, float), float slideAspect,
                         double seconds) {
    moveSlide(
        [placement, slideAspect, canvas = canvasAspect()](const OverlayTransform& now) {
            OverlayTransform to = placement(slideAspect, canvas);
            to.visibility = now.visibility;
            return to;
        },
        seconds);
}

void Presentation::perform(const command::PlaceUpperRight&) {
    if (_slideAspect) place(SlidePlacement::upperRight, *_slideAspect, SlidePlacement::seconds);
}

void Presentation::perform(const command::PlaceCentre&) {
    if (_slideAspect) place(SlidePlacement::centre, *_slideAspect, SlidePlacement::seconds);
}

void Presentation::perform(const command::SetShown& shown) {
    _isShown = switched(_isShown, shown.to);
    moveSlide(
        [visibility = _isShown ? 1.0f : 0.0f](OverlayTransform placement) {
            placement.visibility = visibility;
            return placement;
        },
        SlidePlacement::seconds);
    tellLock();
}

void Presentation::perform(const command::SetLocked& locked) {
    _isLocked = switched(_isLocked, locked.to);
    tellLock();
}

// A slide that nobody sees is not moved by accident.
void Presentation::tellLock() {
    _pipeline.withHands([isLocked = _isLocked || !_isShown](OverlayRouting& routing) {
        routing.setLocked(isLocked);
    });
}

float Presentation::canvasAspect() const {
    return aspectOf(_pipeline.compositor()->width(), _pipeline.compositor()->height());
}

// Ink.

void Presentation::setTool(Tool tool) {
    if (_tool == tool) return;
    if (_tool == Tool::typing) _text.exitTypeMode();
    _tool = tool;
    if (_tool == Tool::typing) _text.enterTypeMode();
    _pipeline.withHands([mode = mode()](OverlayRouting& routing) { routing.setMode(mode); });
}

void Presentation::perform(const command::SetDrawing& drawing) {
    const bool isOn = switched(_tool == Tool::drawing, drawing.to);
    if (isOn || _tool == Tool::drawing) setTool(isOn ? Tool::drawing : Tool::none);
}

void Presentation::perform(const command::SetInkColour& colour) {
    _pipeline.ink().setStrokeColor(colour.hex);
}

void Presentation::perform(const command::SetInkWidth& width) {
    _pipeline.ink().setStrokeWidthPX(width.px);
}

void Presentation::perform(const command::KeepInk& keep) {
    DrawController& ink = _pipeline.ink();
    ink.setAutoUnwriteEnabled(!switched(!ink.autoUnwriteEnabled(), keep.to));
}

void Presentation::perform(const command::ClearInk&) {
    _pipeline.ink().clearAll();
}

// Text.

void Presentation::perform(const command::SetTyping& typing) {
    const bool isOn = switched(_tool == Tool::typing, typing.to);
    if (isOn || _tool == Tool::typing) setTool(isOn ? Tool::typing : Tool::none);
}

Presentation::Problem Presentation::perform(const command::TypeText& typed) {
    return type(typed.text);
}

Presentation::Problem Presentation::type(std::string_view text) {
    if (_tool != Tool::typing) return "nothing is being typed; type enter comes first";
    _text.appendCharacter(text);
    return std::nullopt;
}

Presentation::Problem Presentation::perform(const command::DeleteBackward&) {
    if (_tool != Tool::typing) return "nothing is being typed; type enter comes first";
    _text.deleteBackward();
    return std::nullopt;
}

void Presentation::perform(const command::ClearText&) {
    _text.clearAll();
}

void Presentation::showText(const std::string& text) {
    _pipeline.withHands([text](OverlayRouting& routing) {
        routing.record(
            [&](EventLog& events, const FrameStamp& frame) { events.text(frame, text); });
    });
    paint(text);
}

void Presentation::paint(const std::string& text) {
    const AnnotationInput painted = _paintText ? _paintText(text) : AnnotationInput{};
    _pipeline.changeStage([&](Stage& stage) { stage.annotation = painted; });
}

// The picture and the session.

void Presentation::perform(const command::Swap& swap) {
    _pipeline.changeStage([&](Stage& stage) {
        const bool isSwapped = std::holds_alternative<SwapComposition>(stage.mode);
        if (swap.to)
            stage.mode = *swap.to;
        else if (isSwapped)
            stage.mode = FullComposition{};
        else
            stage.mode = SwapComposition{};
    });
}

void Presentation::perform(const command::Darken& darken) {
    _pipeline.changeStage([&](Stage& stage) { stage.darkening = darken.amount; });
}

void Presentation::perform(const command::SetMirrored& mirrored) {
    const bool isMirrored = switched(_pipeline.stage().isMirrored, mirrored.to);
    _pipeline.changeStage([&](Stage& stage) { stage.isMirrored = isMirrored; });
    _pipeline.withHands([isMirrored](OverlayRouting& routing) { routing.setMirrored(isMirrored); });
}

void Presentation::perform(const command::Reset&) {
    setTool(Tool::none);
    _pipeline.ink().clearAll();
    _pipeline.ink().setStrokeColor(std::string(InkColor::defaultHex));
    _pipeline.ink().setStrokeWidthPX(
        FramePipeline::defaultInkWidthPX(_pipeline.compositor()->width()));
    _pipeline.ink().setAutoUnwriteEnabled(true);
    _text.clearAll();
    perform(command::SetLocked{Switch::off});
    perform(command::SetShown{Switch::on});
    perform(command::PlaceUpperRight{});
    perform(command::Swap{FullComposition{}});
    perform(command::Darken{0});
    perform(command::SetMirrored{_wasMirrored ? Switch::on : Switch::off});
}

Presentation::Problem Presentation::perform(const command::SaveTuning&) {
    if (_tuning.save()) return std::nullopt;
    return "the tuning cannot be saved; make room on the disk, or make its folder writable";
}

// The hands.

void Presentation::onSign(HandSign sign) {
    const HostCommand* command = _bindings.commandFor(sign, mode());
    if (!command) return;
    if (const auto problem = apply(*command)) _log.warning("{}: {}", nameOf(sign), *problem);
}

void Presentation::onPinching(bool isPinching) {
    _pinchActivity.setPinching(isPinching);
}

} // namespace lanternfly
