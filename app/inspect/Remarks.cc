#include "app/inspect/Remarks.h"

#include <algorithm>

#include <fmt/format.h>

#include "app/inspect/Spans.h"

namespace lanternfly {
namespace {

using Chirality = HandPose::Chirality;
using Phase = PinchRecognizer::Phase;

constexpr float nearFactor = 1.5f;            // times the enter ratio: somebody may have meant it
constexpr double shortestRemarkSeconds = 0.1; // what the eye does not notice needs no words
constexpr double regainSeconds = 0.7;         // let go and taken again so soon: it was not meant

const char* nameOf(Chirality chirality) {
    switch (chirality) {
    case Chirality::left:
        return "left hand";
    case Chirality::right:
        return "right hand";
    case Chirality::unknown:
        return "hand of unknown side";
    }
    return "";
}

const HandReading* handOf(const TimelineFrame& frame, Chirality chirality) {
    const auto found =
        std::find_if(frame.hands.begin(), frame.hands.end(),
                     [&](const HandReading& hand) { return hand.chirality == chirality; });
    return found == frame.hands.end() ? nullptr : &*found;
}

class Remarker {
public:
    explicit Remarker(const GestureTimeline& timeline) : _timeline(timeline) {}

    std::vector<Remark> all() {
        for (const Chirality chirality : {Chirality::left, Chirality::right, Chirality::unknown}) {
            nearPinches(chirality);
            unsureTips(chirality);
        }
        brokenPinches();
        lostHands();
        nearPairs();
        peaceSigns();
        framesNotLookedAt();
        std::stable_sort(_remarks.begin(), _remarks.end(), [](const Remark& a, const Remark& b) {
            return a.startSeconds < b.startSeconds;
        });
        return std::move(_remarks);
    }

private:
    using Frames = std::vector<TimelineFrame>;

    template <typename Holds>
    std::vector<Span> spans(double gapSeconds, Holds&& holds) const {
        return spansWhere(_timeline.frames, gapSeconds, holds);
    }
    template <typename... Arguments>
    void say(const Span& span, fmt::format_string<Arguments...> text, Arguments&&... arguments) {
        _remarks.push_back({_timeline.frames[span.first].seconds,
                            _timeline.frames[span.last].seconds,
                            fmt::format(text, std::forward<Arguments>(arguments)...)});
    }
    double seconds(const Span& span) const {
        return _timeline.frames[span.last].seconds - _timeline.frames[span.first].seconds;
    }
    // A pinch is held somewhere in the span, or begins right after it.
    bool touchesPinch(const Span& span) const {
        const size_t end = std::min(span.last + 3, _timeline.frames.size());
        return std::any_of(_timeline.frames.begin() + static_cast<ptrdiff_t>(span.first),
                           _timeline.frames.begin() + static_cast<ptrdiff_t>(end),
                           [](const TimelineFrame& frame) { return frame.isPinch(); });
    }
    bool isSure(const HandReading& hand) const {
        const auto& floors = _timeline.pinch.confidenceFloors;
        return hand.thumbConfidence >= floors.thumbTip && hand.indexConfidence >= floors.indexTip &&
               hand.palmConfidence >= std::max(floors.wrist, floors.middleMCP);
    }
    // What keeps a closed hand from counting.
    std::string unsureJoint(const HandReading& hand) const {
        const auto& floors = _timeline.pinch.confidenceFloors;
        const auto told = [](const char* joint, float confidence, float floor) {
            return confidence > 0 ? fmt::format("the {} was unsure ({:.2f}, and {:.2f} is needed)",
                                                joint, confidence, floor)
                                  : fmt::format("the {} was not found", joint);
        };
        if (hand.thumbConfidence < floors.thumbTip)
            return told("tip of the thumb", hand.thumbConfidence, floors.thumbTip);
        if (hand.indexConfidence < floors.indexTip)
            return told("tip of the index finger", hand.indexConfidence, floors.indexTip);
        return told("palm", hand.palmConfidence, std::max(floors.wrist, floors.middleMCP));
    }

    void nearPinches(Chirality chirality) {
        const float enter = _timeline.pinch.pinchEnterRatio;
        const auto ratioOf = [&](const TimelineFrame& frame) {
            const HandReading* hand = handOf(frame, chirality);
            return hand ? hand->ratio : std::nullopt;
        };
        constexpr double gap = 0.15;
        for (const Span& dip : spans(gap, [&](const TimelineFrame& frame) {
                 const auto ratio = ratioOf(frame);
                 return ratio && *ratio <= nearFactor * enter;
             })) {
            if (touchesPinch(dip)) continue;
            float lowest = nearFactor * enter;
            double longest = -1, since = 0;
            bool isHeld = false;
            const HandReading* unsure = nullptr;
            for (size_t i = dip.first; i <= dip.last; ++i) {
                const TimelineFrame& frame = _timeline.frames[i];
                const HandReading* hand = handOf(frame, chirality);
                if (!hand || !hand->ratio) {
                    isHeld = false;
                    continue;
                }
                lowest = std::min(lowest, *hand->ratio);
                const bool isClosed = *hand->ratio <= enter;
                if (isClosed && !isSure(*hand)) unsure = hand;
                if (isClosed && isSure(*hand)) {
                    if (!isHeld) since = frame.seconds;
                    longest = std::max(longest, frame.seconds - since);
                }
                isHeld = isClosed && isSure(*hand);
            }
            if (lowest > enter)
                say(dip,
                    "The {} nearly pinched: thumb and index finger came to {:.2f} of the hand's "
                    "size, and a pinch begins at {:.2f}.",
                    nameOf(chirality), lowest, enter);
            else if (longest < 0 && unsure)
                say(dip, "The {} closed to {:.2f}, but {}, so it did not count.", nameOf(chirality),
                    lowest, unsureJoint(*unsure));
            else if (longest >= 0 && longest < _timeline.pinch.armingHoldSeconds)
                say(dip,
                    "The {} pinched too shortly: closed for {:.2f} s in one go, and a pinch "
                    "begins after {:.2f} s.",
                    nameOf(chirality), longest, _timeline.pinch.armingHoldSeconds);
            else
                say(dip, "The {} closed to {:.2f} and opened before a pinch began.",
                    nameOf(chirality), lowest);
        }
    }

    // Where a pinch could not even be measured.
    void unsureTips(Chirality chirality) {
        constexpr double gap = 0.1;
        for (const Span& span : spans(gap, [&](const TimelineFrame& frame) {
                 const HandReading* hand = handOf(frame, chirality);
                 return hand && !frame.isPinch() && !hand->ratio;
             }))
            if (seconds(span) >= shortestRemarkSeconds)
                say(span, "The {} was seen, but {}: a pinch could not be noticed.",
                    nameOf(chirality),
                    unsureJoint(*handOf(_timeline.frames[span.first], chirality)));
    }

    void brokenPinches() {
        for (size_t i = 0; i + 1 < _timeline.events.size(); ++i) {
            const TimelineEvent& ended = _timeline.events[i];
            if (ended.event != GestureEvent::pinchEnded) continue;
            const auto again = std::find_if(
                _timeline.events.begin() + static_cast<ptrdiff_t>(i) + 1, _timeline.events.end(),
                [](const TimelineEvent& event) { return event.event == GestureEvent::pinchBegan; });
            if (again == _timeline.events.end() || again->seconds - ended.seconds > regainSeconds)
                continue;
            float widest = 0;
            size_t unseen = 0;
            for (const TimelineFrame& frame : _timeline.frames) {
                if (frame.seconds < ended.seconds - 0.25 || frame.seconds > ended.seconds) continue;
                widest = std::max(widest, frame.smoothedRatio.value_or(0));
                unseen += frame.hands.empty();
            }
            _remarks.push_back(
                {ended.seconds, again->seconds,
                 fmt::format("The pinch let go and took hold again {:.2f} s later: the smoothed "
                             "ratio had risen to {:.2f}, and above {:.2f} it lets go{}.",
                             again->seconds - ended.seconds, widest, _timeline.pinch.pinchExitRatio,
                             unseen > 0 ? fmt::format("; in {} of the frames before no hand was "
                                                      "seen",
                                                      unseen)
                                        : "")});
        }
    }

    void lostHands() {
        const double limit = _timeline.pinch.noPoseHardTimeoutSeconds;
        for (const Span& span : spans(0, [](const TimelineFrame& frame) {
                 return frame.isLookedAt && frame.hands.empty() && frame.isPinch();
             }))
            if (seconds(span) >= shortestRemarkSeconds)
                say(span,
                    "The pinching hand was not seen for {:.2f} s. A pinch outlives that for "
                    "{:.2f} s.",
                    seconds(span), limit);
    }

    void nearPairs() {
        const auto& limits = _timeline.twoHands;
        const auto ratios = [](const TimelineFrame& frame) {
            const HandReading* left = handOf(frame, Chirality::left);
            const HandReading* right = handOf(frame, Chirality::right);
            using Pair = std::optional<std::pair<float, float>>;
            return left && right && left->ratio && right->ratio
                       ? Pair({*left->ratio, *right->ratio})
                       : Pair();
        };
        for (const Span& span : spans(0.1, [&](const TimelineFrame& frame) {
                 const auto both = ratios(frame);
                 if (!both || frame.isTwoHandPinch) return false;
                 const auto [tight, loose] = std::minmax(both->first, both->second);
                 return tight <= limits.pinchEnterRatio && loose > limits.pinchEnterRatio &&
                        loose <= limits.pinchExitRatio;
             })) {
            if (seconds(span) < shortestRemarkSeconds) continue;
            float left = 1e9f, right = 1e9f;
            for (size_t i = span.first; i <= span.last; ++i)
                if (const auto both = ratios(_timeline.frames[i])) {
                    left = std::min(left, both->first);
                    right = std::min(right, both->second);
                }
            say(span,
                "Both hands nearly pinched: the {} hand came to {:.2f} only, and {:.2f} is needed "
                "of each.",
                left > right ? "left" : "right", std::max(left, right), limits.pinchEnterRatio);
        }
        for (const Span& span : spans(0, [&](const TimelineFrame& frame) {
                 const bool areClosed =
                     frame.hands.size() == 2 &&
                     std::all_of(frame.hands.begin(), frame.hands.end(),
                                 [&](const HandReading& hand) {
                                     return hand.ratio && *hand.ratio <= limits.pinchEnterRatio;
                                 });
                 return areClosed && !frame.isTwoHandPinch && !ratios(frame);
             }))
            if (seconds(span) >= shortestRemarkSeconds)
                say(span,
                    "Two hands pinched, but the detector told them as {} and {}: a pinch of "
                    "both hands needs a left and a right one.",
                    nameOf(_timeline.frames[span.first].hands[0].chirality),
                    nameOf(_timeline.frames[span.first].hands[1].chirality));
    }

    enum class Sign { none, unsure, shown };
    Sign signOf(const HandReading& hand) const {
        const auto& signs = _timeline.signs;
        const auto& ratio = hand.fingers;
        if (!ratio[0] || !ratio[1] || !ratio[2] || !ratio[3]) return Sign::none;
        for (size_t i = 0; i < ratio.size(); ++i)
            if ((*ratio[i] > signs.extensionRatio) != (i < 2)) return Sign::none;
        const float least =
            *std::min_element(hand.fingerConfidence.begin(), hand.fingerConfidence.end());
        return least >= signs.minLandmarkConfidence ? Sign::shown : Sign::unsure;
    }
    bool shows(const TimelineFrame& frame, Sign sign) const {
        return std::any_of(frame.hands.begin(), frame.hands.end(),
                           [&](const HandReading& hand) { return signOf(hand) == sign; });
    }

    void peaceSigns() {
        const auto& signs = _timeline.signs;
        for (const Span& span :
             spans(0, [&](const TimelineFrame& frame) { return shows(frame, Sign::shown); })) {
            const double from = _timeline.frames[span.first].seconds;
            const double until = _timeline.frames[span.last].seconds;
            const bool fired = std::any_of(
                _timeline.events.begin(), _timeline.events.end(), [&](const TimelineEvent& event) {
                    return event.event == GestureEvent::peaceSign && event.seconds >= from &&
                           event.seconds <= until;
                });
            if (fired || seconds(span) < shortestRemarkSeconds) continue;
            const bool duringPinch = std::any_of(
                _timeline.frames.begin() + static_cast<ptrdiff_t>(span.first),
                _timeline.frames.begin() + static_cast<ptrdiff_t>(span.last) + 1,
                [](const TimelineFrame& frame) { return frame.isPinch() || frame.isTwoHandPinch; });
            if (duringPinch)
                say(span, "A peace sign was shown while a pinch was held, so it did not count.");
            else if (seconds(span) < signs.holdSeconds)
                say(span, "A peace sign was shown for {:.2f} s, and it counts after {:.2f} s.",
                    seconds(span), signs.holdSeconds);
        }
        for (const Span& span :
             spans(0, [&](const TimelineFrame& frame) { return shows(frame, Sign::unsure); }))
            if (seconds(span) >= signs.holdSeconds)
                say(span,
                    "This looks like a peace sign, but not every finger was seen well enough "
                    "(a confidence of {:.2f} is needed).",
                    signs.minLandmarkConfidence);
    }

    void framesNotLookedAt() {
        for (const Span& span :
             spans(0, [](const TimelineFrame& frame) { return !frame.isLookedAt; }))
            if (seconds(span) >= shortestRemarkSeconds)
                say(span,
                    "The detector was busy for {} frames in a row: what the hands did there "
                    "was not seen.",
                    span.last - span.first + 1);
    }

    const GestureTimeline& _timeline;
    std::vector<Remark> _remarks;
};

} // namespace

std::vector<Remark> remarksOn(const GestureTimeline& timeline) {
    return Remarker(timeline).all();
}

} // namespace lanternfly
