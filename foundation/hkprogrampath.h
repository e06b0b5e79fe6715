// Where a program name leads, the way the exec family searches for it.
//
// Child processes of a threaded server must not search PATH between fork
// and exec (the search allocates); they take this list, made before fork,
// and try each entry with execve.
#pragma once

#include <string>
#include <vector>

// The executable files that `name` means, in the order execlp would try
// them: a name with a "/" is taken as it stands (whether it exists or not);
// otherwise each folder of PATH ("/bin:/usr/bin" when PATH is unset, an
// empty entry meaning ".") that holds an executable `name`. Empty for an
// empty name.
std::vector<std::string> HKProgramCandidates(const std::string& name);
