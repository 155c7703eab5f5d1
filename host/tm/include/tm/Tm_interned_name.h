#pragma once
// Member names kept once for the whole process. Interning a name gives the one stored copy of its
// text: equal texts give the same pointer, valid until the process ends. Structures compare a
// requested name with their members' names by pointer first, so a decoded structure (whose members
// carry the interned copy of every name that has one) read with interned names matches without
// comparing texts; any other name still matches by its text.
//
// The pool never shrinks, so only code with a fixed set of names interns: the generated codecs
// intern the member names they read when they are loaded. The wire decoder only looks names up,
// so bytes from a peer cannot grow the pool. Safe to call from any thread.

#include <string_view>

// The interned copy of name, adding it on first use. A name holding a NUL byte throws Tm_exception.
const char* tm_intern_name(std::string_view name);
// The interned copy of name; null when it was never interned.
const char* tm_find_interned_name(std::string_view name);
