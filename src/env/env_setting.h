/*
 * Reading a setting safely inside the library. A value KorvGetenv hands out
 * belongs to the settings table: another thread's KorvSetenv of the same
 * name frees it. Library code therefore reads a setting only while holding
 * the environment lock, through one of these.
 */
#ifndef KVSUP_ENV_ENV_SETTING_H
#define KVSUP_ENV_ENV_SETTING_H

namespace korv {

/* Holds the environment lock for its lifetime; value() stays valid until
 * then. Parse or copy the value inside the scope, and take no other lock
 * there. */
class EnvSetting {
public:
    explicit EnvSetting(const char *name);
    ~EnvSetting();
    EnvSetting(const EnvSetting &) = delete;
    EnvSetting &operator=(const EnvSetting &) = delete;

    /* The setting's value, or null when it has none. */
    const char *value() const { return value_; }

private:
    const char *value_;
};

/* A new copy of the setting's value (caller frees), or null when it has
 * none or the copy cannot be made. */
char *env_copy(const char *name);

} // namespace korv

#endif
