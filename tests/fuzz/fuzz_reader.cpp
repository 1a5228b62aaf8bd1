// Coverage-guided fuzzing of the intermediate file library: any bytes are read as a file, and what is accepted is
// written out and read again. A refusal is thrown, so that one process tries many files.
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <unistd.h>

#include "tools/model/model.h"

namespace {

struct FILE_REFUSED {};
void throw_refusal(const char *) { throw FILE_REFUSED(); }

std::string scratch(const char *name) {
    static const std::string folder = [] {
        char path[] = "/dev/shm/ql_fuzz_XXXXXX";
        if (!mkdtemp(path)) abort();
        return std::string(path);
    }();
    return folder + "/" + name;
}

// The whole package with all its types goes with each model.
bool read_and_write(const char *from, const char *to) {
    try {
        std::unique_ptr<MODEL> m = read_model(from);
        if (!write_model(*m, to)) abort();
        return true;
    } catch (FILE_REFUSED &) { return false; }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t n) {
    static const std::string in = scratch("in"), out = scratch("out"), again = scratch("again");
    if_bad_file_handler = throw_refusal;
    FILE *f = fopen(in.c_str(), "wb");
    if (!f || fwrite(bytes, 1, n, f) != n || fclose(f)) abort();
    if (!read_and_write(in.c_str(), out.c_str())) return 0;
    // What was written must be acceptable.
    if (!read_and_write(out.c_str(), again.c_str())) abort();
    return 0;
}
