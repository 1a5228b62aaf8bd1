#include "tools/model/model.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

struct RESULT {
    int status = -1; // exit status; 128 + the signal when one killed it
    std::string out, err;
};

std::string contents(const fs::path &path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

void put(const fs::path &path, const std::string &text) { std::ofstream(path, std::ios::binary) << text; }

// Each test has a directory of its own, in which qlopt runs.
class cmdline : public testing::Test {
  protected:
    fs::path dir;

    void SetUp() override {
        std::string name = testing::TempDir() + "cmdlineXXXXXX";
        dir = mkdtemp(name.data());
    }
    void TearDown() override { fs::remove_all(dir); }

    // Starts qlopt; `meanwhile` runs with its process id before it is waited for.
    RESULT run(std::vector<std::string> args, const std::function<void(pid_t)> &meanwhile = {},
               const char *environment = nullptr) {
        args.insert(args.begin(), "qlopt");
        std::vector<char *> argv;
        for (std::string &arg : args) argv.push_back(arg.data());
        argv.push_back(nullptr);
        pid_t pid = fork();
        if (pid == 0) {
            if (chdir(dir.c_str()) != 0) _exit(99);
            dup2(open(".out", O_CREAT | O_TRUNC | O_WRONLY, 0600), 1);
            dup2(open(".err", O_CREAT | O_TRUNC | O_WRONLY, 0600), 2);
            if (environment) putenv(const_cast<char *>(environment));
            execv(QLOPT, argv.data());
            _exit(99);
        }
        if (meanwhile) meanwhile(pid);
        int status = 0;
        waitpid(pid, &status, 0);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), contents(dir / ".out"),
                contents(dir / ".err")};
    }

    // A file with functions int f<i>(void) { return i; } and these option sets.
    void write_input(const char *name, int functions,
                     const std::vector<std::vector<std::string>> &sets = {{}}) {
        MODEL model;
        TYPE *type_of_int = model.package->int_type();
        for (size_t id = 0; id < sets.size(); ++id)
            model.options.push_back({static_cast<unsigned>(id), sets[id]});
        for (int i = 0; i < functions; ++i) {
            MSYM *symbol = model.symbol(("f" + std::to_string(i)).c_str(),
                                        model.package->mk_func(type_of_int, std::vector<TYPE *>()), 2);
            model.globals.push_back(symbol);
            MITEM item;
            item.func = std::make_unique<MFUNC>();
            item.func->symbol = symbol;
            const auto add = [&](int tag) -> MRECORD & {
                item.func->records.emplace_back();
                item.func->records.back().tag = tag;
                item.func->records.back().psn = model.psn("f.c", static_cast<unsigned>(i + 1), 1);
                return item.func->records.back();
            };
            add(I_BF).sym = symbol;
            add(I_EA);
            add(I_EL);
            add(IF_STATEMENT).tree =
                model.node(RETURN, type_of_int, model.name(symbol), model.icon(i, type_of_int));
            add(I_EF);
            model.items.push_back(std::move(item));
        }
        ASSERT_TRUE(write_model(model, (dir / name).c_str()));
    }

    // The files in the directory, but those of the test itself.
    std::string files() {
        std::vector<std::string> names;
        for (const auto &entry : fs::directory_iterator(dir))
            if (std::string name = entry.path().filename(); name[0] != '.') names.push_back(name);
        std::sort(names.begin(), names.end());
        std::string all;
        for (const std::string &name : names) all += (all.empty() ? "" : " ") + name;
        return all;
    }
};

} // namespace

TEST_F(cmdline, refused_with_a_message_and_without_output) {
    write_input("in.if", 1);
    put(dir / "text.if", "int main() {}\n");
    std::string whole = contents(dir / "in.if");
    put(dir / "cut.if", whole.substr(0, whole.size() - 10));
    put(dir / "old.out", "left by another run");
    const struct {
        std::vector<std::string> args;
        const char *message;
    } cases[] = {
        {{}, "\n>> Cannot Open Input icode File, No such file or directory : , Aborting\n"},
        {{"none.if"}, "\n>> Cannot Open Input icode File, No such file or directory : none.if, Aborting\n"},
        {{"."}, "Aborting\n"},
        {{"text.if"}, "\n>> Error when opening input icode file : text.if, Aborting\n"},
        {{"cut.if"}, "cut.if"},
        {{"in.if", "a", "b"}, "\n>>>> OPTIMIZER ERROR: Garbage on command line\n\n"},
        {{"in.if", "a", "b", "c"}, "\n>>>> OPTIMIZER ERROR: Unexpected options: in.if a c\n"},
        {{"in.if", "in.if"}, "\n>>>> OPTIMIZER ERROR: Output file is the input file: in.if\n\n"},
        {{"in.if", "./../" + dir.filename().string() + "/in.if"}, "Output file is the input file"},
        {{"in.if", "no/dir/out"},
         "\n>> Cannot Open Output icode File, No such file or directory : no/dir/out, Aborting\n"},
        {{"in.if", std::string(5000, 'x')}, "File name is too long"},
        {{"--nope", "in.if", "--what=1"},
         "error: Option --nope is not valid on the command line\n"
         "error: Option --what=1 is not valid on the command line\n"},
        {{"--opt_level=9", "in.if"},
         "error: bad argument to option --opt_level: should be one of {off,0,1,2,3,4}\n"},
        {{"in.if", "--opt_level"}, "error: option --opt_level is missing its parameter 'level'\n"},
        {{"in.if", "--opt_passes=0,78"}, "Pass 78, from command-line option, is not in the range 0 to 77\n"},
        {{"in.if", "--opt_passes=-1"}, "Pass -1, from command-line option, is not in the range 0 to 77\n"},
        {{"-o3", "in.if", "--gen_opt_info", "--info_file=no/dir/info"},
         "\n>> Cannot Open Info File, No such file or directory : no/dir/info, Aborting\n"},
    };
    for (const auto &c : cases) {
        RESULT result = run(c.args);
        std::string shown = c.args.empty() ? "" : c.args[0] + " " + c.args.back().substr(0, 40);
        EXPECT_EQ(result.status, 1) << shown << result.err;
        EXPECT_NE(result.err.find(c.message), std::string::npos) << shown << ": " << result.err;
        EXPECT_EQ(files(), "cut.if in.if old.out text.if") << shown;
    }
    EXPECT_EQ(contents(dir / "in.if"), whole);
}

TEST_F(cmdline, output_is_complete_or_gone) {
    write_input("in.if", 3);
    // The device takes nothing, which shows when the file is closed at the latest. A device is not removed.
    RESULT result = run({"in.if", "/dev/full"});
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.err.find("Cannot Write Output icode File"), std::string::npos) << result.err;
    EXPECT_TRUE(fs::exists("/dev/full"));

    result = run({"in.if", "--opt_passes=99", "out"}); // found out after the output was opened
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(files(), "in.if");
}

TEST_F(cmdline, output_is_named_after_the_input) {
    write_input("in.if", 2);
    EXPECT_EQ(run({"in.if"}).status, 0);
    EXPECT_EQ(files(), "in.if in.opt");
    EXPECT_EQ(run({"in.if", "second"}).status, 0);
    EXPECT_EQ(files(), "in.if in.opt second");
    auto model = read_model((dir / "in.opt").c_str());
    EXPECT_EQ(
        std::count_if(model->items.begin(), model->items.end(), [](const MITEM &i) { return !!i.func; }), 2);
    // The command line is noted ahead of the functions.
    ASSERT_FALSE(model->items.empty());
    EXPECT_EQ(model->items[0].record.text, ";\tqlopt in.if ");
    // Names of source files outlive the input.
    for (const MITEM &item : model->items)
        EXPECT_STREQ(item.func ? item.func->records[0].psn->file : "f.c", "f.c");
    // An optimized file can be optimized again.
    EXPECT_EQ(run({"in.opt", "third"}).status, 0);
}

TEST_F(cmdline, file_without_functions_or_option_sets) {
    write_input("in.if", 0, {});
    for (const char *level : {"-o0", "-o1", "-o2", "-o3", "-o4"}) {
        RESULT result = run({level, "in.if"});
        EXPECT_EQ(result.status, 0) << level << result.err;
        EXPECT_TRUE(fs::remove(dir / "in.opt"));
    }
}

TEST_F(cmdline, option_sets_pass_through_and_the_command_line_overrides) {
    write_input("in.if", 1, {{"--opt_level=1", "--debug:x"}, {"-o3"}});
    RESULT result = run({"--dump_options", "-o2", "in.if"});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.out.find("ENUMERATED ARG: \"2\"\n"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("STRING LIST ARG: \"x\"\n"), std::string::npos) << result.out;
    EXPECT_EQ(files(), "in.if");
    result = run({"--dump_options", "--ignore_file_options", "in.if"});
    EXPECT_EQ(result.out.find("STRING LIST"), std::string::npos) << result.out;

    EXPECT_EQ(run({"-o2", "in.if"}).status, 0);
    auto model = read_model((dir / "in.opt").c_str());
    ASSERT_EQ(model->options.size(), 2u);
    EXPECT_EQ(model->options[0].strings, (std::vector<std::string>{"--opt_level=1", "--debug:x"}));
    EXPECT_EQ(model->options[1].strings, (std::vector<std::string>{"-o3"}));
}

TEST_F(cmdline, options_of_the_file_that_are_not_known_are_ignored_with_a_warning) {
    write_input("in.if", 1, {{"--of_a_later_release=1"}});
    RESULT result = run({"in.if"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "warning: Option --of_a_later_release=1 is not valid in in.if (ignored)\n");
}

TEST_F(cmdline, listings_need_no_input) {
    put(dir / "old.out", "left by another run");
    RESULT result = run({"--list_passes", "none.if", "old.out"});
    EXPECT_EQ(result.status, 0);
    std::istringstream lines(result.err);
    std::vector<std::string> passes;
    for (std::string line; std::getline(lines, line);) passes.push_back(line);
    ASSERT_EQ(passes.size(), 78u);
    for (size_t i = 0; i < passes.size(); ++i) EXPECT_EQ(atoi(passes[i].c_str()), static_cast<int>(i));
    EXPECT_EQ(passes[0], " 0:  pass 1 fcp/eda");
    EXPECT_EQ(passes[28], "28:  forward_substitution");
    EXPECT_EQ(passes[59], "59:  SSA_reg_promote_with_simpcfg");
    EXPECT_EQ(passes[77], "77:  late LIR");

    for (const char *option : {"--help", "-?"}) {
        result = run({option});
        EXPECT_EQ(result.status, 0);
        EXPECT_TRUE(result.out.starts_with("Usage: qlopt [-options] filename\n")) << result.out;
    }
    EXPECT_EQ(run({"--toolversion"}).out, "QL ARM C/C++ Optimizer\nBuild Number 1.0\n");
    EXPECT_EQ(contents(dir / "old.out"), "left by another run");
}

TEST_F(cmdline, debug_and_information_files) {
    write_input("in.if", 2);
    RESULT result = run({"-o3", "--print_debug", "--debug:validate", "in.if"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(files(), "in.if in.nfo in.odb in.opt");
    std::string text = contents(dir / "in.odb");
    // Every function goes through every pass, in order; barriers run once.
    size_t at = 0;
    for (const char *line :
         {"ENTERING step 0 'pass 1 fcp/eda'", "ENTERING step 2 'value", "ENTERING step 0 'pass 1",
          "ENTERING step 3 'analyze globals'", "ENTERING step 10 'set call-graph order'",
          "ENTERING step 11 'pass 2 inits'", "ENTERING step 77 'late LIR'",
          "ENTERING step 78 'output function'", "ENTERING step 11 'pass 2 inits'",
          "ENTERING step 78 'output function'", "== PASS TIMES", "== END OF DEBUG OUTPUT==\n"}) {
        at = text.find(line, at);
        ASSERT_NE(at, std::string::npos) << line;
        ++at;
    }
    EXPECT_EQ(text.find("'analyze globals'"), text.rfind("ENTERING step 3 'analyze globals'") + 16);
    EXPECT_TRUE(contents(dir / "in.nfo").starts_with("QL ARM C/C++ Optimizer\nBuild Number 1.0\n"));
    EXPECT_TRUE(contents(dir / "in.nfo").ends_with("\n== END OF INFO OUTPUT==\n"));
}

TEST_F(cmdline, debug_text_of_each_function_in_a_file_of_its_own) {
    write_input("in.if", 2);
    EXPECT_EQ(run({"--print_debug", "--debug:split_odb", "in.if"}).status, 0);
    EXPECT_EQ(files(), "in.f0.odb in.f1.odb in.if in.nfo in.odb in.opt");
    for (const char *name : {"in.f0.odb", "in.f1.odb"}) {
        std::string text = contents(dir / name);
        EXPECT_NE(text.find("ENTERING step 1 "), std::string::npos) << name; // before the barriers
        EXPECT_NE(text.find("EXITING step 78 "), std::string::npos) << name;
        EXPECT_EQ(text.find("ENTERING step 3 "), std::string::npos) << name;
    }
    std::string text = contents(dir / "in.odb");
    EXPECT_NE(text.find("ENTERING step 3 "), std::string::npos);
    EXPECT_EQ(text.find("ENTERING step 11 "), std::string::npos);
}

TEST_F(cmdline, a_drawing_of_each_function) {
    write_input("in.if", 2);
    for (int again = 0; again < 2; ++again) {
        EXPECT_EQ(run({"--debug:draw_cfg", "in.if"}).status, 0);
        EXPECT_EQ(files(), "in.dot in.if in.opt");
        std::string text = contents(dir / "in.dot");
        size_t first = text.find("digraph"), second = text.find("digraph", first + 1);
        EXPECT_EQ(first, 0u);
        EXPECT_NE(second, std::string::npos);
        EXPECT_EQ(text.find("digraph", second + 1), std::string::npos) << "an old drawing was kept";
        EXPECT_NE(text.find("return"), std::string::npos) << text;
    }
}

TEST_F(cmdline, forced_orders) {
    write_input("in.if", 2);
    const auto steps = [&](std::vector<std::string> args, const char *environment) {
        args.insert(args.end(), {"--print_debug", "in.if"});
        RESULT result = run(args, {}, environment);
        EXPECT_EQ(result.status, 0) << result.err;
        return contents(dir / "in.odb");
    };
    std::string text = steps({"--opt_passes=1, 3 1 x 5"}, "FORCED_OPT_PASSES=2");
    EXPECT_NE(text.find("Pass list, from command-line option, is:  1 3 1\n"), std::string::npos)
        << text.substr(0, 2000);
    EXPECT_EQ(text.find("ENTERING step 5 "), std::string::npos);
    text = steps({}, "FORCED_OPT_PASSES=,");
    EXPECT_NE(text.find("Pass list, from environment variable, is: <empty>\n"), std::string::npos);
    EXPECT_EQ(text.find("ENTERING step 11 "), std::string::npos);
    EXPECT_NE(text.find("ENTERING step 78 "), std::string::npos);
    text = steps({"--opt_passes=random"}, nullptr);
    EXPECT_NE(text.find("Pass list, from command-line option, is (random): "), std::string::npos);
    for (int i = 0; i < 78; ++i)
        EXPECT_NE(text.find("ENTERING step " + std::to_string(i) + " "), std::string::npos) << i;
    text = steps({"--debug:skip_pass=11"}, nullptr);
    EXPECT_NE(text.find("SKIPPING step 11 'pass 2 inits'"), std::string::npos);
    EXPECT_EQ(text.find("ENTERING step 11 "), std::string::npos);
    text = steps({"--debug:skip_pass=0"}, nullptr);
    EXPECT_EQ(text.find("SKIPPING"), std::string::npos);
}

TEST_F(cmdline, signals_end_the_run_with_status_2) {
    ASSERT_EQ(mkfifo((dir / "fifo").c_str(), 0600), 0);
    const auto send = [&](int signal) {
        // The pipe opens when qlopt does its part, which then waits for bytes that never come.
        int writer = -1;
        RESULT result = run({"fifo"}, [&](pid_t pid) {
            writer = open((dir / "fifo").c_str(), O_WRONLY);
            kill(pid, signal);
        });
        close(writer);
        return result;
    };
    RESULT result = send(SIGINT);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "[qlopt forced exit]\n");
    result = send(SIGTERM);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "[qlopt received a terminate signal]\n");
    result = send(SIGSEGV);
    EXPECT_EQ(result.status, 2);
    EXPECT_TRUE(result.err.starts_with("\nINTERNAL ERROR: qlopt experienced a segmentation fault\n"
                                       "                  while processing function <unknown> file fifo\n\n"))
        << result.err;
    EXPECT_NE(result.err.find("test case"), std::string::npos);
}
