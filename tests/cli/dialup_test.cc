// The command dialup with connections of the test's own.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "tests/cli/program.h"
#include "tests/support/scratch_folder.h"

namespace tallowbrook::cli {
namespace {

TEST(DialupCommand, ListsAndRuns) {
  const test::ScratchFolder folder;
  test::write_file(folder.file("peers/office"), "connect\n");
  test::write_file(folder.file("peers/a\x1B[31m"), "connect\n");
  test::write_file(folder.file("peers/\u0434\u043E\u043C"), "connect\n");  // in no ANSI code page
  ::setenv("TALLOWBROOK_PPP_PEERS", folder.file("peers").c_str(), 1);
  ::setenv("TALLOWBROOK_NMCLI", "/nowhere/nmcli", 1);
  ::setenv("TALLOWBROOK_PON", "true", 1);
  const Outcome listed = run_with_errors("dialup list");
  EXPECT_EQ(listed.status, 0);
  EXPECT_EQ(listed.text, "a\\x1B[31m\noffice\n\u0434\u043E\u043C\n");
  for (const char* name : {"office", "\u0434\u043E\u043C"}) {
    EXPECT_EQ(run_with_errors("dialup run " + std::string(name)).status, 0);
  }
  const Outcome missing = run_with_errors("dialup run home");
  EXPECT_EQ(missing.status, 3);
  EXPECT_NE(missing.text.find("there is no connection \"home\""), std::string::npos);
  ::setenv("TALLOWBROOK_PON", "/nowhere/pon", 1);
  const Outcome not_started = run_with_errors("dialup run office");
  EXPECT_EQ(not_started.status, 3);
  EXPECT_NE(not_started.text.find("office: the program"), std::string::npos);
  for (const char* wrong : {"dialup", "dialup run", "dialup list office", "dialup dance"}) {
    EXPECT_EQ(run_with_errors(wrong).status, 2) << wrong;
  }
  for (const char* name : {"TALLOWBROOK_PPP_PEERS", "TALLOWBROOK_NMCLI", "TALLOWBROOK_PON"}) {
    ::unsetenv(name);
  }
}

}  // namespace
}  // namespace tallowbrook::cli
