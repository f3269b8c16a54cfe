// Item arrays: NULL-terminated arrays of pointers. An element without memory
// of its own holds the shared placeholder, which is not NULL (so it does not
// end the array) and is never freed.
#include <string.h>
#include <kvsup.h>

namespace {

// The placeholder's address is all that matters.
const unsigned char g_placeholder = 0;

void *placeholder()
{
    return (void *)&g_placeholder;
}

bool is_placeholder(const void *item)
{
    return item == &g_placeholder;
}

// Fills slots [from, count) with new zeroed blocks of size bytes (the
// placeholder for size 0). Returns false when a block cannot be made; the
// slots filled so far stay filled and the rest are NULL.
bool fill_items(void **array, uint32_t from, uint32_t count, uint32_t size)
{
    for (uint32_t i = from; i < count; i++) {
        if (size == 0) {
            array[i] = placeholder();
            continue;
        }
        array[i] = korv_internal_calloc(1, size);
        if (!array[i])
            return false;
    }
    return true;
}

// The free operation of a smart array's element lives in its third word.
typedef uint32_t (*SmartFreeFn)(void *element);

} // namespace

extern "C" KORV_API uint32_t KorvAllocArray(void ***array, uint32_t count, uint32_t size)
{
    if (!array)
        return 0;
    *array = nullptr;
    if (count == UINT32_MAX)
        return 0;
    auto **items = static_cast<void **>(korv_internal_calloc((size_t)count + 1, sizeof(void *)));
    if (!items)
        return 0;
    if (!fill_items(items, 0, count, size)) {
        KorvFreeArray(items);
        return 0;
    }
    *array = items;
    return 1;
}

extern "C" KORV_API uint32_t KorvReallocArray(void ***array, uint32_t count, uint32_t size)
{
    if (!array)
        return 0;
    if (count == UINT32_MAX) {
        KorvFreeArray(*array);
        *array = nullptr;
        return 0;
    }
    void **items = *array;
    uint32_t length = 0;
    if (items) {
        // Elements at or past the new count go first.
        for (; items[length]; length++) {
            if (length >= count && !is_placeholder(items[length]))
                korv_internal_free(items[length]);
        }
    }
    auto **grown = static_cast<void **>(korv_internal_realloc(items, ((size_t)count + 1) * sizeof(void *)));
    if (!grown) {
        // The whole array is lost: free what is left of it.
        if (items) {
            items[length < count ? length : count] = nullptr;
            KorvFreeArray(items);
        }
        *array = nullptr;
        return 0;
    }
    uint32_t kept = length < count ? length : count;
    for (uint32_t i = kept; i <= count; i++)
        grown[i] = nullptr;
    *array = grown;
    if (!fill_items(grown, kept, count, size)) {
        KorvFreeArray(grown);
        *array = nullptr;
        return 0;
    }
    return 1;
}

extern "C" KORV_API uint32_t KorvFreeArray(void **array)
{
    if (!array)
        return 0;
    for (void **p = array; *p; p++) {
        if (!is_placeholder(*p))
            korv_internal_free(*p);
    }
    korv_internal_free(array);
    return 1;
}

extern "C" KORV_API uint32_t KorvFreeSmartArray(void **array)
{
    if (!array)
        return 0;
    for (void **p = array; *p; p++) {
        if (is_placeholder(*p))
            continue;
        SmartFreeFn free_fn;
        memcpy(&free_fn, static_cast<unsigned char *>(*p) + 2 * sizeof(void *), sizeof free_fn);
        if (free_fn)
            free_fn(*p);
    }
    korv_internal_free(array);
    return 1;
}

extern "C" KORV_API void *KorvGetArrayItem(void **array, uint32_t index)
{
    if (!array)
        return nullptr;
    for (uint32_t i = 0; i < index; i++) {
        if (!array[i])
            return nullptr;
    }
    return array[index];
}

extern "C" KORV_API uint32_t KorvGetArraySize(void **array)
{
    uint32_t n = 0;
    if (array)
        while (array[n])
            n++;
    return n;
}
