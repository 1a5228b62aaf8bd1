// --check-records: what the file claims of its loops must be true while it runs.
//
// For each activation of a function with loop records, the executions of each loop's header are counted per entry of
// the loop; when the loop is left, the count must lie between the record's minimum and maximum and be a multiple of its
// factor. NASSERT and ASSERT conditions are checked where they stand (compile.cpp).
#pragma once

#include "tools/exec/interp.h"

class RECORD_CHECK {
  public:
    RECORD_CHECK(XFUNC *, FRAME &) {}
};

// --- the library's part of a run (library.cpp) ---
uint32_t library_object(const std::string &name, uint32_t bytes); // 0: none of that name
void run_exit_handlers();
XFUNC *enter_library_function(const std::string &name, uint64_t (*fn)(CALL_CONTEXT &));
