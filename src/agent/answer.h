// The answer text: storage objects, one element per property, then the
// status and, on failure, a message.
#pragma once

#include <string>
#include <string_view>

#include "model.h"

namespace kvda {

class Answer {
  public:
    void object(const Props& props);
    // Completes the text; a non-zero status drops any objects written.
    std::string finish(int status, std::string_view message);
    size_t objects() const { return count_; }

  private:
    std::string text_;
    size_t count_ = 0;
};

// Property names must be usable as element names.
bool isTagName(std::string_view tag);
// Appends an item to a list, with the separator before all but the first.
void appendListItem(std::string& list, std::string_view separator, std::string_view item);

}  // namespace kvda
