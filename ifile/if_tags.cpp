// The vocabulary tables of the intermediate file: version gates, areas, opcodes, pragma names.
#include "ifile/if_file.h"

#include <cstdlib>

#include "support/fatal.h"

// clang-format off
const IF_GATE_ROW if_gates[N_IF_GATES] = {
    {"header's extra word",             -83, IF_VERSION}, // GATE_HEADER_EXTRA
    {"symbol's policy byte",            -71, IF_VERSION}, // GATE_SYM_POLICY
    {"member's fti byte",               -74, IF_VERSION}, // GATE_MEMBER_FTI
    {"member's newer bit-field layout", -85, IF_VERSION}, // GATE_MEMBER_NEW_BITS
    {"record's struct-vector bool",     -84, IF_VERSION}, // GATE_STRUCT_VECTOR
    {"enum's and record's cpp bool",    -81, IF_VERSION}, // GATE_CPP
    {"array's vector bool",             -76, IF_VERSION}, // GATE_ARRAY_VECTOR
    {"array's ignored bool",            -75, -74},        // GATE_ARRAY_IGNORED
    {"union members in any order",      -80, IF_VERSION}, // GATE_UNION_UNORDERED
};

const IF_AREA_ROW if_area_order[N_IF_AREAS] = {
    // in file order, tag, order of reading
    {AREA_HEADER,  IF_HEADER,  0, "header"},
    {AREA_MAIN,    0,          6, "main stream"},
    {AREA_INIT,    IF_INIT,    5, "initialiser area"},
    {AREA_OPTIONS, IF_OPTIONS, 1, "option area"},
    {AREA_TYPES,   IF_TYPE,    3, "type area"},
    {AREA_FILES,   IF_SOURCE,  2, "file-name area"},
    {AREA_GLOBALS, IF_SYMBOL,  4, "global symbol area"},
};
// clang-format on

bool if_gate(IF_GATE gate, int version) {
    return if_gates[gate].first <= version && version <= if_gates[gate].last;
}

IF_NODE_INFO if_node_info[IF_NODE_TABLE_SIZE];

void if_enter_node(int id, const char *name, int arity) {
    if (id < 0 || id >= IF_NODE_TABLE_SIZE) {
        printf("\nINTERNAL ERROR: Invalid opcode, aborting\n");
        fflush(stdout);
        run_closing_hooks();
        exit(1);
    }
    if_node_info[id] = {id, name, arity};
}

void if_node_table_init() {
    if (if_node_info[NAME].name) return;
#define OPCODE_ROW(id, name, operands, precedence, effects, sp)                                              \
    if constexpr (id < FIRST_NON_FILE_OP) if_enter_node(id, #name, operands);
#include "ifile/opcodes.def"
}

const char *PRAGMA::name(int number) {
    static const char *const names[N_PRAGMAS] = {
#define PRAGMA_ROW(id, ident, text) text,
#include "ifile/pragmas.def"
    };
    return number >= 0 && number < N_PRAGMAS ? names[number] : "unknown";
}

namespace {

void refuse_and_exit(const char *text) {
    fflush(stdout);
    fprintf(stderr, "%s\n", text);
    run_closing_hooks();
    exit(1);
}

} // namespace

IF_BAD_FILE_HANDLER if_bad_file_handler = refuse_and_exit;
