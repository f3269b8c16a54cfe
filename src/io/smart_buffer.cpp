// The smart buffer: bytes appended at the tail, consumed from the head.
#include "io_private.h"
#include "smart_buffer.h"
#include "env/env_setting.h"

#include <string.h>

using namespace korv::io;

namespace {

// A plain decimal reader for the limits: optional blanks, then digits that
// fit in 32 bits; anything else does not parse. The value is parsed under
// the environment lock, as another thread may replace it.
bool read_limit(const char *name, uint64_t *out) {
    korv::EnvSetting setting(name);
    const char *s = setting.value();
    if (!s) return false;
    while (*s == ' ' || *s == '\t') ++s;
    if (*s == '+') ++s;
    if (*s < '0' || *s > '9') return false;
    uint64_t v = 0;
    for (; *s >= '0' && *s <= '9'; ++s) {
        v = v * 10 + static_cast<uint64_t>(*s - '0');
        if (v > 0xffffffffULL) return false;
    }
    *out = v;
    return true;
}

uint64_t min64(uint64_t a, uint64_t b) { return a < b ? a : b; }

uint64_t append_memory(KorvSmartBuffer *sb, const char *bytes, uint64_t count) {
    if (count == 0) return 0;
    uint64_t stored = 0;
    SBSegment *tail = sb->tail;
    if (tail && tail->file_length == 0 && !tail->file_name && tail->block) {
        uint64_t room = tail->capacity - static_cast<uint64_t>(tail->write_pos - tail->block);
        uint64_t n = min64(room, count);
        memcpy(tail->write_pos, bytes, n);
        tail->write_pos += n;
        stored = n;
    }
    if (stored < count) {
        uint64_t left = count - stored;
        uint64_t cap = sb->block_size > left ? sb->block_size : left;
        auto *seg = static_cast<SBSegment *>(korv_internal_calloc(1, sizeof(SBSegment)));
        char *block = seg ? static_cast<char *>(korv_internal_calloc(1, cap)) : nullptr;
        if (!block) {
            korv_internal_free(seg);
        } else {
            memcpy(block, bytes + stored, left);
            seg->block = seg->read_pos = block;
            seg->write_pos = block + left;
            seg->capacity = cap;
            if (sb->tail) sb->tail->next = seg;
            else sb->head = seg;
            sb->tail = seg;
            stored += left;
        }
    }
    sb->available += static_cast<int64_t>(stored);
    sb->in_memory += static_cast<int64_t>(stored);
    return stored;
}

// Gives the segment its temporary file, made in the temporary directory
// and kept open by its handle until the file is dropped.
bool make_file(SBSegment *seg) {
    if (!seg->file_name) seg->file_name = new_temp_file("__SmartBuffer", kTempSpill, &seg->file);
    return seg->file_name != nullptr;
}

// Writes up to `count` bytes (at most what the file limit leaves) at the
// end of the segment's file, through its handle. Returns the bytes written.
uint64_t write_file_part(KorvSmartBuffer *sb, SBSegment *seg, const char *bytes, uint64_t count) {
    uint64_t want = min64(count, sb->file_limit - static_cast<uint64_t>(seg->file_length));
    handle_seek_end(seg->file);
    uint64_t w = 0;
    while (w < want) {
        uint64_t n = handle_write(seg->file, bytes + w, want - w);
        if (n == 0) break;
        w += n;
    }
    seg->file_length += static_cast<int64_t>(w);
    sb->available += static_cast<int64_t>(w);
    return w;
}

uint64_t append_files(KorvSmartBuffer *sb, const char *bytes, uint64_t count) {
    uint64_t stored = 0;
    if (SBSegment *tail = sb->tail) {
        if (!make_file(tail)) return 0;
        stored += write_file_part(sb, tail, bytes, count);
    }
    while (stored < count) {
        auto *seg = static_cast<SBSegment *>(korv_internal_calloc(1, sizeof(SBSegment)));
        if (!seg) break;
        if (sb->tail) sb->tail->next = seg;
        else sb->head = seg;
        sb->tail = seg;
        if (!make_file(seg)) break;
        uint64_t w = write_file_part(sb, seg, bytes + stored, count - stored);
        if (w == 0) break;
        stored += w;
    }
    return stored;
}

// Closes the segment's file and removes its name.
void drop_file(SBSegment *seg) {
    if (seg->file_name) sb_close_file(seg);
    korv_internal_free(seg->file_name);
    seg->file_name = nullptr;
    seg->file_read = seg->file_length = 0;
}

} // namespace

extern "C" {

KORV_API KorvSmartBuffer *KorvSBInit(int32_t memory_only, uint64_t block_size) {
    auto *sb = static_cast<KorvSmartBuffer *>(korv_internal_calloc(1, sizeof(KorvSmartBuffer)));
    if (!sb) return nullptr;
    sb->memory_only = memory_only;
    if (!read_limit("KORV_MEMORY_MAX", &sb->memory_limit)) sb->memory_limit = 20000000;
    if (!read_limit("KORV_TEMPFILE_MAX", &sb->file_limit)) sb->file_limit = 1000000;
    sb->block_size = block_size;
    if (!memory_only && sb->memory_limit < block_size) sb->block_size = sb->memory_limit;
    return sb;
}

KORV_API uint64_t KorvSBAppend(KorvSmartBuffer *sb, const void *bytes, uint64_t count) {
    if (!sb || !bytes || count == 0) return 0;
    auto *p = static_cast<const char *>(bytes);
    uint64_t in_mem = static_cast<uint64_t>(sb->in_memory);
    if (sb->memory_only || (in_mem <= sb->memory_limit && count <= sb->memory_limit - in_mem))
        return append_memory(sb, p, count);
    uint64_t to_mem = in_mem < sb->memory_limit ? min64(sb->memory_limit - in_mem, count) : 0;
    uint64_t done = append_memory(sb, p, to_mem);
    if (done < to_mem) return done;
    return done + append_files(sb, p + done, count - done);
}

KORV_API uint64_t KorvSBPeek(KorvSmartBuffer *sb, int64_t offset, void *dst, uint64_t count) {
    if (!sb || !dst || count == 0 || offset < 0) return 0;
    auto *out = static_cast<char *>(dst);
    uint64_t copied = 0;
    for (SBSegment *seg = sb->head; seg && copied < count; seg = seg->next) {
        int64_t part = seg->write_pos - seg->read_pos;
        if (offset < part) {
            uint64_t n = min64(count - copied, static_cast<uint64_t>(part - offset));
            memcpy(out + copied, seg->read_pos + offset, n);
            copied += n;
            offset = 0;
        } else {
            offset -= part;
        }
        if (copied < count && seg->file_length > 0) {
            int64_t fpart = seg->file_length - seg->file_read;
            if (offset < fpart) {
                uint64_t n = min64(count - copied, static_cast<uint64_t>(fpart - offset));
                if (!sb_map_copy(seg, seg->file_length, seg->file_read + offset, out + copied, n))
                    return copied;
                copied += n;
                offset = 0;
            } else {
                offset -= fpart;
            }
        }
    }
    return copied;
}

KORV_API int64_t KorvSBAdvance(KorvSmartBuffer *sb, int64_t count) {
    if (!sb || count < 1) return 0;
    int64_t consumed = 0;
    while (sb->head && count > 0) {
        SBSegment *seg = sb->head;
        int64_t part = seg->write_pos - seg->read_pos;
        if (seg->block) {
            if (part > count) {
                seg->read_pos += count;
                sb->available -= count;
                sb->in_memory -= count;
                consumed += count;
                return consumed;
            }
            korv_internal_free(seg->block);
            seg->block = seg->read_pos = seg->write_pos = nullptr;
            seg->capacity = 0;
            sb->available -= part;
            sb->in_memory -= part;
            count -= part;
            consumed += part;
        }
        if (count > 0 && seg->file_length > 0) {
            int64_t fpart = seg->file_length - seg->file_read;
            if (fpart <= count) {
                drop_file(seg);
                sb->available -= fpart;
                count -= fpart;
                consumed += fpart;
            } else {
                seg->file_read += count;
                sb->available -= count;
                consumed += count;
                return consumed;
            }
        }
        if (seg->capacity == 0 && seg->file_length == 0) {
            drop_file(seg); // a name whose file never got bytes
            sb->head = seg->next;
            if (!sb->head) sb->tail = nullptr;
            korv_internal_free(seg);
        }
    }
    return consumed;
}

KORV_API uint64_t KorvSBRead(KorvSmartBuffer *sb, void *dst, uint64_t count) {
    uint64_t n = KorvSBPeek(sb, 0, dst, count);
    if (n) KorvSBAdvance(sb, static_cast<int64_t>(n));
    return n;
}

KORV_API int64_t KorvSBBytesAvailable(KorvSmartBuffer *sb) { return sb ? sb->available : 0; }

KORV_API int64_t KorvSBBytesInMemory(KorvSmartBuffer *sb) { return sb ? sb->in_memory : 0; }

KORV_API void KorvSBFree(KorvSmartBuffer *sb) {
    if (!sb) return;
    KorvSBAdvance(sb, sb->available);
    // Segments that hold nothing (a failed spill) go too.
    while (SBSegment *seg = sb->head) {
        sb->head = seg->next;
        drop_file(seg);
        korv_internal_free(seg->block);
        korv_internal_free(seg);
    }
    korv_internal_free(sb);
}

} // extern "C"
