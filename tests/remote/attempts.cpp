// Loaded into larka-engine by the test of its lock-down. When the first image is made, after the
// first load, it tries what a page that has taken the process over would try, in the thread that
// runs pages, and writes down how each attempt ended. Names of those that only Landlock refuses
// begin with it.
#include <dlfcn.h>
#include <fcntl.h>
#include <sched.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <utility>

extern char** environ;

namespace {

/// Makes the attempts, with a name each, on the host's process and in a directory of the host's
/// that pages may not write into. The result of each is -1 with an errno, or it has succeeded.
void attempt(const std::string& directory, std::ofstream& results) {
  const pid_t host = getppid();
  const std::string process = "/proc/" + std::to_string(host), file = directory + "/file";
  const auto report = [&](const char* name, long result) {
    results << name << ": " << (result < 0 ? strerror(errno) : "succeeded") << std::endl;
  };
  const auto opens = [](const std::string& path, int flags) {
    return open(path.c_str(), flags | O_CLOEXEC, 0600);
  };
  char there[8], here[8];
  iovec local = {here, sizeof here}, remote = {there, sizeof there};
  int ends[2] = {};
  socketpair(AF_UNIX, SOCK_STREAM, 0, ends);
  siginfo_t signal = {};
  signal.si_code = SI_QUEUE;
  const rlimit limit = {1, 1};
  const sched_param priority = {};
  cpu_set_t processors;
  sched_getaffinity(0, sizeof processors, &processors);

  char program[] = "/bin/true";
  char* words[] = {program, nullptr};
  pid_t started = 0;
  errno = posix_spawn(&started, program, nullptr, nullptr, words, environ);
  report("run a program", errno ? -1 : 0);
  report("become a program", syscall(SYS_execveat, -1, "", words, environ, 0));

  report("Landlock: write a file", opens(file, O_WRONLY));
  report("Landlock: make a file", opens(directory + "/new", O_WRONLY | O_CREAT));
  report("Landlock: make a directory", mkdir((directory + "/folder").c_str(), 0700));
  report("Landlock: make a link", symlink("/etc", (directory + "/link").c_str()));
  report("Landlock: rename a file", rename(file.c_str(), (directory + "/renamed").c_str()));
  report("Landlock: remove a file", unlink(file.c_str()));
  report("Landlock: write a process", opens(process + "/oom_score_adj", O_WRONLY));
  report("Landlock: open the host's memory", opens(process + "/mem", O_RDONLY));

  report("read the host's memory", process_vm_readv(host, &local, 1, &remote, 1, 0));
  report("write the host's memory", process_vm_writev(host, &local, 1, &remote, 1, 0));
  report("trace the host", ptrace(PTRACE_SEIZE, host, 0, 0));
  report("get the host's files", syscall(SYS_pidfd_open, host, 0));
  report("mount", mount("none", directory.c_str(), "tmpfs", 0, nullptr));
  report("leave the namespace", syscall(SYS_unshare, 0));
  report("load a module", syscall(SYS_init_module, nullptr, 0, ""));

  report("signal the host", kill(host, 0));
  report("signal all", kill(0, 0));
  report("signal a thread", syscall(SYS_tgkill, host, host, 0));
  report("signal any thread", syscall(SYS_tkill, host, 0));
  report("queue a signal", syscall(SYS_rt_sigqueueinfo, host, 0, &signal));
  report("queue a thread's signal", syscall(SYS_rt_tgsigqueueinfo, host, host, 0, &signal));
  report("have the host signalled", fcntl(ends[0], F_SETOWN, host));
  report("choose the signal", fcntl(ends[0], F_SETSIG, SIGKILL));
  report("limit the host", prlimit(host, RLIMIT_CORE, &limit, nullptr));
  report("slow the host", setpriority(PRIO_PROCESS, static_cast<id_t>(host), 0));
  report("schedule the host", sched_setscheduler(host, SCHED_OTHER, &priority));
  report("bind the host", sched_setaffinity(host, sizeof processors, &processors));
  report("type for the viewer", ioctl(0, TIOCSTI, ""));
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int memfd_create(const char* name,
                                                                   unsigned flags) noexcept {
  static bool tried = false;
  const char *directory = getenv("LARKA_TEST_OUTSIDE"), *results = getenv("LARKA_TEST_RESULTS");
  if (directory && results && strcmp(name, "larka-image") == 0 && !std::exchange(tried, true)) {
    std::ofstream written(results);
    attempt(directory, written);
    written << "end" << std::endl;
  }
  return static_cast<int>(syscall(SYS_memfd_create, name, flags));
}
