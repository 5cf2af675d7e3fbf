#include "platform/host/rpc/reply_batch.h"

#include <sys/socket.h>

#include <cerrno>

#include "platform/host/rpc/server_connection.h"

namespace host::rpc {

namespace {

constexpr unsigned kMostReplies = 128;
constexpr std::size_t kMostBytes = 64u << 10;
constexpr std::chrono::milliseconds kLongestKept{1};
constexpr int kSendFlags = MSG_DONTWAIT | MSG_NOSIGNAL;

// An address that no other thread has.
const void* ThisThread() {
  thread_local const char mark = 0;
  return &mark;
}

// A ring of an early kernel cannot.
bool CanSend(io_uring& ring) {
  io_uring_probe* const probe = io_uring_get_probe_ring(&ring);
  const bool can = probe != nullptr && io_uring_opcode_supported(probe, IORING_OP_SEND) != 0;
  io_uring_free_probe(probe);
  return can;
}

}  // namespace

// All the memory it will need: a reply is added as a whole or not at all.
ReplyBatch::ReplyBatch() : made_(io_uring_queue_init(kMostReplies, &ring_, 0) == 0), usable_(made_ && CanSend(ring_)) {
  replies_.reserve(kMostReplies);
  bytes_.reserve(kMostBytes);
}

ReplyBatch::~ReplyBatch() {
  if (made_) io_uring_queue_exit(&ring_);
}

void ReplyBatch::Open() {
  if (!usable_) return;
  opened_ = std::chrono::steady_clock::now();
  std::lock_guard guard(lock_);
  owner_.store(ThisThread(), std::memory_order_relaxed);
}

bool ReplyBatch::LeftByAnother() const {
  const void* const owner = owner_.load(std::memory_order_relaxed);
  return owner != nullptr && owner != ThisThread();
}

bool ReplyBatch::Overdue() const {
  return owner_.load(std::memory_order_relaxed) == ThisThread() &&
         std::chrono::steady_clock::now() - opened_ > kLongestKept;
}

bool ReplyBatch::Add(ServerConnection& connection, int socket, std::span<const std::byte> bytes) {
  if (owner_.load(std::memory_order_relaxed) != ThisThread()) return false;
  std::lock_guard guard(lock_);
  if (owner_.load(std::memory_order_relaxed) != ThisThread()) return false;
  if (replies_.size() == kMostReplies || bytes_.size() + bytes.size() > kMostBytes) return false;
  replies_.push_back({&connection, socket, bytes_.size(), bytes.size(), 0});
  bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
  keeps_ = true;
  return true;
}

std::size_t ReplyBatch::Flush() {
  if (owner_.load(std::memory_order_relaxed) == nullptr) return 0;
  Close();
  const std::size_t count = replies_.size();
  if (count == 0) return 0;
  SendAll();
  GiveBackUnsent();
  replies_.clear();
  bytes_.clear();
  number_.fetch_add(1, std::memory_order_release);
  std::lock_guard guard(lock_);
  keeps_ = false;
  settled_.notify_all();
  return count;
}

void ReplyBatch::Close() {
  std::lock_guard guard(lock_);
  owner_.store(nullptr, std::memory_order_relaxed);
}

std::span<const std::byte> ReplyBatch::BytesOf(const Reply& reply) const {
  return std::span(bytes_).subspan(reply.begin, reply.size);
}

// What cannot be submitted counts as what a socket has not taken. None of the sends waits, so all that have been
// submitted are done.
void ReplyBatch::SendAll() {
  if (replies_.size() == 1) {
    Reply& reply = replies_.front();
    const ssize_t sent = send(reply.socket, bytes_.data(), reply.size, kSendFlags);
    reply.sent = sent >= 0 ? static_cast<int>(sent) : -errno;
    return;
  }
  const unsigned submitted = Submit();
  for (unsigned i = 0; i < submitted; ++i) {
    io_uring_cqe* done = nullptr;
    while (io_uring_wait_cqe(&ring_, &done) == -EINTR) continue;
    replies_[done->user_data].sent = done->res;
    io_uring_cqe_seen(&ring_, done);
  }
}

// How many of the replies, from the first on. A ring that does not take all of them would send the others later: it is
// not used again.
unsigned ReplyBatch::Submit() {
  for (std::size_t i = 0; i < replies_.size(); ++i) {
    io_uring_sqe* const entry = io_uring_get_sqe(&ring_);
    io_uring_prep_send(entry, replies_[i].socket, BytesOf(replies_[i]).data(), replies_[i].size, kSendFlags);
    entry->user_data = i;
  }
  int submitted = -EINTR;
  while (submitted == -EINTR) submitted = io_uring_submit(&ring_);
  usable_ = submitted == static_cast<int>(replies_.size());
  return submitted > 0 ? static_cast<unsigned>(submitted) : 0;
}

void ReplyBatch::GiveBackUnsent() {
  for (const Reply& reply : replies_) {
    if (reply.sent != static_cast<int>(reply.size)) reply.connection->TakeBack(BytesOf(reply), reply.sent);
  }
}

void ReplyBatch::Settle() {
  std::unique_lock guard(lock_);
  settled_.wait(guard, [this, number = Number()] { return !keeps_ || Number() != number; });
}

}  // namespace host::rpc
