// Replies to the requests that one look at the sockets has brought, sent together in one system call.
//
// A reply that is sent by itself wakes a client, which takes the processor, asks again and waits: on one processor that
// is two switches a call. Sent together, replies bring the next requests together too.
//
// A batch belongs to the thread that has opened it, until it is flushed. A thread that has lost the polling to another
// meanwhile therefore sends by itself again. Where the system offers no ring to submit to, so does everybody.
#pragma once

#include <liburing.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <span>
#include <vector>

namespace host::rpc {

class ServerConnection;

// Its lock is taken last, by Add below the connection's own.
class ReplyBatch {
 public:
  ReplyBatch();
  ~ReplyBatch();
  ReplyBatch(const ReplyBatch&) = delete;
  ReplyBatch& operator=(const ReplyBatch&) = delete;

  // --- polling thread only ---

  // False when the system offers no ring: nothing is kept then.
  bool Usable() const { return usable_; }
  // The calling thread's replies are kept from now to Flush.
  void Open();
  // Whether a thread has opened it that has lost the polling since.
  bool LeftByAnother() const;
  // Whether it has been open for so long that what it keeps should go.
  bool Overdue() const;
  // Closes the batch and sends what it keeps; how many replies that were. Every connection that it keeps something for
  // must still be there; no lock may be held.
  std::size_t Flush();

  // --- any thread ---

  // Keeps a copy of `bytes` for the connection's socket, which has to send nothing else until the number has changed.
  // False when they are to be sent at once: the batch is not the calling thread's, or is full.
  bool Add(ServerConnection& connection, int socket, std::span<const std::byte> bytes);
  // The number of the batch. When it has changed, all that was kept has been sent or given back to its connection.
  std::uint64_t Number() const { return number_.load(std::memory_order_acquire); }
  // Returns when nothing is kept any more that is kept now.
  void Settle();

 private:
  struct Reply {
    ServerConnection* connection;
    int socket;
    std::size_t begin;  // in bytes_
    std::size_t size;
    int sent;  // how much of it, or the negative error
  };

  std::span<const std::byte> BytesOf(const Reply& reply) const;
  void Close();
  void SendAll();
  void GiveBackUnsent();
  unsigned Submit();

  // The polling thread's.
  io_uring ring_{};
  const bool made_;
  bool usable_;
  std::chrono::steady_clock::time_point opened_;

  std::atomic<const void*> owner_{nullptr};  // changed under the lock; null while closed
  std::atomic<std::uint64_t> number_{1};
  std::mutex lock_;
  std::condition_variable settled_;
  bool keeps_ = false;            // anything; guarded by the lock
  std::vector<Reply> replies_;    // guarded by the lock while the batch is open, then the polling thread's
  std::vector<std::byte> bytes_;  // as these
};

}  // namespace host::rpc
