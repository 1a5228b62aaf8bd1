// A plugin for qemu-arm that counts executed instructions in a range of addresses:
//
//     qemu-arm -plugin libexecuted.so,first=ADDRESS,end=ADDRESS,out=FILE PROGRAM
//
// The count of a whole program varies with what the start-up code finds in its environment; that of a section of its own
// does not. No header for plugins comes with the distribution's package, so what is used of the interface is declared
// here.
#include <inttypes.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef uint64_t qemu_plugin_id_t;
struct qemu_plugin_tb;
struct qemu_plugin_insn;
struct qemu_info;
enum qemu_plugin_op { QEMU_PLUGIN_INLINE_ADD_U64 };
typedef void (*tb_callback)(qemu_plugin_id_t, struct qemu_plugin_tb *);
typedef void (*exit_callback)(qemu_plugin_id_t, void *);
void qemu_plugin_register_vcpu_tb_trans_cb(qemu_plugin_id_t, tb_callback);
void qemu_plugin_register_atexit_cb(qemu_plugin_id_t, exit_callback, void *);
size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb *);
struct qemu_plugin_insn *qemu_plugin_tb_get_insn(const struct qemu_plugin_tb *, size_t);
uint64_t qemu_plugin_insn_vaddr(const struct qemu_plugin_insn *);
void qemu_plugin_register_vcpu_insn_exec_inline(struct qemu_plugin_insn *, enum qemu_plugin_op, void *, uint64_t);

__attribute__((visibility("default"))) int qemu_plugin_version = 1;

static uint64_t first, end, executed;
static char out[4096];

static void translated(qemu_plugin_id_t id, struct qemu_plugin_tb *tb)
{
    (void)id;
    size_t n = qemu_plugin_tb_n_insns(tb);
    for (size_t i = 0; i < n; i++) {
        struct qemu_plugin_insn *insn = qemu_plugin_tb_get_insn(tb, i);
        uint64_t at = qemu_plugin_insn_vaddr(insn);
        if (at >= first && at < end)
            qemu_plugin_register_vcpu_insn_exec_inline(insn, QEMU_PLUGIN_INLINE_ADD_U64, &executed, 1);
    }
}

static void at_exit(qemu_plugin_id_t id, void *unused)
{
    (void)id;
    (void)unused;
    FILE *f = fopen(out, "w");
    if (!f) return;
    fprintf(f, "%" PRIu64 "\n", executed);
    fclose(f);
}

__attribute__((visibility("default"))) int qemu_plugin_install(qemu_plugin_id_t id, const struct qemu_info *info, int argc,
                                                               char **argv)
{
    (void)info;
    for (int i = 0; i < argc; i++) {
        if (!strncmp(argv[i], "first=", 6)) first = strtoull(argv[i] + 6, NULL, 0);
        else if (!strncmp(argv[i], "end=", 4)) end = strtoull(argv[i] + 4, NULL, 0);
        else if (!strncmp(argv[i], "out=", 4)) snprintf(out, sizeof out, "%s", argv[i] + 4);
        else return -1;
    }
    if (end <= first || !out[0]) return -1;
    qemu_plugin_register_vcpu_tb_trans_cb(id, translated);
    qemu_plugin_register_atexit_cb(id, at_exit, NULL);
    return 0;
}
