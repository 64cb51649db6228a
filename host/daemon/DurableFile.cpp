#include "DurableFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace host {
namespace {

void require(bool done) {
  if (!done) throw std::system_error(errno, std::generic_category());
}

class OpenFile {
 public:
  OpenFile(const std::string& path, int flags) : descriptor_(open(path.c_str(), flags | O_CLOEXEC, 0600)) {
    require(descriptor_ >= 0);
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  ~OpenFile() { close(descriptor_); }

  void write(std::string_view text) const {
    while (!text.empty()) {
      const ssize_t written = ::write(descriptor_, text.data(), text.size());
      require(written >= 0);
      text.remove_prefix(static_cast<std::size_t>(written));
    }
  }
  void permit(mode_t mode) const { require(fchmod(descriptor_, mode) == 0); }
  void toDisk() const { require(fsync(descriptor_) == 0); }

 private:
  const int descriptor_;
};

void write(const std::string& path, std::string_view text) {
  unlink(path.c_str());  // left by a process that was killed
  const OpenFile made(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW);
  made.permit(0600);  // whatever the umask takes away
  made.write(text);
  made.toDisk();
}

}  // namespace

// The content comes before the name, so that the name never leads to a part of it after a power failure. The name is
// the folder's content.
void replaceDurably(const std::string& file, std::string_view text) {
  const std::string unfinished = file + ".new";
  try {
    write(unfinished, text);
    require(std::rename(unfinished.c_str(), file.c_str()) == 0);
  } catch (const std::system_error&) {
    unlink(unfinished.c_str());
    throw;
  }
  OpenFile(std::filesystem::absolute(file).parent_path(), O_RDONLY | O_DIRECTORY).toDisk();
}

}  // namespace host
