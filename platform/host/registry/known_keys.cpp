#include "platform/host/registry/known_keys.h"

#include <utility>

namespace host::registry {

const KnownKeys::Answer* KnownKeys::Find(const StateMark& mark, const std::string& path) const {
  if (answers_.empty() || !(mark == mark_)) return nullptr;
  const auto found = answers_.find(path);
  return found == answers_.end() ? nullptr : &found->second;
}

void KnownKeys::Keep(const StateMark& mark, std::string path, const Answer& answer) {
  if (path.size() > kLongestPath) return;
  if (!(mark == mark_) || answers_.size() >= kMostAnswers) answers_.clear();
  mark_ = mark;
  answers_.insert_or_assign(std::move(path), answer);
}

}  // namespace host::registry
