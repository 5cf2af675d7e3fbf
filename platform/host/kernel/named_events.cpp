#include "platform/host/kernel/named_events.h"

#include <nlohmann/json.hpp>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/machine_directory.h"
#include "platform/host/base/text.h"
#include "platform/host/kernel/named_event_map.h"
#include "platform/host/link/machine_link.h"

namespace host {
namespace {

constexpr std::u16string_view kGlobal = u"Global\\";
constexpr std::u16string_view kLocal = u"Local\\";

std::u16string_view WithoutPrefix(std::u16string_view name) {
  for (const auto prefix : {kGlobal, kLocal}) {
    if (name.starts_with(prefix)) return name.substr(prefix.size());
  }
  return name;
}

// A name without a prefix is one of the session.
std::string WireName(std::u16string_view name) {
  const std::u16string_view prefix = name.starts_with(kGlobal) ? kGlobal : kLocal;
  return ToUtf8(prefix) + ToUtf8(WithoutPrefix(name));
}

// One hold of this process on a slot; given back when the event object goes.
class Hold {
 public:
  Hold(unsigned slot, std::shared_ptr<NamedEventMap> map) : slot_(slot), map_(std::move(map)) {}
  Hold(const Hold&) = delete;
  Hold& operator=(const Hold&) = delete;
  ~Hold() { MachineLink::Instance().Call({{"op", "event.close"}, {"slot", slot_}}, nullptr); }

  EventWord* Word() { return &map_->words[slot_]; }

 private:
  const unsigned slot_;
  const std::shared_ptr<NamedEventMap> map_;
};

DWORD AskForEvent(const nlohmann::json& request, NamedEventResult* result) {
  nlohmann::json reply;
  if (const DWORD error = MachineLink::Instance().Call(request, &reply)) return error;
  const unsigned slot = reply.value("slot", static_cast<unsigned>(kNamedEventSlots));
  auto map = OpenNamedEventMap(CurrentMachineDirectory().runtime, false);
  if (!map || slot >= kNamedEventSlots) {
    if (slot < kNamedEventSlots) MachineLink::Instance().Call({{"op", "event.close"}, {"slot", slot}}, nullptr);
    return ERROR_GEN_FAILURE;
  }
  const auto hold = std::make_shared<Hold>(slot, std::move(map));
  const EventReset reset = reply.value("manual", false) ? EventReset::Manual : EventReset::Automatic;
  result->event = std::make_shared<EventObject>(reset, hold->Word(), hold);
  result->existed = reply.value("existed", false);
  return ERROR_SUCCESS;
}

}  // namespace

DWORD CheckObjectName(std::u16string_view name) {
  if (name.size() >= MAX_PATH) return ERROR_FILENAME_EXCED_RANGE;
  return WithoutPrefix(name).find(u'\\') == std::u16string_view::npos ? ERROR_SUCCESS : ERROR_PATH_NOT_FOUND;
}

DWORD CreateNamedEvent(const NamedEventRequest& request, NamedEventResult* result) {
  return AskForEvent({{"op", "event.create"},
                      {"name", WireName(request.name)},
                      {"manual", request.reset == EventReset::Manual},
                      {"initial", request.signalled},
                      {"sddl", request.sddl}},
                     result);
}

DWORD OpenNamedEvent(std::u16string_view name, DWORD access, NamedEventResult* result) {
  return AskForEvent({{"op", "event.open"}, {"name", WireName(name)}, {"access", access}}, result);
}

}  // namespace host
