#!/bin/bash
# The instruction counter: hand-written code has exactly as many instructions as its text says.
# run.sh BUILD_FOLDER
set -eu
build=$1
. "$(dirname "$0")/../../tools/ql/arm.sh"
cd "$(mktemp -d)"
trap 'rm -rf "$PWD"' EXIT
cat >known.s <<'S'
    .text
    .arm
    .global main
    .type main, %function
main:
    push {r4, lr}
    ldr r4, =1000
1:  subs r4, r4, #1
    addeq r0, r0, #1    @ reached 1000 times, though its condition holds once
    bne 1b
    bl square           @ code in another section that counts as well
    bl abs              @ the library's does not
    mov r0, #7
    pop {r4, pc}
    .section .text.startup, "ax", %progbits
    .type square, %function
square:
    mul r0, r0, r0
    bx lr
    .section .note.GNU-stack, "", %progbits
S
arm_link known.s known
status=0
arm_run count ./known || status=$?
[ $status -eq 7 ] || { echo "the program ends with status $status"; exit 1; }
want=$((2 + 3 * 1000 + 4 + 2))
[ "$(cat count)" = $want ] || { echo "$(cat count) instructions counted instead of $want"; exit 1; }
echo "$want instructions, counted exactly"
