// A companion library of the build, loaded as a program loads it.
#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>

class LoadedLibrary {
 public:
  // `name` is relative to the folder of the test program, where the libraries lie too.
  explicit LoadedLibrary(const std::string& name)
      : path_((std::filesystem::read_symlink("/proc/self/exe").parent_path() / name).string()),
        library_(dlopen(path_.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    EXPECT_NE(library_, nullptr) << dlerror();
  }
  ~LoadedLibrary() { Unload(); }
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;

  void Unload() {
    if (library_ != nullptr) dlclose(std::exchange(library_, nullptr));
  }

  bool IsInProcess() const {
    void* again = dlopen(path_.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (again != nullptr) dlclose(again);
    return again != nullptr;
  }

  // Null when the library does not export `name`.
  template <typename Function>
  Function* Find(const char* name) const {
    return reinterpret_cast<Function*>(dlsym(library_, name));
  }

 private:
  std::string path_;
  void* library_;
};
