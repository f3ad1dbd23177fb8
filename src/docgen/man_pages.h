// The generated sections of the manual pages, by the marker that stands for
// each in the page templates.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "vocabulary.h"

namespace vk::docgen {

struct Sources {
    const Vocabulary& vocabulary;
    const Catalogue& catalogue;
    const std::vector<Profile>& profiles;
};

std::map<std::string, std::function<std::string()>> ManSections(const Sources& sources);

}  // namespace vk::docgen
