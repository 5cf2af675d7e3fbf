#include "platform/host/runtime/value_set.h"

#include <algorithm>

#include "platform/host/runtime/string_text.h"

namespace host::runtime {

HRESULT ValueSet::Lookup(HSTRING key, IInspectable** value) {
  if (!value) return E_POINTER;
  *value = nullptr;
  return Method("IMap.Lookup", [&] {
    const std::lock_guard lock(mutex_);
    const std::size_t position = Position(TextOf(key));
    if (position == entries_.size()) return E_BOUNDS;
    *value = Reference(entries_[position].second).Detach();
    return S_OK;
  });
}

HRESULT ValueSet::get_Size(UINT32* size) {
  if (!size) return E_POINTER;
  const std::lock_guard lock(mutex_);
  *size = static_cast<UINT32>(entries_.size());
  return S_OK;
}

HRESULT ValueSet::HasKey(HSTRING key, boolean* found) {
  if (!found) return E_POINTER;
  const std::lock_guard lock(mutex_);
  *found = Position(TextOf(key)) != entries_.size();
  return S_OK;
}

HRESULT ValueSet::GetView(IInspectable**) {
  Unsupported("IMap::GetView", "any");
}

HRESULT ValueSet::Insert(HSTRING key, IInspectable* value, boolean* replaced) {
  if (!replaced) return E_POINTER;
  *replaced = FALSE;
  return Method("IMap.Insert", [&] {
    Entry entry(TextOf(key), value);  // leaves with what it was exchanged for after the lock has been left
    const std::lock_guard lock(mutex_);
    const std::size_t position = Position(entry.first);
    *replaced = position != entries_.size();
    if (*replaced) {
      std::swap(entries_[position].second, entry.second);
    } else {
      entries_.push_back(std::move(entry));
    }
    return S_OK;
  });
}

std::vector<ValueSet::Entry> ValueSet::Entries() const {
  const std::lock_guard lock(mutex_);
  return entries_;
}

// The number of entries when there is none of that key.
std::size_t ValueSet::Position(std::u16string_view key) const {
  const auto found =
      std::find_if(entries_.begin(), entries_.end(), [&](const Entry& entry) { return entry.first == key; });
  return static_cast<std::size_t>(found - entries_.begin());
}

}  // namespace host::runtime
