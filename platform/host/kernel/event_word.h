// The state of one event in one 32-bit word, which may lie in memory shared between processes.
//
// Bit 0 is "signalled". For a manual-reset event the other bits count how often it became signalled, so that
// a waiter is released even when a reset follows the set at once.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/host/kernel/handle_table.h"

namespace host {

using EventWord = std::atomic<std::uint32_t>;
static_assert(EventWord::is_always_lock_free && sizeof(EventWord) == 4);

enum class EventReset : std::uint8_t { Manual, Automatic };

void SetEventWord(EventWord& word, EventReset reset);
void ResetEventWord(EventWord& word);

// WAIT_OBJECT_0 or WAIT_TIMEOUT. Releases one waiter of an automatic event for each set, every waiter of a manual one.
DWORD WaitForEventWord(EventWord& word, EventReset reset, const Deadline& deadline);

}  // namespace host
