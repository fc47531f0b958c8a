#include "tests/doubles/failing_libc.h"

#include <pthread.h>
#include <sys/mman.h>
#include <sys/sysinfo.h>
#include <sys/types.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstring>

extern "C" {
int __real_open(const char*, int, ...);
int __real_mkstemp(char*);
int __real_ftruncate(int, off_t);
int __real_posix_fallocate(int, off_t, off_t);
int __real_unlink(const char*);
void* __real_mmap(void*, size_t, int, int, int, off_t);
int __real_munmap(void*, size_t);
off_t __real_lseek(int, off_t, int);
void* __real_malloc(size_t);
int __real_sysinfo(struct sysinfo*);
int __real_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
int __real_pthread_join(pthread_t, void**);
int __real_pthread_mutex_init(pthread_mutex_t*, const pthread_mutexattr_t*);
int __real_pthread_cond_init(pthread_cond_t*, const pthread_condattr_t*);
int __real_pthread_cond_wait(pthread_cond_t*, pthread_mutex_t*);
}

namespace {

constexpr const char* kPackages = "/mnt/flash/usr/local/packages/";

/** Plain words: malloc is among the callers. */
struct function_state {
    const char* name;
    std::atomic<int> error_number{0};
    std::atomic<int> after{0};
    std::atomic<int> calls{0};
};

std::array<function_state, 15> g_functions = {{{"open"},
                                               {"mkstemp"},
                                               {"ftruncate"},
                                               {"posix_fallocate"},
                                               {"unlink"},
                                               {"mmap"},
                                               {"munmap"},
                                               {"lseek"},
                                               {"malloc"},
                                               {"sysinfo"},
                                               {"pthread_create"},
                                               {"pthread_join"},
                                               {"pthread_mutex_init"},
                                               {"pthread_cond_init"},
                                               {"pthread_cond_wait"}}};

function_state& state_of(const char* name) {
    for (function_state& each : g_functions)
        if (std::strcmp(each.name, name) == 0)
            return each;
    std::abort();
}

/** The error number when this call is to fail, else 0. */
int refusal(const char* name) {
    function_state& state = state_of(name);
    ++state.calls;
    if (state.error_number == 0 || state.after-- > 0)
        return 0;
    return state.error_number.exchange(0);
}

/** True, with errno set, when this call is to fail. */
bool refuses(const char* name) {
    const int error_number = refusal(name);
    if (error_number != 0)
        errno = error_number;
    return error_number != 0;
}

std::string& packages() {
    static auto& folder = *new std::string;
    return folder;
}

} // namespace

void failing_libc::fail(const std::string& function, int error_number, int after) {
    state_of(function.c_str()).after = after;
    state_of(function.c_str()).error_number = error_number;
}

int failing_libc::calls(const std::string& function) {
    return state_of(function.c_str()).calls;
}

void failing_libc::reset() {
    for (function_state& each : g_functions) {
        each.error_number = 0;
        each.calls = 0;
    }
    packages().clear();
}

void failing_libc::redirect_packages(const std::filesystem::path& folder) {
    packages() = folder.string();
}

extern "C" {

int __wrap_open(const char* path, int flags, ...) {
    if (refuses("open"))
        return -1;
    va_list more;
    va_start(more, flags);
    const mode_t mode = va_arg(more, mode_t);
    va_end(more);
    std::string target = path;
    if (!packages().empty() && target.starts_with(kPackages))
        target = packages() + "/" + target.substr(std::strlen(kPackages));
    return __real_open(target.c_str(), flags, mode);
}

int __wrap_mkstemp(char* name) {
    return refuses("mkstemp") ? -1 : __real_mkstemp(name);
}

int __wrap_ftruncate(int fd, off_t size) {
    return refuses("ftruncate") ? -1 : __real_ftruncate(fd, size);
}

int __wrap_posix_fallocate(int fd, off_t begin, off_t size) {
    const int error = refusal("posix_fallocate");
    return error != 0 ? error : __real_posix_fallocate(fd, begin, size);
}

int __wrap_unlink(const char* name) {
    return refuses("unlink") ? -1 : __real_unlink(name);
}

void* __wrap_mmap(void* address, size_t size, int protection, int flags, int fd, off_t offset) {
    return refuses("mmap") ? MAP_FAILED : __real_mmap(address, size, protection, flags, fd, offset);
}

int __wrap_munmap(void* address, size_t size) {
    if (!refuses("munmap"))
        return __real_munmap(address, size);
    const int error_number = errno;
    __real_munmap(address, size); // a failure is claimed, memory is not lost
    errno = error_number;
    return -1;
}

off_t __wrap_lseek(int fd, off_t offset, int whence) {
    return refuses("lseek") ? -1 : __real_lseek(fd, offset, whence);
}

void* __wrap_malloc(size_t size) {
    return refuses("malloc") ? nullptr : __real_malloc(size);
}

int __wrap_sysinfo(struct sysinfo* info) {
    return refuses("sysinfo") ? -1 : __real_sysinfo(info);
}

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*), void* data) {
    const int error = refusal("pthread_create");
    return error != 0 ? error : __real_pthread_create(thread, attributes, start, data);
}

int __wrap_pthread_join(pthread_t thread, void** result) {
    const int error = refusal("pthread_join");
    return error != 0 ? error : __real_pthread_join(thread, result);
}

int __wrap_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes) {
    const int error = refusal("pthread_mutex_init");
    return error != 0 ? error : __real_pthread_mutex_init(mutex, attributes);
}

int __wrap_pthread_cond_init(pthread_cond_t* condition, const pthread_condattr_t* attributes) {
    const int error = refusal("pthread_cond_init");
    return error != 0 ? error : __real_pthread_cond_init(condition, attributes);
}

int __wrap_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
    const int error = refusal("pthread_cond_wait");
    return error != 0 ? error : __real_pthread_cond_wait(condition, mutex);
}
}
