#include "OPT5/simpcheck.h"

#include <cstring>
#include <string>
#include <vector>

#include "OPT5/infix.h"
#include "OPT5/rules.h"
#include "OPT5/simp1.h"
#include "OPT5/tree.h"
#include "OPT5/treewalk.h"
#include "support/dbgout.h"
#include "support/register_option.h"

namespace {

const register_option again_switch("debug:simp_again");

unsigned long statements, changed, unsettled;

// All that tells one tree from another, as a list of words.
std::vector<uint64_t> fingerprint(const NODE *tree) {
    std::vector<uint64_t> words;
    auto add_bytes = [&](const void *bytes, size_t n) {
        for (size_t i = 0; i < n; i++) words.push_back(static_cast<const uint8_t *>(bytes)[i]);
    };
    auto add_address = [&](const void *p) { words.push_back(reinterpret_cast<uint64_t>(p)); };
    for_each_node(tree, [&](const NODE *n) {
        const TYPE *type = n->type;
        const NODE *left = n->left, *right = n->right;
        add_address(type);
        words.insert(words.end(), {uint64_t(n->op), uint64_t(left != nullptr) * 2 + (right != nullptr)});
        switch (n->op) {
        case FCON: add_bytes(n->u.fval, sizeof *n->u.fval); break;
        case SCON: add_bytes(n->text, size_t(n->u.lval.to_uint64())); break;
        case FIELD: words.push_back(reinterpret_cast<uint64_t>(n->member)); break;
        case LABEL: words.push_back(reinterpret_cast<uint64_t>(n->label)); break;
        case NAME:
        case ICALL:
        case MCALL:
        case UICALL:
        case UMCALL: words.push_back(reinterpret_cast<uint64_t>(n->u.rval)); break;
        case ICON: words.insert(words.end(), {n->u.lval.to_uint64(), n->u.lval.is_negative()}); break;
        default: break;
        }
    });
    return words;
}

std::vector<unsigned long> firings() {
    std::vector<unsigned long> counts;
    for (const REWRITE_RULE &rule : all_rules()) counts.push_back(rule.fired);
    return counts;
}

} // namespace

bool simp_changes(NODE *&tree, std::string &story) {
    std::vector<uint64_t> before = fingerprint(tree);
    std::vector<unsigned long> fired = firings();
    std::string text = stmt2infix(tree);
    tree = simp_statement(tree, nullptr);
    if (fingerprint(tree) == before) return false;
    story += "    " + text + "\n -> " + stmt2infix(tree) + "\n";
    size_t i = 0;
    for (const REWRITE_RULE &rule : all_rules())
        if (rule.fired != fired[i++]) story += std::string("      by ") + rule.text + "\n";
    return true;
}

NODE *simp_again(NODE *tree) {
    if (!again_switch || !tree) return tree;
    statements++;
    std::string story;
    if (!simp_changes(tree, story)) return tree;
    changed++;
    bool settled = !simp_changes(tree, story);
    dprintf("simplified again:\n%s", story.c_str());
    if (settled) return tree;
    unsettled++;
    fprintf(finfo ? finfo : stderr, "simplified again and again, this changes each time: %s\n",
            stmt2infix(tree).c_str());
    return tree;
}

void report_simp_again() {
    if (!again_switch) return;
    fprintf(finfo ? finfo : stderr, "simplified again: %lu statements, %lu changed, %lu changed each time\n",
            statements, changed, unsettled);
}
