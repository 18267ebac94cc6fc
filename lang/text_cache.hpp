// Analyses kept by the text they came from, under a byte budget: past the
// budget the cache starts afresh, so a session that analyses ever new texts
// stays bounded. The evaluator, statement shapes and user functions each
// keep one.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string_view>
#include <unordered_map>

#include "core/memory.hpp"

namespace ostr::lang {

struct TextHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view s) const noexcept { return std::hash<std::string_view>{}(s); }
};
struct TextEq {
    using is_transparent = void;
    bool operator()(std::string_view a, std::string_view b) const noexcept { return a == b; }
};

template <class T>
class TextCache {
public:
    explicit TextCache(std::size_t max_bytes) noexcept : max_bytes_(max_bytes) {}

    std::shared_ptr<const T> find(std::string_view text) const {
        auto it = map_.find(text);
        return it == map_.end() ? nullptr : it->second;
    }
    // Keeps an analysis that costs about `bytes`.
    void put(std::string_view text, std::shared_ptr<const T> made, std::size_t bytes) {
        if (bytes_ + bytes > max_bytes_) clear();
        bytes_ += bytes;
        map_.emplace(Text(text), std::move(made));
    }
    // The cached analysis of text, or make()'s, kept at cost(made) bytes.
    template <class Make, class Cost>
    std::shared_ptr<const T> get(std::string_view text, Make make, Cost cost) {
        if (auto found = find(text)) return found;
        std::shared_ptr<const T> made = make();
        put(text, made, cost(*made));
        return made;
    }
    void clear() noexcept {
        map_.clear();
        bytes_ = 0;
    }
    std::size_t size() const noexcept { return map_.size(); }

private:
    std::unordered_map<Text, std::shared_ptr<const T>, TextHash, TextEq> map_;
    std::size_t bytes_ = 0;
    std::size_t max_bytes_;
};

}  // namespace ostr::lang
