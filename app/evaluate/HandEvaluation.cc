#include "app/evaluate/HandEvaluation.h"

#include <algorithm>
#include <cmath>
#include <ctime>

#include <fmt/format.h>

#include "app/CommandError.h"
#include "capture/VisionDownsampler.h"
#include "platform/linux/video/VideoFileReader.h"
#include "platform/linux/vision/OpenCvFaceDetector.h"
#include "platform/linux/vision/OpenCvHandPoseDetector.h"

namespace lanternfly {
namespace {

// Processor time, which other programs of a busy machine do not lengthen by waiting.
double threadMilliseconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

LabelledHand inPixels(const HandObservation& hand, double2 sizePX) {
    LabelledHand found;
    if (hand.chirality != HandObservation::Chirality::unknown)
        found.isRight = hand.chirality == HandObservation::Chirality::right;
    for (size_t i = 0; i < handJointCount; ++i) {
        const auto& point = hand.points[i];
        found.joints[i] = point ? double2{static_cast<double>(point->x) * sizePX.x,
                                          (1 - static_cast<double>(point->y)) * sizePX.y}
                                : double2{HUGE_VAL, HUGE_VAL};
        found.confidences[i] = point ? point->confidence : 0;
    }
    return found;
}

LabelledFace inPixels(const FaceRect& face, double2 sizePX) {
    return {.low = double2{face.x, 1 - face.y - face.height} * sizePX,
            .size = double2{face.width, face.height} * sizePX};
}

double2 sizeOf(const PixelBuffer& picture) {
    return {picture.width(), picture.height()};
}

// The detectors of the engine, on pictures as the feeds hand them over.
class Looker {
public:
    explicit Looker(const std::filesystem::path& models) : _hands(models), _faces(models) {}

    void startAnew() { _hands.startAnew(); }
    // The hands of the next picture of a clip; the time that they took is kept.
    void lookForHands(const PixelBuffer& picture, FoundPicture& found) {
        _reduced = _downsampler.scaled(picture);
        if (!_reduced) throw CommandError("a picture cannot be reduced: there is no memory");
        const double before = threadMilliseconds();
        _hands.detect(*_reduced, _observations);
        _milliseconds = threadMilliseconds() - before;
        found.hands.clear();
        for (const HandObservation& hand : _observations)
            if (hand.isReadable) found.hands.push_back(inPixels(hand, sizeOf(picture)));
    }
    void lookForFaces(const PixelBuffer& picture, FoundPicture& found) {
        _faces.detect(picture, _rectangles);
        found.faces.emplace();
        for (const FaceRect& face : _rectangles)
            found.faces->push_back(inPixels(face, sizeOf(picture)));
    }
    const PixelBuffer& reduced() const { return *_reduced; }
    double milliseconds() const { return _milliseconds; }

private:
    OpenCvHandPoseDetector _hands;
    OpenCvFaceDetector _faces;
    VisionDownsampler _downsampler;
    PixelBufferRef _reduced;
    std::vector<HandObservation> _observations;
    std::vector<FaceRect> _rectangles;
    double _milliseconds = 0;
};

SourceResult& resultFor(std::vector<SourceResult>& results, const std::string& source) {
    for (SourceResult& result : results)
        if (result.source == source) return result;
    SourceResult& added = results.emplace_back();
    added.source = source;
    return added;
}

FoundPicture answered(const LabelledPicture& answer) {
    return {.hands = answer.hands, .faces = answer.faces};
}

struct Photos {
    std::filesystem::path folder;
    std::vector<LabelledPhoto> own, peer;
};

struct Clip {
    LabelledClip files;
    std::vector<LabelledPicture> own, peer;
};

// One run over everything that was found.
class Run {
public:
    explicit Run(const HandEvaluation::Setup& setup) : _setup(setup), _looker(setup.modelFolder) {
        const HandData data = HandData::in(setup.folder);
        for (const auto& labels : data.photoLabels) {
            Photos& photos = _photos.emplace_back();
            photos.folder = labels.parent_path();
            photos.own = readPhotoLabels(labels);
            if (!setup.peerFolder.empty()) photos.peer = readPhotoLabels(peerOf(labels));
            _total += static_cast<int64_t>(photos.own.size());
        }
        for (const LabelledClip& files : data.clips) {
            Clip& clip = _clips.emplace_back();
            clip.files = files;
            clip.own = readClipLabels(files.labels);
            if (!setup.peerFolder.empty()) clip.peer = readClipLabels(peerOf(files.labels));
            _total += static_cast<int64_t>(clip.own.size());
        }
    }

    HandEvaluation::Result run() {
        for (const Photos& photos : _photos)
            for (const LabelledPhoto& photo : photos.own)
                if (goesOn()) evaluate(photos, photo);
        for (const Clip& clip : _clips)
            if (goesOn()) evaluate(clip);
        return std::move(_result);
    }

private:
    std::filesystem::path peerOf(const std::filesystem::path& labels) const {
        return _setup.peerFolder / std::filesystem::relative(labels, _setup.folder);
    }
    bool goesOn() {
        if (_setup.isInterrupted && _setup.isInterrupted()) _result.isInterrupted = true;
        return !_result.isInterrupted;
    }

    void evaluate(const Photos& photos, const LabelledPhoto& photo) {
        const PixelBufferRef picture = VideoFileReader::picture(photos.folder / photo.file);
        FoundPicture found;
        _looker.startAnew();
        for (int i = 0; i < HandEvaluation::picturesOfAStill; ++i)
            _looker.lookForHands(*picture, found);
        if (photo.picture.faces) _looker.lookForFaces(*picture, found);
        SourceResult& result = resultFor(_result.own, photo.source);
        result.milliseconds.push_back(_looker.milliseconds());
        scored(result, photo.file, *picture, found, photo.picture);
        if (_setup.peerFolder.empty()) return;
        const auto peer =
            std::find_if(photos.peer.begin(), photos.peer.end(),
                         [&](const LabelledPhoto& other) { return other.file == photo.file; });
        if (peer == photos.peer.end())
            throw CommandError(fmt::format("{} has no answer to {}; make the answers again",
                                           _setup.peerFolder.string(), photo.file));
        resultFor(_result.peer, photo.source).scores +=
            score(answered(peer->picture), photo.picture, picture->width());
    }

    void evaluate(const Clip& clip) {
        const auto reader = VideoFileReader::open(clip.files.video);
        const std::string name = clip.files.video.stem().string();
        SourceResult& own = resultFor(_result.own, name);
        HandSequence sequence, peerSequence;
        _looker.startAnew();
        for (size_t i = 0; i < clip.own.size() && goesOn(); ++i) {
            const auto frame = reader->next();
            if (!frame) break;
            const PixelBuffer& picture = *frame->picture;
            FoundPicture found;
            _looker.lookForHands(picture, found);
            if (clip.own[i].faces && i % HandEvaluation::faceStride == 0)
                _looker.lookForFaces(picture, found);
            own.milliseconds.push_back(_looker.milliseconds());
            scored(own, fmt::format("{} {}", name, i), picture, found, clip.own[i]);
            sequence.add(found, clip.own[i], sizeOf(picture));
            if (i >= clip.peer.size()) continue;
            const FoundPicture answer = answered(clip.peer[i]);
            resultFor(_result.peer, name).scores += score(answer, clip.own[i], picture.width());
            peerSequence.add(answer, clip.own[i], sizeOf(picture));
        }
        const double rate = reader->info().frameRate.framesPerSecond();
        own.jitter = sequence.stillJitter();
        own.pinches = sequence.pinches(rate);
        if (clip.peer.empty()) return;
        SourceResult& peer = resultFor(_result.peer, name);
        peer.jitter = peerSequence.stillJitter();
        peer.pinches = peerSequence.pinches(rate);
    }

    void scored(SourceResult& result, const std::string& name, const PixelBuffer& picture,
                const FoundPicture& found, const LabelledPicture& labelled) {
        const HandScores scores = score(found, labelled, picture.width());
        result.scores += scores;
        const PixelBuffer& reduced = _looker.reduced();
        if (_setup.onPicture)
            _setup.onPicture({.name = name,
                              .picture = reduced,
                              .found = found,
                              .labelled = labelled,
                              .scale = reduced.width() / static_cast<double>(picture.width()),
                              .scores = scores});
        if (_setup.onProgress) _setup.onProgress(++_done, _total);
    }

    const HandEvaluation::Setup& _setup;
    Looker _looker;
    std::vector<Photos> _photos;
    std::vector<Clip> _clips;
    HandEvaluation::Result _result;
    int64_t _done = 0, _total = 0;
};

} // namespace

HandEvaluation::Result HandEvaluation::run() {
    return Run(_setup).run();
}

} // namespace lanternfly
