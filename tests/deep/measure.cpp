// measure FILE PROGRAM ARGUMENT...: runs a program, and writes its peak of memory in KiB and its
// seconds of processor time to a file. A process that Python starts begins with Python's peak.

#include <cstdio>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

int main(int count, char** arguments) {
  if (count < 3) return 2;
  const pid_t child = ::fork();
  if (child == 0) {
    ::execv(arguments[2], arguments + 2);
    ::_exit(127);
  }
  int status = 0;
  rusage used{};
  if (::wait4(child, &status, 0, &used) != child) return 1;
  std::FILE* const file = std::fopen(arguments[1], "w");
  if (file == nullptr) return 1;
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  std::fprintf(file, "%ld %f\n", used.ru_maxrss, seconds(used.ru_utime) + seconds(used.ru_stime));
  std::fclose(file);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128;
}
