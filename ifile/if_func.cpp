// Control records, loop and dependence information, exception tables and initialisers; the table of the main stream.
#include "ifile/if_file.h"

#include <climits>
#include <cstdio>
#include <memory>
#include "support/flatmap.h"

#include "support/fatal.h"

namespace {

// Where in the main stream a record may stand, as a set of places.
enum WHERE : uint8_t {
    W_OUTSIDE = 1,
    W_ARGS = 2,
    W_LOCALS = 4,
    W_BODY = 8,
    W_IR = 16, // between the records of an instruction function
    W_FUNCTION = W_ARGS | W_LOCALS | W_BODY,
    W_ANYWHERE = W_OUTSIDE | W_FUNCTION | W_IR,
};
const char *const place_names[] = {"outside a function", "among the arguments", "among the locals",
                                   "in a function's body", "in an instruction function"};

constexpr unsigned LARGEST_VECTOR = 255;        // elements; the count is a byte
constexpr unsigned LEAST_EHT_ENTRY = 1 + 1 + 4; // bytes of an entry's record
constexpr unsigned LEAST_EHT_CATCH = 1 + 1 + 1; // bytes of a catch
constexpr unsigned VECTOR_FLAGS = 0x0F, ELEMENT_FLAGS = 0x1F, ELEMENT_HAS_DISTANCE = 1, VECTOR_IS_EMPTY = 4;

} // namespace

// --- the table of the main stream ---

struct IF_RECORD_ROW {
    uint8_t tag;
    uint8_t where; // WHERE
    const char *what;
    void (*read)(I_FILE &, uint32_t length); // the payload

    template <void (I_FILE::*M)()> static void call(I_FILE &f, uint32_t) { (f.*M)(); }
    static void ir_ins(I_FILE &f, uint32_t length) { f.if_read_ir(length); }
    static void pragma(I_FILE &f, uint32_t) { f.if_read_pragma(nullptr); }
    static void symbol(I_FILE &f, uint32_t) {
        if (f.phase_ == I_FILE::IN_BODY && (f.block_locals_ended_.empty() || f.block_locals_ended_.back()))
            f.bad_file("symbol behind the end of locals");
        f.if_read_symbol_def();
    }
    // An expression of no statement has no reader: it is read for what it may be malformed in.
    static void expr(I_FILE &f, uint32_t) {
        f.if_read_expr_node(false);
        if (f.root_op_ == ENDINIT) f.bad_file("ENDINIT outside an initialiser");
    }
    static void type(I_FILE &f, uint32_t length) {
        f.if_read_type(length);
        f.types_in_stream_ = true;
    }
    static const IF_RECORD_ROW *find(int tag);
};

namespace {

// clang-format off
const IF_RECORD_ROW record_rows[] = {
#define READER(name) IF_RECORD_ROW::call<&I_FILE::name>
    {I_BF,          W_OUTSIDE,           "begin of a function",  READER(if_read_begin_func)},
    {I_EF,          W_BODY,              "end of a function",    READER(if_read_end_func)},
    {I_BB,          W_BODY,              "begin of a block",     READER(if_read_begin_block)},
    {I_EB,          W_BODY,              "end of a block",       READER(if_read_end_block)},
    {I_EA,          W_ARGS,              "end of arguments",     READER(if_read_end_args)},
    {I_EL,          W_LOCALS | W_BODY,   "end of locals",        READER(if_read_end_locals)},
    {IF_IR_INS,     W_FUNCTION | W_IR,   "instruction",          IF_RECORD_ROW::ir_ins},
    {IF_SYMBOL,     W_ANYWHERE,          "symbol",               IF_RECORD_ROW::symbol},
    {IF_ASSEMBLY,   W_ANYWHERE,          "assembly",             READER(if_read_assembly)},
    {IF_LOOP,       W_FUNCTION,          "loop",                 READER(if_read_loop)},
    {IF_LABEL,      W_BODY,              "label",                READER(if_read_label)},
    {IF_MBANK,      W_ANYWHERE,          "memory bank",          READER(if_read_mbank)},
    {IF_STATEMENT,  W_BODY,              "statement",            READER(if_read_expr_header)},
    {IF_COMMENT,    W_ANYWHERE,          "comment",              READER(if_read_comment)},
    {IF_DEP_EDGE,   W_FUNCTION,          "dependence edge",      READER(if_read_dep_edge)},
    {IF_DEP_VECTOR, W_FUNCTION,          "dependence vector",    READER(if_read_dep_vector)},
    {IF_FUNC_INFO,  W_FUNCTION,          "function information", READER(if_read_func_info)},
    {IF_EHT,        W_FUNCTION,          "exception table",      READER(if_read_eht)},
    {IF_PRAGMA,     W_ANYWHERE,          "pragma",               IF_RECORD_ROW::pragma},
    {IF_EXPR,       W_OUTSIDE | W_BODY,  "expression",           IF_RECORD_ROW::expr},
    {IF_INIT,       W_OUTSIDE | W_BODY,  "initialiser",          READER(if_read_init)},
    {IF_LDSPEC,     W_FUNCTION,          "load speculation",     READER(if_read_ldspec)},
    {IF_TYPE,       W_ANYWHERE,          "type",                 IF_RECORD_ROW::type},
    {IF_IR_BEGIN,   W_OUTSIDE,           "instruction function", READER(if_read_ir_begin)},
    {IF_INLOOP,     W_BODY,              "in-loop",              READER(if_read_inloop)},
    {IF_IR_END,     W_IR,                "end of instructions",  READER(if_read_ir_end)},
    {IF_SOURCE,     W_ANYWHERE,          "source file",          READER(if_read_source)},
#undef READER
};
// clang-format on

} // namespace

const IF_RECORD_ROW *IF_RECORD_ROW::find(int tag) {
    static const std::vector<const IF_RECORD_ROW *> by_tag = [] {
        std::vector<const IF_RECORD_ROW *> rows(256);
        for (const IF_RECORD_ROW &row : record_rows) rows[row.tag] = &row;
        return rows;
    }();
    return by_tag[size_t(tag)];
}

int I_FILE::read_record() {
    int tag;
    uint32_t length;
    i_read_header(tag, length);
    if (types_in_stream_ && tag != IF_TYPE) {
        types_in_stream_ = false;
        if_end_type_area();
    }
    if (tag == IF_EOF) {
        if (phase_ != OUTSIDE) bad_file("the main stream ends within a function");
        return tag;
    }
    const IF_RECORD_ROW *row = IF_RECORD_ROW::find(tag);
    if (!row) bad_file("a record of tag %d in the main stream", tag);
    if (!(row->where >> phase_ & 1)) bad_file("%s record %s", row->what, place_names[phase_]);
    row->read(*this, length);
    i_end_record();
    return tag;
}

// --- functions ---

void I_FILE::enter_function(PHASE phase) {
    phase_ = phase;
    level_ = 1;
    locals_.clear();
    local_levels_.clear();
    block_locals_ended_.clear();
    function_has_eht_ = false;
    next_vector_ = 0;
    loops_.clear();
}

void I_FILE::leave_function() {
    phase_ = OUTSIDE;
    level_ = 0;
}

// The global of that index, which must be a function.
I_SYMTAB *I_FILE::function_symbol(uint32_t index) {
    I_SYMTAB *symbol = find_symbol(0, index);
    if (!symbol->sym_type() || !symbol->sym_type()->is_func())
        bad_file("function body of symbol %u, which is no function", index);
    return symbol;
}

void I_FILE::if_read_begin_func() {
    const PSN *psn = i_read_psn();
    uint32_t index = i_read_uint();
    i_end_record();
    I_SYMTAB *symbol = function_symbol(index);
    // Reading the same body again by its offset is no second definition.
    if (!bodies_.insert(index, record_start_) && *bodies_.find(index) != record_start_)
        bad_file("second body of function %u", index);
    enter_function(IN_ARGS);
    client_->cl_begin_func(symbol, psn);
}

void I_FILE::if_read_end_func() {
    if (!block_locals_ended_.empty()) bad_file("%zu blocks are open", block_locals_ended_.size());
    const PSN *psn = i_read_psn();
    i_end_record();
    leave_function();
    client_->cl_end_func(psn);
}

void I_FILE::if_read_end_args() {
    const PSN *psn = i_read_psn();
    i_end_record();
    phase_ = IN_LOCALS;
    level_ = 2;
    client_->cl_end_args(psn);
}

// Ends the locals of the function, or those of a block.
void I_FILE::if_read_end_locals() {
    if (phase_ == IN_BODY) {
        if (block_locals_ended_.empty() || block_locals_ended_.back()) bad_file("second end of locals");
        block_locals_ended_.back() = true;
    }
    const PSN *psn = i_read_psn();
    i_end_record();
    phase_ = IN_BODY;
    client_->cl_end_locals(psn);
}

void I_FILE::if_read_begin_block() {
    const PSN *psn = i_read_psn();
    i_end_record();
    block_locals_ended_.push_back(false);
    level_++;
    client_->cl_begin_block(psn);
}

void I_FILE::if_read_end_block() {
    if (block_locals_ended_.empty()) bad_file("end of a block where none is open");
    const PSN *psn = i_read_psn();
    i_end_record();
    block_locals_ended_.pop_back();
    level_--;
    client_->cl_end_block(psn);
}

// --- texts and labels ---

void I_FILE::if_read_assembly() {
    const char *text = i_read_string(0);
    const PSN *psn = i_read_psn();
    i_end_record();
    client_->cl_inline_asm(text, psn);
}

void I_FILE::if_read_comment() {
    const char *text = i_read_string(0);
    i_end_record();
    client_->cl_comment(text);
}

void I_FILE::if_read_source() {
    const char *file = i_read_string(0);
    i_end_record();
    client_->cl_source(file);
}

void I_FILE::if_read_label() {
    uint32_t number = i_read_uint();
    i_end_record();
    if (number < 1 || number > uint32_t(INT_MAX)) bad_file("label number %u", number);
    client_->cl_label(int(number));
}

// --- loops, dependences, load speculation ---

void I_FILE::if_read_loop() {
    uint32_t number = i_read_uint(), parent = i_read_uint();
    uint32_t min = i_read_uint(), max = i_read_uint(), factor = i_read_uint();
    unsigned flags = i_read_u16();
    i_end_record();
    if (parent != number && !loops_.has(parent))
        bad_file("loop %u lies in loop %u, which is not there", number, parent);
    if (!loops_.insert(number)) bad_file("loop %u twice", number);
    client_->cl_loop_def(number, parent, min, max, factor, flags);
}

void I_FILE::if_read_inloop() {
    uint32_t number = i_read_uint();
    int level = i_read_sint(), index = i_read_sint();
    unsigned flags = i_read_u8();
    i_end_record();
    if (!loops_.has(number)) bad_file("blocks of loop %u, which is not there", number);
    if (level < 0 && (level != -1 || index != -1 || flags))
        bad_file("control variable %d of level %d", index, level);
    client_->cl_loop_header(number, find_symbol(uint32_t(level), uint32_t(index)), flags);
}

void I_FILE::if_read_dep_vector() {
    uint32_t id = i_read_uint();
    unsigned flags = i_read_u8(), count = i_read_u8();
    if (id != next_vector_) bad_file("dependence vector %u where %u should come", id, next_vector_);
    if (flags & ~VECTOR_FLAGS || (flags & VECTOR_IS_EMPTY && count))
        bad_file("dependence vector with flags %u", flags);
    uint8_t element_flags[LARGEST_VECTOR];
    int8_t distances[LARGEST_VECTOR];
    for (unsigned i = 0; i < count; i++) {
        element_flags[i] = uint8_t(i_read_u8());
        distances[i] = int8_t(i_read_s8());
        if (element_flags[i] & ~ELEMENT_FLAGS || (distances[i] && !(element_flags[i] & ELEMENT_HAS_DISTANCE)))
            bad_file("dependence element with flags %u and distance %d", element_flags[i], distances[i]);
    }
    i_end_record();
    next_vector_++;
    client_->cl_dd_vector(id, flags, count, element_flags, distances);
}

void I_FILE::if_read_dep_edge() {
    uint32_t from = i_read_uint(), to = i_read_uint(), vector = i_read_uint();
    i_end_record();
    if (vector >= next_vector_) bad_file("dependence vector %u where there are %u", vector, next_vector_);
    client_->cl_dd_edge(from, to, vector);
}

void I_FILE::if_read_mbank() {
    uint32_t words[5];
    for (uint32_t &w : words) w = i_read_uint();
    i_end_record();
    client_->cl_mbank(words);
}

void I_FILE::if_read_ldspec() {
    enum { INDUCT, RAND, REGION };
    uint32_t id = i_read_uint();
    unsigned form = i_read_u8();
    uint32_t a = i_read_uint();
    if (form == REGION) {
        i_end_record();
        return client_->cl_ldspec_region(id, a);
    }
    if (form > REGION) bad_file("load speculation of form %u", form);
    uint32_t b = form == INDUCT ? uint32_t(i_read_sint()) : i_read_uint();
    uint32_t type_id = i_read_uint();
    int level = i_read_sint();
    uint32_t index = i_read_uint();
    i_end_record();
    if (level < -1) bad_file("a symbol of level %d", level);
    TYPE *type = find_typeref(type_id);
    I_SYMTAB *symbol = find_symbol(uint32_t(level), index);
    if (form == INDUCT) client_->cl_ldspec_induct(id, a, int32_t(b), type, symbol);
    else client_->cl_ldspec_rand(id, a, b, type, symbol);
}

void I_FILE::if_read_func_info() {
    int what = i_read_s8();
    i_end_record();
    client_->cl_func_info(what);
}

// --- instruction functions, of which only the frame is known ---

void I_FILE::if_read_ir(uint32_t length) {
    uint32_t from = position_;
    const PSN *psn = i_read_psn();
    i_read_skip(length - (position_ - from));
    client_->cl_ir_ins(psn);
}

void I_FILE::if_read_ir_begin() {
    uint32_t a = i_read_uint();
    int32_t b = i_read_sint();
    int c = i_read_s8();
    uint32_t d = i_read_uint();
    const PSN *psn = i_read_psn();
    i_end_record();
    enter_function(IN_IR);
    client_->cl_ir_begin_func(a, b, c, d, psn);
}

void I_FILE::if_read_ir_end() {
    const PSN *psn = i_read_psn();
    i_end_record();
    client_->cl_ir_end_func(psn);
    leave_function();
}

// --- exception tables ---

void I_FILE::if_read_eht_entry(EHT_ENTRY &entry) {
    expect_record(IF_EHT_ENTRY, "where an entry of the exception table should be");
    uint32_t at = record_start_;
    entry.id = i_read_uint();
    uint32_t kind = i_read_uint();
    entry.next = i_read_uint();
    entry.count = i_read_uint();
    i_end_record();
    if (!entry.id) bad_file("exception table entry with id 0");
    if (kind >= N_EHT_ENTRY_KINDS) bad_file("exception table entry of kind %u", kind);
    entry.kind = EHT_ENTRY_KIND(kind);
    if (kind == EHK_CLEANUP) {
        expect_record(IF_STATEMENT, "where the cleanup of an exception table entry should be");
        i_read_psn();
        i_end_record();
        // A cleanup that came to nothing has no tree.
        if (position_ < image_size_ && uint8_t(image_[position_]) == IF_EXPR)
            entry.cleanup = if_read_expr_node(true);
        if (entry.cleanup && root_op_ == ENDINIT) bad_file("ENDINIT outside an initialiser");
    } else if (kind == EHK_CATCH) {
        expect_record(IF_EHT_CATCH, "where the catches of an exception table entry should be");
        if (entry.count > i_payload_left() / LEAST_EHT_CATCH)
            bad_file_at(at, "%u catches where %u bytes are left", entry.count, i_payload_left());
        entry.catches.resize(entry.count);
        for (EHT_CATCH &c : entry.catches) {
            c.type_name = i_read_string(0);
            uint32_t label = i_read_uint();
            if (label > uint32_t(INT_MAX)) bad_file("label number %u", label);
            c.label = int(label);
            c.flag = i_read_bool();
        }
        i_end_record();
    }
}

void I_FILE::if_read_eht() {
    uint32_t at = record_start_, n = i_read_uint();
    i_end_record();
    if (function_has_eht_) bad_file("second exception table of a function");
    function_has_eht_ = true;
    if (!n || n > (image_size_ - position_) / LEAST_EHT_ENTRY) bad_file("exception table of %u entries", n);
    std::unique_ptr<EHT_ENTRY[]> entries(new EHT_ENTRY[n]);
    static flat_set ids; // of one table at a time; not cleared by who throws
    ids.clear();
    for (uint32_t i = 0; i < n; i++) {
        if_read_eht_entry(entries[i]);
        if (!ids.insert(entries[i].id)) bad_file_at(at, "exception table entry %u twice", entries[i].id);
    }
    // 0 is the end of a chain.
    for (uint32_t i = 0; i < n; i++)
        if (entries[i].next && !ids.has(entries[i].next))
            bad_file_at(at, "exception table entry %u is followed by %u, which is not there", entries[i].id,
                        entries[i].next);
    if (!client_->cl_func_eht(entries.get(), n)) entries.release(); // the client's now
}

// --- initialisers ---

void I_FILE::if_read_init() {
    uint32_t at = record_start_, index = i_read_uint();
    i_end_record();
    I_SYMTAB *symbol = find_symbol(0, index);
    if (symbol->sym_type() && symbol->sym_type()->is_func()) bad_file("initialiser of function %u", index);
    if (!initialisers_.insert(index, at) && *initialisers_.find(index) != at)
        bad_file("second initialiser of symbol %u", index);
    std::vector<BASE_NODE *> trees;
    do trees.push_back(if_read_expr_node(true));
    while (root_op_ != ENDINIT);
    client_->cl_symbol_init(symbol, trees);
}

// --- writing ---

void I_FILE::if_write_control(int tag, const PSN *psn) {
    i_write_psn(psn);
    i_flush(tag);
    switch (tag) {
    case I_EA: level_ = 2; break;
    case I_BB: level_++; break;
    case I_EB: level_--; break;
    case I_EF: level_ = 0; break;
    default: break;
    }
}

void I_FILE::if_write_begin_func(I_SYMTAB *symbol, const PSN *psn) {
    QL_ASSERT(level_ == 0 && !main_stream_ended_);
    enter_function(IN_ARGS);
    symbol->set_location(if_tell());
    i_write_psn(psn);
    i_write_uint(index_of(symbol));
    i_flush(I_BF);
}

void I_FILE::if_write_end_func(const PSN *psn) { if_write_control(I_EF, psn); }
void I_FILE::if_write_end_locals(const PSN *psn) { if_write_control(I_EL, psn); }

void I_FILE::if_write_label(int number) {
    QL_ASSERT(number > 0);
    i_write_uint(uint32_t(number));
    i_flush(IF_LABEL);
}

void I_FILE::if_write_assembly(const char *text, const PSN *psn) {
    i_write_string(text, 0);
    i_write_psn(psn);
    i_flush(IF_ASSEMBLY);
}

void I_FILE::if_write_source(const char *file) {
    i_write_string(file, 0);
    i_flush(IF_SOURCE);
}

void I_FILE::if_write_comment(const char *text) {
    i_write_string(text, 0);
    i_flush(IF_COMMENT);
}

void I_FILE::if_write_init(I_SYMTAB *symbol) {
    if (!main_stream_ended_) end_main_stream();
    symbol->set_location(if_tell());
    i_write_uint(index_of(symbol));
    i_flush(IF_INIT);
}

void I_FILE::if_write_loop(unsigned number, unsigned parent, uint64_t min, uint64_t max, uint64_t factor,
                           unsigned flags) {
    constexpr unsigned WRITTEN_FLAGS = 0xFE;
    auto trips = [](uint64_t v) { return uint32_t(v > UINT32_MAX ? UINT32_MAX : v); };
    i_write_uint(number);
    i_write_uint(parent);
    i_write_uint(trips(min));
    i_write_uint(trips(max));
    i_write_uint(factor > UINT32_MAX ? 1 : uint32_t(factor));
    i_write_i16(int(flags & WRITTEN_FLAGS));
    i_flush(IF_LOOP);
}

void I_FILE::if_write_inloop(unsigned number, I_SYMTAB *lcv, unsigned flags) {
    i_write_uint(number);
    i_write_sint(lcv ? lcv->sym_level() : -1);
    i_write_sint(lcv ? int(index_of(lcv)) : -1);
    i_write_i8(lcv ? int(flags) : 0);
    i_flush(IF_INLOOP);
}

void I_FILE::if_write_dep_vector(unsigned id, unsigned flags, unsigned count, const uint8_t *element_flags,
                                 const int8_t *distances) {
    if (count > LARGEST_VECTOR) {
        fprintf(stderr, "\n\n   !!! DDVECT too big:  %d elements !!!\n", int(count));
        abort_optimizer();
    }
    i_write_uint(id);
    i_write_i8(int(flags));
    i_write_i8(int(count));
    for (unsigned i = 0; i < count; i++) {
        i_write_i8(element_flags[i]);
        i_write_i8(distances[i]);
    }
    i_flush(IF_DEP_VECTOR);
}

void I_FILE::if_write_dep_edge(unsigned from, unsigned to, unsigned vector) {
    i_write_uint(from);
    i_write_uint(to);
    i_write_uint(vector);
    i_flush(IF_DEP_EDGE);
}

void I_FILE::if_write_mbank(const uint32_t words[5]) {
    for (int i = 0; i < 5; i++) i_write_uint(words[i]);
    i_flush(IF_MBANK);
}

void I_FILE::write_ldspec_symbol(TYPE *type, I_SYMTAB *symbol) {
    i_write_typeref(type);
    i_write_sint(symbol ? symbol->sym_level() : -1);
    i_write_uint(symbol ? index_of(symbol) : 0);
    i_flush(IF_LDSPEC);
}

void I_FILE::if_write_ldspec_induct(unsigned id, uint32_t a, int32_t b, TYPE *type, I_SYMTAB *symbol) {
    i_write_uint(id);
    i_write_i8(0);
    i_write_uint(a);
    i_write_sint(b);
    write_ldspec_symbol(type, symbol);
}

void I_FILE::if_write_ldspec_rand(unsigned id, uint32_t a, uint32_t b, TYPE *type, I_SYMTAB *symbol) {
    i_write_uint(id);
    i_write_i8(1);
    i_write_uint(a);
    i_write_uint(b);
    write_ldspec_symbol(type, symbol);
}

void I_FILE::if_write_ldspec_region(unsigned id, uint32_t a) {
    i_write_uint(id);
    i_write_i8(2);
    i_write_uint(a);
    i_flush(IF_LDSPEC);
}

void I_FILE::if_write_func_info(int what) {
    i_write_i8(what);
    i_flush(IF_FUNC_INFO);
}

void I_FILE::if_write_eht_hdr(unsigned n) {
    i_write_uint(n);
    i_flush(IF_EHT);
}

void I_FILE::if_write_eht_catch_entry(const EHT_CATCH &c) {
    i_write_string(c.type_name.c_str(), 0);
    i_write_uint(uint32_t(c.label));
    i_write_bool(c.flag);
}

void I_FILE::if_write_eht_entry(EHT_ENTRY &entry) {
    i_write_uint(entry.id);
    i_write_uint(entry.kind);
    i_write_uint(entry.next);
    i_write_uint(entry.kind == EHK_CATCH ? uint32_t(entry.catches.size()) : entry.count);
    i_flush(IF_EHT_ENTRY);
    if (entry.kind == EHK_CLEANUP) if_write_expr(entry.cleanup, nullptr);
    if (entry.kind != EHK_CATCH) return;
    for (const EHT_CATCH &c : entry.catches) if_write_eht_catch_entry(c);
    i_flush(IF_EHT_CATCH);
}

void I_FILE::if_write_func_eht(EHT_ENTRY *entries, unsigned n) {
    if_write_eht_hdr(n);
    for (unsigned i = 0; i < n; i++) if_write_eht_entry(entries[i]);
}
