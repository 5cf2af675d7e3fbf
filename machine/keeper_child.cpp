#include "machine/keeper_child.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cerrno>

namespace machine {

namespace {

// What is added to the nice value of a program below normal priority.
constexpr int kBelowNormal = 5;

bool MakePipe(UniqueDescriptor* readEnd, UniqueDescriptor* writeEnd) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return false;
  *readEnd = UniqueDescriptor(ends[0]);
  *writeEnd = UniqueDescriptor(ends[1]);
  return true;
}

std::vector<char*> Pointers(const std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (const std::string& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
  pointers.push_back(nullptr);
  return pointers;
}

// Opens without waiting for whoever may read, and writes with waiting. False with errno.
bool Redirect(int stream, const std::string& path) {
  const int flags = O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
  const int target = open(path.c_str(), flags, 0600);
  return target >= 0 && fcntl(target, F_SETFL, O_APPEND) == 0 && dup2(target, stream) == stream;
}

bool RedirectStreams(const ChildProgram& program) {
  const int null = open("/dev/null", O_RDONLY | O_CLOEXEC);
  return dup2(null, STDIN_FILENO) == STDIN_FILENO && Redirect(STDOUT_FILENO, program.output) &&
         Redirect(STDERR_FILENO, program.errorOutput);
}

void ResetSignals() {
  for (const int number : {SIGTERM, SIGINT, SIGHUP, SIGPIPE, SIGCHLD}) signal(number, SIG_DFL);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

// The child's side: waits for the word, runs the program or reports errno. `keeper` guards against its early end.
[[noreturn]] void RunChild(const ChildProgram& program, char* const* arguments, char* const* environment, pid_t keeper,
                           int go, int result) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != keeper) _exit(127);
  setsid();
  char word = 0;
  if (read(go, &word, 1) != 1) _exit(127);
  const bool placed = program.directory.empty() || chdir(program.directory.c_str()) == 0;
  if (placed && RedirectStreams(program)) {
    if (program.belowNormal) nice(kBelowNormal);
    ResetSignals();
    execve(program.path.c_str(), arguments, environment);
  }
  const int failure = errno;
  [[maybe_unused]] const ssize_t sent = write(result, &failure, sizeof(failure));
  _exit(127);
}

}  // namespace

bool KeeperChild::Fork(const ChildProgram& program) {
  UniqueDescriptor goRead;
  UniqueDescriptor resultWrite;
  if (!MakePipe(&goRead, &go_) || !MakePipe(&result_, &resultWrite)) return false;
  const std::vector<char*> arguments = Pointers(program.arguments);
  const std::vector<char*> environment = Pointers(program.environment);
  const pid_t keeper = getpid();
  pid_ = fork();
  if (pid_ == 0) {
    go_.Close();
    RunChild(program, arguments.data(), environment.data(), keeper, goRead.get(), resultWrite.get());
  }
  return pid_ > 0;
}

int KeeperChild::Go() {
  if (write(go_.get(), "g", 1) != 1) return errno;
  int failure = 0;
  ssize_t count = 0;
  do {
    count = read(result_.get(), &failure, sizeof(failure));
  } while (count < 0 && errno == EINTR);
  return count == sizeof(failure) ? failure : 0;
}

}  // namespace machine
