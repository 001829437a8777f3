/*
 * Where calls of the system library's functions arrive, and how they go on.
 */
#include "doubles/libc_doubles.h"

#include <fcntl.h>

#include <cstdarg>

extern "C" {

int __real_socket(int, int, int);
int __real_socketpair(int, int, int, int *);
int __real_bind(int, const sockaddr *, socklen_t);
int __real_listen(int, int);
int __real_accept4(int, sockaddr *, socklen_t *, int);
int __real_connect(int, const sockaddr *, socklen_t);
int __real_setsockopt(int, int, int, const void *, socklen_t);
int __real_getsockopt(int, int, int, void *, socklen_t *);
int __real_poll(pollfd *, nfds_t, int);
ssize_t __real_recv(int, void *, size_t, int);
ssize_t __real_sendmsg(int, const msghdr *, int);
int __real_sched_yield();
ssize_t __real_send(int, const void *, size_t, int);
ssize_t __real_read(int, void *, size_t);
ssize_t __real_write(int, const void *, size_t);
ssize_t __real_pwrite64(int, const void *, size_t, off_t);
ssize_t __real_writev(int, const iovec *, int);
int __real_close(int);
int __real_fsync(int);
int __real_ftruncate64(int, off_t);
int __real_fchmod(int, mode_t);
int __real_rename(const char *, const char *);
int __real_unlink(const char *);
int __real_mkdir(const char *, mode_t);
void __real_sync();
size_t __real_fread(void *, size_t, size_t, FILE *);
size_t __real_fwrite(const void *, size_t, size_t, FILE *);
int __real_fflush(FILE *);
int __real_fclose(FILE *);
FILE *__real_fdopen(int, const char *);
int __real_system(const char *);
pid_t __real_fork();
int __real_pipe2(int *, int);
int __real_posix_spawn(pid_t *, const char *, const posix_spawn_file_actions_t *, const posix_spawnattr_t *,
                       char *const *, char *const *);
pid_t __real_waitpid(pid_t, int *, int);
int __real_kill(pid_t, int);
void *__real_malloc(size_t);
void *__real_calloc(size_t, size_t);
int __real_pthread_create(pthread_t *, const pthread_attr_t *, void *(*)(void *), void *);
int __real_pthread_attr_init(pthread_attr_t *);
int __real_pthread_mutex_init(pthread_mutex_t *, const pthread_mutexattr_t *);
int __real_sem_init(sem_t *, int, unsigned);
int __real_sem_wait(sem_t *);
int __real_clock_gettime(clockid_t, timespec *);
int __real_clock_nanosleep(clockid_t, int, const timespec *, timespec *);
int __real_nanosleep(const timespec *, timespec *);
void __real_openlog(const char *, int, int);
int __real_sysinfo(struct sysinfo *);
int __real_open64(const char *, int, ...);
int __real_fcntl64(int, int, ...);
FILE *__real_fopen64(const char *, const char *);

}  // extern "C"

namespace doubles::libc {

namespace {

int real_open(const char *path, int flags, mode_t mode) {
    return __real_open64(path, flags, mode);
}

int real_fcntl(int fd, int command, void *argument) {
    return __real_fcntl64(fd, command, argument);
}

bool open_has_mode(int flags) {
    return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
}

}  // namespace

Double<int(int, int, int)> socket(__real_socket);
Double<int(int, int, int, int *)> socketpair(__real_socketpair);
Double<int(int, const sockaddr *, socklen_t)> bind(__real_bind);
Double<int(int, int)> listen(__real_listen);
Double<int(int, sockaddr *, socklen_t *, int)> accept4(__real_accept4);
Double<int(int, const sockaddr *, socklen_t)> connect(__real_connect);
Double<int(int, int, int, const void *, socklen_t)> setsockopt(__real_setsockopt);
Double<int(int, int, int, void *, socklen_t *)> getsockopt(__real_getsockopt);
Double<int(pollfd *, nfds_t, int)> poll(__real_poll);
Double<ssize_t(int, void *, size_t, int)> recv(__real_recv);
Double<ssize_t(int, const msghdr *, int)> sendmsg(__real_sendmsg);
Double<int()> sched_yield(__real_sched_yield);
Double<ssize_t(int, const void *, size_t, int)> send(__real_send);
Double<ssize_t(int, void *, size_t)> read(__real_read);
Double<ssize_t(int, const void *, size_t)> write(__real_write);
Double<ssize_t(int, const void *, size_t, off_t)> pwrite(__real_pwrite64);
Double<ssize_t(int, const iovec *, int)> writev(__real_writev);
Double<int(int)> close(__real_close);
Double<int(int)> fsync(__real_fsync);
Double<int(int, off_t)> ftruncate(__real_ftruncate64);
Double<int(int, mode_t)> fchmod(__real_fchmod);
Double<int(const char *, const char *)> rename(__real_rename);
Double<int(const char *)> unlink(__real_unlink);
Double<int(const char *, mode_t)> mkdir(__real_mkdir);
Double<void()> sync(__real_sync);
Double<size_t(void *, size_t, size_t, FILE *)> fread(__real_fread);
Double<size_t(const void *, size_t, size_t, FILE *)> fwrite(__real_fwrite);
Double<int(FILE *)> fflush(__real_fflush);
Double<int(FILE *)> fclose(__real_fclose);
Double<FILE *(int, const char *)> fdopen(__real_fdopen);
Double<int(const char *)> system(__real_system);
Double<pid_t()> fork(__real_fork);
Double<int(int *, int)> pipe2(__real_pipe2);
Double<int(pid_t *, const char *, const posix_spawn_file_actions_t *, const posix_spawnattr_t *,
           char *const *, char *const *)>
    posix_spawn(__real_posix_spawn);
Double<pid_t(pid_t, int *, int)> waitpid(__real_waitpid);
Double<int(pid_t, int)> kill(__real_kill);
Double<void *(size_t)> malloc(__real_malloc);
Double<void *(size_t, size_t)> calloc(__real_calloc);
Double<int(pthread_t *, const pthread_attr_t *, void *(*)(void *), void *)> pthread_create(
    __real_pthread_create);
Double<int(pthread_attr_t *)> pthread_attr_init(__real_pthread_attr_init);
Double<int(pthread_mutex_t *, const pthread_mutexattr_t *)> pthread_mutex_init(__real_pthread_mutex_init);
Double<int(sem_t *, int, unsigned)> sem_init(__real_sem_init);
Double<int(sem_t *)> sem_wait(__real_sem_wait);
Double<int(clockid_t, timespec *)> clock_gettime(__real_clock_gettime);
Double<int(clockid_t, int, const timespec *, timespec *)> clock_nanosleep(__real_clock_nanosleep);
Double<int(const timespec *, timespec *)> nanosleep(__real_nanosleep);
Double<void(const char *, int, int)> openlog(__real_openlog);
Double<int(struct ::sysinfo *)> sysinfo(__real_sysinfo);
Double<int(const char *, int, mode_t)> open(real_open);
Double<int(int, int, void *)> fcntl(real_fcntl);
Double<FILE *(const char *, const char *)> fopen(__real_fopen64);

}  // namespace doubles::libc

extern "C" {

int __wrap_socketpair(int a, int b, int c, int *d) {
    return doubles::libc::socketpair(a, b, c, d);
}

int __wrap_socket(int a, int b, int c) {
    return doubles::libc::socket(a, b, c);
}

int __wrap_bind(int a, const sockaddr *b, socklen_t c) {
    return doubles::libc::bind(a, b, c);
}

int __wrap_listen(int a, int b) {
    return doubles::libc::listen(a, b);
}

int __wrap_accept4(int a, sockaddr *b, socklen_t *c, int d) {
    return doubles::libc::accept4(a, b, c, d);
}

int __wrap_connect(int a, const sockaddr *b, socklen_t c) {
    return doubles::libc::connect(a, b, c);
}

int __wrap_setsockopt(int a, int b, int c, const void *d, socklen_t e) {
    return doubles::libc::setsockopt(a, b, c, d, e);
}

int __wrap_getsockopt(int a, int b, int c, void *d, socklen_t *e) {
    return doubles::libc::getsockopt(a, b, c, d, e);
}

int __wrap_poll(pollfd *a, nfds_t b, int c) {
    return doubles::libc::poll(a, b, c);
}

ssize_t __wrap_sendmsg(int a, const msghdr *b, int c) {
    return doubles::libc::sendmsg(a, b, c);
}
int __wrap_sched_yield() {
    return doubles::libc::sched_yield();
}
ssize_t __wrap_recv(int a, void *b, size_t c, int d) {
    return doubles::libc::recv(a, b, c, d);
}

ssize_t __wrap_send(int a, const void *b, size_t c, int d) {
    return doubles::libc::send(a, b, c, d);
}

ssize_t __wrap_read(int a, void *b, size_t c) {
    return doubles::libc::read(a, b, c);
}

ssize_t __wrap_write(int a, const void *b, size_t c) {
    return doubles::libc::write(a, b, c);
}

ssize_t __wrap_pwrite64(int a, const void *b, size_t c, off_t d) {
    return doubles::libc::pwrite(a, b, c, d);
}

ssize_t __wrap_writev(int a, const iovec *b, int c) {
    return doubles::libc::writev(a, b, c);
}

int __wrap_close(int a) {
    return doubles::libc::close(a);
}

int __wrap_fsync(int a) {
    return doubles::libc::fsync(a);
}

int __wrap_ftruncate64(int a, off_t b) {
    return doubles::libc::ftruncate(a, b);
}

int __wrap_fchmod(int a, mode_t b) {
    return doubles::libc::fchmod(a, b);
}

int __wrap_rename(const char *a, const char *b) {
    return doubles::libc::rename(a, b);
}

int __wrap_unlink(const char *a) {
    return doubles::libc::unlink(a);
}

int __wrap_mkdir(const char *a, mode_t b) {
    return doubles::libc::mkdir(a, b);
}

void __wrap_sync() {
    doubles::libc::sync();
}

size_t __wrap_fread(void *a, size_t b, size_t c, FILE *d) {
    return doubles::libc::fread(a, b, c, d);
}

size_t __wrap_fwrite(const void *a, size_t b, size_t c, FILE *d) {
    return doubles::libc::fwrite(a, b, c, d);
}

int __wrap_fflush(FILE *a) {
    return doubles::libc::fflush(a);
}

int __wrap_fclose(FILE *a) {
    return doubles::libc::fclose(a);
}

FILE *__wrap_fdopen(int a, const char *b) {
    return doubles::libc::fdopen(a, b);
}

pid_t __wrap_fork() {
    return doubles::libc::fork();
}

int __wrap_system(const char *a) {
    return doubles::libc::system(a);
}

int __wrap_pipe2(int *a, int b) {
    return doubles::libc::pipe2(a, b);
}

int __wrap_posix_spawn(pid_t *a, const char *b, const posix_spawn_file_actions_t *c,
                       const posix_spawnattr_t *d, char *const *e, char *const *f) {
    return doubles::libc::posix_spawn(a, b, c, d, e, f);
}

pid_t __wrap_waitpid(pid_t a, int *b, int c) {
    return doubles::libc::waitpid(a, b, c);
}

int __wrap_kill(pid_t a, int b) {
    return doubles::libc::kill(a, b);
}

void *__wrap_malloc(size_t a) {
    return doubles::libc::malloc(a);
}

void *__wrap_calloc(size_t a, size_t b) {
    return doubles::libc::calloc(a, b);
}

int __wrap_pthread_create(pthread_t *a, const pthread_attr_t *b, void *(*c)(void *), void *d) {
    return doubles::libc::pthread_create(a, b, c, d);
}

int __wrap_pthread_attr_init(pthread_attr_t *a) {
    return doubles::libc::pthread_attr_init(a);
}

int __wrap_pthread_mutex_init(pthread_mutex_t *a, const pthread_mutexattr_t *b) {
    return doubles::libc::pthread_mutex_init(a, b);
}

int __wrap_sem_init(sem_t *a, int b, unsigned c) {
    return doubles::libc::sem_init(a, b, c);
}

int __wrap_sem_wait(sem_t *a) {
    return doubles::libc::sem_wait(a);
}

int __wrap_clock_gettime(clockid_t a, timespec *b) {
    return doubles::libc::clock_gettime(a, b);
}

int __wrap_clock_nanosleep(clockid_t a, int b, const timespec *c, timespec *d) {
    return doubles::libc::clock_nanosleep(a, b, c, d);
}

int __wrap_nanosleep(const timespec *a, timespec *b) {
    return doubles::libc::nanosleep(a, b);
}

void __wrap_openlog(const char *a, int b, int c) {
    doubles::libc::openlog(a, b, c);
}

int __wrap_sysinfo(struct sysinfo *a) {
    return doubles::libc::sysinfo(a);
}

int __wrap_open64(const char *path, int flags, ...) {
    mode_t mode = 0;
    if (doubles::libc::open_has_mode(flags)) {
        va_list args;
        va_start(args, flags);
        mode = va_arg(args, mode_t);
        va_end(args);
    }
    return doubles::libc::open(path, flags, mode);
}

int __wrap_open(const char *path, int flags, ...) {
    mode_t mode = 0;
    if (doubles::libc::open_has_mode(flags)) {
        va_list args;
        va_start(args, flags);
        mode = va_arg(args, mode_t);
        va_end(args);
    }
    return doubles::libc::open(path, flags, mode);
}

int __wrap_fcntl64(int fd, int command, ...) {
    va_list args;
    va_start(args, command);
    void *argument = va_arg(args, void *);
    va_end(args);
    return doubles::libc::fcntl(fd, command, argument);
}

int __wrap_fcntl(int fd, int command, ...) {
    va_list args;
    va_start(args, command);
    void *argument = va_arg(args, void *);
    va_end(args);
    return doubles::libc::fcntl(fd, command, argument);
}

FILE *__wrap_fopen64(const char *path, const char *mode) {
    return doubles::libc::fopen(path, mode);
}

FILE *__wrap_fopen(const char *path, const char *mode) {
    return doubles::libc::fopen(path, mode);
}

}  // extern "C"
