// A tuning record that a panel edits live. Observers are told of every change; the engine takes
// snapshots, which are plain values.
// Threads: bound (main).
#pragma once

#include <type_traits>
#include <utility>

#include "base/Observable.h"
#include "store/PersistedTuningStore.h"

namespace lanternfly {

// What follows from other fields after one was set: by default nothing.
struct Uncoupled {
    template <typename Record>
    static void apply(Record&) {}
};

template <typename TunedRecord, typename Coupling = Uncoupled>
class Tuning {
public:
    using Record = TunedRecord;
    static constexpr const char* userDefaultsKey = Record::userDefaultsKey;

    // Hosts pass what PersistedTuningStore::savedOrDefaults gives. The store outlives the tuning.
    Tuning(const Record& config, DefaultsStore& store) : _store(store), _record(config) {
        Coupling::apply(_record);
    }
    Tuning(const Tuning&) = delete;
    Tuning& operator=(const Tuning&) = delete;

    const Record& snapshot() const { return _record; }
    // Tells observers unless the value stays the same.
    template <typename Value>
    void set(Value Record::*field, std::type_identity_t<Value> value) {
        const Value before = _record.*field;
        _record.*field = value;
        Coupling::apply(_record);
        if (_record.*field == before) return;
        observers.notify();
    }

    // Returns whether it is stored.
    bool saveAsDefault() const {
        return PersistedTuningStore::save(snapshot(), userDefaultsKey, _store);
    }
    // Back to the user's saved record if there is one, else to the built-in one.
    void reset() {
        const auto config = PersistedTuningStore::savedOrDefaults<Record>(_store);
        forEachField<Record>([&](const auto& field) { set(field.member, config.*field.member); });
    }

    // Told after a change, when the new value can be read.
    Observable observers;

private:
    DefaultsStore& _store;
    Record _record;
};

// One field of a tuning object under its own name: reads like a value, and writing tells observers.
template <typename Owner, auto field>
class TuningProperty {
public:
    using Value = std::remove_cvref_t<decltype(std::declval<typename Owner::Record>().*field)>;

    explicit TuningProperty(Owner& owner) : _owner(owner) {}
    TuningProperty(const TuningProperty&) = delete;
    TuningProperty& operator=(const TuningProperty& other) { return *this = Value(other); }
    TuningProperty& operator=(Value value) {
        _owner.set(field, value);
        return *this;
    }
    operator Value() const { return _owner.snapshot().*field; } // NOLINT: meant to convert

private:
    Owner& _owner;
};

} // namespace lanternfly
