#include "platform/host/security/sddl_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

#include "platform/host/base/error_codes.h"

namespace host::security {
namespace {

struct RightsName {
  std::string_view name;
  ACCESS_MASK mask;
};

// Whole masks that have a name of their own, then single rights in the order they are written.
constexpr std::array<RightsName, 7> kWholeMasks = {{{"FA", 0x1F01FF},
                                                    {"FR", 0x120089},
                                                    {"FW", 0x120116},
                                                    {"FX", 0x1200A0},
                                                    {"KA", 0xF003F},
                                                    {"KR", 0x20019},
                                                    {"KW", 0x20006}}};
constexpr std::array<RightsName, 17> kRights = {{{"CC", 0x1},
                                                 {"DC", 0x2},
                                                 {"LC", 0x4},
                                                 {"SW", 0x8},
                                                 {"RP", 0x10},
                                                 {"WP", 0x20},
                                                 {"DT", 0x40},
                                                 {"LO", 0x80},
                                                 {"CR", 0x100},
                                                 {"SD", DELETE},
                                                 {"RC", READ_CONTROL},
                                                 {"WD", WRITE_DAC},
                                                 {"WO", WRITE_OWNER},
                                                 {"GA", GENERIC_ALL},
                                                 {"GX", GENERIC_EXECUTE},
                                                 {"GW", GENERIC_WRITE},
                                                 {"GR", GENERIC_READ}}};

struct FlagName {
  std::string_view name;
  BYTE flag;
};
constexpr std::array<FlagName, 5> kEntryFlags = {{{"OI", OBJECT_INHERIT_ACE},
                                                  {"CI", CONTAINER_INHERIT_ACE},
                                                  {"NP", NO_PROPAGATE_INHERIT_ACE},
                                                  {"IO", INHERIT_ONLY_ACE},
                                                  {"ID", INHERITED_ACE}}};

struct SidName {
  std::string_view name;
  std::string_view sid;
};
constexpr std::array<SidName, 15> kSids = {{{"WD", "S-1-1-0"},
                                            {"CO", "S-1-3-0"},
                                            {"CG", "S-1-3-1"},
                                            {"OW", "S-1-3-4"},
                                            {"NU", "S-1-5-2"},
                                            {"IU", "S-1-5-4"},
                                            {"SU", "S-1-5-6"},
                                            {"AN", "S-1-5-7"},
                                            {"AU", "S-1-5-11"},
                                            {"SY", "S-1-5-18"},
                                            {"LS", "S-1-5-19"},
                                            {"NS", "S-1-5-20"},
                                            {"BA", "S-1-5-32-544"},
                                            {"BU", "S-1-5-32-545"},
                                            {"AC", "S-1-15-2-1"}}};

std::string FormatRights(ACCESS_MASK mask) {
  for (const RightsName& whole : kWholeMasks) {
    if (whole.mask == mask) return std::string(whole.name);
  }
  std::string names;
  ACCESS_MASK rest = mask;
  for (const RightsName& right : kRights) {
    if (mask & right.mask) names += right.name;
    rest &= ~right.mask;
  }
  if (rest == 0) return names;
  char number[16];
  std::snprintf(number, sizeof number, "0x%x", mask);
  return number;
}

std::string FormatSid(const Bytes& sid) {
  const std::string text = SidText(sid.data());
  const auto known = std::find_if(kSids.begin(), kSids.end(), [&](const SidName& entry) { return entry.sid == text; });
  return known == kSids.end() ? text : std::string(known->name);
}

std::string FormatEntry(const AccessEntry& entry) {
  std::string text = entry.type == ACCESS_ALLOWED_ACE_TYPE ? "(A;" : "(D;";
  for (const FlagName& flag : kEntryFlags) {
    if (entry.flags & flag.flag) text += flag.name;
  }
  return text + ";" + FormatRights(entry.mask) + ";;;" + FormatSid(entry.sid) + ")";
}

template <typename Names>
auto FindName(const Names& names, std::string_view name) {
  return std::find_if(names.begin(), names.end(), [&](const auto& entry) { return entry.name == name; });
}

bool ParseFlags(std::string_view text, BYTE* flags) {
  for (; !text.empty(); text.remove_prefix(2)) {
    const auto flag = FindName(kEntryFlags, text.substr(0, 2));
    if (flag == kEntryFlags.end()) return false;
    *flags |= flag->flag;
  }
  return true;
}

bool ParseNumber(std::string_view text, ACCESS_MASK* mask) {
  const bool isHex = text.starts_with("0x") || text.starts_with("0X");
  if (isHex) text.remove_prefix(2);
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *mask, isHex ? 16 : 10);
  return error == std::errc() && end == text.data() + text.size();
}

bool ParseRights(std::string_view text, ACCESS_MASK* mask) {
  if (!text.empty() && text[0] >= '0' && text[0] <= '9') return ParseNumber(text, mask);
  for (; !text.empty(); text.remove_prefix(2)) {
    const std::string_view name = text.substr(0, 2);
    const auto whole = FindName(kWholeMasks, name);
    const auto right = FindName(kRights, name);
    if (whole == kWholeMasks.end() && right == kRights.end()) return false;
    *mask |= whole != kWholeMasks.end() ? whole->mask : right->mask;
  }
  return true;
}

Bytes ParseSidOrName(std::string_view text) {
  const auto known = FindName(kSids, text);
  return ParseSid(known == kSids.end() ? text : known->sid);
}

// One entry without its parentheses: type;flags;rights;object;inherited object;sid.
DWORD ParseEntry(std::string_view text, AccessEntry* entry) {
  std::array<std::string_view, 6> fields;
  for (std::size_t index = 0; index < fields.size(); ++index) {
    const std::size_t end = text.find(';');
    if ((end == std::string_view::npos) != (index + 1 == fields.size())) return ERROR_INVALID_ACL;
    fields[index] = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
  if (fields[0] != "A" && fields[0] != "D") return ERROR_INVALID_ACL;
  entry->type = fields[0] == "A" ? ACCESS_ALLOWED_ACE_TYPE : ACCESS_DENIED_ACE_TYPE;
  if (!fields[3].empty() || !fields[4].empty()) return ERROR_INVALID_ACL;
  if (!ParseFlags(fields[1], &entry->flags) || !ParseRights(fields[2], &entry->mask)) return ERROR_INVALID_ACL;
  entry->sid = ParseSidOrName(fields[5]);
  return entry->sid.empty() ? ERROR_INVALID_SID : ERROR_SUCCESS;
}

DWORD ParseEntries(std::string_view text, AccessList* list) {
  while (!text.empty()) {
    const std::size_t end = text.find(')');
    if (text.front() != '(' || end == std::string_view::npos) return ERROR_INVALID_ACL;
    AccessEntry entry;
    const DWORD code = ParseEntry(text.substr(1, end - 1), &entry);
    if (code != ERROR_SUCCESS) return code;
    list->push_back(std::move(entry));
    text.remove_prefix(end + 1);
  }
  return ERROR_SUCCESS;
}

bool TakeControl(std::string_view* text, std::string_view name) {
  if (!text->starts_with(name)) return false;
  text->remove_prefix(name.size());
  return true;
}

}  // namespace

std::optional<std::string> FormatDacl(const DescriptorParts& parts) {
  if (!(parts.control & SE_DACL_PRESENT)) return "";
  std::string text = "D:";
  if (parts.control & SE_DACL_PROTECTED) text += "P";
  if (parts.control & SE_DACL_AUTO_INHERITED) text += "AI";
  if (!parts.dacl) return text + "NO_ACCESS_CONTROL";
  const auto list = ReadList(parts.dacl);
  if (!list) return std::nullopt;
  for (const AccessEntry& entry : *list) text += FormatEntry(entry);
  return text;
}

DWORD ParseDacl(std::string_view text, DaclText* dacl) {
  if (text.empty()) return ERROR_SUCCESS;
  for (const std::string_view other : {"O:", "G:", "S:"}) {
    if (text.starts_with(other)) return ERROR_NOT_SUPPORTED;
  }
  if (!TakeControl(&text, "D:")) return ERROR_INVALID_PARAMETER;
  if (text.find("S:(") != std::string_view::npos) return ERROR_NOT_SUPPORTED;
  dacl->present = true;
  if (TakeControl(&text, "P")) dacl->control |= SE_DACL_PROTECTED;
  if (TakeControl(&text, "AI")) dacl->control |= SE_DACL_AUTO_INHERITED;
  if (text == "NO_ACCESS_CONTROL") return ERROR_SUCCESS;
  return ParseEntries(text, &dacl->list.emplace());
}

}  // namespace host::security
