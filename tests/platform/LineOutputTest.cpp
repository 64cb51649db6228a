#include "Zarn/LineOutput.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "TemporaryDirectory.h"

namespace {

using Lines = std::vector<std::string>;
using Zarn::LineOutput;

constexpr unsigned seconds = 20;  // after which a write that waits ends the test program
constexpr int enough = 20'000;    // lines, to fill whatever takes them

/// A written end and a read one, neither of which blocks a test that reads what is there.
struct Ends {
  int written = -1;
  int read = -1;

  Ends() = default;
  Ends(const Ends&) = delete;
  Ends& operator=(const Ends&) = delete;
  ~Ends() {
    close(written);
    close(read);
  }

  std::string take() const {
    fcntl(read, F_SETFL, O_NONBLOCK);
    std::string text;
    char bytes[4096];
    for (ssize_t size = 0; (size = ::read(read, bytes, sizeof(bytes))) > 0;) text.append(bytes, size);
    std::erase(text, '\r');  // a terminal's
    return text;
  }
};

struct Pipe : Ends {
  Pipe() {
    int ends[2] = {-1, -1};
    if (pipe(ends) != 0) std::abort();
    read = ends[0];
    written = ends[1];
  }
};

struct Socket : Ends {
  Socket() {
    int ends[2] = {-1, -1};
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) std::abort();
    read = ends[0];
    written = ends[1];
  }
};

struct Terminal : Ends {
  Terminal() {
    if (openpty(&read, &written, nullptr, nullptr, nullptr) != 0) std::abort();
  }
};

/// Another user as long as it lives, to whom a pipe or terminal that is there may be written, and not opened.
class WithoutRights {
 public:
  explicit WithoutRights(int fd) {
    fchmod(fd, 0);
    if (root_ && seteuid(65534) != 0) std::abort();
  }
  WithoutRights(const WithoutRights&) = delete;
  WithoutRights& operator=(const WithoutRights&) = delete;
  ~WithoutRights() {
    if (root_ && seteuid(0) != 0) std::abort();
  }

 private:
  const bool root_ = geteuid() == 0;
};

Lines linesOf(const std::string& text) {
  Lines lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

class LineOutputTest : public testing::Test {
 protected:
  LineOutputTest() { alarm(seconds); }
  ~LineOutputTest() override { alarm(0); }

  // Writes more than anybody takes, and then what is taken again: the lines that were read are in order, those that are
  // missing are told, and the last one follows. The kernel may make room for some in between. A line that lacks no more
  // than its end counts as missing, too.
  static void expectThatNothingWaits(LineOutput& output, const Ends& ends, int length = 60) {
    static const std::string told = "lines missing here, which could not be written: ";
    const std::string rest(length, '.');
    for (int i = 0; i < enough; ++i) output.write(std::to_string(i) + rest + '\n');
    std::string text = ends.take();
    output.write("after\n");
    text += ends.take();
    ASSERT_TRUE(text.ends_with("after\n"));
    int last = -1;
    int whole = 0;
    int missing = 0;
    int tellings = 0;
    Lines lines = linesOf(text);
    lines.pop_back();
    for (const std::string& line : lines) {
      if (line.starts_with(told)) {
        missing += std::stoi(line.substr(told.size()));
        ++tellings;
      } else if (line.ends_with(rest)) {
        const int number = std::stoi(line);
        ASSERT_EQ(line, std::to_string(number) + rest);
        ASSERT_GT(number, std::exchange(last, number));
        ++whole;
      }
    }
    EXPECT_GT(tellings, 0);
    EXPECT_GE(whole + missing, enough);
    EXPECT_LE(whole + missing, enough + tellings);
  }
};

TEST_F(LineOutputTest, LinesAreWrittenAsTheyAre) {
  const Pipe pipe;
  LineOutput output(pipe.written, "log: ");
  output.write("one\n");
  output.write("two\nthree\n");
  output.tellDropped();
  EXPECT_EQ(pipe.take(), "one\ntwo\nthree\n");
}

TEST_F(LineOutputTest, APipeThatNobodyReadsIsNotWaitedFor) {
  const Pipe pipe;
  LineOutput output(pipe.written);
  expectThatNothingWaits(output, pipe);
}

TEST_F(LineOutputTest, AnotherUsersPipeThatNobodyReadsIsNotWaitedFor) {
  const Pipe pipe;
  const WithoutRights user(pipe.written);
  LineOutput output(pipe.written);
  expectThatNothingWaits(output, pipe);
}

TEST_F(LineOutputTest, ASocketThatNobodyReadsIsNotWaitedFor) {
  const Socket socket;
  LineOutput output(socket.written);
  expectThatNothingWaits(output, socket);
}

TEST_F(LineOutputTest, ATerminalThatNobodyReadsIsNotWaitedFor) {
  const Terminal terminal;
  LineOutput output(terminal.written);
  expectThatNothingWaits(output, terminal);
}

TEST_F(LineOutputTest, AnotherUsersTerminalThatNobodyReadsIsNotWaitedFor) {
  const Terminal terminal;
  const WithoutRights user(terminal.written);
  LineOutput output(terminal.written);
  expectThatNothingWaits(output, terminal);
}

TEST_F(LineOutputTest, AStoppedTerminalIsNotWaitedFor) {
  const Terminal terminal;
  LineOutput output(terminal.written, "log: ");
  output.write("before\n");
  tcflow(terminal.written, TCOOFF);
  output.write("lost\n");
  tcflow(terminal.written, TCOON);
  output.write("after\n");
  EXPECT_EQ(terminal.take(), "before\nlog: lines missing here, which could not be written: 1\nafter\n");
}

TEST_F(LineOutputTest, LongLinesAreNotWaitedForEither) {
  const Pipe pipe;
  LineOutput output(pipe.written);
  expectThatNothingWaits(output, pipe, 10'000);
}

TEST_F(LineOutputTest, ALongLineIsWrittenWholeWhereThereIsRoom) {
  const std::string line(30'000, 'x');
  const Pipe pipe;
  LineOutput output(pipe.written);
  output.write(line + '\n');
  EXPECT_EQ(pipe.take(), line + '\n');
}

TEST_F(LineOutputTest, WhatIsMissingIsToldByItselfWhenThatIsAskedFor) {
  const Terminal terminal;
  LineOutput output(terminal.written);
  tcflow(terminal.written, TCOOFF);
  for (int i = 0; i < 3; ++i) output.write("lost\n");
  output.tellDropped();
  tcflow(terminal.written, TCOON);
  output.tellDropped();
  output.tellDropped();
  EXPECT_EQ(terminal.take(), "lines missing here, which could not be written: 3\n");
}

TEST_F(LineOutputTest, TheSharedFlagsOfADescriptorStay) {
  const Pipe pipe;
  const Socket socket;
  const Terminal terminal;
  for (const int fd : {pipe.written, socket.written, terminal.written}) {
    const int before = fcntl(fd, F_GETFL);
    LineOutput(fd).write("line\n");
    EXPECT_EQ(fcntl(fd, F_GETFL), before);
  }
}

TEST_F(LineOutputTest, AFileThatIsSharedIsNotOverwritten) {
  const test::TemporaryDirectory folder;
  const std::string path = folder.path() + "/log";
  const int file = open(path.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
  LineOutput output(file);
  output.write("first\n");
  ASSERT_EQ(write(file, "another program's\n", 18), 18);
  output.write("last\n");
  close(file);
  std::stringstream text;
  text << std::ifstream(path).rdbuf();
  EXPECT_EQ(text.str(), "first\nanother program's\nlast\n");
}

TEST_F(LineOutputTest, WhatAFullDiskDoesNotTakeIsTold) {
  const Pipe pipe;
  const int fd = open("/dev/full", O_WRONLY | O_CLOEXEC);
  LineOutput output(fd);
  output.write("lost\n");
  output.write("lost\n");
  dup2(pipe.written, fd);
  output.write("after\n");
  close(fd);
  EXPECT_EQ(pipe.take(), "lines missing here, which could not be written: 2\nafter\n");
}

TEST_F(LineOutputTest, ADescriptorThatIsRedirectedIsFollowed) {
  const Pipe first, second;
  const int fd = dup(first.written);
  LineOutput output(fd);
  output.write("first\n");
  dup2(second.written, fd);
  output.write("second\n");
  close(fd);
  EXPECT_EQ(first.take(), "first\n");
  EXPECT_EQ(second.take(), "second\n");
}

TEST_F(LineOutputTest, NoDescriptorRemainsOpen) {
  const auto count = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
  };
  const Pipe pipe;
  const auto before = count();
  LineOutput(pipe.written).write("line\n");
  EXPECT_EQ(count(), before);
}

}  // namespace
