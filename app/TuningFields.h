// The fields of all tuning records by name: "tracking.springStiffness".
// Threads: safe.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "store/Tunings.h"

namespace lanternfly {

// The last part of the key that the record is stored under.
template <typename Record>
constexpr std::string_view recordName() {
    const std::string_view key = Record::userDefaultsKey;
    return key.substr(key.rfind('.') + 1);
}

template <typename Record>
bool isFieldOf(std::string_view name, const char* field) {
    constexpr std::string_view record = recordName<Record>();
    return name.size() > record.size() && name.starts_with(record) && name[record.size()] == '.' &&
           name.substr(record.size() + 1) == field;
}

struct TuningField {
    std::string name;
    bool isSwitch = false; // on or off, else a number
    float builtIn = 0;     // a switch that is on is 1
};
// In the order of the records and of their fields.
const std::vector<TuningField>& tuningFields();

} // namespace lanternfly
