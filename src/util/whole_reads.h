// Word- and block-wise reads that may run past a string's terminator, but
// never into another page (the callers see to that). The address and thread
// checkers are told that such functions mean it: the bytes read past the end
// never decide a result.
#ifndef KVSUP_UTIL_WHOLE_READS_H
#define KVSUP_UTIL_WHOLE_READS_H

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define KORV_WHOLE_WORD_READS __attribute__((no_sanitize("address", "thread")))
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define KORV_WHOLE_WORD_READS __attribute__((no_sanitize("address", "thread")))
#endif
#endif
#ifndef KORV_WHOLE_WORD_READS
#define KORV_WHOLE_WORD_READS
#endif

#endif
