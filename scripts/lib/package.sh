# The package leg of scripts/test: installs kvsup into scratch prefixes, makes
# the packages, and builds and runs the consumer program (tests/consumer)
# against each, as a user would.
#   Linux:   cmake --install; find_package (shared and static), pkg-config
#            (shared and static), the README's example; kvrun with the sample
#            bundle; the Debian packages, extracted with dpkg -x and used the
#            same way.
#   Windows: the zip, unpacked; the consumer cross-built against it and run
#            under Wine, shared and static; kvrun.exe with the sample bundle.
# It reuses the linux and windows legs' build trees (building them when
# needed). KV_PACKAGE_LINUX_BUILD / KV_PACKAGE_WINDOWS_BUILD name other,
# already configured trees. Scratch files go to build/package (or
# KV_PACKAGE_WORK), the log beside it.
#
# Sourced by scripts/test; sets pkg_pass and pkg_fail.

pkg_log=""
pkg_work=""
pkg_pass=0
pkg_fail=0

# pkg_check NAME COMMAND...: runs the command, output to the log; counts and
# reports the result, and returns it.
pkg_check() {
    local name=$1
    shift
    echo "-- $name" >>"$pkg_log"
    if "$@" >>"$pkg_log" 2>&1; then
        pkg_pass=$((pkg_pass + 1))
        echo "   ok      $name"
    else
        pkg_fail=$((pkg_fail + 1))
        echo "   FAILED  $name"
        return 1
    fi
}

# pkg_build_tree PRESET DIR: brings a build tree up to date.
pkg_build_tree() {
    local preset=$1 dir=$2
    if [ "$dir" = "$ROOT/build/$preset" ]; then
        cmake --preset "$preset" >>"$pkg_log" 2>&1 &&
            cmake --build --preset "$preset" -j "$JOBS" >>"$pkg_log" 2>&1
    else
        cmake --build "$dir" -j "$JOBS" >>"$pkg_log" 2>&1
    fi
}

# pkg_has_files ROOT PATH...: every path exists under ROOT.
pkg_has_files() {
    local root=$1 f
    shift
    for f in "$@"; do
        [ -e "$root/$f" ] || [ -L "$root/$f" ] || { echo "missing: $root/$f"; return 1; }
    done
}

# pkg_has_none ROOT PATTERN...: no file under ROOT matches a PATTERN.
pkg_has_none() {
    local root=$1 pattern found
    shift
    for pattern in "$@"; do
        found=$(cd "$root" && find . -name "$pattern")
        [ -z "$found" ] || { echo "unexpected: $found"; return 1; }
    done
}

# pkg_consumer KIND BUILD_DIR PREFIX [CMAKE ARGS...]: configures, builds and
# runs the consumer (its ctest checks the printed line).
pkg_consumer() {
    local kind=$1 dir=$2 prefix=$3
    shift 3
    rm -rf "$dir"
    cmake -S "$ROOT/tests/consumer" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_PREFIX_PATH="$prefix" -DKVSUP_LINK="$kind" "$@" &&
        cmake --build "$dir" &&
        (cd "$dir" && ctest --output-on-failure)
}

# pkg_readme_section LANGUAGE: the first block of that language in the
# README's "Install and use" section.
pkg_readme_section() {
    awk -v lang="$1" '/^## / { s = ($0 ~ /^## Install and use/) } s && $0 == "```" lang { c = 1; next }
        c && /^```$/ { exit } c' "$ROOT/README.md"
}

# pkg_readme_example PREFIX DIR: the README's example program, taken from the
# README and built with its pkg-config command line and with its CMake file.
pkg_readme_example() {
    local prefix=$1 dir=$2 cmd
    rm -rf "$dir" && mkdir -p "$dir" || return 1
    pkg_readme_section c >"$dir/app.c"
    pkg_readme_section cmake >"$dir/CMakeLists.txt"
    cmd=$(awk '/^## / { s = ($0 ~ /^## Install and use/) } s && /^cc app\.c .*pkg-config/ { print; exit }' \
        "$ROOT/README.md")
    [ -s "$dir/app.c" ] && [ -s "$dir/CMakeLists.txt" ] && [ -n "$cmd" ] ||
        { echo "README.md: no example program, CMake file or pkg-config line"; return 1; }
    echo "$cmd"
    (cd "$dir" && export PKG_CONFIG_PATH="$prefix/lib/pkgconfig" LD_LIBRARY_PATH="$prefix/lib" &&
        eval "$cmd" >pkgconfig.out && cat pkgconfig.out && grep -qx 'width 640' pkgconfig.out) || return 1
    cmake -S "$dir" -B "$dir/build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" &&
        cmake --build "$dir/build" && "$dir/build/app" >"$dir/cmake.out" &&
        grep -qx 'width 640' "$dir/cmake.out"
}

# pkg_image FILE: a 4x2 grey PNM image; pkg_inverted FILE: FILE holds its
# pixels inverted.
pkg_image() {
    printf 'P5\n4 2\n255\n\000\001\002\003\375\376\377\200' >"$1"
}
pkg_inverted() {
    local want
    want=$(printf '\377\376\375\374\002\001\000\177' | od -An -tx1)
    [ "$(tail -c 8 "$1" | od -An -tx1)" = "$want" ] || { echo "not inverted: $1"; return 1; }
}

# pkg_kvrun KVRUN WORKDIR [ENV...]: the installed front end lists the sample
# bundle's functions with their descriptors and runs one of them.
pkg_kvrun() {
    local kvrun=$1 work=$2
    shift 2
    rm -rf "$work" && mkdir -p "$work" || return 1
    pkg_image "$work/in.pgm"
    # (Programs run under Wine end their lines with CR LF.)
    (cd "$work" && env "$@" $kvrun --list 2>&1 | tr -d '\r' >list.txt)
    grep -q '^kvfx!invert$' "$work/list.txt" || { cat "$work/list.txt"; echo "kvfx not found"; return 1; }
    grep -q '^    arguments:' "$work/list.txt" || { echo "no descriptors"; return 1; }
    (cd "$work" && env "$@" $kvrun --quiet kvfx!invert in.pgm out.pgm) || return 1
    pkg_inverted "$work/out.pgm"
}

# pkg_deb_field DEB FIELD REGEX: a control field of a package matches.
pkg_deb_field() {
    local value
    value=$(dpkg-deb -f "$1" "$2")
    echo "$2: $value"
    [[ "$value" =~ $3 ]]
}

# pkg_overlay_kvrun ROOT WORK: runs the extracted package's kvrun as if the
# packages were installed: in a mount namespace of its own, the extracted
# /usr lies over the system's. Where namespaces are not allowed, the bundle
# named by the registry is checked in the extracted tree and given to kvrun
# through KV_BUNDLES.
pkg_overlay_kvrun() {
    local root=$1 work=$2
    local reg="$root/usr/share/kvsup/data/korv/kvsup.reg"
    grep -qx 'optional: /usr/lib/kvsup/bundles/kvfx.so' "$reg" || { cat "$reg"; return 1; }
    [ -f "$root/usr/lib/kvsup/bundles/kvfx.so" ] || return 1
    if unshare -m true 2>/dev/null; then
        export -f pkg_kvrun pkg_image pkg_inverted
        unshare -m bash -c 'mount -t overlay overlay -o lowerdir="$1/usr:/usr" /usr &&
            pkg_kvrun /usr/bin/kvrun "$2"' _ "$root" "$work"
    else
        echo "no mount namespace here: the bundle is named through KV_BUNDLES"
        pkg_kvrun "$root/usr/bin/kvrun" "$work" KV_BUNDLES="$root/usr/lib/kvsup/bundles/kvfx.so"
    fi
}

package_linux() {
    local b=${KV_PACKAGE_LINUX_BUILD:-$ROOT/build/linux} w=$pkg_work/linux
    rm -rf "$w" && mkdir -p "$w"
    pkg_check "linux: build" pkg_build_tree linux "$b" || return

    local p=$w/prefix
    pkg_check "linux: install" cmake --install "$b" --prefix "$p"
    pkg_check "linux: installed layout" pkg_has_files "$p" \
        include/kvsup.h lib/libkvsup.so lib/libkvsup.so.5 lib/libkvsup.so.5.19.0 \
        lib/libkvsup_static.a lib/cmake/kvsup/kvsupConfig.cmake \
        lib/cmake/kvsup/kvsupConfigVersion.cmake lib/cmake/kvsup/kvsupTargets.cmake \
        lib/pkgconfig/kvsup.pc lib/pkgconfig/kvsup_static.pc \
        bin/kvrun lib/korv.so lib/kvsup/bundles/kvfx.so \
        share/kvsup/data/korv/invert.dot share/kvsup/data/korv/korv_copy.dot \
        share/kvsup/data/korv/kvsup.reg
    pkg_check "linux: no test build installed" pkg_has_none "$p" '*testing*'
    pkg_check "linux: SONAME libkvsup.so.5" \
        bash -c "readelf -d '$p/lib/libkvsup.so.5.19.0' | grep -q 'SONAME.*\[libkvsup.so.5\]'"
    pkg_check "linux: registry names the installed kvfx" \
        grep -qx "optional: $p/lib/kvsup/bundles/kvfx.so" "$p/share/kvsup/data/korv/kvsup.reg"
    local kind
    for kind in shared static pkgconfig pkgconfig-static; do
        pkg_check "linux: consumer, $kind" pkg_consumer $kind "$w/consumer-$kind" "$p"
    done
    pkg_check "linux: README example, pkg-config and CMake" pkg_readme_example "$p" "$w/readme"
    pkg_check "linux: installed kvrun runs kvfx" pkg_kvrun "$p/bin/kvrun" "$w/kvrun"

    local d=$w/deb r=$w/root
    pkg_check "linux: Debian packages" cpack --config "$b/CPackConfig.cmake" -G DEB -B "$d"
    local v=5.19.0 lib=$d/libkvsup5_5.19.0_amd64.deb dev=$d/libkvsup-dev_5.19.0_amd64.deb
    local tools=$d/kvsup-tools_5.19.0_amd64.deb
    pkg_check "linux: libkvsup5 holds the library and its shlibs" bash -c "
        dpkg-deb -c '$lib' | awk '{print \$6}' | sort | grep -v '/\$' >'$w/lib.list'
        printf '%s\n' ./usr/lib/libkvsup.so.5 ./usr/lib/libkvsup.so.5.19.0 | diff - '$w/lib.list' &&
        dpkg-deb -I '$lib' shlibs | grep -qx 'libkvsup 5 libkvsup5 (>= $v)'"
    pkg_check "linux: libkvsup-dev depends on libkvsup5" \
        pkg_deb_field "$dev" Depends "^libkvsup5 \\(= $v\\)"
    pkg_check "linux: kvsup-tools depends on libkvsup5 and libpng" \
        pkg_deb_field "$tools" Depends "^libkvsup5 \\(= $v\\).*libpng16-16"
    mkdir -p "$r"
    pkg_check "linux: dpkg -x" bash -c "dpkg -x '$lib' '$r' && dpkg -x '$dev' '$r' && dpkg -x '$tools' '$r'"
    for kind in shared static pkgconfig; do
        pkg_check "linux: consumer against the packages, $kind" \
            pkg_consumer $kind "$w/deb-consumer-$kind" "$r/usr"
    done
    pkg_check "linux: packaged kvrun runs kvfx" pkg_overlay_kvrun "$r" "$w/deb-kvrun"
}

package_windows() {
    local b=${KV_PACKAGE_WINDOWS_BUILD:-$ROOT/build/windows} w=$pkg_work/windows
    rm -rf "$w" && mkdir -p "$w"
    pkg_check "windows: build" pkg_build_tree windows "$b" || return

    local z=$w/zip r=$w/root
    pkg_check "windows: zip" cpack --config "$b/CPackConfig.cmake" -G ZIP -B "$z"
    pkg_check "windows: unzip" bash -c "cd '$w' && cmake -E tar xf '$z/kvsup-5.19.0-win64.zip' &&
        mv kvsup-5.19.0-win64 '$r'"
    pkg_check "windows: zip layout" pkg_has_files "$r" \
        bin/kvsup.dll lib/libkvsup.dll.a lib/libkvsup_static.a include/kvsup.h \
        lib/cmake/kvsup/kvsupConfig.cmake lib/pkgconfig/kvsup.pc \
        bin/kvrun.exe bin/korv.dll lib/kvsup/bundles/kvfx.dll share/kvsup/data/korv/invert.dot
    pkg_check "windows: no registry, no test build, no bundle import libraries" \
        pkg_has_none "$r" 'kvsup.reg' '*testing*' 'libkorv*' 'libkvfx*'

    start_wine
    # The consumer finds kvsup.dll in the unpacked bin folder.
    export WINEPATH
    WINEPATH="Z:$(echo "$r/bin" | tr / '\\')"
    local kind
    for kind in shared static; do
        pkg_check "windows: consumer against the zip, $kind" \
            pkg_consumer $kind "$w/consumer-$kind" "$r" \
            -DCMAKE_TOOLCHAIN_FILE="$ROOT/cmake/mingw-w64-posix.cmake"
    done
    unset WINEPATH
    pkg_check "windows: kvrun.exe from the zip runs kvfx" pkg_kvrun "wine $r/bin/kvrun.exe" "$w/kvrun"
    stop_wine
}

# package_leg [linux] [windows]: the parts to run, both by default.
package_leg() {
    pkg_work=${KV_PACKAGE_WORK:-$ROOT/build/package}
    mkdir -p "$pkg_work"
    pkg_log="$pkg_work.log"
    : >"$pkg_log"
    pkg_pass=0
    pkg_fail=0
    kv_install_packages dpkg-dev file pkgconf || pkg_fail=$((pkg_fail + 1))
    local parts=("$@")
    [ ${#parts[@]} -eq 0 ] && parts=(linux windows)
    local part
    for part in "${parts[@]}"; do
        echo "== package: $part"
        "package_$part"
    done
    [ "$pkg_fail" -eq 0 ] || echo "   (details in $pkg_log)"
}
