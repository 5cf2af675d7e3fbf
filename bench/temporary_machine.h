// A machine folder of its own for one measurement.
#pragma once

#include <string>

namespace bench {

class TemporaryMachine {
 public:
  // Makes the folder the machine of this process and of its children; ends the program when it cannot be made.
  TemporaryMachine();
  ~TemporaryMachine();
  TemporaryMachine(const TemporaryMachine&) = delete;
  TemporaryMachine& operator=(const TemporaryMachine&) = delete;

 private:
  std::string folder_;
};

// The socket behind the product's endpoint in the machine of this process.
std::string EndpointPath();

}  // namespace bench
