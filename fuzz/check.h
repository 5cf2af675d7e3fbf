// What a fuzz target holds to be true: the program ends where it is not.
#pragma once

#include <cstdio>
#include <cstdlib>

inline void Check(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "not so: %s\n", what);
  std::abort();
}
