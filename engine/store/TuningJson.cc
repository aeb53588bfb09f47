#include "store/TuningJson.h"

#include <cmath>
#include <map>
#include <vector>

#include "document/BoundedJson.h"

namespace lanternfly {

namespace {

// Numbers are floats from text to text: by way of doubles 0.05 would be written with 17 digits.
template <template <typename, typename, typename...> typename ObjectType>
using FloatJson =
    nlohmann::basic_json<ObjectType, std::vector, std::string, bool, int64_t, uint64_t, float>;

} // namespace

struct TuningJsonWriter::Object {
    FloatJson<nlohmann::ordered_map> json = FloatJson<nlohmann::ordered_map>::object();
};

TuningJsonWriter::TuningJsonWriter() : _object(std::make_unique<Object>()) {}
TuningJsonWriter::~TuningJsonWriter() = default;

void TuningJsonWriter::add(const char* key, float value) {
    if (!std::isfinite(value)) _isGood = false;
    _object->json[key] = value;
}

void TuningJsonWriter::add(const char* key, bool value) {
    _object->json[key] = value;
}

std::optional<std::string> TuningJsonWriter::finish() const {
    if (!_isGood) return std::nullopt;
    return _object->json.dump();
}

struct TuningJsonReader::Object {
    FloatJson<std::map> json;

    // Null when the key is missing, or present without a value.
    const FloatJson<std::map>* find(const char* key) const {
        const auto found = json.find(key);
        return found == json.end() || found->is_null() ? nullptr : &*found;
    }
};

TuningJsonReader::TuningJsonReader(std::string_view bytes) : _object(std::make_unique<Object>()) {
    try {
        _object->json = parseBounded<FloatJson<std::map>>(bytes);
    } catch (const std::exception&) {
        _isGood = false;
    }
    _isGood = _isGood && _object->json.is_object();
}

TuningJsonReader::~TuningJsonReader() = default;

void TuningJsonReader::read(const char* key, bool isRequired, float& value) {
    if (!_isGood) return;
    const auto* found = _object->find(key);
    if (!found)
        _isGood = !isRequired;
    else if (found->is_number())
        value = found->get<float>();
    else
        _isGood = false;
}

void TuningJsonReader::read(const char* key, bool isRequired, bool& value) {
    if (!_isGood) return;
    const auto* found = _object->find(key);
    if (!found)
        _isGood = !isRequired;
    else if (found->is_boolean())
        value = found->get<bool>();
    else
        _isGood = false;
}

} // namespace lanternfly
