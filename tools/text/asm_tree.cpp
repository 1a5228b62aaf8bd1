// Trees: nested expressions into nodes, with a stack of the nodes whose operands are still to come.
#include <cstdlib>
#include <cstring>

#include "tools/text/assemble.h"

namespace {

const std::unordered_map<std::string_view, int> &opcodes() {
    static const auto *table = [] {
        auto *map = new std::unordered_map<std::string_view, int>;
        for (int op = 0; op < FIRST_NON_FILE_OP; op++)
            if (if_node_info[op].name) map->emplace(if_node_info[op].name, op);
        return map;
    }();
    return *table;
}

// How a leaf is written that has no form in parentheses.
const char *leaf_form(int op) {
    switch (op) {
    case LABEL: return "L3";
    case SCON: return "\"text\"";
    case ICON: return "42";
    case LCON: return "42L";
    case FCON: return "0x1.8p+3";
    case FIELD: return "field(struct s, member)";
    default: return nullptr;
    }
}

bool has_name(int op) { return op == ICALL || op == UICALL || op == MCALL || op == UMCALL; }

} // namespace

int ASSEMBLER::label_number(const TOKEN &t) const {
    std::string_view s = f.spelling(t);
    if (t.kind != T_ID || s.size() < 2 || s[0] != 'L') return -1;
    int64_t n = 0;
    for (char c : s.substr(1)) {
        if (c < '0' || c > '9') return -1;
        if ((n = n * 10 + (c - '0')) > INT32_MAX) return -1;
    }
    return int(n);
}

bool ASSEMBLER::annotation(MNODE *n) {
    if (!take_punct(':')) return false;
    n->type = type_or_none();
    return true;
}

MNODE *ASSEMBLER::field() {
    uint32_t at = f.tokens[pos - 1].at;
    expect_punct('(', "behind field");
    MNODE *n = m.node(FIELD, nullptr);
    n->csu = type();
    if (!n->csu->is_csu()) f.fail_at(at, "a field of a type that is no record");
    expect_punct(',', "behind the record");
    const TOKEN &t = token();
    if (t.kind == T_NUMBER) {
        uint32_t index = u32("the index of a member");
        n->member = n->csu->getr_csu()->find_mdata(index);
        if (!n->member && index) f.fail_at(t.at, "the record has no member %u", index);
    } else {
        std::string who = name("a member");
        auto [members, is_new] = member_names.try_emplace(n->csu->getr_csu());
        if (is_new)
            for (fkMDATA *e = n->csu->mdata(); e; e = e->next) {
                MEMBERS_OF_NAME &same = members->second[e->name];
                same.last = e, same.count++;
            }
        auto found = members->second.find(who);
        if (found == members->second.end()) f.fail_at(t.at, "the record has no member %s", who.c_str());
        unsigned count = found->second.count;
        if (count > 1)
            f.fail_at(t.at, "%u members are called %s: write the index of the one meant", count, who.c_str());
        n->member = found->second.last;
    }
    expect_punct(')', "behind the member");
    return n;
}

// An integer becomes an ICON, or with L behind it an LCON with its digits as they stand.
MNODE *ASSEMBLER::integer() {
    const TOKEN &t = token();
    std::string text(f.spelling(t));
    bool is_long = text.back() == 'L', negative = text[0] == '-';
    bool hex = text.size() > size_t(negative) + 1 && (text[size_t(negative) + 1] | 32) == 'x';
    MNODE *n = m.node(is_long ? LCON : ICON, nullptr);
    if (!is_long) {
        n->value = signed_number("an integer constant", INT32_MIN, UINT32_MAX);
        return n;
    }
    text.pop_back();
    if (hex) {
        uint64_t v = strtoull(text.c_str() + negative, nullptr, 16);
        text = (negative ? "-" : "") + std::to_string(v);
    }
    if (!if_is_decimal_text(text.c_str())) f.fail_at(t.at, "%s has more than 64 bits", text.c_str());
    n->text = text;
    pos++;
    return n;
}

// Null when what stands here is no leaf.
MNODE *ASSEMBLER::leaf() {
    const TOKEN &t = token();
    MNODE *n = nullptr;
    switch (t.kind) {
    case T_GLOBAL:
    case T_LOCAL:
        n = m.node(NAME, nullptr);
        n->sym = find_symbol(t);
        pos++;
        break;
    case T_NUMBER: n = integer(); break;
    case T_FLOAT:
    case T_ID: {
        std::string text(f.spelling(t));
        if (int number = label_number(t); number >= 0) {
            if (!number) f.fail_at(t.at, "labels count from 1");
            n = m.label(number, nullptr);
            labels_used.emplace_back(t.at, number);
        } else if (text == "field") {
            pos++;
            n = field();
            break;
        } else if (t.kind == T_FLOAT || text == "inf" || text == "nan") {
            n = m.node(FCON, nullptr);
            if (!strpbrk(text.c_str(), "xn")) { // decimal
                char hex[64];
                snprintf(hex, sizeof hex, "%a", strtod(text.c_str(), nullptr));
                text = hex;
            }
            if (!if_is_float_text(text.c_str()))
                f.fail_at(t.at, "'%s' is no hexadecimal float like 0x1.8p+3", text.c_str());
            n->text = text;
        } else return nullptr;
        pos++;
        break;
    }
    case T_STRING:
        n = m.node(SCON, nullptr);
        n->text = f.value(t);
        pos++;
        break;
    default: return nullptr;
    }
    bool typed = annotation(n);
    finish(n, t.at, typed);
    return n;
}

// Behind the children: the type, and what depends on it.
void ASSEMBLER::finish(MNODE *n, uint32_t at, bool typed) {
    const char *op = if_node_info[n->op].name;
    if (!typed) n->type = default_type(*m.package, *n);
    if (!n->type && if_op_needs_type(n->op)) f.fail_at(at, "%s needs a type: write %s:type", op, op);
    if (n->op == ICON) {
        bool fits = n->type->is_signed() ? n->value <= INT32_MAX : n->value >= 0;
        if (!fits)
            f.fail_at(at, "%lld does not fit the type of the constant%s", static_cast<long long>(n->value),
                      n->type->is_signed() ? "" : ", which is unsigned");
    }
    if (n->op == SWITCH) {
        CASE_COUNT found = count_cases(n->right);
        if (n->value < 0) n->value = found.cases;
        bool fits = n->value == found.cases || (found.has_default && n->value == int64_t(found.cases) + 1);
        if (!fits)
            f.fail_at(at, "SWITCH of %lld cases, but %u are there", static_cast<long long>(n->value),
                      found.cases);
    }
}

// The operand fields between the head and the children.
void ASSEMBLER::operands(MNODE *n) {
    if (n->op == SKIP) n->value = u32("a count of bytes");
    if (n->op == VREG) n->value = signed_number("the number of a register", INT32_MIN, INT32_MAX);
    if (has_name(n->op)) {
        uint32_t at = token().at;
        n->text = string("the name of the built-in");
        if (n->text.empty()) f.fail_at(at, "a built-in without a name");
    }
    if (n->op == SWITCH) n->value = -1; // not said
    while (token().kind == T_ID && token(1).kind == T_PUNCT && token(1).punct == '=') {
        const OPERAND_ROW *row = operand_rows;
        while (row->name && (row->op != n->op || f.spelling(token()) != row->name)) row++;
        if (!row->name)
            f.fail_at(token().at, "%s has no operand %s", if_node_info[n->op].name,
                      describe(token()).c_str());
        pos += 2;
        set_operand(*n, row->field, uint32_t(number(row->name, row->largest)));
    }
}

void ASSEMBLER::open_node() {
    uint32_t at = token().at;
    pos++;
    skip_newlines();
    const TOKEN &t = token();
    if (t.kind != T_ID) fail_expected("an opcode");
    auto found = opcodes().find(f.spelling(t));
    if (found == opcodes().end()) f.fail_at(t.at, "unknown opcode %s", describe(t).c_str());
    int op = found->second;
    if (const char *form = leaf_form(op))
        f.fail_at(t.at, "%s is written like %s", if_node_info[op].name, form);
    pos++;
    MNODE *n = m.node(op, nullptr);
    bool typed = annotation(n);
    operands(n);
    uint8_t arity = op == SKIP ? 0 : uint8_t(if_node_info[op].arity);
    stack.push_back({n, at, arity, 0, typed});
}

MNODE *ASSEMBLER::close_node() {
    FRAME top = stack.back();
    if (top.have != top.arity)
        f.fail_at(top.at, "%s has %u operand%s, not %u", if_node_info[top.node->op].name, top.arity,
                  top.arity == 1 ? "" : "s", top.have);
    stack.pop_back();
    pos++;
    finish(top.node, top.at, top.typed);
    return top.node;
}

MNODE *ASSEMBLER::tree() {
    stack.clear();
    for (;;) {
        if (!stack.empty()) skip_newlines();
        MNODE *done = nullptr;
        uint32_t at = token().at;
        if (at_punct('(')) open_node();
        else if (at_punct(')') && !stack.empty()) done = close_node();
        else if (!(done = leaf())) fail_expected(stack.empty() ? "a tree" : "an operand or ')'");
        if (!done) continue;
        if (stack.empty()) return done;
        FRAME &parent = stack.back();
        if (parent.have == parent.arity)
            f.fail_at(at, "%s has %u operand%s, and here is one more", if_node_info[parent.node->op].name,
                      parent.arity, parent.arity == 1 ? "" : "s");
        (parent.have++ ? parent.node->right : parent.node->left) = done;
    }
}
