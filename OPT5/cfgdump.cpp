#include "OPT5/cfgdump.h"

#include <string>

#include "OPT5/cfg.h"
#include "OPT5/funinfo.h"
#include "OPT5/infix.h"
#include "OPT5/tree.h"

namespace {

constexpr int MAX_STATEMENTS = 12; // of a block, so that boxes stay small
constexpr size_t MAX_COLUMNS = 72;

std::string quoted(const std::string &text) {
    std::string out;
    for (char c : text) {
        if (c == '"' || c == '\\') out += '\\';
        if (c == '\n') out += ' ';
        else out += c;
    }
    return out;
}

std::string box_text(const BBLK *bb) {
    std::string text = "BB" + std::to_string(bb->dfn);
    for (const LBL *label = bb->labels; label; label = label->next)
        text += " L" + std::to_string(label->number);
    text += "\\l";
    int shown = 0;
    for (const LIST *s = bb->statements; s; s = s->next) {
        if (shown++ == MAX_STATEMENTS) {
            text += "...\\l";
            break;
        }
        std::string line = stmt2infix(s->tree);
        if (line.size() > MAX_COLUMNS) line = line.substr(0, MAX_COLUMNS) + "...";
        text += quoted(line) + "\\l";
    }
    return text;
}

} // namespace

void view_CFG_graph(FILE *to) {
    fprintf(to, "digraph \"%s\" {\n    node [shape=box, fontname=monospace];\n",
            quoted(currfuninfo->name).c_str());
    for (const BBLK *bb = currfuninfo->bb_list; bb; bb = bb->dflink) {
        fprintf(to, "    b%u [label=\"%s\"%s];\n", bb->serial_number, box_text(bb).c_str(),
                bb->succs ? "" : ", peripheries=2");
        for (const EDGE *e = bb->succs; e; e = e->next)
            fprintf(to, "    b%u -> b%u%s;\n", bb->serial_number, e->block->serial_number,
                    e->block->dfn <= bb->dfn ? " [style=dotted]" : "");
    }
    fprintf(to, "}\n");
}
