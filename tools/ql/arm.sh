# Functions for ARM programs whose own instructions are counted; sourced by the commands that need them.
#
# The program's code is moved to a section of its own in its object, so that the counter can tell it from the C library.

# arm_link C_FILE PROGRAM OPTION...: compiles with the cross compiler and links statically.
arm_link() {
    local source=$1 program=$2
    shift 2
    arm-linux-gnueabihf-gcc -marm -w "$@" -c "$source" -o "$program.o" 2>"$program.log" ||
        { grep -v ': note: disable pass ' "$program.log" >&2; return 1; }
    arm-linux-gnueabihf-objcopy --rename-section .text=ql_text --rename-section .text.startup=ql_text \
        --rename-section .text.unlikely=ql_text "$program.o"
    arm-linux-gnueabihf-gcc -static -marm "$program.o" -o "$program" -lm
}

# arm_run COUNT_FILE PROGRAM ARGUMENT...: runs it with an empty environment; the number of its own instructions goes to
# the file. The status is the program's.
arm_run() {
    local to=$1 program=$2 section
    shift 2
    # address and size of the section
    section=$(arm-linux-gnueabihf-readelf -SW "$program" | sed -n 's/^ *\[ *[0-9]*\] ql_text  *[A-Z]*  *\([0-9a-f]*\) [0-9a-f]* \([0-9a-f]*\) .*/0x\1 0x\2/p')
    [ -n "$section" ] || { echo 0 >"$to"; section="0 1"; }
    # shellcheck disable=SC2086
    set -- $section "$@"
    local from=$(($1)) size=$(($2))
    shift 2
    env -i qemu-arm -plugin "$build/tools/count/libarm_count.so,from=$from,to=$((from + size)),out=$to" "$program" "$@"
}
