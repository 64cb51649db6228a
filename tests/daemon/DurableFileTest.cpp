#include "DurableFile.h"

#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>

#include "TemporaryDirectory.h"

namespace host {
namespace {

using testing::ElementsAre;

// No file of this process can grow beyond so many bytes while this lives.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit{bytes, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &before_);
    signal(SIGXFSZ, SIG_DFL);
  }

 private:
  rlimit before_{};
};

class DurableFileTest : public testing::Test {
 protected:
  std::string content() const {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  mode_t mode() const {
    struct stat status {};
    stat(file.c_str(), &status);
    return status.st_mode & 07777;
  }
  std::vector<std::string> names() const {
    std::vector<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) found.push_back(entry.path().filename());
    return found;
  }

  const test::TemporaryDirectory scratch;
  const std::string& directory = scratch.path();
  const std::string file = directory + "/state";
};

TEST_F(DurableFileTest, TheFileHoldsTheNewTextAndNothingElseIsLeft) {
  replaceDurably(file, "a longer text than the next one");
  replaceDurably(file, "text");
  EXPECT_EQ(content(), "text");
  EXPECT_THAT(names(), ElementsAre("state"));
}

TEST_F(DurableFileTest, TheOwnerAloneMayReadIt) {
  std::ofstream(file) << "readable to all";
  chmod(file.c_str(), 0644);
  const mode_t before = umask(0);
  replaceDurably(file, "text");
  EXPECT_EQ(mode(), 0600u);
  umask(0777);
  replaceDurably(file, "text");
  EXPECT_EQ(mode(), 0600u);
  umask(before);
}

TEST_F(DurableFileTest, WhatAKilledProcessLeftIsNoHindrance) {
  std::ofstream(file + ".new") << "half of ";
  replaceDurably(file, "text");
  EXPECT_EQ(content(), "text");
}

TEST_F(DurableFileTest, ALinkInItsPlaceIsReplacedAndNotFollowed) {
  const std::string other = directory + "/other";
  std::ofstream(other) << "untouched";
  for (const char* name : {"/state", "/state.new"}) std::filesystem::create_symlink(other, directory + name);
  replaceDurably(file, "text");
  EXPECT_TRUE(std::filesystem::is_regular_file(std::filesystem::symlink_status(file)));
  EXPECT_EQ(std::filesystem::file_size(other), std::string("untouched").size());
}

TEST_F(DurableFileTest, ATextThatCannotBeWrittenWholeLeavesTheOneBefore) {
  replaceDurably(file, "before");
  const FileSizeLimit limit(3);
  EXPECT_THROW(replaceDurably(file, "after"), std::system_error);
  EXPECT_EQ(content(), "before");
  EXPECT_THAT(names(), ElementsAre("state"));
}

TEST_F(DurableFileTest, ANameThatCannotBeTakenIsAnError) {
  std::filesystem::create_directories(file + "/full");
  EXPECT_THROW(replaceDurably(file, "text"), std::system_error);
  EXPECT_THAT(names(), ElementsAre("state"));
}

TEST_F(DurableFileTest, AFolderThatIsNoneIsAnError) {
  EXPECT_THROW(replaceDurably(directory + "/none/state", "text"), std::system_error);
  std::ofstream(file) << "no folder";
  EXPECT_THROW(replaceDurably(file + "/state", "text"), std::system_error);
}

}  // namespace
}  // namespace host
