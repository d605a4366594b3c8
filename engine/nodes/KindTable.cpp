#include "engine/nodes/KindTable.h"

#include <algorithm>

namespace kvengine {

namespace {

// Seeds travel as floats, which hold every whole number up to 2^24 exactly.
constexpr float kSeedRange = 16777216.0f;

} // namespace

KindTable::KindTable(const char* name, const char* help, OutputChannels output) {
    info_.name = name;
    info_.help = help;
    info_.output = output;
}

KindTable& KindTable::add(const char* name, ParamType type, const std::vector<float>& value, float min,
                          float max, const char* help) {
    ParamSpec spec;
    spec.name = name;
    spec.type = type;
    spec.components = static_cast<uint32_t>(std::min<size_t>(value.size(), 4));
    std::copy_n(value.begin(), spec.components, spec.defaultValue.f.begin());
    spec.min = spec.uiMin = min;
    spec.max = spec.uiMax = max;
    spec.help = help;
    info_.params.push_back(spec);
    return *this;
}

KindTable& KindTable::number(const char* name, float value, float min, float max, const char* help) {
    return add(name, ParamType::Float, {value}, min, max, help);
}

KindTable& KindTable::length(const char* name, float value, float min, float max, const char* help) {
    add(name, ParamType::Float, {value}, min, max, help);
    info_.params.back().unit = ParamUnit::TextureSide;
    return *this;
}

KindTable& KindTable::angle(const char* name, float value, const char* help) {
    add(name, ParamType::Float, {value}, 0.0f, 1.0f, help);
    info_.params.back().unit = ParamUnit::Turns;
    return *this;
}

KindTable& KindTable::vector(const char* name, std::initializer_list<float> value, float min, float max,
                             const char* help) {
    return add(name, ParamType::Float, value, min, max, help);
}

KindTable& KindTable::position(const char* name, std::initializer_list<float> value, const char* help) {
    add(name, ParamType::Float, value, 0.0f, 1.0f, help);
    info_.params.back().unit = ParamUnit::TexturePosition;
    return *this;
}

KindTable& KindTable::integer(const char* name, int value, int min, int max, const char* help) {
    return add(name, ParamType::Integer, {static_cast<float>(value)}, static_cast<float>(min),
               static_cast<float>(max), help);
}

KindTable& KindTable::integers(const char* name, std::initializer_list<int> value, int min, int max,
                               const char* help) {
    return add(name, ParamType::Integer, std::vector<float>(value.begin(), value.end()),
               static_cast<float>(min), static_cast<float>(max), help);
}

KindTable& KindTable::flag(const char* name, bool value, const char* help) {
    return add(name, ParamType::Boolean, {value ? 1.0f : 0.0f}, 0.0f, 1.0f, help);
}

KindTable& KindTable::choice(const char* name, int value, std::initializer_list<const char*> labels,
                             const char* help) {
    add(name, ParamType::Enumeration, {static_cast<float>(value)}, 0.0f,
        static_cast<float>(labels.size()) - 1, help);
    info_.params.back().labels.assign(labels.begin(), labels.end());
    return *this;
}

KindTable& KindTable::colour(const char* name, std::initializer_list<float> value, const char* help) {
    return add(name, ParamType::Colour, value, 0.0f, 1.0f, help);
}

KindTable& KindTable::seed() {
    info_.readsSeed = true;
    return add("seed", ParamType::Integer, {0.0f}, -kSeedRange, kSeedRange,
               "variation, combined with $randomseed");
}

KindTable& KindTable::ui(float min, float max) {
    info_.params.back().uiMin = min;
    info_.params.back().uiMax = max;
    return *this;
}

KindTable& KindTable::evenComponent(uint32_t component) {
    info_.params.back().evenComponents |= 1u << component;
    return *this;
}

KindTable& KindTable::source(const char* name, const char* help) {
    info_.imageInputs.push_back({name, InputUse::Source, 0.5f, help});
    return *this;
}

KindTable& KindTable::map(const char* name, float unconnected, const char* help) {
    info_.imageInputs.push_back({name, InputUse::Map, unconnected, help});
    return *this;
}

KindTable& KindTable::colourMap(const char* name, const char* help) {
    info_.imageInputs.push_back({name, InputUse::ColourMap, 0.5f, help});
    return *this;
}

KindTable& KindTable::scratchImages(int count) {
    info_.scratchImages = count;
    return *this;
}

} // namespace kvengine
