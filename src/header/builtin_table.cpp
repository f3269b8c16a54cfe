/*
 * The built-in header managers, in registry order. Each fills only the
 * header entries (toHeader, loadChunk, fromHeader, emitChunk,
 * createHeader); the record entries stay empty.
 */
#include "header/builtin.h"
#include "header/fmt_entries.h"

namespace {

constexpr KVHdrManager header_entries(KVHdrToHeaderFn to, KVHdrLoadChunkFn load,
                                      KVHdrFromHeaderFn from, KVHdrEmitChunkFn emit,
                                      KVHdrCreateHeaderFn create)
{
    return KVHdrManager{nullptr, nullptr, nullptr, nullptr, to, load, from, emit, create};
}

} // namespace

const KorvBuiltinManager korv_builtin_managers[KORV_BUILTIN_MANAGER_COUNT] = {
    {"internal", "2.1", 0,
     header_entries(korv_internal21_to_header, korv_imgext_load_chunk,
                    korv_internal_from_header, korv_imgext_emit_chunk, korv_internal_create)},
    // Version 2.0 documents differ only in how they are read.
    {"internal", "2.0", -1,
     header_entries(korv_internal20_to_header, korv_imgext_load_chunk,
                    korv_internal_from_header, korv_imgext_emit_chunk, korv_internal_create)},
    {"pixelstream", "1.0-ascii", 1,
     header_entries(korv_pixelstream_to_header, korv_pixelstream_load_chunk,
                    korv_pixelstream_from_header, korv_pixelstream_emit_chunk,
                    korv_pixelstream_create)},
    {"info", "1.0", 10,
     header_entries(korv_info_to_header, korv_framed_load_chunk, korv_info_from_header,
                    korv_framed_emit_chunk, korv_info_create)},
    {"image-ext", "1.0", 11,
     header_entries(korv_imgext_to_header, korv_imgext_load_chunk, korv_imgext_from_header,
                    korv_imgext_emit_chunk, korv_imgext_create)},
    {"pixr", "1.0", 12,
     header_entries(korv_pixr_to_header, korv_imgext_load_chunk, korv_pixr_from_header,
                    korv_imgext_emit_chunk, korv_pixr_create)},
    {"text", "1.0", 13,
     header_entries(korv_text_to_header, korv_text_load_chunk, korv_text_from_header,
                    korv_text_emit_chunk, korv_text_create)},
    {"xml", "1.0", 14,
     header_entries(korv_xml_to_header, korv_framed_load_chunk, korv_xml_from_header,
                    korv_framed_emit_chunk, korv_xml_create)},
    {"spectral", "1.0-ascii", 9,
     header_entries(korv_bands_to_header, korv_bands_ascii_load_chunk,
                    korv_bands_ascii_from_header, korv_bands_ascii_emit_chunk,
                    korv_bands_create)},
    {"spectral", "1.0-binary", 9,
     header_entries(korv_bands_to_header, korv_bands_binary_load_chunk,
                    korv_bands_binary_from_header, korv_bands_binary_emit_chunk,
                    korv_bands_create)},
};
