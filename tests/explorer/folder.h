// A folder of messages that goes when the test ends.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "tests/support/scratch_folder.h"

namespace bramblescope::test {

class Folder : public ::testing::Test {
 protected:
  void write(const std::string& name, const std::string& bytes) const {
    tallowbrook::test::write_file(scratch_.file(name), bytes);
  }
  [[nodiscard]] std::string read(const std::string& name) const {
    return tallowbrook::test::read_file(scratch_.file(name));
  }

  const tallowbrook::test::ScratchFolder scratch_;
  const std::string& folder_ = scratch_.path();
};

}  // namespace bramblescope::test
