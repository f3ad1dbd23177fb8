// An in-process "kvda" for the validation library's tests: records every
// request exactly and answers canned XML in the agent's answer format.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kvsup_test {

using Props = std::vector<std::pair<std::string, std::string>>;

// "<QXStorageObject><tag>value</tag>...</QXStorageObject>"
std::string Object(const Props& props);
// The objects followed by "<SMStatus>0</SMStatus>".
std::string Answer(std::initializer_list<Props> objects);
std::string Answer(const std::vector<Props>& objects);

class FakeAgent {
  public:
    FakeAgent();   // installs itself as "kvda"
    ~FakeAgent();  // removes itself
    FakeAgent(const FakeAgent&) = delete;
    FakeAgent& operator=(const FakeAgent&) = delete;

    // Requests whose entries include every entry of match get answer; the
    // first rule added wins. No rule: no answer. A rule with std::nullopt
    // answers nothing.
    void On(std::vector<std::string> match, std::optional<std::string> answer);

    const std::vector<std::vector<std::string>>& Requests() const { return requests_; }
    // Requests whose first entry is "vkacmd=<name>".
    std::vector<std::vector<std::string>> RequestsNamed(const std::string& name) const;
    void Clear() { requests_.clear(); }

  private:
    static char* Send(void* context, uint32_t count, const char** nvPairs);
    static void Free(void* context, char* data);

    struct Rule {
        std::vector<std::string> match;
        std::optional<std::string> answer;
    };
    std::vector<Rule> rules_;
    std::vector<std::vector<std::string>> requests_;
};

// Makes every XML buffer allocation fail while it lives (answers still
// arrive).
class NoXmlBuffers {
  public:
    NoXmlBuffers();
    ~NoXmlBuffers();
};

}  // namespace kvsup_test

namespace kvsup_test {
// A mask as the agent prints it: 32 digits, most significant first.
std::string Bits(uint32_t value);
}  // namespace kvsup_test
