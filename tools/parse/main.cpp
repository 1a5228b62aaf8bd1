// qlparse: C source to intermediate file.
//
//   qlparse FILE.c... -o FILE.if [compiler options]
//
// Several sources become one file, as if they were one source in which the statics of each are its own.
// Options are those of a compiler (-I -D -U -include -std= -O -W...); --qlopt=OPTION puts an option into the file's
// option set for the optimizer. Exit status: 0 written, 1 refused or failed (nothing is written), 2 usage.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <pthread.h>

#include "clang/AST/ASTConsumer.h"
#include "clang/AST/ASTImporter.h"
#include "clang/AST/ASTImporterSharedState.h"
#include "clang/Frontend/ASTUnit.h"
#include "clang/Frontend/CompilerInstance.h"
#include "clang/Frontend/FrontendActions.h"
#include "clang/Lex/Pragma.h"
#include "clang/Lex/Preprocessor.h"
#include "clang/Tooling/Tooling.h"

#include "tools/parse/attributes.h"
#include "tools/parse/lower.h"

using namespace clang;

namespace {

struct OPTIONS {
    std::vector<std::string> inputs;
    std::string output;
    bool big_endian = false, soft_float = false;
    std::vector<std::string> compiler;  // passed to the front end
    std::vector<std::string> optimizer; // recorded in the file
};

std::vector<SOURCE_PRAGMA> pragmas;
std::unique_ptr<MODEL> model;
bool lowered = false;

// #pragma MUST_ITERATE(8, 64, 8), #pragma FUNC_CANNOT_INLINE(name) and their kin.
class QL_PRAGMA_HANDLER : public PragmaHandler {
    int number;
    bool of_function;

  public:
    QL_PRAGMA_HANDLER(const char *name, int number, bool of_function)
        : PragmaHandler(name), number(number), of_function(of_function) {}

    void HandlePragma(Preprocessor &pp, PragmaIntroducer intro, Token &first) override {
        SOURCE_PRAGMA p;
        p.where = intro.Loc;
        p.number = number;
        (void)first;
        Token t;
        pp.Lex(t);
        std::string current;
        bool open = t.is(tok::l_paren), any = false;
        if (open) {
            for (pp.Lex(t); !t.is(tok::eod) && !t.is(tok::r_paren); pp.Lex(t)) {
                if (t.is(tok::comma)) {
                    p.args.push_back(current);
                    current.clear();
                } else current += pp.getSpelling(t);
                any = true;
            }
            if (any) p.args.push_back(current);
        }
        while (!t.is(tok::eod)) pp.Lex(t);
        if (of_function && !p.args.empty()) {
            p.function = p.args[0];
            p.args.erase(p.args.begin());
            for (std::string &a : p.args)
                if (a.size() >= 2 && a.front() == '"') a = a.substr(1, a.size() - 2);
        }
        if (number == PRAG_MUST_ITERATE || number == PRAG_PROB_ITERATE) {
            p.args.resize(number == PRAG_MUST_ITERATE ? 3 : 2);
            if (p.args[0].empty()) p.args[0] = "0";
        }
        pragmas.push_back(p);
    }
};

// The pragmas of loops, and those that name a function in their first argument.
const struct {
    int number;
    bool of_function;
} source_pragma_rows[] = {
    {PRAG_MUST_ITERATE, false},      {PRAG_PROB_ITERATE, false},      {PRAG_UNROLL, false},
    {PRAG_PARALLEL_LOOP, false},     {PRAG_COALESCE_LOOP, false},     {PRAG_NO_COALESCE_LOOP, false},
    {PRAG_LOOP_NO_ALIAS, false},     {PRAG_FUNC_NEVER_RETURNS, true}, {PRAG_FUNC_CANNOT_INLINE, true},
    {PRAG_FUNC_NO_GLOBAL_ASG, true}, {PRAG_FUNC_NO_IND_ASG, true},    {PRAG_FUNC_IS_PURE, true},
    {PRAG_FUNC_IS_SYSTEM, true},     {PRAG_FUNC_EXT_CALLED, true},    {PRAG_FUNC_ALWAYS_INLINE, true},
    {PRAG_CODE_SECTION, true},       {PRAG_DATA_SECTION, true},       {PRAG_DATA_ALIGN, true},
    {PRAG_CODE_STATE, true},         {PRAG_SYM_IS_REFERENCED, true},
};

class LOWER_CONSUMER : public ASTConsumer {
  public:
    void HandleTranslationUnit(ASTContext &context) override {
        if (context.getDiagnostics().hasErrorOccurred()) return;
        LOWER lower(context, *model, pragmas);
        try {
            lower.translation_unit();
            lowered = true;
        } catch (REFUSED &) {}
    }
};

void add_pragma_handlers(CompilerInstance &ci) {
    add_refused_pragmas(ci.getPreprocessor());
    for (auto &row : source_pragma_rows)
        ci.getPreprocessor().AddPragmaHandler(
            new QL_PRAGMA_HANDLER(PRAGMA::name(row.number), row.number, row.of_function));
}

class LOWER_ACTION : public ASTFrontendAction {
    std::unique_ptr<ASTConsumer> CreateASTConsumer(CompilerInstance &ci, StringRef) override {
        add_pragma_handlers(ci);
        return std::make_unique<LOWER_CONSUMER>();
    }
};

// --- several sources as one ---
// Each is parsed by itself; the declarations of the others are imported into the first, where those that mean the same
// thing become one. Tags, typedef names and enumerators of one name may mean different things: they stay apart, and with
// them the declarations that name them. Of an object or function that a source defines there must be one meaning.

class PARSE_ACTION : public ASTFrontendAction {
    std::unique_ptr<ASTConsumer> CreateASTConsumer(CompilerInstance &ci, StringRef) override {
        add_pragma_handlers(ci);
        return std::make_unique<ASTConsumer>();
    }
};

class KEEP_UNIT : public tooling::ToolAction {
  public:
    std::vector<std::unique_ptr<ASTUnit>> units;
    bool runInvocation(std::shared_ptr<CompilerInvocation> invocation, FileManager *,
                       std::shared_ptr<PCHContainerOperations> containers,
                       DiagnosticConsumer *consumer) override {
        auto diagnostics =
            CompilerInstance::createDiagnostics(&invocation->getDiagnosticOpts(), consumer, false);
        PARSE_ACTION action;
        ASTUnit *unit =
            ASTUnit::LoadFromCompilerInvocationAction(invocation, containers, diagnostics, &action);
        units.emplace_back(unit);
        return unit && !diagnostics->hasErrorOccurred();
    }
};

void report_misfit(const SourceManager &sources, const Decl *d) {
    PresumedLoc p = sources.getPresumedLoc(d->getLocation());
    auto *n = dyn_cast<NamedDecl>(d);
    fprintf(stderr, "%s:%u:%u: error: %s does not fit the other sources\n",
            p.isValid() ? p.getFilename() : "?", p.isValid() ? p.getLine() : 0,
            p.isValid() ? p.getColumn() : 0,
            n ? ("'" + n->getNameAsString() + "'").c_str() : "a declaration");
}

// Two declarations of one linkable name that the import kept apart, where a source defines it, contradict each other.
bool linked_names_agree(ASTUnit &unit) {
    struct NAMED {
        const Decl *meaning;
        const Decl *second = nullptr;
        bool defined = false;
    };
    std::map<StringRef, NAMED> names;
    for (const Decl *d : unit.getASTContext().getTranslationUnitDecl()->decls()) {
        auto *n = dyn_cast<NamedDecl>(d);
        if (!n || !n->getIdentifier() || !(isa<FunctionDecl>(d) || isa<VarDecl>(d)) ||
            !n->hasExternalFormalLinkage())
            continue;
        NAMED &row = names.try_emplace(n->getName(), NAMED{d->getCanonicalDecl()}).first->second;
        if (d->getCanonicalDecl() != row.meaning && !row.second) row.second = d;
        auto *v = dyn_cast<VarDecl>(d);
        row.defined |= v ? v->isThisDeclarationADefinition() != VarDecl::DeclarationOnly
                         : cast<FunctionDecl>(d)->isThisDeclarationADefinition();
    }
    bool ok = true;
    for (auto &[name, row] : names)
        if (row.second && row.defined) report_misfit(unit.getSourceManager(), row.second), ok = false;
    return ok;
}

bool import_unit(ASTUnit &from, ASTUnit &to, std::shared_ptr<ASTImporterSharedState> state,
                 size_t first_pragma) {
    ASTImporter importer(to.getASTContext(), to.getFileManager(), from.getASTContext(), from.getFileManager(),
                         false, state);
    importer.setODRHandling(ASTImporter::ODRHandlingType::Liberal);
    for (const Decl *d : from.getASTContext().getTranslationUnitDecl()->decls()) {
        if (auto *n = dyn_cast<NamedDecl>(d); n && n->getIdentifier() && n->getName() == "__builtin_va_list")
            continue;
        auto imported = importer.Import(const_cast<Decl *>(d));
        if (imported) continue;
        llvm::consumeError(imported.takeError());
        report_misfit(from.getSourceManager(), d);
        return false;
    }
    for (size_t i = first_pragma; i < pragmas.size(); i++)
        if (auto where = importer.Import(pragmas[i].where)) pragmas[i].where = *where;
        else llvm::consumeError(where.takeError());
    return true;
}

bool lower_together(const std::vector<std::string> &command, const std::vector<std::string> &inputs,
                    FileManager *files) {
    KEEP_UNIT keep;
    std::vector<size_t> first_pragma;
    bool ok = true;
    for (const std::string &name : inputs) {
        first_pragma.push_back(pragmas.size());
        std::vector<std::string> whole = command;
        whole.push_back(name);
        tooling::ToolInvocation run(whole, &keep, files, std::make_shared<PCHContainerOperations>());
        ok &= run.run();
    }
    if (!ok) return false;
    ASTUnit &first = *keep.units[0];
    auto state = std::make_shared<ASTImporterSharedState>(*first.getASTContext().getTranslationUnitDecl());
    first_pragma.push_back(pragmas.size());
    for (size_t i = 1; i < keep.units.size(); i++) {
        std::vector<SOURCE_PRAGMA> later(pragmas.begin() + long(first_pragma[i + 1]), pragmas.end());
        pragmas.resize(first_pragma[i + 1]);
        ok &= import_unit(*keep.units[i], first, state, first_pragma[i]);
        pragmas.insert(pragmas.end(), later.begin(), later.end());
    }
    if (!ok || !linked_names_agree(first)) return false;
    LOWER_CONSUMER().HandleTranslationUnit(first.getASTContext());
    return lowered;
}

void usage(FILE *to) {
    fputs("Usage: qlparse FILE.c... -o FILE.if [options]\n"
          "Translates C source files into one intermediate file; several become one program.\n"
          "  -o FILE             the file to write (default: the source's name with .if)\n"
          "  -I -D -U -include -std= -f... -W... -O... -x   as for a compiler\n"
          "  --endian=little|big the byte order of the target (little)\n"
          "  --float=hard|soft   the calling convention of floats (hard)\n"
          "  --qlopt=OPTION      record an option for the optimizer in the file\n"
          "  --help              this text\n"
          "Exit status: 0 the file was written; 1 errors in the source, or something that is not taken (told "
          "with its\n"
          "position), nothing is written; 2 wrong usage.\n",
          to);
}

bool takes_value(const char *a) {
    for (const char *o : {"-I", "-D", "-U", "-include", "-isystem", "-x", "-iquote", "-MF", "-MT", "-MQ"})
        if (!strcmp(a, o)) return true;
    return false;
}

// Options of the front end that ask for code which is not made here.
bool changes_code(const std::string &a) {
    for (const char *o :
         {"-finstrument-functions", "-ftrapv", "-fsanitize=", "-fopenmp", "-fprofile-", "-pg", "-fblocks"})
        if (a.rfind(o, 0) == 0) return true;
    return false;
}

OPTIONS parse_options(int argc, char **argv) {
    OPTIONS o;
    for (int i = 1; i < argc; i++) {
        std::string a = argv[i];
        if (a == "--help") {
            usage(stdout);
            exit(0);
        } else if (a == "-o" && i + 1 < argc) o.output = argv[++i];
        else if (a == "--endian=big") o.big_endian = true;
        else if (a == "--endian=little") o.big_endian = false;
        else if (a == "--float=soft") o.soft_float = true;
        else if (a == "--float=hard") o.soft_float = false;
        else if (changes_code(a)) {
            fprintf(stderr, "qlparse: the option %s is not supported\n", argv[i]);
            exit(2);
        } else if (a.rfind("--qlopt=", 0) == 0) o.optimizer.push_back(a.substr(8));
        else if (takes_value(argv[i]) && i + 1 < argc) {
            o.compiler.push_back(a);
            o.compiler.push_back(argv[++i]);
        } else if (a[0] == '-' && a.size() > 1) o.compiler.push_back(a);
        else o.inputs.push_back(a);
    }
    if (o.inputs.empty()) {
        usage(stderr);
        exit(2);
    }
    if (o.output.empty()) o.output = o.inputs[0].substr(0, o.inputs[0].rfind('.')) + ".if";
    return o;
}

bool file_exists(const char *path) {
    FILE *f = fopen(path, "r");
    if (f) fclose(f);
    return f != nullptr;
}

// Parsing and lowering recurse with the nesting of brackets: the stack is reserved for that depth, not touched.
constexpr unsigned BRACKET_DEPTH = 20000;
constexpr size_t STACK_BYTES = size_t(2) << 30;

int translate(const OPTIONS &o) {
    for (const std::string &name : o.inputs)
        if (!file_exists(name.c_str())) {
            fprintf(stderr, "qlparse: cannot open %s\n", name.c_str());
            return 1;
        }
    std::string abi = o.soft_float ? "gnueabi" : "gnueabihf";
    std::vector<std::string> command{"clang",
                                     "--target=" + std::string(o.big_endian ? "armebv7a" : "armv7a") +
                                         "-none-linux-" + abi,
                                     "-mfpu=neon",
                                     "-fsyntax-only",
                                     "-fbracket-depth=" + std::to_string(BRACKET_DEPTH),
                                     "-std=gnu11",
                                     "-resource-dir",
                                     QL_CLANG_RESOURCE_DIR,
                                     "-nostdlibinc",
                                     "-isystem",
                                     "/usr/arm-linux-" + abi + "/include",
                                     "-D__QL__=1",
                                     "-U__OPTIMIZE__",
                                     "-D_FORTIFY_SOURCE=0",
                                     "-fno-builtin-expect",
                                     "-Wno-everything"};
    command.erase(std::remove(command.begin(), command.end(), "-fno-builtin-expect"), command.end());
    command.insert(command.end(), o.compiler.begin(), o.compiler.end());
    command.push_back("-Wno-unknown-pragmas");

    TYPE_PKG::abi = 1;
    model = std::make_unique<MODEL>();
    model->file_name = o.inputs[0];
    model->producer = "qlparse";
    OPTION_SET set;
    set.strings.push_back("--abi=eabi");
    if (o.big_endian) set.strings.push_back("--endian=big");
    for (const std::string &s : o.optimizer) set.strings.push_back(s);
    model->options.push_back(set);

    llvm::IntrusiveRefCntPtr<FileManager> files(new FileManager(FileSystemOptions()));
    if (o.inputs.size() > 1) {
        if (!lower_together(command, o.inputs, files.get())) return 1;
    } else {
        command.push_back(o.inputs[0]);
        tooling::ToolInvocation run(command, std::make_unique<LOWER_ACTION>(), files.get());
        if (!run.run() || !lowered) return 1;
    }
    return write_model(*model, o.output.c_str()) ? 0 : 1;
}

} // namespace

int main(int argc, char **argv) {
    OPTIONS o = parse_options(argc, argv);
    int status = 1;
    std::pair<OPTIONS *, int *> job{&o, &status};
    auto body = [](void *p) -> void * {
        auto *work = static_cast<std::pair<OPTIONS *, int *> *>(p);
        *work->second = translate(*work->first);
        return nullptr;
    };
    pthread_attr_t attr;
    pthread_attr_init(&attr);
    pthread_attr_setstacksize(&attr, STACK_BYTES);
    pthread_t thread;
    if (pthread_create(&thread, &attr, body, &job)) {
        fputs("qlparse: no address space for the stack\n", stderr);
        return 1;
    }
    pthread_join(thread, nullptr);
    return status;
}
