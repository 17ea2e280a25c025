#include "base/user_name.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>

namespace tagwick {
namespace {

// Saves USER and LOGNAME and puts them back afterwards.
class UserName : public testing::Test {
protected:
    void SetUp() override {
        user_ = saved("USER");
        logname_ = saved("LOGNAME");
    }
    void TearDown() override {
        restore("USER", user_);
        restore("LOGNAME", logname_);
    }

private:
    static std::optional<std::string> saved(const char* name) {
        const char* value = std::getenv(name);
        return value ? std::optional<std::string>(value) : std::nullopt;
    }
    static void restore(const char* name, const std::optional<std::string>& value) {
        if (value) setenv(name, value->c_str(), 1);
        else unsetenv(name);
    }
    std::optional<std::string> user_, logname_;
};

TEST_F(UserName, UserComesFirst) {
    setenv("USER", "alice", 1);
    setenv("LOGNAME", "bob", 1);
    EXPECT_EQ(currentUserName(), "alice");
}

TEST_F(UserName, LognameWhenUserIsUnset) {
    unsetenv("USER");
    setenv("LOGNAME", "bob", 1);
    EXPECT_EQ(currentUserName(), "bob");
}

TEST_F(UserName, RootIsKept) {
    setenv("USER", "root", 1);
    EXPECT_EQ(currentUserName(), "root");
}

TEST_F(UserName, CutTo254Bytes) {
    setenv("USER", std::string(300, 'u').c_str(), 1);
    EXPECT_EQ(currentUserName(), std::string(254, 'u'));
}

}  // namespace
}  // namespace tagwick
