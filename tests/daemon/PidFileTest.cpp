#include "PidFile.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include "TemporaryDirectory.h"

namespace host {
namespace {

using testing::AllOf;
using testing::HasSubstr;

class PidFileTest : public testing::Test {
 protected:
  std::string content(const std::string& path) const {
    std::ifstream stream(path);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  void write(const std::string& path, const std::string& text) const { std::ofstream(path) << text; }
  std::string refusal() const {
    try {
      const PidFile taken(file);
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return "";
  }

  const test::TemporaryDirectory scratch;
  const std::string file = scratch.path() + "/ptpsnmpd.pid";
  const std::string other = scratch.path() + "/other";
  const std::string ownLine = std::to_string(getpid()) + "\n";
};

TEST_F(PidFileTest, ItNamesTheProcessAndGoesWithIt) {
  {
    const PidFile taken(file);
    EXPECT_EQ(content(file), ownLine);
  }
  EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(PidFileTest, ANumberThatWasLeftIsReplaced) {
  for (const char* left : {"", "\n", "7", "4194304\n", "12345678901234567890\n"}) {
    write(file, left);
    const PidFile taken(file);
    EXPECT_EQ(content(file), ownLine);
  }
}

TEST_F(PidFileTest, OneThatIsHeldIsRefused) {
  const PidFile taken(file);
  EXPECT_THAT(refusal(), AllOf(HasSubstr(file), HasSubstr("another ptpsnmpd holds it")));
  EXPECT_EQ(content(file), ownLine);
}

TEST_F(PidFileTest, AFileThatHasAnotherNameIsRefusedAndStaysAsItIs) {
  for (const char* text : {"data\n", "7\n", ""}) {
    write(other, text);
    std::filesystem::create_hard_link(other, file);
    EXPECT_THAT(refusal(), AllOf(HasSubstr(file), HasSubstr("hard link")));
    EXPECT_EQ(content(other), text);
    std::filesystem::remove(file);
  }
}

TEST_F(PidFileTest, ALinkIsNotFollowed) {
  std::filesystem::create_symlink(other, file);
  EXPECT_THAT(refusal(), HasSubstr(file));
  EXPECT_FALSE(std::filesystem::exists(other));
}

TEST_F(PidFileTest, AFileThatHoldsSomethingElseIsRefusedAndStaysAsItIs) {
  for (const std::string text : {"data\n", "7\nport=161\n", "-1\n"}) {
    write(file, text);
    EXPECT_THAT(refusal(), HasSubstr("something else than a process number"));
    EXPECT_EQ(content(file), text);
  }
  write(file, std::string(100, '1'));
  EXPECT_THAT(refusal(), HasSubstr("something else than a process number"));
}

TEST_F(PidFileTest, WhatIsNoRegularFileIsRefusedAndNotWaitedFor) {
  ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
  EXPECT_THAT(refusal(), HasSubstr("not a regular file"));
  EXPECT_TRUE(std::filesystem::is_fifo(file));
}

TEST_F(PidFileTest, AFileOfAnotherUserIsRefused) {
  write(file, "7\n");
  if (chown(file.c_str(), 65534, 65534) != 0) GTEST_SKIP() << "only root can give a file away";
  EXPECT_THAT(refusal(), HasSubstr("belongs to user 65534"));
  EXPECT_EQ(content(file), "7\n");
}

TEST_F(PidFileTest, AFileThatTookItsPlaceStays) {
  {
    const PidFile taken(file);
    std::filesystem::remove(file);
    write(file, "another's\n");
  }
  EXPECT_EQ(content(file), "another's\n");
}

}  // namespace
}  // namespace host
