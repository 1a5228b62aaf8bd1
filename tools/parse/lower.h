// Lowering: from the C front end's syntax tree to the file model.
//
// clang's libraries parse, check, lay out and insert the implicit conversions; this walks the result and builds the
// statement trees, types, symbols, initialisers and pragmas of an intermediate file. One LOWER object handles one
// translation unit. What it can't take it refuses with position and reason (refuse); the caller then writes no file.
//
// Shape of a lowered function: each parameter has a level 1 symbol (class 17, records 9) that nothing modifies and a
// level 2 copy that the body uses; the first statement is the prolog that copies them. Records are returned through
// a hidden first pointer parameter and passed as ARGREF of an lvalue. Control is CBRANCH (which jumps when its
// condition is false), BRANCH, SWITCH and labels; expressions keep && || ?: as values.
//
// Order of evaluation. An expression becomes one tree; trees are evaluated left to right. Where a part needs
// statements of its own (a statement expression), those are emitted before the statement that is being built, which
// the rules of unsequenced evaluation allow, except under && || ?: and the comma operator: there the parts that must
// come first become statements too (see expr_as_statements).
#pragma once

#include <map>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "clang/AST/ASTContext.h"
#include "clang/AST/Attr.h"
#include "clang/AST/Decl.h"
#include "clang/AST/Expr.h"
#include "clang/AST/ExprCXX.h"
#include "clang/Basic/TargetInfo.h"
#include "clang/AST/RecordLayout.h"
#include "clang/AST/Stmt.h"
#include "clang/Basic/SourceManager.h"

#include "support/intrin.h"
#include "tools/model/model.h"

// Thrown after the message went out.
struct REFUSED {};

// A pragma of the source that belongs to a loop or a function.
struct SOURCE_PRAGMA {
    clang::SourceLocation where;
    int number = 0;
    std::string function; // FUNC_ pragmas: the name in the parentheses
    std::vector<std::string> args;
    bool used = false;
};

// The initial value of one scalar of an object.
struct INIT_LEAF {
    uint64_t offset; // bytes
    uint64_t size;   // bytes
    MNODE *tree;
};

// The width in bits and the sign that an integer value has (lower_fields.cpp).
struct EXACT_INT {
    unsigned bits = 64;
    bool is_signed = false;
};

struct ASM_OPERAND;

class LOWER {
  public:
    LOWER(clang::ASTContext &context, MODEL &model, std::vector<SOURCE_PRAGMA> &pragmas)
        : ctx(context), m(model), source_pragmas(pragmas) {}

    void translation_unit();

  private:
    clang::ASTContext &ctx;
    MODEL &m;
    std::vector<SOURCE_PRAGMA> &source_pragmas;

    // --- state of the unit ---
    std::unordered_map<const void *, TYPE *> types; // canonical type with qualifiers -> type
    std::unordered_map<const clang::RecordDecl *, TYPE *> records;
    std::unordered_map<const clang::FieldDecl *, fkMDATA *> members;
    std::unordered_map<const clang::Decl *, MSYM *> symbols; // globals, by canonical declaration
    std::map<std::string, MSYM *> global_names;
    std::map<const clang::Decl *, std::string> static_names; // of several sources' statics that share a name
    std::map<std::pair<TYPE *, uint64_t>, TYPE *>
        packed_types; // records of one member, by type and alignment
    std::unordered_map<std::string, MSYM *> string_objects;
    std::set<const MSYM *>
        extended; // objects with an initialised flexible array, of a type that has room for it
    std::unordered_map<const clang::Expr *, EXACT_INT> exact_ints; // of expressions of 64 bits
    unsigned anonymous_count = 0, asm_count = 0;
    std::map<std::string, unsigned> static_count;

    // --- state of the function ---
    struct JUMPS {
        int break_label = 0, continue_label = 0;
        size_t depth = 0; // of `cleanups` outside
    };
    // What leaving a block has to do, innermost last: call the cleanup function of a variable, or give back the stack
    // space of variable arrays.
    struct CLEANUP {
        const clang::VarDecl *variable = nullptr;
        MSYM *saved_stack = nullptr;
    };
    std::vector<CLEANUP> cleanups;
    std::unordered_map<const clang::Decl *, size_t> label_depths; // of `cleanups` where a label stands
    MFUNC *func = nullptr;
    const clang::FunctionDecl *func_decl = nullptr;
    MSYM *result_pointer = nullptr; // level 2 symbol of the hidden parameter
    std::unordered_map<const clang::Decl *, MSYM *> locals;
    std::unordered_map<const clang::Decl *, MSYM *> vla_sizes; // size in bytes of a variable array
    std::unordered_map<const clang::Expr *, MSYM *>
        vla_counts; // evaluated element counts, by size expression; null for the operand of a typeof
    std::unordered_map<const clang::Decl *, int> label_numbers;
    // Computed gotos: the labels whose address is taken, in order of the source; the address is the place in this list,
    // counted from 1, and all computed gotos go through one switch at the end of the function.
    std::vector<const clang::LabelDecl *> addressed_labels;
    int dispatch_label = 0;
    MSYM *dispatch_target = nullptr;
    std::unordered_map<const clang::SwitchCase *, int> case_labels;
    std::unordered_map<const clang::OpaqueValueExpr *, MNODE *> opaque_values;
    std::vector<JUMPS> jumps;
    int next_label = 1;
    unsigned next_temp = 1;
    const PSN *position = nullptr;
    clang::SourceLocation about;        // the declaration that is being looked at, outside functions
    std::vector<MSYM *> pending_locals; // temporaries made; go to the function's outermost block
    bool reachable = true;

    // --- messages (lower.cpp) ---
    [[noreturn]] void refuse(clang::SourceLocation where, const std::string &what);
    const PSN *psn_of(clang::SourceLocation where);
    void tell_statics_apart();
    std::string global_name(const clang::NamedDecl *);

    // --- types (lower_types.cpp) ---
    TYPE *type_of(clang::QualType);
    TYPE *source_type(clang::QualType); // with typedef names
    TYPE *unqualified(clang::QualType t) { return type_of(t.getUnqualifiedType()); }
    TYPE *record_type(const clang::RecordDecl *, clang::SourceLocation);
    TYPE *function_type(const clang::FunctionType *, clang::SourceLocation);
    TYPE *source_function_type(const clang::FunctionType *);
    TYPE *builtin_type(const clang::BuiltinType *);
    void record_members(const clang::RecordDecl *, TYPE *, TYPE *flexible = nullptr);
    TYPE *extended_record(const clang::VarDecl *); // null: its type as declared will do
    TYPE *int_t() { return m.package->int_type(); }
    TYPE *uint_t() { return m.package->basic_int(IK_uint); }
    TYPE *char_t() { return type_of(ctx.CharTy); }
    TYPE *void_t() { return m.package->void_type(); }
    TYPE *pointer_to(TYPE *t) { return m.package->mk_ptr(t); }
    // What lies in memory and is copied whole: records, and vectors that no register holds.
    bool is_record(clang::QualType t) { return t->isRecordType() || is_wide_vector(t); }
    bool returns_record(const clang::FunctionType *f) { return is_record(f->getReturnType()); }
    uint64_t size_of(clang::QualType t) { return uint64_t(ctx.getTypeSizeInChars(t).getQuantity()); }

    // --- declarations (lower_decl.cpp) ---
    void global_variable(const clang::VarDecl *);
    static const clang::VarDecl *definition_of(const clang::VarDecl *); // null: only declared
    void function_definition(const clang::FunctionDecl *);
    MSYM *function_symbol(const clang::FunctionDecl *);
    MSYM *variable_symbol(const clang::VarDecl *); // global, function static or local
    MSYM *aliased_object(const clang::VarDecl *, const clang::AliasAttr *);
    MSYM *library_function(const char *name, clang::QualType returns, std::vector<clang::QualType> params);
    MSYM *library_function(const char *name, TYPE *function);
    MSYM *enter_global(MSYM *, const clang::Decl *);
    void function_attributes(MSYM *, const clang::FunctionDecl *);
    void common_attributes(MSYM *, const clang::Decl *);
    void global_initialiser(MSYM *, const clang::Expr *, clang::QualType);
    void constant_leaves(const clang::Expr *, clang::QualType, uint64_t offset, std::vector<INIT_LEAF> &,
                         std::map<uint64_t, uint8_t> &bit_bytes);
    void constant_leaf(const clang::APValue &, clang::QualType, uint64_t offset, std::vector<INIT_LEAF> &,
                       clang::SourceLocation);
    void constant_bits(const clang::FieldDecl *, uint64_t record_offset, uint64_t value,
                       std::map<uint64_t, uint8_t> &bit_bytes);
    MNODE *constant_address(const clang::APValue &, clang::QualType, clang::SourceLocation);
    MNODE *constant_value(const clang::APValue &, clang::QualType, clang::SourceLocation);
    void write_initialiser(MSYM *, std::vector<INIT_LEAF> &, std::map<uint64_t, uint8_t> &bit_bytes);
    MSYM *anonymous_static(const clang::Expr *init, clang::QualType);
    MSYM *string_object(const clang::StringLiteral *);
    void parameters(const clang::FunctionDecl *);
    void argument_prolog(const std::vector<std::pair<MSYM *, MSYM *>> &);
    MSYM *local(const char *name, TYPE *type);
    MSYM *temp(TYPE *type);
    std::vector<SOURCE_PRAGMA *> pragmas_before(clang::SourceLocation where);
    void pragma_records(const std::vector<SOURCE_PRAGMA *> &);

    // --- statements (lower_stmt.cpp) ---
    void emit(MNODE *tree);
    void emit_label(int number);
    void emit_branch(int label);
    void emit_cbranch(MNODE *condition, int label_if_false);
    void branch_on(const clang::Expr *condition, int true_label, int false_label, bool fall_to_true);
    int new_label() { return next_label++; }
    void statement(const clang::Stmt *);
    void compound(const clang::CompoundStmt *, bool block);
    void declaration(const clang::DeclStmt *);
    void local_variable(const clang::VarDecl *);
    void variable_array(const clang::VarDecl *);
    // What an appearance of the type evaluates, in order: bounds of arrays and operands of typeof, the source's typedefs
    // apart (they are evaluated where they stand).
    std::vector<const clang::Expr *> size_expressions(clang::QualType);
    void evaluate_array_sizes(clang::QualType);
    void for_loop(const clang::ForStmt *);
    void while_loop(const clang::WhileStmt *);
    void do_loop(const clang::DoStmt *);
    void if_statement(const clang::IfStmt *);
    void switch_statement(const clang::SwitchStmt *);
    void return_statement(const clang::ReturnStmt *);
    void assembly(const clang::AsmStmt *); // this and the next: lower_asm.cpp
    void assembly_text(const std::string &);
    void kept_operands(const clang::GCCAsmStmt *);
    void assembly_function(const clang::GCCAsmStmt *);
    void asm_constraint(ASM_OPERAND &, clang::StringRef);
    void effect(const clang::Expr *); // evaluates for side effects
    void loop_pragmas(clang::SourceLocation where);
    void begin_scope(clang::SourceLocation where);
    void end_scope(clang::SourceLocation where);
    void initialise(MNODE *lvalue, const clang::Expr *init, clang::QualType); // a local object
    enum BEFORE_INIT { UNSET, ZEROED, HAS_VALUES };                           // what the object holds
    void initialise_aggregate(MNODE *lvalue, const clang::InitListExpr *, clang::QualType, BEFORE_INIT);
    void initialise_string(MNODE *lvalue, const clang::StringLiteral *, clang::QualType);
    void fill_zero(MNODE *lvalue, uint64_t bytes);
    int label_of(const clang::LabelDecl *);
    int64_t label_address(const clang::LabelDecl *);
    void clean_up(size_t down_to, bool returning = false); // emits; the list stays
    void leave_block(size_t depth);                        // at its end
    void find_label_depths();
    void computed_goto(const clang::IndirectGotoStmt *);
    void dispatch();

    // --- expressions (lower_expr.cpp, lower_ops.cpp, lower_builtin.cpp) ---
    MNODE *rvalue(const clang::Expr *);
    MNODE *lvalue(const clang::Expr *);
    MNODE *record_value(const clang::Expr *); // an lvalue that holds the record
    MNODE *condition(const clang::Expr *);    // int or pointer; nonzero is true
    MNODE *condition_of(MNODE *value);
    MNODE *truth(MNODE *value); // int 0 or 1
    MNODE *lower_cast(const clang::CastExpr *);
    MNODE *convert(MNODE *value, TYPE *to);
    MNODE *call(const clang::CallExpr *);
    MNODE *builtin_call(const clang::CallExpr *, unsigned id);
    MNODE *lower_va_arg(const clang::VAArgExpr *);
    MNODE *overflow_call(const clang::CallExpr *, int op, bool stores = true);
    // lower_atomic.cpp
    MNODE *atomic(const clang::AtomicExpr *);
    MNODE *atomic_update(const clang::Expr *object, clang::BinaryOperatorKind, MNODE *value, bool old_value);
    MNODE *sync_call(const clang::CallExpr *, const std::string &name);
    TYPE *atomic_word(clang::QualType, clang::SourceLocation);
    MNODE *atomic_call(const std::string &name, TYPE *word, TYPE *returns, std::vector<MNODE *> args);
    MNODE *atomic_load(MNODE *address, TYPE *, int order);
    MNODE *atomic_store(MNODE *address, MNODE *value, TYPE *, int order);
    MNODE *barrier();
    // lower_neon.cpp
    friend struct NEON_LOWER;
    MNODE *neon_call(const clang::CallExpr *, const std::string &name);
    MNODE *acle_call(const clang::CallExpr *, const std::string &name); // null: not taken
    MNODE *shuffle(const clang::ShuffleVectorExpr *);
    MNODE *vector_comparison(clang::BinaryOperatorKind, MNODE *l, MNODE *r, TYPE *result);
    TYPE *vector_type(LANE_SHAPE); // count 0: the lane itself
    MNODE *bits_as(MNODE *v, TYPE *to);
    MSYM *keep(MNODE *v, MNODE *&first);
    MNODE *lane_of(MSYM *v, unsigned i);
    MNODE *pack_of(const std::vector<MNODE *> &lanes, TYPE *type);
    MNODE *intrinsic(const char *name, TYPE *result, const std::vector<MNODE *> &operands);
    // lower_wide.cpp
    friend struct WIDE_LOWER;
    bool is_wide_vector(clang::QualType);
    TYPE *wide_vector_type(const clang::VectorType *);
    MNODE *wide_vector_value(const clang::Expr *);
    MNODE *vector_rearranged(const clang::Expr *);
    void refuse_uneven_shift(const clang::BinaryOperator *);
    void initialise_wide_vector(MNODE *lvalue, const clang::InitListExpr *, clang::QualType);
    MNODE *wide_vector_lane(const clang::ArraySubscriptExpr *, TYPE *);
    MNODE *unary(const clang::UnaryOperator *);
    MNODE *increment(const clang::UnaryOperator *);
    MNODE *binary(const clang::BinaryOperator *);
    MNODE *comparison(const clang::BinaryOperator *);
    // lower_fields.cpp
    EXACT_INT exact_int(const clang::Expr *);
    MNODE *exact_value(const clang::Expr *, EXACT_INT);
    MNODE *cut_to(MNODE *, EXACT_INT);
    MNODE *exact_binary(const clang::BinaryOperator *);
    MNODE *exact_unary(const clang::UnaryOperator *, int op);
    MNODE *complex_binary(int op, TYPE *, MNODE *l, MNODE *r);
    MNODE *pointer_arithmetic(MNODE *pointer, const clang::Expr *index, clang::QualType pointee, bool minus);
    MNODE *assignment(const clang::BinaryOperator *);
    MNODE *compound_assignment(const clang::CompoundAssignOperator *);
    MNODE *conditional(const clang::AbstractConditionalOperator *);
    MNODE *statement_expression(const clang::StmtExpr *, bool want_value);
    MNODE *compound_literal(const clang::CompoundLiteralExpr *);
    MNODE *variable_offset(const clang::OffsetOfExpr *, TYPE *);
    MNODE *string_literal(const clang::StringLiteral *);
    MNODE *address_of(MNODE *lvalue);
    MNODE *decay(MNODE *array_lvalue, clang::QualType pointer);
    MNODE *member(MNODE *record, const clang::FieldDecl *, TYPE *type);
    MNODE *deref(MNODE *pointer, TYPE *type);
    uint64_t alignment_of(const clang::Expr *lvalue);
    MNODE *deref_at(MNODE *pointer, TYPE *type, uint64_t align);
    MNODE *element_size(clang::QualType pointee, TYPE *type); // bytes; a tree for variable arrays
    MNODE *array_bytes(clang::QualType);
    MNODE *float_constant(double, TYPE *);
    MNODE *icon(int64_t v, TYPE *t) { return m.icon(v, t); }
    MNODE *null_pointer(TYPE *t) { return m.node(PCONV, t, m.icon(0, int_t())); }
    MNODE *comma_op(MNODE *first, MNODE *second) {
        return first ? m.node(COMMAOP, second->type, first, second) : second;
    }
    MNODE *assign(MNODE *lvalue, MNODE *value);
    MNODE *append_arg(MNODE *list, MNODE *arg) { return list ? m.node(COMMA, void_t(), list, arg) : arg; }
    MNODE *call_of(MSYM *function, MNODE *args, TYPE *returns);
    MNODE *argument(const clang::Expr *);
    // The lvalue twice: one that may have side effects, made simple through a temporary pointer when it is not.
    MNODE *stable_lvalue(const clang::Expr *, MNODE *&effect_first);
    bool is_simple(const MNODE *);
    bool needs_statements(const clang::Stmt *);
};

int opcode_for(clang::BinaryOperatorKind kind, TYPE *operand_type);
