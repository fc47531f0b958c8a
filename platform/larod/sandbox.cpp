#include "platform/larod/sandbox.h"

#include "platform/common/report.h"

#include <seccomp.h>
#include <sys/resource.h>

#include <algorithm>
#include <cerrno>
#include <span>

namespace korvex::larod {
namespace {

constexpr int for_both[] = {
    // files
    SCMP_SYS(read), SCMP_SYS(write), SCMP_SYS(pread64), SCMP_SYS(pwrite64), SCMP_SYS(lseek), SCMP_SYS(close),
    SCMP_SYS(close_range), SCMP_SYS(dup2), SCMP_SYS(dup3), SCMP_SYS(fstat), SCMP_SYS(newfstatat), SCMP_SYS(fcntl),
    // messages
    SCMP_SYS(recvmsg), SCMP_SYS(sendmsg), SCMP_SYS(poll), SCMP_SYS(ppoll),
    // memory
    SCMP_SYS(mmap), SCMP_SYS(munmap), SCMP_SYS(mremap), SCMP_SYS(mprotect), SCMP_SYS(madvise), SCMP_SYS(brk),
    // threads
    SCMP_SYS(futex), SCMP_SYS(clone), SCMP_SYS(clone3), SCMP_SYS(set_robust_list), SCMP_SYS(rseq),
    SCMP_SYS(set_tid_address), SCMP_SYS(gettid), SCMP_SYS(getpid), SCMP_SYS(tgkill), SCMP_SYS(sched_yield),
    SCMP_SYS(membarrier),
    // signals and ends
    SCMP_SYS(rt_sigaction), SCMP_SYS(rt_sigprocmask), SCMP_SYS(rt_sigreturn), SCMP_SYS(sigaltstack),
    SCMP_SYS(restart_syscall), SCMP_SYS(exit), SCMP_SYS(exit_group),
    // what libraries ask
    SCMP_SYS(getrandom), SCMP_SYS(clock_gettime), SCMP_SYS(clock_nanosleep), SCMP_SYS(nanosleep),
    SCMP_SYS(sched_getaffinity), SCMP_SYS(getrusage), SCMP_SYS(prlimit64), SCMP_SYS(prctl), SCMP_SYS(seccomp)};

/** To take clients in, to start workers and to end them, and to take its own socket away at the end. */
constexpr int for_the_service[] = {SCMP_SYS(accept4), SCMP_SYS(socketpair), SCMP_SYS(kill),     SCMP_SYS(wait4),
                                   SCMP_SYS(waitid),  SCMP_SYS(unlink),     SCMP_SYS(unlinkat), SCMP_SYS(getsockopt)};

bool allow(scmp_filter_ctx filter, std::span<const int> calls) {
    // A call that this architecture has not is none to allow.
    return std::ranges::all_of(
        calls, [&](int call) { return call < 0 || seccomp_rule_add(filter, SCMP_ACT_ALLOW, call, 0) == 0; });
}

} // namespace

void give_up_rights(Role role) {
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none); // a model that ends its worker would leave pictures on the disk
    scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ERRNO(EPERM));
    const bool done = filter != nullptr && allow(filter, for_both) &&
                      (role == Role::worker || allow(filter, for_the_service)) && seccomp_load(filter) == 0;
    if (filter != nullptr)
        seccomp_release(filter);
    if (!done && role == Role::service)
        platform::report("korvex_larod",
                         "this system has no filter of system calls; models run with all rights of the user.");
}

} // namespace korvex::larod
