// "Did you mean ...?": the known words nearest to a word the user typed.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "text.h"

namespace vk {

// Edit distance ignoring case: insertions, deletions, substitutions and
// swaps of two neighbouring letters each count one.
inline std::size_t EditDistance(std::string_view a, std::string_view b) {
    const std::size_t n = b.size();
    std::vector<std::size_t> before(n + 1), prev(n + 1), cur(n + 1);
    for (std::size_t j = 0; j <= n; ++j) prev[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        cur[0] = i;
        for (std::size_t j = 1; j <= n; ++j) {
            const bool same = AsciiLower(a[i - 1]) == AsciiLower(b[j - 1]);
            cur[j] = std::min({prev[j] + 1, cur[j - 1] + 1, prev[j - 1] + (same ? 0 : 1)});
            if (i > 1 && j > 1 && AsciiLower(a[i - 1]) == AsciiLower(b[j - 2]) &&
                AsciiLower(a[i - 2]) == AsciiLower(b[j - 1]))
                cur[j] = std::min(cur[j], before[j - 2] + 1);
        }
        before.swap(prev);
        prev.swap(cur);
    }
    return prev[n];
}

// The candidates close enough to word to be what was meant, nearest first
// (at most three): a typo of about one letter in three, or a beginning of
// three letters or more. Empty when none is close.
inline std::vector<std::string_view> NearestWords(std::string_view word,
                                                  const std::vector<std::string_view>& candidates) {
    struct Scored {
        std::size_t distance;
        std::string_view candidate;
    };
    std::vector<Scored> close;
    for (std::string_view candidate : candidates) {
        const std::size_t limit =
            std::max<std::size_t>(1, std::min(word.size(), candidate.size()) / 3);
        const std::size_t distance = EditDistance(word, candidate);
        const bool prefix = word.size() >= 3 && word.size() < candidate.size() &&
                            EqualsIgnoreCase(candidate.substr(0, word.size()), word);
        if (distance <= limit || prefix) close.push_back({prefix ? 0 : distance, candidate});
    }
    std::stable_sort(close.begin(), close.end(),
                     [](const Scored& a, const Scored& b) { return a.distance < b.distance; });
    std::vector<std::string_view> out;
    for (const Scored& s : close) {
        if (out.size() == 3) break;
        if (std::none_of(out.begin(), out.end(),
                         [&](std::string_view o) { return EqualsIgnoreCase(o, s.candidate); }))
            out.push_back(s.candidate);
    }
    return out;
}

// "a", "a or b", "a, b or c".
inline std::string JoinAlternatives(const std::vector<std::string_view>& words) {
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (i > 0) text += i + 1 == words.size() ? " or " : ", ";
        text += words[i];
    }
    return text;
}

}  // namespace vk
