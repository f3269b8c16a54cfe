/*
 * Private declarations of the stream layer: the back-end records and the
 * operating-system calls each platform file provides.
 */
#ifndef KVSUP_IO_PRIVATE_H
#define KVSUP_IO_PRIVATE_H

#include "kvsup.h"

#include <stdint.h>
#include <stdio.h>

namespace korv::io {

// Allocates a zero-filled record of `size` bytes with the given slots.
KorvIO *make_stream(size_t size, KorvIOCloseFn close, KorvIOReadFn read,
                    KorvIOWriteFn write, KorvIOFlushFn flush, KorvIOSeekFn seek,
                    KorvIOSetOwnedFn set_owned);

int32_t flush_nothing(KorvIO *);

// Waits until the stream can be read (writable = false) or written; 1 when
// ready. Only socket streams can be waited for.
int32_t wait_ready(KorvIO *io, bool writable);

// A memory stream holds its bytes in one block: KorvIOReadString takes a
// line from it directly, with the result byte reads through the slot would
// give. kNotMemoryStream when io is another kind of stream.
constexpr int64_t kNotMemoryStream = -3;
int64_t mem_read_string(KorvIO *io, char *dst, int64_t limit);

// ---- operating-system layer (io_os_posix.cpp / io_os_win32.cpp) ----
int64_t fd_read(int32_t fd, void *dst, uint64_t count);
int64_t fd_write(int32_t fd, const void *src, uint64_t count);
int64_t fd_seek(int32_t fd, int64_t offset, uint32_t whence);
void fd_close(int32_t fd);
bool fd_is_regular(int32_t fd);
void fd_set_binary(int32_t fd);

// Handles: a failing call reads and writes as 0.
uint64_t handle_read(KorvHandle h, void *dst, uint64_t count);
uint64_t handle_write(KorvHandle h, const void *src, uint64_t count);
int64_t handle_seek(KorvHandle h, int64_t offset, uint32_t method);
void handle_seek_end(KorvHandle h);
void handle_close(KorvHandle h);
bool handle_is_disk(KorvHandle h);

enum : uint32_t { kAccessRead = 1, kAccessWrite = 2 };
enum : uint32_t { kDispNone = 0, kOpenExisting, kCreateAlways, kOpenAlways };
// Opens a file; false (after the debug message) when the system refuses.
bool open_file(const char *name, uint32_t access, uint32_t disposition, KorvHandle *out);

// Free space of a directory in units of 1024 bytes (0 when unknown).
uint64_t free_space_kib(const char *dir);
// 1 usable, 0 not (messages already written).
bool dir_usable(const char *dir);
// Creates a new unique file with the "_korv" prefix in dir; new string or null.
char *unique_temp_name(const char *dir);
// Opens a new temporary file that disappears when closed.
bool open_temp(const char *name, KorvHandle *out);

} // namespace korv::io

#endif
