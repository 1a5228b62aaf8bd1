#include "OPT5/target.h"

#include <cctype>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "OPT5/flags.h"
#include "OPT5/symtab.h"
#include "OPT5/tree.h"
#include "support/dbgout.h"
#include "support/fatal.h"

int target_pointer_plus_offset_limit = 0;
int target_pointer_minus_offset_limit = 0;

namespace {

enum CODE { ARM_CODE, THUMB_16, THUMB_2 };

CODE current_code() { return !code_state() ? ARM_CODE : thumb_2_mode() ? THUMB_2 : THUMB_16; }

bool is_between(INT65 v, int low, int high) { return v >= INT65(low) && v <= INT65(high); }

bool size_counts() { return size_speed_goal() < 4; }

} // namespace

void init_target() {
    switch (cpu_version) {
    case 4:
    case 5:
    case 6:
    case 7:
    case 71:
    case 72:
    case 73:
    case 74:
    case 78:
    case 734: break;
    default: printf("\n>>>> Warning: unrecognized option: '-v%d'\n\n", cpu_version); [[fallthrough]];
    case 0:
    case -1: cpu_version = 0;
    }
    // clang-format off
    switch (current_code()) {
    case THUMB_16: target_pointer_plus_offset_limit = 124;  target_pointer_minus_offset_limit = 0;     break;
    case THUMB_2:  target_pointer_plus_offset_limit = 4095; target_pointer_minus_offset_limit = -1024; break;
    case ARM_CODE: target_pointer_plus_offset_limit = 4095; target_pointer_minus_offset_limit = -4095; break;
    }
    // clang-format on
}

// --- addresses ---

bool valid_scale_factor(INT65 factor, int bits) {
    if (bits != 8 && bits != 16 && bits != 32) return false;
    if (factor == INT65(1)) return true;
    if (code_state() || bits == 16) return false;
    return (factor.is_negative() ? -factor : factor).is_power_of_2();
}

bool modifying_increment_is_valid(INT65 value, int size, TYPE *type, long flag) {
    CODE code = current_code();
    if (code == THUMB_16) return false;
    if (size == 1) size = type->is_uchar() ? 4 : 2;
    if (size == 2 || (size == 4 && code == THUMB_2 && !flag)) return is_between(value, -255, 255);
    return size == 4 && is_between(value, -4095, 4095);
}

bool offset_is_in_range(INT65 offset, TYPE *type, int flag) {
    if (offset.is_zero()) return true;
    if (!is_between(offset, target_pointer_minus_offset_limit, target_pointer_plus_offset_limit))
        return false;
    while (type->is_array()) type = type->elem_type();
    bool sign_is_free = type->is_unsigned() || flag;
    int low = -4095, high = 4095, alignment = 1;
    switch (current_code()) {
    case THUMB_16:
        low = 0;
        if (type->size == 32) {
            high = 127;
            alignment = 4;
            break;
        }
        // A signed load has no form with an offset.
        if (!sign_is_free) return false;
        high = type->size == 16 ? 63 : 31;
        alignment = type->size == 16 ? 2 : 1;
        break;
    case THUMB_2:
        low = type->size == 64 ? -1023 : -255;
        high = type->size == 64 ? 1023 : 4095;
        alignment = type->size == 64 ? 4 : 1;
        break;
    case ARM_CODE:
        if (type->size == 64 || type->size == 16 || (type->size != 32 && !sign_is_free))
            low = -255, high = 255;
        break;
    }
    return is_between(offset, low, high) && (offset % INT65(alignment)).is_zero();
}

// --- immediates ---

namespace {

// 8 bits at an even position.
bool is_shifted_byte(uint32_t v) {
    for (uint32_t mask = 0xFF; mask; mask <<= 2) {
        if (!(v & ~mask)) return true;
        if (mask == 0xFF000000) break;
    }
    return false;
}

// 8 bits rotated right by an even count: at an even position, or wrapped round the end.
bool is_rotated_byte(uint32_t v) {
    return !(v & ~0xFC000003u) || !(v & ~0xF000000Fu) || !(v & ~0xC000003Fu) || is_shifted_byte(v);
}

} // namespace

bool leaf_is_immediate(NODE *n) {
    if (n->op != ICON) return false;
    INT65 v = n->u.lval;
    if (current_code() == THUMB_16) return is_between(v, 0, 255);
    if (!v.fits_signed(32) && !v.fits_unsigned(32)) return false;
    return is_rotated_byte(v.low_u32()) || is_rotated_byte(~v.low_u32());
}

NODE *cpu_bit_test_subtree(NODE *tree) {
    auto right_is_icon = [](const NODE *n) { return n->right && n->right->op == ICON; };
    NODE *t = tree;
    if ((t->op == EQ || t->op == NEQ) && right_is_icon(t) && t->right->u.lval.is_zero()) t = t->left;
    if ((t->op != ANDB && t->op != XORB) || !right_is_icon(t)) return tree;
    INT65 mask = t->right->u.lval;
    bool one_field = (mask.fits_signed(32) || mask.fits_unsigned(32)) && is_shifted_byte(mask.low_u32());
    return one_field ? t->left : tree;
}

// --- costs ---

unsigned cost_for_DIV_to_MULT_expr(NODE *tree) {
    const unsigned S = size_counts(), T = !S; // what an instruction's bytes and cycles count
    unsigned cost = 0;
    std::vector<NODE *> todo;
    auto walk_later = [&todo](NODE *n) {
        if (n) todo.push_back(n);
    };
    auto both_later = [&](NODE *n) {
        walk_later(n->right);
        walk_later(n->left);
    };
    if (!tree) return 0;
    if (code_state() == 0) {
        walk_later(tree);
    } else {
        // Thumb: the root has shorter instructions; its operands are priced as in ARM code.
        // clang-format off
        switch (tree->op) {
        case ICON:  cost += leaf_is_immediate(tree) ? 0 : 3 * T + 8 * S; break;
        case PLUS:
        case MINUS: cost += T + 2 * S;        both_later(tree); break;
        case MULT:  cost += 3 * T + 2 * S;    both_later(tree); break;
        case DIV:   cost += 666 * T + 10 * S; both_later(tree); break;
        case SRL:   cost += T + 2 * S;        walk_later(tree->left); break;
        case SCONV:                           walk_later(tree->left); break;
        default:    cost += 1;                both_later(tree); break;
        }
        // clang-format on
    }
    while (!todo.empty()) {
        NODE *n = todo.back();
        todo.pop_back();
        // clang-format off
        switch (n->op) {
        case ICON:  cost += leaf_is_immediate(n) ? 0 : 3 * T + 12 * S; break;
        case PLUS:
        case MINUS: cost += T + 4 * S;        both_later(n); break;
        case MULT:  cost += 3 * T + 4 * S;    both_later(n); break;
        case DIV:   cost += 666 * T + 16 * S; both_later(n); break;
        case SCONV: cost += n->type->size == 64 ? T + 4 * S : 0; walk_later(n->left); break;
        // clang-format on
        case SRL:
            if (n->left->op == MULT && n->left->type->size == 64) {
                // One long multiplication, of which the upper word is taken; more than that word is a shift.
                bool upper_word = n->right->op == ICON && n->right->u.lval == INT65(32);
                cost += 5 * T + 4 * S + (upper_word ? 0 : T + 4 * S);
                walk_later(n->left->left);
            } else {
                cost += T + 4 * S;
                both_later(n);
            }
            break;
        default:
            cost += 1;
            both_later(n);
            break;
        }
    }
    return cost;
}

namespace {

bool is_small_integer(const TYPE *t) { return (t->is_integral() || t->is_enum()) && t->size <= 32; }

bool is_plain_local(const NODE *n) {
    if (n->op != NAME || !n->u.sym) return false;
    const SYMTAB *s = n->u.sym;
    return s->sclass == SC_AUTO && !s->is_aliased() && !s->type->is_volatile() && n->type->size <= 32 &&
           n->type->is_scalar() && !n->type->is_volatile();
}

bool is_positive_icon(const NODE *n) { return n->op == ICON && n->u.lval.is_positive(); }

// A local integer or enum variable, or what a local pointer (plus a constant) points at, of at most 32 bits.
bool is_short_lvalue(const NODE *n) {
    if (!is_small_integer(n->type) || n->type->is_volatile()) return false;
    if (n->op == NAME) return is_plain_local(n);
    if (n->op != UMULT || (n->right && !is_positive_icon(n->right))) return false;
    const NODE *address = n->left;
    if (address->op == PLUS && is_positive_icon(address->right)) address = address->left;
    return is_plain_local(address);
}

// Cost of a statement of a body that is short enough to be repeated; 0 for one that is not.
int cost_of_short_statement(const NODE *t) {
    constexpr int OPERAND = 1, OPERATION = 1;
    auto is_operand = [](const NODE *n) { return n->op == ICON || is_short_lvalue(n); };
    if (is_operand(t)) return OPERAND;
    if (t->op != ASG && t->op != PLUSASG && t->op != MINUSASG) return 0;
    const NODE *to = t->left, *from = t->right;
    if (t->op == ASG && to->type->is_ptr() && is_plain_local(to) && from->op == PLUS &&
        from->left->op == NAME && from->left->u.sym == to->u.sym && is_positive_icon(from->right))
        return OPERATION;
    if (!is_small_integer(t->type)) return 0;
    return is_short_lvalue(to) && is_operand(from) ? 2 * OPERAND + OPERATION : 0;
}

} // namespace

int loop_unrolling_factor(LIST *statements, INT65 trips) {
    constexpr int MAX_COST = 5; // what a copied word with two pointer steps costs
    if (trips < INT65(2)) return 1;
    int cost = 0;
    for (const LIST *l = statements; l && l->next; l = l->next) {
        const NODE *t = l->tree;
        if (t->op == ASM && t->u.lval == INT65(ASM_COMMENT)) continue;
        int step = cost_of_short_statement(t);
        cost += step;
        dprintf("\tloop_unrolling_factor: cost = %d\n", cost);
        if (!step || cost > MAX_COST) return 1;
    }
    if (trips <= INT65(3)) return trips.low_i32();
    if (size_counts()) return 1;
    if (trips <= INT65(6)) return trips.low_i32();
    int remainder = (trips % INT65(3)).low_i32();
    if (remainder == 0 && trips >= INT65(15)) return 3;
    if (!trips.is_odd() && trips >= INT65(10)) return 2;
    if (remainder == 1 && trips >= INT65(24)) return 3;
    if (trips.is_odd() && trips >= INT65(22)) return 2;
    return 1;
}

// --- small statements worth a copy ---

namespace {

bool is_leaf(const NODE *n) { return n->op == NAME || n->op == ICON; }

// p = p + c or p += c with p a variable and c what it points over.
bool steps_a_pointer(const NODE *n) {
    if (!n->type->is_ptr() || n->left == nullptr || n->left->op != NAME) return false;
    const NODE *step = n->right;
    if (n->op == ASG && step->op == PLUS && step->left->op == NAME && step->left->u.sym == n->left->u.sym)
        step = step->right;
    else if (n->op != PLUSASG && n->op != PLUSPLUS) return false;
    return step && step->op == ICON && step->u.lval == INT65(n->type->type_pointed_to()->size_in_bytes());
}

} // namespace

bool ok_to_dupe_stmt(NODE *statement, int n) {
    constexpr int MAX_NODES = 16,
                  MAX_NODES_WITH_STEP = 15; // a step joins the access only in the original place
    if (statement->op == RETURN) return statement->right && is_leaf(statement->right);
    if (statement->op != IF) return false;
    int count = n;
    bool has_step = false;
    std::vector<NODE *> todo = {statement->left};
    while (!todo.empty()) {
        NODE *t = todo.back();
        todo.pop_back();
        switch (t->op) {
        case CALL:
        case UCALL:
        case SQRT:
        case ASSERT:
        case MEMCPY: return false;
        default: break;
        }
        count++;
        if (count >= MAX_NODES) return false;
        if (steps_a_pointer(t)) has_step = true;
        // An assignment of a leaf to a variable is one instruction; its operands are no nodes of their own.
        if (t->op == ASG && t->left->op == NAME && is_leaf(t->right)) continue;
        if (t->left) todo.push_back(t->left);
        if (t->right) todo.push_back(t->right);
    }
    return count < (has_step ? MAX_NODES_WITH_STEP : MAX_NODES);
}

// --- symbols ---

static bool (*new_vector_temp_test)(const SYMTAB *) = nullptr;

void register_new_vector_temp_test(bool (*test)(const SYMTAB *)) { new_vector_temp_test = test; }

SYMTAB *sort_stack_variables(SYMTAB *chain) {
    uint32_t next_number = 0;
    for (SYMTAB *s = chain; s; s = s->next) {
        bool candidate = s->level == 2 && s->sclass == SC_AUTO && !s->is_aliased() &&
                         !s->type->is_volatile() && (s->type->is_scalar() || s->type->is_csu());
        if (!candidate && !(new_vector_temp_test && new_vector_temp_test(s))) continue;
        s->sclass = SC_REG_LOCAL2;
        s->value = next_number++;
    }
    return chain;
}

void add_reg_to_set(const SYMTAB *s, BITVEC *set) {
    if (s->value >= set->size) set->resize_clear(s->value + 1);
    set->add(s->value);
}

void remove_reg_from_set(const SYMTAB *s, BITVEC *set) {
    if (s->value < set->size) set->remove(s->value);
}

void init_reg_defs() {}

// --- target names ---

namespace {

struct VERSION_ROW {
    const char *prefix;
    int version;
    int version2; // another code of the same version, or the same
};
// clang-format off
const VERSION_ROW version_rows[] = {
    {"v7m4", 734, 734}, {"v7m3", 73, 73}, {"v7r4", 74, 74}, {"v7a8", 78, 78},
    {"v4",   0,   4},   {"v5",   5,  5},  {"v6",   6,  6},
};
// clang-format on

std::string lower_case(const char *text) {
    std::string lower = text;
    for (char &c : lower) c = char(tolower(static_cast<unsigned char>(c)));
    return lower;
}

[[noreturn]] void bad_target(const char *text) {
    abort_optimizer((std::string("no target has the name '") + text + "'").c_str());
}

bool begins_like_a_target(const std::string &lower) {
    return lower.size() >= 3 && lower[0] == 'v' && isdigit(static_cast<unsigned char>(lower[1]));
}

enum FORM { FORM_ARM, FORM_THUMB, FORM_THUMB_2, FORM_NEON };

// The digit and the form of a target name.
std::pair<char, FORM> split_target(const char *text) {
    std::string lower = lower_case(text);
    if (!begins_like_a_target(lower)) bad_target(text);
    char digit = lower[1];
    if (lower.find("t2") != std::string::npos) return {digit, FORM_THUMB_2};
    switch (lower[2]) {
    case 'n': return {digit, FORM_NEON};
    case 't': return {digit, FORM_THUMB};
    case 'a':
    case 'r': return {digit, FORM_ARM};
    default: bad_target(text);
    }
}

} // namespace

bool target_is_this_version(const char *text) {
    std::string lower = lower_case(text);
    if (!begins_like_a_target(lower)) bad_target(text);
    if (lower.find("neon") != std::string::npos) return arm_neon();
    for (const VERSION_ROW &row : version_rows) {
        if (lower.compare(0, strlen(row.prefix), row.prefix) != 0) continue;
        if (cpu_version != row.version && cpu_version != row.version2) return false;
        std::string form = lower.substr(strlen(row.prefix));
        if (form.find("t2") != std::string::npos) return thumb_2_mode();
        if (form.find('t') != std::string::npos) return current_code() == THUMB_16;
        // Names of ARM code, which 16-bit Thumb is not; V7R4 stands for both of its states.
        return row.version == 74 || current_code() == ARM_CODE;
    }
    bad_target(text);
}

bool target_is_superset_of_target(const char *a, const char *b) {
    auto [digit_a, form_a] = split_target(a);
    auto [digit_b, form_b] = split_target(b);
    if (digit_b > digit_a) return false;
    if (lower_case(a) == lower_case(b)) return true;
    switch (form_a) {
    case FORM_NEON: return true;
    case FORM_THUMB_2: return form_b == FORM_ARM || form_b == FORM_THUMB;
    case FORM_THUMB: return form_b == FORM_THUMB;
    case FORM_ARM: return form_b == FORM_ARM || form_b == FORM_THUMB_2;
    }
    return false;
}

// --- without part in this target ---

void reserve_global_register() {}
void find_target_conflicts(NODE *) {}
void mark_live_across_call(NODE *) {}
bool op_affects_RPTB_regs(NODE *) { return false; }
void target_lra_uses(NODE *) {}
void target_lra_defs(NODE *) {}
void mark_incoming_arg_vars() {}
void mark_reg_preferences(NODE *) {}
void mark_outgoing_arg_vars(NODE *) {}
void copy_reg_preferences(SYMTAB *, SYMTAB *) {}
void wrapup_allocation() {}
