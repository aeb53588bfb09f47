// Tuning records in the user's defaults: one JSON object a record, keys in declaration order.
// Numbers are stored and used as they are; whoever consumes them clamps.
// Threads: safe.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/DefaultsStore.h"
#include "store/RecordField.h"
#include "store/TuningJson.h"

namespace lanternfly::PersistedTuningStore {

// Absent when a value is not finite: JSON has no such numbers.
template <typename Record>
std::optional<std::string> encoded(const Record& record) {
    TuningJsonWriter writer;
    forEachField<Record>([&](const auto& field) { writer.add(field.name, record.*field.member); });
    return writer.finish();
}

// Absent when the bytes are no JSON object, a required key is missing or a value has another type.
// Keys that are not known are ignored.
template <typename Record>
std::optional<Record> decoded(std::string_view bytes) {
    TuningJsonReader reader(bytes);
    Record record = Record::defaults;
    forEachField<Record>([&](const auto& field) {
        reader.read(field.name, field.presence == FieldPresence::required, record.*field.member);
    });
    if (!reader.isGood()) return std::nullopt;
    return record;
}

// Stores nothing when the record cannot be encoded. Returns whether it is stored.
template <typename Record>
bool save(const Record& value, std::string_view key, DefaultsStore& store) {
    const auto bytes = encoded(value);
    return bytes && store.set(key, *bytes);
}

// The fallback when nothing is stored or it cannot be decoded; what is stored stays.
template <typename Record>
Record load(std::string_view key, const Record& fallback, const DefaultsStore& store) {
    const auto bytes = store.data(key);
    if (!bytes) return fallback;
    return decoded<Record>(*bytes).value_or(fallback);
}

// The record that the user saved if it can be read, else the built-in one.
template <typename Record>
Record savedOrDefaults(const DefaultsStore& store) {
    return load(Record::userDefaultsKey, Record::defaults, store);
}

} // namespace lanternfly::PersistedTuningStore
