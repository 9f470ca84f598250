// SPDX-License-Identifier: MIT

/* What bsdiff needs of <err.h>, where the system has none. */
#pragma once

#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef unsigned char u_char;

static void verrc(int code, const char *reason, const char *format, va_list arguments)
{
    fputs("bsdiff: ", stderr);
    if (format != NULL) {
        vfprintf(stderr, format, arguments);
    }
    if (reason != NULL) {
        fprintf(stderr, ": %s", reason);
    }
    fputc('\n', stderr);
    exit(code);
}

static void err(int code, const char *format, ...)
{
    const char *reason = strerror(errno);
    va_list arguments;
    va_start(arguments, format);
    verrc(code, reason, format, arguments);
    va_end(arguments);
}

static void errx(int code, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    verrc(code, NULL, format, arguments);
    va_end(arguments);
}
