#include "vell/io/digest.h"

#include <fcntl.h>
#include <nettle/sha2.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "vell/io/source.h"
#include "vell/terms/exception.h"

namespace vell::io {

namespace {

class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() {
    if (fd_ >= 0) close(fd_);
  }
  Descriptor(Descriptor const&) = delete;
  Descriptor& operator=(Descriptor const&) = delete;
  int get() const { return fd_; }

 private:
  int fd_;
};

[[noreturn]] void fail(std::string const& path) {
  throw Exception((path == "-" ? "<stdin>" : path) + ":1:1: cannot read: " + std::strerror(errno));
}

std::string finished(sha256_ctx& context) {
  unsigned char digest[SHA256_DIGEST_SIZE];
  sha256_digest(&context, sizeof digest, digest);
  std::string out;
  for (unsigned char byte : digest) {
    out += "0123456789abcdef"[byte >> 4];
    out += "0123456789abcdef"[byte & 15];
  }
  return out;
}

}  // namespace

std::string input_digest(std::string const& path) {
  bool const standard = path == "-";
  Descriptor const in(standard ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (in.get() < 0) fail(path);
  Descriptor const copy(standard ? memfd_create("stdin", MFD_CLOEXEC) : -1);
  if (standard && copy.get() < 0) fail(path);

  sha256_ctx context;
  sha256_init(&context);
  std::vector<unsigned char> block(std::size_t{1} << 20);
  for (;;) {
    ssize_t const n = read(in.get(), block.data(), block.size());
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) fail(path);
    if (n == 0) break;
    sha256_update(&context, static_cast<std::size_t>(n), block.data());
    if (!standard) continue;
    for (ssize_t done = 0; done < n;) {
      ssize_t const w = write(copy.get(), block.data() + done, static_cast<std::size_t>(n - done));
      if (w < 0) fail(path);
      done += w;
    }
  }
  if (standard && (lseek(copy.get(), 0, SEEK_SET) != 0 || dup2(copy.get(), STDIN_FILENO) < 0)) fail(path);

  return finished(context);
}

std::string whole_input(std::string const& path) {
  if (path == "-") static_cast<void>(input_digest(path));
  std::string text;
  {
    std::unique_ptr<Source> const source = Source::open(path);
    while (source->refill(source->begin())) {
    }
    text.assign(source->begin(), source->end());
  }
  if (path == "-" && lseek(STDIN_FILENO, 0, SEEK_SET) != 0) fail(path);
  return text;
}

std::string text_digest(std::string_view text) {
  sha256_ctx context;
  sha256_init(&context);
  sha256_update(&context, text.size(), reinterpret_cast<unsigned char const*>(text.data()));
  return finished(context);
}

}  // namespace vell::io
