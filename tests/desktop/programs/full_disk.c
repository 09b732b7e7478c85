/* Loaded before a program's libraries, this lets its disk fill up: once FULL_DISK_SWITCH exists and as many
   writes below FULL_DISK_BELOW as its text says have been made, every further one fails with ENOSPC. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <unistd.h>

static atomic_int written;

static int is_full(void) {
  const char* name = getenv("FULL_DISK_SWITCH");
  if (!name) return 0;
  int file = (int)syscall(SYS_openat, AT_FDCWD, name, O_RDONLY | O_CLOEXEC);
  if (file < 0) {
    atomic_store(&written, 0);
    return 0;
  }
  char text[16] = {0};
  if (read(file, text, sizeof text - 1) < 0) text[0] = 0;
  close(file);
  return atomic_fetch_add(&written, 1) >= atoi(text);
}

static int is_ours(const char* path) {
  const char* below = getenv("FULL_DISK_BELOW");
  return below && strncmp(path, below, strlen(below)) == 0;
}

static int refuses(int file) {
  char link[40], path[4096];
  snprintf(link, sizeof link, "/proc/self/fd/%d", file);
  ssize_t length = readlink(link, path, sizeof path - 1);
  if (length <= 0) return 0;
  path[length] = 0;
  if (!is_ours(path) || !is_full()) return 0;
  errno = ENOSPC;
  return 1;
}

#define REAL(name) ((__typeof__(name)*)dlsym(RTLD_NEXT, #name))

ssize_t write(int file, const void* data, size_t size) {
  return refuses(file) ? -1 : REAL(write)(file, data, size);
}

ssize_t pwrite(int file, const void* data, size_t size, off_t at) {
  return refuses(file) ? -1 : REAL(pwrite)(file, data, size, at);
}

ssize_t pwrite64(int file, const void* data, size_t size, off64_t at) {
  return refuses(file) ? -1 : REAL(pwrite64)(file, data, size, at);
}

ssize_t writev(int file, const struct iovec* pieces, int count) {
  return refuses(file) ? -1 : REAL(writev)(file, pieces, count);
}

int ftruncate(int file, off_t size) { return refuses(file) ? -1 : REAL(ftruncate)(file, size); }

int ftruncate64(int file, off64_t size) { return refuses(file) ? -1 : REAL(ftruncate64)(file, size); }

int posix_fallocate(int file, off_t at, off_t size) {
  return refuses(file) ? ENOSPC : REAL(posix_fallocate)(file, at, size);
}

int mkdir(const char* path, mode_t mode) {
  if (is_ours(path) && is_full()) {
    errno = ENOSPC;
    return -1;
  }
  return REAL(mkdir)(path, mode);
}
