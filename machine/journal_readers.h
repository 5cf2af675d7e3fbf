// The operation "journal.read": counts the connection as a reader of the journal (host/base/journal.h) until it ends.
// Loop thread only.
#pragma once

#include <string>

#include "machine/op_registry.h"

namespace machine {

// Begins with no reader and an empty journal. The operation is refused when the word of the readers cannot be made.
void AddJournalOperations(OpRegistry& operations, const std::string& runtimeFolder);

}  // namespace machine
