#include "quorbase_check/loaded_library.h"

#include <gtest/gtest.h>

namespace {

TEST(LoadedLibrary, HasNoProblemAndItsSymbols) {
    const LoadedLibrary library("libc.so.6");
    EXPECT_EQ("", library.problem());
    EXPECT_NE(nullptr, library.address("fopen"));
    EXPECT_EQ(nullptr, library.address("no_such_symbol_of_any_library"));
}

TEST(LoadedLibrary, KnowsTheSizeOfVariablesOnly) {
    const LoadedLibrary library("libc.so.6");
    EXPECT_EQ(sizeof(FILE *), library.variable_size("stdout"));
    EXPECT_EQ(0u, library.variable_size("fopen"));
    EXPECT_EQ(0u, library.variable_size("no_such_symbol_of_any_library"));
}

TEST(LoadedLibrary, NamesTheOneThatIsMissing) {
    const LoadedLibrary library("libno_such_library.so");
    EXPECT_NE(std::string::npos, library.problem().find("libno_such_library.so")) << library.problem();
}

TEST(LoadedLibrary, NamesAFileThatIsNone) {
    const LoadedLibrary library("/etc/passwd");
    EXPECT_NE(std::string::npos, library.problem().find("/etc/passwd")) << library.problem();
}

}  // namespace
