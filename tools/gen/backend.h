// The cross compiler behind the generated C, and how little it is allowed to do.
//
// The optimizer has done its work when qlgen starts, so the C compiler should add instruction selection, scheduling
// and register allocation, and leave the rest as it stands. MODE_SELECT asks GCC 12 for that: -O1 with its passes over
// trees and loops turned off, so that a common subexpression that the file computes twice is computed twice. What
// can't be turned off by an option of its own is named by -fdisable-*. MODE_O2 is GCC's own -O2 on the generated text.
//
// SEMANTICS are the options without which the text does not mean what the file says; they stand in both modes.
#pragma once

#include <string>
#include <vector>

enum BACKEND_MODE { MODE_SELECT, MODE_O2, MODE_O0 };

std::vector<std::string> backend_options(BACKEND_MODE mode);
// From "select", "O2", "O0"; false: no such mode.
bool backend_mode(const std::string &name, BACKEND_MODE &mode);
// The cross compiler: QL_CROSS_CC of the environment, or arm-linux-gnueabihf-gcc.
std::string cross_compiler();
// Runs the cross compiler; its remarks about disabled passes are kept back. Gives its exit status, 127 when it can't
// be started.
int run_backend(const std::vector<std::string> &command);
