#include "app/Show.h"

#include <fmt/format.h>

#include "app/CommandError.h"
#include "app/commands/BindingsFile.h"
#include "base/FileBytes.h"
#include "base/UserFolders.h"
#include "gpu/Devices.h"
#include "platform/linux/text/PangoTextPainter.h"
#include "platform/linux/vision/HandModelFolder.h"
#include "platform/linux/vision/OpenCvFaceDetector.h"

namespace lanternfly {
namespace {

DeviceRef deviceOf(const ShowOptions& options) {
    if (auto device = chooseDevice(options.device)) return device;
    throw CommandError(fmt::format("there is no device {} here; leave --device out to draw on the "
                                   "CPU",
                                   options.device));
}

std::shared_ptr<FrameCompositor> compositorOf(const ShowOptions& options, const DeviceRef& device) {
    if (auto compositor = FrameCompositor::create(device, options.width, options.height))
        return compositor;
    throw CommandError(fmt::format("frames of {}x{} cannot be drawn here; choose a smaller --size",
                                   options.width, options.height));
}

// Without a home nothing is saved, and an empty folder has nothing to load.
FileDefaultsStore userDefaults() {
    return FileDefaultsStore(userConfigFolder().value_or("/nonexistent") / "lanternfly");
}

} // namespace

Show::Show(const ShowOptions& options, CallbackExecutor executor, PdfWorkerOptions pdfLimits)
    : _options(options), _executor(std::move(executor)), _device(deviceOf(options)),
      _compositor(compositorOf(options, _device)), _opener(std::move(pdfLimits)),
      _defaults(userDefaults()),
      _text(_device, std::make_unique<PangoTextPainter>(), options.width, options.height) {
    auto read = loadBindings(options.bindings);
    _bindings = std::move(read.bindings);
    _notes = std::move(read.problems);
}

Show::Slides Show::openDeck(const std::filesystem::path& file) {
    return PDFSlideSource::open(file, _device, _opener, _executor);
}

void Show::checkPage(const PDFSlideSource& slides, int page) {
    if (page >= 1 && page <= slides.slideCount()) return;
    throw CommandError(fmt::format("{} has no page {}: choose --page 1 to {}",
                                   slides.fileURL().string(), page, slides.slideCount()));
}

std::vector<TimedCommand> Show::readScript(const ShowOptions& options, int pageCount) {
    if (!options.script) return {};
    const std::string name = options.script->string();
    std::string text;
    constexpr size_t maxBytes = 1u << 20;
    if (const auto failure = readFile(*options.script, maxBytes, text))
        throw CommandError(fmt::format("{}: {}; choose another --script", name, failure.message()));
    auto script = parseScript(text, name);
    for (const TimedCommand& timed : script)
        if (const auto* to = std::get_if<command::GoToPage>(&timed.command);
            to && to->page > pageCount)
            throw CommandError(fmt::format("{} line {}: there is no page {}: choose 1 to {}", name,
                                           timed.line, to->page, pageCount));
    return script;
}

std::filesystem::path Show::handModel() const {
    return _options.handModel.value_or(defaultHandModelFolder());
}

void Show::begin(Performance performance) {
    FaceDetectFeed::DetectorFactory makeFaceDetector;
    if (_options.looksForFaces)
        makeFaceDetector = [model = handModel()] {
            return std::make_unique<OpenCvFaceDetector>(model);
        };
    _pipeline = std::make_unique<FramePipeline>(
        FramePipeline::Setup{.clock = performance.clock,
                             .makeDetector = std::move(performance.makeDetector),
                             .compositor = _compositor,
                             .detection = performance.detection,
                             .events = performance.events,
                             .recordedPoses = performance.recordedPoses,
                             .playedPoses = performance.playedPoses,
                             .makeFaceDetector = std::move(makeFaceDetector)});
    _presentation = Presentation::create({.pipeline = *_pipeline,
                                          .slides = std::move(performance.slides),
                                          .defaults = _defaults,
                                          .executor = _executor,
                                          .bindings = _bindings,
                                          .firstPage = _options.page,
                                          .isMirrored = _options.isMirrored});
    _presentation->setTextPainter([this](const std::string& text) { return _text.paint(text); });
}

void Show::end() {
    _presentation.reset();
    _pipeline.reset();
}

Framing Show::framing() const {
    return Framing(static_cast<double>(_options.width) / _options.height, _options.framing);
}

} // namespace lanternfly
