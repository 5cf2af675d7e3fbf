// How many deliveries of the process have not reported their result, and the wait for the last of them.
//
// The main thread counts as one delivery while it starts others (DeliveryStart below), so that a result that arrives
// while the next delivery is being started cannot end the wait early: only what comes last, a result or the end of the
// starting, finds the count at one. Both words are changed by atomic operations alone.
#pragma once

#include <atomic>
#include <cstdint>

namespace Quorvex::PC::Hkd04a7 {

// Deliveries started whose result has not been reported yet.
extern std::atomic<std::uint32_t> g_appServicePending;

// 1 while deliveries are outstanding, 0 otherwise.
extern std::atomic<std::uint32_t> g_appServiceBusy;

// Both words to 0. Nothing may be outstanding.
void ResetDeliveries();

// Counts one more delivery, on the thread that holds a DeliveryStart and before that delivery can report.
void CountDelivery();

// Counts one down; the last one ends the wait. Any thread; neither allocates nor blocks.
void CountDeliveryReported();

// Blocks the calling thread until nothing is outstanding, without a limit.
void AwaitDeliveries();

// The count of the thread that starts deliveries, held from construction to destruction.
class DeliveryStart {
 public:
  DeliveryStart() { CountDelivery(); }
  ~DeliveryStart() { CountDeliveryReported(); }
  DeliveryStart(const DeliveryStart&) = delete;
  DeliveryStart& operator=(const DeliveryStart&) = delete;
};

}  // namespace Quorvex::PC::Hkd04a7
