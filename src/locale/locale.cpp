/*
 * The engine locale, fixed, and the user locale, one process-wide record
 * filled from the platform on first use and guarded by the 'LOCL' lock.
 */
#include "locale/locale_os.h"

#include "kvsup.h"

namespace {

constexpr uint32_t kLocaleLock = KORV_KEY('L', 'O', 'C', 'L');

const KorvLocale engine_locale = {".", ",", ""};

// The user record's texts are owned here while `filled` is set.
KorvLocale user_locale = {nullptr, nullptr, nullptr};
bool filled = false;

// A field holds the engine's own constant text when a copy could not be
// made, so that readers of the record never meet a null text.
void free_text(const char *text, const char *engine_text)
{
    if (text != engine_text)
        korv_internal_free(const_cast<char *>(text));
}

void free_texts()
{
    free_text(user_locale.decimalPoint, engine_locale.decimalPoint);
    free_text(user_locale.thousandsSep, engine_locale.thousandsSep);
    free_text(user_locale.grouping, engine_locale.grouping);
    user_locale = {nullptr, nullptr, nullptr};
}

// A copy of text (the engine's value for a null text), or the engine's
// constant itself when memory runs out.
const char *copy_or_engine(const char *text, const char *engine_text)
{
    char *copy = KorvStrDup(text ? text : engine_text);
    return copy ? copy : engine_text;
}

// Runs at engine end (when the platform filled the record) or at the final
// clean-up (when a caller set it); the next request asks the platform again.
int32_t release_user_locale(uintptr_t)
{
    KorvaneLock(kLocaleLock);
    free_texts();
    filled = false;
    KorvaneUnlock(kLocaleLock);
    return 1;
}

// The platform's value, or a copy of the engine's when it cannot tell.
const char *user_value(korv::locale::Convention which, const char *fallback)
{
    char *value = korv::locale::query_user_convention(which);
    return value ? value : copy_or_engine(fallback, fallback);
}

} // namespace

extern "C" KORV_API const KorvLocale *KorvGetKorvaneLocale(void)
{
    return &engine_locale;
}

extern "C" KORV_API const KorvLocale *KorvGetUserLocale(void)
{
    using korv::locale::Convention;
    KorvaneLock(kLocaleLock);
    if (!filled) {
        free_texts();
        user_locale.decimalPoint = user_value(Convention::decimal_point, engine_locale.decimalPoint);
        user_locale.thousandsSep = user_value(Convention::thousands_sep, engine_locale.thousandsSep);
        user_locale.grouping = user_value(Convention::grouping, engine_locale.grouping);
        KorvaneRegisterCleanup(1, release_user_locale, 0);
        filled = true;
    }
    KorvaneUnlock(kLocaleLock);
    return &user_locale;
}

extern "C" KORV_API void KorvSetUserLocale(const KorvLocale *locale)
{
    if (!locale)
        return;
    KorvaneLock(kLocaleLock);
    free_texts();
    user_locale.decimalPoint = copy_or_engine(locale->decimalPoint, engine_locale.decimalPoint);
    user_locale.thousandsSep = copy_or_engine(locale->thousandsSep, engine_locale.thousandsSep);
    user_locale.grouping = copy_or_engine(locale->grouping, engine_locale.grouping);
    if (!filled) {
        // Only the final clean-up releases a record a caller set.
        KorvaneRegisterCleanup(0, release_user_locale, 0);
        filled = true;
    }
    KorvaneUnlock(kLocaleLock);
}
