// Compiled-in defaults of the settings and the three computed system values.
#include <string.h>
#include <string_view>
#include <kvsup.h>
#include "env/env_internal.h"
#include "env/env_os.h"

namespace korv {

namespace {

// The build's top directory is the folder that holds src/ of this source
// file; its release directory is "release" under it.
constexpr std::string_view kThisFile = __FILE__;
constexpr size_t top_at()
{
    size_t at = kThisFile.rfind("src/env/");
    if (at == std::string_view::npos)
        at = kThisFile.rfind("src\\env\\");
    return at;
}
// "." stands in when the build gives no directory before src/.
constexpr bool kHasTop = top_at() != std::string_view::npos && top_at() > 1;
constexpr size_t kTopLength = kHasTop ? top_at() - 1 : 1;
constexpr size_t kReleaseLength = kTopLength + 8;

struct BuildDirs {
    char top[kTopLength + 1];
    char release[kReleaseLength + 1];
};

constexpr BuildDirs make_build_dirs()
{
    BuildDirs d{};
    for (size_t i = 0; i < kTopLength; i++)
        d.top[i] = kHasTop ? kThisFile[i] : '.';
    d.top[kTopLength] = '\0';
    const char tail[] = "release";
    for (size_t i = 0; i < kTopLength; i++)
        d.release[i] = d.top[i];
    d.release[kTopLength] = kPathSep;
    for (size_t i = 0; i < 7; i++)
        d.release[kTopLength + 1 + i] = tail[i];
    d.release[kReleaseLength] = '\0';
    return d;
}
constexpr BuildDirs kBuild = make_build_dirs();

struct Default {
    const char *name;
    const char *value;
};

constexpr Default kDefaults[] = {
    {"QRNTOP", kBuild.top},
    {"QRN_RELEASE", kBuild.release},
    {"QRN_OS", kOsDefaultName},
    {"QRN_DATA_PATH", kOsDefaultDataPath},
    {"KVTOP", kBuild.top},
    {"KV_RELEASE", kBuild.release},
    {"KV_OS", kOsDefaultName},
    {"KV_DATA_PATH", kOsDefaultDataPath},
    {"KORV_TEMP", kOsDefaultTemp},
    {"KV_ROTATE_BUFFERSIZE", "4096"},
    {"KV_CHUNKBUFFER_CAP", "0.01"},
    {"KORV_MEMORY_MAX", "15360"},
    {"KORV_TEMPFILE_MAX", "10240"},
    {"QRN_VERS", "5.19.0"},
    {"KV_VERS", "5.19.0"},
    {"KV_COLORPREFS_TODEVICERGB", "sRGB"},
    {"KV_COLORPREFS_TODEVICEGRAY", "sGray"},
    {"KV_COLORPREFS_TODEVICECMYK", "cmykLinear"},
    {"KV_COLORPREFS_FROMDEVICERGB", "sRGB"},
    {"KV_COLORPREFS_FROMDEVICEGRAY", "sGray"},
    {"KV_COLORPREFS_FROMDEVICECMYK", "cmykLinear"},
};

// Computed once, under the environment lock held by the caller.
bool g_system_done = false;
char g_home[1024];
char g_temp[1024];
char g_pwd[1024];

void fill(char *buffer, bool ok)
{
    if (!ok)
        memcpy(buffer, ".", 2);
}

} // namespace

const char *env_default(const char *name)
{
    for (const Default &d : kDefaults) {
        if (strcmp(d.name, name) == 0)
            return d.value;
    }
    return nullptr;
}

const char *env_system_value(const char *name)
{
    if (!g_system_done) {
        fill(g_home, false);
        fill(g_temp, env_os_temp_dir(g_temp, sizeof g_temp));
        fill(g_pwd, env_os_current_dir(g_pwd, sizeof g_pwd));
        g_system_done = true;
    }
    if (strcmp(name, "HOME") == 0)
        return g_home;
    if (strcmp(name, "TEMP") == 0)
        return g_temp;
    if (strcmp(name, "PWD") == 0)
        return g_pwd;
    return nullptr;
}

} // namespace korv
