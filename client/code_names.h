// Names and meanings of the codes that the service, its runtime and the machine answer with, for people.
//
// One table holds Win32 codes (RPC statuses are Win32 codes too) and HRESULTs; 0x8007xxxx is looked up by the Win32
// code it carries. All functions are pure and may be called from any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace client {

// "RPC_S_SERVER_UNAVAILABLE", or "" when the table does not have the code.
std::string_view CodeName(std::uint32_t code);

// What the code says, as half a sentence ("the RPC server is unavailable"), or "".
std::string_view CodeMeaning(std::uint32_t code);

// The code as people read it: "1722 (RPC_S_SERVER_UNAVAILABLE: the RPC server is unavailable)". Small numbers are
// decimal, HRESULTs and fault statuses hexadecimal; an unknown code is just its number.
std::string DescribeCode(std::uint32_t code);

// The same of a procedure's result: 0 and 1 are S_OK and S_FALSE there.
std::string_view ResultName(std::uint32_t result);
std::string DescribeResult(std::uint32_t result);

// The code with this name, in any letter case; S_OK and S_FALSE too. Nothing when the table does not have it.
std::optional<std::uint32_t> CodeOfName(std::string_view name);

}  // namespace client
