/* Preloaded into a sender, gives a pseudo-terminal what it lacks: a line. Bytes that are written
   leave the machine one by one, LINE_RATE a second, or stay for ever once LINE_STOP have left. Says
   on the standard error what the sender does to the line. */
#define _GNU_SOURCE
#include <asm/termbits.h>
#include <dlfcn.h>
#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <time.h>
#include <unistd.h>

static int port = -1;
static long written;
static struct timespec begin;

static long number(const char* name)
{
    const char* const text = getenv(name);
    return text != NULL ? atol(text) : 1000000;
}

static long waiting(void)
{
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    const double seconds =
        (double)(now.tv_sec - begin.tv_sec) + (double)(now.tv_nsec - begin.tv_nsec) / 1e9;
    double left = seconds * (double)number("LINE_RATE");
    left = left < (double)number("LINE_STOP") ? left : (double)number("LINE_STOP");
    return left < (double)written ? written - (long)left : 0;
}

ssize_t write(int file, const void* bytes, size_t size)
{
    ssize_t (*const real)(int, const void*, size_t) =
        (ssize_t(*)(int, const void*, size_t))dlsym(RTLD_NEXT, "write");
    const ssize_t count = real(file, bytes, size);
    if (file == port && count > 0) {
        if (written == 0) {
            clock_gettime(CLOCK_MONOTONIC, &begin);
        }
        written += count;
    }
    return count;
}

int ioctl(int file, unsigned long request, ...)
{
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    if (request == TIOCEXCL) {
        port = file;
    } else if (file == port && request == TIOCOUTQ) {
        *(int*)argument = (int)waiting();
        return 0;
    } else if (file == port && request == TCSBRK) {
        fprintf(stderr, "drain\n");
        while (waiting() != 0) {
            const struct timespec moment = {0, 1000000};
            if (nanosleep(&moment, NULL) != 0) {
                return -1; /* errno is EINTR, as of the real one */
            }
        }
        return 0;
    } else if (file == port && request == TCFLSH) {
        fprintf(stderr, "thrown away %ld\n", waiting());
        written = 0;
        return 0;
    } else if (file == port && request == TCSETS2) {
        fprintf(stderr, "settings, %ld waiting\n", waiting());
    }
    int (*const real)(int, unsigned long, ...) =
        (int (*)(int, unsigned long, ...))dlsym(RTLD_NEXT, "ioctl");
    return real(file, request, argument);
}
