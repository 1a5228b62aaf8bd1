// Expression records: a tree of nodes in prefix order, each a record of its own.
//
// Both directions run over an explicit stack of the nodes whose children are still to come, so that a tree may be
// as deep as memory allows. Reading checks each node against the opcode table, its operand fields against what can
// stand there, and mends comparisons of floats that were written with an integer's opcode.
#include "ifile/if_file.h"

#include <cstring>

#include "support/fatal.h"
#include "support/walkstack.h"

namespace {

constexpr uint32_t NULL_SYMBOL_LEVEL = UINT32_MAX; // of a NAME without symbol
constexpr uint32_t LARGEST_LABEL = INT32_MAX;      // label numbers are positive ints
constexpr int MOST_EXPONENT_DIGITS = 5;            // of an FCON; no float format needs more

// Opcodes whose node says nothing about a value, or whose value may be none: control, lists, calls, markers.
// All others need a type: it tells how the operands are stored or what the operator computes.
constexpr uint8_t typeless_ops[] = {
    NOP,     LABEL,   RETURN,  SWITCH, DEFAULT, CASE,  COMMA,  PCOMMA,  COLON,   CALL,   UCALL,
    LOOP,    ENDLOOP, ARGREF,  STASG,  STARG,   ARASG, EPVAL,  CBRANCH, ENDINIT, BRANCH, SKIP,
    URETURN, DDNODE,  NASSERT, ASSERT, MEMCPY,  ICALL, UICALL, MCALL,   UMCALL,  VREG,
};

// The float form of a comparison, by opcode from EQ to UGT. Not equal is true of unordered operands.
constexpr uint8_t float_comparisons[] = {FEQ, FNEQN, FLE, FLT, FGE, FGT, FLE, FLT, FGE, FGT};

struct NEEDS_TYPE {
    bool of[FIRST_NON_FILE_OP];
    constexpr NEEDS_TYPE() : of() {
        for (bool &b : of) b = true;
        for (uint8_t op : typeless_ops) of[op] = false;
    }
};
constexpr NEEDS_TYPE needs_type;

bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_hex(char c) { return is_digit(c) || (c >= 'a' && c <= 'f'); }

} // namespace

bool if_op_needs_type(int op) { return needs_type.of[op]; }

// Decimal, within the 65 bits that sign and magnitude of any integer type take: -2^64 to 2^64 - 1.
bool if_is_decimal_text(const char *p) {
    bool negative = *p == '-';
    p += negative;
    if (!*p) return false;
    uint64_t magnitude = 0;
    bool beyond = false; // one above what 64 bits hold
    for (; *p; p++) {
        if (!is_digit(*p) || beyond) return false;
        if (__builtin_mul_overflow(magnitude, uint64_t{10}, &magnitude)) return false;
        if (!__builtin_add_overflow(magnitude, uint64_t(*p - '0'), &magnitude)) continue;
        if (!negative || magnitude) return false;
        beyond = true;
    }
    return true;
}

// What the "%a" conversion gives: a sign, then 0x1.8p+3 and its like, or inf, or nan.
bool if_is_float_text(const char *p) {
    p += *p == '-';
    if (!strcmp(p, "inf") || !strcmp(p, "nan")) return true;
    if (p[0] != '0' || p[1] != 'x' || !is_hex(p[2])) return false;
    p += 3;
    if (*p == '.') {
        if (!is_hex(*++p)) return false;
        while (is_hex(*p)) p++;
    }
    if (*p++ != 'p') return false;
    p += *p == '+' || *p == '-';
    int digits = 0;
    for (; is_digit(*p); p++) digits++;
    return digits >= 1 && digits <= MOST_EXPONENT_DIGITS && !*p;
}

namespace {

// Number of CASE nodes in the list that hangs on a SWITCH, and whether there is a DEFAULT.
struct CASES {
    uint32_t cases = 0;
    bool has_default = false;

    explicit CASES(BASE_NODE *list) {
        walk_stack<BASE_NODE *> todo;
        todo.push(list);
        while (!todo.empty()) {
            BASE_NODE *n = todo.pop();
            if (!n) continue;
            int op = n->base_op();
            cases += op == CASE;
            has_default |= op == DEFAULT;
            if (op != COMMA) continue;
            todo.push(n->base_left());
            todo.push(n->base_right());
        }
    }
    // A default may be counted as a case or not.
    bool fit(uint32_t count) const { return count == cases || (has_default && count == cases + 1); }
};

} // namespace

// --- reading ---

struct IF_EXPR_READER {
    // A node whose children are being read.
    struct FRAME {
        BASE_NODE *node;
        uint32_t at; // its record
        uint8_t op;
        uint8_t arity;
        uint8_t have; // children read
    };

    I_FILE &f;
    IF_CLIENT *client;
    walk_stack<FRAME> stack;

    IF_EXPR_READER(I_FILE &file, IF_CLIENT *c) : f(file), client(c) {}

    BASE_NODE *read(bool header);
    FRAME read_node();
    void read_operand(BASE_NODE *node, int op, TYPE *type);
    void finish(const FRAME &frame);

    void if_read_expr_name(BASE_NODE *);
    void if_read_expr_scon(BASE_NODE *);
    void if_read_expr_icon(BASE_NODE *, TYPE *);
    void if_read_expr_fcon(BASE_NODE *);
    void if_read_expr_lcon(BASE_NODE *);
    void if_read_expr_field(BASE_NODE *);
    void if_read_expr_label(BASE_NODE *);
    void if_read_expr_call(BASE_NODE *);
    void if_read_expr_ddnode(BASE_NODE *);
    void if_read_expr_icall(BASE_NODE *);
};

void IF_EXPR_READER::if_read_expr_name(BASE_NODE *n) {
    uint32_t level = f.i_read_uint(), index = f.i_read_uint();
    n->mk_name(level == NULL_SYMBOL_LEVEL ? nullptr : f.find_symbol(level, index));
}

void IF_EXPR_READER::if_read_expr_scon(BASE_NODE *n) {
    uint32_t bytes = f.i_read_count(1);
    const char *text = f.image_.data() + f.position_;
    f.i_read_skip(bytes);
    n->mk_scon(text, bytes);
}

void IF_EXPR_READER::if_read_expr_icon(BASE_NODE *n, TYPE *type) {
    if (type->is_signed()) n->mk_icon(true, uint32_t(f.i_read_sint()));
    else n->mk_icon(false, f.i_read_uint());
}

void IF_EXPR_READER::if_read_expr_fcon(BASE_NODE *n) {
    uint32_t at = f.position_;
    const char *text = f.i_read_string(0);
    if (!if_is_float_text(text)) f.bad_file_at(at, "the text of an FCON is no hexadecimal float");
    n->mk_fcon(text);
}

void IF_EXPR_READER::if_read_expr_lcon(BASE_NODE *n) {
    uint32_t at = f.position_;
    const char *text = f.i_read_string(0);
    if (!if_is_decimal_text(text)) f.bad_file_at(at, "the text of an LCON is no decimal number of 65 bits");
    n->mk_lcon(text);
}

void IF_EXPR_READER::if_read_expr_field(BASE_NODE *n) {
    uint32_t at = f.position_;
    int kind = f.i_read_s8();
    if (kind != 1) f.bad_file_at(at, "FIELD of kind %d", kind);
    uint32_t member = f.i_read_uint();
    at = f.position_;
    uint32_t id = f.i_read_uint();
    TYPE *record = f.find_typeref(id);
    if (!record || !record->is_csu()) f.bad_file_at(at, "FIELD of type %u, which is no record", id);
    n->mk_field(kind, f.find_mdataref(id, member), record);
}

void IF_EXPR_READER::if_read_expr_label(BASE_NODE *n) {
    uint32_t at = f.position_, number = f.i_read_uint();
    if (number < 1 || number > LARGEST_LABEL) f.bad_file_at(at, "label number %u", number);
    n->mk_label(int(number));
}

void IF_EXPR_READER::if_read_expr_call(BASE_NODE *n) {
    uint32_t site = f.i_read_uint(), entry = f.i_read_uint();
    n->mk_call(site, entry);
}

void IF_EXPR_READER::if_read_expr_ddnode(BASE_NODE *n) {
    uint32_t id = f.i_read_uint(), flags = f.i_read_uint();
    n->mk_ddnode(id, flags, f.i_read_u8());
}

void IF_EXPR_READER::if_read_expr_icall(BASE_NODE *n) {
    uint32_t at = f.position_;
    const char *name = f.i_read_string(0);
    if (!*name) f.bad_file_at(at, "a built-in without a name");
    n->mk_icall(name);
}

void IF_EXPR_READER::read_operand(BASE_NODE *n, int op, TYPE *type) {
    switch (op) {
    case LABEL: return if_read_expr_label(n);
    case NAME: return if_read_expr_name(n);
    case SCON: return if_read_expr_scon(n);
    case ICON: return if_read_expr_icon(n, type);
    case FCON: return if_read_expr_fcon(n);
    case LCON: return if_read_expr_lcon(n);
    case FIELD: return if_read_expr_field(n);
    case SWITCH: return n->mk_switch(f.i_read_uint());
    case CALL: return if_read_expr_call(n);
    case UCALL: return n->mk_ucall(f.i_read_uint());
    case EPVAL: return n->set_edge_profile_value(f.i_read_uint());
    case SKIP: return n->mk_skip(f.i_read_uint());
    case DDNODE: return if_read_expr_ddnode(n);
    case ICALL:
    case UICALL:
    case MCALL:
    case UMCALL: return if_read_expr_icall(n);
    case VREG: return n->mk_vreg(f.i_read_sint());
    default: return;
    }
}

// One node, behind its frame header.
IF_EXPR_READER::FRAME IF_EXPR_READER::read_node() {
    unsigned op = f.i_read_u8();
    if (op >= FIRST_NON_FILE_OP || !if_node_info[op].name) f.bad_file("opcode %u", op);
    const IF_NODE_INFO &row = if_node_info[op];
    uint32_t at = f.position_, id = f.i_read_uint();
    TYPE *type = id ? f.find_typeref(id) : nullptr;
    if (!type && needs_type.of[op]) f.bad_file_at(at, "%s without a type", row.name);
    BASE_NODE *n = client->new_node(int(op), type);
    QL_ASSERT(n);
    read_operand(n, int(op), type);
    f.i_end_record();
    return {n, f.record_start_, uint8_t(op), uint8_t(op == SKIP ? 0 : row.arity), 0};
}

// A node has all its children.
void IF_EXPR_READER::finish(const FRAME &frame) {
    if (frame.op >= EQ && frame.op <= UGT) {
        auto is_float = [](BASE_NODE *n) { return n->base_type() && n->base_type()->is_fltpt(); };
        if (is_float(frame.node->base_left()) || is_float(frame.node->base_right()))
            frame.node->set_base_op(float_comparisons[frame.op - EQ]);
    } else if (frame.op == SWITCH) {
        uint32_t count = frame.node->switch_count();
        CASES list(frame.node->base_right());
        if (!list.fit(count))
            f.bad_file_at(frame.at, "SWITCH of %u cases, but %u are there", count, list.cases);
    }
}

BASE_NODE *IF_EXPR_READER::read(bool header) {
    for (bool root = true;; root = false) {
        if (header || !root) f.expect_record(IF_EXPR, "where an expression should be");
        FRAME done = read_node();
        if (root) f.root_op_ = done.op;
        else if (done.op == ENDINIT) f.bad_file("ENDINIT within a tree");
        if (done.arity) {
            stack.push(done);
            continue;
        }
        // Hang what is complete on what waits for it.
        for (BASE_NODE *complete = done.node;;) {
            if (stack.empty()) return complete;
            FRAME &parent = stack.top();
            if (parent.have++) parent.node->set_base_right(complete);
            else parent.node->set_base_left(complete);
            if (parent.have < parent.arity) break;
            complete = parent.node;
            finish(stack.pop());
        }
    }
}

BASE_NODE *I_FILE::if_read_expr_node(bool header) { return IF_EXPR_READER(*this, client_).read(header); }

void I_FILE::if_read_expr_header() {
    const PSN *psn = i_read_psn();
    i_end_record();
    BASE_NODE *tree = if_read_expr_node(true);
    if (root_op_ == ENDINIT) bad_file("ENDINIT outside an initialiser");
    client_->cl_expr(tree, psn);
}

// --- writing ---

struct IF_EXPR_WRITER {
    I_FILE &f;

    void write_node(BASE_NODE *n, int op);
    char *put_small_node(BASE_NODE *n, int op, TYPE *type, char *p);
    void write_operand(BASE_NODE *n, int op);

    void if_write_expr_switch(BASE_NODE *);
};

// Cases may have come and gone since the count was read.
void IF_EXPR_WRITER::if_write_expr_switch(BASE_NODE *n) {
    CASES list(n->base_right());
    f.i_write_uint(list.fit(n->switch_count()) ? n->switch_count() : list.cases);
}

void IF_EXPR_WRITER::write_operand(BASE_NODE *n, int op) {
    switch (op) {
    case NAME: // one without symbol
        f.i_write_uint(NULL_SYMBOL_LEVEL);
        return f.i_write_uint(0);
    case SCON:
        f.i_write_uint(n->scon_size());
        if (n->scon_size()) f.i_write_string(n->scon_value(), n->scon_size());
        return;
    case FCON: return f.i_write_string(n->fcon_value(), 0);
    case LCON: return f.i_write_string(n->lcon_value(), 0);
    case SWITCH: return if_write_expr_switch(n);
    case EPVAL: return f.i_write_uint(n->get_edge_profile_value());
    case SKIP: return f.i_write_uint(n->skip_size());
    case DDNODE:
        f.i_write_uint(n->ddnode_id());
        f.i_write_uint(n->ddnode_flags());
        return f.i_write_i8(int(n->ddnode_flags2()));
    case ICALL:
    case UICALL:
    case MCALL:
    case UMCALL: return f.i_write_string(n->icall_name(), 0);
    case VREG: return f.i_write_sint(n->vreg_id());
    default: return;
    }
}

namespace {

constexpr size_t LARGEST_SMALL_NODE = 1 + 5 + 1 + 2 * 5; // opcode, type, kind of a FIELD, two numbers

char *put_uint(char *p, uint32_t v) {
    for (; v >= 0x80; v >>= 7) *p++ = char(v | 0x80);
    *p++ = char(v);
    return p;
}
char *put_sint(char *p, int32_t v) {
    for (; v < -0x40 || v > 0x3F; v >>= 7) *p++ = char(v | 0x80);
    *p++ = char(v & 0x7F);
    return p;
}

} // namespace

// The payload of a node that has no operand field, or a short one; null for others.
char *IF_EXPR_WRITER::put_small_node(BASE_NODE *n, int op, TYPE *type, char *p) {
    *p++ = char(op);
    if (type) {
        type = type->rep();
        type->refd = true;
    }
    p = put_uint(p, type ? type->uid : 0);
    switch (op) {
    case NAME: {
        I_SYMTAB *symbol = n->name_sym();
        if (!symbol) return nullptr;
        p = put_uint(p, uint32_t(symbol->sym_level()));
        return put_uint(p, f.index_of(symbol));
    }
    case ICON: return type->is_signed() ? put_sint(p, n->icon_svalue()) : put_uint(p, n->icon_uvalue());
    case LABEL: QL_ASSERT(n->label_id() > 0); return put_uint(p, uint32_t(n->label_id()));
    case FIELD: {
        const fkMDATA *member = n->field_mval();
        TYPE *csu = n->field_csu();
        QL_ASSERT(csu && csu->is_csu());
        csu = csu->rep();
        csu->refd = true;
        *p++ = char(n->field_kind());
        p = put_uint(p, member ? member->index : 0);
        return put_uint(p, csu->uid);
    }
    case CALL: p = put_uint(p, n->call_site()); return put_uint(p, n->eh_entry_id());
    case UCALL: return put_uint(p, n->eh_entry_id());
    case SCON:
    case FCON:
    case LCON:
    case SWITCH:
    case EPVAL:
    case SKIP:
    case DDNODE:
    case ICALL:
    case UICALL:
    case MCALL:
    case UMCALL:
    case VREG: return nullptr;
    default: return p;
    }
}

void IF_EXPR_WRITER::write_node(BASE_NODE *n, int op) {
    QL_ASSERT(op >= 0 && op < FIRST_NON_FILE_OP && if_node_info[op].name);
    TYPE *type = n->base_type();
    QL_ASSERT(type || !needs_type.of[op]);
    f.pending_.need(2 + LARGEST_SMALL_NODE);
    char *record = f.pending_.pos; // framed in place
    if (char *end = put_small_node(n, op, type, record + 2)) {
        record[0] = char(IF_EXPR);
        record[1] = char(end - record - 2);
        f.finish_record(end);
        return;
    }
    f.i_write_i8(op);
    f.i_write_typeref(type);
    write_operand(n, op);
    f.i_flush(IF_EXPR);
}

void I_FILE::if_write_expr_node(BASE_NODE *tree) {
    walk_stack<BASE_NODE *> rights; // children that wait for the tree on their left
    IF_EXPR_WRITER writer{*this};
    while (tree) {
        int op = tree->base_op();
        writer.write_node(tree, op);
        BASE_NODE *left = tree->base_left(), *right = tree->base_right();
        // The reader goes by the table: a child too many or too few would make all that follows unreadable.
        int arity = op == SKIP ? 0 : if_node_info[op].arity;
        QL_ASSERT((arity > 0) == (left != nullptr) && (arity > 1) == (right != nullptr));
        if (left && right) rights.push(right);
        tree = left;
        if (!tree && !rights.empty()) tree = rights.pop();
    }
}

void I_FILE::if_write_expr(BASE_NODE *tree, const PSN *psn) {
    i_write_psn(psn);
    i_flush(IF_STATEMENT);
    if (tree) if_write_expr_node(tree);
}
