#include "tools/gen/process.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Names in fixed memory, so that a signal handler can walk them.
constexpr int MAX_FILES = 4096, MAX_NAME = 512;
char (*file_names)[MAX_NAME];
volatile int n_files;
bool keep_files;

void remove_files() {
    if (keep_files) return;
    for (int i = 0; i < n_files; i++) unlink(file_names[i]);
}

void on_signal(int n) {
    remove_files();
    signal(n, SIG_DFL);
    raise(n);
}

void pass_lines(int fd, const std::function<bool(const std::string &)> &keep) {
    std::string pending;
    char buffer[4096];
    for (;;) {
        ssize_t got = read(fd, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        pending.append(buffer, size_t(got));
        size_t from = 0;
        for (size_t at; (at = pending.find('\n', from)) != std::string::npos; from = at + 1) {
            std::string line = pending.substr(from, at - from);
            if (keep(line)) fprintf(stderr, "%s\n", line.c_str());
        }
        pending.erase(0, from);
    }
    if (!pending.empty() && keep(pending)) fprintf(stderr, "%s", pending.c_str());
}

} // namespace

int run_process(const std::vector<std::string> &command,
                const std::function<bool(const std::string &)> &keep) {
    std::vector<char *> argv;
    for (const std::string &a : command) argv.push_back(const_cast<char *>(a.c_str()));
    argv.push_back(nullptr);
    int out[2] = {-1, -1};
    if (keep && pipe(out)) {
        perror("pipe");
        return 127;
    }
    fflush(nullptr);
    pid_t child = fork();
    if (child < 0) {
        perror("fork");
        return 127;
    }
    if (child == 0) {
        if (keep) {
            dup2(out[1], 2);
            close(out[0]), close(out[1]);
        }
        execvp(argv[0], argv.data());
        fprintf(stderr, "cannot start %s: %s\n", argv[0], strerror(errno));
        _exit(127);
    }
    if (keep) {
        close(out[1]);
        pass_lines(out[0], keep);
        close(out[0]);
    }
    int status;
    while (waitpid(child, &status, 0) < 0)
        if (errno != EINTR) return 127;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string temporary_file(const std::string &suffix) {
    if (!file_names) {
        file_names = static_cast<char(*)[MAX_NAME]>(calloc(MAX_FILES, MAX_NAME));
        atexit(remove_files);
        for (int s : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) signal(s, on_signal);
    }
    const char *folder = getenv("TMPDIR");
    std::string name = std::string(folder && *folder ? folder : "/tmp") + "/ql-XXXXXX" + suffix;
    if (name.size() >= MAX_NAME || n_files == MAX_FILES) {
        fprintf(stderr, "too many temporary files, or too long a name: %s\n", name.c_str());
        exit(1);
    }
    int fd = mkstemps(&name[0], int(suffix.size()));
    if (fd < 0) {
        fprintf(stderr, "cannot make a temporary file %s: %s\n", name.c_str(), strerror(errno));
        exit(1);
    }
    close(fd);
    strcpy(file_names[n_files], name.c_str());
    n_files = n_files + 1;
    return name;
}

void keep_temporary_files() { keep_files = true; }

std::string program_folder() {
    char path[4096];
    ssize_t n = readlink("/proc/self/exe", path, sizeof path - 1);
    std::string s(path, n > 0 ? size_t(n) : 0);
    return s.substr(0, s.rfind('/'));
}
