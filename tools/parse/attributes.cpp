#include "tools/parse/attributes.h"

#include <deque>
#include <string>
#include <vector>

#include "clang/AST/Expr.h"
#include "clang/Basic/TargetInfo.h"
#include "clang/Lex/Pragma.h"
#include "clang/Sema/ParsedAttr.h"
#include "clang/Sema/Sema.h"

using namespace clang;

namespace {

bool is_other_order(StringRef order, const TargetInfo &target) {
    return order != (target.isBigEndian() ? "big-endian" : "little-endian");
}

// Options that add code of their own, in the words that come after -f.
bool asks_for_code(StringRef options) {
    return options.contains("trapv") || options.contains("instrument-functions");
}

std::string text_of(const ParsedAttr &a) {
    std::string all;
    for (unsigned i = 0; i < a.getNumArgs(); i++)
        if (auto *e = a.isArgExpr(i) ? a.getArgAsExpr(i) : nullptr)
            if (auto *s = dyn_cast<StringLiteral>(e->IgnoreParenCasts())) all += s->getBytes().str() + " ";
    return StringRef(all).rtrim().str();
}

bool always(const ParsedAttr &, Sema &) { return true; }
bool other_order(const ParsedAttr &a, Sema &s) {
    return is_other_order(text_of(a), s.Context.getTargetInfo());
}
bool other_code(const ParsedAttr &a, Sema &) { return asks_for_code(text_of(a)); }

const struct REFUSED_ATTRIBUTE {
    const char *name;
    bool (*changes_meaning)(const ParsedAttr &, Sema &);
    const char *reason;
} refused_attributes[] = {
    // clang-format off
    {"scalar_storage_order", other_order, "a record of the other byte order"},
    {"noinit",               always,      "an object whose value outlives a restart"},
    {"persistent",           always,      "an object whose value outlives a restart"},
    {"copy",                 always,      "the attributes of another declaration"},
    {"symver",               always,      "a name with a version"},
    {"hardbool",             always,      "a truth value other than 0 and 1"},
    {"isr",                  always,      "a function with another entry and exit"},
    {"optimize",             other_code,  "an option that adds code"},
    // clang-format on
};

class REFUSED_ATTRIBUTES : public ParsedAttrInfo {
    std::deque<std::string> names;
    std::vector<Spelling> all;

  public:
    REFUSED_ATTRIBUTES() {
        OptArgs = 15; // the most that there can be: it stands for any number
        for (auto &row : refused_attributes) {
            all.push_back({AttributeCommonInfo::AS_GNU, row.name});
            names.push_back(std::string("gnu::") + row.name);
            all.push_back({AttributeCommonInfo::AS_C2x, names.back().c_str()});
        }
        Spellings = all;
    }
    AttrHandling handleDeclAttribute(Sema &s, Decl *, const ParsedAttr &a) const override {
        StringRef name = a.getAttrName()->getName();
        if (name.startswith("__") && name.endswith("__") && name.size() > 4)
            name = name.drop_front(2).drop_back(2);
        for (auto &row : refused_attributes)
            if (name == row.name && row.changes_meaning(a, s)) {
                unsigned id =
                    s.Diags.getCustomDiagID(DiagnosticsEngine::Error, "qlparse does not take this: %0 (%1)");
                s.Diag(a.getLoc(), id) << row.reason << name;
            }
        return AttributeApplied;
    }
};

ParsedAttrInfoRegistry::Add<REFUSED_ATTRIBUTES> registered("qlparse", "attributes that are not taken");

// The whole text of a pragma decides; an empty reason: it is only advice.
class REFUSED_PRAGMA : public PragmaHandler {
    const char *(*reason)(StringRef text, const TargetInfo &);

  public:
    REFUSED_PRAGMA(const char *name, const char *(*reason)(StringRef, const TargetInfo &))
        : PragmaHandler(name), reason(reason) {}
    void HandlePragma(Preprocessor &pp, PragmaIntroducer intro, Token &first) override {
        std::string text, name = pp.getSpelling(first);
        Token t;
        for (pp.Lex(t); t.isNot(tok::eod); pp.Lex(t)) text += pp.getSpelling(t);
        const char *why = reason(text, pp.getTargetInfo());
        if (!why) return;
        DiagnosticsEngine &d = pp.getDiagnostics();
        unsigned id =
            d.getCustomDiagID(DiagnosticsEngine::Error, "qlparse does not take this: %0 (#pragma %1)");
        pp.Diag(intro.Loc, id) << why << name;
    }
};

} // namespace

void add_refused_pragmas(Preprocessor &pp) {
    pp.AddPragmaHandler(new REFUSED_PRAGMA(
        "scalar_storage_order", [](StringRef text, const TargetInfo &target) -> const char * {
            return text != "default" && is_other_order(text, target) ? "records of the other byte order"
                                                                     : nullptr;
        }));
    pp.AddPragmaHandler("GCC", new REFUSED_PRAGMA("optimize", [](StringRef text, const TargetInfo &) {
                            return asks_for_code(text) ? "an option that adds code" : nullptr;
                        }));
}
