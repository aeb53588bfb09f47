// One field of a tuning record as its stored form knows it. A record lists its fields in
// declaration order by a static fields(); storage, tuning objects and panels walk that list.
// Threads: value.
#pragma once

#include <tuple>

namespace lanternfly {

// What a missing key means when a record is read: the whole record is refused, or the field takes
// its built-in default.
enum class FieldPresence { required, optional };

template <typename Record, typename Value>
struct RecordField {
    const char* name;
    Value Record::*member;
    FieldPresence presence;
};

template <typename Record, typename Value>
constexpr RecordField<Record, Value> requiredField(const char* name, Value Record::*member) {
    return {name, member, FieldPresence::required};
}
template <typename Record, typename Value>
constexpr RecordField<Record, Value> optionalField(const char* name, Value Record::*member) {
    return {name, member, FieldPresence::optional};
}

// Calls `body(field)` for every field of the record, in declaration order.
template <typename Record, typename Body>
constexpr void forEachField(Body&& body) {
    std::apply([&](const auto&... fields) { (body(fields), ...); }, Record::fields());
}

} // namespace lanternfly
