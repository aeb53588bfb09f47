// The JSON of tuning records: flat objects of single-precision numbers and booleans, written so
// that every number reads back as the same number.
// Threads: bound.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace lanternfly {

class TuningJsonWriter {
public:
    TuningJsonWriter();
    ~TuningJsonWriter();
    void add(const char* key, float value);
    void add(const char* key, bool value);
    // Absent when a number was not finite.
    std::optional<std::string> finish() const;

private:
    struct Object;
    std::unique_ptr<Object> _object;
    bool _isGood = true;
};

class TuningJsonReader {
public:
    explicit TuningJsonReader(std::string_view bytes);
    ~TuningJsonReader();
    // Leaves `value` as it is when the key is missing or null, which is an error where the key is
    // required; a value of another type is an error always.
    void read(const char* key, bool isRequired, float& value);
    void read(const char* key, bool isRequired, bool& value);
    // False once anything went wrong.
    bool isGood() const { return _isGood; }

private:
    struct Object;
    std::unique_ptr<Object> _object;
    bool _isGood = true;
};

} // namespace lanternfly
