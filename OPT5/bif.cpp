#include "OPT5/bif.h"

#include <cstdio>
#include <map>
#include <string>

#include "OPT5/funinfo.h"
#include "OPT5/optab.h"
#include "OPT5/tree.h"
#include "support/fatal.h"

namespace {

std::map<std::string, BIF *, std::less<>> &descriptors() {
    static std::map<std::string, BIF *, std::less<>> table;
    return table;
}

} // namespace

BIF *make_BIF_descriptor(int op, const char *name, int nparms, TYPE *result) {
    if (!op_is_icall(op) || !name || !result || nparms < 0 || nparms > 255 || descriptors().count(name)) {
        fprintf(stderr, "\n\n!!! INTERNAL ERROR in make_BIF_descriptor() for \"%s\"\n", name ? name : "");
        abort_optimizer();
    }
    BIF *bif = new BIF;
    bif->op = uint8_t(op);
    bif->name = intern_name(name);
    bif->nparms = uint8_t(nparms);
    bif->result_type = result;
    bif->funinfo_flags = op == ICALL ? uint32_t(FUN_is_pure_fun) : 0;
    descriptors().emplace(name, bif);
    return bif;
}

BIF *find_BIF_descriptor(const char *name) {
    auto found = descriptors().find(name);
    return found == descriptors().end() ? nullptr : found->second;
}
