// Loading libraries when memory is short: whatever allocation fails, nothing stays loaded.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <new>
#include <string>

#include "platform/host/base/text.h"
#include "platform/host/kernel/module_table.h"
#include "tests/support/failing_allocation.h"

namespace {

bool IsLoaded(const std::string& path) {
  void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (library) dlclose(library);
  return library != nullptr;
}

// The module, or null when the n-th allocation from here fails.
HMODULE LoadWith(int allocations, const std::u16string& path) {
  HMODULE module = nullptr;
  support::FailAllocationAfter(allocations);
  try {
    EXPECT_EQ(host::ModuleTable::Instance().LoadFile(path, &module), 0u);
  } catch (const std::bad_alloc&) {
    module = nullptr;
  }
  support::EndFailingAllocation();
  return module;
}

TEST(ModulesOutOfMemory, LeaveNoLibraryBehind) {
  const std::string path = std::filesystem::read_symlink("/proc/self/exe").parent_path() / "sample_module.dll";
  const std::u16string name = host::ToUtf16(path);
  ASSERT_FALSE(IsLoaded(path));
  HMODULE module = nullptr;
  int allocations = 0;
  for (; !module; ++allocations) {
    module = LoadWith(allocations, name);
    if (module) continue;
    EXPECT_FALSE(IsLoaded(path)) << allocations;
    EXPECT_EQ(host::ModuleReferences(name), 0) << allocations;
  }
  EXPECT_GT(allocations, 2);
  EXPECT_EQ(host::ModuleReferences(name), 1);
  EXPECT_EQ(host::ModuleTable::Instance().Release(module), 0u);
  EXPECT_FALSE(IsLoaded(path));
}

}  // namespace
