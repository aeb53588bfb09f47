// The outcome of a hand evaluation in words and numbers.
// Threads: safe.
#pragma once

#include <string>

#include "app/evaluate/HandEvaluation.h"

namespace lanternfly {

struct EvaluatedModel {
    std::string name;
    double megabytes = 0; // of both network files
};

// Tables, one line a source. Cells without anything to count hold a dash.
std::string reportText(const EvaluatedModel& model, const HandEvaluation::Result& result);
// The same as one JSON object: {model, megabytes, sources: [{source, …}], peer: […]}.
std::string reportJson(const EvaluatedModel& model, const HandEvaluation::Result& result);

} // namespace lanternfly
