#pragma once

// Put CONSTRUCTED_FIRST before the definition of an object at namespace scope, once in a program. The
// object's constructor then runs before those of all other objects of the program. Initialisers of the
// runtime library itself may run earlier.
#ifdef _MSC_VER
// Warning 4073 reports the intended effect: the object goes into the initialisation area of libraries, whose
// objects are constructed before the program's objects.
#define CONSTRUCTED_FIRST __pragma(warning(disable : 4073)) __pragma(init_seg(lib))
#else
#define CONSTRUCTED_FIRST \
    [[gnu::init_priority(101)]]  // the first priority that is not reserved for the runtime library
#endif
