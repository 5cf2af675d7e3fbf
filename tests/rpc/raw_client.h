// A client of bytes: one socket, PDUs as the test makes them, no runtime of ours behind it.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/host/rpc/pdu.h"
#include "platform/host/rpc/pdu_build.h"
#include "platform/host/rpc/stub.h"

// What came back, as far as its kind has it.
struct RawReply {
  host::rpc::PduHeader header;
  std::uint32_t fault = 0;      // fault
  std::uint16_t nakReason = 0;  // bind_nak
  host::rpc::BindAckPdu ack;    // bind_ack, alter_context_resp
  std::vector<std::byte> stub;  // response
};

class RawClient {
 public:
  // Connects to the endpoint of the current machine, as whom the thread's ClientIdentityScope says; valid() tells
  // whether that went well.
  explicit RawClient(const std::string& endpoint);
  ~RawClient();
  RawClient(RawClient&& other) noexcept;
  RawClient& operator=(RawClient&&) = delete;

  bool valid() const { return socket_ >= 0; }
  int socket() const { return socket_; }
  void Close();

  // Binds context 0 to `interface`; the association group or 0 when the server refuses.
  std::uint32_t Bind(const host::rpc::InterfaceDescription& interface,
                     host::rpc::Syntax syntax = host::rpc::Syntax::Ndr64, std::uint32_t group = 0);

  // Sends all of it. False when the server has closed.
  bool Send(std::span<const std::byte> bytes);
  // One PDU; empty at the end of the connection or after `timeout`.
  std::optional<RawReply> Receive(std::chrono::milliseconds timeout = std::chrono::seconds(10));
  // The server closes within the timeout, whatever it sends before.
  bool ClosedByServer();

  // A request of the bound interface. Its arguments: one for each parameter of the procedure.
  bool SendCall(std::uint32_t callId, std::uint16_t procedure, const host::rpc::Call& call = {},
                std::uint16_t maxFragment = host::rpc::kMaxFragment);
  host::rpc::Call ReadAnswer(std::uint16_t procedure, const RawReply& reply) const;

  // --- Whole calls: send and wait for the answer ---

  struct Answer {
    std::uint32_t fault = 0;  // 0: a response came; kNoAnswer: nothing did
    host::rpc::ContextToken token;
    std::uint32_t number = 0;
  };
  static constexpr std::uint32_t kNoAnswer = 0xFFFFFFFF;

  Answer Open(std::uint16_t procedure);
  Answer Close(std::uint16_t procedure, const host::rpc::ContextToken& token);
  Answer Use(std::uint16_t procedure, const host::rpc::ContextToken& token, std::uint32_t number);
  Answer Work(std::uint32_t number);
  Answer Length(const std::u16string& text, std::uint16_t maxFragment = host::rpc::kMaxFragment);

  // --- Requests without waiting; the call's number ---

  std::uint32_t StartUse(std::uint16_t procedure, const host::rpc::ContextToken& token, std::uint32_t number);
  std::uint32_t StartWork(std::uint32_t number);
  std::uint32_t StartWait(std::uint16_t procedure, const host::rpc::ContextToken& token);

 private:
  RawReply TakeReply(const host::rpc::PduHeader& header);
  Answer Finish(std::uint16_t procedure);

  int socket_ = -1;
  const host::rpc::InterfaceDescription* interface_ = nullptr;
  host::rpc::Syntax syntax_ = host::rpc::Syntax::Ndr64;
  std::uint32_t lastCall_ = 0;
  std::vector<std::byte> input_;
};
