#include "platform/shell/launch.h"

#include <fcntl.h>
#include <linux/close_range.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <string_view>

namespace tallowbrook::platform {
namespace {

using Clock = std::chrono::steady_clock;

// The paths at which execvp would look, made before the fork: afterwards only calls that are safe
// in a signal handler are made.
std::vector<std::string> places_of(const std::string& program) {
  if (program.empty()) return {};
  if (program.find('/') != std::string::npos) return {program};
  const char* const variable = std::getenv("PATH");
  std::string_view rest = variable != nullptr ? variable : "/usr/local/bin:/usr/bin:/bin";
  std::vector<std::string> places;
  for (;;) {
    const std::size_t colon = rest.find(':');
    const std::string_view folder = rest.substr(0, colon);
    // Programs of administrators are not on everybody's path.
    if (!folder.empty()) places.push_back(std::string(folder) + "/" + program);
    if (colon == std::string_view::npos) break;
    rest.remove_prefix(colon + 1);
  }
  for (const char* folder : {"/usr/sbin/", "/sbin/"}) places.push_back(folder + program);
  return places;
}

class Command {
 public:
  explicit Command(const std::vector<std::string>& arguments)
      : arguments_(arguments), places_(places_of(arguments.empty() ? "" : arguments[0])) {
    for (std::string& argument : arguments_) pointers_.push_back(argument.data());
    pointers_.push_back(nullptr);
  }

  // Becomes the program; comes back when there is none. Its standard output is `output`.
  void become(int output) {
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::signal(SIGPIPE, SIG_DFL);
    ::signal(SIGCHLD, SIG_DFL);
    const int null = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    ::dup2(null, STDIN_FILENO);
    ::dup2(output >= 0 ? output : null, STDOUT_FILENO);
    ::dup2(null, STDERR_FILENO);
    ::close_range(STDERR_FILENO + 1, UINT_MAX, CLOSE_RANGE_CLOEXEC);
    for (const std::string& place : places_) ::execv(place.c_str(), pointers_.data());
  }

 private:
  std::vector<std::string> arguments_;
  std::vector<std::string> places_;
  std::vector<char*> pointers_;
};

struct Pipe {
  Pipe() {
    if (::pipe2(ends, O_CLOEXEC) != 0) ends[0] = ends[1] = -1;
  }
  ~Pipe() {
    close_end(0);
    close_end(1);
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
  void close_end(int end) {
    if (ends[end] >= 0) ::close(ends[end]);
    ends[end] = -1;
  }
  explicit operator bool() const { return ends[0] >= 0; }
  int ends[2];
};

// A host that ignores SIGCHLD has the system wait: how the child ended is not known then.
int wait_for(pid_t child) {
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

}  // namespace

bool start_detached(const std::vector<std::string>& arguments) {
  Command command(arguments);
  Pipe failure;  // closed without a byte by the program's start
  if (!failure) return false;
  const pid_t child = ::fork();
  if (child < 0) return false;
  if (child == 0) {
    // A child of the child belongs to nobody who would have to wait for it.
    ::setsid();
    const pid_t own = ::fork();
    if (own > 0) ::_exit(0);
    if (own == 0) command.become(-1);
    const ssize_t told = ::write(failure.ends[1], "x", 1);
    ::_exit(told == 1 ? 127 : 126);
  }
  failure.close_end(1);
  wait_for(child);
  char byte = 0;
  ssize_t got = 0;
  do {
    got = ::read(failure.ends[0], &byte, 1);
  } while (got < 0 && errno == EINTR);
  return got == 0;
}

std::string output_of(const std::vector<std::string>& arguments, std::chrono::milliseconds deadline,
                      std::size_t most) {
  Command command(arguments);
  Pipe output;
  if (!output) return {};
  std::string text;
  text.reserve(4096);
  const pid_t child = ::fork();
  if (child < 0) return {};
  if (child == 0) {
    command.become(output.ends[1]);
    ::_exit(127);
  }
  output.close_end(1);
  const auto end = Clock::now() + deadline;
  bool whole = false;
  while (text.size() < most) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
    pollfd ready{output.ends[0], POLLIN, 0};
    const int polled = ::poll(&ready, 1, static_cast<int>(std::max<long long>(left.count(), 0)));
    if (polled < 0 && errno == EINTR) continue;
    if (polled <= 0) break;
    char block[4096];
    const ssize_t got = ::read(output.ends[0], block, std::min(sizeof(block), most - text.size()));
    if (got < 0 && errno == EINTR) continue;
    whole = got == 0;
    if (got <= 0) break;
    text.append(block, static_cast<std::size_t>(got));
  }
  if (!whole) ::kill(child, SIGKILL);
  const int status = wait_for(child);
  const bool fine = whole ? WIFEXITED(status) && WEXITSTATUS(status) == 0 : text.size() >= most;
  return fine ? text : std::string();
}

}  // namespace tallowbrook::platform
