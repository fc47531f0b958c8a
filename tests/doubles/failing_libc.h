#pragma once

#include <filesystem>
#include <string>

/**
 * The C library's calls that the application makes, each of which a test can make fail; linked with the linker's
 * --wrap. Named: open, mkstemp, ftruncate, posix_fallocate, unlink, mmap, munmap, lseek, malloc, sysinfo,
 * pthread_create, pthread_join, pthread_mutex_init, pthread_cond_init, pthread_cond_wait.
 */
namespace failing_libc {

/** Lets the call after `after` more good ones fail with this error number, once. */
void fail(const std::string& function, int error_number, int after = 0);

/** How often it has been called since `reset`. */
int calls(const std::string& function);

/** Nothing fails any more, opens go where they say, counts begin anew. */
void reset();

/** Opens of the camera's package folder go here instead; an empty path ends it. */
void redirect_packages(const std::filesystem::path& folder);

} // namespace failing_libc
