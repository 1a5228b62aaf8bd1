#!/usr/bin/env bash
# run.sh QLOPT GENFILE COMPARE: reads and writes generated files, twice and a third time.
#
# With no passes and nothing simplified, everything that must come back does, after the first time and after the second;
# with all passes but nothing simplified, no call is lost or doubled. From the second time on the output is the input,
# byte for byte, from the third where a test of a pointer against null took a shorter form. Simplified, the output is
# valid each time, and from some time on it grows and shrinks no more.
set -eu
qlopt=$1 genfile=$2 compare=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Each step runs under the same file names: the command line stands in the output.
again() { # NAME NEXT
    mkdir -p "$work/run" && cp "$work/$1" "$work/run/in.if"
    (cd "$work/run" && "$qlopt" $rules in.if out.if) || { echo "$what: qlopt failed on $1"; exit 1; }
    mv "$work/run/out.if" "$work/$2"
}

check() { # OPTION of the first and of the second comparison; what is generated stands in a.if
    again a.if b.if
    again b.if c.if
    again c.if d.if
    "$compare" ${1-} "$work/a.if" "$work/b.if" >"$work/said" || { echo "$what: first time"; cut -c1-500 "$work/said"; exit 1; }
    "$compare" ${2-} "$work/b.if" "$work/c.if" >"$work/said" || { echo "$what: second time"; cut -c1-500 "$work/said"; exit 1; }
    cmp -s "$work/c.if" "$work/d.if" && return
    again d.if e.if
    cmp "$work/d.if" "$work/e.if" || { echo "$what: not stable"; exit 1; }
}

settles() { # what is generated stands in a.if. Operands may change places each time, so sizes are compared.
    for round in 1 2 3 4 5; do
        again a.if b.if
        [ "$(wc -c <"$work/a.if")" = "$(wc -c <"$work/b.if")" ] && return
        mv "$work/b.if" "$work/a.if"
    done
    echo "$what: never stable"
    exit 1
}

n=0
for options in "--plain" "" "--statements 300" "--functions 40 --statements 15" "--deep 20000"; do
    for seed in 1 2 3 4 5 6; do
        "$genfile" --seed "$seed" $options "$work/a.if"
        rules="--disable:simp,casts --debug:limit_rules=-1"
        what="seed $seed $options, no passes" FORCED_OPT_PASSES=none check
        what="seed $seed $options, all passes, nothing simplified" check --loose --loose
        rules=
        what="seed $seed $options, simplified" settles
        n=$((n + 3))
    done
done

# A program that makes no sense is refused, or it makes enough sense to go through; nothing else may happen.
refused=0
for seed in $(seq 1 150); do
    # (Some damage can't be written: a use of a symbol in front of its record.)
    "$genfile" --seed "$seed" --functions 3 --statements 30 --damage $((1 + seed % 3)) "$work/a.if" >/dev/null 2>&1 || continue
    if "$qlopt" "$work/a.if" "$work/b.if" >"$work/said" 2>&1; then
        "$qlopt" "$work/b.if" "$work/c.if" >"$work/said" 2>&1 || { echo "damage $seed: the output is refused"; tail -3 "$work/said"; exit 1; }
    else
        grep -q "malformed at byte" "$work/said" || { echo "damage $seed: not refused but failed"; tail -3 "$work/said"; exit 1; }
        refused=$((refused + 1))
    fi
done
[ "$refused" -ge 30 ] || { echo "only $refused damaged files were refused"; exit 1; }
echo "$n runs, $refused damaged files refused"
