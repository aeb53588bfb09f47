// SPDX-License-Identifier: GPL-2.0-or-later
#include "Sandbox.h"

#include <csignal>
#include <set>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <fontconfig/fontconfig.h>
#include <linux/landlock.h>
#include <seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "base/UniqueFd.h"
#include "platform/linux/pdf/PdfProtocol.h"

namespace lanternfly {

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool isInstrumented = true;
#else
constexpr bool isInstrumented = false;
#endif

// What fontconfig was told by the system's configuration; the environment is empty, so no folder of
// the user's is among them.
std::set<std::string> readableFolders() {
    std::set<std::string> folders{"/usr/share/poppler"};
    FcInit();
    FcConfig* config = FcConfigGetCurrent();
    // Otherwise it looks for changed folders every 30 s.
    FcConfigSetRescanInterval(config, 0);
    for (FcStrList* list : {FcConfigGetFontDirs(config), FcConfigGetCacheDirs(config)}) {
        if (!list) continue;
        while (const FcChar8* folder = FcStrListNext(list))
            folders.emplace(reinterpret_cast<const char*>(folder));
        FcStrListDone(list);
    }
    return folders;
}

bool limit(__rlimit_resource resource, rlim_t value) {
    const rlimit both{value, value};
    return setrlimit(resource, &both) == 0;
}

bool applyLimits() {
    constexpr rlim_t gib = rlim_t{1} << 30;
    bool holds = limit(RLIMIT_CPU, 300) && limit(RLIMIT_FSIZE, 0) && limit(RLIMIT_NPROC, 0) &&
                 limit(RLIMIT_NOFILE, 64) && limit(RLIMIT_CORE, 0);
    // An address sanitizer reserves terabytes for its shadow.
    if (!isInstrumented) holds = limit(RLIMIT_AS, gib) && holds;
    return holds;
}

bool filterFiles(const std::set<std::string>& folders) {
    const long version =
        syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    if (version < 1) return false;
    landlock_ruleset_attr handled{};
    handled.handled_access_fs = (LANDLOCK_ACCESS_FS_MAKE_SYM << 1) - 1; // all of version 1
    if (version >= 2) handled.handled_access_fs |= LANDLOCK_ACCESS_FS_REFER;
    UniqueFd rules(
        static_cast<int>(syscall(SYS_landlock_create_ruleset, &handled, sizeof handled, 0)));
    if (!rules) return false;
    for (const auto& folder : folders) {
        const UniqueFd opened(::open(folder.c_str(), O_PATH | O_CLOEXEC));
        if (!opened) continue;
        landlock_path_beneath_attr beneath{};
        beneath.allowed_access = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
        beneath.parent_fd = opened.get();
        if (syscall(SYS_landlock_add_rule, rules.get(), LANDLOCK_RULE_PATH_BENEATH, &beneath, 0) !=
            0)
            return false;
    }
    return syscall(SYS_landlock_restrict_self, rules.get(), 0) == 0;
}

// What poppler, cairo, FreeType, fontconfig and the C library use to draw, found with strace over
// every deck and broken file of the tests.
constexpr int plainCalls[] = {
    SCMP_SYS(read),          SCMP_SYS(pread64),      SCMP_SYS(readv),
    SCMP_SYS(write),         SCMP_SYS(writev),       SCMP_SYS(lseek),
    SCMP_SYS(close),         SCMP_SYS(fstat),        SCMP_SYS(newfstatat),
    SCMP_SYS(stat),          SCMP_SYS(lstat),        SCMP_SYS(statx),
    SCMP_SYS(fstatfs),       SCMP_SYS(statfs),       SCMP_SYS(access),
    SCMP_SYS(faccessat),     SCMP_SYS(faccessat2),   SCMP_SYS(readlink),
    SCMP_SYS(readlinkat),    SCMP_SYS(getcwd),       SCMP_SYS(getdents64),
    SCMP_SYS(fcntl),         SCMP_SYS(fadvise64),    SCMP_SYS(munmap),
    SCMP_SYS(mremap),        SCMP_SYS(madvise),      SCMP_SYS(brk),
    SCMP_SYS(futex),         SCMP_SYS(sched_yield),  SCMP_SYS(sched_getaffinity),
    SCMP_SYS(clock_gettime), SCMP_SYS(clock_getres), SCMP_SYS(clock_nanosleep),
    SCMP_SYS(nanosleep),     SCMP_SYS(gettimeofday), SCMP_SYS(time),
    SCMP_SYS(getrandom),     SCMP_SYS(uname),        SCMP_SYS(sysinfo),
    SCMP_SYS(getpid),        SCMP_SYS(gettid),       SCMP_SYS(getuid),
    SCMP_SYS(geteuid),       SCMP_SYS(getgid),       SCMP_SYS(getegid),
    SCMP_SYS(getrusage),     SCMP_SYS(rt_sigaction), SCMP_SYS(rt_sigprocmask),
    SCMP_SYS(rt_sigreturn),  SCMP_SYS(sigaltstack),  SCMP_SYS(restart_syscall),
    SCMP_SYS(recvmsg),       SCMP_SYS(sendto),       SCMP_SYS(exit),
    SCMP_SYS(exit_group),
};

bool filterCalls() {
    const scmp_filter_ctx filter = seccomp_init(SCMP_ACT_KILL_PROCESS);
    if (!filter) return false;
    bool isBuilt = true;
    const auto allow = [&](int call, std::initializer_list<scmp_arg_cmp> conditions) {
        isBuilt = seccomp_rule_add_array(filter, SCMP_ACT_ALLOW, call,
                                         static_cast<unsigned>(conditions.size()),
                                         conditions.begin()) == 0 &&
                  isBuilt;
    };
    for (const int call : plainCalls)
        allow(call, {});
    // Only for reading: no access mode but O_RDONLY, nothing made or cut.
    constexpr auto changing = O_ACCMODE | O_CREAT | O_TRUNC | (O_TMPFILE & ~O_DIRECTORY);
    allow(SCMP_SYS(openat), {SCMP_A2_64(SCMP_CMP_MASKED_EQ, changing, 0)});
    allow(SCMP_SYS(open), {SCMP_A1_64(SCMP_CMP_MASKED_EQ, changing, 0)});
    // Memory is data, never code.
    allow(SCMP_SYS(mmap), {SCMP_A2_64(SCMP_CMP_MASKED_EQ, PROT_EXEC, 0)});
    allow(SCMP_SYS(mprotect), {SCMP_A2_64(SCMP_CMP_MASKED_EQ, PROT_EXEC, 0)});
    // abort() signals its own thread; nobody else can be.
    allow(SCMP_SYS(tgkill), {SCMP_A0_64(SCMP_CMP_EQ, static_cast<scmp_datum_t>(getpid()))});
    const bool holds = isBuilt && seccomp_load(filter) == 0;
    seccomp_release(filter);
    return holds;
}

} // namespace

uint32_t enterSandbox() {
    close_range(pdfwire::channelDescriptor + 1, ~0U, 0);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    prctl(PR_SET_DUMPABLE, 0);
    const bool isUnprivileged = prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0;
    const auto folders = readableFolders();

    uint32_t protections = 0;
    if (applyLimits()) protections |= pdfwire::limitsHold;
    if (isUnprivileged && filterFiles(folders)) protections |= pdfwire::filesHold;
    if (isUnprivileged && filterCalls()) protections |= pdfwire::callsHold;
    return protections;
}

} // namespace lanternfly
