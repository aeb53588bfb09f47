#include "app/inspect/EventScore.h"

#include <algorithm>

#include <fmt/format.h>

namespace lanternfly {
namespace {

constexpr double rounding = 0.01; // of a frame: times in files are rounded

} // namespace

std::optional<double> EventScore::medianLag() const {
    if (lagFrames.empty()) return std::nullopt;
    auto lags = lagFrames;
    const auto middle = lags.begin() + static_cast<ptrdiff_t>(lags.size() / 2);
    std::nth_element(lags.begin(), middle, lags.end());
    return *middle;
}

std::optional<double> EventScore::worstLag() const {
    if (lagFrames.empty()) return std::nullopt;
    return *std::max_element(lagFrames.begin(), lagFrames.end());
}

void EventScore::add(const EventScore& other) {
    found += other.found;
    late += other.late;
    missed += other.missed;
    unasked += other.unasked;
    lagFrames.insert(lagFrames.end(), other.lagFrames.begin(), other.lagFrames.end());
    faults.insert(faults.end(), other.faults.begin(), other.faults.end());
}

EventScore scoreEvents(std::span<const ExpectedEvent> expected,
                       std::span<const TimelineEvent> events, double frameRate) {
    EventScore score;
    std::vector<bool> isTaken(events.size(), false);
    std::vector<const ExpectedEvent*> open;
    for (const ExpectedEvent& wanted : expected) {
        const auto lagOf = [&](size_t i) {
            return (events[i].seconds - wanted.seconds) * frameRate;
        };
        size_t i = 0;
        while (i < events.size() &&
               (isTaken[i] || events[i].event != wanted.event || lagOf(i) < -1 - rounding ||
                lagOf(i) > wanted.toleranceFrames + rounding))
            ++i;
        if (i == events.size()) {
            open.push_back(&wanted);
            continue;
        }
        isTaken[i] = true;
        ++score.found;
        score.lagFrames.push_back(lagOf(i));
    }
    // What is left belongs together in its order, if it is of one kind.
    for (const ExpectedEvent* wanted : open) {
        size_t i = 0;
        while (i < events.size() && (isTaken[i] || events[i].event != wanted->event))
            ++i;
        if (i == events.size()) {
            ++score.missed;
            score.faults.push_back(
                fmt::format("{} at {:.3f} s never came", nameOf(wanted->event), wanted->seconds));
            continue;
        }
        isTaken[i] = true;
        ++score.late;
        score.faults.push_back(fmt::format(
            "{} at {:.3f} s came at {:.3f} s, {:.1f} frames away; {} are allowed",
            nameOf(wanted->event), wanted->seconds, events[i].seconds,
            (events[i].seconds - wanted->seconds) * frameRate, wanted->toleranceFrames));
    }
    for (size_t i = 0; i < events.size(); ++i) {
        if (isTaken[i]) continue;
        ++score.unasked;
        score.faults.push_back(
            fmt::format("{} came at {:.3f} s unasked", nameOf(events[i].event), events[i].seconds));
    }
    return score;
}

} // namespace lanternfly
