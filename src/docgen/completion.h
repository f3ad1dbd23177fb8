// The bash completion of vkreport, vkconfig and kvda: the vocabulary as bash
// tables, followed by the hand-written functions that answer from them.
#pragma once

#include <string>

#include "vocabulary.h"

namespace vk::docgen {

std::string CompletionScript(const Vocabulary& vocabulary, const std::string& functions);

}  // namespace vk::docgen
