// Events as kernel objects: a word of their own, or one shared with other processes.
#pragma once

#include <memory>
#include <utility>

#include "platform/host/kernel/event_word.h"
#include "platform/host/kernel/handle_table.h"

namespace host {

class EventObject : public KernelObject {
 public:
  // An unnamed event, or the memory of a thread's end.
  EventObject(EventReset reset, bool signalled) : reset_(reset), own_(signalled ? 1 : 0) {}

  // An event whose word lies elsewhere; `keeper` keeps the word, and what is held for it, as long as this object lives.
  EventObject(EventReset reset, EventWord* word, std::shared_ptr<void> keeper)
      : reset_(reset), word_(word), keeper_(std::move(keeper)) {}

  const char* Kind() const override { return "event"; }
  DWORD Wait(const Deadline& deadline) override { return WaitForEventWord(*word_, reset_, deadline); }

  void Set() { SetEventWord(*word_, reset_); }
  void Reset() { ResetEventWord(*word_); }

 private:
  const EventReset reset_;
  EventWord own_{0};
  EventWord* const word_ = &own_;
  const std::shared_ptr<void> keeper_;
};

}  // namespace host
