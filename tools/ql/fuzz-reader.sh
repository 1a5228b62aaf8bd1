# ./ql fuzz-reader [--minutes N]: hunts for input files that make the reader crash, hang or fail its checks.
#
# Two hunters side by side, each with the address and undefined-behaviour sanitizers: the file library alone, in process
# (libFuzzer; what it accepts is written and read again), and qlopt as a whole, one process a file (AFL++).
minutes=10
if [ "${1:-}" = --minutes ] && [[ ${2:-} =~ ^[0-9]+$ ]]; then minutes=$2
elif [ $# -gt 0 ]; then
    echo "usage: ./ql fuzz-reader [--minutes N]" >&2
    exit 2
fi
install "${build_packages[@]}" "${run_packages[@]}" "${fuzz_packages[@]}" libclang-rt-14-dev
work=${QL_OUT:-$build/fuzz-reader}
mkdir -p "$work/seeds"
say "== building with sanitizers"
# gcc defines the macro by itself: pooled records come from the heap then, outside the shadow memory
fuzz_flags="-fsanitize=address,undefined -fno-sanitize-recover=undefined -D__SANITIZE_ADDRESS__=1"
[ -f "$work/lib/build.ninja" ] || cmake -G Ninja -B "$work/lib" -S "$root" -DQL_FUZZ=ON -DQL_TOOLS_CLANG=OFF \
    -DCMAKE_C_COMPILER=clang-14 -DCMAKE_CXX_COMPILER=clang++-14 -DCMAKE_BUILD_TYPE=None \
    -DCMAKE_CXX_FLAGS="-O1 -g $fuzz_flags -fsanitize=fuzzer-no-link -Wno-error" >"$work/configure.log" 2>&1
ninja -C "$work/lib" -j "$jobs" fuzz_reader >"$work/build.log" 2>&1 || { tail -20 "$work/build.log" >&2; exit 1; }
[ -f "$work/whole/build.ninja" ] || CXX=afl-clang-fast++ CC=afl-clang-fast cmake -G Ninja -B "$work/whole" -S "$root" -DQL_TOOLS_CLANG=OFF \
    -DCMAKE_BUILD_TYPE=None -DCMAKE_CXX_FLAGS="-O1 -g $fuzz_flags -Wno-error" >"$work/configure.log" 2>&1
ninja -C "$work/whole" -j "$jobs" qlopt >"$work/build.log" 2>&1 || { tail -20 "$work/build.log" >&2; exit 1; }

say "== seeds"
build_targets qlparse qlasm
for c in "$root"/tests/fuzz/seeds/*.c "$root"/tests/c/*.c; do
    seed=$work/seeds/$(basename "$c").if
    "$build/tools/parse/qlparse" "$c" -o "$seed" 2>/dev/null || true
    # mutations of large files hit nothing
    case $c in */tests/c/*) find "$seed" -size +4k -delete 2>/dev/null || true ;; esac
done
for t in "$root"/tests/text/*.ift; do "$build/tools/text/qlasm" "$t" -o "$work/seeds/$(basename "$t").if" 2>/dev/null || true; done

say "== hunting for $minutes minutes"
seconds=$((minutes * 60))
mkdir -p "$work/corpus" "$work/found"
(cd "$work" && ASAN_OPTIONS=detect_leaks=0 nice "$work/lib/tests/fuzz/fuzz_reader" -max_total_time=$seconds -timeout=25 -rss_limit_mb=6000 -max_len=65536 \
    -artifact_prefix="$work/found/" corpus seeds >"$work/reader.log" 2>&1) &
reader=$!
(cd "$work" && AFL_SKIP_CPUFREQ=1 AFL_I_DONT_CARE_ABOUT_MISSING_CRASHES=1 AFL_NO_UI=1 AFL_NO_AFFINITY=1 AFL_CRASH_EXITCODE=2 AFL_IGNORE_SEED_PROBLEMS=1 \
    ASAN_OPTIONS=abort_on_error=1:detect_leaks=0:symbolize=0:allocator_may_return_null=1 UBSAN_OPTIONS=abort_on_error=1:symbolize=0 \
    nice afl-fuzz -V $seconds -m none -t 10000 -i seeds -o afl -- "$work/whole/qlopt" --opt_level=2 --debug:abort --debug:validate @@ /dev/shm/ql_afl.if >"$work/whole.log" 2>&1) &
whole=$!
reader_status=0
wait $reader || reader_status=$?
wait $whole || true
crashes=$(find "$work/afl/default/crashes" "$work/afl/default/hangs" -name 'id*' 2>/dev/null | wc -l)
execs=$(sed -n 's/^execs_done *: *//p' "$work/afl/default/fuzzer_stats" 2>/dev/null || echo 0)
runs=$(sed -n 's/^#\([0-9][0-9]*\).*/\1/p' "$work/reader.log" | tail -1)
say "library: $runs runs, status $reader_status; qlopt: ${execs:-0} runs, $crashes findings; kept in $work"
[ $reader_status -eq 0 ] && [ "$crashes" -eq 0 ]
