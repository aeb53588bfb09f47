#include "app/evaluate/EvaluationReport.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace lanternfly {
namespace {

double medianOf(std::vector<double> values) {
    if (values.empty()) return NAN;
    const auto middle = values.begin() + static_cast<long>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

std::string cell(double value, int digits) {
    return std::isfinite(value) ? fmt::format("{:.{}f}", value, digits) : "-";
}

SourceResult sumOf(const std::vector<SourceResult>& results) {
    SourceResult sum;
    sum.source = "all";
    double found = 0, labelled = 0;
    for (const SourceResult& result : results) {
        sum.scores += result.scores;
        sum.milliseconds.insert(sum.milliseconds.end(), result.milliseconds.begin(),
                                result.milliseconds.end());
        sum.pinches.labelled += result.pinches.labelled;
        sum.pinches.found += result.pinches.found;
        sum.pinches.matched += result.pinches.matched;
        if (result.jitter.windows == 0) continue;
        sum.jitter.windows += result.jitter.windows;
        found += result.jitter.found * result.jitter.windows;
        labelled += result.jitter.labelled * result.jitter.windows;
    }
    if (sum.jitter.windows > 0) {
        sum.jitter.found = found / sum.jitter.windows;
        sum.jitter.labelled = labelled / sum.jitter.windows;
    }
    return sum;
}

constexpr const char* row =
    "{:<38} {:>6} {:>6} {:>6} {:>6} {:>6} {:>6} {:>6} {:>7} {:>6} {:>9} {:>6} {:>7} {:>10} {:>6}\n";

std::string line(const SourceResult& result) {
    const HandScores& s = result.scores;
    const auto counted = [](int part, int whole) {
        return whole > 0 ? fmt::format("{}/{}", part, whole) : "-";
    };
    const PinchCounts& p = result.pinches;
    return fmt::format(
        row, result.source.substr(0, 38), s.pictures, s.labelledHands, cell(s.recall(), 3),
        cell(s.precision(), 3), cell(s.pck10(), 3), cell(s.pck20(), 3), cell(s.tipError(), 3),
        cell(s.pinchAgreement(), 3), cell(s.chirality(), 3),
        counted(s.falseHandsThere, s.handFreePictures), cell(s.faceShare(), 3),
        cell(result.jitter.found, 4),
        p.labelled + p.found > 0 ? fmt::format("{}/{}/{}", p.matched, p.found, p.labelled) : "-",
        cell(medianOf(result.milliseconds), 1));
}

std::string table(const std::vector<SourceResult>& results) {
    std::string text =
        fmt::format(row, "source", "pict.", "hands", "recall", "prec.", "pck.1", "pck.2", "tips",
                    "pinched", "side", "no hands", "face", "jitter", "pinches", "ms");
    for (const SourceResult& result : results)
        text += line(result);
    if (results.size() > 1) text += line(sumOf(results));
    return text;
}

constexpr const char* legend =
    "hands    labelled, at least 8 % of the picture's width; recall, prec. of finding them\n"
    "pck      share of the found hands' joints within 0.1 and 0.2 of the hand's box\n"
    "tips     mean error of thumb and index tips, in hand boxes\n"
    "pinched  found hands that are pinched or open as labelled, at a ratio of 0.30\n"
    "side     right and left as labelled\n"
    "no hands false hands in pictures without any / those pictures\n"
    "face     pictures whose largest face is found (half of it overlaps)\n"
    "jitter   of a hand at rest, in hand sizes, before any filter\n"
    "pinches  that begin: matched / found / labelled\n"
    "ms       processor time a picture, median\n";

nlohmann::json orNull(double value) {
    return std::isfinite(value) ? nlohmann::json(value) : nlohmann::json();
}

nlohmann::json jsonOf(const SourceResult& result) {
    const HandScores& s = result.scores;
    return {{"source", result.source},
            {"pictures", s.pictures},
            {"hands", s.labelledHands},
            {"recall", orNull(s.recall())},
            {"precision", orNull(s.precision())},
            {"false_hands", s.falseHands},
            {"pck_10", orNull(s.pck10())},
            {"pck_20", orNull(s.pck20())},
            {"tip_error", orNull(s.tipError())},
            {"pinch_agreement", orNull(s.pinchAgreement())},
            {"pinched_labelled", s.labelledPinches},
            {"pinched_recall", orNull(HandScores::ratio(s.matchedPinches, s.labelledPinches))},
            {"chirality", orNull(s.chirality())},
            {"hand_free_pictures", s.handFreePictures},
            {"false_hands_in_hand_free_pictures", s.falseHandsThere},
            {"face_pictures", s.facePictures},
            {"largest_face", orNull(s.faceShare())},
            {"face_free_pictures", s.faceFreePictures},
            {"false_faces", s.falseFaces},
            {"jitter", orNull(result.jitter.found)},
            {"jitter_of_labels", orNull(result.jitter.labelled)},
            {"jitter_windows", result.jitter.windows},
            {"pinches_labelled", result.pinches.labelled},
            {"pinches_found", result.pinches.found},
            {"pinches_matched", result.pinches.matched},
            {"milliseconds", orNull(medianOf(result.milliseconds))}};
}

nlohmann::json jsonOf(const std::vector<SourceResult>& results) {
    nlohmann::json sources = nlohmann::json::array();
    for (const SourceResult& result : results)
        sources.push_back(jsonOf(result));
    if (results.size() > 1) sources.push_back(jsonOf(sumOf(results)));
    return sources;
}

} // namespace

std::string reportText(const EvaluatedModel& model, const HandEvaluation::Result& result) {
    std::string text =
        fmt::format("{}, {:.1f} MB\n{}", model.name, model.megabytes, table(result.own));
    if (!result.peer.empty()) text += "\nthe peer's answers\n" + table(result.peer);
    return text + "\n" + legend;
}

std::string reportJson(const EvaluatedModel& model, const HandEvaluation::Result& result) {
    nlohmann::json object{
        {"model", model.name}, {"megabytes", model.megabytes}, {"sources", jsonOf(result.own)}};
    if (!result.peer.empty()) object["peer"] = jsonOf(result.peer);
    return object.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

} // namespace lanternfly
