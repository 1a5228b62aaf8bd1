#include "OPT5/files.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <sys/stat.h>

#include "ifile/if_file.h"
#include "support/dbgout.h"
#include "support/fatal.h"
#include "support/filename.h"

I_FILE *i_file;
I_FILE *o_file;
char i_file_name[FILE_NAME_SIZE];
char o_file_name[FILE_NAME_SIZE];
char bug_file_name[BUG_FILE_NAME_SIZE];
char curr_file[FILE_NAME_SIZE];

void store_file_name(char (&buffer)[FILE_NAME_SIZE], const std::string &name) {
    if (name.size() >= FILE_NAME_SIZE) {
        fprintf(stderr, "\n>>>> OPTIMIZER ERROR: File name is too long: %s\n", name.c_str());
        exit(1);
    }
    strcpy(buffer, name.c_str());
}

void set_curr_file(const char *name) { snprintf(curr_file, sizeof curr_file, "%s", name ? name : ""); }

// ---- closing

namespace {

// The output is complete, or it goes. Devices and pipes are left alone.
void discard_output() {
    if (o_file) {
        I_FILE *file = o_file;
        o_file = nullptr;
        file->if_close(true, true);
    }
    struct stat status;
    if (o_file_name[0] && stat(o_file_name, &status) == 0 && S_ISREG(status.st_mode)) remove(o_file_name);
}

void close_and_discard() {
    discard_output();
    if (i_file) {
        I_FILE *file = i_file;
        i_file = nullptr;
        file->if_close(true, false);
    }
}

} // namespace

void discard_output_on_exit() {
    register_fatal_closer(close_and_discard);
    atexit(run_closing_hooks);
}

void close_files() {
    // The output first: names and positions in it are the input's. From here on it counts as complete, unless closing
    // it fails.
    I_FILE *output = o_file;
    o_file = nullptr;
    if (output && output->if_close(true, false)) {
        fprintf(stderr, "\n>> Cannot Write Output icode File, %s : %s, Aborting\n", strerror(errno),
                o_file_name);
        exit(1);
    }
    if (i_file) i_file->if_close(true, false);
    i_file = nullptr;
    register_fatal_closer(nullptr);

    if (print_debug && fdebug) {
        fprintf(fdebug, "\n== END OF DEBUG OUTPUT==\n");
        if (fdebug != stderr) fclose(fdebug);
        fdebug = nullptr;
        print_debug = 0;
    }
    if (write_opt_info && finfo) {
        fprintf(finfo, "\n== END OF INFO OUTPUT==\n");
        fclose(finfo);
        finfo = nullptr;
        write_opt_info = 0;
    }
}

// ---- debug files

// The name of the debug file: a directory stays whole, a long last component is cut.
static std::string debug_file_name(const char *suffix) {
    constexpr size_t LONGEST_COMPONENT = 250; // with the extension, what file systems take
    std::string name = fn_without_extension(i_file_name);
    if (suffix) {
        std::string tail = std::string(".") + suffix;
        // A function's name may hold anything, but it must not lead to another directory.
        for (char &c : tail)
            if (c == '/') c = '_';
        name += tail;
    }
    size_t start = name.size() - fn_base_name(name).size();
    if (name.size() - start > LONGEST_COMPONENT) name.resize(start + LONGEST_COMPONENT);
    return name + ".odb";
}

FILE *open_text_output(const std::string &name, const char *mode) {
    if (fn_same_file(name, i_file_name)) {
        errno = EEXIST;
        return nullptr;
    }
    return fopen(name.c_str(), mode);
}

FILE *open_drawing() {
    static bool opened = false;
    FILE *drawing = open_text_output(fn_without_extension(i_file_name) + ".dot", opened ? "a" : "w");
    opened |= drawing != nullptr;
    return drawing;
}

void open_debug_file(bool must_succeed, const char *suffix) {
    static std::set<std::string> opened; // by this run: what they hold must not be lost
    if (fdebug && !suffix) return;
    std::string name = debug_file_name(suffix);
    snprintf(bug_file_name, sizeof bug_file_name, "%s", name.c_str());

    if (fdebug) fprintf(fdebug, ">>>> SWITCHING LOG TO %s\n", bug_file_name);
    fdebug = open_text_output(name, opened.insert(name).second ? "w" : "a");
    if (fdebug) return;
    if (must_succeed) {
        fprintf(stderr, "\n>> Cannot Open Debug File, %s : %s, Aborting\n", strerror(errno), name.c_str());
        exit(1);
    }
    fdebug = stderr;
}
