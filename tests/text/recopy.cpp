// Reads an intermediate file and writes it: what a way over the text must come to as well.
#include <cstdio>

#include "tools/model/model.h"

int main(int argc, char **argv) {
    if (argc != 3) {
        fprintf(stderr, "Usage: recopy FROM.if TO.if\n");
        return 2;
    }
    TYPE_PKG::abi = 1;
    return !write_model(*read_model(argv[1]), argv[2]);
}
