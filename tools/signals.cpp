#include "tools/signals.h"

#include <csignal>
#include <cstdlib>

#include "tools/exit_codes.h"

namespace tool {
namespace {

volatile std::sig_atomic_t noted = 0;

void Install(void (*handler)(int)) {
  std::signal(SIGINT, handler);
  std::signal(SIGTERM, handler);
}

void Exit(int) {
  std::_Exit(kInterrupted);
}

void NoteFirst(int) {
  noted = 1;
  Install(Exit);
}

void Note(int) {
  noted = 1;
}

}  // namespace

void ExitOnInterrupt() {
  Install(Exit);
}

void NoteInterrupts() {
  Install(NoteFirst);
}

void NoteEveryInterrupt() {
  Install(Note);
#ifndef _WIN32
  std::signal(SIGHUP, Note);
  std::signal(SIGPIPE, Note);
#endif
}

bool Interrupted() {
  return noted != 0;
}

}  // namespace tool
