// SPDX-License-Identifier: MIT
#include "engine/LockDown.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <linux/sockios.h>
#include <seccomp.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <utility>

namespace LARKA {

namespace {

const rlim_t kMostOpenFiles = 1024;

const char* const kRefused[] = {
    // Programs and other processes.
    "execve", "execveat", "ptrace", "process_vm_readv", "process_vm_writev", "pidfd_open",
    "pidfd_getfd", "pidfd_send_signal", "process_madvise", "kcmp", "setns", "unshare",
    // The machine.
    "mount", "umount", "umount2", "move_mount", "open_tree", "fsopen", "fsconfig", "fsmount",
    "mount_setattr", "pivot_root", "chroot", "init_module", "finit_module", "delete_module",
    "kexec_load", "kexec_file_load", "reboot", "swapon", "swapoff", "sethostname", "setdomainname",
    "settimeofday", "clock_settime", "adjtimex", "clock_adjtime", "iopl", "ioperm", "quotactl",
    "acct", "syslog", "mknod", "mknodat", "open_by_handle_at", "name_to_handle_at",
    // What attacks on the kernel begin with.
    "bpf", "perf_event_open", "userfaultfd", "io_uring_setup", "io_uring_enter",
    "io_uring_register", "add_key", "request_key", "keyctl", "personality"};

void complain(const char* what, int error) {
  fprintf(stderr, "larka-engine: %s: %s\n", what, strerror(error));
}

/// Signals, limits and priorities are for this process alone, and its terminal is the host's.
int refuseForOthers(scmp_filter_ctx filter) {
  int error = 0;
  const auto refuse = [&](int call, const auto&... arguments) {
    error |=
        seccomp_rule_add(filter, SCMP_ACT_ERRNO(EPERM), call, sizeof...(arguments), arguments...);
  };
  const auto isNot = [](unsigned argument, pid_t value) {
    return scmp_arg_cmp{argument, SCMP_CMP_NE, static_cast<scmp_datum_t>(value), 0};
  };
  // The kernel looks at the lower half of a command alone.
  const auto isCommand = [](unsigned value) {
    return scmp_arg_cmp{1, SCMP_CMP_MASKED_EQ, 0xffffffff, value};
  };
  for (const int call :
       {SCMP_SYS(kill), SCMP_SYS(tgkill), SCMP_SYS(rt_sigqueueinfo), SCMP_SYS(rt_tgsigqueueinfo)})
    refuse(call, isNot(0, getpid()));
  refuse(SCMP_SYS(tkill));
  for (const unsigned command : {F_SETOWN, F_SETOWN_EX, F_SETSIG})
    for (const int call : {SCMP_SYS(fcntl), SCMP_SYS(fcntl64)}) refuse(call, isCommand(command));
  for (const unsigned command : {TIOCSTI, TIOCLINUX, FIOSETOWN, SIOCSPGRP})
    refuse(SCMP_SYS(ioctl), isCommand(command));
  for (const int call :
       {SCMP_SYS(prlimit64), SCMP_SYS(sched_setscheduler), SCMP_SYS(sched_setparam),
        SCMP_SYS(sched_setattr), SCMP_SYS(sched_setaffinity), SCMP_SYS(setpriority)})
    refuse(call, isNot(0, 0));
  refuse(SCMP_SYS(setpriority), isNot(1, 0));
  refuse(SCMP_SYS(ioprio_set));
  return error;
}

/// What Landlock of this version calls writing.
__u64 writing(long version) {
  __u64 rights = LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_REMOVE_DIR |
                 LANDLOCK_ACCESS_FS_REMOVE_FILE | LANDLOCK_ACCESS_FS_MAKE_CHAR |
                 LANDLOCK_ACCESS_FS_MAKE_DIR | LANDLOCK_ACCESS_FS_MAKE_REG |
                 LANDLOCK_ACCESS_FS_MAKE_SOCK | LANDLOCK_ACCESS_FS_MAKE_FIFO |
                 LANDLOCK_ACCESS_FS_MAKE_BLOCK | LANDLOCK_ACCESS_FS_MAKE_SYM;
  const __u64 kRefer = 1 << 13, kTruncate = 1 << 14;  // not in the headers of older kernels
  if (version >= 2) rights |= kRefer;
  if (version >= 3) rights |= kTruncate;
  return rights;
}

void allowWriting(int rules, const std::string& path, __u64 rights) {
  landlock_path_beneath_attr rule = {};
  rule.parent_fd = open(path.c_str(), O_PATH | O_CLOEXEC);
  if (rule.parent_fd < 0) return;
  rule.allowed_access = rights;
  syscall(SYS_landlock_add_rule, rules, LANDLOCK_RULE_PATH_BENEATH, &rule, 0);
  close(rule.parent_fd);
}

}  // namespace

void refuseSystemCalls() {
  prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
  rlimit files = {};
  getrlimit(RLIMIT_NOFILE, &files);
  files.rlim_cur = files.rlim_max = std::min(files.rlim_max, kMostOpenFiles);
  setrlimit(RLIMIT_NOFILE, &files);
  const scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ALLOW);
  int error = filter ? refuseForOthers(filter) : -ENOMEM;
  for (const char* name : kRefused) {
    const int call = seccomp_syscall_resolve_name(name);
    // One that this processor doesn't have can't be refused, and needn't.
    if (filter && call != __NR_SCMP_ERROR) seccomp_rule_add(filter, SCMP_ACT_ERRNO(EPERM), call, 0);
  }
  if (error == 0) error = seccomp_load(filter);
  if (filter) seccomp_release(filter);
  if (error != 0) complain("system calls are not filtered", -error);
}

void limitWriting(const std::set<std::string>& directories) {
  const long version =
      syscall(SYS_landlock_create_ruleset, nullptr, size_t(0), LANDLOCK_CREATE_RULESET_VERSION);
  landlock_ruleset_attr attributes = {};
  attributes.handled_access_fs = writing(version);
  const long rules =
      version < 1 ? -1 : syscall(SYS_landlock_create_ruleset, &attributes, sizeof attributes, 0);
  if (rules < 0) return complain("writing is not limited", errno);
  for (const std::string& directory : directories) {
    QDir().mkpath(QFile::decodeName(directory.c_str()));
    allowWriting(static_cast<int>(rules), directory, attributes.handled_access_fs);
  }
  allowWriting(static_cast<int>(rules), "/dev/null", LANDLOCK_ACCESS_FS_WRITE_FILE);
  if (syscall(SYS_landlock_restrict_self, rules, 0) != 0) complain("writing is not limited", errno);
  close(static_cast<int>(rules));
}

// JavaScriptCore reserves a gigabyte for its code, which counts although it isn't used.
void limitMemory(long long bytes) {
  std::ifstream status("/proc/self/status");
  long long kilobytes = 0;
  for (std::string word; status >> word;)
    if (word == "VmData:") status >> kilobytes;
  rlimit limit = {};
  getrlimit(RLIMIT_DATA, &limit);
  limit.rlim_cur = bytes <= 0 ? limit.rlim_max : static_cast<rlim_t>(kilobytes * 1024 + bytes);
  if (setrlimit(RLIMIT_DATA, &limit) != 0) complain("memory is not limited", errno);
}

}  // namespace LARKA
