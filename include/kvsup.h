/*
 * kvsup.h - the public interface of kvsup, the support runtime of the
 * Korvane image-processing engine.
 *
 * This is the one public header. It compiles as C11 and as C++. Every
 * function declared here is exported by the shared library under its exact
 * name; everything else in the library is hidden.
 *
 * Conventions: most functions return an unsigned 32-bit code, 1 for success
 * and 0 for failure; where a function says so, -1 (all bits set) means
 * partial success or "call again", and 2 means that nothing was named.
 * Strings crossing the interface are UTF-8. Memory handed across the
 * interface is allocated and freed with the korv_internal_* allocators.
 */
#ifndef KVSUP_H
#define KVSUP_H

#include <stddef.h>
#include <stdint.h>
#include <stdarg.h>
#include <stdio.h>

#if defined(_WIN32)
#  if defined(KORV_STATIC)
#    define KORV_API
#  elif defined(KORV_BUILDING)
#    define KORV_API __declspec(dllexport)
#  else
#    define KORV_API __declspec(dllimport)
#  endif
#else
#  define KORV_API __attribute__((visibility("default")))
#endif

#if defined(__GNUC__)
#  define KORV_NORETURN __attribute__((noreturn))
#else
#  define KORV_NORETURN
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Pointer-sized word of argument lists and clean-up arguments. */
typedef uintptr_t KorvArgWord;

#define KORV_ARG_NULL  ((KorvArgWord)0)
#define KORV_ARG_END   ((KorvArgWord)1)
#define KORV_ARG_FIXED ((KorvArgWord)2)

/* The path separator of this platform. */
#if defined(_WIN32)
#  define KORV_PATH_SEP '\\'
#  define KORV_PATH_SEP_STR "\\"
#else
#  define KORV_PATH_SEP '/'
#  define KORV_PATH_SEP_STR "/"
#endif

/* Records referred to across subsystems, declared here so that every section
 * below can use them before their full definition. */
typedef struct KorvState KorvState;
typedef struct KorvChunk KorvChunk;
typedef struct KorvGenericHeader KorvGenericHeader;
typedef struct KorvIO KorvIO;
typedef struct KorvCMNode KorvCMNode;
typedef struct KorvSmallHeap KorvSmallHeap;
typedef struct KorvSmartBuffer KorvSmartBuffer;
typedef struct KorvBinArgDesc KorvBinArgDesc;
typedef struct KorvFuncDesc KorvFuncDesc;
typedef struct KorvCriticalSection KorvCriticalSection; /* re-entrant lock */

/* ======================================================================
 * [core] Engine lifecycle, locks, allocation, errors and logging
 *
 * The library starts the engine when it is loaded and ends it when it is
 * unloaded; a program's own KorvaneInit and KorvaneEnd calls are counted
 * and must pair. Memory crossing the interface comes from the allocators
 * below. Faults of a module call are kept in its state (KorvSetError);
 * the library's own go to the message channel.
 * ====================================================================== */

/* The general allocator: the C library's malloc, calloc, realloc and free,
 * unchanged. Everything handed across the interface is allocated and freed
 * with these; NULL when out of memory, and free takes NULL. */
KORV_API void *korv_internal_malloc(size_t size);
KORV_API void *korv_internal_calloc(size_t count, size_t size);
KORV_API void *korv_internal_realloc(void *block, size_t size);
KORV_API void korv_internal_free(void *block);
/* Aligned blocks: alignment a power of two (below 8 counts as 8); free with
 * korv_internal_aligned_free. The _alloc form is zero-filled. */
KORV_API void *korv_internal_aligned_malloc(size_t size, size_t alignment);
KORV_API void *korv_internal_aligned_alloc(size_t size, size_t alignment);
KORV_API void korv_internal_aligned_free(void *block);

/* Engine start and end, counted. The load hook makes the first init. */
KORV_API uint32_t KorvaneInit(void);
KORV_API uint32_t KorvaneEnd(void);
KORV_API uint32_t KorvaneAbsoluteEnd(void);

/* The eight global re-entrant locks, taken by a four-character key
 * ('HDRM', 'SHRD', 'ENVV', 'WSAK', 'WKPL', 'LOCL'). */
#define KORV_KEY(a, b, c, d) \
    (((uint32_t)(a) << 24) | ((uint32_t)(b) << 16) | ((uint32_t)(c) << 8) | (uint32_t)(d))
KORV_API uint32_t KorvaneLock(uint32_t key);
KORV_API uint32_t KorvaneUnlock(uint32_t key);

/* Clean-up registry. A clean-up returns 1 (done, go on), 0 (done, stop and
 * report failure) or anything else (not done, keep me, stop). when = 0: run
 * only by KorvaneCleanup; otherwise also at engine end. */
typedef int32_t (*KorvCleanupFn)(uintptr_t arg);
KORV_API uint32_t KorvaneRegisterCleanup(uint32_t when, KorvCleanupFn fn, uintptr_t arg);
KORV_API uint32_t KorvaneRegisterCleanupFunc(KorvCleanupFn fn, uintptr_t arg);
KORV_API uint32_t KorvaneCleanup(void);

/* Blocks of bytes. KorvSwapBlock exchanges the contents of two blocks that
 * must not overlap. KorvCmpBlock gives 0 for a count of 0, else the
 * difference (first minus second) of the first unequal bytes taken as
 * unsigned, or of the last bytes when all are equal. */
KORV_API void KorvSwapBlock(void *a, void *b, size_t count);
KORV_API int32_t KorvCmpBlock(const void *a, const void *b, size_t count);

/* Status and accumulated error text of a process state. */
KORV_API int32_t KorvSetError(KorvState *state, int32_t code, const char *format, ...);
KORV_API int32_t KorvGetStatus(KorvState *state);
KORV_API int32_t KorvSetStatus(KorvState *state, int32_t status);
KORV_API char *KorvGetErrorMsg(KorvState *state);
KORV_API int32_t KorvGetErrorCode(KorvState *state);
KORV_API int32_t KorvParseErrorCode(const char *text);
KORV_API void KorvReportError(KorvState *state);

/* The message channel. Levels handed to the logging callback. */
#define KORV_LOG_ERROR 0
#define KORV_LOG_DEBUG 1
#define KORV_LOG_OUTPUT 2
typedef void (*KorvLoggingCallback)(const char *text, int32_t level, void *user);
KORV_API int32_t KorvError(const char *format, ...);
KORV_API void KorvDebug(const char *format, ...);
KORV_API void KorvPrintf(const char *format, ...);
KORV_API void KorvAbort(const char *format, ...);
KORV_API void KorvSetDebug(uint32_t on);
KORV_API void KorvSetDebugLevel(int32_t level);
KORV_API uint32_t KorvIsDebug(void);
KORV_API int32_t KorvGetDebugLevel(void);
KORV_API void KorvSetLoggingCallback(KorvLoggingCallback callback, void *user);

/* ---- end [core] ---- */


/* ======================================================================
 * [process] Process state, module calls, chunk queue
 * ====================================================================== */

/* A block of image bytes with its flags, carried in item arrays. */
struct KorvChunk {
    uint32_t flags; /* bit value 4: looked for by getFlaggedChunk */
    uint32_t reserved;
    uint32_t aux;
    uint32_t size;
    uint32_t mark; /* non-zero keeps a queue slot occupied */
    uint64_t user;
    unsigned char *data;
};
#define KORV_CHUNK_FLAGGED 4u

/* Entry points of a process state; each is called with the record first. */
/* The process entry takes three further pointer-sized arguments that the
 * drivers pass through (the single-output drivers pass the addresses of the
 * output data, size and aux; the others pass nulls). */
typedef uint32_t (*KorvProcessFn)(KorvState *state, void *a, void *b, void *c);
typedef uint32_t (*KorvEndFn)(KorvState *state);
typedef char *(*KorvGetErrorMsgFn)(KorvState *state);
typedef uint32_t (*KorvGetFlagsFn)(KorvState *state);
typedef int32_t (*KorvGetOutputCountFn)(KorvState *state);
typedef uint32_t (*KorvGetOutputFlagsFn)(KorvState *state, int32_t index);
typedef KorvGenericHeader *(*KorvGetOutputHeaderFn)(KorvState *state, int32_t index);
typedef int32_t (*KorvGetOutputBinHeaderFn)(KorvState *state, int32_t index, void *buffer,
                                            uint32_t size);
typedef KorvChunk *(*KorvGetChunkFn)(KorvState *state, int32_t index);
typedef KorvChunk *(*KorvGetFlaggedChunkFn)(KorvState *state);

#define KORV_STATE_OUTPUTS_UNKNOWN 4u

/* The process-state record of one running module function: 176 bytes. A
 * module may allocate it larger and keep its own fields behind it. */
struct KorvState {
    uint32_t flags;
    KorvProcessFn processPoint;
    KorvEndFn endPoint;
    KorvGetErrorMsgFn getErrorMsg;
    KorvGetFlagsFn getFlags;
    KorvGetOutputCountFn getOutputCount;
    KorvGetOutputFlagsFn getOutputFlags;
    KorvGetOutputHeaderFn getOutputHeader;
    KorvGetOutputBinHeaderFn getOutputBinHeader;
    KorvGetChunkFn getInputChunk;
    KorvGetChunkFn getOutputChunk;
    KorvGetFlaggedChunkFn getFlaggedChunk;
    int32_t status;
    char *errorMsg;
    const char *name;
    KorvGenericHeader **outputHeaders;
    uint32_t *outputFlags;
    uint32_t outputCount;
    uint32_t reserved;
    KorvChunk **inputChunks;
    KorvChunk **outputChunks;
    KorvChunk **queue;
    uint32_t queueLength;
};
#define KORV_STATE_MIN_SIZE 176

/* A state record of size bytes (at least KORV_STATE_MIN_SIZE), zero-filled,
 * with the default entries: 1, or 0 for a null address, a size below the
 * minimum or no memory. KorvFreeState frees the record only: the arrays,
 * headers and chunks are the module's. The getters give 0 for a null state
 * or address, else store the field and give 1 (the output count through
 * the getOutputCount entry, -1 stored as 0). KorvGetOutputFlags gives the
 * flags of one output, 0 for an index at or past the output count. */
KORV_API uint32_t KorvAllocState(KorvState **state, int32_t size);
KORV_API uint32_t KorvFreeState(KorvState *state);
KORV_API uint32_t KorvGetStateFlags(KorvState *state, uint32_t *flags);
KORV_API uint32_t KorvGetStateOutputCount(KorvState *state, uint32_t *count);
KORV_API uint32_t KorvGetStateQueueLength(KorvState *state, uint32_t *length);
KORV_API uint32_t KorvGetOutputFlags(KorvState *state, int32_t index);

/* Chunks held in item arrays, by index. */
KORV_API uint32_t KorvSetChunk(KorvChunk **array, uint32_t index, void *data, uint32_t size,
                               uint32_t aux);
KORV_API uint32_t KorvGetChunk(KorvChunk **array, uint32_t index, void **data, uint32_t *size,
                               uint32_t *aux);
KORV_API uint32_t KorvSetChunkFlags(KorvChunk **array, uint32_t index, uint32_t flags);
KORV_API uint32_t KorvGetChunkFlags(KorvChunk **array, uint32_t index, uint32_t *flags);
KORV_API uint32_t KorvMarkChunkFlags(KorvChunk **array, uint32_t index, uint32_t bits);
KORV_API uint32_t KorvClearChunkFlags(KorvChunk **array, uint32_t index, uint32_t bits);
KORV_API uint32_t KorvChunkMarkFlags(uint32_t *flags, uint32_t bits);
KORV_API uint32_t KorvChunkClearFlags(uint32_t *flags, uint32_t bits);
KORV_API uint32_t KorvResetChunks(KorvChunk **array);
KORV_API uint32_t KorvEnqueueChunk(KorvState *state, const KorvChunk *chunk, uint32_t *index);
KORV_API uint32_t KorvDupChunk(KorvChunk **dest, const KorvChunk *source);

/* -- module calls -- */
/* Init entry of a function: reads its argument list and, on success (1),
 * stores a new state record through the address. */
typedef uint32_t (*KorvInitFn)(KorvArgWord *args, KorvState **state, KorvFuncDesc *desc);

/* A composite function drives other functions through its host. The host is
 * a record whose first three fields are these entries; the bridge table
 * handed to a composite init entry reaches them. */
typedef struct KorvCallPair {
    uint64_t value;
    uint32_t n;
} KorvCallPair;
typedef struct KorvCompositeHost KorvCompositeHost;
typedef struct KorvCompositeBridge KorvCompositeBridge;
typedef uint32_t (*KorvHostCallFn)(KorvCompositeHost *host, uint64_t id, int32_t blockSize,
                                   KorvBinArgDesc *block, uint32_t n, uint32_t count,
                                   KorvCallPair *pairs);
typedef uint32_t (*KorvHostForwardFn)(KorvCompositeHost *host, uintptr_t a, uintptr_t b,
                                      uintptr_t c, uintptr_t d);
typedef void (*KorvHostMessageFn)(KorvCompositeHost *host, const char *text);
struct KorvCompositeHost {
    KorvHostCallFn call;
    KorvHostForwardFn forward;
    KorvHostMessageFn message;
};
/* callBin takes count further (uint64_t value, uint32_t n) argument pairs. */
typedef uint32_t (*KorvBridgeCallBinFn)(KorvCompositeBridge *bridge, uint64_t id,
                                        const KorvArgWord *args, uint32_t n, uint32_t count, ...);
typedef uint32_t (*KorvBridgeCallBinArrayFn)(KorvCompositeBridge *bridge, uint64_t id,
                                             const KorvArgWord *args, uint32_t n, uint32_t count,
                                             KorvCallPair *pairs);
typedef uint32_t (*KorvBridgeForwardFn)(KorvCompositeBridge *bridge, uintptr_t a, uintptr_t b,
                                        uintptr_t c, uintptr_t d);
typedef void (*KorvBridgeMessageFn)(KorvCompositeBridge *bridge, const char *format, ...);
struct KorvCompositeBridge {
    KorvBridgeCallBinFn callBin;
    KorvBridgeCallBinArrayFn callBinArray;
    KorvBridgeForwardFn forward;
    KorvBridgeMessageFn message;
    KorvCompositeHost *host;
};
/* Composite init entry: descriptor, argument list, bridge, one further value. */
typedef uint32_t (*KorvCompositeInitFn)(KorvFuncDesc *desc, KorvArgWord *args,
                                        KorvCompositeBridge *bridge, uintptr_t value);

/* The drivers. Each copies the module's result into the state's status. A
 * descriptor's init entry is the function its init text names, resolved
 * with KorvRetrieveInit ("library!symbol", or a symbol of the default
 * library); a composite function names its composite init entry there. */
KORV_API uint32_t KorvCallInit(KorvInitFn init, KorvArgWord *args, KorvState **state);
KORV_API uint32_t KorvCallModuleInit(KorvFuncDesc *desc, KorvArgWord *args, KorvState **state);
/* init, then argument-list words ending with KORV_ARG_END, then KorvState **. */
KORV_API uint32_t KorvCallInitArgs(KorvInitFn init, ...);
KORV_API uint32_t KorvCallModuleInitBin(KorvFuncDesc *desc, uint32_t argCount,
                                        const KorvBinArgDesc *block, int32_t headerCount,
                                        const void *const *headers, KorvState **state);
KORV_API uint32_t KorvCallCompositeInit(KorvFuncDesc *desc, KorvArgWord *args,
                                        KorvCompositeBridge *bridge, uintptr_t value);
KORV_API uint32_t KorvCallCompositeInitBin(KorvFuncDesc *desc, uint32_t argCount,
                                           const KorvBinArgDesc *block, int32_t headerCount,
                                           const void *const *headers, KorvCompositeHost *host);
KORV_API uint32_t KorvCallProcess(KorvState *state, void *a, void *b, void *c);
KORV_API uint32_t KorvProcessSI(KorvState *state, void *data, uint32_t size, uint32_t aux);
KORV_API uint32_t KorvProcessSO(KorvState *state, void **data, uint32_t *size, uint32_t *aux);
KORV_API uint32_t KorvProcessSISO(KorvState *state, void *data, uint32_t size, uint32_t aux,
                                  void **outData, uint32_t *outSize, uint32_t *outAux);
KORV_API uint32_t KorvCallEnd(KorvState *state);
KORV_API uint32_t KorvAbsoluteCallEnd(KorvState *state);

/* ---- end [process] ---- */


/* ======================================================================
 * [image] Generic image header, enumerations, windows, colour spaces
 * ====================================================================== */

/* Fixed limits of the generic header. */
#define KORV_MAX_SEPARATIONS 36

/* Kinds of data (the kind field). */
#define KORV_KIND_RASTER     0u  /* unspecified raster */
#define KORV_KIND_RAW        1u  /* raw samples */
#define KORV_KIND_SPECTRAL   9u  /* spectral measurements */
#define KORV_KIND_INFO      10u  /* table of fixed-size entries */
#define KORV_KIND_PIXELS    11u  /* raster image */
#define KORV_KIND_FRAMES    12u  /* raster with frames and parts */
#define KORV_KIND_TEXT      13u
#define KORV_KIND_XML       14u

/* Interleave codes. */
#define KORV_INTERLEAVE_SCANLINE    0u
#define KORV_INTERLEAVE_PIXEL       1u
#define KORV_INTERLEAVE_FRAME       2u
#define KORV_INTERLEAVE_COMPRESSION 3u

/* Byte-order codes. */
#define KORV_ENDIAN_LITTLE 0u
#define KORV_ENDIAN_BIG    1u

/* Copy and free entries of a header. */
typedef KorvGenericHeader *(*KorvHeaderCopyFn)(KorvGenericHeader *header);
typedef void (*KorvHeaderFreeFn)(KorvGenericHeader *header);

/* The description of a data stream. A header format may allocate the record
 * larger and keep its own fields behind this common part; copy and free are
 * then the format's own. */
struct KorvGenericHeader {
    KorvHeaderCopyFn copy;
    void *reservedEntry;
    KorvHeaderFreeFn free;
    /* The nine entries of the header's manager, in the order and with the
     * types of KVHdrManager ([header] section); set when the header is made
     * through a manager. */
    uint32_t (*toStruct)(KorvCMNode *tree, void *record);
    uint32_t (*loadAll)(KorvIO *io, void *destination);
    uint32_t (*fromStruct)(void *record, KorvCMNode **tree);
    uint32_t (*emitAll)(KorvIO *io, void *source);
    uint32_t (*toHeader)(KorvCMNode *tree, KorvGenericHeader **header);
    uint32_t (*loadChunk)(KorvGenericHeader *header, KorvIO *io, KorvChunk *chunk, uint32_t count);
    uint32_t (*fromHeader)(KorvGenericHeader *header, KorvCMNode **tree);
    uint32_t (*emitChunk)(KorvGenericHeader *header, KorvIO *io, KorvChunk *chunk, uint32_t flag);
    uint32_t (*createHeader)(KorvGenericHeader **header);
    uint32_t kind;
    uint32_t endian;         /* byte order of multi-byte samples */
    uint32_t imageParts[3];  /* their sum is the number of separations */
    uint32_t bitsPerSample[KORV_MAX_SEPARATIONS];
    uint32_t dimensions;     /* 1 pixels, 2 also scanlines, 3 also blobs */
    uint32_t pixels;
    uint32_t scanlines;
    union {
        uint32_t blobs;
        uint32_t frame;      /* the frame count of kind 12 */
    };
    uint32_t offset;         /* added to the minimum chunk of kind 12 */
    uint32_t reserved[6];
    uint32_t alignment;      /* power of two; 0 natural alignment */
    uint32_t interleave;
    uint32_t compressed;     /* non-zero: no fixed line size */
    uint32_t bytesPerLine[KORV_MAX_SEPARATIONS];
    uint32_t minimumChunk;
    uint32_t preferredChunk;
    uint32_t colorSpace;     /* 0 unknown */
    KorvCMNode *params;      /* owned: further parameters in sections */
};

/* Sets the generic copy and free entries and the machine's byte order in a
 * header record: 1, or 0 for NULL. */
KORV_API uint32_t KorvInitGenericHeader(KorvGenericHeader *header);
/* count records of size bytes each (at least the common part). */
KORV_API uint32_t KorvAllocHeaders(KorvGenericHeader ***array, int32_t count, int32_t size);
KORV_API KorvGenericHeader *KorvGenericHeaderCopy(KorvGenericHeader *header);
KORV_API void KorvGenericHeaderFree(KorvGenericHeader *header);

/* Byte geometry of scan lines. Each Calc*Array function returns the line
 * total and fills one entry of out per separation. */
KORV_API uint32_t KorvCalcBytesPerSep(uint32_t bits, uint32_t pixels);
KORV_API uint32_t KorvCalcBytesArray(uint32_t *out, uint32_t count, const uint32_t *bits,
                                     uint32_t pixels);
KORV_API uint32_t KorvCalcInterleaveBytesArray(uint32_t interleave, uint32_t *out, uint32_t count,
                                               const uint32_t *bits, uint32_t pixels);
KORV_API uint32_t KorvCalcAlignedBytesArray(uint32_t *out, uint32_t alignment, uint32_t count,
                                            const uint32_t *bits, uint32_t pixels);
KORV_API uint32_t KorvCalcAlignedInterleaveBytesArray(uint32_t interleave, uint32_t *out,
                                                      uint32_t alignment, uint32_t count,
                                                      const uint32_t *bits, uint32_t pixels);
KORV_API uint32_t KorvHeaderFillInBytes(KorvGenericHeader *header);
KORV_API uint32_t KorvHeaderGetTotalBytes(const KorvGenericHeader *header);
KORV_API uint32_t KorvHeaderGetMinimumBytes(const KorvGenericHeader *header);
KORV_API uint32_t KorvHeaderGetPreferredBytes(const KorvGenericHeader *header);

/* Resolution and units in section "Origin" of the parameters. Get returns
 * 1 resolution given, 2 only the aspect given, 0 neither. */
KORV_API uint32_t KorvHeaderGetResolution(KorvGenericHeader *header, double *x, double *y);
KORV_API uint32_t KorvHeaderSetResolution(KorvGenericHeader *header, double x, double y);
KORV_API char *KorvHeaderGetUnits(KorvGenericHeader *header);
KORV_API uint32_t KorvHeaderSetUnits(KorvGenericHeader *header, const char *units);

/* Vocabularies: code to word (never NULL) and word to code (-1 unknown). */
KORV_API const char *KorvOrient2Str(uint32_t code);
KORV_API int32_t KorvStr2Orient(const char *text);
KORV_API const char *KorvScanDir2Str(uint32_t code);
KORV_API int32_t KorvStr2ScanDir(const char *text);
KORV_API const char *KorvInterleave2Str(uint32_t code);
KORV_API int32_t KorvStr2Interleave(const char *text); /* 0 for any unknown word */
KORV_API const char *KorvComp2Str(uint32_t code);
KORV_API int32_t KorvStr2Comp(const char *text);
KORV_API const char *KorvEndian2Str(uint32_t code);
KORV_API int32_t KorvStr2Endian(const char *text);
KORV_API uint32_t KorvIdentifyEndian(void);
KORV_API uint32_t KorvIdentifyArch(uint32_t *arch, uint32_t *variant);

/* Pixel and fractional windows: x, y, width, height. */
typedef struct KorvWindow {
    int32_t x;
    int32_t y;
    uint32_t width;
    uint32_t height;
} KorvWindow;
typedef struct KorvFWindow {
    double x;
    double y;
    double width;
    double height;
} KorvFWindow;

/* Windows in fractions of the image (0 to 1) and in pixels of an image of
 * width x height. KorvFWinToWin rounds the origin with 0.4999 and the far
 * edge with 0.5; 0 when the fractional width or height is negative.
 * KorvWinToFWin divides by the image size; 0 when it is 0. Otherwise 1. */
KORV_API uint32_t KorvFWinToWin(uint32_t width, uint32_t height, const KorvFWindow *fwin,
                                KorvWindow *win);
KORV_API uint32_t KorvWinToFWin(uint32_t width, uint32_t height, const KorvWindow *win,
                                KorvFWindow *fwin);
/* 0 refused, 1 already inside, 2 changed. */
KORV_API uint32_t KorvCropWin(int32_t width, int32_t height, KorvWindow *win);

/* Colour spaces. */
KORV_API uint32_t KorvStr2Clr(const char *text);
KORV_API const char *KorvClr2Str(uint32_t code);
KORV_API uint32_t KorvValidColor(uint32_t code);
KORV_API int32_t KorvGetImageParts(uint32_t code);
KORV_API uint32_t KorvCompareColor(uint32_t a, uint32_t b);
KORV_API uint32_t KorvColorQuery(uint32_t code, uint32_t bits);
KORV_API uint32_t KorvGetDefaultColor(uint32_t parts);

/* ---- end [image] ---- */


/* ======================================================================
 * [args] Argument lists, parsing, binary argument blocks and headers
 *
 * An argument list configures a function: "name:types" entries with their
 * value words, ended by KORV_ARG_END. Lists and blocks made here belong to
 * the caller (or to the small heap they were made in).
 * ====================================================================== */

/* -- argument lists -- */
/* An argument list is an array of words: entries of a name word
 * ("name:types"), the value words of each type, and a NULL word; the list
 * ends with KORV_ARG_END. Growable lists keep KORV_ARG_CAPACITY in their
 * last word. The list owns nothing it points to. Every operation below
 * takes its words as variable arguments ending with KORV_ARG_END. */
#define KORV_ARG_CAPACITY ((KorvArgWord)3)

/* Writes the words from list[0] on (the caller's array must be large
 * enough); returns 1. */
KORV_API uint32_t KorvBuildArgs(KorvArgWord *list, ...);
/* Writes the words from the list's end marker on. */
KORV_API void KorvAppendArgs(KorvArgWord *list, ...);
/* The same into a growable list (*list null: a new one), growing as
 * needed: 1, or 0 for a null address or when it cannot grow (then *list is
 * null and the old block is the caller's). */
KORV_API uint32_t KorvSafeBuildArgs(KorvArgWord **list, ...);
KORV_API uint32_t KorvSafeAppendArgs(KorvArgWord **list, ...);
/* Appends the entry "name:..." whose values come from value text: words
 * separated by blanks outside quotes, each a literal string or a reference
 * %{name[start]:count} (count '#' for all) to the values of the macro
 * list. Texts and counts come from the small heap. 1 done, 2 a reference
 * names nothing (list unchanged), 0 error or no memory. */
KORV_API uint32_t KorvSafeAppendArgValue(KorvSmallHeap *heap, KorvArgWord **list,
                                         const char *name, const char *value,
                                         const KorvArgWord *macros);
/* The same with one value word per element of a NULL-terminated array. */
KORV_API uint32_t KorvSafeAppendArgList(KorvSmallHeap *heap, KorvArgWord **list,
                                        const char *name, const char *const *values,
                                        const KorvArgWord *macros);
/* Removes every entry whose whole name text equals one of the given texts
 * (without regard to case); returns 1. */
KORV_API uint32_t KorvRemoveArgs(KorvArgWord *list, ...);
/* Reads named arguments: for each request, "name:types", a pointer to an
 * int32_t found flag (or NULL) and one destination per type ('#' arrays:
 * a count and an array pointer); KORV_ARG_END ends the requests. 1 when
 * every request was processed, 0 at the first failure. */
KORV_API uint32_t KorvParseArgs(const KorvArgWord *list, ...);

/* -- binary argument blocks -- */
/* A 24-byte descriptor: the name text "name:types", the kind of the
 * elements (0 int32, 1 text pointers, 2 none, 3 doubles, 4 addresses,
 * 5 int32 booleans), their count and where they are. */
struct KorvBinArgDesc {
    const char *name;
    uint32_t kind;
    int32_t count;
    void *data;
};
/* Packs a list into one block (freed with korv_internal_free): returns the
 * number of descriptors, or -1. */
KORV_API int32_t KorvBinArgFromArgs(const KorvArgWord *list, KorvBinArgDesc **block);
/* A new list (freed with korv_internal_free) from n descriptors, with room
 * for extra further words; NULL when the size comes out below 1. */
KORV_API KorvArgWord *KorvBinArgToArgs(int32_t n, const KorvBinArgDesc *table, int32_t extra);

/* -- binary headers -- */
/* The fixed head of a binary header, before its parameter area. */
#define KORV_BINHDR_HEAD_SIZE 556
/* Writes header as a binary header in byte order order (0 little-endian,
 * else big-endian). With block NULL: the size needed at most. With *block
 * NULL: a block of that size is allocated. Returns the size written, -1
 * when capacity is too small (or the header cannot be represented), 0 for
 * a NULL header or when memory runs out. */
KORV_API int32_t KorvBinHdrFromHdr(const KorvGenericHeader *header, uint32_t order, void **block,
                                   uint32_t capacity);
/* A new generic header from a binary header; NULL when the block is not
 * valid. limit 0 means unchecked. With in_place the parameter texts point
 * into the block, which must outlive the header. */
KORV_API KorvGenericHeader *KorvBinHdrToHdr(const void *block, uint32_t limit, uint32_t in_place);
/* -- end binary headers -- */

/* ---- end [args] ---- */


/* ======================================================================
 * [header] Header managers and chunk encodings
 * ====================================================================== */

/* The nine entries that convert one header format. Each returns a status;
 * an empty entry makes the operation that needs it fail with 0. A header
 * made through a manager carries a copy of them, in this order, right after
 * its free entry. */
typedef uint32_t (*KVHdrToStructFn)(KorvCMNode *tree, void *record);
typedef uint32_t (*KVHdrLoadAllFn)(KorvIO *io, void *destination);
typedef uint32_t (*KVHdrFromStructFn)(void *record, KorvCMNode **tree);
typedef uint32_t (*KVHdrEmitAllFn)(KorvIO *io, void *source);
typedef uint32_t (*KVHdrToHeaderFn)(KorvCMNode *tree, KorvGenericHeader **header);
typedef uint32_t (*KVHdrLoadChunkFn)(KorvGenericHeader *header, KorvIO *io, KorvChunk *chunk,
                                     uint32_t count);
typedef uint32_t (*KVHdrFromHeaderFn)(KorvGenericHeader *header, KorvCMNode **tree);
typedef uint32_t (*KVHdrEmitChunkFn)(KorvGenericHeader *header, KorvIO *io, KorvChunk *chunk,
                                     uint32_t flag);
typedef uint32_t (*KVHdrCreateHeaderFn)(KorvGenericHeader **header);

typedef struct KVHdrManager {
    KVHdrToStructFn toStruct;
    KVHdrLoadAllFn loadAll;
    KVHdrFromStructFn fromStruct;
    KVHdrEmitAllFn emitAll;
    KVHdrToHeaderFn toHeader;
    KVHdrLoadChunkFn loadChunk;
    KVHdrFromHeaderFn fromHeader;
    KVHdrEmitChunkFn emitChunk;
    KVHdrCreateHeaderFn createHeader;
} KVHdrManager;

/* -- registry (guarded by the 'HDRM' lock) -- */
/* A registration handle is the address of the registry entry. */
KORV_API uint32_t KVHdrRegisterManager(const char *format, const char *version,
                                       const KVHdrManager *manager, void **handle);
KORV_API uint32_t KVHdrUnregisterManager(void *handle);
KORV_API uint32_t KVHdrGetManager_Str(const char *format, const char *version,
                                      KVHdrManager *manager);
KORV_API uint32_t KVHdrGetManager_Type(int32_t type, KVHdrManager *manager);
KORV_API uint32_t KVHdrGetManager(KorvCMNode *tree, KVHdrManager *manager);

/* -- header documents: a CM document, form feed, line feed, then chunks -- */
KORV_API uint32_t KVHdrRead(KorvIO *io, KorvCMNode **tree);
KORV_API uint32_t KVHdrWrite(KorvCMNode *tree, KorvIO *io);
KORV_API uint32_t KVHdrNonDestructiveRead(KorvIO *io, KorvCMNode **tree, void **block,
                                          uint64_t *size);
KORV_API uint32_t KVHdrFree(KorvCMNode *tree);
KORV_API uint32_t KVHdrFreeList(char ***list);
KORV_API KorvCMNode *KVHdrArrange(KorvCMNode *tree);

/* -- conversion through a manager -- */
KORV_API uint32_t KVHdrToStruct(const KVHdrManager *manager, KorvCMNode *tree, void *record);
KORV_API uint32_t KVHdrFromStruct(const KVHdrManager *manager, void *record, KorvCMNode **tree);
KORV_API uint32_t KVHdrLoadAll(const KVHdrManager *manager, KorvIO *io, void *destination);
KORV_API uint32_t KVHdrEmitAll(const KVHdrManager *manager, KorvIO *io, void *source);
KORV_API uint32_t KVHdrToHeader(const KVHdrManager *manager, KorvCMNode *tree,
                                KorvGenericHeader **header);
KORV_API uint32_t KVHdrCreateHeader(const KVHdrManager *manager, KorvGenericHeader **header);
KORV_API uint32_t KVHdrFromHeader(const KVHdrManager *manager, KorvGenericHeader *header,
                                  KorvCMNode **tree);
KORV_API uint32_t KVHdrToChunk(const KVHdrManager *manager, KorvGenericHeader *header,
                               KorvIO *io, KorvChunk *chunk);
KORV_API uint32_t KVHdrToChunkLines(const KVHdrManager *manager, KorvGenericHeader *header,
                                    KorvIO *io, KorvChunk *chunk, uint32_t count);
KORV_API uint32_t KVHdrFromChunk(const KVHdrManager *manager, KorvGenericHeader *header,
                                 KorvIO *io, KorvChunk *chunk);

/* -- combined read and write -- */
KORV_API uint32_t KVHdrRead_Header(KorvIO *io, KVHdrManager *manager, KorvGenericHeader **header);
KORV_API uint32_t KVHdrNonDestructivRead_Header(KorvIO *io, void **block, uint64_t *size,
                                                KVHdrManager *manager,
                                                KorvGenericHeader **header);
KORV_API uint32_t KVHdrWrite_Header(KorvGenericHeader *header, const KVHdrManager *manager,
                                    KorvIO *io);
KORV_API uint32_t KVHdrRead_Struct(KorvIO *io, KVHdrManager *manager, void *record);
KORV_API uint32_t KVHdrNonDestructivRead_Struct(KorvIO *io, void **block, uint64_t *size,
                                                KVHdrManager *manager, void *record);
KORV_API uint32_t KVHdrWrite_Struct(void *record, const KVHdrManager *manager, KorvIO *io);

/* -- header parameters by section and name; setters return the tree -- */
KORV_API char *KVHdrGetHeaderParam(KorvCMNode *tree, const char *section, const char *name);
KORV_API uint32_t KVHdrGetHeaderData(KorvCMNode *tree, const char *section, const char *name,
                                     void **data, uint64_t *size);
KORV_API uint32_t KVHdrCheckHeaderParam(KorvCMNode *tree, const char *section, const char *name);
KORV_API uint32_t KVHdrGetHeaderList(KorvCMNode *tree, const char *section, const char *name,
                                     char ***list);
KORV_API KorvCMNode *KVHdrSetHeaderParam(KorvCMNode *tree, const char *section,
                                         const char *name, const char *text);
KORV_API KorvCMNode *KVHdrSetHeaderField(KorvCMNode *tree, const char *section,
                                         const char *name, const void *bytes, uint64_t length);
KORV_API KorvCMNode *KVHdrSetHeaderString(KorvCMNode *tree, const char *section,
                                          const char *name, const char *text);
KORV_API KorvCMNode *KVHdrSetHeaderData(KorvCMNode *tree, const char *section,
                                        const char *name, const void *bytes, uint64_t length);
KORV_API KorvCMNode *KVHdrDeleteHeaderField(KorvCMNode *tree, const char *section,
                                            const char *name);
KORV_API KorvCMNode *KVHdrDeleteHeaderSection(KorvCMNode *tree, const char *section);
KORV_API uint32_t KVHdrGetHeaderInts(KorvCMNode *tree, const char *section, const char *name,
                                     int32_t *values, uint32_t *count);
KORV_API uint32_t KVHdrGetHeaderDoubles(KorvCMNode *tree, const char *section, const char *name,
                                        double *values, uint32_t *count);
KORV_API uint32_t KVHdrGetHeaderFloats(KorvCMNode *tree, const char *section, const char *name,
                                       float *values, uint32_t *count);
KORV_API KorvCMNode *KVHdrSetHeaderInts(KorvCMNode *tree, const char *section, const char *name,
                                        const int32_t *values, uint32_t count, uint32_t perLine);
KORV_API KorvCMNode *KVHdrSetHeaderDoubles(KorvCMNode *tree, const char *section,
                                           const char *name, const double *values,
                                           uint32_t count, uint32_t perLine);
KORV_API KorvCMNode *KVHdrSetHeaderFloats(KorvCMNode *tree, const char *section,
                                          const char *name, const float *values, uint32_t count,
                                          uint32_t perLine);
/* Every value of a multi-valued parameter: the number of values, *values a
 * new array of that many times *perValue numbers. */
KORV_API int32_t KVHdrGetHeaderIntsList(KorvCMNode *tree, const char *section, const char *name,
                                        int32_t **values, uint32_t *perValue);
KORV_API int32_t KVHdrGetHeaderDoublesList(KorvCMNode *tree, const char *section,
                                           const char *name, double **values,
                                           uint32_t *perValue);
KORV_API int32_t KVHdrGetHeaderFloatsList(KorvCMNode *tree, const char *section,
                                          const char *name, float **values, uint32_t *perValue);

/* -- ASCII value chunks -- */
typedef struct KVHdrValueChunk {
    uint32_t end;    /* end of data reached */
    uint32_t loaded; /* values were loaded */
    uint32_t count;  /* number of values */
    void *values;    /* count values of the chunk's width; owned by the chunk */
} KVHdrValueChunk;
/* Token readers: 0 read, 1 not a number, -1 end of data. Writers: 0, -1. */
KORV_API int32_t _KVHdrReadAsciiInt(KorvIO *io, uint32_t *value);
KORV_API int32_t _KVHdrReadAsciiFloat(KorvIO *io, float *value);
KORV_API int32_t _KVHdrReadAsciiComplex(KorvIO *io, float *value);
KORV_API int32_t _KVHdrWriteAsciiInt(KorvIO *io, const uint32_t *value);
KORV_API int32_t _KVHdrWriteAsciiFloat(KorvIO *io, const float *value);
KORV_API int32_t _KVHdrWriteAsciiComplex(KorvIO *io, const float *value);
KORV_API uint32_t KVHdrLoadChunk_Ascii_8(KorvIO *io, KVHdrValueChunk *chunk, uint32_t n);
KORV_API uint32_t KVHdrLoadChunk_Ascii_16(KorvIO *io, KVHdrValueChunk *chunk, uint32_t n);
KORV_API uint32_t KVHdrLoadChunk_Ascii_32(KorvIO *io, KVHdrValueChunk *chunk, uint32_t n);
KORV_API uint32_t KVHdrLoadChunk_Ascii_64(KorvIO *io, KVHdrValueChunk *chunk, uint32_t n);
KORV_API uint32_t KVHdrEmitChunk_Ascii_8(KorvIO *io, KVHdrValueChunk *chunk, uint32_t emit);
KORV_API uint32_t KVHdrEmitChunk_Ascii_16(KorvIO *io, KVHdrValueChunk *chunk, uint32_t emit);
KORV_API uint32_t KVHdrEmitChunk_Ascii_32(KorvIO *io, KVHdrValueChunk *chunk, uint32_t emit);
KORV_API uint32_t KVHdrEmitChunk_Ascii_64(KorvIO *io, KVHdrValueChunk *chunk, uint32_t emit);
/* Interleaved groups of fields of mixed widths (8, 16, 32, 64) through a
 * cursor over packed values. */
KORV_API int32_t _KVHdrReadAsciiValues(KorvIO *io, const uint32_t *widths, uint32_t groups,
                                       uint32_t fields, unsigned char **cursor,
                                       uint32_t *counter);
KORV_API int32_t _KVHdrWriteAsciiValues(KorvIO *io, const uint32_t *widths, uint32_t groups,
                                        uint32_t fields, const unsigned char **cursor,
                                        uint32_t newline);

/* ---- end [header] ---- */


/* ======================================================================
 * [io] Streams, back ends, smart buffer
 * ====================================================================== */

/* Operation slots of a stream. read/write return the bytes moved, 0 at end of
 * data (read) or when nothing was accepted (write), -1 on error and -2 when
 * the call would block. seek's whence: 0 start, 1 current, 2 end; it returns
 * the new position from the start, or -1. */
typedef void (*KorvIOCloseFn)(KorvIO *io);
typedef int64_t (*KorvIOReadFn)(KorvIO *io, void *dst, uint64_t count);
typedef int64_t (*KorvIOWriteFn)(KorvIO *io, const void *src, uint64_t count);
typedef int32_t (*KorvIOFlushFn)(KorvIO *io);
typedef int64_t (*KorvIOSeekFn)(KorvIO *io, int64_t offset, uint32_t whence);
typedef void (*KorvIOSetOwnedFn)(KorvIO *io, uint32_t owned);

/* The stream object: two reserved words, the six slots in this order, then
 * the back end's own fields (each back end allocates the record larger). A
 * stream is released by calling its close slot with the stream itself. */
struct KorvIO {
    uintptr_t reserved1;
    uintptr_t reserved2;
    KorvIOCloseFn close;
    KorvIOReadFn read;
    KorvIOWriteFn write;
    KorvIOFlushFn flush;
    KorvIOSeekFn seek;
    KorvIOSetOwnedFn set_owned;
};

/* A Windows HANDLE; on POSIX a file descriptor carried in the same word. */
typedef void *KorvHandle;

/* Loops over the slots. KorvIOReadBytes and KorvIOWriteBytes move count
 * bytes unless the data ends (fewer) or a slot fails (its negative result,
 * passed through). KorvIOReadString reads one line without its line end
 * into dst (at most limit bytes) and gives the bytes consumed, or -1;
 * KorvIOGets keeps the line feed and gives 1 when it stored a byte, else 0.
 * KorvIOWriteString is one call of the write slot with the string. */
KORV_API uint64_t KorvIOReadBytes(KorvIO *io, void *dst, uint64_t count);
KORV_API uint64_t KorvIOWriteBytes(KorvIO *io, const void *src, uint64_t count);
KORV_API int64_t KorvIOReadString(KorvIO *io, char *dst, int64_t limit);
KORV_API int64_t KorvIOWriteString(KorvIO *io, const char *s);
KORV_API uint32_t KorvIOGets(KorvIO *io, char *dst, int64_t limit);
/* Note the order: destination first. count 0 copies until end of data. */
KORV_API int64_t KorvIOCopyBytes(KorvIO *dst, KorvIO *src, uint64_t count);
KORV_API int64_t KorvIOSkipBytes(KorvIO *io, int64_t count);
/* The whole stream from its first byte into a new NUL-terminated block. */
KORV_API uint32_t KorvIOReadBlock(KorvIO *io, void **buffer, uint64_t *length);

/* Stream constructors; each gives NULL when out of memory. Streams over a
 * caller's resource (descriptor, FILE, handle, string) do not own it until
 * set_owned(io, 1); KorvIO_FileName (mode letters 'r' read an existing
 * file, 'w' create or truncate, 'a' append, '+' both ways; "http://" names
 * open a URL stream) and KorvIO_Mktemp (deleted when closed) own theirs. KorvIO_Mem grows its own buffer and frees it on close.
 * KorvIO_Str reads and writes a caller's string of size bytes (0: up to its
 * NUL), KorvIOStrReset starts it over. KorvIO_SB reads and writes a smart
 * buffer, KorvIO_Nop forwards to another stream, KorvIO_Multiplex reads
 * its members one after another (KorvIOMultiplexSet selects one: 1, or 0
 * past the count). KorvMktemp gives a new temporary file's name (caller
 * frees); KorvFOpen opens a FILE by a UTF-8 name. */
KORV_API KorvIO *KorvIO_FD(uint32_t fd);
KORV_API KorvIO *KorvIO_FP(FILE *fp);
KORV_API KorvIO *KorvIO_HANDLE(KorvHandle handle);
KORV_API KorvIO *KorvIO_FileName(const char *name, const char *mode);
KORV_API KorvIO *KorvIO_Mem(uint64_t capacity);
KORV_API KorvIO *KorvIO_Str(char *base, uint64_t size);
KORV_API void KorvIOStrReset(KorvIO *io);
KORV_API KorvIO *KorvIO_SB(KorvSmartBuffer *sb);
KORV_API KorvIO *KorvIO_Nop(KorvIO *inner);
KORV_API KorvIO *KorvIO_Multiplex(KorvIO **streams, uint32_t count);
KORV_API uint32_t KorvIOMultiplexSet(KorvIO *io, uint32_t index);
KORV_API KorvIO *KorvIO_Mktemp(const char *hint);
KORV_API char *KorvMktemp(const char *hint);
KORV_API FILE *KorvFOpen(const char *name, const char *mode);

/* Smart buffer: a FIFO byte queue in memory blocks, spilling to temporary
 * files past KORV_MEMORY_MAX unless memory only. */
KORV_API KorvSmartBuffer *KorvSBInit(int32_t memory_only, uint64_t block_size);
KORV_API uint64_t KorvSBAppend(KorvSmartBuffer *sb, const void *bytes, uint64_t count);
KORV_API uint64_t KorvSBPeek(KorvSmartBuffer *sb, int64_t offset, void *dst, uint64_t count);
KORV_API int64_t KorvSBAdvance(KorvSmartBuffer *sb, int64_t count);
KORV_API uint64_t KorvSBRead(KorvSmartBuffer *sb, void *dst, uint64_t count);
KORV_API int64_t KorvSBBytesAvailable(KorvSmartBuffer *sb);
KORV_API int64_t KorvSBBytesInMemory(KorvSmartBuffer *sb);
KORV_API void KorvSBFree(KorvSmartBuffer *sb);

/* Network streams: TCP client and listening sockets, HTTP/1.1 URL streams
 * (GET downloads; mode 'w' a chunked PUT upload; 'n' non-blocking), and a
 * wait on several socket streams: 1 ready, 2 time-out, 0xFFFFFFFF failure. */
KORV_API KorvIO *KorvIO_TcpSocket(const char *host, uint16_t port, uint32_t backlog,
                                  uint32_t blocking);
KORV_API KorvIO *KorvIO_URL(const char *url, const char *mode);
KORV_API uint32_t KorvIOSelect(KorvIO **reads, uint32_t read_count, KorvIO **writes,
                               uint32_t write_count, uint32_t timeout_ms);

/* ---- end [io] ---- */


/* ======================================================================
 * [format] Formatted output and input (printf and scanf families)
 * ====================================================================== */

/* A locale record (see [locale]); the names without a trailing 'l' use the
 * engine locale. */
typedef struct KorvLocale KorvLocale;

/* Formatted output. Every member returns the count of characters produced
 * (stored or not); the stream members return 8 once a write failed.
 * 'V' members take a va_list; 'L' members take an array of pointers to the
 * argument values, in the order of the conversions; a trailing 'l' takes a
 * locale first. The format language adds to C's: a base after a second '.'
 * ("%#.0.2u"), the sizes I64/I32/I16/I8, '#' on 's' and 'c' for C escapes. */
KORV_API uint64_t KorvSPrintf(char *dst, const char *format, ...);
KORV_API uint64_t KorvVSPrintf(char *dst, const char *format, va_list args);
KORV_API uint64_t KorvLSPrintf(char *dst, const char *format, void **args);
KORV_API uint64_t KorvSNPrintf(char *dst, uint64_t size, const char *format, ...);
KORV_API uint64_t KorvVSNPrintf(char *dst, uint64_t size, const char *format, va_list args);
KORV_API uint64_t KorvLSNPrintf(char *dst, uint64_t size, const char *format, void **args);
KORV_API uint64_t KorvASPrintf(char **out, const char *format, ...);
KORV_API uint64_t KorvVASPrintf(char **out, const char *format, va_list args);
KORV_API uint64_t KorvLASPrintf(char **out, const char *format, void **args);
KORV_API uint64_t KorvIOPrintf(KorvIO *io, const char *format, ...);
KORV_API uint64_t KorvIOVPrintf(KorvIO *io, const char *format, va_list args);
KORV_API uint64_t KorvIOLPrintf(KorvIO *io, const char *format, void **args);
KORV_API uint64_t KorvSPrintfl(const KorvLocale *locale, char *dst, const char *format, ...);
KORV_API uint64_t KorvVSPrintfl(const KorvLocale *locale, char *dst, const char *format, va_list args);
KORV_API uint64_t KorvLSPrintfl(const KorvLocale *locale, char *dst, const char *format, void **args);
KORV_API uint64_t KorvSNPrintfl(const KorvLocale *locale, char *dst, uint64_t size, const char *format, ...);
KORV_API uint64_t KorvVSNPrintfl(const KorvLocale *locale, char *dst, uint64_t size, const char *format, va_list args);
KORV_API uint64_t KorvLSNPrintfl(const KorvLocale *locale, char *dst, uint64_t size, const char *format, void **args);
KORV_API uint64_t KorvASPrintfl(const KorvLocale *locale, char **out, const char *format, ...);
KORV_API uint64_t KorvVASPrintfl(const KorvLocale *locale, char **out, const char *format, va_list args);
KORV_API uint64_t KorvLASPrintfl(const KorvLocale *locale, char **out, const char *format, void **args);
KORV_API uint64_t KorvIOPrintfl(const KorvLocale *locale, KorvIO *io, const char *format, ...);
KORV_API uint64_t KorvIOVPrintfl(const KorvLocale *locale, KorvIO *io, const char *format, va_list args);
KORV_API uint64_t KorvIOLPrintfl(const KorvLocale *locale, KorvIO *io, const char *format, void **args);

/* Formatted input. The result is the number of values assigned, -1 when
 * the input ends before the first conversion, 2 for a malformed conversion,
 * or 8 when a stream read failed. */
KORV_API int32_t KorvSScanf(const char *src, const char *format, ...);
KORV_API int32_t KorvVSScanf(const char *src, const char *format, va_list args);
KORV_API int32_t KorvLSScanf(const char *src, const char *format, void **args);
KORV_API int32_t KorvIOScanf(KorvIO *io, const char *format, ...);
KORV_API int32_t KorvIOVScanf(KorvIO *io, const char *format, va_list args);
KORV_API int32_t KorvIOLScanf(KorvIO *io, const char *format, void **args);
KORV_API int32_t KorvSScanfl(const KorvLocale *locale, const char *src, const char *format, ...);
KORV_API int32_t KorvVSScanfl(const KorvLocale *locale, const char *src, const char *format, va_list args);
KORV_API int32_t KorvLSScanfl(const KorvLocale *locale, const char *src, const char *format, void **args);
KORV_API int32_t KorvIOScanfl(const KorvLocale *locale, KorvIO *io, const char *format, ...);
KORV_API int32_t KorvIOVScanfl(const KorvLocale *locale, KorvIO *io, const char *format, va_list args);
KORV_API int32_t KorvIOLScanfl(const KorvLocale *locale, KorvIO *io, const char *format, void **args);

/* ---- end [format] ---- */


/* ======================================================================
 * [env] Environment, data-file search, files and directories
 * ====================================================================== */

/* Settings. KorvGetenv's value belongs to the library: it stays valid until
 * the same name is set again or the engine ends. KorvSetenv never touches the
 * process environment; a null value removes the name from the library's
 * table. KorvExpandString replaces ${NAME} and $NAME (ended by the next
 * separator) by their values; it gives a new string, or null when the
 * expansion is empty or cannot be allocated. */
KORV_API char *KorvGetenv(const char *name);
KORV_API void KorvSetenv(const char *name, const char *value);
KORV_API char *KorvExpandString(const char *string);

/* Data files and file queries. KorvIdentifyFile: 0 a file, 1 a directory,
 * 2 nothing. KorvGetFileAttributes which: 0 last access, 1 last write (ms
 * since 1970 UTC), 2 size; 1 done, 0 bad which or name, 0xFFFFFFFF when the
 * system cannot tell. */
#define KORV_FILE_ACCESS_TIME 0u
#define KORV_FILE_WRITE_TIME 1u
#define KORV_FILE_SIZE 2u
KORV_API char *KorvFindFile(const char *name, const char *extension, const char *path);
KORV_API uint32_t KorvIdentifyFile(const char *path);
KORV_API uint32_t KorvGetFileAttributes(const char *path, uint32_t which, uint64_t *value);
KORV_API char **KorvGetSystemRoots(void);

/* Directories and files. Results of 1 mean done, 0xFFFFFFFF that the system
 * refused (or, for KorvMkDir, that the directory exists), 0 a bad name. */
typedef struct KorvDir KorvDir;
typedef struct KorvDirEntry KorvDirEntry;
typedef KorvDirEntry *(*KorvDirEntryCopyFn)(const KorvDirEntry *entry);
typedef uint32_t (*KorvDirEntryFreeFn)(KorvDirEntry *entry);
typedef uint32_t (*KorvDirFreeFn)(KorvDir *dir);
/* A directory handle; its free operation ends the search and frees it. */
struct KorvDir {
    void *copy;                /* not copyable: null */
    void *reserved;
    KorvDirFreeFn free;
    void *search;              /* the system's search */
    void *current;             /* the entry found last */
    uint32_t handedFirst;      /* 1 once the first entry has been handed out */
};
struct KorvDirEntry {
    KorvDirEntryCopyFn copy;   /* a new copy of the entry */
    void *reserved;
    KorvDirEntryFreeFn free;   /* frees the name and the record */
    uint32_t isDirectory;
    char *name;                /* without its directory */
};
/* KorvGetExecutablePath: the folder of the running program (the library's
 * string), or NULL. KorvMkDir makes a folder, and with make_parents the
 * missing ones above it. KorvOpenDir and KorvNextDir walk a folder: each
 * name is new (caller frees), NULL at the end; free the handle with its
 * free entry. KorvListDir gives every entry at once. KorvCopyFile with
 * overwrite 0 refuses an existing destination. KorvRealPath gives a new
 * normalised path ("." and ".." resolved; made absolute on request), or
 * NULL. */
KORV_API const char *KorvGetExecutablePath(void);
KORV_API uint32_t KorvMkDir(const char *path, uint32_t make_parents);
KORV_API KorvDir *KorvOpenDir(const char *path);
KORV_API char *KorvNextDir(KorvDir *dir);
KORV_API uint32_t KorvListDir(const char *path, uint32_t *count, KorvDirEntry ***entries);
KORV_API uint32_t KorvDeleteFile(const char *path);
KORV_API uint32_t KorvRenameFile(const char *old_path, const char *new_path);
KORV_API uint32_t KorvCopyFile(const char *destination, const char *source, uint32_t overwrite);
KORV_API char *KorvRealPath(const char *path, uint32_t make_absolute, uint32_t long_names);

/* ---- end [env] ---- */


/* ======================================================================
 * [cm] CM documents
 *
 * CM is the structured text of headers, function descriptors and bundle
 * registry files: <object> headers, [section] headers and "label: value"
 * lines. A document is read into a tree of KorvCMNode, looked up by object,
 * section and label (letter case ignored), changed, and written back.
 * A tree belongs to its caller and is freed with KorvFreeUserCMData.
 * ====================================================================== */

/* Token codes of the CM tokenizer (the ASCII value of a letter). */
#define KORV_CM_STRING  115 /* 's' quoted string */
#define KORV_CM_DATA    100 /* 'd' inline base64 data (decoded) */
#define KORV_CM_OBJECT  120 /* 'x' object header <name> */
#define KORV_CM_SECTION 110 /* 'n' section header [name] */
#define KORV_CM_LABEL   108 /* 'l' bare word ended by ':' */
#define KORV_CM_ASSIGN   97 /* 'a' bare word ended by '=' */
#define KORV_CM_PLAIN   112 /* 'p' bare word ended by end of line, or a brace block */
#define KORV_CM_EOF     101 /* 'e' end of input before a token */
#define KORV_CM_FAIL     69 /* 'E' failure */

/* Kinds of CM tree nodes. */
#define KORV_CMK_OBJECT  0u
#define KORV_CMK_SECTION 1u
#define KORV_CMK_LABEL   2u
#define KORV_CMK_PLAIN   3u
#define KORV_CMK_STRING  4u
#define KORV_CMK_DATA    5u

/* One node of a CM tree. text is always NUL-terminated (it may be NULL in a
 * duplicate of an empty node) and owned by the node unless borrowed is
 * nonzero. A tree is handed around as its first top-level node. */
struct KorvCMNode {
    char *text;
    uint64_t length;
    uint32_t borrowed;
    uint32_t kind;
    KorvCMNode *child;
    KorvCMNode *next;
};

/* Read one token from in, write its text to out, return its code. */
KORV_API int KorvReadUserCM(KorvIO *in, KorvIO *out);
KORV_API int KorvReadOldUserCM(KorvIO *in, KorvIO *out);

/* Read a document into *root (adding to a tree already there). 1 success,
 * 0 failure (tree freed, *root NULL), 0xFFFFFFFF misplaced node (the tree
 * read so far stays in *root). */
KORV_API uint32_t KorvReadUserCMData(KorvIO *in, KorvCMNode **root, uint32_t require_id);
/* 1 success, 0xFFFFFFFF a write came up short, 0 if out is NULL. */
KORV_API uint32_t KorvWriteUserCMData(KorvCMNode *root, KorvIO *out);

/* Lookups: any name may be NULL; indexes count from 0. */
KORV_API KorvCMNode *KorvIndexedGetUserCMData(KorvCMNode *root,
    const char *object, uint32_t object_index,
    const char *section, uint32_t section_index,
    const char *label, uint32_t label_index);
KORV_API KorvCMNode *KorvGetUserCMData(KorvCMNode *root,
    const char *object, const char *section, const char *label);
KORV_API char *KorvGetParam(KorvCMNode *root,
    const char *object, const char *section, const char *label);
KORV_API uint32_t KorvGetData(KorvCMNode *root, const char *object,
    const char *section, const char *label, void **data, uint64_t *length);
KORV_API uint32_t KorvGetUserCMList(KorvCMNode *root, const char *object,
    const char *section, const char *label, char ***list);
KORV_API void KorvFreeUserCMList(char ***list);
KORV_API void KorvFreeUserCMData(KorvCMNode *node);

/* Making, setting and deleting; each returns the (possibly new) root. */
KORV_API KorvCMNode *KorvMergeUserCMData(KorvCMNode *root, const char *object,
    const char *section, const char *label, KorvCMNode **last);
KORV_API KorvCMNode *KorvSetString(KorvCMNode *root, const char *object,
    const char *section, const char *label, const char *string);
KORV_API KorvCMNode *KorvSetData(KorvCMNode *root, const char *object,
    const char *section, const char *label, const void *data, uint64_t length);
KORV_API KorvCMNode *KorvSetParam(KorvCMNode *root, const char *object,
    const char *section, const char *label, const char *value, uint64_t length);
KORV_API KorvCMNode *KorvDeleteUserCMData(KorvCMNode *root, const char *object,
    const char *section, const char *label);
KORV_API void KorvDeleteParam(KorvCMNode *root, const char *object,
    const char *section, const char *label);
KORV_API KorvCMNode *KorvUserCMDupData(const KorvCMNode *node);

/* ---- end [cm] ---- */


/* ======================================================================
 * [modules] Function descriptors, info fields, module loader, libraries
 *
 * Processing functions live in bundles, shared libraries with three entry
 * symbols named after the bundle, each function described by a descriptor
 * document. The module loader opens bundles and finds functions by name;
 * the library cache resolves "library!symbol" entry names.
 * ====================================================================== */

/* -- function descriptors -- */
/* Interleaves a function accepts (the interleaves mask). */
#define KORV_FD_SCANLINE    1u
#define KORV_FD_PIXEL       2u
#define KORV_FD_FRAME       4u
#define KORV_FD_COMPRESSION 8u

typedef KorvFuncDesc *(*KorvFuncDescCopyFn)(KorvFuncDesc *desc);
typedef void (*KorvFuncDescFreeFn)(KorvFuncDesc *desc);
/* A processing function as its descriptor document tells it. The record owns
 * every string and array; string arrays are NULL-terminated, bits ends with
 * -1; NULL arrays mean "any". */
struct KorvFuncDesc {
    KorvFuncDescCopyFn copy;
    void *reserved;
    KorvFuncDescFreeFn free;
    char *name;
    char *init;        /* its init entry: "library!symbol" or a symbol */
    uintptr_t user;
    char **args;
    char **colorSpaces;
    int32_t *bits;
    int32_t inputs;
    int32_t outputs;
    int32_t synchronous;
    uint32_t interleaves;
    char **tests;
    char **formats;
    char *description;
    char *documentation;
    char **categories;
};
/* A descriptor: KorvAllocFuncDesc gives a zeroed one with its entries set
 * (synchronous 1, every interleave), or NULL. KorvReadFuncDesc fills it from
 * a descriptor document: 1, or 0 for a NULL argument or a bad document.
 * KorvCopyFuncDesc makes a deep copy; KorvFreeFuncDesc frees every string,
 * array and the record. */
KORV_API KorvFuncDesc *KorvAllocFuncDesc(void);
KORV_API uint32_t KorvReadFuncDesc(KorvIO *io, KorvFuncDesc *desc);
KORV_API KorvFuncDesc *KorvCopyFuncDesc(KorvFuncDesc *desc);
KORV_API void KorvFreeFuncDesc(KorvFuncDesc *desc);
/* The descriptor file of that name along the descriptor search path (a new
 * string), or NULL. */
KORV_API char *KorvFuncDescFileName(const char *name);

/* -- info fields -- */
typedef struct KorvInfoField KorvInfoField;
typedef KorvInfoField *(*KorvInfoFieldCopyFn)(KorvInfoField *field);
typedef void (*KorvInfoFieldFreeFn)(KorvInfoField *field);
/* One typed field of a small value block: type 'c' bytes, 'f' doubles, 'i'
 * 32-bit integers; offset is the sum of the sizes before it. A field list is
 * a NULL-terminated array of field pointers. */
struct KorvInfoField {
    KorvInfoFieldCopyFn copy;
    void *reserved;
    KorvInfoFieldFreeFn free;
    char *name;
    char type;
    uint32_t count;
    uint32_t size;
    uint64_t offset;
};
/* A field is written "name:countT" (count elements of type letter T).
 * KorvParseInfoField splits one (a new name): 1, -1 without ':', 0 for a
 * NULL argument. KorvParseInfoFields makes a list from a NULL-terminated
 * array of texts, KorvParseInfoFieldsFromHdr from a header's parameters;
 * KorvWriteInfoFieldsToHdr writes a list into a header. KorvAddInfoField
 * and KorvFindInfoField give the field's index, or -1 (names compare
 * without regard to case). KorvGetInfoFieldsTotal is the block's size. The
 * typed getters and setters read and write element index of a field in a
 * block: 1, -1 for the wrong type or an index out of range, 0 for NULL;
 * KorvGetInfoFieldStr gives a new string. */
KORV_API int32_t KorvParseInfoField(const char *text, char **name, char *type, uint32_t *count);
KORV_API uint32_t KorvParseInfoFields(const char *const *texts, KorvInfoField ***list);
KORV_API uint32_t KorvParseInfoFieldsFromHdr(KorvGenericHeader *header, KorvInfoField ***list);
KORV_API uint32_t KorvWriteInfoFieldsToHdr(KorvGenericHeader *header, KorvInfoField **list);
KORV_API int32_t KorvAddInfoField(KorvInfoField ***list, const char *name, char type,
                                  uint32_t count);
KORV_API int32_t KorvFindInfoField(KorvInfoField **list, const char *name);
KORV_API uint32_t KorvRemoveInfoField(KorvInfoField **list, int32_t index);
KORV_API uint64_t KorvGetInfoFieldsTotal(KorvInfoField **list);
KORV_API int32_t KorvGetInfoFieldInt(const KorvInfoField *field, const void *block,
                                     int32_t index, int32_t *value);
KORV_API int32_t KorvSetInfoFieldInt(const KorvInfoField *field, void *block, int32_t index,
                                     int32_t value);
KORV_API int32_t KorvGetInfoFieldDouble(const KorvInfoField *field, const void *block,
                                        int32_t index, double *value);
KORV_API int32_t KorvSetInfoFieldDouble(const KorvInfoField *field, void *block, int32_t index,
                                        double value);
KORV_API int32_t KorvGetInfoFieldStr(const KorvInfoField *field, const void *block,
                                     char **string);
KORV_API int32_t KorvSetInfoFieldStr(const KorvInfoField *field, void *block,
                                     const char *string);

/* -- dynamic libraries -- */
typedef void *KorvLibrary;
KORV_API uint32_t KorvDLOpen(const char *name, KorvLibrary *handle);
KORV_API uint32_t KorvDLClose(KorvLibrary handle);
KORV_API uint32_t KorvDLSymbolLookup(KorvLibrary handle, const char *symbol, void **pointer);
KORV_API char *KorvGetLibraryBaseName(const char *path);
/* "lib1,lib2!symbol" or "symbol" in the default library: 1 found, 0 not
 * found, -1 no library opened. Libraries are kept in a process-wide cache. */
KORV_API uint32_t KorvRetrieveFunc(const char *entry, const char *defaultLibrary, void **pointer);
KORV_API uint32_t KorvRetrieveInit(const char *entry, void **pointer);

/* -- bundles and the module loader -- */
/* What a bundle's module entry hands out for one function. The first two
 * words are fixed: the loader finds the module's bundle by the first. */
typedef struct KorvModule {
    const char *bundle;      /* the bundle's base name */
    const char *name;        /* the function's name within the bundle */
    const char *descriptor;  /* its descriptor document, for KorvFuncDescFileName */
    KorvInitFn init;         /* its init entry, or NULL */
    KorvCompositeInitFn compositeInit; /* its composite init entry, or NULL */
} KorvModule;
/* The three entry symbols of bundle NAME: KorvaneBundleGetVersion_NAME,
 * KorvaneBundleGetList_NAME and KorvaneBundleGetModule_NAME. */
#define KORV_BUNDLE_MAJOR_VERSION 5
typedef const int32_t *(*KorvBundleVersionFn)(void);
typedef KorvModule **(*KorvBundleListFn)(void);
typedef KorvModule *(*KorvBundleModuleFn)(const char *name);

typedef struct KorvModLoader KorvModLoader;
typedef struct KorvBundle KorvBundle;
typedef struct KorvModAlias KorvModAlias;
typedef void (*KorvModLoaderFn)(KorvModLoader *loader);
typedef KorvModule *(*KorvModLoaderFindFn)(KorvModLoader *loader, const char *name);
typedef void (*KorvModLoaderModuleFn)(KorvModLoader *loader, KorvModule *module);
#define KORV_MODLOADER_BUNDLE_BUCKETS 31
#define KORV_MODLOADER_ALIAS_BUCKETS 63
struct KorvModLoader {
    KorvModLoaderFn retain;
    KorvModLoaderFn release;
    KorvModLoaderFindFn findModule;
    KorvModLoaderModuleFn retainModule;
    KorvModLoaderModuleFn releaseModule;
    char tag[4];                     /* "Q)E(" */
    KorvCriticalSection *lock;       /* guards everything below */
    int32_t refcount;
    KorvBundle *bundles[KORV_MODLOADER_BUNDLE_BUCKETS];
    KorvModAlias *aliases[KORV_MODLOADER_ALIAS_BUCKETS];
    KorvModAlias *functionAliases[KORV_MODLOADER_ALIAS_BUCKETS];
};
struct KorvBundle {
    KorvBundleVersionFn version;
    KorvBundleListFn list;
    KorvBundleModuleFn module;
    uint32_t count;
    char *name;
    KorvLibrary library; /* NULL for bundles registered from functions */
    int32_t refcount;
    KorvBundle *next;
};
struct KorvModAlias {
    char *key;
    char *target;
    KorvModAlias *next;
};
/* The basic module loader: bundles by library path, by path list
 * ("a.so,b.so"), by registry file (a CM document whose [libraries] section
 * lists "optional: path" or "required: path", and [aliases] "key: target"),
 * or by functions of the caller. Create gives 1 and a loader with one
 * reference (release it through its release entry), or 0. Adding a library:
 * 1 added, 2 a bundle of that name is already there, -1 it cannot be opened
 * or reports another major version than 5. AddPath: 1, 2 when one failed,
 * -1 for NULL. AddRegistryFile: 1, 2 an optional bundle failed, -1 a
 * required one, 0 unreadable. AddDefaults reads the registry file of that
 * name found along searchPath, then the path list in the variable envName,
 * and falls back to defaultPaths when no registry was found: 1, 0 or -1. */
KORV_API uint32_t KorvBasicModLoaderCreate(KorvModLoader **loader);
KORV_API uint32_t KorvBasicModLoaderAddLibrary(KorvModLoader *loader, const char *path);
KORV_API uint32_t KorvBasicModLoaderAddFunctions(KorvModLoader *loader, const char *name,
                                                 KorvBundleVersionFn version,
                                                 KorvBundleListFn list,
                                                 KorvBundleModuleFn module);
KORV_API uint32_t KorvBasicModLoaderAddPath(KorvModLoader *loader, const char *paths);
KORV_API uint32_t KorvBasicModLoaderAddRegistryFile(KorvModLoader *loader, const char *path);
KORV_API uint32_t KorvBasicModLoaderAddDefaults(KorvModLoader *loader, const char *registry,
                                                const char *searchPath, const char *envName,
                                                const char *defaultPaths);
KORV_API uint32_t KorvBasicModLoaderAddAlias(KorvModLoader *loader, const char *key,
                                             const char *target);
/* The modules of the named bundle (opened if needed) or, for NULL, of every
 * bundle: their number, and *list a new NULL-terminated array (freed with
 * korv_internal_free) when list is not NULL. */
KORV_API uint32_t KorvBasicModLoaderGetList(KorvModLoader *loader, const char *bundle,
                                            KorvModule ***list);
KORV_API void KorvBasicModLoaderDebugDump(KorvModLoader *loader);

/* ---- end [modules] ---- */


/* ======================================================================
 * [thread] Synchronisation, threads, thread-local storage, coroutines
 * ====================================================================== */

/* Every object is a heap record owned by the caller through an opaque
 * pointer. A null object handed to an operation counts as success (1) and
 * does nothing, so callers can run with locking switched off.
 * Waits return 1 when acquired or signalled, 2 when timed out, 0 on failure.
 * Time-outs are milliseconds; KORV_INFINITE waits without limit. */
#define KORV_INFINITE 0xFFFFFFFFu

typedef struct KorvMutex KorvMutex;         /* re-entrant for its owner */
typedef struct KorvSemaphore KorvSemaphore; /* maximum count 65535 */
typedef struct KorvEvent KorvEvent;
typedef struct KorvThread KorvThread;       /* the platform thread handle */

/* Condition variable: waiters sleep on `queue`; the last waiter released
 * by a broadcast sets `done`. The counters are touched only under `lock`. */
typedef struct KorvConditional {
  int32_t waiters;           /* threads waiting */
  uint32_t broadcasting;     /* set while a broadcast releases waiters */
  KorvCriticalSection *lock; /* guards the two counters */
  KorvSemaphore *queue;      /* initial 0, maximum 65535 */
  KorvEvent *done;           /* auto-reset, initially not signalled */
} KorvConditional;

/* Entry of a thread; its result is the thread's exit code. It must not
 * return 259, the platform's "still active" value, or it cannot be joined. */
typedef uint32_t (*KorvThreadFunc)(void *arg);

/* Re-entrant locks. Init: 1 with the lock stored, 0 for a null address.
 * Enter and leave: always 1; a null lock is ignored. */
KORV_API uint32_t KorvInitCriticalSection(KorvCriticalSection **cs);
KORV_API uint32_t KorvFreeCriticalSection(KorvCriticalSection *cs);
KORV_API uint32_t KorvEnterCriticalSection(KorvCriticalSection *cs);
KORV_API uint32_t KorvLeaveCriticalSection(KorvCriticalSection *cs);

/* Init of a mutex, semaphore or event: 0 for a null address or when the
 * platform object cannot be made; otherwise 1, also when the holding cell
 * cannot be allocated (the pointer is then null). */
KORV_API uint32_t KorvInitMutex(KorvMutex **m);
KORV_API uint32_t KorvFreeMutex(KorvMutex *m);
KORV_API uint32_t KorvLockMutex(KorvMutex *m);
KORV_API uint32_t KorvTryLockMutex(KorvMutex *m); /* 1, 2 held elsewhere, 0 */
KORV_API uint32_t KorvUnlockMutex(KorvMutex *m);

/* Semaphores count down on a wait and up on a post. Waits take a time-out
 * in milliseconds (KORV_INFINITE: without limit) and give 1 acquired or
 * signalled, 2 timed out, 0 failure; a null object gives 1. */
KORV_API uint32_t KorvInitSemaphore(KorvSemaphore **s, uint32_t initial);
KORV_API uint32_t KorvFreeSemaphore(KorvSemaphore *s);
KORV_API uint32_t KorvTimedWaitSemaphore(KorvSemaphore *s, uint32_t ms);
KORV_API uint32_t KorvPostSemaphore(KorvSemaphore *s);

/* Events, manual- or auto-reset. Set and reset: 1, or 0 when the platform
 * refused. */
KORV_API uint32_t KorvInitEvent(KorvEvent **e, uint32_t manual_reset, uint32_t initial_state);
KORV_API uint32_t KorvFreeEvent(KorvEvent *e);
KORV_API uint32_t KorvSetEvent(KorvEvent *e);
KORV_API uint32_t KorvResetEvent(KorvEvent *e);
/* Releases the threads waiting at this moment (one of them for an
 * auto-reset event) and leaves the event reset. */
KORV_API uint32_t KorvPulseEvent(KorvEvent *e);
KORV_API uint32_t KorvWaitSingleEvent(KorvEvent *e, uint32_t ms);
/* Waits for one (or, with wait_all, every) event of the array. *index is
 * first set to 0, then to the index of the signalled event. */
KORV_API uint32_t KorvWaitMultipleEvent(KorvEvent **events, uint32_t count, uint32_t wait_all,
                                        uint32_t ms, uint32_t *index);

/* Condition variables used with a KorvMutex held by the caller. A wait
 * releases the mutex and takes it again before returning: 1 woken, 2
 * timed out (the timed form), 0 failure; NULL arguments give 1. Signal
 * wakes one waiter, broadcast every waiter of this moment. */
KORV_API uint32_t KorvInitConditional(KorvConditional **c);
KORV_API uint32_t KorvFreeConditional(KorvConditional *c);
KORV_API uint32_t KorvSignalConditional(KorvConditional *c);
KORV_API uint32_t KorvBroadcastConditional(KorvConditional *c);
KORV_API uint32_t KorvWaitConditional(KorvConditional *c, KorvMutex *m);
KORV_API uint32_t KorvTimedWaitConditional(KorvConditional *c, KorvMutex *m, uint32_t ms);

/* Thread-local slots: Alloc gives 1 with a new index, or 0 when the
 * platform has none left; a slot holds one pointer per thread, NULL until
 * set. */
KORV_API uint32_t KorvTLSAlloc(uint32_t *index);
KORV_API uint32_t KorvTLSFree(uint32_t index);
KORV_API uint32_t KorvTLSSetValue(uint32_t index, void *value);
KORV_API void *KorvTLSGetValue(uint32_t index);

/* Threads. KorvCreateThread starts func(arg): 1, or 0 when the thread
 * cannot start; with a NULL address the thread runs detached. KorvJoinThread
 * waits for the end, stores the exit code and frees the handle: 1, or 0 when
 * the code cannot be read. KorvExitThread ends the calling thread. */
KORV_API uint32_t KorvCreateThread(KorvThread **thread, KorvThreadFunc func, void *arg);
KORV_API KORV_NORETURN void KorvExitThread(uint32_t code);
KORV_API uint32_t KorvJoinThread(KorvThread *thread, uint32_t *code);
KORV_API uint32_t KorvGetCurrentThreadId(void);
KORV_API KorvThread *KorvGetCurrentThread(void);

/* Coroutine: a body on its own stack, run by KorvCoroResume until it calls
 * KorvCoroYield or returns. */
typedef struct KorvCoro KorvCoro;
typedef void (*KorvCoroBody)(KorvCoro *coro, void *arg);
struct KorvCoro {
  uint32_t finished;  /* 1 once the body has returned */
  void *arg;          /* the body's argument */
  KorvCoroBody body;
  void *fiber;        /* the coroutine's own context; null once deleted */
  void *caller;       /* the context to return to, recorded at each resume */
};

/* 0 when the record or its stack cannot be allocated (*coro is then null);
 * stack_size 0 means the platform's default. The body does not run yet. */
KORV_API uint32_t KorvCoroCreate(KorvCoro **coro, KorvCoroBody body, void *arg, size_t stack_size);
KORV_API uint32_t KorvCoroResume(KorvCoro *coro); /* 0 once finished */
KORV_API uint32_t KorvCoroYield(KorvCoro *coro);
KORV_API uint32_t KorvCoroFree(KorvCoro *coro);

/* ---- end [thread] ---- */


/* ======================================================================
 * [locale] Engine and user locales, locale-independent number reading
 * ====================================================================== */

/* The number-format conventions of a locale: three texts, in this order.
 * The formatted output and input engines use decimalPoint. */
typedef struct KorvLocale {
    const char *decimalPoint;   /* the decimal separator */
    const char *thousandsSep;   /* the thousands separator */
    const char *grouping;       /* digit grouping; empty for none */
} KorvLocale;

/* The fixed engine locale (".", ",", ""): what files are written with. */
KORV_API const KorvLocale *KorvGetKorvaneLocale(void);
/* The user's locale, asked of the platform on first use. The record is
 * shared; a later KorvSetUserLocale frees its texts. */
KORV_API const KorvLocale *KorvGetUserLocale(void);
/* Replaces the user locale by copies of the three texts; null is ignored. */
KORV_API void KorvSetUserLocale(const KorvLocale *locale);

/* Number readers that ignore the locale ('.' is the decimal point). Each
 * reads what it can and stores where it stopped in *end (when end is not
 * null). KorvReadInt32 skips white space, takes a sign and decimal digits
 * in wrapping 32-bit arithmetic. KorvReadDouble skips nothing: a sign,
 * digits, a fraction, an exponent after 'e', 'E', 'd' or 'D'; or "0x" with
 * hexadecimal digits, whose binary exponent ('p') is taken only after a
 * fraction point. */
KORV_API int32_t KorvReadInt32(const char *text, const char **end);
KORV_API double KorvReadDouble(const char *text, const char **end);

/* ---- end [locale] ---- */


/* ======================================================================
 * [util] Strings, tokens, small heap, UTF-8, arrays, hashing, byte order
 *
 * Text is UTF-8 and NUL-terminated unless a length is given. New strings
 * and arrays belong to the caller, freed with korv_internal_free (item
 * arrays with KorvFreeArray or KorvFreeSmartArray), unless made in a small
 * heap.
 * ====================================================================== */

/* Item arrays: count pointers and a terminating NULL. */
KORV_API uint32_t KorvAllocArray(void ***array, uint32_t count, uint32_t size);
KORV_API uint32_t KorvReallocArray(void ***array, uint32_t count, uint32_t size);
KORV_API uint32_t KorvFreeArray(void **array);
KORV_API uint32_t KorvFreeSmartArray(void **array);
KORV_API void *KorvGetArrayItem(void **array, uint32_t index);
KORV_API uint32_t KorvGetArraySize(void **array);

/* Hashes and byte order. */
typedef struct KorvMD5Context {
    uint32_t state[4];
    uint32_t count[2]; /* bit count, low word first */
    unsigned char buffer[64];
} KorvMD5Context;
/* KorvHashBytes: a 16-bit checksum (0 for length 0); KorvHashString and
 * KorvFNVHashBytes: 32-bit hashes. MD5: init, update with the bytes, final
 * writes the 16-byte digest. The Swab functions reverse the bytes of 2-,
 * 4- and 8-byte values in place, one or count of them. The Identify
 * functions give the processor count and memory sizes in bytes (selector 0
 * total physical, 1 available physical, 2 total virtual, 3 available
 * virtual; others 0). */
KORV_API uint16_t KorvHashBytes(const void *data, uint32_t length);
KORV_API uint32_t KorvHashString(const char *text);
KORV_API uint32_t KorvFNVHashBytes(const void *data, uint32_t length, uint32_t seed);
KORV_API void KorvMD5Init(KorvMD5Context *context);
KORV_API void KorvMD5Update(KorvMD5Context *context, const void *data, uint32_t length);
KORV_API void KorvMD5Final(unsigned char digest[16], KorvMD5Context *context);
KORV_API void KorvSwabShort(void *value);
KORV_API void KorvSwabLong(void *value);
KORV_API void KorvSwabDouble(void *value);
KORV_API void KorvSwabShortArray(void *values, uint32_t count);
KORV_API void KorvSwabLongArray(void *values, uint32_t count);
KORV_API void KorvSwabDoubleArray(void *values, uint32_t count);
KORV_API uint32_t KorvIdentifyProcessorCount(void);
KORV_API uint64_t KorvIdentifyMemory(uint32_t selector);

/* -- strings, tokens, small heap, UTF-8 and code pages follow -- */

/* Strings. Byte strings are NUL-terminated; a null string reads as an empty
 * one, except where a copy is asked for (null gives null). Lengths and counts
 * are in bytes; wide strings are 16-bit units. */
KORV_API char *KorvStrDup(const char *s);
KORV_API char *KorvStrNDup(const char *s, size_t n);
KORV_API char *KorvStrCpy(char *dest, const char *src);
/* Copies until the source's NUL or n bytes; writes a NUL only when the source
 * ended within n bytes, and never pads. */
KORV_API char *KorvStrNCpy(char *dest, const char *src, size_t n);
KORV_API char *KorvStrCat(char *dest, const char *src);
KORV_API char *KorvStrNCat(char *dest, const char *src, size_t n); /* always terminated */
/* Differences of the first differing bytes, taken as signed bytes. The
 * case-insensitive forms fold through KorvAsciiToLower. */
KORV_API int32_t KorvStrCmp(const char *a, const char *b);
KORV_API int32_t KorvStrNCmp(const char *a, const char *b, size_t n);
KORV_API int32_t KorvStrCaseCmp(const char *a, const char *b);
KORV_API int32_t KorvStrNCaseCmp(const char *a, const char *b, size_t n);
/* The terminator is never found. */
KORV_API char *KorvStrChr(const char *s, int32_t c);
KORV_API char *KorvStrRChr(const char *s, int32_t c);
KORV_API uint16_t *KorvWideStrChr(const uint16_t *s, uint16_t c);
KORV_API uint16_t *KorvWideStrRChr(const uint16_t *s, uint16_t c);
KORV_API size_t KorvStrLen(const char *s);
KORV_API size_t KorvStrNLen(const char *s, size_t n);
KORV_API size_t KorvWideStrLen(const uint16_t *s);
/* An empty haystack gives null; an empty needle gives the haystack. */
KORV_API char *KorvStrStr(const char *haystack, const char *needle);
/* Last occurrence; an empty needle gives the haystack's terminator. */
KORV_API char *KorvStrRStr(const char *haystack, const char *needle);

/* ASCII classification and case mapping. The case tables are one entry
 * wider than the alphabet: KorvAsciiToLower maps '[' to '{' and
 * KorvAsciiToUpper maps '`' to '@'. Bytes of 0x80 and above map to
 * themselves. */
KORV_API int32_t KorvAsciiToUpper(int32_t c);
KORV_API int32_t KorvAsciiToLower(int32_t c);
KORV_API uint32_t KorvIsAsciiPrint(int32_t c);
KORV_API uint32_t KorvIsAsciiChar(int32_t c);
KORV_API uint32_t KorvIsAsciiSpace(int32_t c);
KORV_API uint32_t KorvIsAsciiAlpha(int32_t c);
KORV_API uint32_t KorvIsAsciiDigit(int32_t c);
KORV_API uint32_t KorvIsAsciiHexDigit(int32_t c);

/* Small heap: an arena of blocks from which small pieces are carved and
 * released all at once. Every Sh routine takes the heap first; a null heap
 * means the general allocator (free those results with korv_internal_free,
 * or korv_internal_aligned_free for the aligned forms). */
typedef struct KorvSmallHeapBlock KorvSmallHeapBlock;
struct KorvSmallHeapBlock {
    KorvSmallHeapBlock *next;
    size_t size;            /* size when made; then the size of the latest piece */
    unsigned char *freePos; /* first byte not yet handed out */
    unsigned char *end;     /* one past the block's last byte */
};
struct KorvSmallHeap {
    KorvSmallHeapBlock *first;
    KorvSmallHeapBlock *current; /* tried first by an allocation */
    size_t total;                /* bytes of blocks reserved so far */
};
#define KORV_SMALL_HEAP_BLOCK 65536u

/* A small heap hands out pieces of its blocks and frees them all at once:
 * Release empties it for reuse, Free frees it and the handle. Everything
 * handed out dies with the next release or free. A NULL heap in the
 * allocation and copy functions means the general allocator. Init gives
 * NULL when out of memory. */
KORV_API KorvSmallHeap *KorvSmallHeapInit(void);
KORV_API void KorvSmallHeapRelease(KorvSmallHeap *heap);
KORV_API void KorvSmallHeapFree(KorvSmallHeap *heap);
KORV_API void *korv_internal_sh_malloc(KorvSmallHeap *heap, size_t size);
KORV_API void *korv_internal_sh_calloc(KorvSmallHeap *heap, size_t count, size_t size);
KORV_API void *korv_internal_sh_aligned_malloc(KorvSmallHeap *heap, size_t size, size_t alignment);
KORV_API void *korv_internal_sh_aligned_alloc(KorvSmallHeap *heap, size_t size, size_t alignment);
KORV_API char *KorvShStrDup(KorvSmallHeap *heap, const char *s);
KORV_API char *KorvShStrNDup(KorvSmallHeap *heap, const char *s, size_t n);

/* Tokenizer flags. */
#define KORV_TOKEN_SKIP_DELIMITERS 1u /* skip delimiters before a token */
#define KORV_TOKEN_SINGLE_QUOTES   2u /* '...' groups */
#define KORV_TOKEN_DOUBLE_QUOTES   4u /* "..." groups */
#define KORV_TOKEN_ESCAPES         8u /* backslash escapes inside quotes */
#define KORV_TOKEN_KEEP_QUOTES    16u /* keep the quote characters */

/* Tokenizers. *position belongs to the caller and must be null before the
 * first call; the walk ends when null is returned. KorvTokenParse cuts the
 * token out of the string in place; the Dup forms return a new copy (from
 * the heap, or the general allocator) and leave the string unchanged. */
KORV_API char *KorvTokenParseEx(char *string, const char *delimiters, uint32_t flags,
                                char **position);
KORV_API char *KorvTokenParse(char *string, const char *delimiters, char **position);
KORV_API char *KorvShDupTokenParseEx(KorvSmallHeap *heap, const char *string,
                                     const char *delimiters, uint32_t flags,
                                     const char **position);
KORV_API char *KorvShDupTokenParse(KorvSmallHeap *heap, const char *string,
                                   const char *delimiters, const char **position);
KORV_API char *KorvDupTokenParseEx(const char *string, const char *delimiters, uint32_t flags,
                                   const char **position);
KORV_API char *KorvDupTokenParse(const char *string, const char *delimiters,
                                 const char **position);
/* Every token as a copy, in an array ending in NULL. Without a heap, free
 * the result with KorvFreeArray. */
KORV_API char **KorvShSplitStringEx(KorvSmallHeap *heap, const char *string,
                                    const char *delimiters, uint32_t flags);
KORV_API char **KorvShSplitString(KorvSmallHeap *heap, const char *string,
                                  const char *delimiters);
KORV_API char **KorvSplitStringEx(const char *string, const char *delimiters, uint32_t flags);
KORV_API char **KorvSplitString(const char *string, const char *delimiters);

/* Trimming in place; both return s. */
KORV_API char *KorvStripLeadingSpaces(char *s);
KORV_API char *KorvStripTrailingSpaces(char *s);
/* 1 when s is inline data (a list of numbers) rather than a file name. */
KORV_API uint32_t KorvIsImmediateData(const char *s);

/* UTF-8 conversions. Results are new strings from korv_internal_malloc.
 * UTF-16 is in the machine's byte order, UCS-4 holds 32-bit code points;
 * both are NUL-terminated. */
KORV_API uint16_t *KorvUTF8ConvertToUTF16(const char *s);
KORV_API char *KorvUTF8ConvertFromUTF16(const uint16_t *s);
KORV_API uint32_t *KorvUTF8ConvertToUCS4(const char *s);
KORV_API char *KorvUTF8ConvertFromUCS4(const uint32_t *s);
/* Named encodings: null, "utf8", "utf-8", "ACP", "OEMCP" or "CP<number>",
 * without regard to case. ConvertTo stores the result's length without the
 * terminator when length is not null. ConvertFrom reads length bytes of a
 * NUL-terminated text, all of it when length is 0 or negative. */
KORV_API char *KorvUTF8ConvertTo(const char *s, const char *encoding, int32_t *length);
KORV_API char *KorvUTF8ConvertFrom(const char *s, int32_t length, const char *encoding);
/* The process-wide file-name encoding (null: file names are UTF-8). */
KORV_API uint32_t KorvUTF8SetFilenameEncoding(const char *encoding);
KORV_API const char *KorvUTF8GetFilenameEncoding(void);
KORV_API char *KorvUTF8ConvertToFilename(const char *s);
KORV_API char *KorvUTF8ConvertFromFilename(const char *s);

/* Character walks. Counting stops at the terminator or the first bad
 * sequence; null strings give -1. */
KORV_API int32_t KorvUTF8StrLen(const char *s);
KORV_API int32_t KorvUTF8StrNLen(const char *s, size_t limit);
KORV_API char *KorvUTF8StrChr(const char *s, uint32_t c);
KORV_API char *KorvUTF8StrRChr(const char *s, uint32_t c);
/* Decodes the character at *position and moves past it. Returns 0 at the
 * terminator; on a bad sequence returns 0, sets *error to 1 and leaves the
 * position. remaining (optional) is the number of bytes left, decreased by
 * the sequence length. */
KORV_API uint32_t KorvUTF8NextChar(const char **position, size_t *remaining, int32_t *error);
/* 1 to 4; 0 at the terminator; -1 for a bad sequence or null. */
KORV_API int32_t KorvUTF8NextCharLen(const char *position);
KORV_API uint32_t KorvUTF8IsNextCharValid(const char *position);
/* The position after the next character: the same position at the
 * terminator, one byte on for a bad sequence. */
KORV_API char *KorvUTF8Inc(const char *position);


/* ---- end [util] ---- */

#ifdef __cplusplus
}
#endif

#endif /* KVSUP_H */
