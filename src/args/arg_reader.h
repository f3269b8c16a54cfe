// Reading the values of one argument-list entry as a flat stream, whatever
// their stored types: a window gives its four components, an array its
// elements, one value per read.
#ifndef KVSUP_ARGS_ARG_READER_H
#define KVSUP_ARGS_ARG_READER_H

#include "args/arglist.h"

namespace korv::args {

// One value as read: its kind and its word. Kinds: 'i' and 'b' (word points
// to a 32-bit integer), 'f' (word points to a double), 'v' (the address
// itself), 's' (the text), 'M', 'R', 'W' (a URL text of that mode), 'p'
// (a word no conversion takes).
struct Value {
    char kind;
    KorvArgWord word;
};

class Reader {
public:
    // Reads the entry whose name word is list[at]; a null list reads nothing.
    Reader(const KorvArgWord *list, size_t at);
    // The next value; false when the stored types are used up (which is
    // reported through the debug channel on every such read).
    bool read(Value &v);

private:
    bool open_group();
    Value element(const unsigned char *element) const;
    Value scalar(KorvArgWord word) const;

    const char *name_ = nullptr;
    const char *types_ = nullptr;        // the next group of the qualifier
    const KorvArgWord *words_ = nullptr; // the next value word
    Group group_{};
    bool in_group_ = false;
    bool fixed_ = false;
    int32_t fixed_count_ = 0;
    const unsigned char *fixed_elements_ = nullptr;
    int32_t index_ = 0;     // within the current array
    int component_ = 0;     // within the current window
};

} // namespace korv::args

#endif
