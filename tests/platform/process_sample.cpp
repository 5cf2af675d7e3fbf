// A program for tests: ends with the number given as its first argument, if it has just one more, whose text is "a b".
#include <cstdlib>
#include <cstring>

int main(int argc, char** argv) {
  constexpr int kNotAsExpected = 99;
  if (argc != 3 || std::strcmp(argv[2], "a b") != 0) return kNotAsExpected;
  return std::atoi(argv[1]);
}
