// Writes docs/options.md, the reference of the command line, from the option table. Run without arguments it prints
// the page; with a file name it compares, and fails when the file is out of date.

#include "options/optobj.h"
#include "options/opttable.h"

#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>

namespace {

void write_row(std::ostream &out, int id) {
    const option_definition &row = option_definitions[id];
    out << "| `" << get_opt_txt(id) << "`";
    if (row.letter) {
        const char *value = row.kind == PARM_NONE ? "" : option_is_text(id) ? row.parameter : "N";
        out << ", `-" << row.letter << value << "`";
    }
    for (const char *name : row.further_names)
        if (name) out << ", `--" << name << "`";
    out << " | " << row.help;
    if (row.more_help) out << " " << row.more_help;
    if (row.parse_type >= PARSE_OPTIONAL_NUMBER && row.parse_type < PARSE_NOTHING) {
        const char *fallback = option_is_enumerated(id) ? enumerator_text(id, row.fallback) : nullptr;
        out << " Without a value: " << (fallback ? fallback : std::to_string(row.fallback)) << ".";
    }
    if (option_takes_list(id)) out << " May be repeated.";
    out << " |\n";
}

std::string option_page() {
    std::ostringstream out;
    out << "# Options of qlopt\n\n"
           "    qlopt [-options] input [output]\n\n"
           "Long names are written in full and in the case shown; another case still works, with a warning. "
           "A value\n"
           "stands behind `=`, right behind the name, or is the next argument; an optional value needs one "
           "of the\n"
           "first two, and a word among the optional values needs the `=`. Numbers are decimal, or "
           "hexadecimal as\n"
           "`0x10` or `10h`, or octal as `020` or `20q`. Single letters may stand together in one argument\n"
           "(`-ra`) and in either case; a letter with a value takes the rest of its argument. Where this "
           "page lists\n"
           "values, an option takes one of them. Each `#` in "
           "an\n"
           "argument such as `-##` raises the debug level; `-#v` is `--volit_vars` with debug output. `-?` "
           "prints\n"
           "the options.\n\n"
           "The input file holds option sets of its own, one for the file and more for single functions. "
           "What the\n"
           "command line says holds in each of them.\n\n"
           "This page is made from the option table by `option_docs`; the test `option_docs` compares.\n";
    for (int group = 1; group < OPTION_CLASS_COUNT; ++group) {
        out << "\n## " << class_title(static_cast<class_id>(group))
            << " options\n\n| Option | Meaning |\n|---|---|\n";
        for (int id = 0; id < OPTION_COUNT; ++id)
            if (option_obj::isclass(id, static_cast<class_id>(group))) write_row(out, id);
    }
    return out.str();
}

} // namespace

int main(int argc, char **argv) {
    std::string page = option_page();
    if (argc < 2) {
        std::cout << page;
        return 0;
    }
    std::ifstream file(argv[1], std::ios::binary);
    std::ostringstream present;
    present << file.rdbuf();
    if (file && present.str() == page) return 0;
    fprintf(stderr, "%s is out of date; write it again with: option_docs > %s\n", argv[1], argv[1]);
    return 1;
}
