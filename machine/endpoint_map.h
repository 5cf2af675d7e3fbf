// The endpoint map: which process serves which RPC interface where. Entries hang on the connection of the process that
// registered them. Loop thread only.
#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <set>
#include <string>
#include <vector>

#include "machine/op_registry.h"

namespace machine {

class EndpointMap {
 public:
  // Operations "epmap.register", "epmap.unregister" {"uuid","version","bindings"}, "epmap.lookup" {"uuid","version"}
  // and "epmap.list". A look-up gives the entries of the same major and the same or a later minor version.
  void AddOperations(OpRegistry& operations);

  nlohmann::json Report() const;

  // The connections that have an entry.
  std::set<std::uint64_t> Holders() const;

 private:
  struct Entry {
    std::string uuid;
    std::string version;  // "major.minor"
    std::string binding;
    std::uint64_t connection;
    pid_t pid;
  };

  void Register(const Request& request);
  void Unregister(const Request& request);
  void Lookup(const Request& request) const;

  std::vector<Entry> entries_;
};

}  // namespace machine
