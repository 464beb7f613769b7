// Lets one system call or allocation of a program fail, or kills the program there. To be loaded with
// LD_PRELOAD; tests/faults/sweep drives it. Environment:
//
//   FAULT_ROOT   calls count if they name a path below this folder, or a file that was opened by such a path
//   FAULT_KIND   "files" (calls on files), "reads" (those that read), or "memory" (allocations since main()
//   began) FAULT_AT     number of the call that fails, from 1; 0 only counts FAULT_FROM   "1": every later
//   call fails too FAULT_ERRNO  number of the error; 0 kills the process instead, in front of the call
//   FAULT_LOG    file for one line at the end of the process: the number of calls, and the name of the one
//   that failed
//
// A call is failed before it has any effect, but for close(): there the file is closed, as Linux does it.

#define _GNU_SOURCE
#include <dirent.h>
#include <dlfcn.h>
#include <errno.h>
#include <execinfo.h>
#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <stdarg.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

enum { kFiles = 1, kReads, kMemory };
enum { kMostFiles = 4096, kMostBytes = 4096 };

static int gKind, gFrom, gErrno;
static long gAt;
static char gRoot[kMostBytes], gLog[kMostBytes];
static _Atomic long gCalls;
static const char* _Atomic gFailed;
static atomic_char gInside[kMostFiles];  // of each open file: whether it is below the root

#define REAL(type, name, ...)       \
  static type (*real)(__VA_ARGS__); \
  if (real == NULL) real = (type(*)(__VA_ARGS__))dlsym(RTLD_NEXT, #name)

static void WriteLog(void) {
  char line[256];
  const char* const failed = gFailed;
  const int bytes = snprintf(line, sizeof line, "%ld %s\n", gCalls, failed == NULL ? "none" : failed);
  const int log = (int)syscall(SYS_openat, AT_FDCWD, gLog, O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (log >= 0) syscall(SYS_write, log, line, bytes);
  if (log >= 0) syscall(SYS_close, log);
}

// Says on standard error where the program was when it crashed, innermost call first.
static void TellCrash(int signal) {
  void* calls[16];
  const char head[] = "crash:\n";
  syscall(SYS_write, 2, head, sizeof head - 1);
  backtrace_symbols_fd(calls, backtrace(calls, 16), 2);
  kill(getpid(), signal);
}

__attribute__((constructor)) static void WatchCrashes(void) {
  void* call;
  backtrace(&call, 1);  // loads what it needs while there is memory
  struct sigaction action = {.sa_handler = TellCrash, .sa_flags = (int)SA_RESETHAND};
  sigaction(SIGSEGV, &action, NULL);
}

// Counts a call. Whether it is to fail, with errno set.
static int Fails(const char* name) {
  const long call = ++gCalls;
  if (gAt == 0 || call < gAt || (call > gAt && !gFrom)) return 0;
  if (call == gAt) {
    gFailed = name;
    if (gErrno == 0) {
      WriteLog();
      kill(getpid(), SIGKILL);
    }
  }
  errno = gErrno;
  return 1;
}

// --- memory: glibc has its own functions under second names ----------------------------------------------

void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void* __libc_memalign(size_t, size_t);

static int LacksMemory(const char* name) {
  return gKind == kMemory && Fails(name);
}

void* malloc(size_t bytes) {
  return LacksMemory("malloc") ? NULL : __libc_malloc(bytes);
}
void* calloc(size_t count, size_t bytes) {
  return LacksMemory("calloc") ? NULL : __libc_calloc(count, bytes);
}
void* realloc(void* old, size_t bytes) {
  return LacksMemory("realloc") ? NULL : __libc_realloc(old, bytes);
}
void* aligned_alloc(size_t to, size_t bytes) {
  return LacksMemory("aligned_alloc") ? NULL : __libc_memalign(to, bytes);
}
int posix_memalign(void** out, size_t to, size_t bytes) {
  if (LacksMemory("posix_memalign")) return ENOMEM;
  *out = __libc_memalign(to, bytes);
  return *out == NULL ? ENOMEM : 0;
}

// --- which calls count -----------------------------------------------------------------------------------

// Whether a path, taken from the open folder `at`, is below the root. Links are followed only where the
// program itself uses them: in /proc/self/fd.
static int IsInside(int at, const char* path) {
  char whole[2 * kMostBytes] = "", link[64];
  if (gKind == 0 || gKind == kMemory || path == NULL) return 0;
  int file = at, skip = 0;
  if (sscanf(path, "/proc/self/fd/%d%n", &file, &skip) == 1) {
    path += skip;
  } else if (path[0] == '/') {
    return strncmp(path, gRoot, strlen(gRoot)) == 0;
  }
  snprintf(link, sizeof link, file == AT_FDCWD ? "/proc/self/cwd" : "/proc/self/fd/%d", file);
  const ssize_t bytes = syscall(SYS_readlinkat, AT_FDCWD, link, whole, kMostBytes);
  return bytes > 0 && strncmp(whole, gRoot, strlen(gRoot)) == 0;
}

static int FailsAt(const char* name, int at, const char* path) {
  return gKind == kFiles && IsInside(at, path) && Fails(name);
}
static int FailsOn(const char* name, int file, int kind) {
  const int isCounted = gKind == kFiles || (gKind == kReads && kind == kReads);
  return isCounted && file >= 0 && file < kMostFiles && gInside[file] && Fails(name);
}

static int Opened(int file, int isInside) {
  if (file >= 0 && file < kMostFiles) gInside[file] = (char)isInside;
  return file;
}

// --- files -----------------------------------------------------------------------------------------------

#define OPEN_AT(name, at, path, flags)      \
  va_list list;                             \
  va_start(list, flags);                    \
  const mode_t mode = va_arg(list, mode_t); \
  va_end(list);                             \
  if (FailsAt(name, at, path)) return -1;   \
  return Opened((int)syscall(SYS_openat, at, path, flags, mode), IsInside(at, path))

int open(const char* path, int flags, ...) {
  OPEN_AT("open", AT_FDCWD, path, flags);
}
int open64(const char* path, int flags, ...) {
  OPEN_AT("open", AT_FDCWD, path, flags);
}
int openat(int at, const char* path, int flags, ...) {
  OPEN_AT("openat", at, path, flags);
}
int openat64(int at, const char* path, int flags, ...) {
  OPEN_AT("openat", at, path, flags);
}

#define OPEN_STREAM(name)                                                 \
  FILE* name(const char* path, const char* mode) {                        \
    REAL(FILE*, name, const char*, const char*);                          \
    if (FailsAt(#name, AT_FDCWD, path)) return NULL;                      \
    FILE* const stream = real(path, mode);                                \
    if (stream != NULL) Opened(fileno(stream), IsInside(AT_FDCWD, path)); \
    return stream;                                                        \
  }
OPEN_STREAM(fopen)
OPEN_STREAM(fopen64)

size_t fread(void* to, size_t bytes, size_t count, FILE* stream) {
  REAL(size_t, fread, void*, size_t, size_t, FILE*);
  if (!FailsOn("fread", fileno(stream), kReads)) return real(to, bytes, count, stream);
  stream->_flags |= 0x20;  // glibc's _IO_ERR_SEEN, what ferror() asks for
  return 0;
}

DIR* opendir(const char* path) {
  REAL(DIR*, opendir, const char*);
  return FailsAt("opendir", AT_FDCWD, path) ? NULL : real(path);
}

int close(int file) {
  const int fails = FailsOn("close", file, kFiles);
  const int reason = errno;
  Opened(file, 0);
  const int result = (int)syscall(SYS_close, file);
  if (!fails) return result;
  errno = reason;
  return -1;
}

// A call on an open file, or one that names paths: its kind, result, name, parameters, and arguments.
#define ON_FILE(kind, type, name, parameters, ...)                        \
  type name parameters {                                                  \
    static type(*real) parameters;                                        \
    if (real == NULL) real = (type(*) parameters)dlsym(RTLD_NEXT, #name); \
    return FailsOn(#name, file, kind) ? -1 : real(__VA_ARGS__);           \
  }
#define ON_PATH(name, at, parameters, ...)                               \
  int name parameters {                                                  \
    static int(*real) parameters;                                        \
    if (real == NULL) real = (int(*) parameters)dlsym(RTLD_NEXT, #name); \
    return FailsAt(#name, at, path) ? -1 : real(__VA_ARGS__);            \
  }

ON_FILE(kReads, ssize_t, read, (int file, void* to, size_t bytes), file, to, bytes)
ON_FILE(kReads, ssize_t, pread, (int file, void* to, size_t bytes, off_t from), file, to, bytes, from)
ON_FILE(kReads, ssize_t, pread64, (int file, void* to, size_t bytes, off64_t from), file, to, bytes, from)
ON_FILE(kReads, ssize_t, readv, (int file, const struct iovec* to, int count), file, to, count)
ON_FILE(kFiles, ssize_t, write, (int file, const void* from, size_t bytes), file, from, bytes)
ON_FILE(kFiles, ssize_t, pwrite, (int file, const void* from, size_t bytes, off_t to), file, from, bytes, to)
ON_FILE(kFiles, ssize_t, pwrite64, (int file, const void* from, size_t bytes, off64_t to), file, from, bytes,
        to)
ON_FILE(kFiles, ssize_t, writev, (int file, const struct iovec* from, int count), file, from, count)
ON_FILE(kFiles, int, fsync, (int file), file)
ON_FILE(kFiles, int, fdatasync, (int file), file)
ON_FILE(kFiles, int, ftruncate, (int file, off_t bytes), file, bytes)
ON_FILE(kFiles, int, ftruncate64, (int file, off64_t bytes), file, bytes)
ON_FILE(kFiles, int, posix_fallocate, (int file, off_t from, off_t bytes), file, from, bytes)
ON_FILE(kFiles, off_t, lseek, (int file, off_t to, int whence), file, to, whence)
ON_FILE(kFiles, off64_t, lseek64, (int file, off64_t to, int whence), file, to, whence)
ON_FILE(kFiles, int, fstat, (int file, struct stat* out), file, out)
ON_FILE(kFiles, int, fstat64, (int file, struct stat64* out), file, out)
ON_FILE(kFiles, int, fchmod, (int file, mode_t mode), file, mode)
ON_FILE(kFiles, int, flock, (int file, int operation), file, operation)

ON_PATH(stat, AT_FDCWD, (const char* path, struct stat* out), path, out)
ON_PATH(stat64, AT_FDCWD, (const char* path, struct stat64* out), path, out)
ON_PATH(lstat, AT_FDCWD, (const char* path, struct stat* out), path, out)
ON_PATH(lstat64, AT_FDCWD, (const char* path, struct stat64* out), path, out)
ON_PATH(fstatat, at, (int at, const char* path, struct stat* out, int flags), at, path, out, flags)
ON_PATH(fstatat64, at, (int at, const char* path, struct stat64* out, int flags), at, path, out, flags)
ON_PATH(statx, at, (int at, const char* path, int flags, unsigned mask, struct statx* out), at, path, flags,
        mask, out)
ON_PATH(access, AT_FDCWD, (const char* path, int mode), path, mode)
ON_PATH(faccessat, at, (int at, const char* path, int mode, int flags), at, path, mode, flags)
ON_PATH(mkdir, AT_FDCWD, (const char* path, mode_t mode), path, mode)
ON_PATH(mkdirat, at, (int at, const char* path, mode_t mode), at, path, mode)
ON_PATH(rmdir, AT_FDCWD, (const char* path), path)
ON_PATH(unlink, AT_FDCWD, (const char* path), path)
ON_PATH(unlinkat, at, (int at, const char* path, int flags), at, path, flags)
ON_PATH(remove, AT_FDCWD, (const char* path), path)
ON_PATH(rename, AT_FDCWD, (const char* path, const char* to), path, to)
ON_PATH(renameat, at, (int at, const char* path, int other, const char* to), at, path, other, to)
ON_PATH(link, AT_FDCWD, (const char* path, const char* to), path, to)
ON_PATH(linkat, at, (int at, const char* path, int other, const char* to, int flags), at, path, other, to,
        flags)
ON_PATH(truncate, AT_FDCWD, (const char* path, off_t bytes), path, bytes)
ON_PATH(fchmodat, at, (int at, const char* path, mode_t mode, int flags), at, path, mode, flags)

// --- the start -------------------------------------------------------------------------------------------

static int (*gMain)(int, char**, char**);

static int Start(int count, char** words, char** environment) {
  const char* const kind = getenv("FAULT_KIND");
  if (kind != NULL && getenv("FAULT_ROOT") != NULL && getenv("FAULT_LOG") != NULL) {
    snprintf(gRoot, sizeof gRoot, "%s", getenv("FAULT_ROOT"));
    snprintf(gLog, sizeof gLog, "%s", getenv("FAULT_LOG"));
    gAt = atol(getenv("FAULT_AT"));
    gFrom = getenv("FAULT_FROM") != NULL;
    gErrno = atoi(getenv("FAULT_ERRNO"));
    atexit(WriteLog);
    gKind = strcmp(kind, "memory") == 0 ? kMemory : strcmp(kind, "reads") == 0 ? kReads : kFiles;
  }
  return gMain(count, words, environment);
}

int __libc_start_main(int (*main)(int, char**, char**), int count, char** words, void (*init)(void),
                      void (*end)(void), void (*endOfLoader)(void), void* stack) {
  REAL(int, __libc_start_main, int (*)(int, char**, char**), int, char**, void (*)(void), void (*)(void),
       void (*)(void), void*);
  gMain = main;
  return real(Start, count, words, init, end, endOfLoader, stack);
}
