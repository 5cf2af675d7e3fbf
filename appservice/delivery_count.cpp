#include "appservice/delivery_count.h"

#include "platform/sync.h"

namespace Quorvex::PC::Hkd04a7 {

std::atomic<std::uint32_t> g_appServicePending = 0;
std::atomic<std::uint32_t> g_appServiceBusy = 0;

// WaitOnAddress reads the word itself.
static_assert(sizeof(g_appServiceBusy) == sizeof(std::uint32_t));
static_assert(std::atomic<std::uint32_t>::is_always_lock_free);

void ResetDeliveries() {
  g_appServicePending.exchange(0);
  g_appServiceBusy.exchange(0);
}

void CountDelivery() {
  g_appServiceBusy.exchange(1);
  g_appServicePending.fetch_add(1);
}

void CountDeliveryReported() {
  if (g_appServicePending.fetch_sub(1) > 1) return;
  g_appServiceBusy.exchange(0);
  WakeByAddressAll(&g_appServiceBusy);
}

void AwaitDeliveries() {
  std::uint32_t busy = 1;
  while (g_appServiceBusy.load() == busy) WaitOnAddress(&g_appServiceBusy, &busy, sizeof(busy), INFINITE);
}

}  // namespace Quorvex::PC::Hkd04a7
