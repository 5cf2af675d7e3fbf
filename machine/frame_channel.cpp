#include "machine/frame_channel.h"

#include <sys/socket.h>

#include <cerrno>
#include <nlohmann/json.hpp>

namespace machine {

using nlohmann::json;

bool FrameChannel::Send(const json& message) {
  const std::string frame = host::EncodeFrame(message.dump(-1, ' ', false, json::error_handler_t::replace));
  std::size_t sent = 0;
  while (sent < frame.size()) {
    const ssize_t count = send(socket_.get(), frame.data() + sent, frame.size() - sent, MSG_NOSIGNAL);
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) sent += static_cast<std::size_t>(count);
  }
  return true;
}

bool FrameChannel::Fill() {
  char buffer[65536];
  ssize_t count = 0;
  do {
    count = recv(socket_.get(), buffer, sizeof(buffer), 0);
  } while (count < 0 && errno == EINTR);
  if (count <= 0) return false;
  frames_.Append(buffer, static_cast<std::size_t>(count));
  return true;
}

std::optional<json> FrameChannel::Take() {
  std::string payload;
  if (frames_.Take(&payload) != host::FrameReader::Result::kMessage) return std::nullopt;
  json message = json::parse(payload, nullptr, false);
  if (!message.is_object()) return std::nullopt;
  return message;
}

}  // namespace machine
