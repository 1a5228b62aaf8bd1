// Trees as text: flat first, in one walk; a tree that is too long for a line is broken along the spans of its nodes.
#include <algorithm>

#include "tools/text/dump.h"
#include "tools/text/lex.h"

namespace {

constexpr unsigned LINE_LENGTH = 108; // columns of a line, positions aside
constexpr unsigned DEEPEST_INDENT =
    40; // columns; without a bound the blanks of a deep tree would be quadratic
constexpr unsigned SHORT_OPERAND = 30; // a first operand up to this length stays on its operator's line

} // namespace

void DUMPER::annotation(const MNODE *n) {
    if (n->type == default_type(*m.package, *n)) return;
    flat += ':';
    flat += type_text(n->type);
}

bool DUMPER::leaf(const MNODE *n) {
    switch (n->op) {
    case NAME:
        if (!n->sym) return false;
        flat += symbol_text(n->sym);
        break;
    case ICON: flat += std::to_string(n->value); break;
    case LCON: flat += n->text + "L"; break;
    case FCON: flat += n->text; break;
    case SCON: append_quoted(flat, n->text); break;
    case LABEL: flat += "L" + std::to_string(n->value); break;
    case FIELD: flat += "field(" + type_text(n->csu) + ", " + member_text(n->csu, n->member) + ")"; break;
    default: return false;
    }
    annotation(n);
    return true;
}

void DUMPER::head(const MNODE *n) {
    flat += '(';
    flat += if_node_info[n->op].name;
    annotation(n);
    switch (n->op) {
    case SKIP:
    case VREG: flat += " " + std::to_string(n->value); break;
    case ICALL:
    case UICALL:
    case MCALL:
    case UMCALL:
        flat += ' ';
        append_quoted(flat, n->text);
        break;
    case SWITCH:
        if (uint32_t(n->value) != count_cases(n->right).cases)
            flat += " cases=" + std::to_string(uint32_t(n->value));
        break;
    default:
        for (const OPERAND_ROW *row = operand_rows; row->name; row++)
            if (row->op == n->op)
                if (uint32_t v = get_operand(*n, row->field))
                    flat += std::string(" ") + row->name + "=" + std::to_string(v);
    }
}

void DUMPER::flatten(const MNODE *root) {
    struct FRAME {
        const MNODE *n;
        uint32_t span;
        int step; // children begun
    };
    flat.clear();
    spans.clear();
    std::vector<FRAME> stack;
    auto open = [&](const MNODE *n) {
        auto at = uint32_t(flat.size());
        spans.push_back({at, 0, 0, 1});
        if (leaf(n)) {
            spans.back().head = spans.back().end = uint32_t(flat.size());
            return;
        }
        head(n);
        spans.back().head = uint32_t(flat.size());
        stack.push_back({n, uint32_t(spans.size() - 1), 0});
    };
    open(root);
    while (!stack.empty()) {
        FRAME &top = stack.back();
        const MNODE *child = nullptr;
        if (top.step == 0) child = top.n->left ? top.n->left : top.n->right;
        else if (top.step == 1 && top.n->left) child = top.n->right;
        top.step++;
        if (child) {
            flat += ' ';
            open(child); // may move the frame
            continue;
        }
        flat += ')';
        SPAN &span = spans[top.span];
        span.end = uint32_t(flat.size());
        span.nodes = uint32_t(spans.size()) - top.span;
        stack.pop_back();
    }
}

void DUMPER::broken_lines(unsigned indent) {
    struct WORK {
        uint32_t span; // UINT32_MAX: a closing parenthesis
        unsigned column;
        bool same_line;
    };
    constexpr uint32_t CLOSE = UINT32_MAX;
    std::vector<WORK> todo{{0, indent, true}};
    while (!todo.empty()) {
        WORK w = todo.back();
        todo.pop_back();
        if (w.span == CLOSE) {
            out += ')';
            continue;
        }
        const SPAN &s = spans[w.span];
        if (!w.same_line) {
            out += '\n';
            out.append(w.column, ' ');
            flush(1 << 16);
        } else if (w.span) out += ' ';
        bool fits = s.end - s.start + w.column <= LINE_LENGTH || s.nodes == 1;
        out.append(flat, s.start, (fits ? s.end : s.head) - s.start);
        if (fits) continue;
        uint32_t first = w.span + 1, second = first + spans[first].nodes;
        unsigned column = std::min(w.column + 2, DEEPEST_INDENT);
        todo.push_back({CLOSE, 0, true});
        if (second < w.span + s.nodes) todo.push_back({second, column, false});
        todo.push_back({first, column,
                        spans[first].nodes == 1 && spans[first].end - spans[first].start <= SHORT_OPERAND});
    }
}

void DUMPER::tree(const MNODE *root, unsigned indent) {
    flatten(root);
    out.append(indent, ' ');
    if (indent + flat.size() <= LINE_LENGTH) out += flat;
    else broken_lines(indent);
}
