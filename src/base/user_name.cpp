// The user name, from the environment first and from the login record last.
#include "base/user_name.h"

#include <cstdlib>
#include <unistd.h>

namespace tagwick {

namespace {

constexpr size_t UserNameLimit = 254;

// An empty variable counts as unset, so the next source is asked.
const char* nonEmpty(const char* text) { return text && *text ? text : nullptr; }

}  // namespace

std::string currentUserName() {
    const char* name = nonEmpty(std::getenv("USER"));
    if (!name) name = nonEmpty(std::getenv("LOGNAME"));
    if (!name) name = nonEmpty(getlogin());
    std::string result = name ? name : "";
    if (result.size() > UserNameLimit) result.resize(UserNameLimit);
    return result;
}

}  // namespace tagwick
