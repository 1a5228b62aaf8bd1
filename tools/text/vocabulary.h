// The words of the text form, shared by the dumper and the assembler.
//
// What both must agree on stands here once: the words for storage classes, policies, qualifiers, attribute lists and
// exception table entries, the names of basic types, and the defaults that keep the text short. A type annotation is
// left out exactly when it is the node's default type, a size or alignment when it is the default layout: since the
// two programs ask the same functions, what the one omits is what the other fills in.
//
// docs/text-form.md describes the language.
#pragma once

#include "tools/model/model.h"

// A word for a number. Tables end with a null word.
struct WORD_ROW {
    const char *word;
    int number;
};
extern const WORD_ROW storage_words[];    // keyword of a symbol's declaration <-> storage class
extern const WORD_ROW policy_words[];     // SYM_POLICY
extern const WORD_ROW qualifier_words_[]; // QUAL bits
extern const WORD_ROW list_words[];       // TP_LIST, for lists that exist and are empty
extern const WORD_ROW eht_words[];        // EHT_ENTRY_KIND
extern const WORD_ROW element_letters[];  // direction bits of a dependence element, one letter each

const char *word_of(const WORD_ROW *rows, int number);               // null if there is none
const WORD_ROW *row_of_word(const WORD_ROW *rows, std::string_view); // null if there is none

// The symbol of a declaration with this keyword ends the arguments when it comes among them.
bool storage_ends_arguments(int sclass);

// Slot of a basic type by its name (TYPE_PKG::basic); -1 if there is none. "char" is no slot: see plain_char.
int basic_slot(std::string_view name);
extern const char *const basic_names[BT_count]; // null for the pointer to void, which has no name
// The target's char without a sign: unsigned. Made when it is not there.
TYPE *plain_char(TYPE_PKG &);

// Words that stand for types or make them, so that no declared type can have them as its name in the text.
bool is_type_word(std::string_view name);
// Whether a name can stand in the text as it is; else it is written as a string.
bool is_plain_name(std::string_view name);

struct TEXT_LAYOUT {
    uint64_t size;
    uint32_t align;
    bool operator==(const TEXT_LAYOUT &) const = default;
};
// Size and alignment (bits) of a pointer and the like, or of what is made of `count` parts.
TEXT_LAYOUT default_layout(KIND kind, const TYPE *part, uint64_t count = 1, bool vector = false);
// Size and alignment of a symbol of that type.
TEXT_LAYOUT default_symbol_layout(const TYPE *);

// The type that a node has when the text does not say one: from its opcode, children and operand. Null: no type, or
// none that could be guessed. May make a pointer type.
TYPE *default_type(TYPE_PKG &, const MNODE &);

// CASE nodes in the list on the right of a SWITCH, and whether it has a DEFAULT.
struct CASE_COUNT {
    uint32_t cases = 0;
    bool has_default = false;
};
CASE_COUNT count_cases(const MNODE *list);

// The names of a node's numeric operands in the text ("site", "eh" of a CALL ...) with where they are kept.
struct OPERAND_ROW {
    int op;
    const char *name;
    enum FIELD { VALUE, EH, FLAGS, FLAGS2 } field;
    uint32_t largest;
};
extern const OPERAND_ROW operand_rows[]; // ends with a null name
uint32_t get_operand(const MNODE &, OPERAND_ROW::FIELD);
void set_operand(MNODE &, OPERAND_ROW::FIELD, uint32_t);
