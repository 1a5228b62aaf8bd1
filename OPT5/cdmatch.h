// The pattern matcher: rules of the machine description against expressions in data-flow form.
//
// Not active yet: no rules are loaded.
#pragma once

// Builds the rule tables from the rule base, once, when the input has been read.
void matcher_init();
