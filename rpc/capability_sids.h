// The SIDs that stand for a named capability of packaged processes.
#pragma once

#include <utility>

#include "platform/types.h"

#include "platform/security.h"

namespace Quorvex::PC::Hkd04a7::Service {

// Owner of an array of SIDs as the platform hands it out: each SID and then the array are released.
class SidArray {
 public:
  SidArray() = default;
  SidArray(PSID* sids, DWORD count) : sids_(sids), count_(count) {}
  SidArray(SidArray&& other) noexcept
      : sids_(std::exchange(other.sids_, nullptr)), count_(std::exchange(other.count_, 0)) {}
  SidArray& operator=(SidArray&& other) noexcept {
    std::swap(sids_, other.sids_);
    std::swap(count_, other.count_);
    return *this;
  }
  ~SidArray();

  DWORD Count() const { return count_; }
  // Null when there is none.
  PSID First() const { return sids_ != nullptr && count_ > 0 ? sids_[0] : nullptr; }

 private:
  PSID* sids_ = nullptr;
  DWORD count_ = 0;
};

// The capability's SIDs; empty when this system cannot derive them.
SidArray DeriveCapabilitySids(const WCHAR* capabilityName);

}  // namespace Quorvex::PC::Hkd04a7::Service
