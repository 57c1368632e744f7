#include "vell/report/graphviz.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>

#include "vell/io/digest.h"
#include "vell/run/cleanup.h"
#include "vell/terms/exception.h"

extern char** environ;

namespace vell::report {

namespace {

// A folder that lives as long as the object.
class Folder {
 public:
  Folder() {
    char const* base = std::getenv("TMPDIR");
    if (!run::cleanup::make_folder(base != nullptr && *base != '\0' ? base : "/tmp", "vell-bv", name_))
      throw Exception(name_ + ": " + std::strerror(errno));
  }
  ~Folder() { run::cleanup::remove_folder(name_); }
  Folder(Folder const&) = delete;
  Folder& operator=(Folder const&) = delete;
  std::string file(char const* name) const { return name_ + "/" + name; }

 private:
  std::string name_;
};

std::string contents(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream out;
  out << in.rdbuf();
  return out.str();
}

// dot -T FORMAT -o OUTPUT INPUT, in a process group of its own; its messages go to a file.
int run_dot(std::string format, std::string input, std::string output, std::string const& messages,
            run::Limits const& limits) {
  std::string program = "dot";
  format = "-T" + format;
  std::string option = "-o";
  char* const arguments[] = {program.data(), format.data(), option.data(),
                             output.data(),  input.data(),  nullptr};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  int error = posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  for (int const fd : {STDOUT_FILENO, STDERR_FILENO})
    if (error == 0)
      error = posix_spawn_file_actions_addopen(&actions, fd, messages.c_str(), O_WRONLY | O_CREAT | O_APPEND,
                                               0600);
  if (error == 0) error = posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
  pid_t child = 0;
  if (error == 0)
    child = run::cleanup::start_group([&] {
      pid_t started = 0;
      error = posix_spawnp(&started, program.c_str(), &actions, &attributes, arguments, environ);
      return error == 0 ? started : 0;
    });
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  if (error == ENOENT)
    throw Exception(
        "Graphviz draws pictures, and its program `dot` is not installed: install the package graphviz, or "
        "write a .dot file");
  if (error != 0) throw Exception(std::string("dot: ") + std::strerror(error));
  int status = 0;
  while (waitpid(child, &status, WNOHANG) == 0) {
    if (limits.stopped()) kill(-child, SIGKILL);
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  run::cleanup::forget_group(child);
  limits.check();
  return status;
}

// Without the XML declaration's DTD, which names a place outside.
std::string self_contained(std::string const& svg, std::string const& dot) {
  std::size_t const start = svg.find("<svg");
  if (start == std::string::npos) throw Exception("dot: no SVG");
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- sha256 of the DOT text: " + io::text_digest(dot) +
         " -->\n" + svg.substr(start);
}

}  // namespace

std::string dot_string(std::string_view text) {
  std::string out = "\"";
  for (char const c : text) {
    if (c == '"' || c == '\\') out += '\\';
    if (c == '\n')
      out += "\\n";
    else
      out += static_cast<unsigned char>(c) < 32 || c == 127 ? ' ' : c;
  }
  return out + "\"";
}

Picture picture_of(std::string const& path) {
  if (path.ends_with(".dot")) return Picture::dot;
  if (path.ends_with(".svg")) return Picture::svg;
  if (path.ends_with(".png")) return Picture::png;
  if (path.ends_with(".html")) return Picture::html;
  throw Exception(path + ": a picture ends in .svg, .png or .dot");
}

std::string drawn(std::string const& dot, Picture picture, run::Limits const& limits) {
  if (picture == Picture::dot) return dot;
  Folder const folder;
  std::ofstream(folder.file("in.dot"), std::ios::binary) << dot;
  int const status = run_dot(picture == Picture::png ? "png:cairo" : "svg", folder.file("in.dot"),
                             folder.file("out"), folder.file("messages"), limits);
  std::string out = contents(folder.file("out"));
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0 || out.empty()) {
    std::string why = contents(folder.file("messages"));
    why = why.substr(0, why.find('\n'));
    throw Exception("dot: " + (why.empty() ? "it failed" : why));
  }
  return picture == Picture::svg ? self_contained(out, dot) : out;
}

}  // namespace vell::report
