#include "vell/io/outputfile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <system_error>

#include "vell/run/cleanup.h"

namespace vell::io {

namespace {

constexpr std::uint64_t worth_a_thread = std::uint64_t{1} << 20;  // bytes

}  // namespace

class OutputFile::Descriptor : public ByteOutput {
 public:
  explicit Descriptor(std::string const& path) : path_(path) {
    if (path == "-") {
      fd_ = STDOUT_FILENO;
      return;
    }
    struct stat info {};
    bool const exists = stat(path.c_str(), &info) == 0;
    if (exists && S_ISDIR(info.st_mode)) {
      errno = EISDIR;
      fail();
    }
    if (exists && !S_ISREG(info.st_mode)) {
      fd_ = open(path.c_str(), O_WRONLY | O_CLOEXEC);
      if (fd_ < 0) fail();
      return;
    }
    // A symbolic link stays; the file that it names is replaced.
    target_ = path;
    if (exists)
      if (char* real = realpath(path.c_str(), nullptr)) {
        target_ = real;
        std::free(real);
      }
    if (exists && access(target_.c_str(), W_OK) != 0) fail();
    std::string name = target_ + ".part-XXXXXX";
    fd_ = run::cleanup::make_file(name);
    if (fd_ < 0) fail();
    temporary_ = std::move(name);  // nothing from here on throws: the destructor will not run when it does
    mode_t const mask = umask(0);
    umask(mask);
    fchmod(fd_, exists ? info.st_mode & 0777 : 0666 & ~mask);
  }

  ~Descriptor() override {
    if (fd_ > STDERR_FILENO) close(fd_);
    if (!temporary_.empty()) run::cleanup::remove_file(temporary_);
  }

  void write(char const* data, std::size_t size) override {
    while (size != 0) {
      ssize_t const n = ::write(fd_, data, std::min(size, most_at_once));
      if (n < 0) {
        if (errno == EINTR) continue;
        fail();
      }
      data += n;
      size -= static_cast<std::size_t>(n);
    }
  }

  void commit() {
    int const fd = fd_;
    fd_ = -1;
    if (fd > STDERR_FILENO && close(fd) != 0) fail();
    if (temporary_.empty()) return;
    if (!run::cleanup::keep_file(temporary_, target_)) fail();
    temporary_.clear();
  }

 private:
  [[noreturn]] void fail() const {
    throw OutputError((path_ == "-" ? "<stdout>" : path_) + ": " + std::strerror(errno));
  }

  // A file is locked while it is being written: it cannot be removed before the call returns, not even after
  // Ctrl-C.
  static constexpr std::size_t most_at_once = std::size_t{1} << 20;

  std::string path_;
  std::string target_;
  std::string temporary_;
  int fd_ = -1;
};

OutputFile::OutputFile(std::string const& path)
    : descriptor_(std::make_unique<Descriptor>(path)), compressor_(make_compressor(path, *descriptor_)) {}

OutputFile::~OutputFile() = default;

void OutputFile::write(char const* data, std::size_t size) {
  ByteOutput& out = compressor_ != nullptr ? static_cast<ByteOutput&>(*compressor_) : *descriptor_;
  bytes_ += size;
  if (!tried_background_ && bytes_ >= worth_a_thread) {
    tried_background_ = true;
    try {
      background_ = std::make_unique<BackgroundOutput>(out);
    } catch (std::system_error const&) {
      // No thread is available: continue without one.
    }
  }
  (background_ != nullptr ? *background_ : out).write(data, size);
}

void OutputFile::commit() {
  if (background_ != nullptr) background_->finish();
  if (compressor_ != nullptr) compressor_->finish();
  descriptor_->commit();
}

}  // namespace vell::io
