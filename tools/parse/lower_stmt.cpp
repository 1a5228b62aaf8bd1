#include <algorithm>

#include "tools/parse/lower.h"

#include "clang/AST/ExprObjC.h"
#include "clang/AST/StmtVisitor.h"

using namespace clang;

// --- emission ---

void LOWER::emit(MNODE *tree) {
    if (!tree) return;
    MRECORD &r = func->records.emplace_back();
    r.tag = IF_STATEMENT, r.tree = tree, r.psn = position;
    if (tree->op == BRANCH || tree->op == RETURN || tree->op == URETURN) reachable = false;
}

void LOWER::emit_label(int number) {
    MRECORD &r = func->records.emplace_back();
    r.tag = IF_LABEL, r.n[0] = uint32_t(number);
    reachable = true;
}

void LOWER::emit_branch(int label) {
    if (reachable) emit(m.node(BRANCH, void_t(), m.label(label, void_t())));
}

void LOWER::emit_cbranch(MNODE *c, int label_if_false) {
    emit(m.node(CBRANCH, void_t(), c, m.label(label_if_false, void_t())));
}

// Whether lowering this needs statements of its own: a statement expression, a compound literal or a type whose sizes are
// to be evaluated, anywhere inside.
bool LOWER::needs_statements(const Stmt *s) {
    if (!s) return false;
    std::vector<const Stmt *> todo{s};
    while (!todo.empty()) {
        const Stmt *at = todo.back();
        todo.pop_back();
        if (isa<StmtExpr>(at)) return true;
        if (auto *l = dyn_cast<CompoundLiteralExpr>(at); l && !l->isFileScope()) return true;
        if (auto *t = dyn_cast<UnaryExprOrTypeTraitExpr>(at)) {
            if (t->getKind() != UETT_SizeOf || !t->getTypeOfArgument()->isVariableArrayType()) continue;
            if (!t->isArgumentType()) {
                if (t->getArgumentExpr()->HasSideEffects(ctx)) return true;
                todo.push_back(t->getArgumentExpr());
            } else if (!size_expressions(t->getArgumentType()).empty()) return true;
            continue;
        }
        auto *cast = dyn_cast<ExplicitCastExpr>(at);
        auto *arg = dyn_cast<VAArgExpr>(at);
        if (cast && !size_expressions(cast->getTypeAsWritten()).empty()) return true;
        if (arg && !size_expressions(arg->getWrittenTypeInfo()->getType()).empty()) return true;
        for (const Stmt *c : at->children())
            if (c) todo.push_back(c);
    }
    return false;
}

// Branches on a condition: to true_label or false_label, of which one follows (fall_to_true says which).
void LOWER::branch_on(const Expr *e, int true_label, int false_label, bool fall_to_true) {
    const Expr *bare = e->IgnoreParens();
    auto *b = dyn_cast<BinaryOperator>(bare);
    auto *u = dyn_cast<UnaryOperator>(bare);
    bool logical = b && b->isLogicalOp();
    if (u && u->getOpcode() == UO_LNot) {
        branch_on(u->getSubExpr(), false_label, true_label, !fall_to_true);
        return;
    }
    if (logical && needs_statements(b->getRHS())) {
        int middle = new_label();
        if (b->getOpcode() == BO_LAnd) branch_on(b->getLHS(), middle, false_label, true);
        else branch_on(b->getLHS(), true_label, middle, false);
        emit_label(middle);
        branch_on(b->getRHS(), true_label, false_label, fall_to_true);
        return;
    }
    if (fall_to_true) emit_cbranch(condition(e), false_label);
    else {
        MNODE *c = condition(e);
        emit_cbranch(m.node(EXCLAIM, int_t(), c), true_label);
    }
}

void LOWER::begin_scope(SourceLocation where) {
    MRECORD &r = func->records.emplace_back();
    r.tag = I_BB, r.psn = psn_of(where);
}

void LOWER::end_scope(SourceLocation where) {
    MRECORD &r = func->records.emplace_back();
    r.tag = I_EB, r.psn = psn_of(where);
}

int LOWER::label_of(const LabelDecl *d) {
    int &n = label_numbers[d];
    if (!n) n = new_label();
    return n;
}

int64_t LOWER::label_address(const LabelDecl *d) {
    if (addressed_labels.empty()) {
        std::vector<const Stmt *> todo{func_decl->getBody()};
        while (!todo.empty()) {
            const Stmt *s = todo.back();
            todo.pop_back();
            if (!s) continue;
            if (auto *a = dyn_cast<AddrLabelExpr>(s)) addressed_labels.push_back(a->getLabel());
            std::vector<const Stmt *> parts(s->child_begin(), s->child_end());
            todo.insert(todo.end(), parts.rbegin(), parts.rend());
        }
        std::vector<const LabelDecl *> all = addressed_labels;
        std::set<const LabelDecl *> seen;
        addressed_labels.clear();
        for (const LabelDecl *l : all)
            if (seen.insert(l).second) addressed_labels.push_back(l);
    }
    auto it = std::find(addressed_labels.begin(), addressed_labels.end(), d);
    return it - addressed_labels.begin() + 1;
}

void LOWER::computed_goto(const IndirectGotoStmt *s) {
    if (const LabelDecl *d = s->getConstantTarget()) return emit_branch(label_of(d));
    if (!dispatch_label) dispatch_label = new_label(), dispatch_target = temp(int_t());
    emit(m.node(ASG, int_t(), m.name(dispatch_target), m.node(SCONV, int_t(), rvalue(s->getTarget()))));
    emit_branch(dispatch_label);
}

// The switch that all computed gotos of the function lead to.
void LOWER::dispatch() {
    if (!dispatch_label) return;
    if (addressed_labels.empty()) label_address(nullptr);
    emit_label(dispatch_label);
    int other = new_label();
    MNODE *list = nullptr;
    for (size_t i = 0; i < addressed_labels.size(); i++)
        list = append_arg(list, m.node(CASE, void_t(), icon(int64_t(i) + 1, int_t()),
                                       m.label(label_of(addressed_labels[i]), void_t())));
    list = append_arg(list, m.node(DEFAULT, void_t(), m.label(other, void_t())));
    MNODE *sw = m.node(SWITCH, void_t(), m.name(dispatch_target), list);
    sw->value = int64_t(addressed_labels.size());
    emit(sw);
    emit_branch(other);
    emit_label(other);
    MNODE *never = m.node(UMCALL, void_t());
    never->text = "_never_executed";
    emit(never);
    emit(m.node(URETURN, void_t(), m.name(func->symbol)));
}

void LOWER::effect(const Expr *e) {
    const Expr *bare = e->IgnoreParens();
    // A value that nobody uses: ?: and && || become branches where their parts need statements or yield nothing.
    if (auto *c = dyn_cast<CastExpr>(bare); c && c->getCastKind() == CK_ToVoid)
        return effect(c->getSubExpr());
    if (auto *ex = dyn_cast<ExprWithCleanups>(bare)) return effect(ex->getSubExpr());
    if (auto *se = dyn_cast<StmtExpr>(bare)) {
        statement_expression(se, false);
        return;
    }
    if (auto *c = dyn_cast<ConditionalOperator>(bare);
        c && (c->getType()->isVoidType() || is_record(c->getType()) || needs_statements(c->getTrueExpr()) ||
              needs_statements(c->getFalseExpr()))) {
        int yes = new_label(), no = new_label(), end = new_label();
        branch_on(c->getCond(), yes, no, true);
        emit_label(yes);
        effect(c->getTrueExpr());
        emit_branch(end);
        emit_label(no);
        effect(c->getFalseExpr());
        emit_label(end);
        return;
    }
    if (auto *b = dyn_cast<BinaryOperator>(bare)) {
        if (b->getOpcode() == BO_Comma) {
            effect(b->getLHS());
            effect(b->getRHS());
            return;
        }
        if (b->isLogicalOp() && (needs_statements(b->getRHS()) || b->getRHS()->getType()->isVoidType())) {
            int more = new_label(), end = new_label();
            if (b->getOpcode() == BO_LAnd) branch_on(b->getLHS(), more, end, true);
            else branch_on(b->getLHS(), end, more, false);
            emit_label(more);
            effect(b->getRHS());
            emit_label(end);
            return;
        }
    }
    MNODE *t = is_record(e->getType()) ? record_value(e) : rvalue(e);
    // A record value in an address form: what is left are the effects of computing the address.
    if (t && t->op == UMULT && t->left && t->left->op == COMMAOP && !t->type->is_volatile()) {
        MNODE *effects = nullptr, *at = t->left;
        for (; at->op == COMMAOP; at = at->right) effects = effects ? comma_op(effects, at->left) : at->left;
        if (is_simple(at)) t = effects;
    }
    if (t && (t->op == ICON || (t->op == NAME && !t->type->is_volatile()))) return; // nothing happens
    emit(t);
}

// --- statements ---

void LOWER::compound(const CompoundStmt *c, bool block) {
    // A scope of its own only where something is declared: the outermost block is the function's.
    bool declares = false;
    for (const Stmt *s : c->body()) declares |= isa<DeclStmt>(s);
    block &= declares;
    size_t depth = cleanups.size();
    if (block) {
        begin_scope(c->getLBracLoc());
        size_t at = func->records.size();
        // The block's own symbols stand behind its start; they are collected while the body is lowered.
        std::vector<MSYM *> mine;
        for (const Stmt *s : c->body()) {
            auto *d = dyn_cast<DeclStmt>(s);
            if (!d) continue;
            for (const Decl *decl : d->decls()) {
                auto *v = dyn_cast<VarDecl>(decl);
                if (!v || v->hasGlobalStorage()) continue;
                position = psn_of(v->getLocation());
                QualType q = v->getType();
                TYPE *t = q->isVariableArrayType()
                              ? pointer_to(type_of(ctx.getAsArrayType(q)->getElementType()))
                              : nullptr;
                if (!t) {
                    QualType body = q;
                    body.removeLocalConst();
                    t = type_of(body);
                }
                MSYM *sym = local(v->getName().str().c_str(), t);
                sym->cpp_type = q->isVariablyModifiedType() ? t : source_type(q);
                if (!q->isVariableArrayType())
                    sym->align = uint32_t(std::max<int64_t>(sym->align, ctx.toBits(ctx.getDeclAlign(v))));
                locals[v] = sym;
                mine.push_back(sym);
            }
        }
        std::vector<MRECORD> extra(mine.size() + 1);
        for (size_t i = 0; i < mine.size(); i++) extra[i].tag = IF_SYMBOL, extra[i].sym = mine[i];
        extra.back().tag = I_EL, extra.back().psn = psn_of(c->getLBracLoc());
        func->records.insert(func->records.begin() + long(at), std::make_move_iterator(extra.begin()),
                             std::make_move_iterator(extra.end()));
    }
    for (const Stmt *s : c->body()) statement(s);
    if (cleanups.size() > depth) position = psn_of(c->getRBracLoc());
    leave_block(depth);
    if (block) end_scope(c->getRBracLoc());
}

void LOWER::clean_up(size_t down_to, bool returning) {
    if (!reachable) return;
    MSYM *stack = nullptr; // of the outermost variable array
    for (size_t i = cleanups.size(); i-- > down_to;) {
        if (cleanups[i].saved_stack) {
            stack = cleanups[i].saved_stack;
            continue;
        }
        const VarDecl *v = cleanups[i].variable;
        const FunctionDecl *f = v->getAttr<CleanupAttr>()->getFunctionDecl();
        TYPE *to = unqualified(f->getParamDecl(0)->getType());
        MNODE *at = address_of(m.name(locals[v]));
        TYPE *returns = f->getReturnType()->isVoidType() ? void_t() : unqualified(f->getReturnType());
        emit(call_of(function_symbol(f), at->type == to ? at : m.node(PCONV, to, at), returns));
    }
    if (stack && !returning)
        emit(call_of(library_function("__builtin_stack_restore", ctx.VoidTy, {ctx.VoidPtrTy}), m.name(stack),
                     void_t()));
}

void LOWER::leave_block(size_t depth) {
    clean_up(depth);
    cleanups.resize(depth);
}

// How many cleanups are pending at each label: declarations count from where they stand to the end of their block.
void LOWER::find_label_depths() {
    auto pending = [](const Stmt *s) {
        size_t n = 0;
        if (auto *d = dyn_cast_or_null<DeclStmt>(s))
            for (const Decl *decl : d->decls())
                if (auto *v = dyn_cast<VarDecl>(decl); v && !v->hasGlobalStorage())
                    n += v->hasAttr<CleanupAttr>() + v->getType()->isVariableArrayType();
        return n;
    };
    std::vector<std::pair<const Stmt *, size_t>> todo{{func_decl->getBody(), 0}};
    while (!todo.empty()) {
        auto [s, depth] = todo.back();
        todo.pop_back();
        if (!s) continue;
        if (auto *l = dyn_cast<LabelStmt>(s)) label_depths[l->getDecl()] = depth;
        bool block = isa<CompoundStmt>(s) || isa<ForStmt>(s);
        for (const Stmt *part : s->children()) {
            todo.emplace_back(part, depth);
            if (block) depth += pending(part);
        }
    }
}

void LOWER::statement(const Stmt *s) {
    if (!s) return;
    position = psn_of(s->getBeginLoc());
    if (auto *e = dyn_cast<Expr>(s)) return effect(e);
    switch (s->getStmtClass()) {
    case Stmt::NullStmtClass: return;
    case Stmt::CompoundStmtClass: return compound(cast<CompoundStmt>(s), true);
    case Stmt::DeclStmtClass: return declaration(cast<DeclStmt>(s));
    case Stmt::AttributedStmtClass: return statement(cast<AttributedStmt>(s)->getSubStmt());
    case Stmt::LabelStmtClass: {
        auto *l = cast<LabelStmt>(s);
        emit_label(label_of(l->getDecl()));
        return statement(l->getSubStmt());
    }
    case Stmt::CaseStmtClass:
    case Stmt::DefaultStmtClass: {
        // Chains of cases can be long: no recursion along them.
        const Stmt *at = s;
        while (auto *c = dyn_cast_or_null<SwitchCase>(at)) {
            auto it = case_labels.find(c);
            if (it == case_labels.end()) refuse(c->getBeginLoc(), "a case outside its switch");
            emit_label(it->second);
            at = c->getSubStmt();
        }
        return statement(at);
    }
    case Stmt::IfStmtClass: return if_statement(cast<IfStmt>(s));
    case Stmt::ForStmtClass: return for_loop(cast<ForStmt>(s));
    case Stmt::WhileStmtClass: return while_loop(cast<WhileStmt>(s));
    case Stmt::DoStmtClass: return do_loop(cast<DoStmt>(s));
    case Stmt::SwitchStmtClass: return switch_statement(cast<SwitchStmt>(s));
    case Stmt::ReturnStmtClass: return return_statement(cast<ReturnStmt>(s));
    case Stmt::GotoStmtClass: {
        const LabelDecl *to = cast<GotoStmt>(s)->getLabel();
        if (!cleanups.empty()) {
            if (label_depths.empty()) find_label_depths();
            clean_up(label_depths[to]);
        }
        return emit_branch(label_of(to));
    }
    case Stmt::BreakStmtClass: clean_up(jumps.back().depth); return emit_branch(jumps.back().break_label);
    case Stmt::ContinueStmtClass: {
        auto it = std::find_if(jumps.rbegin(), jumps.rend(), [](auto &j) { return j.continue_label; });
        clean_up(it->depth);
        return emit_branch(it->continue_label);
    }
    case Stmt::GCCAsmStmtClass:
    case Stmt::MSAsmStmtClass: return assembly(cast<AsmStmt>(s));
    case Stmt::IndirectGotoStmtClass: return computed_goto(cast<IndirectGotoStmt>(s));
    default: refuse(s->getBeginLoc(), std::string("a statement of kind ") + s->getStmtClassName());
    }
}

void LOWER::if_statement(const IfStmt *s) {
    int yes = new_label(), no = new_label();
    branch_on(s->getCond(), yes, no, true);
    emit_label(yes);
    statement(s->getThen());
    if (!s->getElse()) return emit_label(no);
    int end = new_label();
    emit_branch(end);
    emit_label(no);
    statement(s->getElse());
    emit_label(end);
}

void LOWER::loop_pragmas(SourceLocation where) { pragma_records(pragmas_before(where)); }

void LOWER::for_loop(const ForStmt *s) {
    auto pragmas = pragmas_before(s->getBeginLoc());
    size_t depth = cleanups.size();
    auto *decl = dyn_cast_or_null<DeclStmt>(s->getInit());
    bool scope = false;
    if (decl)
        for (const Decl *d : decl->decls()) scope |= isa<VarDecl>(d);
    if (scope) {
        begin_scope(s->getBeginLoc());
        std::vector<const VarDecl *> vars;
        for (const Decl *d : decl->decls())
            if (auto *v = dyn_cast<VarDecl>(d); v && !v->hasGlobalStorage()) {
                if (v->getType()->isVariableArrayType())
                    refuse(v->getLocation(), "a variable array in the head of a loop");
                QualType body = v->getType();
                body.removeLocalConst();
                MSYM *sym = local(v->getName().str().c_str(), type_of(body));
                sym->cpp_type = source_type(v->getType());
                locals[v] = sym;
                MRECORD &r = func->records.emplace_back();
                r.tag = IF_SYMBOL, r.sym = sym;
            }
        MRECORD &r = func->records.emplace_back();
        r.tag = I_EL, r.psn = position;
    }
    if (s->getInit()) statement(s->getInit());
    position = psn_of(s->getBeginLoc());
    pragma_records(pragmas);
    int head = new_label(), latch = new_label(), end = new_label();
    const Expr *c = s->getCond();
    bool once = c && needs_statements(c); // its own labels and variables exist once: a test at the top only
    if (once) emit_label(head);
    if (c) {
        int in = new_label();
        branch_on(c, in, end, true);
        emit_label(in);
    }
    if (!once) emit_label(head);
    jumps.push_back({end, latch, cleanups.size()});
    statement(s->getBody());
    jumps.pop_back();
    position = psn_of(s->getBeginLoc());
    emit_label(latch);
    if (s->getInc()) effect(s->getInc());
    if (c && !once) {
        int back = new_label();
        branch_on(c, back, end, true);
        emit_label(back);
    }
    emit_branch(head);
    emit_label(end);
    leave_block(depth);
    if (scope) end_scope(s->getEndLoc());
}

void LOWER::while_loop(const WhileStmt *s) {
    loop_pragmas(s->getBeginLoc());
    int head = new_label(), latch = new_label(), end = new_label(), in = new_label(), back = new_label();
    bool once = needs_statements(s->getCond());
    if (once) emit_label(head);
    branch_on(s->getCond(), in, end, true);
    emit_label(in);
    if (!once) emit_label(head);
    jumps.push_back({end, latch, cleanups.size()});
    statement(s->getBody());
    jumps.pop_back();
    position = psn_of(s->getBeginLoc());
    emit_label(latch);
    if (!once) branch_on(s->getCond(), back, end, true);
    emit_label(back);
    emit_branch(head);
    emit_label(end);
}

void LOWER::do_loop(const DoStmt *s) {
    loop_pragmas(s->getBeginLoc());
    int head = new_label(), latch = new_label(), end = new_label(), back = new_label();
    emit_label(head);
    jumps.push_back({end, latch, cleanups.size()});
    statement(s->getBody());
    jumps.pop_back();
    position = psn_of(s->getCond()->getBeginLoc());
    emit_label(latch);
    branch_on(s->getCond(), back, end, true);
    emit_label(back);
    emit_branch(head);
    emit_label(end);
}

// More values than this in one range of cases become a comparison.
constexpr uint64_t CASE_RANGE_LIMIT = 64;

void LOWER::switch_statement(const SwitchStmt *s) {
    int end = new_label(), other = end;
    std::vector<const SwitchCase *> cases;
    for (const SwitchCase *c = s->getSwitchCaseList(); c; c = c->getNextSwitchCase()) cases.push_back(c);
    std::reverse(cases.begin(), cases.end());
    for (const SwitchCase *c : cases) {
        int label = case_labels[c] = new_label();
        if (isa<DefaultStmt>(c)) other = label;
    }
    MNODE *selector = rvalue(s->getCond());
    TYPE *t = selector->type->is_enum() ? selector->type->underlying_type() : selector->type->stqs();
    bool is_unsigned = t->is_unsigned();
    bool wide = t->size > 32;
    std::vector<std::pair<int64_t, int>> values;
    struct RANGE {
        llvm::APSInt low, high;
        int label;
    };
    std::vector<RANGE> ranges;
    for (const SwitchCase *c : cases) {
        auto *cs = dyn_cast<CaseStmt>(c);
        if (!cs) continue;
        llvm::APSInt low = cs->getLHS()->EvaluateKnownConstInt(ctx);
        llvm::APSInt high = cs->getRHS() ? cs->getRHS()->EvaluateKnownConstInt(ctx) : low;
        low = low.extOrTrunc(unsigned(t->size)), high = high.extOrTrunc(unsigned(t->size));
        low.setIsUnsigned(is_unsigned), high.setIsUnsigned(is_unsigned);
        if (high < low) continue; // an empty range
        uint64_t n = (high - low).getZExtValue();
        if (wide || n >= CASE_RANGE_LIMIT) {
            ranges.push_back({low, high, case_labels[c]});
            continue;
        }
        for (uint64_t i = 0; i <= n; i++) {
            llvm::APSInt v = low;
            v += llvm::APSInt(llvm::APInt(v.getBitWidth(), i), v.isUnsigned());
            values.emplace_back(is_unsigned ? int64_t(v.getZExtValue()) : v.getSExtValue(), case_labels[c]);
        }
    }
    auto value_of = [&](const llvm::APSInt &v) {
        return icon(is_unsigned ? int64_t(v.getZExtValue()) : v.getSExtValue(), t);
    };
    if (!ranges.empty() && !is_simple(selector)) {
        MSYM *kept = temp(t);
        emit(m.node(ASG, t, m.name(kept), selector));
        selector = m.name(kept);
    }
    for (RANGE &r : ranges) {
        MNODE *test;
        if (r.low == r.high) test = m.node(NEQ, int_t(), m.copy(selector), value_of(r.low));
        else {
            MNODE *below = m.node(is_unsigned ? ULT : LT, int_t(), m.copy(selector), value_of(r.low));
            MNODE *above = m.node(is_unsigned ? UGT : GT, int_t(), m.copy(selector), value_of(r.high));
            test = m.node(OROR, int_t(), below, above);
        }
        emit_cbranch(test, r.label); // jumps when the value is in the range
    }
    if (!values.empty()) {
        MNODE *chain = nullptr;
        for (auto [v, label] : values) {
            MNODE *c = m.node(CASE, void_t(), icon(v, t), m.label(label, void_t()));
            chain = append_arg(chain, c);
        }
        MNODE *other_node = m.node(DEFAULT, void_t(), m.label(other, void_t()));
        MNODE *sw = m.node(SWITCH, void_t(), selector, append_arg(chain, other_node));
        sw->value = int64_t(values.size());
        emit(sw);
    } else if (ranges.empty()) {
        if (!is_simple(selector)) emit(selector);
    }
    emit_branch(other);
    reachable = false;
    jumps.push_back({end, 0, cleanups.size()});
    statement(s->getBody());
    jumps.pop_back();
    emit_label(end);
}

void LOWER::return_statement(const ReturnStmt *s) {
    MNODE *self = m.name(func->symbol);
    const Expr *e = s->getRetValue();
    bool cleaning = std::any_of(cleanups.begin(), cleanups.end(), [](auto &c) { return c.variable; });
    if (!e) {
        clean_up(0, true);
        if (func_decl->isMain()) return emit(m.node(RETURN, int_t(), self, icon(0, int_t())));
        return emit(m.node(URETURN, void_t(), self));
    }
    if (result_pointer) {
        TYPE *t = unqualified(func_decl->getReturnType());
        MNODE *value = record_value(e);
        if (value->op == NAME && value->sym->level == 2) value = deref(address_of(value), t);
        emit(m.node(STASG, t, deref(m.name(result_pointer), t), value));
        clean_up(0, true);
        return emit(m.node(URETURN, void_t(), self));
    }
    if (e->getType()->isVoidType()) {
        effect(e);
        clean_up(0, true);
        if (reachable) emit(m.node(URETURN, void_t(), self));
        return;
    }
    MNODE *value = rvalue(e);
    if (cleaning) {
        MSYM *kept = temp(value->type);
        emit(m.node(ASG, kept->type, m.name(kept), value));
        value = m.name(kept);
        clean_up(0, true);
    }
    emit(m.node(RETURN, value->type, self, value));
}

// --- local declarations ---

void LOWER::declaration(const DeclStmt *s) {
    for (const Decl *d : s->decls()) {
        if (auto *v = dyn_cast<VarDecl>(d)) {
            position = psn_of(v->getLocation());
            if (v->hasGlobalStorage()) {
                evaluate_array_sizes(v->getType());
                if (v->isStaticLocal() || v->isUsed(false) || v->isReferenced()) variable_symbol(v);
            } else local_variable(v);
        } else if (auto *td = dyn_cast<TypedefNameDecl>(d)) {
            evaluate_array_sizes(td->getUnderlyingType());
        }
    }
}

void LOWER::local_variable(const VarDecl *v) {
    MSYM *&s = locals[v];
    if (!s) { // a declaration in a place without block of its own: one of the outermost block
        QualType q = v->getType();
        QualType body = q;
        body.removeLocalConst();
        TYPE *t = q->isVariableArrayType() ? pointer_to(type_of(ctx.getAsArrayType(q)->getElementType()))
                                           : type_of(body);
        s = local(v->getName().str().c_str(), t);
        s->cpp_type = q->isVariablyModifiedType() ? t : source_type(q);
        if (!q->isVariableArrayType())
            s->align = uint32_t(std::max<int64_t>(s->align, ctx.toBits(ctx.getDeclAlign(v))));
        pending_locals.push_back(s);
    }
    evaluate_array_sizes(v->getType());
    if (v->getType()->isVariableArrayType()) variable_array(v);
    else if (v->getInit()) initialise(m.name(s), v->getInit(), v->getType());
    if (v->hasAttr<CleanupAttr>()) cleanups.push_back({v, nullptr});
}

std::vector<const Expr *> LOWER::size_expressions(QualType q) {
    std::vector<const Expr *> found;
    while (q->isVariablyModifiedType() && !isa<TypedefType>(q)) {
        if (auto *t = dyn_cast<TypeOfExprType>(q)) {
            found.push_back(t->getUnderlyingExpr());
            break;
        }
        QualType plain = q.getSingleStepDesugaredType(ctx);
        if (plain != q) q = plain;
        else if (auto *p = dyn_cast<clang::PointerType>(q)) q = p->getPointeeType();
        else if (auto *f = dyn_cast<clang::FunctionType>(q)) q = f->getReturnType();
        else if (auto *at = dyn_cast<AtomicType>(q)) q = at->getValueType();
        else if (auto *a = dyn_cast<clang::ArrayType>(q)) {
            auto *v = dyn_cast<VariableArrayType>(a);
            if (v && v->getSizeExpr()) found.push_back(v->getSizeExpr());
            q = a->getElementType();
        } else break;
    }
    found.erase(std::remove_if(found.begin(), found.end(), [&](auto *e) { return vla_counts.count(e); }),
                found.end());
    return found;
}

// Evaluates the bounds of variable arrays in a type once, where the type stands in the source.
void LOWER::evaluate_array_sizes(QualType q) {
    for (const Expr *e : size_expressions(q)) {
        MSYM *count = nullptr;
        if (e->getType()->isVariablyModifiedType()) { // the operand of a typeof: a bound is an integer
            if (e->HasSideEffects(ctx) || needs_statements(e)) effect(e);
        } else {
            MNODE *value = convert(rvalue(e), uint_t());
            count = temp(uint_t());
            emit(m.node(ASG, uint_t(), m.name(count), value));
        }
        vla_counts[e] = count;
    }
}

MNODE *LOWER::array_bytes(QualType q) {
    const ArrayType *a = ctx.getAsArrayType(q);
    auto *v = a ? dyn_cast<VariableArrayType>(a) : nullptr;
    if (!v) {
        if (a && isa<ConstantArrayType>(a) && a->getElementType()->isVariablyModifiedType())
            return m.node(MULT, uint_t(),
                          icon(int64_t(cast<ConstantArrayType>(a)->getSize().getZExtValue()), uint_t()),
                          array_bytes(a->getElementType()));
        return icon(int64_t(size_of(q)), uint_t());
    }
    auto count = vla_counts.find(v->getSizeExpr());
    if (count == vla_counts.end()) {
        const Expr *size = v->getSizeExpr();
        refuse(size ? size->getBeginLoc() : SourceLocation(), "a variable array of unknown size");
    }
    return m.node(MULT, uint_t(), m.name(count->second), array_bytes(v->getElementType()));
}

void LOWER::variable_array(const VarDecl *v) {
    MSYM *s = locals[v];
    MSYM *saved = temp(m.package->void_ptr_type());
    emit(m.node(ASG, saved->type, m.name(saved),
                call_of(library_function("__builtin_stack_save", ctx.VoidPtrTy, {}), nullptr,
                        m.package->void_ptr_type())));
    cleanups.push_back({nullptr, saved});
    MSYM *bytes = temp(uint_t());
    emit(m.node(ASG, uint_t(), m.name(bytes), array_bytes(v->getType())));
    vla_sizes[v] = bytes;
    MNODE *space = call_of(library_function("__builtin_alloca", ctx.VoidPtrTy, {ctx.UnsignedIntTy}),
                           m.name(bytes), m.package->void_ptr_type());
    emit(m.node(ASG, s->type, m.name(s), m.node(PCONV, s->type, space)));
}

void LOWER::fill_zero(MNODE *lvalue, uint64_t bytes) {
    MSYM *f = library_function("memset", ctx.VoidPtrTy, {ctx.VoidPtrTy, ctx.IntTy, ctx.UnsignedIntTy});
    MNODE *args = append_arg(nullptr, m.node(PCONV, m.package->void_ptr_type(), address_of(lvalue)));
    args = append_arg(args, icon(0, int_t()));
    args = append_arg(args, icon(int64_t(bytes), uint_t()));
    emit(call_of(f, args, m.package->void_ptr_type()));
}

void LOWER::initialise_string(MNODE *lv, const StringLiteral *s, QualType q) {
    uint64_t room = size_of(q), have = s->getByteLength(), width = s->getCharByteWidth();
    TYPE *vp = m.package->void_ptr_type();
    uint64_t copied = std::min(room, have + width);
    MNODE *from = width == 1 ? m.node(PCONV, vp, string_literal(s))
                             : m.node(PCONV, vp, address_of(m.name(string_object(s))));
    if (room > copied) fill_zero(m.copy(lv), room);
    MNODE *to = m.node(PCONV, vp, address_of(lv));
    MNODE *list = append_arg(append_arg(to, from), icon(int64_t(copied), uint_t()));
    emit(m.node(MEMCPY, vp, list));
}

void LOWER::initialise(MNODE *lv, const Expr *init, QualType q) {
    const Expr *bare = init->IgnoreParens();
    if (auto *ex = dyn_cast<ExprWithCleanups>(bare)) bare = ex->getSubExpr()->IgnoreParens();
    if (q->isArrayType()) {
        if (auto *s = dyn_cast<StringLiteral>(bare)) return initialise_string(lv, s, q);
        if (auto *p = dyn_cast<PredefinedExpr>(bare)) return initialise_string(lv, p->getFunctionName(), q);
        if (auto *c = dyn_cast<CompoundLiteralExpr>(bare)) bare = c->getInitializer()->IgnoreParens();
        if (auto *c = dyn_cast<CastExpr>(bare)) bare = c->getSubExpr()->IgnoreParens();
    }
    if (auto *update = dyn_cast<DesignatedInitUpdateExpr>(bare)) {
        initialise(m.copy(lv), update->getBase(), q);
        return initialise_aggregate(lv, update->getUpdater(), q, HAS_VALUES);
    }
    auto *list = dyn_cast<InitListExpr>(bare);
    if (list && list->isTransparent()) return initialise(lv, list->getInit(0), q);
    if (list && q->isArrayType() && list->isStringLiteralInit()) return initialise(lv, list->getInit(0), q);
    if (list && (q->isArrayType() || q->isRecordType())) return initialise_aggregate(lv, list, q, UNSET);
    if (list && is_wide_vector(q)) return initialise_wide_vector(lv, list, q);
    if (list && q->isVectorType()) {
        MNODE *args = nullptr;
        TYPE *part = unqualified(q->castAs<VectorType>()->getElementType());
        unsigned n = q->castAs<VectorType>()->getNumElements();
        for (unsigned i = 0; i < n; i++)
            args = append_arg(args, i < list->getNumInits() ? rvalue(list->getInit(i))
                                    : part->is_fltpt()      ? float_constant(0, part)
                                                            : icon(0, part));
        return emit(assign(lv, m.node(VPACK, unqualified(q), args)));
    }
    if (list && list->getNumInits() == 1) return initialise(lv, list->getInit(0), q);
    if (list) {
        TYPE *t = unqualified(q);
        return emit(assign(lv, t->is_ptr()     ? null_pointer(t)
                               : t->is_fltpt() ? float_constant(0, t)
                                               : icon(0, t)));
    }
    if (is_record(q)) return emit(m.node(STASG, unqualified(q), lv, record_value(init)));
    if (isa<ImplicitValueInitExpr>(bare)) return;
    emit(assign(lv, rvalue(init)));
}

// Whether every byte of the object is written by the list's own parts, so that no zeros are needed first.
static bool initialises_all(const InitListExpr *list, QualType q, ASTContext &ctx) {
    if (q->isArrayType()) {
        auto *a = dyn_cast<ConstantArrayType>(ctx.getAsArrayType(q));
        if (!a || list->getNumInits() < a->getSize().getZExtValue()) return false;
    } else if (q->castAs<RecordType>()->getDecl()->isUnion()) return false;
    else
        for (const FieldDecl *f : q->castAs<RecordType>()->getDecl()->fields())
            if (f->isBitField()) return false;
    for (const Expr *e : list->inits()) {
        e = e->IgnoreParens();
        if (isa<ImplicitValueInitExpr>(e)) return false;
        if (auto *inner = dyn_cast<InitListExpr>(e))
            if (inner->getType()->isArrayType() || inner->getType()->isRecordType())
                if (!initialises_all(inner, inner->getType(), ctx)) return false;
    }
    return true;
}

// The alignment in bits of a place that is being initialised.
static uint64_t place_alignment(const MNODE *lv) {
    uint64_t align = ~uint64_t(0);
    auto cut = [&](uint64_t n) {
        if (n) align = std::min(align, n & (0 - n));
    };
    while (true) {
        if (lv->op == STDOT) {
            cut(uint64_t(lv->right->member->offset));
            lv = lv->left;
            continue;
        }
        if (lv->op == NAME) return std::min<uint64_t>(align, lv->sym->align);
        const MNODE *p = lv->op == UMULT ? lv->left : nullptr;
        while (p && (p->op == PCONV || (p->op == PLUS && p->right->op == ICON))) {
            if (p->op == PLUS) cut(uint64_t(p->right->value) * 8);
            p = p->left;
        }
        if (!p || p->op != UAND) return std::min<uint64_t>(align, lv->type->align);
        lv = p->left;
    }
}

void LOWER::initialise_aggregate(MNODE *lv, const InitListExpr *list, QualType q, BEFORE_INIT before) {
    if (before == UNSET && !initialises_all(list, q, ctx)) {
        fill_zero(m.copy(lv), size_of(q));
        before = ZEROED;
    }
    auto part = [&](MNODE *target, const Expr *init, QualType type) {
        const Expr *bare = init->IgnoreParens();
        if (isa<ImplicitValueInitExpr>(bare) || isa<NoInitExpr>(bare)) return;
        if (auto *inner = dyn_cast<InitListExpr>(bare); inner && !inner->isTransparent() &&
                                                        !inner->isStringLiteralInit() &&
                                                        (type->isArrayType() || type->isRecordType()))
            return initialise_aggregate(target, inner, type, before);
        if (before == ZEROED && !type->isRecordType() && !type->isArrayType()) {
            Expr::EvalResult value;
            if (bare->EvaluateAsRValue(value, ctx) && !value.HasSideEffects && value.Val.isInt() &&
                value.Val.getInt() == 0)
                return;
        }
        initialise(target, init, type);
    };
    if (q->isArrayType()) {
        QualType elem = ctx.getAsArrayType(q)->getElementType();
        TYPE *t = type_of(elem), *p = pointer_to(t);
        int64_t size = int64_t(size_of(elem));
        uint64_t n = cast<ConstantArrayType>(ctx.getAsArrayType(q))->getSize().getZExtValue();
        uint64_t align = place_alignment(lv);
        const Expr *filler = list->getArrayFiller();
        if (filler && (isa<ImplicitValueInitExpr>(filler) || isa<NoInitExpr>(filler))) filler = nullptr;
        for (uint64_t i = 0; i < n; i++) {
            const Expr *init = i < list->getNumInits() ? list->getInit(unsigned(i)) : filler;
            if (!init) break;
            MNODE *base = m.node(PCONV, p, address_of(m.copy(lv)));
            MNODE *at = i ? m.node(PLUS, p, base, icon(int64_t(i) * size, int_t())) : base;
            part(deref_at(at, t, i ? std::min(align, uint64_t(size) * 8 & (0 - uint64_t(size) * 8)) : align),
                 init, elem);
        }
        return;
    }
    const RecordDecl *r = q->castAs<RecordType>()->getDecl()->getDefinition();
    if (r->isUnion()) {
        if (const FieldDecl *f = list->getInitializedFieldInUnion(); f && list->getNumInits())
            part(member(m.copy(lv), f, type_of(f->getType())), list->getInit(0), f->getType());
        return;
    }
    unsigned i = 0;
    for (const FieldDecl *f : r->fields()) {
        if (f->isUnnamedBitfield()) continue;
        if (i >= list->getNumInits()) break;
        part(member(m.copy(lv), f, type_of(f->getType())), list->getInit(i), f->getType());
        i++;
    }
}
