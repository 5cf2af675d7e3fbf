#include "machine/journal_readers.h"

#include "machine/connection.h"
#include "platform/host/base/error_codes.h"
#include "platform/host/base/journal.h"

namespace machine {

void AddJournalOperations(OpRegistry& operations, const std::string& runtimeFolder) {
  host::JournalReaders* const readers = host::MapJournalReaders(runtimeFolder, true);
  if (readers != nullptr) readers->store(0);
  operations.Add("journal.read", [readers](const Request& request) {
    if (readers == nullptr) return request.responder.Fail(ERROR_WRITE_FAULT, "the journal cannot be made");
    readers->fetch_add(1);
    request.connection->OnClose([readers] { readers->fetch_sub(1); });
    request.responder.Done();
  });
}

}  // namespace machine
