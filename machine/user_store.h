// The machine's user accounts, kept in `<state>/users.json`. Loop thread only.
#pragma once

#include <cstdint>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

#include "machine/name_order.h"

namespace machine {

class UserStore {
 public:
  explicit UserStore(std::string path) : path_(std::move(path)) {}

  // A machine without the file gets a new identity, the first part of its users' SIDs. False with a sentence in
  // `error` when the file is damaged.
  bool Load(std::string* error);

  // The SID of the user, made an account now if there is none. None, with a sentence in `error`, for an impossible
  // name or when the account could not be written down. Names differ in more than case.
  std::optional<std::string> Ensure(const std::string& name, std::string* error);

  // The name as the account was made with; `name` itself when there is none.
  std::string Spelling(const std::string& name) const;

  // The SID of the user; none when there is no such account.
  std::optional<std::string> Find(const std::string& name) const;
  // The name of the account; `sid` itself when it is none of the machine's.
  std::string NameOf(const std::string& sid) const;

  nlohmann::json Report() const;

 private:
  using Accounts = std::map<std::string, std::uint32_t, NameLess>;  // name to relative id

  std::string SidOf(std::uint32_t relativeId) const;
  bool Save(const Accounts& accounts, std::string* error) const;

  std::string path_;
  std::string machineSid_;
  Accounts accounts_;
};

}  // namespace machine
