# ./ql real [NAME...]: free programs from Debian's source packages, built unmodified with qlcc, their own tests under qemu.
#
# The sources come from the archives that this machine's apt is set up for, by a private list of sources and a private
# cache in the build folder; nothing of them is kept in the project. QL_LEVEL is the optimization level (2).
real_all=(zlib bzip2 xz lua jimtcl mawk cjson jansson expat sqlite pcre2 mbedtls)
real=$build/real
qlcc=$build/tools/cc/qlcc
real_triple=arm-linux-gnueabihf
# 64-bit file offsets: the 32-bit calls fail under qemu on file systems with large inode numbers.
real_cflags="-O${QL_LEVEL:-2} -D_FILE_OFFSET_BITS=64"

# --- sources ---

real_apt() {
    local tool=$1 apt=$real/apt
    shift
    "$tool" -o Dir::Etc::sourcelist=/dev/null -o Dir::Etc::sourceparts="$apt/sources" -o Dir::State::lists="$apt/lists" \
        -o Dir::Cache="$apt/cache" -o APT::Sandbox::User="$(id -un)" -q "$@"
}

# The machine's own lists, asked for sources instead of programs.
real_setup_apt() {
    local apt=$real/apt f
    [ -n "$(find "$apt/lists" -name '*Sources*' -mtime -1 2>/dev/null)" ] && return
    mkdir -p "$apt"/{sources,lists/partial,cache/archives/partial}
    for f in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
        [ -f "$f" ] && sed -n 's/^deb /deb-src /p' "$f" >"$apt/sources/$(basename "$f" .list).list"
    done
    for f in /etc/apt/sources.list.d/*.sources; do
        [ -f "$f" ] && sed 's/^Types:.*/Types: deb-src/' "$f" >"$apt/sources/$(basename "$f")"
    done
    real_apt apt-get update >"$real/apt.log" 2>&1 || say "ql: some lists of sources can't be read (see $real/apt.log)"
}

# real_fetch PACKAGE: unpacks the upstream source without the distribution's patches and prints its folder. An index
# can name a version that its archive no longer has; then the next older one is taken.
real_fetch() {
    local package=$1 version folder=$real/$1
    rm -rf "$folder"
    mkdir -p "$folder"
    for version in $(real_apt apt-cache showsrc "$package" 2>/dev/null | sed -n 's/^Version: //p' | sort -rV | uniq); do
        (cd "$folder" && real_apt apt-get source --download-only "$package=$version") >"$folder/fetch.log" 2>&1 || continue
        (cd "$folder" && dpkg-source --skip-patches --no-check -x ./*.dsc source) >>"$folder/fetch.log" 2>&1 || break
        echo "$folder/source"
        return 0
    done
    say "ql: no source of $package (see $folder/fetch.log)"
    return 1
}

# --- building and testing ---

# real_wrap FILE...: each that is an ARM program becomes a script that runs it under qemu.
real_wrap() {
    local f
    for f in "$@"; do
        [ -f "$f" ] && [ "$(od -An -tx1 -N4 "$f" | tr -d ' ')" = 7f454c46 ] && [ "$(od -An -tx1 -j18 -N2 "$f" | tr -d ' ')" = 2800 ] ||
            continue
        mv "$f" "$f.arm"
        printf '#!/bin/sh\nexec qemu-arm -0 "$0" "%s" "$@"\n' "$(realpath "$f.arm")" >"$f"
        chmod +x "$f"
    done
}

real_cmake() {
    cmake -G Ninja -B build -S "$@" -DCMAKE_SYSTEM_NAME=Linux -DCMAKE_SYSTEM_PROCESSOR=arm -DCMAKE_C_COMPILER="$qlcc" \
        -DCMAKE_C_FLAGS="$real_cflags" -DCMAKE_CROSSCOMPILING_EMULATOR=qemu-arm
}

# Each of these runs in the unpacked source and fails when a step of building or a test does.

real_zlib() {
    CHOST=$real_triple CC=$qlcc CFLAGS=$real_cflags ./configure
    make -j"$jobs"
    real_wrap example example64 examplesh minigzip minigzip64 minigzipsh
    make test
}

real_bzip2() {
    make CC="$qlcc" CFLAGS="$real_cflags" libbz2.a bzip2 bzip2recover
    real_wrap bzip2 bzip2recover
    make test
}

real_xz() {
    ./configure --host=$real_triple CC="$qlcc" CFLAGS="$real_cflags" --disable-shared --disable-nls --disable-scripts --disable-doc
    make -j"$jobs"
    make -j"$jobs" check TESTS=
    # shellcheck disable=SC2046
    real_wrap $(find tests src -type f -perm -100)
    make check
}

# The package has no tests: a script of ours, and byte code must survive its way through luac.
real_lua() {
    make -C src CC="$qlcc" MYCFLAGS="$real_cflags" linux-noreadline
    real_wrap src/lua src/luac
    src/lua "$root/tests/real/check.lua"
    src/luac -s -o check.luac "$root/tests/real/check.lua"
    src/lua check.luac
}

real_jimtcl() {
    ./configure --host=$real_triple CC="$qlcc" CFLAGS="$real_cflags" --disable-docs
    make -j"$jobs"
    real_wrap jimsh
    rm tests/lock.test # wants a child process to be up within a tenth of a second
    make test
}

real_mawk() {
    ./configure --host=$real_triple CC="$qlcc" CFLAGS="$real_cflags"
    make -j"$jobs"
    real_wrap mawk
    make check | tee check.log
    ! grep -q '^?? fail' check.log
}

real_cjson() {
    real_cmake . -DENABLE_CJSON_UTILS=On
    ninja -C build
    real_wrap build/cJSON_test build/tests/*
    ctest --test-dir build
}

real_jansson() {
    real_cmake . -DJANSSON_BUILD_DOCS=OFF
    ninja -C build
    real_wrap build/bin/*
    ctest --test-dir build
}

real_expat() {
    real_cmake expat -DEXPAT_SHARED_LIBS=OFF -DEXPAT_BUILD_DOCS=OFF
    ninja -C build runtests xmlwf/xmlwf
    qemu-arm build/tests/runtests
}

# The whole engine as one source of 250,000 lines; its hunt through recorded SQL and damaged databases, and its speed
# test, whose hash over all results must be that of the same program from the cross compiler.
real_sqlite() {
    ./configure --host=$real_triple CC="$qlcc" BUILD_CC=cc CFLAGS="$real_cflags" --disable-tcl --disable-shared --disable-readline
    make sqlite3.c sqlite3 fuzzcheck speedtest1
    $real_triple-gcc -O1 -DSQLITE_ENABLE_RTREE -o reference test/speedtest1.c sqlite3.c -I. -lm
    qemu-arm ./fuzzcheck --limit-mem 100M test/fuzzdata1.db
    qemu-arm ./speedtest1 --size 5 --verify | tee speed.log
    qemu-arm ./reference --size 5 --verify | tee reference.log
    [ "$(grep '^Verification Hash' speed.log)" = "$(grep '^Verification Hash' reference.log)" ]
}

real_pcre2() {
    ./configure --host=$real_triple CC="$qlcc" CFLAGS="$real_cflags" --disable-shared --disable-cpp
    make -j"$jobs"
    # shellcheck disable=SC2046
    real_wrap $(find . -type f -perm -100)
    make check
}

real_mbedtls() {
    make -j"$jobs" -C library CC="$qlcc" CFLAGS="$real_cflags" libmbedcrypto.a libmbedx509.a libmbedtls.a
    make -C programs CC="$qlcc" CFLAGS="$real_cflags" test/selftest
    qemu-arm programs/test/selftest
}

# --- the run ---

real_packages() {
    case $1 in
    xz) echo xz-utils ;;
    lua) echo lua5.4 ;;
    sqlite) echo sqlite3 ;;
    *) echo "$1" ;;
    esac
}

install "${run_packages[@]}" dpkg-dev make tcl cmake ninja-build
build_targets qlcc qlparse qlopt qlgen
mkdir -p "$real"
real_setup_apt
export QEMU_LD_PREFIX=/usr/$real_triple
[ $# -gt 0 ] || set -- "${real_all[@]}"
real_bad=0
for name in "$@"; do
    declare -F "real_$name" >/dev/null && [[ " ${real_all[*]} " == *" $name "* ]] ||
        { say "ql: no program '$name'; there are ${real_all[*]}"; exit 2; }
    package=$(real_packages "$name")
    folder=$(real_fetch "$package") || { real_bad=$((real_bad + 1)); continue; }
    version=$(basename "$folder"/../*.dsc .dsc)
    start=$SECONDS
    # A subshell of its own: `set -e` holds in it only when nothing around it tests its status.
    set +e
    (set -e; cd "$folder"; "real_$name") >"$folder/../log" 2>&1
    status=$?
    set -e
    if [ $status -eq 0 ]; then
        printf '%-32s built, its tests pass  %4d s\n' "$version" $((SECONDS - start))
    else
        printf '%-32s FAILED (see %s)\n' "$version" "$(realpath "$folder/../log")"
        real_bad=$((real_bad + 1))
    fi
done
[ $real_bad -eq 0 ]
