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
// Moves a C stream with 64-bit offsets; the new position, or -1.
int64_t fp_seek(FILE *fp, int64_t offset, int origin);

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

// The directory for temporary files when KORV_TEMP names none, and the
// separator whose last occurrence ends the directory part of a hint.
extern const char kTempFallbackDir[];
extern const char kHintSeparator;
// Free space of a directory in units of 1024 bytes (0 when unknown).
uint64_t free_space_kib(const char *dir);
// 1 usable, 0 not (messages already written).
bool dir_usable(const char *dir);
// How long a temporary file's name lives:
//   kTempKept     the file stays after its handle is closed;
//   kTempSpill    the name stays while the handle is open; on Windows the
//                 file goes when the handle is closed, on POSIX its owner
//                 removes the name (smart-buffer spill files);
//   kTempUnnamed  the file goes when the handle is closed, and on POSIX
//                 its name is removed at once (temporary streams).
enum TempLife { kTempKept, kTempSpill, kTempUnnamed };

// Creates a new file with the "_korv" prefix and a name no other file has
// in dir, exclusively, readable and writable by its owner only, and keeps
// it open for reading and writing: *out is the handle, which the caller
// reads, writes and closes; the file is never opened again by its name.
// Returns the new name, or null (nothing made).
char *create_temp_file(const char *dir, TempLife life, KorvHandle *out);

// The directory chosen for a temporary file (io_temp.cpp) and a new file
// there, as create_temp_file; null, after the messages, when neither that
// directory nor "." can take one.
char *new_temp_file(const char *hint, TempLife life, KorvHandle *out);

} // namespace korv::io

#endif
