#include "tools/text/vocabulary.h"

#include <algorithm>
#include <cstring>

// clang-format off
const WORD_ROW storage_words[] = {
    {"local", 1}, {"global", 2}, {"static", 3}, {"register", 4}, {"extern", 5}, {"param", 9}, {"regparam", 17},
    {nullptr, 0},
};
const WORD_ROW policy_words[] = {
    {"default", POLICY_DEFAULT_C}, {"always", POLICY_ALWAYS}, {"external", POLICY_EXTERNAL}, {"never", POLICY_NEVER},
    {nullptr, 0},
};
const WORD_ROW qualifier_words_[] = {
    {"const", QUAL_const}, {"volatile", QUAL_volatile}, {"packed", QUAL_packed},     {"near", QUAL_near},
    {"far", QUAL_far},     {"ioport", QUAL_ioport},     {"restrict", QUAL_restrict}, {"onchip", QUAL_onchip},
    {nullptr, 0},
};
const WORD_ROW list_words[] = {
    {"bases", TPL_bclass},          {"access_decls", TPL_adecl}, {"friends", TPL_ffriend},
    {"friend_classes", TPL_cfriend}, {"nested", TPL_ntype},       {"members", TPL_mdata},
    {"statics", TPL_sdata},         {"methods", TPL_mfunc},      {"parameters", TPL_params},
    {nullptr, 0},
};
const WORD_ROW eht_words[] = {
    {"root", EHK_ROOT},               {"cleanup", EHK_CLEANUP},     {"catch", EHK_CATCH},
    {"cleanup_end", EHK_CLEANUP_END}, {"catch_end", EHK_CATCH_END}, {"terminate", EHK_THROW_TERMINATE},
    {nullptr, 0},
};
const WORD_ROW element_letters[] = {
    {"B", 2}, {"S", 4}, {"F", 8}, {"O", 16}, {nullptr, 0}, // backward, same iteration, forward, overflow
};

const char *const basic_names[BT_count] = {
    "bool", "schar", "uchar", "wchar", "short", "ushort",  "int",  "uint", "long",
    "ulong", "llong", "ullong", "float", "double", "ldouble", "void", nullptr,
};

const OPERAND_ROW operand_rows[] = {
    {SWITCH, "cases",   OPERAND_ROW::VALUE,  UINT32_MAX},
    {CALL,   "site",    OPERAND_ROW::VALUE,  UINT32_MAX},
    {CALL,   "eh",      OPERAND_ROW::EH,     UINT32_MAX},
    {UCALL,  "eh",      OPERAND_ROW::EH,     UINT32_MAX},
    {EPVAL,  "profile", OPERAND_ROW::VALUE,  UINT32_MAX},
    {DDNODE, "id",      OPERAND_ROW::VALUE,  UINT32_MAX},
    {DDNODE, "flags",   OPERAND_ROW::FLAGS,  UINT32_MAX},
    {DDNODE, "more",    OPERAND_ROW::FLAGS2, UINT8_MAX},
    {0, nullptr, OPERAND_ROW::VALUE, 0},
};
// clang-format on

namespace {

const char *const type_words[] = {"char",  "ptr",     "ref",    "array", "vector", "func", "ptm",
                                  "fixed", "complex", "struct", "union", "class",  "enum", "none"};

enum RULE : uint8_t {
    R_NONE,
    R_VOID,
    R_INT,
    R_LLONG,
    R_DOUBLE,
    R_TEXT,     // pointer to char
    R_SYMBOL,   // of the symbol
    R_MEMBER,   // of the member
    R_VALUE,    // of the left operand without its qualifiers
    R_LEFT,     // of the left operand
    R_RIGHT,    // of the right operand
    R_TARGET,   // what the left operand points to
    R_ADDRESS,  // pointer to the left operand
    R_RETURNS,  // what the called function returns
    R_PART,     // of the complex left operand
    R_VOID_PTR, // pointer to void
};

struct RULE_ROW {
    int op;
    RULE rule;
};
// clang-format off
constexpr RULE_ROW rule_rows[] = {
    {NOP, R_VOID},       {LABEL, R_VOID},    {NAME, R_SYMBOL},    {SCON, R_TEXT},      {ICON, R_INT},
    {FCON, R_DOUBLE},    {LCON, R_LLONG},    {FIELD, R_MEMBER},   {PLUS, R_VALUE},     {PLUSASG, R_VALUE},
    {MINUS, R_VALUE},    {MINUSASG, R_VALUE}, {UMINUS, R_VALUE},  {MULT, R_VALUE},     {MULTASG, R_VALUE},
    {UMULT, R_TARGET},   {ANDB, R_VALUE},    {ANDBASG, R_VALUE},  {UAND, R_ADDRESS},   {ORB, R_VALUE},
    {ORBASG, R_VALUE},   {XORB, R_VALUE},    {XORBASG, R_VALUE},  {QUEST, R_RIGHT},    {COLON, R_VALUE},
    {ANDAND, R_INT},     {OROR, R_INT},      {ABS, R_VALUE},      {RETURN, R_RIGHT},   {SWITCH, R_VOID},
    {DEFAULT, R_VOID},   {CASE, R_VOID},     {COMMA, R_VOID},     {PCOMMA, R_RIGHT},   {ASG, R_VALUE},
    {COMMAOP, R_RIGHT},  {DIV, R_VALUE},     {DIVASG, R_VALUE},   {MOD, R_VALUE},      {MODASG, R_VALUE},
    {SLL, R_VALUE},      {SLLASG, R_VALUE},  {SRL, R_VALUE},      {SRLASG, R_VALUE},   {STDOT, R_RIGHT},
    {STREF, R_RIGHT},    {CALL, R_RETURNS},  {UCALL, R_RETURNS},  {LOOP, R_VOID},      {ENDLOOP, R_VOID},
    {EXCLAIM, R_INT},    {NOTB, R_VALUE},    {PLUSPLUS, R_VALUE}, {MINMIN, R_VALUE},   {EQ, R_INT},
    {NEQ, R_INT},        {LE, R_INT},        {LT, R_INT},         {GE, R_INT},         {GT, R_INT},
    {ULE, R_INT},        {ULT, R_INT},       {UGE, R_INT},        {UGT, R_INT},        {STFIELD, R_RIGHT},
    {ARGREF, R_ADDRESS}, {STASG, R_VALUE},   {STARG, R_LEFT},     {ARASG, R_LEFT},     {PMCONV, R_VALUE},
    {PVCONV, R_VALUE},   {CBRANCH, R_VOID},  {EPVAL, R_LEFT},     {ENDINIT, R_VOID},   {BRANCH, R_VOID},
    {SKIP, R_INT},       {URETURN, R_VOID},  {DDNODE, R_LEFT},    {SQRT, R_VALUE},     {SQR, R_VALUE},
    {NASSERT, R_VOID},   {ASSERT, R_VOID},   {MEMCPY, R_VOID_PTR}, {TOIEEE, R_VALUE},  {FRIEEE, R_VALUE},
    {ICALL, R_INT},      {UICALL, R_INT},    {RECIP, R_VALUE},    {MCALL, R_VOID},     {UMCALL, R_VOID},
    {REAL, R_PART},      {IMAG, R_PART},     {FEQ, R_INT},        {FNEQ, R_INT},       {FLE, R_INT},
    {FLT, R_INT},        {FGE, R_INT},       {FGT, R_INT},        {FEQN, R_INT},       {FNEQN, R_INT},
    {FLEN, R_INT},       {FLTN, R_INT},      {FGEN, R_INT},       {FGTN, R_INT},       {FORD, R_INT},
    {FUNO, R_INT},       {VREG, R_INT},
};
// clang-format on

struct RULES {
    RULE of[FIRST_NON_FILE_OP] = {};
    constexpr RULES() {
        for (const RULE_ROW &row : rule_rows) of[row.op] = row.rule;
    }
};
constexpr RULES rules;

bool is_name_start(char c) {
    return c == '_' || c == '$' || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

} // namespace

const char *word_of(const WORD_ROW *rows, int number) {
    for (; rows->word; rows++)
        if (rows->number == number) return rows->word;
    return nullptr;
}

const WORD_ROW *row_of_word(const WORD_ROW *rows, std::string_view word) {
    for (; rows->word; rows++)
        if (rows->word == word) return rows;
    return nullptr;
}

bool storage_ends_arguments(int sclass) { return sclass == 1 || sclass == 4; }

int basic_slot(std::string_view name) {
    for (int i = 0; i < BT_count; i++)
        if (basic_names[i] && basic_names[i] == name) return i;
    return -1;
}

TYPE *plain_char(TYPE_PKG &p) { return p.mk_int(IK_uchar, false); }

bool is_type_word(std::string_view name) {
    if (basic_slot(name) >= 0 || row_of_word(qualifier_words_, name)) return true;
    return std::find(std::begin(type_words), std::end(type_words), name) != std::end(type_words);
}

bool is_plain_name(std::string_view name) {
    if (name.empty() || !is_name_start(name[0])) return false;
    return std::all_of(name.begin(), name.end(),
                       [](char c) { return is_name_start(c) || c == '.' || (c >= '0' && c <= '9'); });
}

TEXT_LAYOUT default_layout(KIND kind, const TYPE *part, uint64_t count, bool vector) {
    switch (kind) {
    case K_ptr:
    case K_ref:
    case K_ptm: return {32, 32};
    case K_complex: return {part->size * 2, part->align};
    case K_array: {
        uint64_t size = 0;
        if (__builtin_mul_overflow(part->size, count, &size)) size = UINT64_MAX & ~uint64_t{7};
        if (!vector) return {size, part->align};
        uint32_t natural = size ? uint32_t(std::min<uint64_t>(size & -size, 64)) : 8;
        return {size, std::max(natural, part->align)};
    }
    default: return {part->size, part->align};
    }
}

TEXT_LAYOUT default_symbol_layout(const TYPE *t) {
    if (t->is_func()) return {32, 32};
    return {uint32_t(t->size), t->align};
}

TYPE *default_type(TYPE_PKG &p, const MNODE &n) {
    TYPE *left = n.left ? n.left->type : nullptr, *right = n.right ? n.right->type : nullptr;
    switch (rules.of[n.op]) {
    case R_NONE: return nullptr;
    case R_VOID: return p.void_type();
    case R_INT: return p.int_type();
    case R_LLONG: return p.basic_int(IK_llong);
    case R_DOUBLE: return p.basic[BT_double];
    case R_TEXT: return p.mk_ptr(plain_char(p));
    case R_SYMBOL: return n.sym ? n.sym->type : nullptr;
    case R_MEMBER: return n.member ? n.member->type : nullptr;
    case R_VALUE: return left && left->is_qual() ? left->stqs() : left;
    case R_LEFT: return left;
    case R_RIGHT: return right;
    case R_TARGET: return left && left->is_ptr() ? left->type_pointed_to() : nullptr;
    case R_ADDRESS: return left ? p.mk_ptr(left) : nullptr;
    case R_RETURNS:
        if (left && left->is_ptr()) left = left->type_pointed_to();
        return left && left->is_func() ? left->return_type() : nullptr;
    case R_PART: return left && left->is_complex() ? left->part_type() : nullptr;
    case R_VOID_PTR: return p.void_ptr_type();
    }
    return nullptr;
}

CASE_COUNT count_cases(const MNODE *list) {
    CASE_COUNT count;
    std::vector<const MNODE *> todo{list};
    while (!todo.empty()) {
        const MNODE *n = todo.back();
        todo.pop_back();
        if (!n) continue;
        count.cases += n->op == CASE;
        count.has_default |= n->op == DEFAULT;
        if (n->op != COMMA) continue;
        todo.push_back(n->left);
        todo.push_back(n->right);
    }
    return count;
}

uint32_t get_operand(const MNODE &n, OPERAND_ROW::FIELD field) {
    switch (field) {
    case OPERAND_ROW::VALUE: return uint32_t(n.value);
    case OPERAND_ROW::EH: return n.eh;
    case OPERAND_ROW::FLAGS: return n.flags;
    default: return n.flags2;
    }
}

void set_operand(MNODE &n, OPERAND_ROW::FIELD field, uint32_t v) {
    switch (field) {
    case OPERAND_ROW::VALUE: n.value = v; break;
    case OPERAND_ROW::EH: n.eh = v; break;
    case OPERAND_ROW::FLAGS: n.flags = v; break;
    default: n.flags2 = v;
    }
}
