// Inlining decisions for the whole program.
//
// An INLINER is a policy; the file's options choose one. Calls are chosen here, at a barrier, and integrated
// (OPT5/procint) when their function has its turn.
//
// Not active yet: no call is chosen, under any policy.
#pragma once

enum INLINER_POLICY {
    NEW_INLINER, // the usual one
    INLINER_5,   // for files that no outside code calls into
};

// The policy of the run; init_fileopts sets it.
extern INLINER_POLICY inliner_policy;

// Chooses calls of the whole program by the policy. Without current function.
void auto_inline_call_sites();
