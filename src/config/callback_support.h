// Pieces shared by the validate callbacks of the configuration commands:
// reading the user's words and the data-manager list, appending pairs the
// frame keeps until it returns, and filling the two error texts.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "clps.h"

namespace config {

// Statuses every configuration callback may answer.
inline constexpr int32_t kSend = CLPS_VALIDATE_SEND;
inline constexpr int32_t kInvalidController = 1600;
inline constexpr int32_t kNotSupported = 1614;
inline constexpr int32_t kNotPossibleNow = 1615;
inline constexpr int32_t kCannotRead = 1655;

// Size of the bounded valid-controller list.
inline constexpr uint32_t kControllerListSize = 256;

// One callback call: the user's words, the data-manager list (which the
// callback may extend) and the two error texts.
class CallbackCall {
  public:
    CallbackCall(uint32_t userCount, const char** userWords, uint32_t* nvCount, const char** nvList,
                 char* errText1, char* errText2)
        : userCount_(userCount),
          userWords_(userWords),
          nvCount_(nvCount),
          nvList_(nvList),
          err1_(errText1),
          err2_(errText2) {}

    // The value of the user's word name (name compared ignoring case), or
    // null when it was not given.
    const char* User(const char* name) const;
    // The value of the data-manager pair name ("Layout", "GlobalNo"), or null.
    const char* Pair(const char* name) const;
    // The position of the data-manager pair name, or -1.
    int32_t PairIndex(const char* name) const;

    // Appends "name=value" as "%s=%d" formats it into a 256-byte block.
    // False when the list is full or memory ran out.
    bool AppendNumber(const char* name, int32_t value);
    // Appends "name=value" as "%s=%s" formats it. False as above.
    bool AppendText(const char* name, const char* value);
    // Replaces the pair name with "name=value", or appends it when it is not
    // there. False as above.
    bool SetPair(const char* name, const char* value);
    // The data-manager list itself, for validators that rewrite its entries.
    uint32_t* NVCount() const { return nvCount_; }
    const char** NVList() const { return nvList_; }
    // Removes the data-manager pair name; false when it is not there.
    bool RemovePair(const char* name);

    // Copies the two texts (cut to the error-text size) and answers status.
    int32_t Refuse(int32_t status, std::string_view offending, std::string_view valid) const;

  private:
    uint32_t userCount_;
    const char** userWords_;
    uint32_t* nvCount_;
    const char** nvList_;
    char* err1_;
    char* err2_;
};

// 0 when controller is null or names a controller the agent lists and that
// is not busy with automatic configuration (bounded list of
// kControllerListSize bytes); otherwise 1600 with the controller and the
// valid ones.
int32_t CheckControllerWithSize(const CallbackCall& call, const char* controller);
// The same with the whole controller list. This lookup only asks whether
// the controller exists, so a controller busy with automatic configuration
// passes it.
int32_t CheckController(const CallbackCall& call, const char* controller);
// The two capability bits of an action: 1614 when it is not supported, 1615
// when it is not possible now (first text the action), else 0.
int32_t CheckCapability(const CallbackCall& call, const char* action, uint32_t supported,
                        uint32_t current);

}  // namespace config
