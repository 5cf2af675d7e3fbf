// The provider of hkd04a7-utility-etw.man.
#include "standins/etw/trace_provider.h"

#include <windows.h>
// In this order.
#include <evntprov.h>

#include <bit>

#include "standins/etw/windows_trace_log.h"
#include "standins/last_error.h"

namespace {

static_assert(sizeof(ProviderId) == sizeof(GUID));
constexpr GUID kProvider = std::bit_cast<GUID>(kProviderId);
constexpr UCHAR kInformational = 4;

bool Succeeded(ULONG code) {
  if (code != ERROR_SUCCESS) LeaveLastError(code);
  return code == ERROR_SUCCESS;
}

}  // namespace

bool RegisterTraceProvider(std::uint64_t* registration) {
  REGHANDLE handle = 0;
  const bool registered = Succeeded(EventRegister(&kProvider, nullptr, nullptr, &handle));
  *registration = handle;
  return registered;
}

void UnregisterTraceProvider(std::uint64_t registration) {
  EventUnregister(registration);
}

bool WriteTraceEvent(std::uint64_t registration, const TraceEvent& event, std::span<const std::uint32_t> values) {
  EVENT_DESCRIPTOR descriptor = {};
  descriptor.Id = event.id;
  descriptor.Level = kInformational;
  descriptor.Keyword = event.keywords;
  // The values lie one behind the other, as the event's fields do: one piece of data.
  EVENT_DATA_DESCRIPTOR data;
  EventDataDescCreate(&data, values.data(), static_cast<ULONG>(values.size_bytes()));
  AppendToTraceLog(event, values);
  return Succeeded(EventWrite(registration, &descriptor, 1, &data));
}
