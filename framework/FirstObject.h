#pragma once

// Stands before the definition of an object at namespace scope, once in a program: its constructor runs
// before those of all other objects of the program. Initialisers of the runtime library itself may run
// earlier.
#ifdef _MSC_VER
// The warning says what is wanted: the area is that of libraries, whose objects come before a program's.
#define CONSTRUCTED_FIRST __pragma(warning(disable : 4073)) __pragma(init_seg(lib))
#else
#define CONSTRUCTED_FIRST \
    [[gnu::init_priority(101)]]  // the first that is not reserved for the runtime library
#endif
