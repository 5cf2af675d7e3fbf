#include "tests/rpc/hostile_behaviours.h"

#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <functional>
#include <thread>
#include <vector>

#include "platform/host/base/open_files.h"
#include "platform/host/rpc/client_share.h"
#include "platform/host/rpc/hkd04a7_description.h"
#include "platform/host/rpc/wire_bytes.h"

using namespace host::rpc;
using namespace host::rpc::hkd04a7;
using namespace std::chrono_literals;
using namespace std::string_literals;
using namespace std::string_view_literals;

namespace {

constexpr SyntaxId kName = {kInterfaceUuid, kMajorVersion, kMinorVersion};
constexpr unsigned kFirst = 1, kMiddle = 0, kLast = 2, kWhole = 3;
constexpr unsigned kRequest = 0, kResponse = 2, kBind = 11, kCancel = 18;

// --- Bytes ---

struct Odd {
  unsigned version = 5;
  unsigned integers = 0x10;
  std::size_t length = 0;  // 0: the right one
  unsigned authentication = 0;
};

Bytes Pdu(unsigned type, unsigned flags, std::size_t bodySize, const Odd& odd = {}) {
  const std::size_t length = odd.length != 0 ? odd.length : kHeaderSize + bodySize;
  Bytes bytes;
  ByteWriter writer(bytes);
  for (const unsigned value : {odd.version, 0u, type, flags, odd.integers, 0u, 0u, 0u}) {
    writer.Put(static_cast<std::uint8_t>(value));
  }
  writer.Put(static_cast<std::uint16_t>(length));
  writer.Put(static_cast<std::uint16_t>(odd.authentication));
  writer.Put(std::uint32_t{9});
  bytes.resize(kHeaderSize + bodySize);
  return bytes;
}

Bytes Bind(const SyntaxId& abstract, const SyntaxId& transfer, std::size_t elements = 1, std::uint32_t group = 0,
           PduType type = PduType::Bind, std::uint16_t firstId = 0) {
  BindPdu bind;
  bind.associationGroup = group;
  for (std::size_t i = 0; i < elements; ++i) {
    bind.contexts.push_back({static_cast<std::uint16_t>(firstId + i), abstract, {transfer}});
  }
  Bytes bytes;
  AppendBind(type, 5, bind, bytes);
  return bytes;
}

Bytes Request(std::uint32_t callId, std::uint16_t procedure, const Bytes& stub = {}, std::uint16_t context = 0) {
  RequestPdu request;
  request.contextId = context;
  request.procedure = procedure;
  request.stub = stub;
  Bytes bytes;
  AppendRequest(callId, request, kMaxFragment, bytes);
  return bytes;
}

// A fragment of a request to unregister, as `flags` say.
Bytes Fragment(unsigned flags, std::size_t size, std::uint32_t callId = 9) {
  Bytes bytes = Request(callId, kUnregisterAppService, Bytes(size));
  bytes[3] = static_cast<std::byte>(flags);
  return bytes;
}

// A request to unregister whose string has these counts and characters, in NDR64.
Bytes Unregister(std::uint64_t maximum, std::uint64_t offset, std::uint64_t actual, std::u16string_view characters) {
  Bytes stub;
  ByteWriter writer(stub);
  for (const std::uint64_t count : {maximum, offset, actual}) writer.Put(count);
  writer.Append(std::as_bytes(std::span(characters)));
  writer.Align(4);
  for (std::uint32_t number = 0; number < 3; ++number) writer.Put(number);
  return Request(9, kUnregisterAppService, stub);
}

Bytes operator+(Bytes left, const Bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

Behaviour Acting(const char* what, const char* expected, bool bound, std::string (*act)(RawClient&, const Victims&)) {
  return {what, expected, bound, {}, act};
}

const Behaviour kOutsideTheProtocol[] = {
    {"zeros", "fault 1c01000b, closed", true, Bytes(64)},
    {"another protocol", "closed", false, Bytes(40, std::byte{'G'})},
    {"request of another version", "fault 1c01000b, closed", true, Pdu(kRequest, kWhole, 8, {.version = 4})},
    {"bind of another version", "nak 4, closed", false, Pdu(kBind, kWhole, 12, {.version = 4})},
    {"big-endian bind", "nak 0, closed", false, Pdu(kBind, kWhole, 12, {.integers = 0})},
    {"big-endian request", "fault 1c01000b, closed", true, Pdu(kRequest, kWhole, 8, {.integers = 0})},
    {"EBCDIC", "nak 0, closed", false, Pdu(kBind, kWhole, 12, {.integers = 0x11})},
    {"authenticated bind", "nak 8, closed", false, Pdu(kBind, kWhole, 12, {.authentication = 8})},
    {"shorter than its header", "fault 1c01000b, closed", true, Pdu(kRequest, kWhole, 8, {.length = 8})},
    {"longer than can be", "fault 1c01000b, closed", true, Pdu(kRequest, kWhole, 8, {.length = kMaxFragment + 1})},
    {"request without its header", "fault 1c01000b", true, Pdu(kRequest, kWhole, 4)},
    {"bind cut short", "nak 0, closed", false, Pdu(kBind, kWhole, 11)},
    {"bind that lies about its length", "nak 0, closed", false, Pdu(kBind, kWhole, 11) + Bytes(100)},
    {"unknown type", "closed", true, Pdu(99, kWhole, 0)},
    {"a server's PDU", "closed", true, Pdu(kResponse, kWhole, 8)},
    {"request before the bind", "fault 1c00001c", false, Request(1, 0)},
    {"second bind", "nak 0, closed", true, Bind(kName, kNdrSyntax)},
    {"alter_context first", "nak 0, closed", false, Bind(kName, kNdrSyntax, 1, 0, PduType::AlterContext)},
    {"another interface", "ack 2.1, fault 1c00001c", false, Bind(kNdrSyntax, kNdrSyntax) + Request(1, 0)},
    {"another version of it", "ack 2.1", false, Bind({kInterfaceUuid, 2, 0}, kNdrSyntax)},
    {"another syntax", "ack 2.2", false, Bind(kName, kName)},
    {"a group that does not exist", "nak 0, closed", false, Bind(kName, kNdrSyntax, 1, 0xDEADBEEF)},
    Acting("another client's group", "nak 0, closed", false,
           [](RawClient& client, const Victims& victims) {
             client.Send(Bind(kName, kNdrSyntax, 1, victims.group));
             return ""s;
           }),
    {"last fragment without a first", "fault 1c01000b, closed", true, Fragment(kLast, 8)},
    {"first fragment twice", "fault 1c01000b, closed", true, Fragment(kFirst, 8) + Fragment(kFirst, 8)},
    {"half a PDU", "silent", true, Bytes(5, std::byte{5})},
    {"unknown context", "fault 1c00001c", true, Request(1, 0, {}, 7)},
    {"unknown procedure", "fault 1c010002", true, Request(1, kProcedureCount)},
    {"cancels of calls that are not there", "silent", true, Pdu(kCancel, kWhole, 0)},
    Acting("a call's number twice", "closed", true,
           [](RawClient& client, const Victims&) {
             const auto token = client.Open(kEventNotifyCreate).token;
             const Bytes wait = Request(100, kEventNotifyWaitEventAsync, {token.bytes.begin(), token.bytes.end()});
             client.Send(wait + wait);
             return ""s;
           }),
};

const Behaviour kBadArguments[] = {
    Acting("byte by byte", "response", true,
           [](RawClient& client, const Victims&) {
             for (const std::byte byte : Unregister(2, 0, 2, u"a\0"sv)) client.Send({&byte, 1});
             return ""s;
           }),
    {"no terminator", "fault 6f7", true, Unregister(3, 0, 3, u"abc"sv)},
    {"a zero within", "fault 6f7", true, Unregister(4, 0, 4, u"a\0b\0"sv)},
    {"more than its maximum", "fault 6f7", true, Unregister(2, 0, 4, u"abc\0"sv)},
    {"more than there is", "fault 6f7", true, Unregister(1 << 20, 0, 1 << 20, u"abc"sv)},
    {"a count that wraps", "fault 6f7", true, Unregister(~0ull, 0, (1ull << 63) + 2, u"a\0"sv)},
    {"an offset", "fault 6f7", true, Unregister(2, 1, 2, u"a\0"sv)},
    {"no characters", "fault 6f7", true, Unregister(0, 0, 0, u""sv)},
    {"an empty string", "response", true, Unregister(1, 0, 1, u"\0"sv)},
    {"halves of surrogate pairs", "response", true, Unregister(3, 0, 3, u"\xDC00\xD800\0"sv)},
    // Closed, null, unknown, with attributes, a stranger's, of the other type.
    Acting("handles that are not the client's", "12 of 12", true,
           [](RawClient& client, const Victims& victims) {
             const ContextToken open = client.Open(kDeviceCreate).token;
             const ContextToken closed = client.Open(kDeviceCreate).token;
             client.Close(kDeviceClose, closed);
             ContextToken unknown = open, attributes = open;
             unknown.bytes[19] ^= std::byte{1};
             attributes.bytes[0] = std::byte{1};
             const ContextToken swapped = client.Open(kEventNotifyCreate).token;
             int refused = 0;
             for (const auto& token : {closed, ContextToken{}, unknown, attributes, victims.session, swapped}) {
               if (client.Use(kDeviceGetWakeupStatus, token, 1).fault == kFaultContextMismatch) ++refused;
               client.StartWait(kEventNotifyWaitEventAsync, token == swapped ? open : token);
               const auto reply = client.Receive();
               if (reply && reply->fault == kFaultContextMismatch) ++refused;
             }
             return std::to_string(refused) + " of 12";
           }),
};

// Sends without reading until the server has not taken anything for a while.
void Flood(std::span<RawClient> clients, const Bytes& bytes) {
  std::vector<std::size_t> sent(clients.size());
  auto progress = std::chrono::steady_clock::now();
  while (std::chrono::steady_clock::now() - progress < 500ms) {
    std::this_thread::sleep_for(1ms);
    for (std::size_t i = 0; i < clients.size(); ++i) {
      for (;;) {
        const auto left = std::span(bytes).subspan(sent[i]);
        const ssize_t size = send(clients[i].socket(), left.data(), left.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (size <= 0) break;
        sent[i] = (sent[i] + static_cast<std::size_t>(size)) % bytes.size();
        progress = std::chrono::steady_clock::now();
      }
    }
  }
}

// They stay until the process ends.
std::vector<RawClient>& Crowd(std::size_t size) {
  static std::vector<RawClient> clients;
  while (clients.size() < size) clients.emplace_back("Hkd04a7RpcEndpoint");
  return clients;
}

// How many of the clients the server has closed, once these are `expected` or after a while.
std::size_t ClosedOf(const std::vector<RawClient>& clients, std::size_t expected) {
  std::size_t closed = 0;
  for (int i = 0; i < 1000 && closed != expected; ++i) {
    closed = 0;
    for (const auto& client : clients) {
      pollfd ended{client.socket(), POLLRDHUP, 0};
      if (poll(&ended, 1, 0) > 0) ++closed;
    }
    if (closed != expected) std::this_thread::sleep_for(20ms);
  }
  return closed;
}

std::string CountOf(std::size_t number, std::size_t expected) {
  return number == expected ? "as many as there may be" : std::to_string(number) + " of " + std::to_string(expected);
}

const Behaviour kGreed[] = {
    {"more contexts than any client needs", "nak 2, closed", false,
     Bind(kName, kNdrSyntax, kMaxPresentationContexts + 1)},
    Acting("contexts one after the other", "as many as there may be", true,
           [](RawClient& client, const Victims&) {
             std::size_t accepted = 1;
             for (std::uint16_t id = 1; id < 3 * kMaxPresentationContexts; ++id) {
               client.Send(Bind(kName, kNdrSyntax, 1, 0, PduType::AlterContext, id));
               const auto reply = client.Receive();
               if (reply && reply->ack.results.at(0).result == kResultAccepted) ++accepted;
             }
             return CountOf(accepted, kMaxPresentationContexts);
           }),
    Acting("many requests begun", "fault 1c01000b, closed", true,
           [](RawClient& client, const Victims&) {
             for (std::uint32_t call = 0; call <= kMaxOpenRequests; ++call) client.Send(Fragment(kFirst, 8, call));
             return ""s;
           }),
    {"fragments without end", "fault 1c01000b, closed", true, Fragment(kFirst, 5000),
     [](RawClient& client, const Victims&) {
       while (client.Send(Fragment(kMiddle, 5000))) continue;
       return ""s;
     }},
    Acting("fragments on many connections", "as many as there may be", false,
           [](RawClient&, const Victims&) {
             constexpr std::size_t kShares = 200, kShare = 5000, kFit = kMaxRequestBytesOfClient / (kShares * kShare);
             constexpr std::size_t kMany = 60;
             auto& crowd = Crowd(kMany);
             for (auto& each : crowd) {
               each.Bind(kServiceInterface);
               each.Send(Fragment(kFirst, kShare));
               for (std::size_t i = 1; i < kShares; ++i) each.Send(Fragment(kMiddle, kShare));
             }
             return CountOf(kMany - ClosedOf(crowd, kMany - kFit), kFit);
           }),
    Acting("replies that nobody reads", "not read any more", false,
           [](RawClient&, const Victims&) {
             auto& crowd = Crowd(40);
             for (auto& each : crowd) each.Bind(kServiceInterface);
             Flood(crowd, Bind(kName, kNdrSyntax, kMaxPresentationContexts, 0, PduType::AlterContext));
             return "not read any more"s;
           }),
    Acting("subscriptions", "as many as there may be", true,
           [](RawClient& client, const Victims&) {
             std::size_t opened = 0;
             while (client.Open(kEventNotifyCreate).fault == 0) ++opened;
             return CountOf(opened, kMaxHandlesOfClient);
           }),
    Acting("connections", "as many as there may be", false,
           [](RawClient&, const Victims&) {
             host::RaiseOpenFileLimit();
             rlimit limit{};
             getrlimit(RLIMIT_NOFILE, &limit);
             auto& crowd = Crowd(std::min<rlim_t>(limit.rlim_cur - 50, kMaxConnectionsOfClient + 500));
             const auto most =
                 std::min<rlim_t>(kMaxConnectionsOfClient, limit.rlim_cur / 4 * 3) - 1;  // and the first one
             return CountOf(crowd.size() - ClosedOf(crowd, crowd.size() - most), most);
           }),
};

}  // namespace

std::span<const Behaviour> OutsideTheProtocol() {
  return kOutsideTheProtocol;
}
std::span<const Behaviour> BadArguments() {
  return kBadArguments;
}
std::span<const Behaviour> Greed() {
  return kGreed;
}

const Behaviour kPatience = {"patience", "ack 0.0", false, Bind(kName, kNdrSyntax)};

const Behaviour kLife = {
    "a life", "done", false, {}, [](RawClient& client, const Victims& victims) {
      const Bytes bind = Bind(kName, kNdr64Syntax);
      ContextToken token;
      const std::function<void()> steps[kSteps] = {
          [&] { client.Send(std::span(bind).first(10)); },
          [&] { client.Send(std::span(bind).subspan(10, 20)); },
          [&] { client.Send(std::span(bind).subspan(30)); },
          [&] { client.Receive(); },
          [&] { client.Send(Request(50, kDeviceCreate)); },
          [&] { client.Receive(); },
          [&] { client.Send(Request(51, kEventNotifyCreate)); },
          [&] { std::memcpy(token.bytes.data(), client.Receive()->stub.data(), token.bytes.size()); },
          [&] {
            client.Send(Request(9, kEventNotifyWaitEventAsync, {token.bytes.begin(), token.bytes.end()}));
          },
          [&] { client.Send(Fragment(kFirst, 300, 53)); },
          [&] { client.Send(Pdu(kCancel, kWhole, 0)); },
          [&] {
            client.Send(Request(54, kEventNotifyWaitEventAsync, {token.bytes.begin(), token.bytes.end()}));
          },
          [&] {
            client.Send(Request(52, kEventNotifyDestroy, {token.bytes.begin(), token.bytes.end()}));
          }};
      for (int i = 0; i < victims.step; ++i) steps[i]();
      return "done"s;
    }};
