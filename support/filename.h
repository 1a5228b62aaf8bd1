// File name arithmetic: extensions and base names of POSIX paths.
//
// The extension is the last "." of the last path component and what follows it. A component that begins with
// its only dot (".profile"), and "." and "..", have none. Names are bytes; nothing here looks at the disk
// except fn_same_file.
#ifndef SUPPORT_FILENAME_H
#define SUPPORT_FILENAME_H

#include <string>
#include <string_view>

// "dir/a.b.c" gives "dir/a.b"; a name without extension is given as it is.
std::string fn_without_extension(std::string_view name);

// Replaces the extension, or adds it where there is none. EXTENSION begins with its dot.
std::string fn_with_extension(std::string_view name, std::string_view extension);

// The last component: "dir/a.c" gives "a.c".
std::string fn_base_name(std::string_view name);

// True when both names exist and lead to one file, through links too.
bool fn_same_file(const std::string &a, const std::string &b);

#endif
