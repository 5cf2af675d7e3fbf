#include "appservice/client_mode.h"

#include <new>

#include "appservice/delivery_count.h"
#include "appservice/delivery_delay.h"
#include "appservice/event_value_set.h"
#include "appservice/registered_app_services.h"
#include "appservice/registration_keys.h"
#include "platform/errors.h"
#include "platform/runtime.h"
#include "service/debug_log.h"

namespace Quorvex::PC::Hkd04a7 {
namespace {

// Failing memory leaves out what is left of one key and nothing else.
void RunRegisteredAppServices(std::uint32_t eventId, RegistrationScope scope, std::uint32_t data1,
                              Runtime::IPropertySet* message) {
  try {
    RunRegisteredAppServiceCore(FormatAppServiceKeyPath(eventId, scope, data1).c_str(), message);
  } catch (const std::bad_alloc&) {
    DebugLog(W("hkd04a7, NotifyEventByUwpAppService, out of memory\n"));
  }
}

void DeliverToRegisteredAppServices(std::uint32_t eventId, std::uint32_t data1, std::uint32_t data2) {
  ResetDeliveries();
  const auto message = CreateEventDataValueSet(eventId, data1, data2);
  if (!message) {
    DebugLog(W("hkd04a7, NotifyEventByUwpAppService, Failed CreateEventDataValueSet\n"));
    return;
  }
  {
    const DeliveryStart starting;
    RunRegisteredAppServices(eventId, RegistrationScope::kEveryOccurrence, data1, message.Get());
    RunRegisteredAppServices(eventId, RegistrationScope::kOneData1, data1, message.Get());
  }
  AwaitDeliveries();
}

}  // namespace

void NotifyEventByUwpAppService(std::uint32_t eventId, std::uint32_t data1, std::uint32_t data2) {
  DebugLog(W("hkd04a7, NotifyEventByUwpAppService, enter (%u, %08xh, %08xh)\n"), eventId, data1, data2);
  if (eventId == 0) return;
  SleepBeforeDelivery(eventId, data1);
  const HRESULT joined = RoInitialize(RO_INIT_MULTITHREADED);
  if (FAILED(joined)) {
    DebugLog(W("hkd04a7, NotifyEventByUwpAppService, Failed RoInitialize(), hr=%08x\n"), joined);
    return;
  }
  DeliverToRegisteredAppServices(eventId, data1, data2);
  RoUninitialize();
}

}  // namespace Quorvex::PC::Hkd04a7
