// Running other programs.
#pragma once

#include <functional>
#include <string>
#include <vector>

// Runs a program found through PATH and waits for it. With `keep`, the lines that it writes to standard error pass
// through only where `keep` says so. Gives the exit status: 128 + n for a program that ended by signal n, 127 with a
// message when it can't be started.
int run_process(const std::vector<std::string> &command,
                const std::function<bool(const std::string &line)> &keep = nullptr);

// A file name of its own for the duration of the program: in TMPDIR or /tmp, removed at exit, also when a signal ends
// the program. The file exists and is empty.
std::string temporary_file(const std::string &suffix);
void keep_temporary_files();

// The folder that holds the running program.
std::string program_folder();
