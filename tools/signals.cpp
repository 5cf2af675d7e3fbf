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

void Note(int) {
  noted = 1;
  Install(Exit);
}

}  // namespace

void ExitOnInterrupt() {
  Install(Exit);
}

void NoteInterrupts() {
  Install(Note);
}

bool Interrupted() {
  return noted != 0;
}

}  // namespace tool
