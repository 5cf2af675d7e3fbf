// The device of a Windows machine without one: it answers from "hkd04a7-utility.script" beside the library.
#include <chrono>
#include <condition_variable>
#include <fstream>
#include <iterator>
#include <mutex>

#include "standins/last_error.h"
#include "standins/utility/answer_script.h"
#include "standins/utility/device_access.h"
#include "standins/windows_library_path.h"

namespace {

class ScriptedDevice {
 public:
  ScriptedDevice() : error_(Read()) {}

  std::uint32_t Error() const { return error_; }

  ScriptedAnswer Answer(const ScriptedCall& call) {
    const std::lock_guard guard(lock_);
    return script_.Answer(call);
  }

  const std::vector<std::uint32_t>& Notifications() const { return script_.Notifications(); }

 private:
  std::uint32_t Read();

  std::mutex lock_;
  AnswerScript script_;
  std::uint32_t error_;
};

std::uint32_t ScriptedDevice::Read() {
  std::ifstream file(LibraryPathWithExtension(L".script").c_str(), std::ios::binary);
  if (!file) return kFileNotFound;
  const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  std::string what;
  std::optional<AnswerScript> script = AnswerScript::Parse(text, &what);
  if (!script) {
    OutputDebugStringA(("hkd04a7-utility.script, " + what + "\n").c_str());
    return kBadFormat;
  }
  script_ = std::move(*script);
  return 0;
}

// Read at first use, not while the library is being loaded.
ScriptedDevice& Device() {
  static ScriptedDevice device;
  return device;
}

}  // namespace

std::uint32_t CallDevice(std::uint32_t function, std::uint32_t arg1, std::uint32_t arg2, std::uint32_t arg3,
                         std::uint32_t* word) {
  if (Device().Error() != 0) return Device().Error();
  const ScriptedAnswer answer = Device().Answer({function, arg1, arg2, arg3});
  *word = answer.word;
  return answer.success ? 0 : kGeneralFailure;
}

struct NotificationSource::Impl {
  std::chrono::steady_clock::time_point begin = std::chrono::steady_clock::now();
  std::size_t next = 0;
  std::mutex lock;
  std::condition_variable changed;
  bool cancelled = false;  // guarded by lock
};

NotificationSource::NotificationSource() : impl_(std::make_unique<Impl>()) {}

NotificationSource::~NotificationSource() = default;

std::uint32_t NotificationSource::Error() const {
  return Device().Error();
}

bool NotificationSource::Wait(std::uint32_t* status) {
  const std::vector<std::uint32_t>& times = Device().Notifications();
  std::unique_lock guard(impl_->lock);
  const auto isCancelled = [this] { return impl_->cancelled; };
  if (impl_->next == times.size()) {
    impl_->changed.wait(guard, isCancelled);
    return false;
  }
  const auto due = impl_->begin + std::chrono::milliseconds(times[impl_->next]);
  if (impl_->changed.wait_until(guard, due, isCancelled)) return false;
  ++impl_->next;
  *status = 0;
  return true;
}

void NotificationSource::Cancel() {
  const std::lock_guard guard(impl_->lock);
  impl_->cancelled = true;
  impl_->changed.notify_all();
}
