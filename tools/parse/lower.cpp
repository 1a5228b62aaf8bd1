#include "tools/parse/lower.h"

#include <cstdio>

using namespace clang;

void LOWER::refuse(SourceLocation where, const std::string &what) {
    if (where.isInvalid() && !position) where = about;
    PresumedLoc p = ctx.getSourceManager().getPresumedLoc(ctx.getSourceManager().getExpansionLoc(where));
    if (p.isValid())
        fprintf(stderr, "%s:%u:%u: error: qlparse does not take this: %s\n", p.getFilename(), p.getLine(),
                p.getColumn(), what.c_str());
    else if (position)
        fprintf(stderr, "%s:%u:%u: error: qlparse does not take this: %s\n", position->file, position->line,
                position->column, what.c_str());
    else fprintf(stderr, "%s: error: qlparse does not take this: %s\n", m.file_name.c_str(), what.c_str());
    throw REFUSED();
}

const PSN *LOWER::psn_of(SourceLocation where) {
    SourceManager &sm = ctx.getSourceManager();
    PresumedLoc p = sm.getPresumedLoc(sm.getExpansionLoc(where));
    if (p.isInvalid()) return position;
    if (position && position->line == p.getLine() && position->column == p.getColumn() &&
        !strcmp(position->file, p.getFilename()))
        return position;
    return m.psn(p.getFilename(), p.getLine(), p.getColumn());
}

// Several sources in one: a static whose name another source uses too gets a name of its own.
void LOWER::tell_statics_apart() {
    std::map<std::string, const Decl *> taken;
    auto each = [&](auto what) {
        for (const Decl *d : ctx.getTranslationUnitDecl()->decls())
            if (auto *v = dyn_cast<VarDecl>(d)) what(v, v->getFormalLinkage() == ExternalLinkage);
            else if (auto *f = dyn_cast<FunctionDecl>(d)) what(f, f->getFormalLinkage() == ExternalLinkage);
    };
    each([&](const NamedDecl *d, bool external) {
        if (external) taken[d->getName().str()] = d->getCanonicalDecl();
    });
    unsigned n = 0;
    each([&](const NamedDecl *d, bool external) {
        if (external) return;
        const Decl *key = d->getCanonicalDecl();
        auto [it, fresh] = taken.try_emplace(d->getName().str(), key);
        if (!fresh && it->second != key && !static_names.count(key))
            static_names[key] = d->getName().str() + "$" + std::to_string(++n);
    });
}

std::string LOWER::global_name(const NamedDecl *d) {
    if (auto *label = d->getAttr<AsmLabelAttr>()) return label->getLabel().str();
    auto it = static_names.find(d->getCanonicalDecl());
    return it != static_names.end() ? it->second : d->getName().str();
}

void LOWER::translation_unit() {
    tell_statics_apart();
    for (const Decl *d : ctx.getTranslationUnitDecl()->decls()) {
        if (auto *v = dyn_cast<VarDecl>(d)) {
            // One symbol for all declarations of a variable, made where it is defined.
            const VarDecl *def = definition_of(v);
            if (def ? v == def : v->hasAttr<UsedAttr>() && v == v->getMostRecentDecl()) global_variable(v);
        } else if (auto *f = dyn_cast<FunctionDecl>(d)) {
            if (f->doesThisDeclarationHaveABody() && !f->isDependentContext()) function_definition(f);
        } else if (auto *a = dyn_cast<FileScopeAsmDecl>(d)) {
            MRECORD &r = m.items.emplace_back().record;
            r.tag = IF_ASSEMBLY;
            r.text = a->getAsmString()->getString().str();
            r.psn = psn_of(a->getAsmLoc());
        }
    }
    for (SOURCE_PRAGMA &p : source_pragmas) {
        if (p.used || p.function.empty()) continue;
        auto it = global_names.find(p.function);
        if (it != global_names.end()) m.add_pragma(it->second, m.pragma(p.number, p.args));
    }
}
