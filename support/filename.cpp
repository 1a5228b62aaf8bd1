#include "support/filename.h"

#include <sys/stat.h>

namespace {

// Where the last component begins.
size_t component_start(std::string_view name) {
    size_t slash = name.rfind('/');
    return slash == std::string_view::npos ? 0 : slash + 1;
}

// Where the extension begins; the length of the name when there is none.
size_t extension_start(std::string_view name) {
    size_t start = component_start(name);
    size_t dot = name.rfind('.');
    if (dot == std::string_view::npos || dot <= start) return name.size();
    if (name.substr(start) == "..") return name.size();
    return dot;
}

} // namespace

std::string fn_without_extension(std::string_view name) {
    return std::string(name.substr(0, extension_start(name)));
}

std::string fn_with_extension(std::string_view name, std::string_view extension) {
    return fn_without_extension(name).append(extension);
}

std::string fn_base_name(std::string_view name) { return std::string(name.substr(component_start(name))); }

bool fn_same_file(const std::string &a, const std::string &b) {
    struct stat sa, sb;
    if (stat(a.c_str(), &sa) != 0 || stat(b.c_str(), &sb) != 0) return false;
    return sa.st_dev == sb.st_dev && sa.st_ino == sb.st_ino;
}
