// What an assignment or a call kills: sets of triples, by alias groups and types.
//
// Not active yet: there are no triples.
#pragma once

// Drops the sets.
void clean_up_alias_analysis_bitvecs_etc();
