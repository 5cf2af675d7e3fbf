// Where paths led, kept until a database changes: most of what a service opens for an event is not there, and was not
// there for the last one. Part of a connection, used by one thread at a time.
#pragma once

#include <string>
#include <unordered_map>

#include "platform/host/base/types.h"
#include "platform/host/registry/database_schema.h"
#include "platform/host/registry/state_mark.h"

namespace host::registry {

class KnownKeys {
 public:
  struct Answer {
    DWORD code = 0;  // 0 or ERROR_FILE_NOT_FOUND
    KeyId key = 0;
  };

  // What PathId (key_path.h) led to in the state of `mark`; null when it is not known.
  const Answer* Find(const StateMark& mark, const std::string& path) const;

  // Other states' answers are forgotten, and all of them when there are kMostAnswers.
  void Keep(const StateMark& mark, std::string path, const Answer& answer);

 private:
  static constexpr std::size_t kMostAnswers = 128;
  static constexpr std::size_t kLongestPath = 1024;  // bytes; longer ones are not kept

  StateMark mark_;
  std::unordered_map<std::string, Answer> answers_;
};

}  // namespace host::registry
