#include "model.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "methods.h"

namespace kvda {

const std::string* Object::find(std::string_view tag) const {
    for (const auto& [k, v] : props)
        if (k == tag) return &v;
    return nullptr;
}

const std::string* Object::value(std::string_view tag) const {
    if (!overrides.empty()) {
        auto o = overrides.find(tag);
        if (o != overrides.end()) return &o->second;
    }
    return find(tag);
}

std::string Object::get(std::string_view tag) const {
    const std::string* v = value(tag);
    return v ? *v : std::string();
}

long long Object::num(std::string_view tag) const {
    const std::string* v = value(tag);
    long long n = 0;
    if (v) std::from_chars(v->data(), v->data() + v->size(), n);
    return n;
}

void Object::set(std::string_view tag, std::string value) {
    for (auto& [k, v] : props)
        if (k == tag) {
            v = std::move(value);
            return;
        }
    props.emplace_back(std::string(tag), std::move(value));
}

void Object::erase(std::string_view tag) {
    std::erase_if(props, [&](const auto& p) { return p.first == tag; });
}

const RaidLayout* findLayout(long long code) {
    for (const RaidLayout& l : kRaidLayouts)
        if (l.code == code) return &l;
    return nullptr;
}

std::string toMask(uint32_t value) {
    std::string out(32, '0');
    for (int i = 0; i < 32; ++i)
        if (value & (1u << (31 - i))) out[static_cast<size_t>(i)] = '1';
    return out;
}

uint32_t fromMask(std::string_view text) {
    uint32_t v = 0;
    for (char c : text) {
        if (c != '0' && c != '1') break;
        v = (v << 1) | static_cast<uint32_t>(c - '0');
    }
    return v;
}

Props effectiveProps(const Estate& estate, const Object& obj) {
    Props out;
    out.reserve(obj.props.size() + 4 + obj.overrides.size());
    for (const auto& kv : obj.props)
        if (!kv.first.starts_with('_')) out.push_back(kv);
    appendMethodMasks(estate, obj, out);
    for (const auto& [tag, value] : obj.overrides) {
        bool replaced = false;
        for (auto& kv : out)
            if (kv.first == tag) {
                kv.second = value;
                replaced = true;
            }
        if (!replaced) out.emplace_back(tag, value);
    }
    return out;
}

}  // namespace kvda
