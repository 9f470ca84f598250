// SPDX-License-Identifier: MIT

/* What bsdiff needs of <sys/mman.h>, where the system has none: a whole file in memory, read only. */
#pragma once

#include <fcntl.h>
#include <io.h>
#include <stdint.h>
#include <stdlib.h>

#define PROT_READ 1
#define MAP_SHARED 1
#define MAP_POPULATE 2
#define MAP_FAILED NULL

static void *mmap(void *address, size_t length, int protection, int flags, int file, off_t offset)
{
    (void)address, (void)protection, (void)flags;
    char *bytes = malloc(length + 1);
    size_t got = 0;
    if (bytes == NULL || _lseeki64(file, offset, SEEK_SET) != offset) {
        free(bytes);
        return MAP_FAILED;
    }
    while (got < length) {
        const size_t wanted = length - got < 1 << 20 ? length - got : 1 << 20;
        const int count = read(file, bytes + got, (unsigned)wanted);
        if (count <= 0) {
            free(bytes);
            return MAP_FAILED;
        }
        got += (size_t)count;
    }
    return bytes;
}

static int munmap(void *address, size_t length)
{
    (void)length;
    free(address);
    return 0;
}

/* Files are bytes; without this the C library would write two for every line end. */
__attribute__((constructor)) static void open_as_bytes(void)
{
    _fmode = _O_BINARY;
}
