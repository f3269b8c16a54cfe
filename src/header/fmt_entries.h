/*
 * Private declarations of the built-in header formats: the records behind
 * their headers, the helpers they share, and the manager entries that the
 * built-in table names.
 */
#ifndef KVSUP_HEADER_FMT_ENTRIES_H
#define KVSUP_HEADER_FMT_ENTRIES_H

#include "kvsup.h"

#include <stddef.h>
#include <stdint.h>

namespace korv::hdr {

// ---- reusable chunk buffers -------------------------------------------

// A block a header keeps between chunks; the chunks it hands out point into
// it and stay valid until the next load on the same header.
struct ByteBuffer {
    unsigned char *data;
    uint64_t capacity;
};

// Reads exactly size bytes into buf from its start. The buffer grows only
// as bytes actually arrive, so a frame that claims more than the stream
// holds fails after a bounded allocation. false on a short read, a failed
// read or a failed allocation.
bool read_exact(KorvIO *io, ByteBuffer &buf, uint64_t size);
// Reads up to size bytes the same way; the bytes read (fewer at the end of
// the data), or -1 when a read or an allocation fails.
int64_t read_some(KorvIO *io, ByteBuffer &buf, uint64_t size);
// Makes room for at least size bytes (contents kept); false when that fails.
bool reserve(ByteBuffer &buf, uint64_t size);
void release(ByteBuffer &buf);

// ---- the record of the byte-framed and raster formats -----------------

struct FormatHeader {
    KorvGenericHeader h;
    uint32_t swap;        // frames and samples arrive in the other byte order
    uint32_t sepsRead;    // how many "bytes/sl" values the document gave
    ByteBuffer buffer;    // data of the chunk loaded last
};

// Zero-filled record with the format's copy and free, the kind, one
// dimension of one pixel and the machine's byte order. Null when memory
// runs out.
FormatHeader *new_format_header(uint32_t kind);
// The format header behind h, or null when h was not made by one of these
// formats (a plain generic header, or another format's record).
FormatHeader *as_format_header(KorvGenericHeader *h);
KorvGenericHeader *format_header_copy(KorvGenericHeader *h);
void format_header_free(KorvGenericHeader *h);

// Duplicates tree into h->params; false when a non-empty tree could not be
// copied.
bool take_params(KorvGenericHeader *h, KorvCMNode *tree);

// A new record of the kind handed out in *out: 1, or 0 for a null out or
// when memory runs out.
uint32_t format_create(uint32_t kind, KorvGenericHeader **out);
// A new record of the kind holding a copy of tree as its params; null when
// memory runs out.
FormatHeader *format_from_tree(uint32_t kind, KorvCMNode *tree);

// Removes one label of each (section, name) pair from h->params: the
// fields a format reads into its record.
template <size_t N>
void drop_owned(KorvGenericHeader *h, const char *const (&owned)[N][2])
{
    for (const auto &field : owned)
        h->params = KVHdrDeleteHeaderField(h->params, field[0], field[1]);
}

// ---- binary chunk frames ------------------------------------------------

// Clears chunk and checks the arguments of a load: the format header, or
// null when chunk, io or the header is not one of these formats.
FormatHeader *begin_load(KorvGenericHeader *header, KorvIO *io, KorvChunk *chunk);

enum class FrameRead { Failed, End, Read };
// Reads a frame of words 32-bit words, turned into the machine's order, and
// the frame[0] bytes that follow it into f->buffer. End, with the chunk
// flagged as the end of data, when the data ended cleanly before the frame;
// Failed on a cut frame or a short body.
FrameRead read_frame(FormatHeader *f, KorvIO *io, KorvChunk *chunk, uint32_t *frame,
                     uint32_t words);

// The arguments of an emit: a header, a stream, and a chunk whose bytes
// exist when it counts any.
bool can_emit(const KorvGenericHeader *header, const KorvIO *io, const KorvChunk *chunk);
// Whether the header names a known byte order other than the machine's.
bool writes_swapped(const KorvGenericHeader *h);
// Writes words frame words (turned into the header's order, in place) and
// then the chunk's bytes: 1, or -1 when a write comes up short.
uint32_t write_frame(const KorvGenericHeader *header, KorvIO *io, const KorvChunk *chunk,
                     uint32_t *frame, uint32_t words);

// The byte order a document names in "ID"/"architecture": sets swap when it
// is a known order other than the machine's. endian stays the machine's.
void read_architecture(FormatHeader *f);
// "ID"/"architecture" as the header's order, the machine's when unset.
KorvCMNode *write_architecture(KorvCMNode *tree, const KorvGenericHeader *h);

// "Photometry"/"name": reading stores a known space and removes the entry;
// writing keeps an existing name for an unknown space, else replaces it.
void read_photometry(KorvGenericHeader *h);
KorvCMNode *write_photometry(KorvCMNode *tree, const KorvGenericHeader *h);

// One integer parameter; true (and *value) when the text holds one.
bool get_uint(KorvCMNode *tree, const char *section, const char *name, uint32_t *value);
// An empty section named "End" closes every document.
KorvCMNode *add_end(KorvCMNode *tree);

// ---- raster formats: image-ext and its relatives ----------------------

struct RasterFormat {
    const char *format;
    const char *version;
    uint32_t kind;
    uint32_t frames;          // also "Raster"/"offset" (frames and parts)
    int32_t defaultEndian;    // order assumed without "architecture"; -1 machine
};

uint32_t raster_create(const RasterFormat &fmt, KorvGenericHeader **out);
uint32_t raster_to_header(const RasterFormat &fmt, KorvCMNode *tree, KorvGenericHeader **out);
uint32_t raster_from_header(const RasterFormat &fmt, KorvGenericHeader *h, KorvCMNode **tree);

// ---- ASCII tokens (shared by the value chunks and the text formats) ----

// Formats one value with its leading blank into dst (room for 64 bytes);
// returns the length.
size_t format_uint(char *dst, uint32_t value);
size_t format_float(char *dst, float value);

// Output gathered into runs before it reaches the stream: the bytes and
// their order are those of one write per token.
struct TextOut {
    KorvIO *io;
    size_t used;
    bool failed;
    char text[4096];

    explicit TextOut(KorvIO *stream) : io(stream), used(0), failed(false) {}
    void put(const char *s, size_t n);
    void newline() { put("\n", 1); }
    // Writes what is gathered; false once any write came up short.
    bool flush();
};

// Writes one value of the given width (8, 16, 32 or 64) from p; false for
// another width.
bool put_value(TextOut &out, uint32_t width, const unsigned char *p);
// Writes lines lines of per_line values of the width from p, each line
// ended by a newline (lines without values for an unknown width); false
// once a write came up short.
bool put_lines(KorvIO *io, uint32_t width, const unsigned char *p, uint32_t lines,
               uint32_t per_line);
// Reads one value of the given width into p: 0 read, 1 not a number, -1
// end of data, -2 an unknown width.
int32_t get_value(KorvIO *io, uint32_t width, unsigned char *p);
// Bytes a value of the width takes, 0 for an unknown width.
uint32_t width_bytes(uint32_t width);

} // namespace korv::hdr

// ---- manager entries of the built-in table ----------------------------
// (header, stream, chunk, count) for loads; (header, stream, chunk, flag)
// for emits, as the manager record has them.

uint32_t korv_internal21_to_header(KorvCMNode *tree, KorvGenericHeader **header);
uint32_t korv_internal20_to_header(KorvCMNode *tree, KorvGenericHeader **header);
uint32_t korv_internal_from_header(KorvGenericHeader *header, KorvCMNode **tree);
uint32_t korv_internal_create(KorvGenericHeader **header);

uint32_t korv_pixelstream_to_header(KorvCMNode *tree, KorvGenericHeader **header);
uint32_t korv_pixelstream_load_chunk(KorvGenericHeader *header, KorvIO *io, KorvChunk *chunk,
                                     uint32_t count);
uint32_t korv_pixelstream_from_header(KorvGenericHeader *header, KorvCMNode **tree);
uint32_t korv_pixelstream_emit_chunk(KorvGenericHeader *header, KorvIO *io, KorvChunk *chunk,
                                     uint32_t flag);
uint32_t korv_pixelstream_create(KorvGenericHeader **header);

uint32_t korv_imgext_to_header(KorvCMNode *tree, KorvGenericHeader **header);
uint32_t korv_imgext_load_chunk(KorvGenericHeader *header, KorvIO *io, KorvChunk *chunk,
                                uint32_t count);
uint32_t korv_imgext_from_header(KorvGenericHeader *header, KorvCMNode **tree);
uint32_t korv_imgext_emit_chunk(KorvGenericHeader *header, KorvIO *io, KorvChunk *chunk,
                                uint32_t flag);
uint32_t korv_imgext_create(KorvGenericHeader **header);

uint32_t korv_pixr_to_header(KorvCMNode *tree, KorvGenericHeader **header);
uint32_t korv_pixr_from_header(KorvGenericHeader *header, KorvCMNode **tree);
uint32_t korv_pixr_create(KorvGenericHeader **header);

// Framed byte chunks of "info" and "xml": a 4-byte size, then the bytes.
uint32_t korv_framed_load_chunk(KorvGenericHeader *header, KorvIO *io, KorvChunk *chunk,
                                uint32_t count);
uint32_t korv_framed_emit_chunk(KorvGenericHeader *header, KorvIO *io, KorvChunk *chunk,
                                uint32_t flag);
uint32_t korv_info_to_header(KorvCMNode *tree, KorvGenericHeader **header);
uint32_t korv_info_from_header(KorvGenericHeader *header, KorvCMNode **tree);
uint32_t korv_info_create(KorvGenericHeader **header);
uint32_t korv_xml_to_header(KorvCMNode *tree, KorvGenericHeader **header);
uint32_t korv_xml_from_header(KorvGenericHeader *header, KorvCMNode **tree);
uint32_t korv_xml_create(KorvGenericHeader **header);

uint32_t korv_text_to_header(KorvCMNode *tree, KorvGenericHeader **header);
uint32_t korv_text_load_chunk(KorvGenericHeader *header, KorvIO *io, KorvChunk *chunk,
                              uint32_t count);
uint32_t korv_text_from_header(KorvGenericHeader *header, KorvCMNode **tree);
uint32_t korv_text_emit_chunk(KorvGenericHeader *header, KorvIO *io, KorvChunk *chunk,
                              uint32_t flag);
uint32_t korv_text_create(KorvGenericHeader **header);

uint32_t korv_bands_to_header(KorvCMNode *tree, KorvGenericHeader **header);
uint32_t korv_bands_create(KorvGenericHeader **header);
uint32_t korv_bands_ascii_from_header(KorvGenericHeader *header, KorvCMNode **tree);
uint32_t korv_bands_ascii_load_chunk(KorvGenericHeader *header, KorvIO *io, KorvChunk *chunk,
                                        uint32_t count);
uint32_t korv_bands_ascii_emit_chunk(KorvGenericHeader *header, KorvIO *io, KorvChunk *chunk,
                                        uint32_t flag);
uint32_t korv_bands_binary_from_header(KorvGenericHeader *header, KorvCMNode **tree);
uint32_t korv_bands_binary_load_chunk(KorvGenericHeader *header, KorvIO *io,
                                         KorvChunk *chunk, uint32_t count);
uint32_t korv_bands_binary_emit_chunk(KorvGenericHeader *header, KorvIO *io,
                                         KorvChunk *chunk, uint32_t flag);

#endif
