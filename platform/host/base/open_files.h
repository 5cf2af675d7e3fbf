// The soft limit of open files is often 1,024, fewer than a machine with many RPC clients needs.
#pragma once

namespace host {

// Raises this process's soft limit to its hard limit. Every program calls it once at start; failure leaves it as it is.
void RaiseOpenFileLimit();

}  // namespace host
