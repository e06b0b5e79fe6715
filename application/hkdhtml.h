// The client script library: a fixed JavaScript text that pages may load
// for browser feature marks, element access by id, name or tag name,
// attribute and content access, loading further script files, and dragging
// an element with the mouse. A style sheet text belongs beside it and is
// empty.
//
// The library does not insert these texts into pages by itself: an
// application serves them (as a stored page, or as a script element of a
// document). The widget form and the update channel have their own scripts
// and do not need this one.
#pragma once

#include <string>

// The script text (5743 characters); it starts with the comment
// "/* DHTML-Bibliothek, TovikFrame 1.0 (v11)*/" and calls draginit() when it loads.
std::string HKGetDHTML_JS();
// The style sheet that goes with the script: the empty string.
std::string HKGetDHTML_CSS();
