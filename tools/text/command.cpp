#include "tools/text/command.h"

#include <cstdio>
#include <cstdlib>

void COMMAND::misused(const std::string &what) const {
    fprintf(stderr, "%s: %s\n%s", program, what.c_str(), usage);
    exit(2);
}

std::string COMMAND::parse(int argc, char **argv) const {
    std::string input;
    bool options_ended = false;
    for (int i = 1; i < argc; i++) {
        std::string a = argv[i];
        if (options_ended || a[0] != '-') {
            if (!input.empty()) misused("more than one file: " + a);
            input = a;
            continue;
        }
        if (a == "--help") {
            fputs(usage, stdout);
            exit(0);
        }
        bool known = options_ended = a == "--";
        for (const COMMAND_OPTION &o : options) {
            std::string name = o.name, joined = name + "=";
            bool has_value = o.value && name.size() > 2 && a.compare(0, joined.size(), joined) == 0;
            if (a != name && !has_value) continue;
            known = true;
            if (o.given) *o.given = true;
            if (has_value) *o.value = a.substr(joined.size());
            else if (o.value && ++i == argc) misused("an argument is missing behind " + a);
            else if (o.value) *o.value = argv[i];
            break;
        }
        if (!known) misused("unknown option " + a);
    }
    if (input.empty()) misused("no file");
    return input;
}
