// The messages of the option parser, one class for each row of the message table from 24002 on.
//
//     obj.report_diagnostic(DIAG::optgen_missing_parameter(__FILE__, __LINE__, "--abi", "abi"));
//
// The arguments after the place are those of the row's format, in its order.
#ifndef OPTIONS_OPTMSG_H
#define OPTIONS_OPTMSG_H

#include "DIAG/diag.h"

namespace DIAG {

using text = const char *;

// clang-format off
using optgen_conflict_option              = numbered<24002, text, text>;       // option, earlier option
using optgen_conflict_override_option     = numbered<24003, text, text>;       // option, earlier option
using optgen_conflict_quiet_option        = numbered<24004, text, text>;       // option, earlier option
using optgen_clear_persistent_option      = numbered<24006, text>;             // option
using optgen_unhandled_clause_in_setarg   = numbered<24007, unsigned>;         // kind
using optgen_unhandled_option_handler     = numbered<24008, unsigned>;         // id
using optgen_invalid_list_handler         = numbered<24009, unsigned>;         // id
using optgen_missing_parameter            = numbered<24010, text, text>;       // option, parameter
using optgen_arg_out_of_range             = numbered<24011, text, text>;       // option, argument
using optgen_arg_out_of_range_non_neg     = numbered<24012, text, text>;       // option, argument
using optgen_arg_out_of_range2            = numbered<24013, text, text, unsigned, unsigned>; // option, argument, bounds
using optgen_option_handler_corruption    = numbered<24014>;
using optgen_bad_argument                 = numbered<24015, text, text>;       // option, values
using optgen_case_insensitivity_deprecated = numbered<24016, text, text>;      // as written, as it should be
using optgen_not_valid_ignored            = numbered<24017, text, text, text>; // option, "in", what
using optgen_not_valid                    = numbered<24018, text, text, text>; // option, "on", what
using optgen_exact_set_in_previous_files  = numbered<24020, text, text>;       // option, file
using optgen_exact_not_set_in_previous_files = numbered<24021, text, text>;    // option, file
using optgen_exact_args_incompatible      = numbered<24022, text, text, text>; // option, file, earlier option
using optgen_merge_conflict_option        = numbered<24023, text, text, text>; // option, file, earlier option
using optgen_unhandled_clause_in_add_hist = numbered<24031, unsigned>;         // kind
using optgen_missing_fileopt              = numbered<24032, text>;             // tool
// clang-format on

} // namespace DIAG

#endif
