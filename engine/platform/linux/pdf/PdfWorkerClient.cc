#include "platform/linux/pdf/PdfWorkerClient.h"

#include <atomic>
#include <cstring>

#include "base/Logger.h"

namespace lanternfly {

namespace {

const Logger logger("PdfWorkerClient");

std::string missingProtections(uint32_t protections) {
    std::string missing;
    const auto add = [&](uint32_t bit, const char* name) {
        if (protections & bit) return;
        if (!missing.empty()) missing += ", ";
        missing += name;
    };
    add(pdfwire::limitsHold, "resource limits");
    add(pdfwire::callsHold, "the system call filter (seccomp)");
    add(pdfwire::filesHold, "the file filter (Landlock)");
    return missing;
}

// The system is the same for every helper: one line is enough.
void reportMissingProtections(uint32_t protections) {
    static std::atomic<bool> isReported{false};
    if (protections == pdfwire::allProtections || isReported.exchange(true)) return;
    logger.warning("The PDF helper runs with a weaker sandbox; this system does not provide: {}",
                   missingProtections(protections));
}

} // namespace

PdfWorkerClient::PdfWorkerClient(UniqueFd document, std::filesystem::path file,
                                 PdfWorkerOptions options)
    : _document(std::move(document)), _file(std::move(file)), _options(std::move(options)) {
    if (_options.executable.empty()) _options.executable = findPdfWorker();
}

int PdfWorkerClient::open() {
    ensureOpen();
    return _pageCount;
}

PixelBufferRef PdfWorkerClient::renderPage(int index, double widthPX, double heightPX) {
    _pageInHand = index;
    if (index < 0 || index >= _pageCount) throw error(PdfError::Kind::noSuchPage);
    ensureOpen();

    const Deadline deadline = std::chrono::steady_clock::now() + _options.pageLimit;
    const auto fit = fittedPageSize(measure(index, deadline), widthPX, heightPX);
    if (!fit) throw error(PdfError::Kind::pageRefused);
    const size_t rowBytes = static_cast<size_t>(fit->widthPX) * 4;
    provideBuffer(rowBytes * static_cast<size_t>(fit->heightPX), index);

    const auto reply = exchange<pdfwire::RenderReply>(
        pdfwire::RenderRequest{static_cast<uint32_t>(index), static_cast<uint32_t>(fit->widthPX),
                               static_cast<uint32_t>(fit->heightPX)},
        -1, deadline, "drawing a page");
    if (reply.status != pdfwire::RenderStatus::drawn) throw error(PdfError::Kind::pageRefused);

    auto picture = takePicture(fit->widthPX, fit->heightPX);
    if (!picture) throw error(PdfError::Kind::pageRefused);
    for (int y = 0; y < fit->heightPX; ++y)
        std::memcpy(picture->row(y), _pixels->data() + static_cast<size_t>(y) * rowBytes, rowBytes);
    return picture;
}

// The pages of a deck are of one size, and fresh memory costs more than the copy into it.
PixelBufferRef PdfWorkerClient::takePicture(int widthPX, int heightPX) {
    constexpr int kept = 2; // one with the caller, one being filled
    if (!_pictures || _pictures->width() != widthPX || _pictures->height() != heightPX)
        _pictures = PixelBufferPool::create(widthPX, heightPX, PixelFormat::bgra8, kept);
    if (!_pictures) return nullptr;
    auto picture = _pictures->take().buffer;
    if (!picture) picture = PixelBuffer::create(widthPX, heightPX); // the caller keeps its pictures
    return picture;
}

void PdfWorkerClient::ensureOpen() {
    // A helper that ended between requests (memory pressure, its own limits) is no page's fault.
    if (_process && !_process->hasEnded()) return;
    _pixels.reset();
    _process.reset();
    if (_options.executable.empty()) {
        logger.error("The PDF helper lanternfly-pdf-worker is not installed");
        throw error(PdfError::Kind::rendererFailed);
    }
    _process = PdfWorkerProcess::start(_options.executable);
    if (!_process) throw error(PdfError::Kind::rendererFailed);

    const auto now = std::chrono::steady_clock::now;
    const auto hello =
        exchange<pdfwire::HelloReply>(std::nullopt, -1, now() + _options.startLimit, "starting");
    reportMissingProtections(hello.protections);
    const auto opened = exchange<pdfwire::OpenReply>(
        pdfwire::OpenRequest{}, _document.get(), now() + _options.openLimit, "opening a document");
    _pageSizes.clear();

    const auto fail = [&](PdfError::Kind kind) {
        _process.reset();
        throw error(kind);
    };
    switch (opened.status) {
    case pdfwire::OpenStatus::damaged:
        fail(PdfError::Kind::damaged);
        break;
    case pdfwire::OpenStatus::encrypted:
        fail(PdfError::Kind::encrypted);
        break;
    case pdfwire::OpenStatus::opened:
        if (opened.pageCount == 0) fail(PdfError::Kind::noPages);
        // The count given at first stands; a file that has changed since only loses pages.
        if (_pageCount == 0) _pageCount = static_cast<int>(opened.pageCount);
        break;
    }
}

PdfPageSize PdfWorkerClient::measure(int index, Deadline deadline) {
    if (const auto known = _pageSizes.find(index); known != _pageSizes.end()) return known->second;
    const auto reply = exchange<pdfwire::PageSizeReply>(
        pdfwire::PageSizeRequest{static_cast<uint32_t>(index)}, -1, deadline, "measuring a page");
    return _pageSizes[index] = {reply.width, reply.height};
}

void PdfWorkerClient::provideBuffer(size_t sizeBytes, int pageIndex) {
    if (_pixels && _pixels->sizeBytes() >= sizeBytes) return;
    _pixels = SharedPixels::create(sizeBytes);
    if (!_pixels) {
        logger.error("No shared memory of {} bytes for page {}", sizeBytes, pageIndex + 1);
        throw error(PdfError::Kind::pageRefused);
    }
    if (!_process->send(encode(pdfwire::Request{pdfwire::BufferRequest{sizeBytes}}),
                        _pixels->descriptor()))
        giveUp(PdfError::Kind::rendererFailed, "taking a buffer", "it is gone");
}

template <typename Reply>
Reply PdfWorkerClient::exchange(const std::optional<pdfwire::Request>& request, int descriptor,
                                Deadline deadline, const char* purpose) {
    if (request && !_process->send(encode(*request), descriptor))
        giveUp(PdfError::Kind::rendererFailed, purpose, "it is gone");
    pdfwire::Message message;
    switch (_process->receive(message, deadline)) {
    case PdfWorkerProcess::Received::timeout:
        giveUp(PdfError::Kind::rendererTimeout, purpose, "it took too long");
    case PdfWorkerProcess::Received::closed:
        giveUp(PdfError::Kind::rendererFailed, purpose, "it ended");
    case PdfWorkerProcess::Received::message:
        break;
    }
    const auto reply = pdfwire::decodeReply(message.view());
    if (!reply || !std::holds_alternative<Reply>(*reply))
        giveUp(PdfError::Kind::rendererFailed, purpose, "it sent an impossible message");
    return std::get<Reply>(*reply);
}

void PdfWorkerClient::giveUp(PdfError::Kind kind, const char* purpose, const char* reason) {
    const std::string end = _process->end();
    _process.reset();
    _pixels.reset();
    const std::string where =
        _pageInHand ? fmt::format(", page {} of", *_pageInHand + 1) : std::string();
    logger.warning("The PDF helper was lost while {}{} {}: {} ({})", purpose, where, _file.string(),
                   reason, end);
    throw error(kind);
}

PdfError PdfWorkerClient::error(PdfError::Kind kind) const {
    return _pageInHand ? PdfError(kind, _file, *_pageInHand) : PdfError(kind, _file);
}

} // namespace lanternfly
