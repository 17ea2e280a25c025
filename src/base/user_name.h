// The name of the user running the program (run log path, trash folder).
#pragma once

#include <string>

namespace tagwick {

// USER, else LOGNAME, else the login name of the process; at most 254 bytes; empty when
// none is known. "root" is kept as it is: this platform has no console-user lookup.
std::string currentUserName();

}  // namespace tagwick
