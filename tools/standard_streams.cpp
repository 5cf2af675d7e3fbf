#include "tools/standard_streams.h"

#include <fcntl.h>
#include <unistd.h>

namespace tool {

void OpenStandardStreams() {
  for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream)
    if (fcntl(stream, F_GETFD) < 0) open("/dev/null", O_RDONLY);  // the lowest number that is free: this one
}

}  // namespace tool
