// What a server process of a measurement does. It answers on its standard output: kYes once it serves, then kYes or kNo
// to each order that comes on its standard input. It ends with the program that started it.
#pragma once

#include <string>

namespace bench {

inline constexpr const char* kRpcRole = "--serve-rpc";
inline constexpr const char* kRawRole = "--serve-raw";

inline constexpr char kAwaitIdle = 'i';  // for kRpcRole: wait until no connection and no context handle is left
inline constexpr char kYes = 'y';
inline constexpr char kNo = 'n';

// The socket of kRawRole in the machine of this process.
std::string RawSocketPath();

// Plays `role`, if it is one; the process's exit code, or -1 when it is none.
int PlayServerRole(const char* role);

}  // namespace bench
