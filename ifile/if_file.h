// The intermediate file: one object for a file that is read or written.
//
// Encodings. Multi-byte fixed fields are little-endian, nothing is aligned. `uint` and `sint` are LEB128 of 32
// bits (at most 5 bytes; longer or wider values are refused on reading). A string ends with NUL; a counted string
// has its length in front. A psn is a file id (0: no position), then line and column. A typeref is the uid of a
// type's representative, 0 for no type. A record is a tag byte, a uint payload length, the payload; the tag 255
// alone ends an area.
//
// Layout. Header (tag 8), main stream, 255, initialiser area, 255, option area, 255, type area, 255, file-name
// area, 255, global symbol area, 255. The header holds the offset of each area, 0 when it is absent; header and
// offsets are rewritten in place when a written file is closed. if_area_order (below) is the one description of
// both orders, that of the file and that of reading.
//
// Reading. The file is read into memory whole, so that each length and offset is checked against what is there.
// if_read_file reads file names, types, globals, initialisers, then the main stream, and calls the client for
// each record. Every malformed byte is refused through bad_file with its offset: nothing is believed unchecked.
// The areas must follow each other in file order without gaps and fill the file. if_func.cpp has the table of the
// main stream: which record may stand where in a function.
// Texts and PSNs handed to the client stay valid as long as the I_FILE exists (a text from i_read_string until
// the next one).
//
// Writing. A record is framed once in memory so that its length precedes it without back-patching; the main
// stream goes out as the program writes; the areas follow at if_close. What if_close writes is complete or the
// file is abandoned.
//
// One thread. An I_FILE owns its FILE*, its tables and its PSNs; types belong to the package, symbols and trees
// to the client.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "ifile/if_faces.h"
#include "support/flatmap.h"
#include "typepkg/type_pkg.h"

enum IF_TAG : uint8_t {
    I_BF = 1, // begin function
    I_EF = 2, // end function
    I_BB = 3, // begin block
    I_EB = 4, // end block
    I_EA = 5, // end of arguments
    I_EL = 6, // end of locals
    IF_HEADER = 8,
    IF_IR_INS = 34,
    IF_SYMBOL = 35,
    IF_ASSEMBLY = 36,
    IF_LOOP = 38,
    IF_LABEL = 42,
    IF_MBANK = 45,
    IF_STATEMENT = 46,
    IF_COMMENT = 47,
    IF_DEP_EDGE = 58,
    IF_DEP_VECTOR = 59,
    IF_EHT_CATCH = 63,
    IF_FUNC_INFO = 64,
    IF_EHT_ENTRY = 91,
    IF_EHT = 93,
    IF_PRAGMA = 94,
    IF_EXPR = 101,
    IF_INIT = 105,
    IF_LDSPEC = 108,
    IF_OPTIONS = 111,
    IF_TYPE = 116,
    IF_IR_BEGIN = 123,
    IF_INLOOP = 124,
    IF_IR_END = 125,
    IF_SOURCE = 126,
    IF_EOF = 255
};

constexpr int IF_VERSION = -71; // what is written
constexpr int IF_OLDEST_VERSION = -86;
constexpr int ICODE_CPU_ID = 400;
constexpr size_t HAND_OVER = 65536;       // pending bytes that go to the stream at once
constexpr char IF_MAGIC[] = "!<icode>\n"; // 10 bytes with its NUL

// A record field or rule that depends on the version of the file; see if_tags.cpp for the table.
enum IF_GATE {
    GATE_HEADER_EXTRA,    // header's extra word: version >= -83
    GATE_SYM_POLICY,      // symbol's last byte: version >= -71
    GATE_MEMBER_FTI,      // member's fti byte: version >= -74
    GATE_MEMBER_NEW_BITS, // member's newer bit-field layout: version >= -85
    GATE_STRUCT_VECTOR,   // record's struct-vector bool: version >= -84
    GATE_CPP,             // enum's and record's cpp bool: version >= -81
    GATE_ARRAY_VECTOR,    // array's vector bool: version >= -76
    GATE_ARRAY_IGNORED,   // array's ignored bool: version -75 and -74
    GATE_UNION_UNORDERED, // union members may be compared in any order: version >= -80
    N_IF_GATES
};
// Whether a file of this version has the gated thing.
bool if_gate(IF_GATE gate, int version);
struct IF_GATE_ROW {
    const char *what;
    int first, last; // versions that have it, inclusive
};
extern const IF_GATE_ROW if_gates[N_IF_GATES];

// The areas of a file in file order, with their place in the order of reading.
enum IF_AREA {
    AREA_HEADER,
    AREA_MAIN,
    AREA_INIT,
    AREA_OPTIONS,
    AREA_TYPES,
    AREA_FILES,
    AREA_GLOBALS,
    N_IF_AREAS
};
struct IF_AREA_ROW {
    IF_AREA area;
    int tag;           // tag of its records, 0 for the main stream
    int read_position; // 0 first; header and options are read by if_open, the others by if_read_file
    const char *what;  // for messages
};
extern const IF_AREA_ROW if_area_order[N_IF_AREAS];

// A type of the file, while it is read.
struct TYPE_INFO {
    TYPE *type = nullptr;
    int open_lists = 0;     // attribute lists that have not ended yet
    uint16_t announced = 0; // lists that the head says will come, bit 1 << TP_LIST
    uint16_t open = 0;      // lists between their header and trailer
};

// Receives the text of a refused file (one line without newline: where and what). It must not return: the default
// prints the line, runs the closing hooks and exits with status 1; tests and the fuzzer install one that throws.
using IF_BAD_FILE_HANDLER = void (*)(const char *text);
extern IF_BAD_FILE_HANDLER if_bad_file_handler;

// What may stand in an FCON: the text of the "%a" conversion, or inf, or nan; and in an LCON: a decimal number of sign
// and 64 bits.
bool if_is_float_text(const char *text);
bool if_is_decimal_text(const char *text);

// Bytes that are appended to. Grows by half or by what is needed; ends the program when there is no memory.
struct IF_BUFFER {
    char *start = nullptr, *pos = nullptr, *end = nullptr;

    IF_BUFFER() = default;
    IF_BUFFER(const IF_BUFFER &) = delete;
    IF_BUFFER &operator=(const IF_BUFFER &) = delete;
    ~IF_BUFFER();
    size_t size() const { return size_t(pos - start); }
    void clear() { pos = start; }
    const char *data() const { return start; }
    char operator[](size_t at) const { return start[at]; }
    void need(size_t n) {
        if (size_t(end - pos) < n) grow(n);
    }
    void grow(size_t n);
};

class I_FILE {
  public:
    // --- opening and closing (if_file.cpp) ---

    // Opens a file for reading: header and option sets. Takes over `file`. Null when the header is refused or the
    // stream can't be read (the stream is closed then); anything malformed behind a good header goes to bad_file.
    // `display_name` (null: "intermediate file") stands for the file in messages.
    static I_FILE *if_open(FILE *file, IF_CLIENT *client, const char *display_name = nullptr);
    // Reads the header alone; null when refused. if_open is this plus the option area.
    static I_FILE *if_open_basic(FILE *file, IF_CLIENT *client, const char *display_name = nullptr);
    // Opens a file for writing; `file` (taken over) must be seekable. Types referred to come from `package`.
    static I_FILE *if_create(FILE *file, TYPE_PKG *package, const char *producer);
    // Writes what is left (unless the file is a reading one or `abandon`), frees the object and closes the stream.
    // `named_types`: write every named type, also those that nothing refers to. True on a failure of the stream.
    bool if_close(bool named_types, bool abandon);
    ~I_FILE();
    void if_type_init(TYPE_PKG *package); // which package receives the types of a file that is read

    uint32_t if_tell() const;      // bytes from the start; when writing, of the next record
    void if_seek(uint32_t offset); // reading only
    void if_flush();

    // --- reading (if_file.cpp) ---
    void if_read_file();
    // The header again, from offset 0, keeping the position; false when it is refused, with a line on standard
    // error unless `quiet`.
    bool if_read_magic(bool quiet = true);
    bool if_check_lengths(); // walks the main stream by frames; false (and a line) on an unknown tag
    bool if_read_record();   // one record of the main stream; false at its 255
    void if_read_func(uint32_t offset); // to behind the next I_EF, from `offset` if nonzero; stops at a 255
    void if_skip_func();                // the same by frames alone
    void if_read_options();
    void if_read_file_names();
    void if_read_type_defs();
    void if_read_globals();
    void if_read_all_init();
    void if_copy_raw(uint32_t from, uint32_t length, I_FILE *to);
    void if_copy_symbols(I_FILE *to);

    // --- primitives (if_prim.cpp, if_prim_inl.h) ---
    // Each read checks the end of the current record's payload; outside a record only a header can be read.
    unsigned i_read_u8();
    int i_read_s8();
    bool i_read_bool();
    unsigned i_read_u16();
    int i_read_s16();
    uint32_t i_read_u32();
    int32_t i_read_s32();
    uint32_t i_read_uint();
    int32_t i_read_sint();
    const char *i_read_string(unsigned n); // n 0: through the NUL; else n bytes (a NUL follows in memory)
    void i_read_raw(void *to, unsigned n);
    const PSN *i_read_psn(); // null for file id 0; lives as long as this object
    void i_read_skip(unsigned n);
    // A count of things that take at least `least` bytes each: refused when the payload can't hold so many.
    uint32_t i_read_count(unsigned least);
    uint32_t i_payload_left() const { return record_end_ - position_; }
    // Reads a tag and, below 255, the payload's length; the payload must lie in the file.
    void i_read_header(int &tag, uint32_t &length);
    void i_end_record(); // the payload must be used up exactly, else bad_file; calling it again is harmless

    void i_write_i8(int);
    void i_write_bool(bool);
    void i_write_i16(int);
    void i_write_i32(uint32_t);
    void i_write_uint(uint32_t);
    void i_write_sint(int32_t);
    void i_write_string(const char *text, unsigned n);
    void i_write_raw(const void *bytes, unsigned n); // straight to the stream, between records only
    void i_write_typeref(TYPE *);                    // also marks the type as referred to
    void i_write_psn(const PSN *);
    void i_write_eof();
    void i_flush(int tag); // frames the buffered payload as a record

    // --- tables (if_file.cpp, if_sym.cpp) ---
    unsigned i_enter_file_name(const char *name);   // 1.. ; writing: shares equal names
    const char *i_get_file_name(unsigned id) const; // null for 0 or an unknown id
    unsigned i_get_file_id(const char *name) const; // 0 if absent
    void if_enter_option_set(const OPTION_SET &set);
    const std::vector<OPTION_SET> &option_sets() const { return options_; }
    void if_enter_global(I_SYMTAB *);
    void if_enter_local(I_SYMTAB *);
    const std::vector<I_SYMTAB *> &globals() const { return globals_; }
    const std::vector<I_SYMTAB *> &locals() const { return locals_; }
    // The symbol of a NAME or other reference read from this file: level 0 global, else local index. Refuses a
    // bad index; null for level 0xFFFFFFFF.
    I_SYMTAB *find_symbol(uint32_t level, uint32_t index);

    int version() const { return version_; }
    bool gate(IF_GATE g) const { return if_gate(g, version_); }
    const char *producer() const { return producer_.c_str(); }
    uint32_t extra_word() const { return extra_word_; }
    int lexical_level() const { return level_; }
    bool is_writable() const { return writable_; }
    FILE *stream() const { return file_; }
    IF_CLIENT *client() const { return client_; }
    TYPE_PKG *package() const { return package_; }
    const uint32_t *area_offsets() const { return offsets_; } // by IF_AREA; 0: absent

    // --- types (if_rtype.cpp, if_wtype.cpp) ---
    void if_read_type(uint32_t length);
    TYPE *find_typeref(uint32_t id);                                // null for 0; refuses an unknown id
    fkMDATA *find_mdataref(uint32_t csu_id, uint32_t member_index); // null when the record has no such member
    void enter_type(uint32_t id, TYPE_INFO info);
    void if_end_type_area(); // refuses types whose lists never ended
    // Lets every type that was read, in the file's order, stand for its like of an earlier unit (type_merge): for a
    // stage that reads several units into one package, with the package's `tu` counted up before each.
    void if_merge_type_defs();
    bool if_write_all_types(bool named_types); // true when something was written
    void if_mark_global_types();
    void if_write_type(TYPE *);
    void if_reference_type(TYPE *);

    // --- symbols (if_sym.cpp) ---
    I_SYMTAB *if_read_sym(int &pragma_count);
    void if_read_symbol_def(); // symbol, its pragmas, cl_symbol_def
    PRAGMA *if_read_pragma(I_SYMTAB *symbol);
    void if_write_symbol(I_SYMTAB *);
    void if_write_all_globals();
    void if_write_pragma(const PRAGMA *);
    void if_write_all_options();
    void if_write_all_files();
    void if_write_magic();
    void if_write_option_set(const OPTION_SET &);

    // --- expressions (if_expr.cpp) ---
    // Reads a tree; with `header` its root's frame header too, else the caller has read it. Explicit stack: any
    // depth goes. Null is never given.
    BASE_NODE *if_read_expr_node(bool header);
    void if_read_expr_header();                          // statement: position, tree; calls cl_expr
    void if_write_expr(BASE_NODE *tree, const PSN *psn); // tree may be null: the statement head alone
    void if_write_expr_node(BASE_NODE *tree);

    // --- function bodies (if_func.cpp) ---
    void if_read_begin_func();
    void if_read_end_func();
    void if_read_begin_block();
    void if_read_end_block();
    void if_read_end_args();
    void if_read_end_locals();
    void if_read_assembly();
    void if_read_comment();
    void if_read_source();
    void if_read_label();
    void if_read_loop();
    void if_read_inloop();
    void if_read_dep_vector();
    void if_read_dep_edge();
    void if_read_mbank();
    void if_read_ldspec();
    void if_read_func_info();
    void if_read_eht();
    void if_read_eht_entry(EHT_ENTRY &);
    void if_read_init();
    void if_read_ir(uint32_t length);
    void if_read_ir_begin();
    void if_read_ir_end();

    void if_write_control(int tag, const PSN *);
    void if_write_begin_func(I_SYMTAB *, const PSN *);
    void if_write_end_func(const PSN *);
    void if_write_end_locals(const PSN *);
    void if_write_label(int number);
    void if_write_assembly(const char *text, const PSN *);
    void if_write_source(const char *file);
    void if_write_comment(const char *text);
    void if_write_init(I_SYMTAB *); // the first one ends the main stream
    void if_write_loop(unsigned number, unsigned parent, uint64_t min, uint64_t max, uint64_t factor,
                       unsigned flags);
    void if_write_inloop(unsigned number, I_SYMTAB *lcv, unsigned flags); // lcv null: no control variable
    void if_write_dep_vector(unsigned id, unsigned flags, unsigned count, const uint8_t *element_flags,
                             const int8_t *distances);
    void if_write_dep_edge(unsigned from, unsigned to, unsigned vector);
    void if_write_ldspec_induct(unsigned id, uint32_t a, int32_t b, TYPE *, I_SYMTAB *);
    void if_write_ldspec_rand(unsigned id, uint32_t a, uint32_t b, TYPE *, I_SYMTAB *);
    void if_write_ldspec_region(unsigned id, uint32_t a);
    void if_write_func_eht(EHT_ENTRY *entries, unsigned n); // the three below for a whole table
    void if_write_eht_hdr(unsigned n);
    void if_write_eht_entry(EHT_ENTRY &);             // and what stands behind it by its kind
    void if_write_eht_catch_entry(const EHT_CATCH &); // into the record that is built
    void if_write_mbank(const uint32_t words[5]);
    void if_write_func_info(int what);

    // Refuses the file that is read: "FILE: malformed at byte N: what". N is the first byte of the current record, or
    // for bad_file_at the one given. Does not return.
    [[noreturn]] void bad_file(const char *format, ...) const __attribute__((format(printf, 2, 3)));
    [[noreturn]] void bad_file_at(uint32_t offset, const char *format, ...) const
        __attribute__((format(printf, 3, 4)));
    // For messages: set by whoever opened the stream; "intermediate file" unless set.
    void set_display_name(const char *name) { display_name_ = name; }

  private:
    I_FILE() = default;
    friend struct IF_TYPE_READER;
    friend struct IF_TYPE_WRITER;
    friend struct IF_EXPR_READER;
    friend struct IF_EXPR_WRITER;
    friend struct IF_RECORD_ROW;

    // Where in the main stream the reader stands.
    enum PHASE : uint8_t { OUTSIDE, IN_ARGS, IN_LOCALS, IN_BODY, IN_IR };

    // if_file.cpp
    bool load_image();
    const char *header_fault(); // reads the header; null, or why it is refused
    void check_area_offsets() const;
    uint32_t area_end(IF_AREA) const;   // where the area that follows in the file begins, or the file's end
    void check_area_end(IF_AREA) const; // the position must be there
    template <class F> void read_area(IF_AREA, F each);
    void if_read_option_set();
    void end_main_stream();
    void write_areas(bool named_types);
    int read_record(); // gives its tag
    // if_rtype.cpp
    TYPE *look_up_type(uint32_t id);
    // if_prim.cpp
    [[noreturn]] void bad_field(unsigned bytes) const; // the payload ends before a field of so many bytes
    const PSN *keep_position(const PSN &);             // a copy, with the life of this object
    uint32_t read_long_uint();
    int32_t read_long_sint();
    [[noreturn]] void bad_file_v(uint32_t offset, const char *format, va_list args) const;
    void read_long_header(int &tag, uint32_t &length);
    void finish_record(char *end);
    void hand_over_or_fail(); // too much is pending or written
    void hand_over();         // pending bytes to the stream
    [[noreturn]] static void write_fault(const char *format, ...) __attribute__((format(printf, 1, 2)));
    // if_sym.cpp
    void expect_record(int tag, const char *where); // reads a header, which must be of that tag
    PRAGMA *read_pragma();
    uint32_t index_of(I_SYMTAB *) const; // as records name it; ends the program when the symbol has none
    // if_func.cpp
    void enter_function(PHASE);
    void leave_function();
    I_SYMTAB *function_symbol(uint32_t index);
    void write_ldspec_symbol(TYPE *, I_SYMTAB *);

    std::string producer_;
    FILE *file_ = nullptr;
    bool writable_ = false;
    IF_CLIENT *client_ = nullptr;
    TYPE_PKG *package_ = nullptr;
    int version_ = IF_VERSION;
    uint32_t offsets_[N_IF_AREAS] = {}; // by IF_AREA; header and main stream stay 0
    uint32_t extra_word_ = 0;
    int level_ = 0; // lexical level: 0 outside functions, 1 arguments, 2 locals, above in blocks
    std::vector<OPTION_SET> options_;
    flat_map<TYPE_INFO> types_;                 // file's type id -> type
    std::vector<TYPE *> known_types_;           // the same by small ids, as far as they were asked for
    std::vector<uint32_t> type_ids_;            // all of them, in the order of the file
    std::vector<uint32_t> open_types_;          // ids whose lists have not all ended
    std::deque<std::string> file_names_;        // id 1 is the first; a deque, so that c_str stays put
    std::vector<const char *> file_name_texts_; // the same
    std::unordered_map<std::string, unsigned> file_ids_; // writing only
    unsigned last_file_id_ = 0;                          // the name entered last
    flat_map<unsigned> psn_file_ids_;                    // the same by the pointers of positions
    const char *last_psn_file_ = nullptr;                // the one looked up last, and its id
    unsigned last_psn_file_id_ = 0;
    std::vector<I_SYMTAB *> globals_;
    std::vector<I_SYMTAB *> locals_;
    std::vector<int> local_levels_; // the level at which each of locals_ was entered
    // PSNs given to the client, in chunks that stay where they are; equal neighbours share one
    std::vector<std::unique_ptr<PSN[]>> position_chunks_;
    PSN *next_position_ = nullptr, *positions_end_ = nullptr; // of the last chunk
    std::string display_name_ = "intermediate file";

    // reading: the whole file in memory
    IF_BUFFER image_; // one NUL behind the last byte
    uint32_t image_size_ = 0;
    uint32_t position_ = 0;
    uint32_t record_end_ = 0;    // payload end of the current record; outside a record it is position_
    uint32_t record_start_ = 0;  // tag byte of the current record, for messages
    uint32_t main_stream_ = 0;   // offset behind the header
    std::string counted_string_; // buffer of i_read_string(n)
    PHASE phase_ = OUTSIDE;
    std::vector<bool> block_locals_ended_; // of each open block: its I_EL was there
    bool types_in_stream_ = false;         // a type record of the main stream came last
    bool function_has_eht_ = false;        // of the current function
    uint32_t next_vector_ = 0;             // the same: vector ids count up
    flat_set loops_;                       // the same: loop numbers
    flat_map<uint32_t> bodies_;            // function's index -> offset of its I_BF
    flat_map<uint32_t> initialisers_;      // symbol's index -> offset of its initialiser
    int root_op_ = 0;                      // file opcode of the tree read last

    // writing
    IF_BUFFER buffer_;     // payload of the record that is built
    IF_BUFFER pending_;    // framed bytes not yet handed to the stream
    uint64_t written_ = 0; // bytes handed over or pending
    long start_ = 0;       // of the file in the stream
    bool main_stream_ended_ = false;
    bool write_failed_ = false;
};

#include "ifile/if_prim_inl.h"
