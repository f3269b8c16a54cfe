// The value reader behind argument parsing.
#include <string.h>
#include "args/arg_reader.h"

namespace korv::args {

Reader::Reader(const KorvArgWord *list, size_t at)
{
    if (!list)
        return; // an absent argument: nothing to read
    name_ = reinterpret_cast<const char *>(list[at]);
    types_ = qualifier(name_);
    words_ = list + at + 1;
}

bool Reader::open_group()
{
    if (!next_group(types_, group_))
        return false;
    // A NULL where a scalar's word belongs is the end of the entry: the
    // qualifier names more values than the words hold (value text with a
    // literal after a macro reference makes such entries), and the rest
    // reads as used up rather than through a null pointer.
    if (!group_.array && *words_ == KORV_ARG_NULL) {
        types_ = "";
        return false;
    }
    types_ += group_.length;
    in_group_ = true;
    index_ = 0;
    component_ = 0;
    fixed_ = group_.array && *words_ == KORV_ARG_FIXED;
    if (fixed_) {
        fixed_count_ = *reinterpret_cast<const int32_t *>(words_[1]);
        fixed_elements_ = reinterpret_cast<const unsigned char *>(words_[2]);
        words_ += 3;
    }
    return true;
}

// A scalar word as its type gives it. Window components are taken by the
// caller.
Value Reader::scalar(KorvArgWord word) const
{
    switch (group_.letter) {
    case 'i':
    case 'b':
        return {group_.letter, word};
    case 'f':
    case 'd':
        return {'f', word};
    case 'h':
    case 'v':
        return {'v', word};
    case 's':
        return {'s', word};
    case 'u': {
        char mode = (char)(group_.second | 0x20);
        if (mode == 'm' || mode == 'r' || mode == 'w')
            return {(char)(mode - 32), word};
        return {'s', word};
    }
    default:
        return {'p', word};
    }
}

// Element index_ of a fixed array: numbers through a pointer to the
// element, texts and addresses as the element word itself.
Value Reader::element(const unsigned char *elements) const
{
    if (group_.letter == 'w') {
        bool ints = (group_.second | 0x20) == 'i';
        const unsigned char *e = elements + (size_t)index_ * (ints ? 16 : 32);
        return {ints ? 'i' : 'f', reinterpret_cast<KorvArgWord>(e + component_ * (ints ? 4 : 8))};
    }
    size_t size = fixed_element_size(group_);
    const unsigned char *e = elements + (size_t)index_ * size;
    switch (group_.letter) {
    case 'i':
    case 'b':
    case 'f':
    case 'd':
        return scalar(reinterpret_cast<KorvArgWord>(e));
    default: {
        KorvArgWord word;
        memcpy(&word, e, sizeof word);
        return scalar(word);
    }
    }
}

bool Reader::read(Value &v)
{
    for (;;) {
        if (!in_group_ && !open_group()) {
            KorvDebug("Ran out of values while parsing the argument '%s'. This may be ok for "
                      "variable length arguments.\n",
                      name_);
            return false;
        }
        bool window = group_.letter == 'w';
        bool ints = window && (group_.second | 0x20) == 'i';
        if (group_.array && fixed_) {
            if (index_ >= fixed_count_) {
                in_group_ = false;
                continue;
            }
            v = element(fixed_elements_);
        } else if (group_.array && *words_ == KORV_ARG_NULL) {
            words_++; // the end of a variable array
            in_group_ = false;
            continue;
        } else if (window) {
            const auto *base = reinterpret_cast<const unsigned char *>(*words_);
            v = {ints ? 'i' : 'f', reinterpret_cast<KorvArgWord>(base + component_ * (ints ? 4 : 8))};
        } else {
            v = scalar(*words_);
        }
        // Step on: a window after its fourth component, an array element,
        // or a scalar, which ends its group.
        if (window && ++component_ < 4)
            return true;
        component_ = 0;
        if (group_.array && fixed_) {
            index_++;
        } else {
            words_++;
            if (!group_.array)
                in_group_ = false;
        }
        return true;
    }
}

} // namespace korv::args
