// A library for the module tests.
#include <cstdint>

#ifdef _WIN32
#define SAMPLE_EXPORT __declspec(dllexport)
#else
#define SAMPLE_EXPORT __attribute__((visibility("default")))
#endif

extern "C" SAMPLE_EXPORT std::intptr_t SampleAnswer() {
  return 42;
}
