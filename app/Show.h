// Everything of one presentation that does not depend on where its frames come from and go to: the
// device, the deck, the frame pipeline, and the presentation that commands it.
// Threads: bound to the thread that runs what the executor is given; openDeck() is safe.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "app/Presentation.h"
#include "app/ShowOptions.h"
#include "app/TypedTextLayer.h"
#include "app/commands/CommandScript.h"
#include "platform/linux/defaults/FileDefaultsStore.h"
#include "platform/linux/pdf/PdfWorkerOpener.h"

namespace lanternfly {

class Show {
public:
    using Slides = std::shared_ptr<PDFSlideSource>;

    // Throws CommandError.
    Show(const ShowOptions& options, CallbackExecutor executor, PdfWorkerOptions pdfLimits = {});

    // Waits for the file. Throws PdfError.
    Slides openDeck(const std::filesystem::path& file);
    // Throws CommandError when the deck does not have that page.
    static void checkPage(const PDFSlideSource& slides, int page);
    // The commands of the options' script. Throws CommandError.
    static std::vector<TimedCommand> readScript(const ShowOptions& options, int pageCount);
    std::filesystem::path handModel() const;

    // What differs from show to show; see FramePipeline::Setup.
    struct Performance {
        const Clock& clock;
        HandPoseFeed::DetectorFactory makeDetector;
        FramePipeline::Detection detection = FramePipeline::Detection::awaited;
        EventLog* events = nullptr;
        PoseTrackWriter* recordedPoses = nullptr;
        PoseTrackPlayer* playedPoses = nullptr;
        Slides slides{}; // null: opened later
    };
    // Makes pipeline and presentation.
    void begin(Performance performance);
    // Lets go of all that begin() was given.
    void end();
    // Between the two.
    FramePipeline& pipeline() { return *_pipeline; }
    Presentation& presentation() const { return *_presentation; }
    Framing framing() const;
    // What was wrong with the user's settings, a line each.
    const std::vector<std::string>& notes() const { return _notes; }

private:
    const ShowOptions _options;
    const CallbackExecutor _executor;
    const DeviceRef _device;
    const std::shared_ptr<FrameCompositor> _compositor;
    PdfWorkerOpener _opener;
    FileDefaultsStore _defaults;
    TypedTextLayer _text;
    Bindings _bindings;
    std::vector<std::string> _notes;
    std::unique_ptr<FramePipeline> _pipeline;
    std::shared_ptr<Presentation> _presentation;
};

} // namespace lanternfly
