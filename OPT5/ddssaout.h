// The way out of SSA form: decorations become plain variables and copies again.
//
// Not active yet: no form is built.
#pragma once

// Takes the current function out of SSA form; nothing happens outside of it.
void deconstruct_SSA_form();

// Removes decorations that are left when the form was given up half-way.
void remove_SSA_decoration_trees();
