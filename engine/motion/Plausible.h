// What may enter the motion of the overlay. Every number that gets in here reaches the picture, and
// one that is not a number would stay in the springs for good.
// Threads: safe.
#pragma once

#include <cmath>
#include <type_traits>

#include "base/Vectors.h"
#include "motion/OverlayTransform.h"
#include "store/RecordField.h"

namespace lanternfly {

// Far outside anything seen, and small enough that no product in the frame's arithmetic overflows.
inline constexpr double plausibleMagnitude = 1e6;

inline bool isPlausible(double value) {
    return std::abs(value) <= plausibleMagnitude;
}
inline bool isPlausible(float2 value) {
    return isPlausible(value.x) && isPlausible(value.y);
}
inline bool isPlausible(const OverlayTransform& transform) {
    return isPlausible(transform.position) && isPlausible(transform.scale) &&
           isPlausible(transform.visibility);
}

// A tuning record: all its numbers.
template <typename Record>
bool areFieldsPlausible(const Record& record) {
    bool all = true;
    forEachField<Record>(
        [&](const auto& field) { all = all && isPlausible(record.*field.member); });
    return all;
}

} // namespace lanternfly
