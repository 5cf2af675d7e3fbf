// The journal: when the calls by which an event leaves a process were made, for somebody who looks at one event's road.
//
// Kept only while it is read: the daemon counts the readers in the first word of `<runtime>/journal.map`. Otherwise a
// call costs one relaxed load. Entries go to `<runtime>/journal.log`, one JSON object a line:
// {"t","took","pid","target","what"}, `t` the call's end (CLOCK_MONOTONIC) and `took` its time, both in nanoseconds.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

namespace host {

// One call. Made at its begin. Any thread.
class JournalEntry {
 public:
  JournalEntry();

  // Whether there is somebody to read it; without, putting `what` together is wasted.
  bool IsWanted() const { return began_ != 0; }

  // Writes the entry, with the time since construction. Nothing happens when it is not wanted.
  void Write(std::string_view target, std::string_view what) const;

 private:
  std::int64_t began_ = 0;
};

using JournalReaders = std::atomic<std::uint32_t>;

// Maps the word, for ever; with `make`, makes the file where it is missing. Null when that fails.
JournalReaders* MapJournalReaders(const std::string& runtime, bool make);

}  // namespace host
