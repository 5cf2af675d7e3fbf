// The processes of a session.
#include <algorithm>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/last_error.h"
#include "platform/host/base/text.h"
#include "platform/host/base/unsupported.h"
#include "platform/host/kernel/memory.h"
#include "platform/host/processes/process_rows.h"
#include "platform/host/security/sid.h"
#include "platform/host/services/sessions.h"

namespace {

// One process as its record tells it.
struct Entry {
  DWORD session;
  DWORD pid;
  std::u16string name;
  host::security::Bytes sid;

  std::size_t NameBytes() const { return (name.size() + 1) * sizeof(WCHAR); }
};

std::vector<Entry> EntriesOf(DWORD session) {
  std::vector<Entry> entries;
  for (const host::ProcessRow& row : host::ListProcessRows()) {
    if (session != WTS_ANY_SESSION && row.token.session != session) continue;
    entries.push_back({row.token.session, static_cast<DWORD>(row.pid), host::ToUtf16(row.name),
                       host::security::ParseSid(row.token.userSid)});
  }
  return entries;
}

// One block: the records, the names, the SIDs, each kind at an offset that suits it.
class RecordBlock {
 public:
  explicit RecordBlock(const std::vector<Entry>& entries) : entries_(entries) {}

  // Null with the last error.
  LPWSTR Make() {
    std::size_t size = entries_.size() * sizeof(WTS_PROCESS_INFOW);
    for (const Entry& entry : entries_) size += RoundUp(entry.NameBytes()) + RoundUp(entry.sid.size());
    auto* const block = static_cast<BYTE*>(LocalAlloc(LMEM_ZEROINIT, size));
    if (!block) return nullptr;
    next_ = block + entries_.size() * sizeof(WTS_PROCESS_INFOW);
    auto* record = reinterpret_cast<WTS_PROCESS_INFOW*>(block);
    for (const Entry& entry : entries_) {
      *record++ = {entry.session, entry.pid, reinterpret_cast<LPWSTR>(Put(entry.name.c_str(), entry.NameBytes())),
                   entry.sid.empty() ? nullptr : Put(entry.sid.data(), entry.sid.size())};
    }
    return reinterpret_cast<LPWSTR>(block);
  }

 private:
  static std::size_t RoundUp(std::size_t size) { return (size + sizeof(DWORD) - 1) / sizeof(DWORD) * sizeof(DWORD); }

  void* Put(const void* data, std::size_t size) {
    std::memcpy(next_, data, size);
    return std::exchange(next_, next_ + RoundUp(size));
  }

  const std::vector<Entry>& entries_;
  BYTE* next_ = nullptr;
};

}  // namespace

BOOL WTSEnumerateProcessesExW(HANDLE server, DWORD* level, DWORD sessionId, LPWSTR* processInfo, DWORD* count) {
  if (const auto code = host::InjectedFailure("WTSEnumerateProcessesExW")) return host::FailWith(*code);
  if (server != WTS_CURRENT_SERVER_HANDLE) host::Unsupported("WTSEnumerateProcessesExW", "hServer not null");
  if (!level || !processInfo || !count) return host::FailWith(ERROR_INVALID_PARAMETER);
  if (*level != 0) host::Unsupported("WTSEnumerateProcessesExW", "*pLevel other than 0");
  const std::vector<Entry> entries = EntriesOf(sessionId);
  const LPWSTR block = RecordBlock(entries).Make();
  if (!block) return FALSE;
  *processInfo = block;
  *count = static_cast<DWORD>(entries.size());
  return TRUE;
}

BOOL WTSFreeMemoryExW(WTS_TYPE_CLASS typeClass, PVOID memory, ULONG) {
  if (const auto code = host::InjectedFailure("WTSFreeMemoryExW")) return host::FailWith(*code);
  if (typeClass != WTSTypeProcessInfoLevel0 || LocalFree(memory)) return host::FailWith(ERROR_INVALID_PARAMETER);
  return TRUE;
}
