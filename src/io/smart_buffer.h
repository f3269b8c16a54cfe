/*
 * The smart buffer record: a FIFO of segments, each a memory block followed
 * in byte order by an optional temporary file.
 */
#ifndef KVSUP_IO_SMART_BUFFER_H
#define KVSUP_IO_SMART_BUFFER_H

#include "kvsup.h"

namespace korv::io {

struct SBSegment {
    char *read_pos;       // next unread byte of the block
    char *write_pos;      // end of the data in the block
    char *block;          // null when the segment has none
    uint64_t capacity;
    char *file_name;      // the segment's temporary file, if any
    KorvHandle file;      // open on that file from its making to its removal
    int64_t file_read;    // bytes of the file already consumed
    int64_t file_length;  // bytes written into the file
    SBSegment *next;
};

// Copies count bytes at offset of the file part through a fresh mapping of
// the segment's open file at `length` bytes; false when a system call
// fails. The file is emptied before it is mapped, so the part reads back
// as that many zero bytes: the buffer has always behaved so and callers
// that need the bytes back keep them in memory.
bool sb_map_copy(SBSegment *seg, int64_t length, int64_t offset, void *dst, uint64_t count);

// Closes the segment's file and removes it: on POSIX its name is removed
// only while it still names the file the handle holds, so a name replaced
// by someone else is left alone.
void sb_close_file(SBSegment *seg);

} // namespace korv::io

struct KorvSmartBuffer {
    int32_t memory_only;
    uint64_t memory_limit;
    uint64_t file_limit;
    uint64_t block_size;
    int64_t available;
    int64_t in_memory;
    korv::io::SBSegment *head;
    korv::io::SBSegment *tail;
};

#endif
