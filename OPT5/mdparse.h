// The parser of the machine description language.
//
// Not active yet: it knows no rules.
#pragma once

// For "debug:parser": parses the description, or the file NAME instead, and reports.
void parse_md_file(const char *name);
