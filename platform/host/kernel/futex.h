// Sleeping on a 32-bit word, which may lie in memory shared between processes.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/host/kernel/handle_table.h"

namespace host {

// Blocks while the word has the value `seen`; false when the deadline has passed. May wake early.
bool BlockWhile(std::atomic<std::uint32_t>& word, std::uint32_t seen, const Deadline& deadline);

// Wakes up to `waiters` of the threads that block on the word, or all of them.
void Wake(std::atomic<std::uint32_t>& word, int waiters);
void WakeAll(std::atomic<std::uint32_t>& word);

}  // namespace host
