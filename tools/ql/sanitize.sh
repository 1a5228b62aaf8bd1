# ./ql sanitize [CTEST-OPTION...]: the fast tests once more, with the address and undefined-behaviour sanitizers.
#
# A build of its own, without the C front end (its libraries are not instrumented). Unit tests release what they made, so
# what leaks there is a finding. Programs run once a file and keep memory until their end, which is none.
install "${build_packages[@]}" "${run_packages[@]}" "${test_packages[@]}"
work=${QL_OUT:-$build/sanitize}
mkdir -p "$work"
say "== building with sanitizers"
[ -f "$work/build.ninja" ] || cmake -G Ninja -B "$work" -S "$root" -DQL_SANITIZE=ON -DQL_TOOLS_CLANG=OFF \
    -DCMAKE_BUILD_TYPE=None -DCMAKE_CXX_FLAGS="-O1 -g1" >"$work/configure.log"
ninja -C "$work" -j "$jobs" >"$work/build.log" 2>&1 || { grep -E -A10 'FAILED|error' "$work/build.log" | head -60 >&2; exit 1; }
say "== testing"
# counting instructions loads a plugin into a program that is not instrumented
ASAN_OPTIONS=detect_leaks=0:allocator_may_return_null=1 UBSAN_OPTIONS=print_stacktrace=1 \
    ctest --test-dir "$work" -j "$jobs" --output-on-failure --timeout 600 -LE slow -E '^count_instructions$' "$@"
