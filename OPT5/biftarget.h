// The built-ins that ARM programs can use, by the version and profile that the code is for.
//
// What exists on every version stands without condition. The microcontroller profiles are the three whose system
// control differs: they have priorities and banked stack pointers, and no doubleword exclusives. They are told by
// the option that names the silicon, because the oldest of them shares its version number with another processor.
//
// Interrupt control and barriers are local instances of the generics in bif. The barrier instructions also exist on
// the oldest microcontroller, although that is a version 6.
#pragma once

// Adds this target's descriptors; the generics must be there.
void init_BIFs_for_target();
