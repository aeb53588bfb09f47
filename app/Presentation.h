// A presentation as its user commands it: pages, where the slide hangs, ink, text, what is in
// front. Turns commands into what the frame pipeline shows.
// Threads: bound to the thread that runs what the host's executor is given: a user interface's
// event loop, or the thread that looks at frames in a render.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "annotate/TypeController.h"
#include "app/FramePipeline.h"
#include "app/HostTuning.h"
#include "app/SlidePages.h"
#include "app/commands/Bindings.h"
#include "gestures/PinchActivity.h"

namespace lanternfly {

class Presentation : public std::enable_shared_from_this<Presentation> {
public:
    struct Setup {
        FramePipeline& pipeline;
        std::shared_ptr<PDFSlideSource> slides{}; // null: opened later
        DefaultsStore& defaults;
        CallbackExecutor executor;
        Bindings bindings = Bindings::defaults();
        int firstPage = 1;
        bool isMirrored = false;
    };
    // What went wrong and what to do, for the user; absent when all is well.
    using Problem = std::optional<std::string>;
    // Makes the picture that carries the typed text, first row as its record says.
    using TextPainter = std::function<AnnotationInput(const std::string& text)>;

    // Asks for the first page. The pipeline and the defaults outlive the presentation.
    static std::shared_ptr<Presentation> create(Setup setup);

    // Another deck from now on; its page, 1…count, takes the place of the one before.
    void open(std::shared_ptr<PDFSlideSource> slides, int page = 1);
    Problem apply(const HostCommand& command);
    // Null when the key does nothing now.
    const HostCommand* commandForKey(std::string_view key) const {
        return _bindings.commandForKey(key, mode());
    }
    // The first key that says this when nothing is typed; empty when none does.
    std::string keyFor(const HostCommand& command) const;

    HostMode mode() const;
    bool isPageComing() const { return _pages && _pages->isComing(); }
    // 0 without a deck.
    int page() const { return _pages ? _pages->wanted() : 0; }
    int pageCount() const { return _pages ? _pages->count() : 0; }
    // Null without a deck.
    std::shared_ptr<PDFSlideSource> slides() const { return _pages ? _pages->source() : nullptr; }
    // Why the newest page has no picture.
    const Problem& pageProblem() const { return _pageProblem; }
    // Whether a hand pinches.
    PinchActivity& pinchActivity() { return _pinchActivity; }
    HostTuning& tuning() { return _tuning; }
    // Until there is a painter, text is taken and recorded but not seen.
    void setTextPainter(TextPainter painter);

private:
    enum class Tool { none, drawing, typing };

    explicit Presentation(Setup setup);
    void start();

    Problem perform(const command::GoToPage& to);
    Problem perform(const command::TypeText& typed);
    Problem perform(const command::SaveTuning&);
    void perform(const command::Tune& tune) { _tuning.set(tune.field, tune.value); }
    void perform(const command::ResetTuning&) { _tuning.reset(); }
    Problem perform(const command::NextPage&) { return turnTo(page() + 1); }
    Problem perform(const command::PreviousPage&) { return turnTo(page() - 1); }
    Problem perform(const command::FirstPage&) { return turnTo(1); }
    Problem perform(const command::LastPage&) { return turnTo(pageCount()); }
    void perform(const command::SetShown& shown);
    void perform(const command::PlaceUpperRight&);
    void perform(const command::PlaceCentre&);
    void perform(const command::SetLocked& locked);
    void perform(const command::SetDrawing& drawing);
    void perform(const command::SetInkColour& colour);
    void perform(const command::SetInkWidth& width);
    void perform(const command::KeepInk& keep);
    void perform(const command::ClearInk&);
    void perform(const command::SetTyping& typing);
    Problem perform(const command::TypeNewline&) { return type("\n"); }
    Problem perform(const command::DeleteBackward&);
    void perform(const command::ClearText&);
    void perform(const command::Swap& swap);
    void perform(const command::Darken& darken);
    void perform(const command::SetMirrored& mirrored);
    void perform(const command::Reset&);

    Problem turnTo(int page);
    void showPage(int page, const TextureRef& texture);
    void setTool(Tool tool);
    Problem type(std::string_view text);
    void showText(const std::string& text);
    void paint(const std::string& text);
    void tellLock();
    // Animated over `seconds`. A hand that holds the slide loses it.
    void moveSlide(std::function<OverlayTransform(OverlayTransform)> move, double seconds);
    void place(OverlayTransform (*placement)(float slideAspect, float canvasAspect),
               float slideAspect, double seconds);
    float canvasAspect() const;
    void onSign(HandSign sign);
    void onPinching(bool isPinching);

    FramePipeline& _pipeline;
    const CallbackExecutor _executor;
    const Bindings _bindings;
    const bool _wasMirrored;
    const Logger _log{"Presentation"};
    HostTuning _tuning;
    std::shared_ptr<SlidePages> _pages; // null without a deck
    TypeController _text;
    TextPainter _paintText;
    PinchActivity _pinchActivity;
    Problem _pageProblem;
    Tool _tool = Tool::none;
    bool _isShown = true;
    bool _isLocked = false;
    std::optional<float> _slideAspect; // absent until a page was shown
};

} // namespace lanternfly
