#include "OPT5/eraseall.h"

#include <algorithm>
#include <vector>

#include "OPT5/cfg.h"
#include "OPT5/dominator.h"
#include "OPT5/funinfo.h"
#include "OPT5/restrict.h"
#include "OPT5/scopes.h"
#include "OPT5/symwiden.h"
#include "OPT5/tree.h"
#include "support/fatal.h"

namespace {
std::vector<void (*)(FUNINFO *)> body_erasers;

void erase_eht(FUNINFO *f) {
    for (unsigned i = 0; i < f->eht_size; i++) erase_tree(static_cast<NODE *>(f->eht[i].cleanup));
    delete[] f->eht;
    f->eht = nullptr;
    f->eht_size = 0;
}
} // namespace

void register_body_eraser(void (*eraser)(FUNINFO *)) {
    if (std::find(body_erasers.begin(), body_erasers.end(), eraser) == body_erasers.end())
        body_erasers.push_back(eraser);
}

void erase_all() {
    FUNINFO *f = currfuninfo;
    QL_ASSERT(f != nullptr);
    for (auto eraser : body_erasers) eraser(f);
    erase_PTR_entries(f);
    erase_widened_entries(f);

    erase_tree_list(f->statements);
    erase_tree_list(f->global_assertions);
    f->global_assertions = nullptr;
    f->statements = nullptr;
    erase_tree(f->first_statement);
    f->first_statement = nullptr;
    for (size_t i = 0; i < f->blocks.size(); i++)
        if (f->blocks[i]) erase_bblock(f->blocks[i]);
    std::vector<BBLK *>().swap(f->blocks);
    f->bb_list = f->uo_list = nullptr;
    f->bb_count = 0;
    erase_eht(f);
    release_dead_labels(f); // the trees that named them are gone
    delete f->dominator;
    f->dominator = nullptr;
    delete f->scopes;
    f->scopes = curr_scope = nullptr;

    f->symbols = f->temporaries = f->scalars = f->nonscalars = nullptr;
    f->const_pointer_parm = nullptr;
    f->parameters.clear();
    forget_interned_symbols(f);
    for (SYMTAB *s : f->owned_symbols) erase_symbol(s);
    std::vector<SYMTAB *>().swap(f->owned_symbols);
    std::vector<int>().swap(f->per_call);
    f->body_erased = true;
}
