#include "client/code_names.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace client {
namespace {

struct Entry {
  std::uint32_t code;
  std::string_view name;
  std::string_view meaning;
};

constexpr Entry kEntries[] = {
    {0, "ERROR_SUCCESS", "success"},
    {1, "ERROR_INVALID_FUNCTION", "nothing to do, or not done"},
    {2, "ERROR_FILE_NOT_FOUND", "there is no such key, value or file"},
    {3, "ERROR_PATH_NOT_FOUND", "there is no such path"},
    {4, "ERROR_TOO_MANY_OPEN_FILES", "too many files are open"},
    {5, "ERROR_ACCESS_DENIED", "access is denied"},
    {6, "ERROR_INVALID_HANDLE", "the handle is not valid"},
    {8, "ERROR_NOT_ENOUGH_MEMORY", "not enough memory"},
    {13, "ERROR_INVALID_DATA", "the data is not valid"},
    {14, "ERROR_OUTOFMEMORY", "out of memory"},
    {18, "ERROR_NO_MORE_FILES", "no more files"},
    {21, "ERROR_NOT_READY", "not ready: the service is stopping"},
    {29, "ERROR_WRITE_FAULT", "it could not be written"},
    {32, "ERROR_SHARING_VIOLATION", "another process has it open"},
    {50, "ERROR_NOT_SUPPORTED", "the entry point or request is not supported"},
    {87, "ERROR_INVALID_PARAMETER", "a parameter is not valid"},
    {112, "ERROR_DISK_FULL", "the disk is full"},
    {120, "ERROR_CALL_NOT_IMPLEMENTED", "the call is not implemented"},
    {122, "ERROR_INSUFFICIENT_BUFFER", "the buffer is too small"},
    {123, "ERROR_INVALID_NAME", "the name is not valid"},
    {124, "ERROR_INVALID_LEVEL", "there is no such level of information"},
    {126, "ERROR_MOD_NOT_FOUND", "the module could not be found"},
    {127, "ERROR_PROC_NOT_FOUND", "the entry point could not be found"},
    {128, "ERROR_WAIT_NO_CHILDREN", "there is no process to wait for"},
    {161, "ERROR_BAD_PATHNAME", "the path is not valid"},
    {182, "ERROR_INVALID_ORDINAL", "the library does not have this ordinal"},
    {183, "ERROR_ALREADY_EXISTS", "it exists already"},
    {193, "ERROR_BAD_EXE_FORMAT", "the program cannot be run"},
    {206, "ERROR_FILENAME_EXCED_RANGE", "the name or path is too long"},
    {216, "ERROR_EXE_MACHINE_TYPE_MISMATCH", "the program is for another kind of processor"},
    {234, "ERROR_MORE_DATA", "more data is available"},
    {258, "WAIT_TIMEOUT", "the wait timed out"},
    {259, "ERROR_NO_MORE_ITEMS", "no more items"},
    {267, "ERROR_DIRECTORY", "the directory is not valid"},
    {487, "ERROR_INVALID_ADDRESS", "the address is not valid"},
    {740, "ERROR_ELEVATION_REQUIRED", "the program asks for more rights"},
    {995, "ERROR_OPERATION_ABORTED", "the operation was given up"},
    {997, "ERROR_IO_PENDING", "still in progress"},
    {998, "ERROR_NOACCESS", "invalid access to memory"},
    {1008, "ERROR_NO_TOKEN", "there is no such token"},
    {1009, "ERROR_BADDB", "the registry is damaged"},
    {1011, "ERROR_CANTOPEN", "the registry could not be opened"},
    {1015, "ERROR_REGISTRY_CORRUPT", "the registry is damaged"},
    {1016, "ERROR_REGISTRY_IO_FAILED", "the registry could not be read or written"},
    {1018, "ERROR_KEY_DELETED", "the key has been deleted"},
    {1020, "ERROR_KEY_HAS_CHILDREN", "the key has subkeys"},
    {1021, "ERROR_CHILD_MUST_BE_VOLATILE", "a lasting key cannot stand under a volatile one"},
    {1051, "ERROR_DEPENDENT_SERVICES_RUNNING", "services that depend on it are running"},
    {1052, "ERROR_INVALID_SERVICE_CONTROL", "the service does not accept this control"},
    {1053, "ERROR_SERVICE_REQUEST_TIMEOUT", "the service did not answer in time"},
    {1056, "ERROR_SERVICE_ALREADY_RUNNING", "the service is running already"},
    {1058, "ERROR_SERVICE_DISABLED", "the service is disabled"},
    {1060, "ERROR_SERVICE_DOES_NOT_EXIST", "there is no such service"},
    {1061, "ERROR_SERVICE_CANNOT_ACCEPT_CTRL", "the service cannot accept controls in its present state"},
    {1062, "ERROR_SERVICE_NOT_ACTIVE", "the service is not running"},
    {1063, "ERROR_FAILED_SERVICE_CONTROLLER_CONNECT", "the program was not started by the service control manager"},
    {1066, "ERROR_SERVICE_SPECIFIC_ERROR", "the service ended with a code of its own"},
    {1067, "ERROR_PROCESS_ABORTED", "the process ended unexpectedly"},
    {1072, "ERROR_SERVICE_MARKED_FOR_DELETE", "the service is marked for deletion"},
    {1073, "ERROR_SERVICE_EXISTS", "the service exists already"},
    {1077, "ERROR_SERVICE_NEVER_STARTED", "the service has not been started since the boot"},
    {1078, "ERROR_DUPLICATE_SERVICE_NAME", "the name is in use by another service"},
    {1113, "ERROR_NO_UNICODE_TRANSLATION", "a name has half a surrogate pair, which no text can have"},
    {1114, "ERROR_DLL_INIT_FAILED", "the library's initialisation failed"},
    {1115, "ERROR_SHUTDOWN_IN_PROGRESS", "the machine is going down"},
    {1157, "ERROR_DLL_NOT_FOUND", "a library that it needs was not found"},
    {1168, "ERROR_NOT_FOUND", "not found"},
    {1223, "ERROR_CANCELLED", "cancelled"},
    {1247, "ERROR_ALREADY_INITIALIZED", "it has been loaded already"},
    {1312, "ERROR_NO_SUCH_LOGON_SESSION", "there is no such logon session"},
    {1314, "ERROR_PRIVILEGE_NOT_HELD", "the caller does not hold a privilege that this needs"},
    {1317, "ERROR_NO_SUCH_USER", "there is no such user"},
    {1332, "ERROR_NONE_MAPPED", "no account has this name or SID"},
    {1337, "ERROR_INVALID_SID", "the SID is not valid"},
    {1346, "ERROR_BAD_IMPERSONATION_LEVEL", "the impersonation does not reach as far as this needs"},
    {1368, "ERROR_CANNOT_IMPERSONATE", "the client cannot be impersonated"},
    {1392, "ERROR_FILE_CORRUPT", "the file is damaged"},
    {1450, "ERROR_NO_SYSTEM_RESOURCES", "not enough system resources"},
    {1455, "ERROR_COMMITMENT_LIMIT", "the paging file is too small"},
    {1460, "ERROR_TIMEOUT", "the time allowed is over"},
    {1629, "ERROR_DATATYPE_MISMATCH", "the data has another form than its type"},
    {1630, "ERROR_UNSUPPORTED_TYPE", "the value has another type"},
    {1700, "RPC_S_INVALID_STRING_BINDING", "the string binding is not valid"},
    {1701, "RPC_S_WRONG_KIND_OF_BINDING", "the binding handle is of another kind"},
    {1702, "RPC_S_INVALID_BINDING", "the binding handle is not valid"},
    {1703, "RPC_S_PROTSEQ_NOT_SUPPORTED", "the protocol sequence is not supported"},
    {1704, "RPC_S_INVALID_RPC_PROTSEQ", "the protocol sequence is not valid"},
    {1706, "RPC_S_INVALID_ENDPOINT_FORMAT", "the endpoint is not valid"},
    {1708, "RPC_S_NO_ENDPOINT_FOUND", "no endpoint was found"},
    {1715, "RPC_S_NOT_LISTENING", "the server does not listen"},
    {1717, "RPC_S_UNKNOWN_IF", "the server does not know the interface"},
    {1721, "RPC_S_OUT_OF_RESOURCES", "not enough resources"},
    {1722, "RPC_S_SERVER_UNAVAILABLE", "the RPC server is unavailable"},
    {1723, "RPC_S_SERVER_TOO_BUSY", "the RPC server is too busy"},
    {1725, "RPC_S_NO_CALL_ACTIVE", "this thread serves no call"},
    {1726, "RPC_S_CALL_FAILED", "the connection was lost during the call"},
    {1727, "RPC_S_CALL_FAILED_DNE", "the connection was lost before the call was made"},
    {1728, "RPC_S_PROTOCOL_ERROR", "the server broke the protocol"},
    {1730, "RPC_S_UNSUPPORTED_TRANS_SYN", "the server knows none of the transfer syntaxes"},
    {1740, "RPC_S_DUPLICATE_ENDPOINT", "the endpoint is in use"},
    {1745, "RPC_S_PROCNUM_OUT_OF_RANGE", "the server does not have this procedure"},
    {1753, "EPT_S_NOT_REGISTERED", "the endpoint map has no such entry"},
    {1766, "RPC_S_INTERNAL_ERROR", "an internal error of the RPC runtime"},
    {1775, "RPC_X_SS_IN_NULL_CONTEXT", "a null context handle was passed in"},
    {1780, "RPC_X_NULL_REF_POINTER", "a null pointer where a parameter must be"},
    {1783, "RPC_X_BAD_STUB_DATA", "the stub received bad data"},
    {1791, "RPC_S_CALL_IN_PROGRESS", "another call on this subscription is in progress"},
    {1816, "ERROR_NOT_ENOUGH_QUOTA", "not enough quota"},
    {1818, "RPC_S_CALL_CANCELLED", "the call was cancelled"},
    {7022, "ERROR_CTX_WINSTATION_NOT_FOUND", "there is no such session"},
    {15700, "APPMODEL_ERROR_NO_PACKAGE", "the process has no package identity"},
    {0x1C00001A, "nca_s_fault_context_mismatch", "the server does not know the context handle"},
    {0x1C010002, "nca_s_op_rng_error", "the server does not have this procedure"},
    {0x1C010003, "nca_s_unk_if", "the server does not know the interface"},
    {0x80004001, "E_NOTIMPL", "not implemented"},
    {0x80004002, "E_NOINTERFACE", "no such interface"},
    {0x80004003, "E_POINTER", "a pointer is not valid"},
    {0x80004005, "E_FAIL", "unspecified failure"},
    {0x8000FFFF, "E_UNEXPECTED", "unexpected failure"},
    {0x80010106, "RPC_E_CHANGED_MODE", "the thread has another apartment type"},
    {0x8002000D, "DISP_E_ARRAYISLOCKED", "the array is locked"},
    {0x80040154, "REGDB_E_CLASSNOTREG", "no such class is registered"},
    {0x800401F0, "CO_E_NOTINITIALIZED", "the thread is in no apartment"},
    {0x80041315, "SCHED_E_SERVICE_NOT_RUNNING", "the Task Scheduler does not run"},
    {0x8004131F, "SCHED_E_ALREADY_RUNNING", "an instance of the task is running"},
    {0x80041320, "SCHED_E_USER_NOT_LOGGED_ON", "the task's user is not logged on"},
    {0x80041326, "SCHED_E_TASK_DISABLED", "the task is disabled"},
    {0x80041328, "SCHED_E_START_ON_DEMAND", "the task may not be run on demand"},
    {0xFFFFFFFF, "WAIT_FAILED", "the wait failed"},
};

// What results mean where the same number is another Win32 code.
constexpr Entry kResults[] = {
    {0, "S_OK", "success"},
    {1, "S_FALSE", "answered, but not with yes"},
};

const Entry* Find(std::uint32_t code) {
  auto match = [code](const Entry& entry) { return entry.code == code; };
  const Entry* found = std::find_if(std::begin(kEntries), std::end(kEntries), match);
  if (found != std::end(kEntries)) return found;
  // Facility 7 carries a Win32 code; 0x80070000 itself carries none.
  bool carriesWin32 = (code & 0xFFFF0000u) == 0x80070000u && (code & 0xFFFFu) != 0;
  return carriesWin32 ? Find(code & 0xFFFFu) : nullptr;
}

struct Alias {
  std::string_view name;
  std::uint32_t code;
};

// Further names under which codes of the table are looked up.
constexpr Alias kAliases[] = {
    {"E_ACCESSDENIED", 0x80070005}, {"E_HANDLE", 0x80070006},   {"E_OUTOFMEMORY", 0x8007000E},
    {"E_INVALIDARG", 0x80070057},   {"RPC_S_ACCESS_DENIED", 5}, {"RPC_X_SS_CONTEXT_MISMATCH", 6},
    {"RPC_S_OUT_OF_MEMORY", 14},    {"RPC_S_INVALID_ARG", 87},  {"NO_ERROR", 0},
};

const Entry* FindResult(std::uint32_t result) {
  return result < std::size(kResults) ? &kResults[result] : Find(result);
}

std::string NumberText(std::uint32_t code) {
  char text[16];
  std::snprintf(text, sizeof text, code > 0xFFFF ? "0x%08X" : "%u", code);
  return text;
}

std::string Text(std::uint32_t code, const Entry* entry) {
  std::string text = NumberText(code);
  if (entry) text.append(" (").append(entry->name).append(": ").append(entry->meaning) += ')';
  return text;
}

char Lower(char letter) {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool SameName(std::string_view left, std::string_view right) {
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [](char one, char other) { return Lower(one) == Lower(other); });
}

}  // namespace

std::string_view CodeName(std::uint32_t code) {
  const Entry* entry = Find(code);
  return entry ? entry->name : std::string_view();
}

std::string_view CodeMeaning(std::uint32_t code) {
  const Entry* entry = Find(code);
  return entry ? entry->meaning : std::string_view();
}

std::string DescribeCode(std::uint32_t code) {
  return Text(code, Find(code));
}

std::string_view ResultName(std::uint32_t result) {
  const Entry* entry = FindResult(result);
  return entry ? entry->name : std::string_view();
}

std::string DescribeResult(std::uint32_t result) {
  return Text(result, FindResult(result));
}

std::optional<std::uint32_t> CodeOfName(std::string_view name) {
  for (const Entry& entry : kResults)
    if (SameName(entry.name, name)) return entry.code;
  for (const Entry& entry : kEntries)
    if (SameName(entry.name, name)) return entry.code;
  for (const Alias& alias : kAliases)
    if (SameName(alias.name, name)) return alias.code;
  return std::nullopt;
}

}  // namespace client
