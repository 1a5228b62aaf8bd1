# ./ql run FILE.c [ARGUMENT...]: compiles, optimizes and runs a program, and shows what was gained.
[ $# -ge 1 ] || { say "usage: ./ql run FILE.c [ARGUMENT...]"; exit 2; }
source_file=$1
shift
[ -f "$source_file" ] || { say "ql: no file $source_file"; exit 2; }
install "${run_packages[@]}"
build_targets qlparse qlopt qlrun qlgen
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
if [ -x "$build/tools/gen/qlgen" ]; then
    say "== as ARM program under qemu"
    "$build/tools/gen/qlgen" "$out/optimized.if" -o "$out/optimized.c"
    # shellcheck disable=SC2046
    arm-linux-gnueabihf-gcc -static -marm -w $("$build/tools/gen/qlgen" --print-backend-options) "$out/optimized.c" -o "$out/program" -lm 2>"$out/program.log" || { cat "$out/program.log" >&2; exit 1; }
    qemu-arm "$out/program" "$@" || arm_status=$?
    [ "${arm_status:-0}" -eq $status ] || { say "ql: the ARM program ends with status ${arm_status:-0}"; exit 1; }
fi
say "== executed, before and after (exit status $status)"
python3 - "$out/parsed.json" "$out/optimized.json" >&2 <<'PY'
import json, sys
before, after = (json.load(open(p))["total"] for p in sys.argv[1:3])
for k in ("nodes", "statements", "loads", "stores", "calls", "branches", "multiplications", "divisions"):
    b, a = before[k], after[k]
    print("  %-16s %14d %14d  %6.1f%%" % (k, b, a, 100.0 * a / b if b else 100.0))
PY
say "files: $out"
