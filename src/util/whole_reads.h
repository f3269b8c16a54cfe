// Word- and block-wise reads that may run past a string's terminator, but
// never into another page (the callers see to that). The address checker
// is told that such functions mean it.
#ifndef KVSUP_UTIL_WHOLE_READS_H
#define KVSUP_UTIL_WHOLE_READS_H

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KORV_WHOLE_WORD_READS __attribute__((no_sanitize("address")))
#endif
#endif
#if !defined(KORV_WHOLE_WORD_READS) && defined(__SANITIZE_ADDRESS__)
#define KORV_WHOLE_WORD_READS __attribute__((no_sanitize("address")))
#endif
#ifndef KORV_WHOLE_WORD_READS
#define KORV_WHOLE_WORD_READS
#endif

#endif
