// Reports to the user and instrumentation of what runs.
//
// Not active yet: nothing is instrumented.
#pragma once

// Whether loops are to count themselves.
extern bool instrumentation_is_on;

// In main: registers the routine that prints the counts.
void add_instrumentation_exit_routine_to_atexit();
