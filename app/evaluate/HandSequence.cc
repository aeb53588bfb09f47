#include "app/evaluate/HandSequence.h"

#include <algorithm>
#include <cmath>

#include "base/Clock.h"
#include "gestures/PinchRecognizer.h"

namespace lanternfly {
namespace {

constexpr size_t windowPictures = 10, windowStep = 5;
constexpr double restingPalm = 0.04, restingJoint = 0.15; // hand sizes
constexpr size_t longestGap = 5;                          // pictures
constexpr double farthestStep = 0.8;                      // hand sizes
constexpr double sameEventSeconds = 0.27;

constexpr std::array palm{HandJoint::wrist, HandJoint::indexMCP, HandJoint::middleMCP,
                          HandJoint::ringMCP, HandJoint::littleMCP};

using Window = std::array<JointPixels, windowPictures>;

double2 palmOf(const JointPixels& joints) {
    double2 sum{0, 0};
    for (const HandJoint joint : palm)
        sum += joints[static_cast<size_t>(joint)];
    return sum / static_cast<double>(palm.size());
}

double extent(const std::array<double2, windowPictures>& path) {
    double2 low = path[0], high = path[0];
    for (const double2& p : path) {
        low = glm::min(low, p);
        high = glm::max(high, p);
    }
    return glm::length(high - low);
}

bool rests(const Window& labelled, double size) {
    std::array<double2, windowPictures> path;
    for (size_t i = 0; i < windowPictures; ++i)
        path[i] = palmOf(labelled[i]);
    if (extent(path) > restingPalm * size) return false;
    for (size_t joint = 0; joint < handJointCount; ++joint) {
        for (size_t i = 0; i < windowPictures; ++i)
            path[i] = labelled[i][joint];
        if (extent(path) > restingJoint * size) return false;
    }
    return true;
}

// Standard deviation of a path around its straight line through time.
double deviation(const std::array<double2, windowPictures>& path) {
    const double middle = (windowPictures - 1) / 2.0;
    double2 mean{0, 0}, slope{0, 0};
    double spread = 0;
    for (size_t i = 0; i < windowPictures; ++i) {
        const double t = static_cast<double>(i) - middle;
        mean += path[i] / static_cast<double>(windowPictures);
        slope += path[i] * t;
        spread += t * t;
    }
    slope /= spread;
    double sum = 0;
    for (size_t i = 0; i < windowPictures; ++i) {
        const double2 rest = path[i] - mean - slope * (static_cast<double>(i) - middle);
        sum += glm::dot(rest, rest);
    }
    return std::sqrt(sum / windowPictures);
}

double tremble(const Window& window, double size) {
    double sum = 0;
    std::array<double2, windowPictures> path;
    for (size_t joint = 0; joint < handJointCount; ++joint) {
        for (size_t i = 0; i < windowPictures; ++i)
            path[i] = window[i][joint];
        sum += deviation(path);
    }
    return sum / handJointCount / size;
}

bool isComplete(const JointPixels& joints) {
    return std::all_of(joints.begin(), joints.end(),
                       [](double2 p) { return std::isfinite(p.x) && std::isfinite(p.y); });
}

HandPose poseOf(const LabelledHand& hand, double2 sizePX) {
    HandPose pose;
    pose.chirality = !hand.isRight   ? HandPose::Chirality::unknown
                     : *hand.isRight ? HandPose::Chirality::right
                                     : HandPose::Chirality::left;
    for (size_t i = 0; i < handJointCount; ++i) {
        if (!std::isfinite(hand.joints[i].x)) continue;
        pose.landmarks.set(static_cast<HandLandmark>(i),
                           {static_cast<float>(hand.joints[i].x / sizePX.x),
                            static_cast<float>(1 - hand.joints[i].y / sizePX.y),
                            hand.confidences[i]});
    }
    return pose;
}

// Seconds at which pinches begin; `handsOf(i)` are the hands of picture i.
template <typename HandsOf>
std::vector<double> beginnings(size_t pictures, double framesPerSecond, HandsOf&& handsOf) {
    ManualClock clock;
    const uint64_t start = clock.uptimeNanos();
    PinchRecognizer recognizer(clock);
    std::vector<double> times;
    double now = 0;
    recognizer.setEventCallback([&](const PinchEvent& event) {
        if (std::holds_alternative<PinchBegan>(event)) times.push_back(now);
    });
    std::vector<HandPose> poses;
    for (size_t i = 0; i < pictures; ++i) {
        now = static_cast<double>(i) / framesPerSecond;
        clock.set(start + static_cast<uint64_t>(now * 1e9));
        poses.clear();
        handsOf(i, poses);
        for (HandPose& pose : poses) {
            pose.pts = MediaTime::make(static_cast<int64_t>(now * 1e6), 1'000'000);
            pose.arrivedAtUptimeNanos = clock.uptimeNanos();
        }
        recognizer.process(poses);
    }
    return times;
}

double medianOf(std::vector<double> values) {
    if (values.empty()) return NAN;
    const auto middle = values.begin() + static_cast<long>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace

HandSequence::Track& HandSequence::trackOf(const LabelledHand& hand) {
    const size_t picture = _pictures.size();
    Track* nearest = nullptr;
    double distance = farthestStep * boxSide(hand.joints);
    for (Track& track : _tracks) {
        if (track.lastPicture == picture || picture - track.lastPicture > longestGap) continue;
        const double d = glm::distance(palmOf(track.last), palmOf(hand.joints));
        if (d >= distance) continue;
        distance = d;
        nearest = &track;
    }
    Track& track = nearest ? *nearest : _tracks.emplace_back();
    track.last = hand.joints;
    track.lastPicture = picture;
    return track;
}

void HandSequence::add(const FoundPicture& found, const LabelledPicture& labelled, double2 sizePX) {
    const auto matches = matchHands(found.hands, labelled.hands);
    for (size_t i = 0; i < labelled.hands.size(); ++i) {
        Track& track = trackOf(labelled.hands[i]);
        for (const HandMatch& match : matches)
            if (match.labelled == i && isComplete(found.hands[match.found].joints))
                track.samples[_pictures.size()] = {found.hands[match.found].joints,
                                                   labelled.hands[i].joints};
    }
    _pictures.push_back({found.hands, labelled.hands, sizePX});
}

StillJitter HandSequence::stillJitter() const {
    std::vector<double> ofFound, ofLabelled;
    for (const Track& track : _tracks)
        for (size_t first = 0; first + windowPictures <= _pictures.size(); first += windowStep) {
            Window found, labelled;
            size_t count = 0;
            for (auto at = track.samples.lower_bound(first);
                 at != track.samples.end() && at->first == first + count && count < windowPictures;
                 ++at, ++count) {
                found[count] = at->second.found;
                labelled[count] = at->second.labelled;
            }
            if (count < windowPictures) continue;
            const double size = boxSide(labelled[0]);
            if (!rests(labelled, size)) continue;
            ofFound.push_back(tremble(found, size));
            ofLabelled.push_back(tremble(labelled, size));
        }
    return {.windows = static_cast<int>(ofFound.size()),
            .found = medianOf(ofFound),
            .labelled = medianOf(ofLabelled)};
}

PinchCounts HandSequence::pinches(double framesPerSecond) const {
    const auto times = [&](std::vector<LabelledHand> Picture::*hands) {
        return beginnings(_pictures.size(), framesPerSecond,
                          [&](size_t i, std::vector<HandPose>& poses) {
                              for (const LabelledHand& hand : _pictures[i].*hands)
                                  poses.push_back(poseOf(hand, _pictures[i].sizePX));
                          });
    };
    const std::vector<double> labelled = times(&Picture::labelled);
    std::vector<double> found = times(&Picture::found);
    PinchCounts counts{.labelled = static_cast<int>(labelled.size()),
                       .found = static_cast<int>(found.size())};
    for (const double real : labelled) {
        const auto match = std::find_if(found.begin(), found.end(), [&](double seen) {
            return std::abs(seen - real) <= sameEventSeconds;
        });
        if (match == found.end()) continue;
        found.erase(match);
        ++counts.matched;
    }
    return counts;
}

} // namespace lanternfly
