// The process-wide message channel: error, debug and plain output, with a
// debug switch and level, a logging callback and an optional log file.
//
// The settings are read lazily from the C runtime's environment, once. An
// explicit KorvSetDebug or KorvSetDebugLevel marks them read, so a program
// that sets debugging before its first message ignores KV_DEBUG, KV_LOGFILE
// and KV_SILENT alike.
#include <atomic>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <kvsup.h>
#include "core/format.h"
#include "core/logfile.h"
#include "core/message.h"

namespace {

const size_t kMessageBuffer = 1024;

// Plain process-wide settings; the stores are atomic only so that two
// threads writing their first message at once read a consistent value.
std::atomic<uint32_t> g_read_marker{0};
std::atomic<uint32_t> g_debug{0};
std::atomic<int32_t> g_level{0};
std::atomic<bool> g_silent{false};
std::atomic<const char *> g_logfile{nullptr};
std::atomic<KorvLoggingCallback> g_callback{nullptr};
std::atomic<void *> g_user{nullptr};

void read_settings()
{
    if (g_read_marker.load() != 0)
        return;
    g_read_marker.fetch_add(1);
    if (const char *debug = getenv("KV_DEBUG")) {
        g_debug = 1;
        int32_t level;
        if (KorvSScanf(debug, "%d", &level) == 1)
            g_level = level;
    }
    if (const char *logfile = getenv("KV_LOGFILE"))
        g_logfile = logfile;
    if (getenv("KV_SILENT"))
        g_silent = true;
}

} // namespace

namespace korv {

void write_message(MessageKind kind, const char *format, va_list args)
{
    if (!format)
        return;
    read_settings();
    KorvLoggingCallback callback = g_callback.load();
    const char *logfile = g_logfile.load();
    bool silent = g_silent.load();
    if (silent && !logfile && !callback)
        return;
    if (kind == MessageKind::debug && !g_debug.load())
        return;

    char text[kMessageBuffer];
    memset(text, 0, sizeof text);
    vformat(text, sizeof text, format, args);

    if (callback)
        callback(text, (int32_t)kind, g_user.load());
    else if (!silent)
        fputs(text, kind == MessageKind::output ? stdout : stderr);

    if (logfile) {
        if (FILE *file = korv::log_file_open(logfile)) {
            fputs(text, file);
            fclose(file);
        }
    }
}

} // namespace korv

extern "C" KORV_API int32_t KorvError(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    korv::write_message(korv::MessageKind::error, format, args);
    va_end(args);
    return -1;
}

extern "C" KORV_API void KorvDebug(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    korv::write_message(korv::MessageKind::debug, format, args);
    va_end(args);
}

extern "C" KORV_API void KorvPrintf(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    korv::write_message(korv::MessageKind::output, format, args);
    va_end(args);
}

extern "C" KORV_API void KorvAbort(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    korv::write_message(korv::MessageKind::error, format, args);
    va_end(args);
    abort();
}

extern "C" KORV_API void KorvSetDebug(uint32_t on)
{
    g_read_marker.fetch_add(1);
    g_debug = on;
}

extern "C" KORV_API void KorvSetDebugLevel(int32_t level)
{
    g_read_marker.fetch_add(1);
    g_level = level;
    g_debug = 1;
}

extern "C" KORV_API uint32_t KorvIsDebug(void)
{
    return g_debug.load();
}

extern "C" KORV_API int32_t KorvGetDebugLevel(void)
{
    return g_level.load();
}

extern "C" KORV_API void KorvSetLoggingCallback(KorvLoggingCallback callback, void *user)
{
    g_user = user;
    g_callback = callback;
}
