#include "platform/host/identity/session_list.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <mutex>
#include <nlohmann/json.hpp>
#include <utility>

#include "platform/host/base/machine_directory.h"

namespace host {

using nlohmann::json;

namespace {

// The list that was read last and the file it was read from. The daemon never writes into the file, it replaces it, and
// as long as the old one is open here no new one has its number: the number alone tells whether the list still stands.
class Cache {
 public:
  std::shared_ptr<const SessionList> Read(const std::string& path) {
    const std::lock_guard lock(mutex_);
    struct stat now = {};
    if (stat(path.c_str(), &now) != 0) return nullptr;
    if (descriptor_ < 0 || now.st_ino != read_.st_ino || now.st_dev != read_.st_dev) ReadAgain(path);
    return list_;
  }

 private:
  void ReadAgain(const std::string& path) {
    list_.reset();
    if (descriptor_ >= 0) close(std::exchange(descriptor_, -1));
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return;
    descriptor_ = descriptor;
    if (fstat(descriptor_, &read_) == 0) list_ = Parse(Text());
  }

  std::string Text() const {
    std::string text(static_cast<std::size_t>(read_.st_size), '\0');
    const ssize_t size = pread(descriptor_, text.data(), text.size(), 0);
    text.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    return text;
  }

  // Null when it is not the machine's list.
  static std::shared_ptr<const SessionList> Parse(const std::string& text) try {
    const json published = json::parse(text);
    auto list = std::make_shared<SessionList>();
    list->console = published.at("console").get<std::uint32_t>();
    for (const json& session : published.at("sessions"))
      list->sessions.push_back({session.at("id").get<std::uint32_t>(), session.value("state", 0),
                                session.value("remote", false), session.at("sid").get<std::string>()});
    std::sort(list->sessions.begin(), list->sessions.end(),
              [](const SessionRow& left, const SessionRow& right) { return left.id < right.id; });
    return list;
  } catch (const json::exception&) {
    return nullptr;
  }

  std::mutex mutex_;  // guards all below
  int descriptor_ = -1;
  struct stat read_ = {};
  std::shared_ptr<const SessionList> list_;
};

}  // namespace

const SessionRow* SessionList::Find(std::uint32_t id) const {
  const auto found =
      std::find_if(sessions.begin(), sessions.end(), [id](const SessionRow& row) { return row.id == id; });
  return found == sessions.end() ? nullptr : &*found;
}

std::shared_ptr<const SessionList> PublishedSessions() {
  static auto* cache = new Cache;  // outlives every thread of the process
  return cache->Read(CurrentMachineDirectory().runtime + "/sessions.json");
}

}  // namespace host
