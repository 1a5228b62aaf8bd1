#!/usr/bin/env bash
# ql: the one door to this project. `./ql help` lists the commands.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
build=${QL_BUILD:-$root/build}
jobs=${QL_JOBS:-$(nproc)}

# What building and testing needs, and what running ARM programs needs besides.
build_packages=(g++ cmake ninja-build libboost-dev libgtest-dev clang-14 libclang-14-dev llvm-14-dev clang-format)
run_packages=(qemu-user gcc-arm-linux-gnueabihf libc6-dev-armhf-cross)
test_packages=(gcc-arm-linux-gnueabi libc6-dev-armel-cross)
fuzz_packages=(csmith libcsmith-dev afl++ cvise)

say() { printf '%s\n' "$*" >&2; }

# install PACKAGE...: installs those that are missing; nothing to do is the usual case and asks no registry.
install() {
    local missing=() p
    for p in "$@"; do
        dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q '^install ok installed' || missing+=("$p")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    say "ql: installing ${missing[*]}"
    local sudo=()
    [ "$(id -u)" -eq 0 ] || sudo=(sudo)
    if ! DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y --no-install-recommends "${missing[@]}" >/dev/null 2>&1; then
        "${sudo[@]}" apt-get update >/dev/null
        DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y --no-install-recommends "${missing[@]}" >/dev/null
    fi
}

# build_targets [TARGET...]: configures when needed and builds (everything without arguments).
build_targets() {
    install "${build_packages[@]}"
    if [ ! -f "$build/build.ninja" ]; then
        cmake -G Ninja -B "$build" -S "$root" ${QL_CMAKE_ARGS:-} >"$build.configure.log" 2>&1 || { cat "$build.configure.log" >&2; exit 1; }
        rm -f "$build.configure.log"
    fi
    local log
    log=$(mktemp)
    if ! ninja -C "$build" -j "$jobs" "$@" >"$log" 2>&1; then
        grep -v '^\[[0-9/]*\] ' "$log" >&2 || true
        rm -f "$log"
        say "ql: the build failed"
        exit 1
    fi
    rm -f "$log"
}

cmd_build() { build_targets "$@"; }

cmd_test() {
    install "${run_packages[@]}" "${test_packages[@]}"
    build_targets
    ctest --test-dir "$build" -j "$jobs" --output-on-failure --timeout 600 -LE slow "$@"
}

cmd_format() { # --check: only tells
    install "${build_packages[@]}"
    local files
    mapfile -t files < <(cd "$root" && git ls-files '*.cpp' '*.h' '*.cc' | sed "s|^|$root/|")
    if [ "${1:-}" = --check ]; then clang-format --dry-run --Werror "${files[@]}"; else clang-format -i "${files[@]}"; fi
}

cmd_help() {
    cat <<'TXT'
ql COMMAND [ARGUMENT...]

  build [TARGET...]   build everything, or the named targets
  run FILE.c [ARG...] compile, optimize and run a program in the interpreter and as ARM code; counts before and after
  test [CTEST-OPTION] build and run the tests
  diff FILE.c...      compare C programs in many configurations (--matrix=full: in all)
  fuzz [--minutes N]  hunt with random programs; prints seeds and what repeats a failure
  bisect FILE         the pass and the rewrite that break a program
  reduce FILE         make a failing program small
  real [NAME...]      build free programs from Debian's source packages with qlcc and run their own tests
  faults [FAULT...]   plant faults in a copy of the sources: which judge catches each
  coverage            rewrites that never happen on the corpus
  bench [KERNEL...]   quality of optimized code, cost of optimizing
  sanitize            the fast tests in a build with sanitizers
  fuzz-reader [--minutes N]   hunt for files that break the reader
  format [--check]    lay out the sources, or tell which are not
  install             install what building, testing and fuzzing need
  help                this text

Everything that is missing is installed from the distribution's packages. QL_BUILD names the build folder
(build), QL_JOBS the number of parallel jobs, QL_CMAKE_ARGS more arguments for the first configuration.
TXT
}

command=${1:-help}
[ $# -gt 0 ] && shift
case $command in
build) cmd_build "$@" ;;
test) cmd_test "$@" ;;
format) cmd_format "$@" ;;
install) install "${build_packages[@]}" "${run_packages[@]}" "${test_packages[@]}" "${fuzz_packages[@]}" ;;
real) . "$root/tools/ql/real-programs.sh" ;;
help | -h | --help) cmd_help ;;
*)
    extra="$root/tools/ql/$command.sh"
    [ -f "$extra" ] || { say "ql: no command '$command'; './ql help' lists them"; exit 2; }
    . "$extra"
    ;;
esac
