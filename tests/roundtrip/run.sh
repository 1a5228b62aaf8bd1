#!/usr/bin/env bash
# run.sh QLOPT GENFILE COMPARE: reads and writes generated files, twice and a third time.
#
# With no passes, everything that must come back does, after the first time and after the second; with all passes,
# no call is lost or doubled. From the second time on the output is the input, byte for byte.
set -eu
qlopt=$1 genfile=$2 compare=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Each step runs under the same file names: the command line stands in the output.
again() { # NAME NEXT
    mkdir -p "$work/run" && cp "$work/$1" "$work/run/in.if"
    (cd "$work/run" && "$qlopt" in.if out.if) || { echo "$what: qlopt failed on $1"; exit 1; }
    mv "$work/run/out.if" "$work/$2"
}

check() { # OPTIONS OF COMPARE ..., then what is generated stands in a.if
    again a.if b.if
    again b.if c.if
    again c.if d.if
    "$compare" "$@" "$work/a.if" "$work/b.if" >"$work/said" || { echo "$what: first time"; cut -c1-500 "$work/said"; exit 1; }
    "$compare" "$@" "$work/b.if" "$work/c.if" >"$work/said" || { echo "$what: second time"; cut -c1-500 "$work/said"; exit 1; }
    cmp "$work/c.if" "$work/d.if" || { echo "$what: not stable"; exit 1; }
}

n=0
for options in "--plain" "" "--statements 300" "--functions 40 --statements 15" "--deep 20000"; do
    for seed in 1 2 3 4 5 6; do
        "$genfile" --seed "$seed" $options "$work/a.if"
        what="seed $seed $options, no passes" FORCED_OPT_PASSES=none check
        what="seed $seed $options, all passes" check --loose
        n=$((n + 2))
    done
done
echo "$n runs"
