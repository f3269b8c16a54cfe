// Argument lists inside the library: type groups of a qualifier, walking
// entries, and writing into growable lists.
//
// A list is a flat array of words ending in KORV_ARG_END. An entry is its
// name word ("name:types"), the value words of each type group in order,
// and a NULL word. A scalar group holds one word; an array group holds
// either KORV_ARG_FIXED, a pointer to a count and a pointer to the
// elements, or any number of element words and a NULL word.
#ifndef KVSUP_ARGS_ARGLIST_H
#define KVSUP_ARGS_ARGLIST_H

#include <stddef.h>
#include <stdint.h>
#include <kvsup.h>

namespace korv::args {

const KorvArgWord kCapacityMark = 3;

// One type group of a qualifier: a letter, a letter with its second letter
// (u?, w?, p?), or '#' and such an element type. Letters are folded to
// lower case, except the second letter of a group, which is kept as
// written (callers compare it without regard to case).
struct Group {
    bool array;
    char letter; // i b f d s h v u w p, or another letter as written
    char second; // for u, w and p; 0 otherwise
    int length;  // characters of the qualifier the group takes
};

// Reads the group at types; false at the end of the qualifier.
bool next_group(const char *types, Group &g);

// Characters of the group as written (up to three, NUL-terminated).
void group_text(const char *types, const Group &g, char out[4]);

// Values a group element counts for: 4 for a window, else 1.
inline int32_t element_values(const Group &g)
{
    return g.letter == 'w' ? 4 : 1;
}

// Bytes of one element of a fixed array of the group's element type.
size_t fixed_element_size(const Group &g);

// The qualifier after the colon of a name text, or null without a colon.
const char *qualifier(const char *name);

// Length of the name part, before the colon (the whole text without one).
size_t name_length(const char *name);

// Whether a word can point to a name text (or any other text or value the
// list points to): not a reserved word, and not inside the first page of
// the address space, which no system maps. A value word taken for a name
// because an entry's type letters do not cover its words is caught here
// when it is a small number.
inline bool can_be_pointer(KorvArgWord word)
{
    return word >= 4096;
}

// Walks the entry whose name word is list[at]. On success stores the index
// after the entry's NULL word in *next and the number of values the entry
// holds in *values (if not null), and returns true. A name without a colon,
// a missing NULL word or a fixed array whose words run into the end marker
// or hold no count is reported through the debug channel and gives false.
// The word after the entry must be able to start the next entry (a name or
// the end marker): otherwise the entry's words were not what its type
// letters say, and the walk fails rather than read a value as a name.
bool walk_entry(const KorvArgWord *list, size_t at, size_t *next, int32_t *values);

// Looks up an argument by its name part (same length, without regard to
// case). Returns 1 found (index of its name word in *at, its value count in
// *values), 2 absent, 0 for a malformed list (every entry up to the one
// found, and that one, must walk).
int find_entry(const KorvArgWord *list, const char *name, size_t name_len, size_t *at,
               int32_t *values);

// Index of the end marker.
size_t end_index(const KorvArgWord *list);

// A new growable list: 16 words, all zero but the capacity mark in the last.
KorvArgWord *new_growable();

// Writes word at index of a growable list, doubling the block first when
// that slot holds the capacity mark. When the block cannot grow, *list is
// set to null (the old block is left to the caller) and false is returned.
bool put_word(KorvArgWord **list, size_t index, KorvArgWord word);

} // namespace korv::args

#endif
