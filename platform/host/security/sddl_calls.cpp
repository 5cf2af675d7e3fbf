// Security descriptors to text and back.
#include "platform/host/base/error_codes.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/last_error.h"
#include "platform/host/base/text.h"
#include "platform/host/base/unsupported.h"
#include "platform/host/security/local_copy.h"
#include "platform/host/security/sddl_text.h"
#include "platform/host/security/security.h"

using host::FailWith;
using namespace host::security;  // NOLINT: the flat calls are thin forms of these functions

BOOL ConvertSecurityDescriptorToStringSecurityDescriptorW(PSECURITY_DESCRIPTOR descriptor, DWORD revision,
                                                          SECURITY_INFORMATION information, LPWSTR* text,
                                                          PULONG length) {
  constexpr const char* kName = "ConvertSecurityDescriptorToStringSecurityDescriptorW";
  if (const auto injected = host::InjectedFailure(kName)) return FailWith(*injected);
  if (information != DACL_SECURITY_INFORMATION) host::Unsupported(kName, "information");
  if (!text) return FailWith(ERROR_INVALID_PARAMETER);
  if (revision != SDDL_REVISION_1) return FailWith(ERROR_UNKNOWN_REVISION);
  DescriptorParts parts;
  if (!ReadParts(descriptor, &parts)) return FailWith(ERROR_INVALID_SECURITY_DESCR);
  const auto dacl = FormatDacl(parts);
  if (!dacl) return FailWith(ERROR_INVALID_ACL);
  *text = LocalCopy(host::ToUtf16(*dacl));
  if (length) *length = static_cast<ULONG>(dacl->size() + 1);
  return *text != nullptr;
}

BOOL ConvertStringSecurityDescriptorToSecurityDescriptorW(LPCWSTR text, DWORD revision,
                                                          PSECURITY_DESCRIPTOR* descriptor, PULONG size) {
  constexpr const char* kName = "ConvertStringSecurityDescriptorToSecurityDescriptorW";
  if (const auto injected = host::InjectedFailure(kName)) return FailWith(*injected);
  if (!text || !descriptor) return FailWith(ERROR_INVALID_PARAMETER);
  if (revision != SDDL_REVISION_1) return FailWith(ERROR_UNKNOWN_REVISION);
  DaclText dacl;
  const DWORD code = ParseDacl(host::ToUtf8(text), &dacl);
  if (code == ERROR_NOT_SUPPORTED) host::Unsupported(kName, "text with other parts than a DACL");
  if (code != ERROR_SUCCESS) return FailWith(code);
  const Bytes list = dacl.list ? EncodeList(*dacl.list) : Bytes();
  DescriptorParts parts;
  parts.control = static_cast<SECURITY_DESCRIPTOR_CONTROL>(dacl.control | (dacl.present ? SE_DACL_PRESENT : 0));
  parts.dacl = list.empty() ? nullptr : reinterpret_cast<const ACL*>(list.data());
  const Bytes block = EncodeSelfRelative(parts);
  *descriptor = LocalCopy(block);
  if (size) *size = static_cast<ULONG>(block.size());
  return *descriptor != nullptr;
}
