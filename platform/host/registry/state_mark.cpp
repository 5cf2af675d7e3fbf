#include "platform/host/registry/state_mark.h"

#include <sqlite3.h>

#include <atomic>

namespace host::registry {
namespace {

constexpr int kIndexBlock = 32768;  // bytes, the unit in which the index is mapped

// The index's first block, which the connection has mapped already.
const std::uint64_t* IndexHeader(sqlite3* connection, const char* name) {
  sqlite3_file* file = nullptr;
  if (sqlite3_file_control(connection, name, SQLITE_FCNTL_FILE_POINTER, &file) != SQLITE_OK || !file) return nullptr;
  if (!file->pMethods || file->pMethods->iVersion < 2) return nullptr;
  void volatile* block = nullptr;
  if (file->pMethods->xShmMap(file, 0, kIndexBlock, 0, &block) != SQLITE_OK) return nullptr;
  return static_cast<const std::uint64_t*>(const_cast<const void*>(block));
}

std::uint64_t Load(const std::uint64_t* word) {
  return std::atomic_ref(const_cast<std::uint64_t&>(*word)).load(std::memory_order_acquire);
}

}  // namespace

StateView StateView::Of(sqlite3* connection) {
  StateView view;
  view.headers_ = {IndexHeader(connection, "main"), IndexHeader(connection, "vol")};
  return view;
}

// The header stands there twice: a writer writes the second copy first, a reader reads it last.
std::optional<StateMark> StateView::Mark() const {
  StateMark mark;
  for (std::size_t database = 0; database < headers_.size(); ++database) {
    const std::uint64_t* header = headers_[database];
    if (!header) return std::nullopt;
    auto& copy = mark.headers_[database];
    for (std::size_t word = 0; word < copy.size(); ++word) copy[word] = Load(header + word);
    for (std::size_t word = 0; word < copy.size(); ++word) {
      if (Load(header + copy.size() + word) != copy[word]) return std::nullopt;
    }
  }
  return mark;
}

}  // namespace host::registry
