// JSON files that are read while they are written, and survive an end in the middle of it.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace machine {

// Replaces `path` as a whole: readers see the old text or the new. `lasting` also survives a power cut.
// False, with a sentence in `error` (may be null), when it could not be written; the old file stands then.
bool WriteJsonFile(const std::string& path, const nlohmann::json& value, bool lasting, std::string* error);

enum class JsonFileResult { kRead, kMissing, kUnreadable };

// `error` (may be null) says what is wrong with an unreadable file.
JsonFileResult ReadJsonFile(const std::string& path, nlohmann::json* value, std::string* error);

}  // namespace machine
