# kv_install_packages PKG...: installs the Debian packages that are missing.
kv_install_packages() {
    local missing=()
    for p in "$@"; do
        # dpkg-query answers for every installed architecture of a package
        # (dpkg -s refuses a name installed for two of them).
        dpkg-query -W -f='${Status}\n' "$p" 2>/dev/null | grep -q 'install ok installed' ||
            missing+=("$p")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    echo "== installing: ${missing[*]}"
    local sudo=""
    [ "$(id -u)" -ne 0 ] && sudo=sudo
    $sudo apt-get update -qq >/dev/null 2>&1 || true
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}" >/dev/null 2>&1 || {
        echo "apt-get install failed for: ${missing[*]}" >&2
        return 1
    }
}
