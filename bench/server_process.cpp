#include "bench/server_process.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "bench/server_roles.h"

extern char** environ;

namespace bench {

namespace {

pid_t Spawn(const char* role, int input, int output) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  std::string program = "/proc/self/exe";
  std::string argument = role;
  char* const arguments[] = {program.data(), argument.data(), nullptr};
  pid_t process = -1;
  if (posix_spawn(&process, program.c_str(), &actions, nullptr, arguments, environ) != 0) process = -1;
  posix_spawn_file_actions_destroy(&actions);
  return process;
}

}  // namespace

ServerProcess::ServerProcess(const char* role) : role_(role), control_(ControlOf(role)) {
  int input[2] = {-1, -1};
  int output[2] = {-1, -1};
  if (pipe2(input, O_CLOEXEC) == 0 && pipe2(output, O_CLOEXEC) == 0) process_ = Spawn(role, input[0], output[1]);
  close(input[0]);
  close(output[1]);
  orders_ = input[1];
  answers_ = output[0];
  if (process_ > 0 && Answers()) return;
  std::fprintf(stderr, "the server %s does not serve\n", role);
  std::exit(1);
}

ServerProcess::~ServerProcess() {
  kill(process_, SIGKILL);
  waitpid(process_, nullptr, 0);
  close(orders_);
  close(answers_);
}

bool ServerProcess::Answers() const {
  char answer = kNo;
  return read(answers_, &answer, 1) == 1 && answer == kYes;
}

void ServerProcess::Order(char order) const {
  if (write(orders_, &order, 1) == 1) return;
  std::fprintf(stderr, "the server %s takes no order\n", role_);
  std::exit(1);
}

void ServerProcess::AwaitAnswer() const {
  if (Answers()) return;
  std::fprintf(stderr, "the server %s could not do what it was told\n", role_);
  std::exit(1);
}

void ServerProcess::AwaitIdle() const {
  Order(kAwaitIdle);
  AwaitAnswer();
}

std::size_t ServerProcess::ResidentBytes() const {
  std::ifstream file("/proc/" + std::to_string(process_) + "/statm");
  std::size_t size = 0;
  std::size_t resident = 0;
  file >> size >> resident;
  return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

}  // namespace bench
