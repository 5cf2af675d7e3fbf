#include "machine/json_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "machine/unique_descriptor.h"

namespace machine {

namespace {

bool WriteAll(int descriptor, const std::string& text) {
  std::size_t written = 0;
  while (written < text.size()) {
    const ssize_t count = write(descriptor, text.data() + written, text.size() - written);
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) written += static_cast<std::size_t>(count);
  }
  return true;
}

bool WriteNewFile(const std::string& path, const std::string& text, bool lasting) {
  const UniqueDescriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
  return file.valid() && WriteAll(file.get(), text) && (!lasting || fsync(file.get()) == 0);
}

}  // namespace

bool WriteJsonFile(const std::string& path, const nlohmann::json& value, bool lasting, std::string* error) {
  const std::string fresh = path + ".new";
  const std::string text = value.dump(1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
  if (WriteNewFile(fresh, text, lasting) && std::rename(fresh.c_str(), path.c_str()) == 0) return true;
  if (error != nullptr) *error = "cannot write " + path + ": " + std::strerror(errno);
  unlink(fresh.c_str());
  return false;
}

JsonFileResult ReadJsonFile(const std::string& path, nlohmann::json* value, std::string* error) {
  if (access(path.c_str(), F_OK) != 0 && errno == ENOENT) return JsonFileResult::kMissing;
  std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  *value = nlohmann::json::parse(text.str(), nullptr, false);
  if (file && !value->is_discarded()) return JsonFileResult::kRead;
  if (error != nullptr) *error = path + " is damaged or cannot be read";
  return JsonFileResult::kUnreadable;
}

}  // namespace machine
