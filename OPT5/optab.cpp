#include "OPT5/optab.h"

#include <cstdio>
#include <cstring>
#include <initializer_list>

#include "support/dbgout.h"
#include "support/fatal.h"

const char *node_operator_name[N_OPCODES];
uint8_t number_of_operands[N_OPCODES];
uint8_t op_OK_for_SP[N_OPCODES];
uint8_t precedence[N_OPCODES];
uint8_t side_effects[N_OPCODES];
uint8_t op_of_opASG[N_OPCODES];
uint8_t opASG_of_op[N_OPCODES];
uint8_t boolean_result[N_OPCODES];
uint8_t boolean_inv[N_OPCODES];
uint8_t commute_inv[N_OPCODES];
uint8_t float_op_to_micro_ops[N_OPCODES];
uint8_t float_micro_ops_to_op[16];

namespace {

struct OPCODE_ROW_DATA {
    int id;
    const char *name;
    uint8_t operands, precedence, effects, sp;
};

// The rows of the tree forms; what exists only in files is left out.
const OPCODE_ROW_DATA opcode_rows[] = {
#define OPCODE_ROW(id, name, operands, precedence, effects, sp)                                              \
    {id, #name, operands, precedence, effects, sp},
#define FILE_ROW(id, name, operands, precedence, effects, sp)
#include "ifile/opcodes.def"
};

struct OP_PAIR {
    uint8_t a, b;
};

// clang-format off
const OP_PAIR op_assignments[] = {
    {PLUSASG, PLUS}, {MINUSASG, MINUS}, {MULTASG, MULT}, {ANDBASG, ANDB}, {ORBASG, ORB},
    {XORBASG, XORB}, {DIVASG, DIV},     {MODASG, MOD},   {SLLASG, SLL},   {SRLASG, SRL},
};

// The logical negation, both ways. That of a float comparison accepts what the comparison refuses, so the
// unordered case changes sides.
const OP_PAIR negations[] = {
    {EQ, NEQ},    {LE, GT},     {LT, GE},     {ULE, UGT},   {ULT, UGE},
    {FEQ, FNEQN}, {FNEQ, FEQN}, {FLE, FGTN},  {FLT, FGEN},  {FGE, FLTN},  {FGT, FLEN},  {FORD, FUNO},
};

const uint8_t commutative_ops[] = {
    PLUS, MULT, ANDB, ORB, XORB, EQ, NEQ, FEQ, FNEQ, FEQN, FNEQN, FORD, FUNO,
    MIX_CONJ, MIX_DISJ, DFG_MAX, DFG_MIN,
};
const OP_PAIR mirrored_ops[] = {
    {LE, GE}, {LT, GT}, {ULE, UGE}, {ULT, UGT}, {FLE, FGE}, {FLT, FGT}, {FLEN, FGEN}, {FLTN, FGTN},
};

constexpr uint8_t E = MICRO_E, L = MICRO_L, G = MICRO_G, U = MICRO_U;
const OP_PAIR float_relations[] = {
    {FEQ,  E},         {FLT,  L},         {FLE,  L | E},         {FGT,  G},     {FGE,  G | E},
    {FNEQ, L | G},     {FORD, L | G | E}, {FUNO, U},             {FEQN, E | U}, {FLTN, L | U},
    {FLEN, L | E | U}, {FGTN, G | U},     {FGEN, G | E | U},     {FNEQN, L | G | U},
};

// What debug dumps show where the name is too long or the sign says more.
struct DISPLAY_ROW {
    int op;
    const char *text;
};
const DISPLAY_ROW display_rows[] = {
    {LABEL, "LABELREF"},  {PLUS, "+       "},   {PLUSASG, "+=      "},  {MINUS, "-       "},
    {MINUSASG, "-=      "}, {UMINUS, "U-      "}, {MULT, "*       "},   {MULTASG, "*=      "},
    {UMULT, "U*      "},  {ANDB, "&       "},   {ANDBASG, "&=      "},  {UAND, "U&      "},
    {ORB, "|       "},    {ORBASG, "|=      "}, {XORB, "^       "},     {XORBASG, "^=      "},
    {QUEST, "?       "},  {COLON, ":       "},  {ANDAND, "&&      "},   {OROR, "||      "},
    {COMMA, ",       "},  {COMMAOP, ",OP     "}, {ASG, "=       "},     {DIV, "/       "},
    {DIVASG, "/=      "}, {MOD, "%       "},    {MODASG, "%=      "},   {SLL, "<<      "},
    {SLLASG, "<<=     "}, {SRL, ">>      "},    {SRLASG, ">>=     "},   {STDOT, ".       "},
    {STREF, "->      "},  {EXCLAIM, "!       "}, {NOTB, "~       "},    {PLUSPLUS, "++      "},
    {MINMIN, "--      "}, {EQ, "==      "},     {NEQ, "!=      "},      {LE, "<=      "},
    {LT, "<       "},     {GE, ">=      "},     {GT, ">       "},       {ULE, "<=u     "},
    {ULT, "<u      "},    {UGE, ">=u     "},    {UGT, ">u      "},      {FEQ, "==f     "},
    {FNEQ, "!=f     "},   {FLE, "<=f     "},    {FLT, "<f      "},      {FGE, ">=f     "},
    {FGT, ">f      "},    {FEQN, "==fn    "},   {FNEQN, "!=fn    "},    {FLEN, "<=fn    "},
    {FLTN, "<fn     "},   {FGEN, ">=fn    "},   {FGTN, ">fn     "},     {FORD, "<=>f    "},
    {FUNO, "!<=>f   "},   {OUIALIGN, "ALIGNED "}, {NONALIGN, "UNALIGND"}, {EXPT, "**      "},
    {IDENTITY, "IDENT   "}, {LABELDEF, "LABEL   "}, {DFG_VRCUSE, "VRCUSE  "}, {DFG_HASHPARM, "#PARM   "},
    {DFG_DONOTCSE, "DONOTCSE"},
};
// clang-format on

constexpr int OPNAME_WIDTH = 8;
char display_names[N_OPCODES][OPNAME_WIDTH + 1];

void fill_rows() {
    memset(number_of_operands, NO_OPERAND_COUNT, sizeof number_of_operands);
    memset(side_effects, SE_ANYTHING, sizeof side_effects);
    for (const OPCODE_ROW_DATA &row : opcode_rows) {
        node_operator_name[row.id] = row.name;
        number_of_operands[row.id] = row.operands;
        precedence[row.id] = row.precedence;
        side_effects[row.id] = row.effects;
        op_OK_for_SP[row.id] = row.sp;
    }
}

void fill_relations() {
    for (uint8_t *table : {op_of_opASG, opASG_of_op, boolean_inv, commute_inv})
        memset(table, ILLOP, N_OPCODES);
    for (auto [op_asg, op] : op_assignments) op_of_opASG[op_asg] = op, opASG_of_op[op] = op_asg;
    for (auto [a, b] : negations) boolean_inv[a] = b, boolean_inv[b] = a;
    for (uint8_t op : commutative_ops) commute_inv[op] = op;
    for (auto [a, b] : mirrored_ops) commute_inv[a] = b, commute_inv[b] = a;
    for (int op : {ANDAND, OROR, EXCLAIM, MIX_CONJ, MIX_DISJ}) boolean_result[op] = 1;
    for (int op = EQ; op <= UGT; op++) boolean_result[op] = 1;
    for (int op = FEQ; op <= FUNO; op++) boolean_result[op] = 1;
    memset(float_micro_ops_to_op, ILLOP, sizeof float_micro_ops_to_op);
    for (auto [op, bits] : float_relations)
        float_op_to_micro_ops[op] = bits, float_micro_ops_to_op[bits] = op;
}

// A display form: the row of display_rows, else the name without a "DFG_", cut or padded.
void fill_display_names() {
    for (int op = 0; op < N_OPCODES; op++) {
        const char *name = node_operator_name[op] ? node_operator_name[op] : "?";
        if (strncmp(name, "DFG_", 4) == 0) name += 4;
        snprintf(display_names[op], sizeof display_names[op], "%-*.*s", OPNAME_WIDTH, OPNAME_WIDTH, name);
    }
    for (const DISPLAY_ROW &row : display_rows) memcpy(display_names[row.op], row.text, OPNAME_WIDTH);
}

[[noreturn]] void file_table_mismatch(int id) {
    const IF_NODE_INFO &file = if_node_info[id];
    fputs("INTERNAL ERROR: if_node_info[] mismatch\n", stderr);
    dprintf("OP#%d: %d || %d || (%d != %d) <<%s>> <<%s>>\n", id, id, file.id, number_of_operands[id],
            file.arity, node_operator_name[id] ? node_operator_name[id] : "", file.name ? file.name : "");
    abort_optimizer();
}

bool file_row_is(int id, const char *name, int arity) {
    const IF_NODE_INFO &file = if_node_info[id];
    return file.id == id && file.name && strcmp(file.name, name) == 0 && file.arity == arity;
}

// The reader and writer of files go by a table of their own. The two must describe one format.
void validate_against_file_table() {
    dprintf(" *** VALIDATING OPCODE TABLES\n");
    if (!file_row_is(2, "NAME", 0)) file_table_mismatch(2);
    if (!file_row_is(10, "UMINUS", 1)) file_table_mismatch(10);
    if (!file_row_is(70, "CALL", 2)) file_table_mismatch(70);
    for (int id = 0; id < FIRST_NON_FILE_OP; id++)
        if (node_operator_name[id] && !file_row_is(id, node_operator_name[id], number_of_operands[id]))
            file_table_mismatch(id);
}

void validate_float_tables() {
    auto broken = [](const char *where) {
        const char *format = "float_micro_ops_to_op is not the reverse of float_op_to_micro_ops at %s\n";
        dprintf(format, where);
        fprintf(stderr, format, where);
        abort_optimizer();
    };
    for (int op = FEQ; op <= FUNO; op++)
        if (float_micro_ops_to_op[float_op_to_micro_ops[op]] != op) broken(node_operator_name[op]);
    for (int bits = 1; bits < 15; bits++)
        if (float_op_to_micro_ops[float_micro_ops_to_op[bits]] != bits)
            broken(node_operator_name[float_micro_ops_to_op[bits]]);
}

} // namespace

void init_opcode_tables() {
    fill_rows();
    fill_relations();
    fill_display_names();
    if_node_table_init();
    validate_against_file_table();
    validate_float_tables();
    dprintf(" *** OPCODE TABLES ARE OK\n\n");
}

const char *opname(int op) { return op >= 0 && op < N_OPCODES ? display_names[op] : "??      "; }
