/*
 * Shared inside the environment subsystem.
 */
#ifndef KVSUP_ENV_ENV_INTERNAL_H
#define KVSUP_ENV_ENV_INTERNAL_H

#include <stdint.h>
#include <kvsup.h>

namespace korv {

/* The system's path separator, as the public header states it. */
inline constexpr char kPathSep = KORV_PATH_SEP;

inline constexpr uint32_t kEnvLockKey = KORV_KEY('E', 'N', 'V', 'V');
inline constexpr uint32_t kSharedLockKey = KORV_KEY('S', 'H', 'R', 'D');

/* Holds one of the engine's keyed locks for the guard's lifetime. */
class KeyGuard {
public:
    explicit KeyGuard(uint32_t key) : key_(key) { KorvaneLock(key_); }
    ~KeyGuard() { KorvaneUnlock(key_); }
    KeyGuard(const KeyGuard &) = delete;
    KeyGuard &operator=(const KeyGuard &) = delete;

private:
    uint32_t key_;
};

/* The compiled-in default of name, or null. */
const char *env_default(const char *name);

/* The computed HOME, TEMP or PWD, or null for any other name. */
const char *env_system_value(const char *name);

} // namespace korv

#endif
