#include <gtest/gtest.h>

#include <string>

#include "cli/help_text.h"

namespace tagwick {
namespace {

std::string versionLine() {
    FILE* out = std::tmpfile();
    if (out == nullptr) return "";
    printVersionLine(out);
    std::string written(static_cast<size_t>(std::ftell(out)), '\0');
    std::rewind(out);
    size_t read = std::fread(written.data(), 1, written.size(), out);
    std::fclose(out);
    written.resize(read);
    return written;
}

// One test only: the build text is process-wide and is formed once.
TEST(Version, BuildTextIsFormedAtStartUp) {
    EXPECT_STREQ(buildText(), "unknown");
    EXPECT_EQ(versionLine(), "Tagwick version: 1.24.38 (unknown) \n\n");
    formBuildText();
    EXPECT_STREQ(buildText(), "1.17.78.342");
    EXPECT_EQ(versionLine(), "Tagwick version: 1.24.38 (1.17.78.342) \n\n");
}

}  // namespace
}  // namespace tagwick
