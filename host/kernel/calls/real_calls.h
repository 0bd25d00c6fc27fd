// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pthread.h>
#include <stdint.h>
#include <stdio.h>
#include <sys/epoll.h>
#include <sys/types.h>
#include <time.h>

// If time_t is wider than long, the compiler replaces calls with times by other functions of libc.
#if defined(__USE_TIME_BITS64) && __TIMESIZE == 32
#define __real_ioctl __real___ioctl_time64
#define __wrap_ioctl __wrap___ioctl_time64
#define __real_nanosleep __real___nanosleep64
#define __wrap_nanosleep __wrap___nanosleep64
#define __real_timerfd_settime __real___timerfd_settime64
#define __wrap_timerfd_settime __wrap___timerfd_settime64
#endif

/**
 * The real functions, under the names that the linker's --wrap option gives them. lseek() has an offset of
 * type long, whatever the width of off_t in this build.
 */
extern "C" {
int __real_open(const char* path, int flags, ...);
int __real_open64(const char* path, int flags, ...);
int __real_creat(const char* path, mode_t mode);
int __real_access(const char* path, int mode);
int __real_remove(const char* path);
int __real_unlink(const char* path);
int __real_close(int fd);
ssize_t __real_read(int fd, void* buffer, size_t count);
ssize_t __real_write(int fd, const void* buffer, size_t count);
int __real_fsync(int fd);
long __real_lseek(int fd, long offset, int whence);
int64_t __real_lseek64(int fd, int64_t offset, int whence);
FILE* __real_fopen(const char* path, const char* mode);
FILE* __real_fopen64(const char* path, const char* mode);
size_t __real_fread(void* buffer, size_t size, size_t count, FILE* stream);
size_t __real_fwrite(const void* buffer, size_t size, size_t count, FILE* stream);
int __real_fseek(FILE* stream, long offset, int whence);
int __real_fclose(FILE* stream);
int __real_ioctl(int fd, unsigned long request, void* argument);
int __real_epoll_create(int size);
int __real_epoll_create1(int flags);
int __real_epoll_ctl(int epoll, int operation, int fd, epoll_event* event);
int __real_epoll_wait(int epoll, epoll_event* events, int maximum, int timeout);
int __real_timerfd_create(int clock, int flags);
int __real_timerfd_settime(int fd, int flags, const itimerspec* value, itimerspec* old);
int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*routine)(void*),
                          void* argument);
int __real_nanosleep(const timespec* request, timespec* remainder);
}
