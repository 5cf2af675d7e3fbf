#include "machine/device_answers.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

namespace machine {
namespace {

constexpr DeviceAnswer kRefused = {0, 0};

DeviceAnswer Word(std::uint32_t word) {
  return {1, word};
}

DeviceAnswer ReadAndClear(std::uint32_t& word) {
  return Word(std::exchange(word, 0));
}

DeviceAnswer Next(PendingWords& words) {
  std::uint32_t word = 0;
  words.Pop(&word);
  return Word(word);
}

DeviceAnswer AnswerSwitch(DeviceState& state, const DeviceFunction& call) {
  switch (call.arg1) {
    case 0:
      return Word(state.switchCapability);
    case 1:
      return ReadAndClear(state.switchMask);
    case 2:
      return Word(state.switchWake);
    default:
      return kRefused;
  }
}

DeviceAnswer AnswerButton(DeviceState& state, const DeviceFunction& call) {
  switch (call.arg1) {
    case 0:
      return Word(state.buttonCapability);
    case 1:
      return Next(state.buttons);
    case 2:
      return Word(state.buttonWake);
    default:
      return kRefused;
  }
}

DeviceAnswer AnswerInterrupt(DeviceState& state, const DeviceFunction& call) {
  if (call.arg1 == 0) return Word(state.interruptCapability);
  if (call.arg1 == 0x12) return Next(state.sensor);
  if (call.arg1 == 0x22 && call.arg2 == 1) return Next(state.embeddedController);
  return kRefused;
}

DeviceAnswer AnswerEmergency(DeviceState& state, const DeviceFunction& call) {
  if (call.arg1 == 0) return Word(state.emergencyCapability);
  return call.arg1 == 1 ? Next(state.emergency) : kRefused;
}

DeviceAnswer AnswerPhonePc(DeviceState& state, const DeviceFunction& call) {
  if (call.arg1 == 0) return Word(state.phonePcCapability);
  if (call.arg1 == 3) return ReadAndClear(state.phonePcMask);
  if (call.arg1 == 1 && call.arg2 < kPhoneBits) return Word(state.phonePcAnswers[call.arg2]);
  return kRefused;
}

DeviceAnswer AnswerFunction1015(DeviceState& state, const DeviceFunction& call) {
  if (call.arg1 == 4) return Word(state.function1015Capability);
  return call.arg1 == 5 ? ReadAndClear(state.function1015Mask) : kRefused;
}

DeviceAnswer AnswerFunction101C(DeviceState& state, const DeviceFunction& call) {
  if (call.arg1 == 0) return Word(state.function101CCapability);
  if (call.arg1 != 3) return kRefused;
  if (call.arg2 == 0) return Word(state.function101CCount);
  if (call.arg2 > state.function101CCount || call.arg2 > kFunction101CIndexes) return kRefused;
  return ReadAndClear(state.function101C[call.arg2]);
}

DeviceAnswer AnswerByRule(DeviceState& state, const DeviceFunction& call) {
  switch (call.function) {
    case 0x1000:
      return AnswerSwitch(state, call);
    case 0x1002:
      return AnswerButton(state, call);
    case 0x1006:
      return AnswerInterrupt(state, call);
    case 0x1009:
      return AnswerEmergency(state, call);
    case 0x100F:
      return AnswerPhonePc(state, call);
    case 0x1015:
      return AnswerFunction1015(state, call);
    case 0x101C:
      return AnswerFunction101C(state, call);
    default:
      return kRefused;
  }
}

DeviceAnswer Decide(DeviceMap& map, const DeviceFunction& call) {
  if (DeviceScript* script = FindDeviceScript(map, call)) {
    DeviceAnswer answer = {};
    if (script->answers.Pop(&answer)) return answer;
    if (script->hasLasting != 0) return script->lasting;
  }
  return AnswerByRule(map.state, call);
}

}  // namespace

void ResetDeviceState(DeviceState& state) {
  state = DeviceState{};
  state.switchCapability = 0x7FFFFFFF;
  state.buttonCapability = 0x00000003;
  state.interruptCapability = 0x00000081;
  state.emergencyCapability = 0x00000003;
  state.phonePcCapability = 0x00000001;
  state.function1015Capability = 0x7FFFFFFF;
  state.function101CCapability = 0x00000001;
  state.function101CCount = 3;
}

DeviceScript* FindDeviceScript(DeviceMap& map, const DeviceFunction& call) {
  const auto found = std::find_if(map.scripts.begin(), map.scripts.end(),
                                  [&](const DeviceScript& script) { return script.used != 0 && script.call == call; });
  return found == map.scripts.end() ? nullptr : &*found;
}

DeviceAnswer AnswerDeviceCall(DeviceMap& map, const DeviceFunction& call) {
  const DeviceLock lock(map);
  map.callsInProgress.store(1, std::memory_order_relaxed);
  const DeviceAnswer answer = Decide(map, call);
  map.calls[map.callsTraced % kTracedCalls] = {MonotonicNanoseconds(), getpid(), call, answer};
  ++map.callsTraced;
  map.callsInProgress.store(0, std::memory_order_relaxed);
  return answer;
}

}  // namespace machine
