// Requests of a client that is somebody else than the service: what they answer, and what they leave in the log.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/host/identity/token_facts.h"
#include "platform/types.h"
#include "tests/support/rpc_client.h"
#include "tests/support/service_process.h"

namespace request_test {

// The package of the clients here, in both forms.
inline constexpr const char* kPackageName = "Quorvex.Settings_m3tq8v0kc2wna";
inline constexpr const WCHAR* kPackage = W("Quorvex.Settings_m3tq8v0kc2wna");

// How a request ended: the runtime's status, or the procedure's result when the runtime's is 0.
struct RunAnswer {
  DWORD result;
  DWORD exitCode;
  bool operator==(const RunAnswer&) const = default;
};

// The service is LocalSystem in session 0. Ada sits at the console, in session 1, and Bob works in session 2 from afar;
// the client is a packaged process of Bob's.
class Requests : public testing::Test {
 protected:
  Requests();
  void SetUp() override;

  const std::string& AdaSid() const { return adaSid_; }
  const std::string& BobSid() const { return bobSid_; }
  host::TokenFacts Bob() const;
  // Bob, in a package of his choice; empty: an ordinary desktop program.
  host::TokenFacts BobIn(const std::string& package) const;
  host::TokenFacts Ada() const;

  // The calls of the client, or of another.
  RunAnswer Run(DWORD flags, const WCHAR* command, const WCHAR* par = W(""));
  static RunAnswer RunAs(const host::TokenFacts& who, DWORD flags, const WCHAR* command, const WCHAR* par = W(""));

  // Runs `action` on a thread that serves a call of `who`, with no impersonation in force.
  void InServerCall(const host::TokenFacts& who, const std::function<void()>& action);

  // What the requests since the last look have logged.
  std::vector<std::string> TakeLog() { return service.Log().Take(); }

  support::ServiceProcess service;

 private:
  std::string LogOn(const char* user, bool remote);

  std::string adaSid_;
  std::string bobSid_;
  std::unique_ptr<support::RpcClient> client_;
};

// --- The device's software key ------------------------------------------------------------------------------------

// Its path under HKEY_LOCAL_MACHINE, or that of a subkey.
WideString SoftwareKey(const WideString& subKey = {});

// What the tables hold for a name: data of a type, a number, or strings.
void SetEntry(const WCHAR* table, const WideString& name, DWORD type, const void* data, std::size_t size);
void Grant(const WideString& package, DWORD bits);
void Allow(const WideString& identifier, const std::vector<WideString>& strings);
void RemoveEntry(const WCHAR* table, const WideString& name);

}  // namespace request_test
