// Messages as they go over an app service's socket; see link/app_service_frames.h.
#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

#include "platform/host/runtime/reference.h"
#include "platform/host/runtime/value_set.h"

namespace host::runtime {

// The text of a request with the values of `message`; none when one of them is of a type that is not supported.
std::optional<std::string> EncodeRequest(std::uint64_t id, const ValueSet& message);

struct DecodedAnswer {
  std::uint64_t id = 0;
  Reference<ValueSet> message;
};

// What an app service answered; none when `payload` is no answer.
std::optional<DecodedAnswer> DecodeAnswer(const std::string& payload);

}  // namespace host::runtime
