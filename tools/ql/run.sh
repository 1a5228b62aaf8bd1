# ./ql run FILE.c [ARGUMENT...]: compiles, optimizes and runs a program, and shows what was gained.
[ $# -ge 1 ] || { say "usage: ./ql run FILE.c [ARGUMENT...]"; exit 2; }
source_file=$1
shift
[ -f "$source_file" ] || { say "ql: no file $source_file"; exit 2; }
install "${run_packages[@]}"
build_targets qlparse qlopt qlrun qlgen arm_count
out=${QL_OUT:-$build/run/$(basename "${source_file%.c}")}
mkdir -p "$out"
level=${QL_LEVEL:-2}

"$build/tools/parse/qlparse" "$source_file" -o "$out/parsed.if"
"$build/qlopt" --opt_level="$level" --aliased_variables "$out/parsed.if" "$out/optimized.if"

say "== $source_file in the interpreter, as parsed"
status=0
"$build/tools/exec/qlrun" --counts=json --counts-file="$out/parsed.json" "$out/parsed.if" -- "$@" || status=$?
say "== the same, optimized at level $level"
optimized_status=0
"$build/tools/exec/qlrun" --counts=json --counts-file="$out/optimized.json" "$out/optimized.if" -- "$@" >"$out/optimized.out" || optimized_status=$?
if [ $status -ne $optimized_status ]; then
    say "ql: the optimized program ends with status $optimized_status, the parsed one with $status"
    exit 1
fi
cat "$out/optimized.out"
say "== as ARM program under qemu"
. "$root/tools/ql/arm.sh"
backend=$("$build/tools/gen/qlgen" --print-backend-options)
for stage in parsed optimized; do
    "$build/tools/gen/qlgen" "$out/$stage.if" -o "$out/$stage.c"
    # shellcheck disable=SC2086
    arm_link "$out/$stage.c" "$out/$stage" $backend
    arm_status=0
    arm_run "$out/$stage.arm" "$out/$stage" "$@" >"$out/$stage.arm.out" || arm_status=$?
    [ $arm_status -eq $status ] || { say "ql: the ARM program ($stage) ends with status $arm_status"; exit 1; }
    cmp -s "$out/$stage.arm.out" "$out/optimized.out" || say "ql: the ARM program ($stage) prints something else"
done
cat "$out/optimized.arm.out"
say "== executed, before and after (exit status $status)"
python3 - "$out/parsed" "$out/optimized" >&2 <<'PY'
import json, sys
before, after = (json.load(open(p + ".json"))["total"] for p in sys.argv[1:3])
for p, counts in zip(sys.argv[1:3], (before, after)):
    counts["ARM instructions"] = int(open(p + ".arm").read())
for k in ("nodes", "statements", "loads", "stores", "calls", "branches", "multiplications", "divisions", "ARM instructions"):
    b, a = before[k], after[k]
    print("  %-16s %14d %14d  %6.1f%%" % (k, b, a, 100.0 * a / b if b else 100.0))
PY
say "files: $out"
