// Calls that fail, for a program that this is loaded into by LD_PRELOAD (inject.py tells how it is used).
//
// Faults begin with main(): before, the loader and the runtime set themselves up, and what they do without
// memory is theirs. Two kinds of call are counted apart: allocations, and calls that read, write or make
// something. The counts are kept in a mapped file, so that they can be read whatever way the program ended.
// Programs that it starts are left alone.
//
// VELL_FAULT_COUNTS  file of 16 bytes for the two counts; without it nothing fails
// VELL_FAULT_KIND    allocation or call
// VELL_FAULT_AT      number of the one that fails, from 1; 0 for none
// VELL_FAULT_ON      1: every later one fails as well

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <spawn.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/uio.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>

extern "C" {
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void* __libc_memalign(size_t, size_t);
}

namespace {

enum Kind { allocation, call };

std::atomic<std::uint64_t>* counts = nullptr;
int kind = allocation;
std::uint64_t wanted = 0;
bool onwards = false;

bool fails(int of) {
  if (counts == nullptr) return false;
  std::uint64_t const n = ++counts[of];
  return of == kind && wanted != 0 && (n == wanted || (onwards && n > wanted));
}

template <typename F>
F next(F, char const* name) {
  return reinterpret_cast<F>(dlsym(RTLD_NEXT, name));
}

int (*real_main)(int, char**, char**);
int armed_main(int argc, char** argv, char** environment) {
  char const* const path = getenv("VELL_FAULT_COUNTS");
  if (path == nullptr) return real_main(argc, argv, environment);
  char const* const of = getenv("VELL_FAULT_KIND");
  char const* const at = getenv("VELL_FAULT_AT");
  char const* const on = getenv("VELL_FAULT_ON");
  kind = of != nullptr && strcmp(of, "call") == 0 ? call : allocation;
  wanted = at == nullptr ? 0 : strtoull(at, nullptr, 10);
  onwards = on != nullptr && *on == '1';
  int const fd = open(path, O_RDWR | O_CLOEXEC);
  void* const memory = mmap(nullptr, 16, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  if (fd < 0 || memory == MAP_FAILED) _exit(99);
  close(fd);
  unsetenv("LD_PRELOAD");
  counts = static_cast<std::atomic<std::uint64_t>*>(memory);
  return real_main(argc, argv, environment);
}

}  // namespace

extern "C" {

int __libc_start_main(int (*main)(int, char**, char**), int argc, char** argv, void (*init)(), void (*fini)(),
                      void (*loader)(), void* stack) {
  real_main = main;
  auto const real =
      reinterpret_cast<int (*)(int (*)(int, char**, char**), int, char**, void (*)(), void (*)(), void (*)(),
                               void*)>(dlsym(RTLD_NEXT, "__libc_start_main"));
  return real(armed_main, argc, argv, init, fini, loader, stack);
}

// ---- allocations; operator new is one by malloc ----

static void* none() {
  errno = ENOMEM;
  return nullptr;
}
void* malloc(size_t n) { return fails(allocation) ? none() : __libc_malloc(n); }
void* calloc(size_t n, size_t size) { return fails(allocation) ? none() : __libc_calloc(n, size); }
void* realloc(void* p, size_t n) { return fails(allocation) ? none() : __libc_realloc(p, n); }
void* aligned_alloc(size_t align, size_t n) { return fails(allocation) ? none() : __libc_memalign(align, n); }
int posix_memalign(void** p, size_t align, size_t n) {
  if (fails(allocation)) return ENOMEM;
  *p = __libc_memalign(align, n);
  return *p == nullptr ? ENOMEM : 0;
}
void* mmap(void* at, size_t n, int protection, int flags, int fd, off_t offset) {
  static auto const real = next(&mmap, "mmap");
  if (!fails((flags & MAP_ANONYMOUS) != 0 ? allocation : call))
    return real(at, n, protection, flags, fd, offset);
  errno = ENOMEM;
  return MAP_FAILED;
}

// ---- calls ----

#define VELL_FAULT(result, name, parameters, arguments, error, failed) \
  result name parameters {                                             \
    static auto const real = next(&name, #name);                       \
    if (!fails(call)) return real arguments;                           \
    errno = error;                                                     \
    return failed;                                                     \
  }

VELL_FAULT(ssize_t, write, (int fd, void const* data, size_t n), (fd, data, n), ENOSPC, -1)
VELL_FAULT(ssize_t, writev, (int fd, iovec const* v, int n), (fd, v, n), ENOSPC, -1)
VELL_FAULT(ssize_t, read, (int fd, void* data, size_t n), (fd, data, n), EIO, -1)
VELL_FAULT(ssize_t, pread, (int fd, void* data, size_t n, off_t at), (fd, data, n, at), EIO, -1)
VELL_FAULT(int, rename, (char const* from, char const* to), (from, to), EACCES, -1)
VELL_FAULT(int, mkostemp, (char* name, int flags), (name, flags), EACCES, -1)
VELL_FAULT(char*, mkdtemp, (char* name), (name), EACCES, nullptr)
VELL_FAULT(int, pipe2, (int* ends, int flags), (ends, flags), EMFILE, -1)
VELL_FAULT(int, fsync, (int fd), (fd), EIO, -1)
VELL_FAULT(int, dup, (int fd), (fd), EMFILE, -1)
VELL_FAULT(int, dup2, (int from, int to), (from, to), EIO, -1)
VELL_FAULT(int, memfd_create, (char const* name, unsigned flags), (name, flags), EMFILE, -1)
VELL_FAULT(off_t, lseek, (int fd, off_t at, int whence), (fd, at, whence), EIO, -1)
VELL_FAULT(FILE*, fopen, (char const* path, char const* mode), (path, mode), EMFILE, nullptr)
VELL_FAULT(FILE*, fopen64, (char const* path, char const* mode), (path, mode), EMFILE, nullptr)

// Written to the stream's buffer and lost: the C library's own write() cannot be caught.
VELL_FAULT(int, fflush, (FILE * file), (file), ENOSPC, EOF)
VELL_FAULT(size_t, fwrite, (void const* data, size_t size, size_t n, FILE* file), (data, size, n, file),
           ENOSPC, 0)

int close(int fd) {
  static auto const real = next(&close, "close");
  int const result = real(fd);
  if (!fails(call)) return result;
  errno = EIO;
  return -1;
}
int open(char const* path, int flags, ...) {
  static auto const real = next(&open, "open");
  va_list rest;
  va_start(rest, flags);
  int const mode = (flags & O_CREAT) != 0 ? va_arg(rest, int) : 0;
  va_end(rest);
  if (!fails(call)) return real(path, flags, mode);
  errno = EMFILE;
  return -1;
}
int posix_spawn(pid_t* child, char const* path, posix_spawn_file_actions_t const* actions,
                posix_spawnattr_t const* attributes, char* const* argv, char* const* environment) {
  static auto const real = next(&posix_spawn, "posix_spawn");
  return fails(call) ? EAGAIN : real(child, path, actions, attributes, argv, environment);
}
int pthread_create(pthread_t* thread, pthread_attr_t const* attributes, void* (*run)(void*), void* argument) {
  static auto const real = next(&pthread_create, "pthread_create");
  return fails(call) ? EAGAIN : real(thread, attributes, run, argument);
}

}  // extern "C"
