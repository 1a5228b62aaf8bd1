#include "tools/gen/backend.h"

#include <cstdlib>

#include "tools/gen/process.h"

namespace {

const char *const semantics[] = {"-std=gnu11",
                                 "-fwrapv",
                                 "-fwrapv-pointer",
                                 "-fno-strict-aliasing",
                                 "-ffp-contract=off",
                                 "-fno-delete-null-pointer-checks",
                                 "-w"};

const char *const select_only[] = {
    "-O1",
    // functions as wholes
    "-fno-inline",
    "-fno-ipa-pure-const",
    "-fno-ipa-modref",
    "-fno-ipa-reference",
    "-fno-optimize-sibling-calls",
    // trees
    "-fno-tree-ccp",
    "-fno-tree-bit-ccp",
    "-fno-tree-fre",
    "-fno-tree-pre",
    "-fno-tree-dominator-opts",
    "-fno-tree-dce",
    "-fno-tree-builtin-call-dce",
    "-fno-tree-dse",
    "-fno-tree-sink",
    "-fno-tree-sra",
    "-fno-tree-forwprop",
    "-fno-tree-copy-prop",
    "-fno-tree-phiprop",
    "-fno-tree-cselim",
    "-fno-tree-reassoc",
    "-fno-tree-slsr",
    "-fno-tree-switch-conversion",
    "-fno-ssa-phiopt",
    "-fno-ssa-backprop",
    "-fno-thread-jumps",
    "-fdisable-tree-iftoswitch",
    "-fdisable-tree-ifcombine",
    // loops
    "-fno-tree-ch",
    "-fno-tree-loop-optimize",
    "-fno-tree-loop-im",
    "-fno-ivopts",
    "-fno-move-loop-invariants",
    "-fno-branch-count-reg",
    // before the registers are given out
    "-fno-gcse",
    "-fno-forward-propagate",
    "-fno-dse",
    "-fno-crossjumping",
    "-fdisable-rtl-cse1",
    "-fdisable-rtl-ce1",
    "-fdisable-rtl-ce2",
    "-fdisable-rtl-postreload",
    // What is left of if-conversion makes short branches conditional instructions, in Thumb state as the assembler
    // printer does in ARM state anyway. The rest is a code generator's work that -O1 leaves out.
    "-fif-conversion",
    "-fif-conversion2",
    "-fschedule-insns2",
    "-fpeephole2",
    "-fcaller-saves",
};

} // namespace

std::vector<std::string> backend_options(BACKEND_MODE mode) {
    std::vector<std::string> o;
    if (mode == MODE_SELECT) o.assign(std::begin(select_only), std::end(select_only));
    else o.push_back(mode == MODE_O2 ? "-O2" : "-O0");
    o.insert(o.end(), std::begin(semantics), std::end(semantics));
    return o;
}

bool backend_mode(const std::string &name, BACKEND_MODE &mode) {
    if (name == "select") mode = MODE_SELECT;
    else if (name == "O2") mode = MODE_O2;
    else if (name == "O0") mode = MODE_O0;
    else return false;
    return true;
}

std::string cross_compiler() {
    const char *named = getenv("QL_CROSS_CC");
    return named && *named ? named : "arm-linux-gnueabihf-gcc";
}

int run_backend(const std::vector<std::string> &command) {
    return run_process(command, [](const std::string &line) {
        return line.find(": note: disable pass ") == std::string::npos;
    });
}
