// A plugin of qemu-arm that counts executed instructions in an address range, exactly.
//
//   qemu-arm -plugin libarm_count.so,from=0x10000,to=0x20000,out=FILE PROGRAM [ARGUMENT...]
//
// At the end FILE holds one decimal number. Each instruction whose address lies in [from, to) counts when it is reached,
// also when its condition fails. Programs are linked so that their own code lies in a section of its own: what the C
// library executes depends on the environment's size and is left out.
//
// The emulator's plugin interface (version 1) is declared here as far as it is used; no package has its header.
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

extern "C" {
struct qemu_plugin_tb;
struct qemu_plugin_insn;
typedef uint64_t qemu_plugin_id_t;
enum qemu_plugin_op { QEMU_PLUGIN_INLINE_ADD_U64 };

void qemu_plugin_register_vcpu_tb_trans_cb(qemu_plugin_id_t, void (*)(qemu_plugin_id_t, qemu_plugin_tb *));
size_t qemu_plugin_tb_n_insns(const qemu_plugin_tb *);
qemu_plugin_insn *qemu_plugin_tb_get_insn(const qemu_plugin_tb *, size_t);
uint64_t qemu_plugin_insn_vaddr(const qemu_plugin_insn *);
void qemu_plugin_register_vcpu_insn_exec_inline(qemu_plugin_insn *, qemu_plugin_op, void *, uint64_t);
void qemu_plugin_register_atexit_cb(qemu_plugin_id_t, void (*)(qemu_plugin_id_t, void *), void *);

__attribute__((visibility("default"))) int qemu_plugin_version = 1;
__attribute__((visibility("default"))) int qemu_plugin_install(qemu_plugin_id_t, const void *, int, char **);
}

namespace {

uint64_t from, to, executed;
char out[4096];

void on_translation(qemu_plugin_id_t, qemu_plugin_tb *block) {
    for (size_t i = 0, n = qemu_plugin_tb_n_insns(block); i < n; i++) {
        qemu_plugin_insn *insn = qemu_plugin_tb_get_insn(block, i);
        uint64_t at = qemu_plugin_insn_vaddr(insn);
        if (at >= from && at < to)
            qemu_plugin_register_vcpu_insn_exec_inline(insn, QEMU_PLUGIN_INLINE_ADD_U64, &executed, 1);
    }
}

void on_exit(qemu_plugin_id_t, void *) {
    FILE *f = fopen(out, "w");
    if (!f) return perror(out);
    fprintf(f, "%" PRIu64 "\n", executed);
    fclose(f);
}

} // namespace

int qemu_plugin_install(qemu_plugin_id_t id, const void *, int argc, char **argv) {
    for (int i = 0; i < argc; i++) {
        if (!strncmp(argv[i], "from=", 5)) from = strtoull(argv[i] + 5, nullptr, 0);
        else if (!strncmp(argv[i], "to=", 3)) to = strtoull(argv[i] + 3, nullptr, 0);
        else if (!strncmp(argv[i], "out=", 4) && strlen(argv[i] + 4) < sizeof out) strcpy(out, argv[i] + 4);
        else {
            fprintf(stderr, "arm_count: unknown argument %s\n", argv[i]);
            return 1;
        }
    }
    if (!out[0] || from >= to) {
        fputs("arm_count: from=, to= and out= are needed\n", stderr);
        return 1;
    }
    qemu_plugin_register_vcpu_tb_trans_cb(id, on_translation);
    qemu_plugin_register_atexit_cb(id, on_exit, nullptr);
    return 0;
}
